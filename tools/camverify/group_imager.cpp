// The imager camera, with the device kit's imager library.
#include <cstring>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "platform.h"
#include "tables/stamping.h"

namespace verify {

namespace {

HWND askedWindow;
HANDLE inFirst;

// The calls so far, without those that look at a picture.
Lines Log(size_t last = 1000) {
    Lines lines = ImagerCalls();
    std::erase_if(lines, [](const std::string& line) {
        return line == "FirstDimension" || line == "SecondDimension" || line == "Pixels" ||
               line == "CurrentImage";
    });
    if (lines.size() > last) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(last));
    return lines;
}
int Logged(const std::string& beginning) {
    int count = 0;
    for (const std::string& line : ImagerCalls()) count += line.starts_with(beginning);
    return count;
}

// The imager, brought up with that member of the scenario.
struct Imager : Session {
    Callbacks callbacks;

    explicit Imager(const std::wstring& member = L"{}") : Session((PlayImager(member), CAM_TYPE_IMAGER)) {
        NeedUp();
    }
    void Start() { Need("preview starts", cam.StartPreview(), camResult{camOk}); }
    static bool SeesFrames(LONG count) {
        return PumpUntil([=] { return previewFrames.Count() >= count; });
    }
    // Waits for the engines to be as many, which is when a thread has ended by itself.
    static bool PreviewEnds(const Lines& log) {
        return PumpUntil([&] { return Log(log.size()) == log; });
    }
};

void States() {
    {
        const Session refused((PlayImager(L"{\"calls\": {\"Open\": {\"result\": 5}}}"), CAM_TYPE_IMAGER));
        Equal("a library that refuses to open", refused.initResult, static_cast<camResult>(E_FAIL));
        Equal("state", State(), int{CAM_STATE_NONE});
    }
    {
        const Session named((PlayImager(), CAM_TYPE_IMAGER), L"\\a.xml", L"Camera");
        named.NeedUp();
        Equal("calls", Log(2), Lines{"Open \\a.xml Camera", "imgEnableMonoColor 0"});
    }
    Imager imager;
    Equal("state", State(), int{CAM_STATE_INITIALISED});
    Equal("calls", Log(), Lines{"Open (null) (null)", "imgEnableMonoColor 0"});
    Equal("stopped before it has run", cam.StopPreview(), camResult{camOk});
    imager.Start();
    Equal("state while it previews", State(), int{CAM_STATE_INITIALISED});
    imager.Snap();
    Equal("state after a picture", State(), int{CAM_STATE_PREVIEWING});
    Equal("stopped", cam.StopPreview(), camResult{camOk});
    Equal("state when it is stopped", State(), int{CAM_STATE_PREVIEWING});
    Equal("a picture that is lost", cam.SnapPicture(nullptr, 0), camResult{camOk});
    Equal("state", State(), int{CAM_STATE_STILL_TRIGGERED});
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Equal("shut down again", cam.ShutDown(), camResult{camNotInitialised});
}

void SendFromFirst(void*, DWORD, LONG, LONG, DWORD) {
    if (previewFrames.Count() > 0) return;
    SetEvent(inFirst);
    SendMessageW(askedWindow, kAsk, 0, 0);
}

// The first frame's callback comes back only when camStopPreview, waiting for the thread, lets its message
// in.
void Preview() {
    Imager imager;
    inFirst = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    askedWindow = imager.windows.owner;
    previewFrames.Reset(2);
    previewFrames.onFrame = SendFromFirst;
    PlayImager();
    imager.Start();
    Need("the first frame", WaitForSingleObject(inFirst, kLongEnough), DWORD{WAIT_OBJECT_0});
    Equal("stopped", cam.StopPreview(), camResult{camOk});
    CloseHandle(inFirst);
    Equal("messages let in", asked, 1);
    Need("one more frame after the stop was asked for", previewFrames.Count(), LONG{2});
    Equal("calls", Log(),
          Lines{"OpenEngine", "Start", "Acquire 3", "Draw 1 10 1", "Acquire 3", "Draw 1 10 1", "Stop",
                "CloseEngine"});
    Equal("engines that stay open", imagerKit.openEngines(), LONG{0});
    for (const SeenFrame& frame : previewFrames.Frames()) {
        Equal("width", frame.width, LONG{320});
        Equal("height", frame.height, LONG{240});
        Equal("stride", frame.stride, DWORD{320});
        Equal("size", frame.size, DWORD{320 * 240});
    }
    const void* snapshot = nullptr;
    Equal("the snapshot", cam.GetSnapshot(&snapshot), camResult{camOk});
    Holds("is the image that came last", snapshot == previewFrames.Frames()[1].address);
    Equal("no place for it", cam.GetSnapshot(nullptr), camResult{camInvalidArgument});
    Equal("stopped again", cam.StopPreview(), camResult{camOk});
    // Drawn into the owner window: the table below the label.
    const COLORREF corner = platform::PixelOf(imager.windows.owner, 2, 2);
    if (corner != CLR_INVALID) Equal("a corner of the owner window", corner, COLORREF{RGB(120, 120, 120)});
}

void NoOwner() {
    PlayImager();
    Need("brought up", cam.Select(nullptr, nullptr, nullptr, CAM_TYPE_IMAGER), camResult{camOk});
    {
        const Callbacks callbacks;
        Equal("preview starts", cam.StartPreview(), camResult{camOk});
        Holds("frames come", Imager::SeesFrames(4));
        Equal("stopped", cam.StopPreview(), camResult{camOk});
    }
    Equal("frames drawn", Logged("Draw"), 0);
    Equal("shut down", cam.ShutDown(), camResult{camOk});
}

void Ending() {
    const struct {
        const char* failing;
        Lines log;
        LONG open;
    } cases[] = {
        {"\"15\": {\"result\": 0}", {"OpenEngine"}, 0},
        {"\"Start\": {\"result\": 7}", {"OpenEngine", "Start"}, 1},
        {"\"Acquire\": {\"result\": 7}", {"OpenEngine", "Start", "Acquire 3", "Stop", "CloseEngine"}, 0},
        {"\"81\": {\"at\": 2, \"result\": 7}",
         {"OpenEngine", "Start", "Acquire 3", "Draw 1 10 1", "Acquire 3", "Stop", "CloseEngine"},
         0}};
    for (const auto& [failing, log, open] : cases) {
        const Row row(failing);
        Imager imager;
        PlayImager(Wide(std::string("{\"calls\": {") + failing + "}}"));
        imager.Start();
        Holds("the preview ends by itself", Imager::PreviewEnds(log));
        Equal("calls", Log(), log);
        Equal("engines that are open", imagerKit.openEngines(), open);
        const DWORD begun = GetTickCount();
        Equal("stopped", cam.StopPreview(), camResult{camOk});
        Holds("at once", GetTickCount() - begun < 1000);
        Equal("messages", captured, 0);
    }
    // A window that is gone has neither rectangle nor context.
    const Row row("the owner window is gone");
    Imager imager;
    DestroyWindow(imager.windows.owner);
    PlayImager();
    imager.Start();
    Holds("the preview ends by itself", Imager::PreviewEnds({"OpenEngine", "Start"}));
}

// The picture in the file has the very greys, rows from the top down.
bool HoldsGreys(const std::string& bmp, const SeenFrame& frame) {
    const auto number = [&](size_t at) {
        LONG value = 0;
        memcpy(&value, bmp.data() + at, sizeof value);
        return value;
    };
    if (bmp.size() < 54 || bmp[28] != 8 || number(18) != frame.width || std::abs(number(22)) != frame.height)
        return false;
    const auto stride = static_cast<size_t>((frame.width + 3) / 4 * 4);
    for (LONG y = 0; y < frame.height; ++y) {
        const LONG row = number(22) > 0 ? frame.height - 1 - y : y;
        const size_t at = static_cast<size_t>(number(10)) + static_cast<size_t>(row) * stride;
        if (at + stride > bmp.size()) return false;
        if (memcmp(bmp.data() + at, frame.bytes.data() + y * frame.width, static_cast<size_t>(frame.width)) !=
            0)
            return false;
    }
    return true;
}

void Stills() {
    Imager imager;
    imager.Start();
    const struct {
        int resolution;
        const wchar_t* name;
        const char* acquired;
        LONG width, height;
    } cases[] = {{1, L"large.bmp", "Acquire 2", 640, 480},
                 {0, L"small.BMP", "Acquire 3", 320, 240},
                 {1, L"imager-barcode.jpg", "Acquire 2", 640, 480},
                 {0, L"named.Png", "Acquire 3", 320, 240}};
    for (const auto& one : cases) {
        const Row row(Utf8(one.name));
        Need("a resolution", cam.SetResolution(one.resolution), camResult{camOk});
        PlayImager();
        stillFrames.Reset();
        const TestFile file(one.name, Kind::Picture);
        if (!imager.Snap(file.path())) continue;
        Equal("state", State(), int{CAM_STATE_PREVIEWING});
        Holds("acquired as its resolution wants", Logged(one.acquired) > 0);
        Need("the callback is called", stillFrames.Count(), LONG{1});
        const SeenFrame& frame = stillFrames.Frames()[0];
        Equal("width", frame.width, one.width);
        Equal("height", frame.height, one.height);
        Equal("stride", frame.stride, static_cast<DWORD>(one.width));
        Equal("size", frame.size, static_cast<DWORD>(one.width * one.height));
        Holds("the file is a BMP with the callback's greys", HoldsGreys(file.Bytes(), frame));
        Equal("written as BMP", ImagerCountOf("SaveBmp"), LONG{1});
        Equal("written as something else", ImagerCountOf("SaveJpeg") + ImagerCountOf("SavePng"), LONG{0});
    }
    PlayImager();
    imager.Snap();
    Equal("files without a name", ImagerCountOf("SaveBmp"), LONG{0});
    // A name that this camera does not write is refused, with the state as if it had been taken up.
    const int before = captured;
    PlayImager();
    Equal("a TIFF picture", cam.SnapPicture(L"x.tif", 0), camResult{camCaptureFailed});
    Equal("state", State(), int{CAM_STATE_STILL_TRIGGERED});
    const LONG seen = previewFrames.Count();
    Need("preview goes on", Imager::SeesFrames(seen + 3));
    Equal("pictures acquired", Logged("Acquire 2"), 0);
    Equal("messages", captured, before);
}

void FailedStill() {
    for (const char* failing : {"\"Acquire\": {\"at\": 2, \"result\": 7}", "\"SaveBmp\": {\"result\": 7}"}) {
        const Row row(failing);
        Imager imager;
        // Asked for while the first frame is shown, so that it is taken in the second pass: the library's
        // second acquisition.
        static wchar_t name[MAX_PATH];
        const TestFile file(L"f.bmp");
        wcscpy(name, file.path());
        PlayImager(Wide(std::string("{\"calls\": {") + failing + "}}"));
        inFirst = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        askedWindow = nullptr;
        previewFrames.Reset();
        previewFrames.onFrame = [](void*, DWORD, LONG, LONG, DWORD) {
            if (previewFrames.Count() == 0) SetEvent(inFirst), Sleep(20);
        };
        imager.Start();
        WaitForSingleObject(inFirst, kLongEnough);
        cam.SnapPicture(name, 0);
        const bool saves = std::string(failing).find("SaveBmp") != std::string::npos;
        Holds("the preview ends by itself",
              PumpUntil([&] { return saves ? ImagerCountOf("SaveBmp") == 1 : Logged("Acquire 2") == 1; }));
        const DWORD begun = GetTickCount();
        Equal("stopped", cam.StopPreview(), camResult{camOk});
        Holds("at once", GetTickCount() - begun < 1000);
        CloseHandle(inFirst);
        Equal("engines that stay open", imagerKit.openEngines(), LONG{1});
        Equal("stops of the engine", Logged("Stop"), 0);
        Equal("state", State(), int{CAM_STATE_STILL_TRIGGERED});
        PumpFor(0);
        Equal("messages", captured, 0);
        Holds("no file", !FileExists(file.path()));

        previewFrames.Reset();
        imager.Start();
        Holds("the next preview is a whole one", Imager::SeesFrames(3));
        imager.Snap();
        Equal("stopped", cam.StopPreview(), camResult{camOk});
        Equal("engines that stay open", imagerKit.openEngines(), LONG{1});
    }
}

UINT_PTR Word(const void* pointer) {
    return reinterpret_cast<UINT_PTR>(pointer);
}

void Text() {
    LOGFONTW wanted = {};
    wanted.lfHeight = -24;
    const HFONT font = CreateFontIndirectW(&wanted);
    const HDC context = CreateCompatibleDC(nullptr);
    const HGDIOBJ previous = SelectObject(context, font);
    TEXTMETRICW metrics = {};
    GetTextMetricsW(context, &metrics);
    SelectObject(context, previous);
    DeleteDC(context);
    Imager imager;
    imager.Start();
    const auto stamped = [&](const wchar_t* text, UINT_PTR length, UINT_PTR position, HFONT with) {
        PlayImager();
        const int taken = captured;
        Equal("triggered", cam.SnapPictureWithText(nullptr, 0, Word(text), length, position, 1, Word(with)),
              camResult{camOk});
        Need("message 2623 comes", WaitForCaptured(taken + 1));
        Lines lines = ImagerCalls();
        std::erase_if(lines, [](const std::string& line) { return !line.starts_with("StampText"); });
        return lines;
    };
    for (const auto& [position, expected] : tables::kImagerPositions) {
        const Row row("position " + std::to_string(position));
        // Twelve characters are given, and eleven are meant.
        Equal("stamped", stamped(L"hello world!", 11, position, font),
              Lines{"StampText " + std::to_string(expected) + " " + std::to_string(metrics.tmHeight) +
                    " 0x00660046 hello world"});
    }
    Equal("without a text", stamped(nullptr, 5, 0, font), Lines());
    Equal("without a length", stamped(L"hello", 0, 0, font), Lines());
    Equal("without a font", stamped(L"hello", 5, 0, nullptr), Lines());
    for (const UINT_PTR length :
         {static_cast<UINT_PTR>(-1), static_cast<UINT_PTR>(-1) / 4, UINT_PTR{0x7FFFFFFF}}) {
        const Row row("a length that no memory holds");
        Equal("result", cam.SnapPictureWithText(nullptr, 0, Word(L"hello"), length, 0, 0, Word(font)),
              camResult{camCaptureFailed});
    }
    cam.StopPreview();
    DeleteObject(font);
}

struct PropertyStep {
    enum class Do { Get, Set, Range } what;
    int id;
    long value;  // given; of a get it is what stands in the variable before
    bool fails;
    std::vector<long> answer;  // a get's value and flags, or a range's five numbers
    std::string told;          // the call in the kit's words, or ""
};

std::vector<PropertyStep> PropertySteps() {
    using enum PropertyStep::Do;
    constexpr long kUntouched = 77;
    std::vector<PropertyStep> steps;
    const auto add = [&](const std::vector<PropertyStep>& more) {
        steps.insert(steps.end(), more.begin(), more.end());
    };
    // On or off: kept as given.
    const struct {
        int id;
        const char *on, *off;
    } switches[] = {{6, "imgEnableMonoColor 1", "imgEnableMonoColor 0"},
                    {16, "SetSwitch16 5", "SetSwitch16 0"},
                    {80, "SetSwitch80 5", "SetSwitch80 0"}};
    for (const auto& [id, on, off] : switches) {
        add({{Get, id, 9, false, {0, 2}, ""},
             {Range, id, 0, false, {0, 1, 1, 0, 2}, ""},
             {Set, id, 5, false, {}, on},
             {Get, id, 9, false, {5, 2}, ""},
             {Set, id, 0, false, {}, off}});
    }
    for (const int id : {0, 5, 7, 8, 9, 12, 14, 15, 17, 79}) {
        add({{Get, id, 9, true, {0, 2}, ""},
             {Range, id, 0, true, {0, 0, 0, 0, 1}, ""},
             {Set, id, 1, true, {}, ""}});
    }
    // A get of the exposure selects the setting that is set and ranged from then on; -1 is the exposure
    // itself, and at first there is none.
    const std::vector<long> none = {kUntouched, kUntouched, kUntouched, kUntouched, 2};
    add({{Range, 13, 0, true, none, "imgGetExposureSettingParms -2"},
         {Set, 13, 1, true, {}, "SetExposureSetting -2=1 8"},
         {Get, 13, -1, false, {2, 2}, "GetExposure"},
         {Range, 13, 0, false, {0, 2, 2, 2, 2}, ""},
         {Set, 13, 1, false, {}, "SetExposure 1"},
         {Get, 13, -1, false, {1, 2}, "GetExposure"},
         {Set, 13, 3, true, {}, "SetExposure 3"},
         {Get, 13, 0, false, {50, 2}, "GetExposureSetting 0 8"},
         {Range, 13, 0, false, {1, 100, 1, 50, 2}, "imgGetExposureSettingParms 0"},
         {Set, 13, 80, false, {}, "SetExposureSetting 0=80 8"},
         {Set, 13, 101, true, {}, "SetExposureSetting 0=101 8"},
         {Set, 13, -1, true, {}, "SetExposureSetting 0=-1 8"},  // a value, which selects nothing
         {Get, 13, 0, false, {80, 2}, "GetExposureSetting 0 8"},
         {Get, 13, 1, false, {0, 2}, "GetExposureSetting 1 8"},
         {Range, 13, 0, false, {0, 15, 1, 0, 2}, "imgGetExposureSettingParms 1"},
         // No such setting, yet it is selected.
         {Get, 13, 9, true, {9, 2}, "GetExposureSetting 9 8"},
         {Range, 13, 0, true, none, "imgGetExposureSettingParms 9"}});
    return steps;
}

void Properties() {
    using enum PropertyStep::Do;
    const Imager imager;
    for (const PropertyStep& step : PropertySteps()) {
        const Row row((step.what == Get   ? "get "
                       : step.what == Set ? "set "
                                          : "range of ") +
                      std::to_string(step.id) + ", " + std::to_string(step.value));
        // Nothing of the imager is begun anew, but the log is.
        PlayImager();
        long numbers[5] = {77, 77, 77, 77, 77};
        if (step.what == Get) numbers[0] = step.value;
        const camResult result = step.what == Get ? cam.GetProperty(step.id, &numbers[0], &numbers[1])
                                 : step.what == Set
                                     ? cam.SetProperty(step.id, step.value, CAM_FLAG_AUTO)
                                     : cam.GetPropertyRange(step.id, &numbers[0], &numbers[1], &numbers[2],
                                                            &numbers[3], &numbers[4]);
        Equal("result", result, camResult{step.fails ? camInvalidArgument : camOk});
        Equal("answer", std::vector<long>(numbers, numbers + step.answer.size()), step.answer);
        Equal("told to the library", ImagerCalls(), step.told.empty() ? Lines() : Lines{step.told});
    }
    // The library's refusal is passed on for the exposure, and for no switch.
    PlayImager(
        L"{\"calls\": {\"SetSwitch16\": {\"result\": 1}, \"75\": {\"result\": 1}, \"99\": {\"result\": 1}, "
        L"\"70\": {\"result\": 1}}}");
    long value = -1, flags = 0;
    Equal("one switch", cam.SetProperty(16, 0, CAM_FLAG_MANUAL), camResult{camOk});
    Equal("the other switch", cam.SetProperty(80, 0, CAM_FLAG_MANUAL), camResult{camOk});
    Equal("get the exposure", cam.GetProperty(13, &value, &flags), camResult{camInvalidArgument});
    Equal("set the exposure", cam.SetProperty(13, 0, CAM_FLAG_MANUAL), camResult{camInvalidArgument});
}

void Resolutions() {
    const Imager imager;
    int count = 0;
    Equal("result", cam.GetResolutionCount(&count), camResult{camOk});
    Equal("number", count, 2);
    const auto dimensions = [](int index) {
        long height = 7, width = 7;
        const camResult result = cam.GetResolutionDimensions(&height, &width, index);
        return std::vector<long>{result, height, width};
    };
    PlayImager();
    Equal("at first", dimensions(-1), std::vector<long>{0, 480, 640});
    Equal("asked of the library", Log(), Lines{"FirstDimensionOf1", "SecondDimensionOf1"});
    Equal("the preview's", dimensions(0), std::vector<long>{0, 240, 320});
    Equal("beyond the last", dimensions(2), std::vector<long>{camInvalidArgument, 7, 7});
    Equal("below -1", dimensions(-2), std::vector<long>{camInvalidArgument, 7, 7});
    for (const int bad : {2, -1})
        Equal("cannot be set", cam.SetResolution(bad), camResult{camInvalidArgument});
    Equal("can be set", cam.SetResolution(0), camResult{camOk});
    Equal("then", dimensions(-1), std::vector<long>{0, 240, 320});
}

void Ends() {
    for (const bool selectAnew : {false, true}) {
        const Row row(selectAnew ? "selected anew" : "shut down");
        Imager imager;
        imager.Start();
        imager.Start();  // a second one beside it
        Need("both run", PumpUntil([] { return imagerKit.openEngines() == 2; }));
        Equal(
            "result",
            selectAnew ? cam.Select(imager.windows.owner, nullptr, nullptr, CAM_TYPE_IMAGER) : cam.ShutDown(),
            camResult{camOk});
        Equal("engines that stay open", imagerKit.openEngines(), LONG{0});
        const LONG acquired = ImagerCountOf("Acquire");
        PumpFor(200);
        Equal("frames grabbed after that", ImagerCountOf("Acquire") - acquired, LONG{0});
        Equal("engines closed", ImagerCountOf("CloseEngine"), LONG{2});
    }
}

void Hanging() {
    Imager imager;
    PlayImager(L"{\"calls\": {\"Acquire\": {\"at\": 2, \"delayMs\": 7000}}}");
    imager.Start();
    Need("the library hangs", PumpUntil([] { return ImagerCountOf("Acquire") == 2; }));
    DWORD begun = GetTickCount();
    Equal("stopped", cam.StopPreview(), camResult{camFailed});
    const DWORD took = GetTickCount() - begun;
    Holds("after 5 s", took >= 4900 && took < 7000);
    begun = GetTickCount();
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Holds("within 5 s", GetTickCount() - begun < 6500);
    Equal("calls", Log(3), Lines{"CloseEngine", "Shutdown", "Shutdown"});
}

// ocellus.dll copied to a folder of its own, so that it finds no imager library but what is put there.
void WithoutLibrary() {
    const std::wstring folder = WorkFolder() + L"elsewhere";
    CreateDirectoryW(folder.c_str(), nullptr);
    const struct {
        const char* name;
        camResult result;
    } cases[] = {{"it is missing", static_cast<camResult>(0x8007007E)},
                 {"it is no library", static_cast<camResult>(0x800700C1)},
                 {"it lacks an operation", static_cast<camResult>(0x8007007F)}};
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Row row(cases[i].name);
        const TestFile copy(L"elsewhere\\ocellus.dll"), imager(L"elsewhere\\Imvoxa.dll");
        Need("copied", CopyFileW(cam.Path().c_str(), copy.path(), FALSE) != 0);
        if (i == 1) WriteFileBytes(imager.path(), "none");
        if (i == 2) CopyFileW(cam.Path().c_str(), imager.path(), FALSE);
        Library other;
        Need("loaded", other.Load(copy.path()), DWORD{0});
        Equal("selected", other.Select(nullptr, nullptr, nullptr, CAM_TYPE_IMAGER), cases[i].result);
        int state = -1;
        Equal("result", other.GetState(&state), camResult{camOk});
        Equal("state", state, int{CAM_STATE_NONE});
        Equal("preview", other.StartPreview(), camResult{camFailed});
        Equal("stop", other.StopPreview(), camResult{camOk});
        Equal("a picture", other.SnapPicture(L"x.bmp", 0), camResult{camOk});
        long value = 0, flags = 0;
        Equal("set", other.SetProperty(6, 1, CAM_FLAG_MANUAL), camResult{camInvalidArgument});
        Equal("get", other.GetProperty(13, &value, &flags), camResult{camInvalidArgument});
        Equal("dimensions", other.GetResolutionDimensions(&value, &flags, 0), camResult{camInvalidArgument});
        void* snapshot = nullptr;
        Equal("snapshot", other.GetSnapshot(&snapshot), camResult{camInvalidArgument});
        other.GetState(&state);
        Equal("state", state, int{CAM_STATE_STILL_TRIGGERED});
        Equal("shut down", other.ShutDown(), camResult{camOk});
        other.Unload();
    }
    RemoveDirectoryW(folder.c_str());
}

