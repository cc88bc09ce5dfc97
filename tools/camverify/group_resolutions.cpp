// Still resolutions: each can be chosen, and a picture has its size.
#include "camera.h"
#include "check.h"
#include "kit.h"
#include "picture.h"
#include "platform.h"

namespace verify {

namespace {

using Boxes = std::vector<std::string>;
constexpr char kNotSetBox[] = "GraphManager\tError setting resolution";

std::string Dimensions(int index) {
    long height = 0, width = 0;
    if (cam.GetResolutionDimensions(&height, &width, index) != camOk) return "refused";
    return std::to_string(width) + " x " + std::to_string(height);
}

void Every() {
    platform::TakeMessageBoxes();
    Session session;
    session.NeedUp();
    const Callbacks callbacks;
    int count = 0;
    Need("number of resolutions", cam.GetResolutionCount(&count), camResult{camOk});
    Need("there is one", count > 0);
    Equal("beyond the last", Dimensions(count), std::string("refused"));
    Equal("below -1", Dimensions(-2), std::string("refused"));
    const std::string atFirst = Dimensions(-1);
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    DWORD longest = 0;
    int first = -1;
    for (int index = 0; index < count; ++index) {
        const Row row("resolution " + std::to_string(index));
        Measured("resolution " + std::to_string(index), Dimensions(index));
        if (first < 0 && Dimensions(index) == atFirst) first = index;
        const DWORD begun = GetTickCount();
        Need("it can be set", cam.SetResolution(index), camResult{camOk});
        longest = GetTickCount() - begun > longest ? GetTickCount() - begun : longest;
        if (cameraType == CAM_TYPE_DSHOW) Equal("state", State(), int{CAM_STATE_PREVIEWING});
        Equal("the current one", Dimensions(-1), Dimensions(index));
        stillFrames.Reset();
        if (!session.Snap() || !Equal("the callback is called", stillFrames.Count(), LONG{1})) continue;
        const SeenFrame& frame = stillFrames.Frames()[0];
        Equal("size of the picture", std::to_string(frame.width) + " x " + std::to_string(frame.Rows()),
              Dimensions(index));
        if (kit.there && cameraType == CAM_TYPE_DSHOW)
            Holds("the picture shows the chart", ShowsChart(frame, Bits::Rgb565));
    }
    Measured("the longest change", longest, "ms");
    const LONG frames = previewFrames.Count();
    Holds("preview goes on", PumpUntil([=] { return previewFrames.Count() > frames; }));
    Equal("message boxes", platform::TakeMessageBoxes(), Boxes());
    if (first >= 0) Equal("as it was at first", cam.SetResolution(first), camResult{camOk});
}

void NoSuch() {
    Session session{std::wstring(L"{}")};
    session.NeedPreview();
    platform::TakeMessageBoxes();
    int count = 0;
    cam.GetResolutionCount(&count);
    for (const int index : {count, -1, -2}) {
        const Row row("resolution " + std::to_string(index));
        Equal("result", cam.SetResolution(index), camResult{camInvalidArgument});
        Equal("message boxes", platform::TakeMessageBoxes(), Boxes{kNotSetBox});
        Equal("state", State(), int{CAM_STATE_PREVIEWING});
    }
    session.Snap();
}

// While the driver does not answer there are none; once it has, the answer is kept.
void Counting() {
    const Session session(Failing("IAMStreamConfig::GetNumberOfCapabilities", "0x80041234", "\"times\": 1"));
    session.NeedUp();
    int count = 77;
    Equal("result while the driver does not answer", cam.GetResolutionCount(&count), camResult{camOk});
    Equal("number while the driver does not answer", count, 0);
    for (int again = 0; again < 3; ++again) {
        Equal("result", cam.GetResolutionCount(&count), camResult{camOk});
        Equal("number", count, 12);
    }
    Equal("how often the driver is asked", CountOf("IAMStreamConfig::GetNumberOfCapabilities"), LONG{2});
    const Row row("dimensions");
    for (const char* call : {"ICaptureGraphBuilder2::FindInterface",
                             "IAMStreamConfig::GetNumberOfCapabilities", "IAMStreamConfig::GetStreamCaps"}) {
        cam.ShutDown();
        const Row failing(call);
        const Session other(Failing(call, "0x80041234"));
        other.NeedUp();
        long height = 77, width = 77;
        Equal("result", cam.GetResolutionDimensions(&height, &width, 1), camResult{camInvalidArgument});
        Equal("what stood there", height, long{77});
    }
}

constexpr char kDriver[] =
    "see the camera driver's still pin: its capabilities, SetFormat, and connection again while stopped";
constexpr Check kChecks[] = {
    {"every resolution can be chosen while previewing, and a picture has it", kCamera, Every, kDriver},
    {"an index that does not exist is refused with a box, and preview goes on", kKit | kMessageBoxes, NoSuch,
     kLibraryFault},
    {"a driver that does not answer is asked again", kKit, Counting, kLibraryFault},
};

}  // namespace

const Group kResolutions = {"resolutions", "each can be chosen, and a picture has its size", kChecks};

}  // namespace verify
