// End-to-end figures of a camera as an application sees it.
#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "picture_file.h"
#include "text.h"

namespace camctl {

namespace {

struct Summary {
    double minimum, median, percentile99;
};

Summary Summarise(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) {
        return values[std::min(values.size() - 1,
                               static_cast<size_t>(share * static_cast<double>(values.size())))];
    };
    return {values.front(), at(0.5), at(0.99)};
}

double ProcessorSeconds() {
    FILETIME created, ended, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto ticks = [](FILETIME t) {
        return static_cast<double>(static_cast<unsigned long long>(t.dwHighDateTime) << 32 | t.dwLowDateTime);
    };
    return (ticks(kernel) + ticks(user)) * 1e-7;
}

struct PreviewFigures {
    long frames;
    double rate;
    double processorShare;
};

PreviewFigures MeasurePreview(CameraSession& session, double seconds) {
    session.SkipFrames(1);
    const long first = session.PreviewFrames();
    const double processor = ProcessorSeconds();
    const double start = Seconds();
    session.Pump(seconds);
    const double elapsed = Seconds() - start;
    const long frames = session.PreviewFrames() - first;
    return {frames, static_cast<double>(frames) / elapsed, (ProcessorSeconds() - processor) / elapsed};
}

}  // namespace

void Bench(const BenchOptions& options, bool asJson) {
    const bool isImager = options.camera.type == CAM_TYPE_IMAGER;
    CameraSession session(options.camera);
    const std::vector<Size> sizes = session.Resolutions();
    session.StartPreview();
    ShowProgress("preview");
    const PreviewFigures preview = MeasurePreview(session, options.previewSeconds);
    char line[160];
    snprintf(line, sizeof line, "preview   %s, %.2f a second, %.1f %% of a processor\n",
             Counted(preview.frames, "frame").c_str(), preview.rate, preview.processorShare * 100);
    std::string text = line;
    text += "trigger to report, milliseconds        min  median     p99\n";
    Json rows = Json::array();
    for (size_t index = 0; index < sizes.size(); ++index) {
        const Size size = sizes[index];
        session.SelectResolution(static_cast<int>(index));
        for (const char* extension : {"bmp", "jpg", "png", "tif"}) {
            if (isImager && std::string_view(extension) != "bmp") continue;  // it writes nothing else
            const std::string name = options.folder + "/camctl-bench." + extension;
            CheckPictureName(ToWide(name));
            std::vector<double> milliseconds;
            for (long i = 0; i < options.pictures; ++i) {
                ShowProgress(std::to_string(size.width) + "x" + std::to_string(size.height) + " " +
                             extension + " " + std::to_string(i + 1) + " of " +
                             std::to_string(options.pictures));
                milliseconds.push_back(session.Snap(ToWide(name), 0, nullptr) * 1000);
                CheckPicture(ToWide(name), {}, isImager);
                DeleteFileW(ToWide(name).c_str());
            }
            const Summary s = Summarise(std::move(milliseconds));
            rows.push_back({{"index", index},
                            {"width", size.width},
                            {"height", size.height},
                            {"format", extension},
                            {"minimum", s.minimum},
                            {"median", s.median},
                            {"percentile99", s.percentile99}});
            snprintf(line, sizeof line, "%3u %5ldx%-5ld %-4s %18.2f %7.2f %7.2f\n",
                     static_cast<unsigned>(index), size.width, size.height, extension, s.minimum, s.median,
                     s.percentile99);
            text += line;
        }
    }
    ShowProgress("");
    PrintResult(asJson,
                {{"ok", true},
                 {"preview",
                  {{"frames", preview.frames},
                   {"framesPerSecond", preview.rate},
                   {"processorShare", preview.processorShare}}},
                 {"pictures", options.pictures},
                 {"milliseconds", rows}},
                text);
}

}  // namespace camctl