// A picture that is being stored when the camera is shut down, and one whose message waits in the queue.
void LateMessage() {
    for (const bool isStored : {false, true}) {
        const Row row(isStored ? "stored before the shutdown" : "stored during the shutdown");
        Imager imager;
        PlayImager(L"{\"calls\": {\"SaveBmp\": {\"delayMs\": 300}}}");
        const TestFile file(L"late.bmp");
        imager.Start();
        Equal("a picture", cam.SnapPicture(file.path(), 0), camResult{camOk});
        const DWORD begun = GetTickCount();
        while (isStored ? State() != CAM_STATE_PREVIEWING : ImagerCountOf("SaveBmp") == 0) {
            Need("it is stored", GetTickCount() - begun < kLongEnough);
            Sleep(5);  // no message may be served
        }
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        PumpFor(100);
        Equal("messages after the shutdown", captured, 0);
    }
}

// The preview's thread hangs in the imager library when the camera is shut down and the library unloaded, and
// comes back afterwards.
void UnloadedWhileItHangs() {
    const std::wstring path = cam.Path();
    const int threads = platform::CountHoldings().threads;
    {
        Imager imager;
        PlayImager(L"{\"calls\": {\"Acquire\": {\"at\": 2, \"delayMs\": 6500}}}");
        imager.Start();
        Need("it hangs", PumpUntil([] { return ImagerCountOf("Acquire") == 2; }));
        const DWORD begun = GetTickCount();
        Equal("shut down", cam.ShutDown(), camResult{camOk});
        const DWORD taken = GetTickCount() - begun;
        Holds("the shutdown waits 5 s in all", taken >= 4900 && taken < 5900);
    }
    cam.Unload();
    constexpr DWORD kComesBackMs = 2000;  // where the system does not say how many threads there are
    PumpFor(kComesBackMs);
    Holds("the thread comes to its end",
          PumpUntil([=] { return platform::CountHoldings().threads <= threads; }));
    Need("the library is there again", cam.Load(path), DWORD{0});
    Equal("what it lacks", cam.Lacking(), std::string());
}

