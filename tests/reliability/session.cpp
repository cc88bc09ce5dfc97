#include "session.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <atomic>

namespace reliability {

namespace {

// Of a machine that has much else to do, too. Who is hindered waits for less.
constexpr DWORD kComesMs = 20000, kMayComeMs = 400;

std::atomic<const char*> underWay = nullptr;
std::atomic<DWORD> since = 0;
Totals totals;

std::atomic<int> frames, stills;
int captured;
HANDLE changed;  // a frame has come

void WINAPI CountFrame(void*, DWORD, LONG, LONG, DWORD) {
    ++frames;
    SetEvent(changed);
}
void WINAPI CountStill(void*, DWORD, LONG, LONG, DWORD) {
    ++stills;
}
void WINAPI IgnoreType(LONG, LONG, DWORD, DWORD, LONG, LONG) {}

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    captured += message == CAM_MESSAGE_STILL_CAPTURED;
    return DefWindowProcW(window, message, first, second);
}

template <typename Condition>
bool PumpUntil(Condition condition, DWORD timeoutMs) {
    const DWORD start = GetTickCount();
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        if (condition()) return true;
        const DWORD gone = GetTickCount() - start;
        if (gone >= timeoutMs) return false;
        // What else the condition is about tells nobody.
        constexpr DWORD kLookMs = 10;
        MsgWaitForMultipleObjectsEx(1, &changed, kLookMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

std::wstring Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

HWND MakeWindow(HWND parent, DWORD style) {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = Procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = L"OcellusReliability";
    RegisterClassW(&windowClass);
    return CreateWindowExW(0, windowClass.lpszClassName, L"session", style, 0, 0, 320, 240, parent, nullptr,
                           windowClass.hInstance, nullptr);
}

// Which results a function has beside camOk; what is not listed has only it.
struct Contract {
    const char* function;
    unsigned results;  // a bit for each
    bool isHresult = false;
};
constexpr unsigned Bit(int result) {
    return 1u << result;
}
constexpr unsigned kNone = Bit(camNotInitialised), kArgument = Bit(camInvalidArgument),
                   kRefused = Bit(camFailed);
constexpr Contract kContracts[] = {
    {"DllRegisterServer", 0, true},
    {"camSelect", kNone, true},
    {"camShutDown", kNone | kRefused},
    {"camStartPreview", kNone | kRefused},
    {"camStopPreview", kNone | kRefused},
    {"camGetState", kNone | kRefused},
    {"camSetEventsWindow", kNone},
    {"camGetPropertyRange", kNone | kArgument},
    {"camGetProperty", kNone | kArgument},
    {"camSetProperty", kNone | kArgument},
    {"camGetCameraID", kNone | kArgument},
    {"camGetResolutionCount", kNone},
    {"camGetResolutionDimensions", kNone | kArgument},
    {"camSetResolution", kNone | kArgument},
    {"camSnapPicture", kNone | Bit(camCaptureFailed)},
    {"camSnapPictureWithText", kNone | Bit(camCaptureFailed)},
    {"camGetSnapshot", kNone | kArgument},
    {"camRegisterPreviewCallback", kNone},
    {"camRegisterStillImageCallback", kNone},
    {"camRegisterMediaTypeCallback", kNone},
};

bool IsDocumented(const char* function, camResult result) {
    if (result == camOk) return true;
    for (const Contract& contract : kContracts) {
        if (strcmp(contract.function, function) != 0) continue;
        if (result < 0) return contract.isHresult;
        return result <= camFailed && (contract.results & Bit(result));
    }
    return false;
}

class Session {
  public:
    explicit Session(const Plan& given) : plan(given) {
        captured = 0;
        if (!changed) changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        top = MakeWindow(nullptr, WS_POPUP | WS_VISIBLE);
        if (plan.hasOwner) owner = MakeWindow(top, WS_CHILD | WS_VISIBLE);
        events = MakeWindow(nullptr, WS_POPUP);
    }
    ~Session() {
        DestroyWindow(events);
        DestroyWindow(top);
    }

    std::vector<std::string> Play() {
        library = LoadLibraryW(L"ocellus.dll");
        if (!library) {
            Expect(plan.isHindered, "the library was not loaded");
            return problems;
        }
        Call<HRESULT WINAPI()>("DllRegisterServer");
        Call<decltype(camGetDllRevision)>("camGetDllRevision", text);
        PlayCamera();
        PlayImager();
        Expect(FreeLibrary(library), "the library was not unloaded");
        return problems;
    }

  private:
    void PlayCamera() {
        const std::wstring settings = Wide(plan.folder + "settings.ini");
        Call<decltype(camSelect)>("camSelect", owner, settings.c_str(), L"Camera", CAM_TYPE_DSHOW);
        Prepare();
        ReadState();
        Call<decltype(camStartPreview)>("camStartPreview");
        Frames();
        Properties();
        Resolutions();
        for (const char* extension : {"jpg", "bmp", "png", "tif"}) Picture(extension, true);
        void* bitmap = nullptr;
        Call<decltype(camGetSnapshot)>("camGetSnapshot", &bitmap);
        Call<decltype(camStopPreview)>("camStopPreview");
        Profiles();
        Call<decltype(camStartPreview)>("camStartPreview");
        Frames();
        if (plan.resume) plan.resume();
        Frames();
        Call<decltype(camStopPreview)>("camStopPreview");
        ReadState();
        End();
    }

    void PlayImager() {
        Call<decltype(camSelect)>("camSelect", owner, nullptr, nullptr, CAM_TYPE_IMAGER);
        Prepare();
        Call<decltype(camSetResolution)>("camSetResolution", 0);
        Call<decltype(camStartPreview)>("camStartPreview");
        Frames();
        long value = 0, flags = 0;
        Call<decltype(camGetProperty)>("camGetProperty", 16, &value, &flags);
        Picture("bmp", false);
        ReadState();
        Call<decltype(camStopPreview)>("camStopPreview");
        End();
    }

    void Prepare() {
        Call<decltype(camSetEventsWindow)>("camSetEventsWindow", events);
        Call<decltype(camRegisterPreviewCallback)>("camRegisterPreviewCallback", CountFrame);
        Call<decltype(camRegisterStillImageCallback)>("camRegisterStillImageCallback", CountStill);
        Call<decltype(camRegisterMediaTypeCallback)>("camRegisterMediaTypeCallback", IgnoreType);
    }

    // A camera whose end was refused is there still, and the next try succeeds.
    void End() {
        if (Call<decltype(camShutDown)>("camShutDown") == camFailed)
            Expect(Call<decltype(camShutDown)>("camShutDown") == camOk, "the camera cannot be shut down");
    }

    void ReadState() {
        int state = -1;
        const camResult result = Call<decltype(camGetState)>("camGetState", &state);
        Expect(result != camOk || (state >= CAM_STATE_NONE && state <= CAM_STATE_STILL_TRIGGERED),
               "camGetState wrote " + std::to_string(state));
    }

    void Frames() {
        const int before = frames;
        const bool come = PumpUntil([&] { return frames > before; }, plan.isHindered ? kMayComeMs : kComesMs);
        Expect(come || plan.isHindered, "no frame came");
    }

    void Properties() {
        constexpr int kBrightness = 0, kZoom = 12;
        for (const int id : {kBrightness, kZoom}) {
            long lowest = 0, highest = 0, step = 0, usual = 0, value = 0, flags = 0;
            if (Call<decltype(camGetPropertyRange)>("camGetPropertyRange", id, &lowest, &highest, &step,
                                                    &usual, &flags) == camOk)
                Expect(lowest <= highest, "the range of a property is upside down");
            Call<decltype(camGetProperty)>("camGetProperty", id, &value, &flags);
            Call<decltype(camSetProperty)>("camSetProperty", id, usual, CAM_FLAG_MANUAL);
        }
        long id = 0;
        Call<decltype(camGetCameraID)>("camGetCameraID", &id);
    }

    void Resolutions() {
        int count = 0;
        Call<decltype(camGetResolutionCount)>("camGetResolutionCount", &count);
        long height = 0, width = 0;
        Call<decltype(camGetResolutionDimensions)>("camGetResolutionDimensions", &height, &width, 0);
        Call<decltype(camSetResolution)>("camSetResolution", 0);
    }

    void Picture(const char* extension, bool hasText) {
        constexpr wchar_t kText[] = L"stamped\nin two lines";
        constexpr UINT_PTR kMiddle = 5, kColor = 0x10FFFFFF;
        path = Wide(plan.folder + plan.name + (hasText ? "-camera." : "-imager.") + extension);
        DeleteFileW(path.c_str());
        const int before = captured;
        const camResult result =
            hasText ? Call<decltype(camSnapPictureWithText)>(
                          "camSnapPictureWithText", path.c_str(), 0, reinterpret_cast<UINT_PTR>(kText),
                          UINT_PTR{wcslen(kText)}, kMiddle, kColor,
                          reinterpret_cast<UINT_PTR>(GetStockObject(SYSTEM_FONT)))
                    : Call<decltype(camSnapPicture)>("camSnapPicture", path.c_str(), 0);
        if (result != camOk) return;
        const bool come =
            PumpUntil([&] { return captured > before; }, plan.isHindered ? 5 * kMayComeMs : kComesMs);
        Expect(come || plan.isHindered, "message 2623 did not come");
        const bool isThere = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
        Expect(isThere || plan.isHindered, "a picture is missing");
        totals.pictures += isThere;
    }

    void Profiles() {
        wchar_t** slots = nullptr;
        const std::wstring profiles = Wide(plan.folder + "profiles.exm");
        Call<decltype(camGetProfiles)>("camGetProfiles", profiles.c_str(), &slots);
        Expect(slots || plan.isHindered, "the profiles were not read");
        for (int i = 0; slots && i < CAM_PROFILE_SLOTS; ++i) {
            if (slots[i] && (i == 0 || slots[i] != slots[i - 1])) free(slots[i]);
        }
        free(slots);
    }

    template <typename Function, typename... A>
    camResult Call(const char* name, A... arguments) {
        if (plan.onStep) plan.onStep(name);
        const auto function =
            reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
        since = GetTickCount();
        underWay = name;
        const camResult result = function(arguments...);
        underWay = nullptr;
        if (plan.onStep) plan.onStep(nullptr);
        ++totals.calls;
        Expect(IsDocumented(name, result) && (plan.isHindered || result == camOk),
               std::string(name) + " answered " + std::to_string(result));
        return result;
    }

    void Expect(bool condition, const std::string& problem) {
        if (!condition) problems.push_back("session " + plan.name + ": " + problem);
    }

    const Plan& plan;
    HMODULE library = nullptr;
    HWND top = nullptr, owner = nullptr, events = nullptr;
    wchar_t text[20] = {};
    std::wstring path;  // of the last picture; the imager's must stay until it has been taken
    std::vector<std::string> problems;
};

DWORD WINAPI Watch(void*) {
    constexpr DWORD kHangMs = 30000;
    for (;; Sleep(500)) {
        const char* const call = underWay;
        if (!call || GetTickCount() - since < kHangMs) continue;
        Print(std::string("HANG: ") + call + " did not return within 30 s");
        TerminateProcess(GetCurrentProcess(), 3);
    }
}

}  // namespace

std::vector<std::string> PlaySession(const Plan& plan) {
    return Session(plan).Play();
}

Totals SessionTotals() {
    return totals;
}

bool PumpUntil(bool (*condition)(), DWORD timeoutMs) {
    return PumpUntil<bool (*)()>(condition, timeoutMs);
}

void WatchForHangs() {
    CloseHandle(CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr));
}

void Print(const std::string& line) {
    fwrite(line.data(), 1, line.size(), stdout);
    fwrite("\n", 1, 1, stdout);
    fflush(stdout);
}

void WriteFileOf(const std::string& path, const std::string& text) {
    const HANDLE file = CreateFileW(Wide(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
}

}  // namespace reliability
