#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "text.h"

namespace camctl {

const char* FormatName(long formatCode) {
    switch (formatCode) {
        case CAM_FORMAT_YUY2:
            return "YUY2";
        case CAM_FORMAT_RGB555:
            return "RGB555";
        case CAM_FORMAT_RGB565:
            return "RGB565";
        default:
            return "other";
    }
}

void Preview(const CameraOptions& options, double seconds, bool asJson) {
    CameraSession session(options);
    session.StartPreview();
    session.SkipFrames(1);
    const long first = session.PreviewFrames();
    const double start = Seconds();
    for (double left = seconds; left > 0; left = start + seconds - Seconds()) {
        session.Pump(std::min(left, 0.5));
        ShowProgress(Counted(session.PreviewFrames() - first, "frame"));
    }
    const long frames = session.PreviewFrames() - first;
    const double rate = static_cast<double>(frames) / (Seconds() - start);
    ShowProgress("");

    Json json = {{"ok", true}, {"frames", frames}, {"seconds", seconds}, {"framesPerSecond", rate}};
    char line[160];
    snprintf(line, sizeof line, "%s in %.1f s: %.1f frames a second\n", Counted(frames, "frame").c_str(),
             seconds, rate);
    std::string text = line;
    if (const auto format = session.Format()) {
        json["format"] = {{"name", FormatName(format->formatCode)},
                          {"width", format->width},
                          {"height", format->height},
                          {"stride", format->stride},
                          {"sampleSize", format->sampleSize},
                          {"nominalFramesPerSecond", format->framesPerSecond}};
        snprintf(line, sizeof line, "%s, %ldx%ld, %s, %lu bytes a row, nominally %ld frames a second\n",
                 FormatName(format->formatCode), format->width, std::abs(format->height),
                 format->height > 0 ? "bottom-up" : "top-down", format->stride, format->framesPerSecond);
        text += line;
    }
    camStreamState stream = {};
    if (camGetStreamState(&stream) == camOk) {
        json["webcam"] = FormatJson(stream.format);
        json["webcam"]["measuredFramesPerSecond"] = stream.measuredMilliFramesPerSecond / 1000.0;
        json["webcam"]["brokenFrames"] = stream.brokenFrames;
        snprintf(line, sizeof line, "; measured %.4g, %lu of %lu frames broken\n",
                 stream.measuredMilliFramesPerSecond / 1000.0, stream.brokenFrames, stream.frames);
        json["webcam"]["lost"] = stream.lost != 0;
        text += "the webcam sends " + FormatText(stream.format) + line;
        if (stream.lost) text += "the webcam stopped sending, or was taken away\n";
    }
    try {
        session.StopPreview();
    } catch (ToolError& error) {  // as when the camera was lost: how far it came is what there is to tell
        error.problem += " after " + Counted(frames, "frame");
        throw;
    }
    PrintResult(asJson, json, text);
}

}  // namespace camctl