constexpr Check kChecks[] = {
    {"the states of the imager", kImagerKit, States, kLibraryFault},
    {"preview opens the engine, shows frames, and takes one more after a stop request", kImagerKit, Preview,
     kLibraryFault},
    {"without an owner window nothing is drawn", kImagerKit, NoOwner, kLibraryFault},
    {"what stands in the way of a preview ends its thread", kImagerKit, Ending, kLibraryFault},
    {"stills are written by the library's BMP operation, whatever they are called", kImagerKit, Stills,
     kLibraryFault},
    {"a failed still ends the preview with the engine open", kImagerKit, FailedStill, kLibraryFault},
    {"text is stamped by the library, at its own positions", kImagerKit, Text, kLibraryFault},
    {"properties answer, and reach the library", kImagerKit, Properties, kLibraryFault},
    {"its two resolutions", kImagerKit, Resolutions, kLibraryFault},
    {"shutting down and selecting anew end all previews", kImagerKit, Ends, kLibraryFault},
    {"a library that does not answer holds nobody up for longer than 5 s", kImagerKit, Hanging,
     kLibraryFault},
    {"no message comes after the shutdown", kImagerKit, LateMessage, kLibraryFault},
    {"the library can be unloaded while its thread hangs in the imager library", kImagerKit,
     UnloadedWhileItHangs, kLibraryFault},
    {"without a usable imager library it says so, and everything else goes on", kImagerKit | kDesktop,
     WithoutLibrary, kLibraryFault},
};

}  // namespace

const Group kImagerCamera = {"imager", "the imager camera and its library", kChecks};

}  // namespace verify
