#include <doctest/doctest.h>
#include <dshow.h>

#include <cstdlib>

#include "frames.h"
#include "harness.h"

namespace {

void Cycle(const TemporaryFolder& folder) {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    cam().RegisterPreviewCallback(CatchPreview);
    previewFrames.Reset();
    REQUIRE(cam().StartPreview() == camOk);
    constexpr wchar_t text[] = L"stamped";
    CHECK(cam().SnapPictureWithText(folder.Path(L"a.jpg").c_str(), 0, reinterpret_cast<UINT_PTR>(text),
                                    wcslen(text), 0, 0,
                                    reinterpret_cast<UINT_PTR>(GetStockObject(DEFAULT_GUI_FONT))) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(1));
    REQUIRE(PumpUntil([] { return previewFrames.count() > 0; }));
    REQUIRE(cam().ShutDown() == camOk);
}

}  // namespace

// Handles that the system's own filter graph loses each time it is made, in some systems one.
int HandlesLostByTheSystem(int graphs) {
    const int before = CountHoldings().handles;
    for (int graph = 0; graph < graphs; ++graph) {
        IUnknown* made = nullptr;
        REQUIRE(CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_ALL, IID_IUnknown,
                                 reinterpret_cast<void**>(&made)) == S_OK);
        made->Release();
    }
    return CountHoldings().handles - before;
}

// OCELLUS_SOAK gives another number of cycles.
TEST_CASE("bringing the camera up, previewing, taking a picture and shutting down leave nothing behind") {
    const TemporaryFolder folder;
    const char* soak = getenv("OCELLUS_SOAK");
    const int cycles = soak ? atoi(soak) : 20;
    // What the system makes once and keeps.
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        const Deadline deadline("a first cycle", 20000);
        Cycle(folder);
    }
    const int lostBySystem = HandlesLostByTheSystem(cycles);
    Holdings allowed = CountHoldings();
    CAPTURE(Describe(allowed));
    allowed.handles += lostBySystem;
    // The system keeps as many device contexts as were ever used at once, each with a region and a bitmap.
    constexpr int deviceContextsKept = 2;
    allowed.gdiObjects += 3 * deviceContextsKept;
    const ULONGLONG started = GetTickCount64();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const Deadline deadline("a cycle", 20000);
        Cycle(folder);
    }
    printf("%d cycles, %llu ms each\n", cycles, (GetTickCount64() - started) / static_cast<unsigned>(cycles));
    const bool returned = HoldingsReturnTo(allowed);
    const Holdings after = CountHoldings();
    CAPTURE(lostBySystem);
    CAPTURE(Describe(after));
    CHECK(returned);
    CHECK(after.kitObjects == 0);
}
