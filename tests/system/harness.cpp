#include "harness.h"

#include <doctest/doctest.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>

#include "process_counts.h"

namespace {

constexpr wchar_t kWindowClass[] = L"OcellusSystemTest";

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == CAM_MESSAGE_STILL_CAPTURED && wParam == 0 && lParam == 0) {
        SetWindowLongPtrW(window, GWLP_USERDATA, GetWindowLongPtrW(window, GWLP_USERDATA) + 1);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeWindow(HWND parent, DWORD style, int width, int height) {
    return CreateWindowExW(0, kWindowClass, L"system test", style, 0, 0, width, height, parent, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
}

}  // namespace

int State() {
    int state = -1;
    camGetState(&state);
    return state;
}

void Play(const std::wstring& scenario) {
    wchar_t error[300] = L"";
    const BOOL played = kitLoadScenario(scenario.c_str(), error, 300);
    if (!played) printf("%ls\n", error);
    REQUIRE(played);
}

std::vector<std::wstring> Calls() {
    std::wstring log(kitCallLog(nullptr, 0), L'\0');
    kitCallLog(log.data(), static_cast<DWORD>(log.size()));
    std::vector<std::wstring> calls;
    for (size_t at = 0; at < log.size() && log[at];) {
        const size_t end = std::min(log.find(L'\n', at), log.find(L'\0', at));
        calls.push_back(log.substr(at, end - at));
        at = end + 1;
    }
    return calls;
}

Windows::Windows() {
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassW(&windowClass);
    top_ = MakeWindow(nullptr, WS_POPUP | WS_VISIBLE, 400, 300);
    owner_ = MakeWindow(top_, WS_CHILD | WS_VISIBLE, 320, 240);
    events_ = MakeWindow(nullptr, WS_POPUP, 0, 0);
    REQUIRE(top_);
    REQUIRE(owner_);
    REQUIRE(events_);
}

Windows::~Windows() {
    DestroyWindow(events_);
    DestroyWindow(top_);
}

int Windows::captured() const {
    return static_cast<int>(GetWindowLongPtrW(events_, GWLP_USERDATA));
}

Camera::Camera(const std::wstring& scenario)
    : initResult((Play(scenario), camInit(windows.owner(), nullptr, nullptr))) {
    camSetEventsWindow(windows.events());
}

Camera::~Camera() {
    camShutDown();
}

Holdings CountHoldings() {
    Holdings holdings = {};
    holdings.handles = counts::Handles();
    holdings.threads = counts::Threads();
    holdings.gdiObjects = counts::GdiObjects();
    for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, nullptr, nullptr));) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        holdings.windows += process == GetCurrentProcessId();
    }
    holdings.kitObjects = kitLiveObjects();
    return holdings;
}

std::string Describe(const Holdings& holdings) {
    char text[200];
    snprintf(text, sizeof text, "%d handles, %d threads, %d GDI objects, %d windows, %ld kit objects",
             holdings.handles, holdings.threads, holdings.gdiObjects, holdings.windows, holdings.kitObjects);
    return text;
}

bool HoldingsReturnTo(const Holdings& before, DWORD timeoutMs) {
    return PumpUntil(
        [&] {
            const Holdings now = CountHoldings();
            return now.handles <= before.handles && now.threads <= before.threads &&
                   now.gdiObjects <= before.gdiObjects && now.windows <= before.windows &&
                   now.kitObjects <= before.kitObjects;
        },
        timeoutMs);
}

namespace {

struct Watched {
    const char* step = nullptr;
    ULONGLONG end = 0;
};
SRWLOCK watchedLock = SRWLOCK_INIT;
Watched watched;  // guarded by watchedLock

DWORD WINAPI Watch(void*) {
    for (;; Sleep(50)) {
        AcquireSRWLockExclusive(&watchedLock);
        const bool late = watched.step && GetTickCount64() > watched.end;
        if (late) {
            printf("HANGS: %s\n", watched.step);
            fflush(stdout);
            TerminateProcess(GetCurrentProcess(), 3);
        }
        ReleaseSRWLockExclusive(&watchedLock);
    }
}

}  // namespace

Deadline::Deadline(const char* step, DWORD timeoutMs) {
    static const HANDLE watcher = CreateThread(nullptr, 0, Watch, nullptr, 0, nullptr);
    (void)watcher;
    AcquireSRWLockExclusive(&watchedLock);
    watched = {step, GetTickCount64() + timeoutMs};
    ReleaseSRWLockExclusive(&watchedLock);
}

Deadline::~Deadline() {
    AcquireSRWLockExclusive(&watchedLock);
    watched = {};
    ReleaseSRWLockExclusive(&watchedLock);
}

std::vector<std::string> TakeMessageBoxes() {
    static const TestFile log(L"boxes");
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", log.path());
    SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
    const std::string text = ReadBytes(log.path());
    log.Remove();
    std::vector<std::string> boxes;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        boxes.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return boxes;
}
