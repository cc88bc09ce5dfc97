#include <doctest/doctest.h>

#include <cstdlib>

#include "frames.h"
#include "harness.h"
#include "process_counts.h"

namespace {

void Cycle(const TestFile& picture) {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    camRegisterPreviewCallback(CatchPreview);
    previewFrames.Reset();
    REQUIRE(camStartPreview() == camOk);
    constexpr wchar_t text[] = L"stamped";
    CHECK(camSnapPictureWithText(picture.path(), 0, reinterpret_cast<UINT_PTR>(text), wcslen(text), 0, 0,
                                 reinterpret_cast<UINT_PTR>(GetStockObject(DEFAULT_GUI_FONT))) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(1));
    REQUIRE(PumpUntil([] { return previewFrames.count() > 0; }));
    REQUIRE(camShutDown() == camOk);
}

}  // namespace

// OCELLUS_SOAK gives another number of cycles.
TEST_CASE("bringing the camera up, previewing, taking a picture and shutting down leave nothing behind") {
    const TestFile picture(L"a.jpg");
    const char* soak = getenv("OCELLUS_SOAK");
    const int cycles = soak ? atoi(soak) : 20;
    // What the system makes once and keeps.
    for (int warmUp = 0; warmUp < 3; ++warmUp) {
        const Deadline deadline("a first cycle", 20000);
        Cycle(picture);
    }
    const int lostBySystem = cycles * counts::HandlesLostPerGraph();
    Holdings allowed = CountHoldings();
    CAPTURE(Describe(allowed));
    allowed.handles += lostBySystem;
    allowed.gdiObjects += counts::kGdiObjectsKept;
    const ULONGLONG started = GetTickCount64();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const Deadline deadline("a cycle", 20000);
        Cycle(picture);
    }
    printf("%d cycles, %llu ms each\n", cycles, (GetTickCount64() - started) / static_cast<unsigned>(cycles));
    const bool returned = HoldingsReturnTo(allowed);
    const Holdings after = CountHoldings();
    CAPTURE(lostBySystem);
    CAPTURE(Describe(after));
    CHECK(returned);
    CHECK(after.kitObjects == 0);
}
