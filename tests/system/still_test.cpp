#include <doctest/doctest.h>

#include "frames.h"
#include "harness.h"

namespace {

constexpr wchar_t kSmallStills[] = LR"({"stillFormats": [{"width": 320, "height": 240, "subtype": "YUY2"}]})";

// A camera that previews.
struct RunningCamera : Camera {
    explicit RunningCamera(const std::wstring& scenario = kSmallStills) : Camera(scenario) {
        REQUIRE(initResult == camOk);
        REQUIRE(cam().StartPreview() == camOk);
    }
};

}  // namespace

TEST_CASE("a picture is written in the format of its extension") {
    RunningCamera camera;
    const TemporaryFolder folder;
    struct Case {
        const wchar_t* name;
        std::string begin;
    };
    int taken = 0;
    for (const Case& c : {Case{L"a.bmp", "BM"},
                          {L"a.jpg", "\xFF\xD8\xFF"},
                          {L"a.png", "\x89PNG\r\n\x1A\n"},
                          {L"a.tif", std::string("II*\0", 4)},
                          {L"b.JPG", "\xFF\xD8\xFF"},
                          {L"b.Tif", "II*"}}) {
        for (const int mode : {0, 1, 2}) {
            CAPTURE(mode);
            const std::wstring path = folder.Path(c.name);
            CHECK(cam().SnapPicture(path.c_str(), mode) == camOk);
            REQUIRE(camera.windows.WaitForCaptured(++taken));
            const std::string bytes = ReadFileBytes(path);
            CHECK(bytes.substr(0, c.begin.size()) == c.begin);
            CHECK(bytes.size() > 200);
        }
    }
    CHECK(ReadFileBytes(folder.Path(L"a.bmp")).size() == 14 + 52 + 320 * 240 * 2);
}

TEST_CASE("without a file name nothing is written and everything else happens") {
    RunningCamera camera;
    HBITMAP bitmap = reinterpret_cast<HBITMAP>(static_cast<UINT_PTR>(1));
    CHECK(cam().GetSnapshot(&bitmap) == camOk);
    CHECK(bitmap == nullptr);
    CHECK(cam().GetSnapshot(nullptr) == camInvalidArgument);

    stillFrames.Reset();
    cam().RegisterStillImageCallback(CatchStill);
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(1));
    REQUIRE(stillFrames.frames().size() == 1);
    const Frame& frame = stillFrames.frames()[0];
    CHECK(((frame.height == 240) && (frame.width == 320) && (frame.stride == 640) &&
           (frame.size == 320 * 240 * 2)));
    CHECK(ShowsChart(frame, Layout::kRgb565));

    CHECK(cam().GetSnapshot(&bitmap) == camOk);
    BITMAP shape = {};
    REQUIRE(GetObjectW(bitmap, sizeof shape, &shape));
    CHECK(((shape.bmWidth == 320) && (shape.bmHeight == 240) && (shape.bmBitsPixel == 16)));
    std::vector<BYTE> bits(frame.bytes.size());
    CHECK(GetBitmapBits(bitmap, static_cast<LONG>(bits.size()), bits.data()) ==
          static_cast<LONG>(bits.size()));
    CHECK(bits == frame.bytes);

    cam().RegisterStillImageCallback(nullptr);
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(2));
    CHECK(stillFrames.count() == 1);
}

TEST_CASE("a text is stamped into the next picture and into no other") {
    RunningCamera camera;
    constexpr wchar_t text[] = L"####\n####";
    stillFrames.Reset(3);
    cam().RegisterStillImageCallback(CatchStill);
    cam().SnapPicture(nullptr, 0);
    REQUIRE(camera.windows.WaitForCaptured(1));
    constexpr UINT_PTR middle = 5, magentaOnBlack = 0x1F000000 | RGB(255, 0, 255);
    const HGDIOBJ font = GetStockObject(DEFAULT_GUI_FONT);
    CHECK(cam().SnapPictureWithText(nullptr, 0, reinterpret_cast<UINT_PTR>(text), wcslen(text), middle,
                                    magentaOnBlack, reinterpret_cast<UINT_PTR>(font)) == camOk);
    REQUIRE(camera.windows.WaitForCaptured(2));
    cam().SnapPicture(nullptr, 0);
    REQUIRE(camera.windows.WaitForCaptured(3));
    cam().RegisterStillImageCallback(nullptr);

    // What differs from the picture before in the middle rows, where the chart does not move.
    auto changed = [](const Frame& before, const Frame& after) {
        int pixels = 0;
        for (int y = 80; y < 150; ++y) {
            for (int x = 0; x < 320; ++x) pixels += before.At(x, y) != after.At(x, y);
        }
        return pixels;
    };
    const std::vector<Frame>& frames = stillFrames.frames();
    REQUIRE(frames.size() == 3);
    CHECK(changed(frames[0], frames[1]) > 20);
    CHECK(changed(frames[0], frames[2]) == 0);
}

TEST_CASE("a picture whose file cannot be written is announced all the same") {
    RunningCamera camera;
    const TemporaryFolder folder;
    const std::wstring path = folder.Path(L"missing\\a.jpg");
    CHECK(cam().SnapPicture(path.c_str(), 0) == camOk);
    CHECK(camera.windows.WaitForCaptured(1));
    CHECK(ReadFileBytes(path).empty());
    CHECK(cam().State() == CAM_STATE_PREVIEWING);
}

TEST_CASE("a name that is refused takes no picture") {
    RunningCamera camera;
    CHECK(cam().SnapPicture(L"a.jpeg", 0) == camInvalidArgument);
    CHECK(cam().SnapPicture(L"a.jpg", 3) == camInvalidArgument);
    CHECK(cam().State() == CAM_STATE_PREVIEWING);
    CHECK(deviceKit().CallCount(L"IAMVideoControl::SetMode") == 0);
}

TEST_CASE("a trigger that the driver refuses fails, and the next one works") {
    RunningCamera camera(LR"({"calls": {"IAMVideoControl::SetMode": {"at": 1, "result": "0x80070005"}}})");
    CHECK(cam().SnapPicture(nullptr, 0) == camCaptureFailed);
    CHECK(cam().State() == CAM_STATE_PREVIEWING);
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    CHECK(camera.windows.WaitForCaptured(1));
}

TEST_CASE("without an events window a picture is taken and nobody told") {
    deviceKit().Play(kSmallStills);
    Windows windows;
    REQUIRE(cam().Init(windows.owner(), nullptr, nullptr) == camOk);
    REQUIRE(cam().StartPreview() == camOk);
    CHECK(cam().SnapPicture(nullptr, 0) == camOk);
    CHECK(PumpUntil([] { return cam().State() == CAM_STATE_PREVIEWING; }));
    CHECK(windows.captured() == 0);
    CHECK(cam().ShutDown() == camOk);
}
