#include <algorithm>
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

// "a.jpg" with "-002" is "a-002.jpg".
std::string Numbered(const std::string& file, const std::string& suffix) {
    const size_t dot = file.find_last_of('.');
    return dot == std::string::npos ? file + suffix : file.substr(0, dot) + suffix + file.substr(dot);
}

// What the picture is called that is taken now. In a series each has a name of its own.
std::string NameOf(const SnapOptions& options, const std::string& pattern, long round,
                   const std::vector<std::string>& taken) {
    const bool isPattern = pattern.find('%') != std::string::npos;
    const std::string name = isPattern ? Now("the file name", pattern) : pattern;
    if (options.count == 1) return name;
    char number[16];
    snprintf(number, sizeof number, "-%03ld", round);
    if (!isPattern) return Numbered(name, number);
    std::string unused = name;
    for (int again = 2; std::find(taken.begin(), taken.end(), unused) != taken.end(); ++again)
        unused = Numbered(name, "-" + std::to_string(again));
    return unused;
}

void CheckName(const SnapOptions& options, const std::string& file) {
    CheckPictureName(ToWide(file));
    if (options.camera.type == CAM_TYPE_IMAGER && FormatOf(file) == cam::PictureFormat::Tiff) {
        throw ToolError{ExitCode::InvalidArgument, "the imager camera stores no TIFF, as in '" + file + "'",
                        "it writes BMP: name it .bmp"};
    }
}

// One picture, and what there is to tell of it.
Json SnapOne(CameraSession& session, const SnapOptions& options, const std::string& name, bool asJson) {
    const bool isImager = options.camera.type == CAM_TYPE_IMAGER;
    const std::wstring file = ToWide(name);
    const FileMark before = MarkFile(file);
    const Stamp stamp(options.text);
    const double seconds = session.Snap(file, options.mode, stamp.Text());
    const PictureFile picture = CheckPicture(file, before, isImager);
    char line[64];
    snprintf(line, sizeof line, "%s, %llu bytes, %.0f ms", picture.format.c_str(), picture.bytes,
             seconds * 1000);
    std::string text = name + ": " + line + "\n";
    if (isImager && FormatOf(name) != cam::PictureFormat::Bmp)
        text += "  (the imager camera writes BMP whatever the extension says)\n";
    ShowProgress("");
    // At once: a later picture may fail.
    if (!asJson) PrintResult(asJson, {}, text);
    return {{"file", name},
            {"format", picture.format},
            {"bytes", picture.bytes},
            {"milliseconds", seconds * 1000}};
}

// Dispatches messages until the next picture of a series is due.
void WaitUntil(CameraSession& session, double due) {
    for (double left = due - Seconds(); left > 0; left = due - Seconds()) {
        char text[48];
        snprintf(text, sizeof text, "next picture in %.0f s", left);
        ShowProgress(text);
        session.Pump(std::min(left, 1.0));
    }
}

}  // namespace

void Snap(const SnapOptions& options, bool asJson) {
    for (const std::string& file : options.files) CheckName(options, NameOf(options, file, 1, {}));
    const Stamp valid(options.text);
    const std::optional<Size> size =
        options.size.empty() ? std::nullopt : std::optional(ParseSize(options.size));

    CameraSession session(options.camera);
    if (size) session.SelectResolution(*size);
    session.StartPreview();
    session.SkipFrames(options.skip);
    const bool settled = options.settleSeconds == 0 || session.Settle(options.settleSeconds);

    Json pictures = Json::array();
    std::vector<std::string> taken;
    const std::string all = std::to_string(options.count * static_cast<long>(options.files.size()));
    const double start = Seconds();
    for (long round = 1; round <= options.count; ++round) {
        WaitUntil(session, start + static_cast<double>(round - 1) * options.intervalSeconds);
        for (const std::string& pattern : options.files) {
            const std::string name = NameOf(options, pattern, round, taken);
            taken.push_back(name);
            ShowProgress("picture " + std::to_string(taken.size()) + " of " + all);
            pictures.push_back(SnapOne(session, options, name, asJson));
        }
    }
    const char* const unsettled = "the brightness still changed when the first picture was taken\n";
    if (!settled && !asJson) PrintResult(asJson, {}, unsettled);
    if (asJson) PrintResult(asJson, {{"ok", true}, {"settled", settled}, {"pictures", pictures}}, "");
}

}  // namespace camctl
