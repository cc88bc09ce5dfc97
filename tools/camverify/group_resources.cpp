// What a process holds is back where it began.
#include <algorithm>
#include <cstdlib>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

std::vector<int> Numbers(const platform::Holdings& holdings) {
    return {holdings.handles, holdings.threads, holdings.gdiObjects, holdings.windows};
}

// A webcam that has run was in a graph of its driver's.
int GraphsOfOneCamera() {
    camStreamState stream = {};
    return cam.GetStreamState(&stream) == camOk ? 2 : 1;
}

// Threads that ended are gone from the counts a little later.
void CheckReturned(const platform::Holdings& before, const platform::Holdings& lost) {
    std::vector<int> allowed = Numbers(before);
    if (allowed == std::vector<int>(allowed.size())) Measured("what the process holds", "not told here");
    const std::vector<int> more = Numbers(lost);
    for (size_t i = 0; i < allowed.size(); ++i) allowed[i] += more[i];
    const auto returned = [&] {
        const std::vector<int> now = Numbers(platform::CountHoldings());
        bool all = true;
        for (size_t i = 0; i < now.size(); ++i) all = all && now[i] <= allowed[i];
        return all;
    };
    constexpr DWORD kThreadsAreGoneMs = 2000;
    if (!PumpUntil(returned, kThreadsAreGoneMs)) {
        Failed("handles, threads, GDI objects and windows", Show(Numbers(platform::CountHoldings())),
               "at most " + Show(allowed));
    }
}

void Cycle(const TestFile& picture) {
    Session session;
    session.NeedUp();
    const Callbacks callbacks;
    Need("preview starts", cam.StartPreview(), camResult{camOk});
    constexpr wchar_t kText[] = L"stamped";
    const int taken = captured;
    Need("a picture is triggered",
         cam.SnapPictureWithText(picture.path(), 0, reinterpret_cast<UINT_PTR>(kText), 7, 0, 0,
                                 reinterpret_cast<UINT_PTR>(GetStockObject(SYSTEM_FONT))),
         camResult{camOk});
    Need("message 2623 comes", WaitForCaptured(taken + 1));
    Need("a frame comes", PumpUntil([] { return previewFrames.Count() > 0; }));
    Need("shut down", cam.ShutDown(), camResult{camOk});
}

// --cycles asks for another number.
void Cycles() {
    constexpr int kWarmUps = 3;  // what the system makes once and keeps
    const TestFile picture(cameraType == CAM_TYPE_IMAGER ? L"cycle.bmp" : L"cycle.jpg");
    for (int warmUp = 0; warmUp < kWarmUps; ++warmUp) {
        const Row row("first cycle " + std::to_string(warmUp));
        Cycle(picture);
    }
    const platform::Holdings lost = platform::HoldingsLostToSystem(cycleCount * GraphsOfOneCamera()),
                             before = platform::CountHoldings();
    for (int cycle = 0; cycle < cycleCount; ++cycle) {
        const Row row("cycle " + std::to_string(cycle));
        Cycle(picture);
    }
    CheckReturned(before, lost);
    if (kit.there) Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
}

void Resolutions() {
    const Session session;
    session.NeedPreview();
    int count = 0;
    cam.GetResolutionCount(&count);
    if (count == 0) Skip("the camera has no resolutions");
    // Whatever is lost at each change is lost that often; what the system keeps comes less often, at any
    // time.
    const int changes = cycleCount / 2;
    platform::Holdings before = {};
    for (int change = 0; change < 2 * changes; ++change) {
        const Row row("change " + std::to_string(change));
        if (change == changes) before = platform::CountHoldings();
        Need("a resolution", cam.SetResolution(change % count), camResult{camOk});
    }
    const int kept = std::max(changes - 1, 0);
    CheckReturned(before, {kept, 0, kept, 0});
}

void BothTypes() {
    const Windows windows;
    const int rounds = cycleCount;
    constexpr int kWarmUps = 5;
    const platform::Holdings lost = platform::HoldingsLostToSystem(rounds * GraphsOfOneCamera());
    platform::Holdings before = {};
    for (int round = 0; round < kWarmUps + rounds; ++round) {
        const Row row("round " + std::to_string(round));
        if (round == kWarmUps) before = platform::CountHoldings();
        PlayImager();
        for (const int type : {CAM_TYPE_DSHOW, CAM_TYPE_IMAGER}) {
            Need("selected", cam.Select(windows.owner, nullptr, nullptr, type), camResult{camOk});
            Need("preview starts", cam.StartPreview(), camResult{camOk});
        }
        Need("the imager previews", PumpUntil([] { return ImagerCountOf("Draw") > 0; }));
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        Equal("engines that stay open", imagerKit.openEngines(), LONG{0});
    }
    CheckReturned(before, lost);
}

constexpr char kLeak[] =
    "a leak, of the driver if the device kit passes this check, else of the library: report it with this "
    "output";

constexpr Check kChecks[] = {
    {"bringing the camera up, previewing, taking a picture and shutting down leave nothing behind", kCamera,
     Cycles, kLeak},
    {"changes of the resolution leave nothing behind", kCamera | kDShow, Resolutions, kLeak},
    {"changing between the two types while one previews leaves nothing behind", kKit | kImagerKit, BothTypes,
     kLeak},
};

}  // namespace

const Group kResources = {"resources", "what the process holds is back where it began", kChecks};

}  // namespace verify
