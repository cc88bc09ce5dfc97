#include <cstdio>

#include "base/picture_format.h"
#include "commands.h"
#include "picture_file.h"
#include "stamp.h"
#include "text.h"

namespace camctl {

Size ParseSize(const std::string& text) {
    Size size = {};
    char end = 0;
    if (sscanf(text.c_str(), "%ldx%ld%c", &size.width, &size.height, &end) != 2 || size.width <= 0 ||
        size.height <= 0) {
        throw ToolError{ExitCode::Usage, "--size '" + text + "' is no size",
                        "give width and height in pixels: --size 640x480"};
    }
    return size;
}

namespace {

cam::PictureFormat FormatOf(const std::string& file) {
    return cam::PictureFormatOf(ToWide(file).c_str());
}

}  // namespace

void Snap(const SnapOptions& options, bool asJson) {
    const bool isImager = options.camera.type == CAM_TYPE_IMAGER;
    for (const std::string& file : options.files) {
        CheckPictureName(ToWide(file));
        if (isImager && FormatOf(file) == cam::PictureFormat::Tiff) {
            throw ToolError{ExitCode::InvalidArgument,
                            "the imager camera stores no TIFF, as in '" + file + "'",
                            "it writes BMP: name it .bmp"};
        }
    }
    const Stamp stamp(options.text);
    const std::optional<Size> size =
        options.size.empty() ? std::nullopt : std::optional(ParseSize(options.size));

    CameraSession session(options.camera);
    if (size) session.SelectResolution(*size);
    session.StartPreview();
    session.SkipFrames(options.skip);

    Json pictures = Json::array();
    size_t taken = 0;
    for (const std::string& name : options.files) {
        ShowProgress("picture " + std::to_string(++taken) + " of " + std::to_string(options.files.size()));
        const std::wstring file = ToWide(name);
        const FileMark before = MarkFile(file);
        const double seconds = session.Snap(file, options.mode, stamp.Text());
        const PictureFile picture = CheckPicture(file, before, isImager);
        pictures.push_back({{"file", name},
                            {"format", picture.format},
                            {"bytes", picture.bytes},
                            {"milliseconds", seconds * 1000}});
        char line[64];
        snprintf(line, sizeof line, "%s, %llu bytes, %.0f ms", picture.format.c_str(), picture.bytes,
                 seconds * 1000);
        std::string text = name + ": " + line + "\n";
        if (isImager && FormatOf(name) != cam::PictureFormat::Bmp)
            text += "  (the imager camera writes BMP whatever the extension says)\n";
        ShowProgress("");
        // At once: a later picture may fail.
        if (!asJson) PrintResult(asJson, {}, text);
    }
    if (asJson) PrintResult(asJson, {{"ok", true}, {"pictures", pictures}}, "");
}

}  // namespace camctl
