#include <algorithm>

#include "commands.h"
#include "library.h"
#include "text.h"

namespace camctl {

namespace {

const char* StateName(int state) {
    switch (state) {
        case CAM_STATE_NONE:
            return "none";
        case CAM_STATE_INITIALISED:
            return "initialised";
        case CAM_STATE_STOPPED:
            return "stopped";
        case CAM_STATE_PREVIEWING:
            return "previewing";
        case CAM_STATE_PAUSED:
            return "paused";
        case CAM_STATE_STILL_TRIGGERED:
            return "still triggered";
        default:
            return "unknown";
    }
}

Json SizesJson(const std::vector<Size>& sizes) {
    Json json = Json::array();
    for (const Size& size : sizes) json.push_back({{"width", size.width}, {"height", size.height}});
    return json;
}

}  // namespace

void Info(const CameraOptions& options, bool asJson) {
    RequireLibrary();
    wchar_t revision[14];
    camGetDllRevision(revision);
    const CameraSession session(options);
    int state = 0;
    Require(camGetState(&state), "asking for the state");
    long id = 0;
    const bool hasId = camGetCameraID(&id) == camOk;
    const std::vector<Size> sizes = session.Resolutions();

    Json json = {{"ok", true},
                 {"revision", ToUtf8(revision)},
                 {"type", options.type == CAM_TYPE_IMAGER ? "imager" : "dshow"},
                 {"state", StateName(state)},
                 {"cameraId", hasId ? Json(id) : Json()},
                 {"resolutions", SizesJson(sizes)}};
    std::string text = "library   " + ToUtf8(revision) + "\ncamera    " + json["type"].get<std::string>() +
                       (hasId ? ", id " + std::to_string(id) : ", no id") + "\nstate     " +
                       StateName(state) + "\nstills   ";
    for (const Size& size : sizes)
        text += " " + std::to_string(size.width) + "x" + std::to_string(size.height);
    PrintResult(asJson, json, text + "\n");
}

void Formats(const CameraOptions& options, bool asJson) {
    const CameraSession session(options);
    const std::vector<Size> sizes = session.Resolutions();
    Size current = {};
    Require(camGetResolutionDimensions(&current.height, &current.width, -1),
            "asking for the current still resolution");
    // The library tells the current one by its size alone, which a camera may have in several pixel formats.
    const char* mark =
        std::count(sizes.begin(), sizes.end(), current) > 1 ? "  current size\n" : "  current\n";
    std::string text;
    for (size_t index = 0; index < sizes.size(); ++index) {
        text += std::to_string(index) + "  " + std::to_string(sizes[index].width) + "x" +
                std::to_string(sizes[index].height) + (sizes[index] == current ? mark : "\n");
    }
    PrintResult(asJson,
                {{"ok", true},
                 {"resolutions", SizesJson(sizes)},
                 {"current", {{"width", current.width}, {"height", current.height}}}},
                text);
}

}  // namespace camctl
