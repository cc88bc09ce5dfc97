// The imager camera against the device kit's imager library.
#include "imager_camera/imager_camera.h"

#include <doctest/doctest.h>

#include <memory>
#include <optional>

#include "kit.h"
#include "camverify/process_counts.h"
#include "camverify/tables/stamping.h"
#include "refused_call.h"
#include "test_window.h"

namespace {

using Lines = std::vector<std::wstring>;

// What the callbacks, which carry no context, work on. `onFrame` runs on the preview thread.
struct Frames {
    std::atomic<int> previews{0};
    std::atomic<int> stills{0};
    std::atomic<DWORD> size{0};
    std::atomic<LONG> height{0};
    std::atomic<LONG> width{0};
    std::atomic<DWORD> stride{0};
    std::atomic<const void*> pixels{nullptr};
    void (*onFrame)(int number) = nullptr;
};
Frames frames;
cam::ImagerCamera* current = nullptr;
HWND askedWindow = nullptr;

void Note(void* pixels, DWORD size, LONG height, LONG width, DWORD stride) {
    frames.pixels = pixels;
    frames.size = size;
    frames.height = height;
    frames.width = width;
    frames.stride = stride;
}

void WINAPI OnPreview(void* pixels, DWORD size, LONG height, LONG width, DWORD stride) {
    Note(pixels, size, height, width, stride);
    const int number = ++frames.previews;
    if (frames.onFrame) frames.onFrame(number);
}

void WINAPI OnStill(void* pixels, DWORD size, LONG height, LONG width, DWORD stride) {
    Note(pixels, size, height, width, stride);
    ++frames.stills;
}

UINT_PTR Word(const void* pointer) {
    return reinterpret_cast<UINT_PTR>(pointer);
}

class Fixture {
  public:
    Fixture() {
        imvKitReset();
        kit::Load(L"{}");
        frames.previews = 0;
        frames.stills = 0;
        frames.onFrame = nullptr;
        current = &*camera;
        camera->SetEventsWindow(window.get());
    }

    void Start() {
        REQUIRE(camera->Init(window.get(), nullptr, nullptr) == S_OK);
        camera->RegisterPreviewCallback(OnPreview);
        camera->RegisterStillImageCallback(OnStill);
        REQUIRE(camera->StartPreview() == S_OK);
    }
    bool SeesFrames(int count) {
        return PumpUntil([count] { return frames.previews >= count; });
    }
    int State() {
        int state = -1;
        CHECK(camera->GetState(&state) == S_OK);
        return state;
    }
    // Whether the thread has ended of itself: a thread that has to be stopped needs a pass for it, and
    // takes one more frame.
    bool HasEnded() {
        const int threads = threadsBefore;
        return PumpUntil([threads] { return counts::Threads() == threads; });
    }

    Window window;
    std::optional<cam::ImagerCamera> camera{std::in_place};
    int threadsBefore = counts::Threads();
};

TEST_CASE_FIXTURE(Fixture, "the state follows initialisation, opening, a still's request and its capture") {
    CHECK(State() == 0);
    CHECK(camera->GetState(nullptr) == E_INVALIDARG);
    CHECK(camera->GetSnapshot(nullptr) == E_POINTER);

    kit::LoadCalls(L"{\"Open\": {\"result\": 5}}");
    CHECK(camera->Init(window.get(), nullptr, nullptr) == E_FAIL);
    CHECK(State() == 0);
    CHECK(camera->Init(window.get(), L"\\a.xml", L"Camera") == S_OK);
    CHECK(State() == 1);
    CHECK(kit::LastLogged(2) == Lines{L"Open \\a.xml Camera", L"imgEnableMonoColor 0"});
    CHECK(camera->Open() == S_OK);
    CHECK(State() == 2);

    CHECK(camera->StopPreview() == S_OK);  // there is none
    CHECK(camera->StartPreview() == S_OK);
    CHECK(State() == 2);
    CHECK(camera->SnapPicture(nullptr, 0, 0, 0, 0, 0, 0) == S_OK);
    REQUIRE(PumpUntil([this] { return window.captured == 1; }));
    CHECK(State() == 3);
    CHECK(window.lastWParam == 0);
    CHECK(window.lastLParam == 0);
    CHECK(camera->StopPreview() == S_OK);
    CHECK(State() == 3);
    CHECK(camera->SnapPicture(nullptr, 0, 0, 0, 0, 0, 0) == S_OK);
    CHECK(State() == 5);
    CHECK(camera->Shutdown() == S_OK);
}

TEST_CASE_FIXTURE(Fixture, "initialisation tells the library of the mono colour and of neither switch") {
    camera->SetPropertyB(16, 1, 2);
    camera->SetPropertyB(80, 1, 2);
    camera->SetPropertyA(6, 5, 2);
    kit::Load(L"{}");
    REQUIRE(camera->Init(nullptr, nullptr, nullptr) == S_OK);
    CHECK(kit::Log() == Lines{L"Open (null) (null)", L"imgEnableMonoColor 1"});
    long value = 0;
    long flags = 0;
    CHECK(camera->GetPropertyA(6, &value, &flags) == S_OK);
    CHECK(value == 1);  // what is re-applied is whether there is mono colour
    CHECK(camera->GetPropertyB(16, &value, &flags) == S_OK);
    CHECK(value == 1);
}

TEST_CASE_FIXTURE(Fixture,
                  "preview opens the engine, shows frames, and takes one more after a stop request") {
    // The first frame's callback comes back only when StopPreview, waiting for the thread, lets its message
    // in.
    static const HANDLE inFirst = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    askedWindow = window.get();
    frames.onFrame = [](int number) {
        if (number != 1) return;
        SetEvent(inFirst);
        SendMessageW(askedWindow, kAsk, 0, 0);
    };
    Start();
    REQUIRE(WaitForSingleObject(inFirst, kLongEnough) == WAIT_OBJECT_0);
    CHECK(camera->StopPreview() == S_OK);
    CHECK(window.asked == 1);
    CHECK(frames.previews.load() == 2);
    CHECK(kit::LastLogged(8) == Lines{L"OpenEngine", L"Start", L"Acquire 3", L"Draw 1 10 1", L"Acquire 3",
                                      L"Draw 1 10 1", L"Stop", L"CloseEngine"});
    CHECK(imvKitOpenEngines() == 0);
    CHECK(frames.width.load() == 320);
    CHECK(frames.height.load() == 240);
    CHECK(frames.stride.load() == 320);
    CHECK(frames.size.load() == 320 * 240);
    void* snapshot = nullptr;
    CHECK(camera->GetSnapshot(&snapshot) == S_OK);
    CHECK(snapshot == frames.pixels.load());
    CHECK(camera->StopPreview() == S_OK);  // the thread has ended
}

TEST_CASE_FIXTURE(Fixture, "frames are drawn into the owner window, and without one are not drawn at all") {
    Start();
    REQUIRE(SeesFrames(2));
    camera->StopPreview();
    const HDC context = GetDC(window.get());
    const COLORREF corner = GetPixel(context, 2, 2);
    ReleaseDC(window.get(), context);
    CHECK(corner == RGB(120, 120, 120));  // the table below the label

    kit::Load(L"{}");
    camera->SetOwnerWindow(nullptr);
    REQUIRE(camera->StartPreview() == S_OK);
    REQUIRE(SeesFrames(4));
    camera->StopPreview();
    CHECK(kit::Logged(L"Draw") == 0);
}

TEST_CASE_FIXTURE(Fixture, "what stands in the way of a preview ends its thread") {
    for (const auto& [calls, log, openEngines] : {
             std::tuple<const wchar_t*, Lines, LONG>{L"{\"15\": {\"result\": 0}}", {L"OpenEngine"}, 0},
             {L"{\"Start\": {\"result\": 7}}", {L"OpenEngine", L"Start"}, 1},
             {L"{\"Acquire\": {\"result\": 7}}",
              {L"OpenEngine", L"Start", L"Acquire 3", L"Stop", L"CloseEngine"},
              0},
             {L"{\"81\": {\"at\": 2, \"result\": 7}}",
              {L"OpenEngine", L"Start", L"Acquire 3", L"Draw 1 10 1", L"Acquire 3", L"Stop", L"CloseEngine"},
              0},
         }) {
        CAPTURE(kit::Narrow(calls));
        REQUIRE(camera->Init(window.get(), nullptr, nullptr) == S_OK);
        kit::LoadCalls(calls);
        CHECK(camera->StartPreview() == S_OK);
        CHECK(HasEnded());
        CHECK(kit::LastLogged(99) == log);
        CHECK(imvKitOpenEngines() == openEngines);
        CHECK(camera->StopPreview() == S_OK);
        CHECK(window.captured == 0);
        camera->Shutdown();
    }
    // A window that is gone has neither rectangle nor context.
    {
        Window gone;
        REQUIRE(camera->Init(gone.get(), nullptr, nullptr) == S_OK);
    }
    kit::Load(L"{}");
    CHECK(camera->StartPreview() == S_OK);
    CHECK(HasEnded());
    CHECK(kit::Log() == Lines{L"OpenEngine", L"Start"});
}

// A still that is asked for while the first frame is shown is taken in the second pass: the library's
// second acquisition.
TEST_CASE_FIXTURE(Fixture, "a failed still ends the preview with the engine open") {
    for (const auto& [calls, last] :
         {std::pair<const wchar_t*, Lines>{L"{\"Acquire\": {\"at\": 2, \"result\": 7}}", {L"Acquire 2"}},
          {L"{\"SaveBmp\": {\"result\": 7}}", {L"Acquire 2", L"SaveBmp still.png"}}}) {
        CAPTURE(kit::Narrow(calls));
        kit::LoadCalls(calls);
        frames.previews = 0;
        frames.onFrame = [](int number) {
            if (number == 1) current->SnapPicture(L"still.png", 0, 0, 0, 0, 0, 0);
        };
        Start();
        CHECK(HasEnded());
        CHECK(kit::LastLogged(last.size()) == last);
        CHECK(kit::Logged(L"Stop") == 0);
        CHECK(imvKitOpenEngines() == 1);
        const DWORD start = GetTickCount();
        CHECK(camera->StopPreview() == S_OK);
        CHECK(GetTickCount() - start < 1000);
        CHECK(State() == 5);
        PumpUntil([] { return true; });
        CHECK(window.captured == 0);

        frames.onFrame = nullptr;  // the next preview opens another engine
        CHECK(camera->StartPreview() == S_OK);
        CHECK(SeesFrames(3));
        CHECK(camera->StopPreview() == S_OK);
        CHECK(imvKitOpenEngines() == 1);
        camera->Shutdown();
    }
}

TEST_CASE_FIXTURE(Fixture, "two snaps within one pass give one still, with what the second asked for") {
    frames.onFrame = [](int number) {
        if (number != 1) return;
        current->SnapPicture(L"first.bmp", 0, 0, 0, 0, 0, 0);
        current->SnapPicture(nullptr, 0, 0, 0, 0, 0, 0);
    };
    Start();
    REQUIRE(SeesFrames(5));
    camera->StopPreview();
    PumpUntil([] { return true; });
    CHECK(kit::Logged(L"Acquire 2") == 1);
    CHECK(kit::Logged(L"Save") == 0);
    CHECK(frames.stills.load() == 1);
    CHECK(window.captured == 1);
}

TEST_CASE_FIXTURE(Fixture, "a snap while a still is acquired changes that one, and is followed by its own") {
    kit::LoadCalls(L"{\"Acquire\": {\"times\": 0, \"delayMs\": 200}}");
    Start();
    const UINT_PTR font = Word(GetStockObject(SYSTEM_FONT));
    REQUIRE(camera->SnapPicture(nullptr, 0, Word(L"first"), 5, 0, 0, font) == S_OK);
    REQUIRE(PumpUntil([] { return kit::Logged(L"Acquire 2") == 1; }));
    REQUIRE(camera->SnapPicture(nullptr, 0, Word(L"second"), 6, 0, 0, font) == S_OK);
    REQUIRE(PumpUntil([&] { return window.captured == 2; }));
    Lines stamped = kit::Log();
    std::erase_if(stamped, [](const std::wstring& line) { return line.rfind(L"StampText", 0) != 0; });
    REQUIRE(stamped.size() == 2);
    for (const std::wstring& line : stamped) CHECK(line.substr(line.rfind(L' ')) == L" second");
    camera->StopPreview();
}

TEST_CASE_FIXTURE(Fixture, "a refused file name takes no still but leaves its text and its name") {
    static const HFONT font = static_cast<HFONT>(GetStockObject(SYSTEM_FONT));
    static const wchar_t text[] = L"late";
    Start();
    for (const wchar_t* name : {L"x.tif", L"x", L"x.bmp\\y", L"x.jpeg", L""}) {
        CAPTURE(kit::Narrow(name));
        CHECK(camera->SnapPicture(name, 0, Word(text), 4, 0, 0, Word(font)) == ERROR_INVALID_NAME);
        CHECK(State() == 5);
    }
    const int seen = frames.previews;
    REQUIRE(SeesFrames(seen + 3));
    camera->StopPreview();
    CHECK(kit::Logged(L"Acquire 2") == 0);

    // Seen where a still is under way already.
    static HRESULT refused = S_OK;
    frames.previews = 0;
    frames.onFrame = [](int number) {
        if (number != 1) return;
        current->SnapPicture(L"a.bmp", 0, 0, 0, 0, 0, 0);
        wchar_t name[] = L"x.tif";  // refused, and gone when the still is written
        refused = current->SnapPicture(name, 0, Word(text), 4, 1, 0, Word(font));
        wcscpy(name, L"!.bmp");
    };
    camera->StartPreview();
    REQUIRE(PumpUntil([this] { return window.captured == 1; }));
    camera->StopPreview();
    CHECK(refused == ERROR_INVALID_NAME);
    CHECK(kit::Logged(L"StampText 4 ") == 1);
    CHECK(kit::Logged(L"SaveBmp x.tif") == 1);
    DeleteFileW(L"x.tif");
}

extern "C" decltype(&PostMessageW) importOfPostMessage TEST_IMPORT(PostMessageW, 16);

namespace {
std::atomic<int> posts;
const auto reallyPost = importOfPostMessage;

BOOL WINAPI RefuseFirstPost(HWND window, UINT message, WPARAM first, LPARAM second) {
    return ++posts == 1 ? FALSE : reallyPost(window, message, first, second);
}
}  // namespace

TEST_CASE_FIXTURE(Fixture, "a still is announced though the system refuses to post the message at first") {
    posts = 0;
    const Redirected refusal(importOfPostMessage, RefuseFirstPost);
    Start();
    REQUIRE(camera->SnapPicture(nullptr, 0, 0, 0, 0, 0, 0) == S_OK);
    REQUIRE(PumpUntil([this] { return window.captured == 1; }));
    CHECK(posts == 2);
    camera->StopPreview();
}

TEST_CASE_FIXTURE(Fixture, "a still is stamped at the library's position, in the font's height") {
    const HFONT font =
        CreateFontW(-24, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"DejaVu Sans");
    const HDC context = CreateCompatibleDC(nullptr);
    const HGDIOBJ previous = SelectObject(context, font);
    TEXTMETRICW metrics = {};
    REQUIRE(GetTextMetricsW(context, &metrics));
    SelectObject(context, previous);
    DeleteDC(context);
    CHECK(metrics.tmHeight > 20);

    Start();
    int taken = 0;
    for (const auto& [asked, stamped] : tables::kImagerPositions) {
        CAPTURE(asked);
        // Twelve characters are given, and eleven are meant.
        REQUIRE(camera->SnapPicture(nullptr, 0, Word(L"hello world!"), 11, asked, 1, Word(font)) == S_OK);
        ++taken;
        REQUIRE(PumpUntil([&] { return window.captured == taken; }));
        const auto log = kit::Log();
        const auto last = std::find_if(log.rbegin(), log.rend(), [](const std::wstring& line) {
            return line.rfind(L"StampText", 0) == 0;
        });
        REQUIRE(last != log.rend());
        CHECK(*last == L"StampText " + std::to_wstring(stamped) + L" " + std::to_wstring(metrics.tmHeight) +
                           L" 0x00660046 hello world");
    }
    // Each of the three is needed, and a text serves one still.
    const int stamped = kit::Logged(L"StampText");
    const UINT_PTR incomplete[][3] = {
        {0, 5, Word(font)}, {Word(L"hello"), 0, Word(font)}, {Word(L"hello"), 5, 0}, {0, 0, 0}};
    for (const auto& [text, length, with] : incomplete) {
        REQUIRE(camera->SnapPicture(nullptr, 0, text, length, 0, 0, with) == S_OK);
        ++taken;
        REQUIRE(PumpUntil([&] { return window.captured == taken; }));
    }
    CHECK(kit::Logged(L"StampText") == stamped);
    // A length that no memory holds.
    for (const UINT_PTR length :
         {static_cast<UINT_PTR>(-1), static_cast<UINT_PTR>(-1) / 4, UINT_PTR{0x7FFFFFFF}}) {
        CHECK(camera->SnapPicture(nullptr, 0, Word(L"hello"), length, 0, 0, Word(font)) == E_OUTOFMEMORY);
    }
    CHECK(State() == 5);
    camera->StopPreview();
    DeleteObject(font);
}

TEST_CASE_FIXTURE(Fixture, "the resolution chooses the still's acquisition and its dimensions") {
    long height = 7;
    long width = 7;
    CHECK(camera->GetResolutionCount() == 2);
    CHECK(camera->GetResolutionDimensions(&height, &width, 2) == E_FAIL);
    CHECK(camera->GetResolutionDimensions(&height, &width, -2) == E_FAIL);
    CHECK(height == 7);
    CHECK(width == 7);
    for (const int bad : {2, -1}) CHECK(camera->SetResolution(bad) == E_FAIL);

    struct Case {
        int index;
        long height;
        long width;
        const wchar_t* acquired;
        Lines dimensions;
    };
    Start();
    int taken = 0;
    for (const Case& c : {Case{1, 480, 640, L"Acquire 2", {L"FirstDimensionOf1", L"SecondDimensionOf1"}},
                          Case{0, 240, 320, L"Acquire 3", {L"FirstDimensionOf0", L"SecondDimensionOf0"}}}) {
        CHECK(camera->SetResolution(c.index) == S_OK);
        for (const int asked : {c.index, -1}) {
            CHECK(camera->GetResolutionDimensions(&height, &width, asked) == S_OK);
            CHECK(height == c.height);
            CHECK(width == c.width);
        }
        frames.onFrame = nullptr;
        camera->RegisterPreviewCallback(nullptr);  // so that the still's figures stay
        REQUIRE(camera->SnapPicture(nullptr, 0, 0, 0, 0, 0, 0) == S_OK);
        ++taken;
        REQUIRE(PumpUntil([&] { return window.captured == taken; }));
        CHECK(frames.width.load() == c.width);
        CHECK(frames.height.load() == c.height);
        CHECK(frames.size.load() == static_cast<DWORD>(c.width * c.height));
        CHECK(kit::Logged(c.acquired) > 0);
        for (const std::wstring& name : c.dimensions) CHECK(imvKitCallCount(name.c_str()) == 2);
    }
    camera->StopPreview();
}

// ---- Calls from a message ------------------------------------------------------------------------------

// The preview's thread asks the window, whose thread waits for it, and takes its time afterwards.
TEST_CASE_FIXTURE(Fixture, "while the end of a preview is waited for no message starts another") {
    static HANDLE inFirst;
    static std::atomic<bool> hasLeft;
    inFirst = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    askedWindow = window.get();
    for (const bool shutDown : {false, true}) {
        CAPTURE(shutDown);
        hasLeft = false;
        frames.previews = 0;
        frames.onFrame = [](int number) {
            if (number != 1) return;
            SetEvent(inFirst);
            SendMessageW(askedWindow, kAsk, 0, 0);
            Sleep(100);
            hasLeft = true;
        };
        HRESULT started = S_OK;
        int state = -1;
        window.onAsked = [&] {
            started = camera->StartPreview();
            state = State();
        };
        Start();
        REQUIRE(WaitForSingleObject(inFirst, kLongEnough) == WAIT_OBJECT_0);
        CHECK((shutDown ? camera->Shutdown() : camera->StopPreview()) == S_OK);
        CHECK(hasLeft);
        CHECK(FAILED(started));
        CHECK(state == 1);
        CHECK(imvKitOpenEngines() == 0);
        CHECK(kit::Logged(L"OpenEngine") == 1);
        imvKitReset();
    }
    CloseHandle(inFirst);
}

// ---- Ends ---------------------------------------------------------------------------------------------

TEST_CASE_FIXTURE(Fixture, "a camera that goes away ends its threads, however many there are") {
    Start();
    REQUIRE(SeesFrames(1));
    CHECK(camera->StartPreview() == S_OK);  // a second one beside it
    REQUIRE(PumpUntil([] { return imvKitOpenEngines() == 2; }));
    camera.reset();
    CHECK(imvKitOpenEngines() == 0);
    const LONG acquired = imvKitCallCount(L"Acquire");
    CHECK(HasEnded());
    CHECK(imvKitCallCount(L"Acquire") == acquired);
    CHECK(kit::Log().back() == L"Shutdown");
    CHECK(imvKitCallCount(L"CloseEngine") == 2);
}

TEST_CASE_FIXTURE(
    Fixture, "a library that does not answer stops neither a stop nor the camera's end for longer than 5 s") {
    SUBCASE("it answers again before the camera goes away") {
        kit::LoadCalls(L"{\"Acquire\": {\"at\": 2, \"delayMs\": 7000}}");
        Start();
        REQUIRE(PumpUntil([] { return imvKitCallCount(L"Acquire") == 2; }));
        const DWORD start = GetTickCount();
        CHECK(camera->StopPreview() == E_ABORT);
        CHECK(GetTickCount() - start >= 4900);
        camera.reset();
        CHECK(kit::LastLogged(3) == Lines{L"Stop", L"CloseEngine", L"Shutdown"});
    }
    SUBCASE("it answers when there is no camera any more") {
        kit::LoadCalls(L"{\"Acquire\": {\"at\": 2, \"delayMs\": 8000}}");
        Start();
        REQUIRE(PumpUntil([] { return imvKitCallCount(L"Acquire") == 2; }));
        const DWORD start = GetTickCount();
        camera.reset();
        CHECK(GetTickCount() - start < 7000);
        CHECK(HasEnded());
        CHECK(kit::Log().back() == L"Shutdown");  // nothing was called after it
        CHECK(frames.previews.load() == 1);
    }
    SUBCASE("it answers no more while it stops") {
        kit::LoadCalls(L"{\"Stop\": {\"delayMs\": 6500}}");
        Start();
        REQUIRE(SeesFrames(1));
        camera.reset();
        CHECK(HasEnded());
        CHECK(kit::Log().back() == L"Shutdown");
    }
    SUBCASE("it answers no more while it stamps a still") {
        kit::LoadCalls(L"{\"StampText\": {\"delayMs\": 6500}}");
        Start();
        REQUIRE(camera->SnapPicture(nullptr, 0, Word(L"text"), 4, 0, 0, Word(GetStockObject(SYSTEM_FONT))) ==
                S_OK);
        REQUIRE(PumpUntil([] { return imvKitCallCount(L"StampText") == 1; }));
        const DWORD start = GetTickCount();
        CHECK(State() == 5);
        CHECK(GetTickCount() - start < 1000);
        camera.reset();
        CHECK(GetTickCount() - start < 6200);
        CHECK(HasEnded());
        CHECK(kit::Log().back() == L"Shutdown");
        CHECK(frames.stills.load() == 0);
    }
}

TEST_CASE("cameras leave nothing behind") {
    Window window;
    imvKitReset();
    int handles = 0;
    int threads = 0;
    int objects = 0;
    for (int round = 0; round < 20; ++round) {
        {
            cam::ImagerCamera camera;
            frames.previews = 0;
            frames.onFrame = nullptr;
            camera.RegisterPreviewCallback(OnPreview);
            REQUIRE(camera.Init(window.get(), nullptr, nullptr) == S_OK);
            for (int start = 0; start < 2; ++start) {
                REQUIRE(camera.StartPreview() == S_OK);
                REQUIRE(camera.SnapPicture(nullptr, 0, Word(L"text"), 4, 0, 0,
                                           Word(GetStockObject(SYSTEM_FONT))) == S_OK);
                const int wanted = frames.previews + 2;
                REQUIRE(PumpUntil([wanted] { return frames.previews >= wanted; }));
                if (start == 0 || round % 2 == 0) CHECK(camera.StopPreview() == S_OK);
            }
        }
        if (round == 4) {  // whatever is made once has been made
            handles = counts::Handles();
            threads = counts::Threads();
            objects = counts::GdiObjects();
        }
    }
    CHECK(counts::Handles() == handles);
    CHECK(counts::Threads() == threads);
    CHECK(counts::GdiObjects() == objects);
}

}  // namespace
