#include "harness.h"

#include <doctest/doctest.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>

#include "process_counts.h"

namespace {

HMODULE LoadBeside(const wchar_t* name) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    wcscpy(wcsrchr(path, L'\\') + 1, name);
    const HMODULE library = LoadLibraryW(path);
    if (!library) {
        printf("%ls cannot be loaded: error %lu\n", path, GetLastError());
        exit(1);
    }
    return library;
}

template <typename Function>
void Import(HMODULE library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    if (!function) {
        printf("%s is not exported\n", name);
        exit(1);
    }
}

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

std::wstring TemporaryPath(const wchar_t* name) {
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    return std::wstring(path) + name + std::to_wstring(GetCurrentProcessId());
}

}  // namespace

CameraLibrary::CameraLibrary() {
    const HMODULE library = LoadBeside(L"ocellus.dll");
#define CAM_IMPORT(name) Import(library, "cam" #name, name)
    CAM_IMPORT(GetDllRevision);
    CAM_IMPORT(Init);
    CAM_IMPORT(Select);
    CAM_IMPORT(GetSelectedType);
    CAM_IMPORT(ShutDown);
    CAM_IMPORT(StartPreview);
    CAM_IMPORT(StopPreview);
    CAM_IMPORT(SetEventsWindow);
    CAM_IMPORT(GetState);
    CAM_IMPORT(GetPropertyRange);
    CAM_IMPORT(GetProperty);
    CAM_IMPORT(SetProperty);
    CAM_IMPORT(GetCameraID);
    CAM_IMPORT(GetResolutionCount);
    CAM_IMPORT(GetResolutionDimensions);
    CAM_IMPORT(SetResolution);
    CAM_IMPORT(SnapPicture);
    CAM_IMPORT(SnapPictureWithText);
    CAM_IMPORT(GetSnapshot);
    CAM_IMPORT(RegisterPreviewCallback);
    CAM_IMPORT(RegisterStillImageCallback);
    CAM_IMPORT(RegisterMediaTypeCallback);
#undef CAM_IMPORT
}

int CameraLibrary::State() const {
    int state = -1;
    GetState(&state);
    return state;
}

Kit::Kit() {
    const HMODULE library = LoadBeside(L"devicekit.dll");
#define KIT_IMPORT(name) Import(library, "kit" #name, name)
    KIT_IMPORT(LoadScenario);
    KIT_IMPORT(Reset);
    KIT_IMPORT(Resume);
    KIT_IMPORT(LoseDevice);
    KIT_IMPORT(CallCount);
    KIT_IMPORT(CallLog);
    KIT_IMPORT(LiveObjects);
    KIT_IMPORT(PreviewFrames);
    KIT_IMPORT(StillPictures);
#undef KIT_IMPORT
}

void Kit::Play(const std::wstring& scenario) const {
    wchar_t error[300] = L"";
    const BOOL played = LoadScenario(scenario.c_str(), error, 300);
    if (!played) printf("%ls\n", error);
    REQUIRE(played);
}

std::vector<std::wstring> Kit::Calls() const {
    std::wstring log(CallLog(nullptr, 0), L'\0');
    CallLog(log.data(), static_cast<DWORD>(log.size()));
    std::vector<std::wstring> calls;
    for (size_t at = 0; at < log.size() && log[at];) {
        const size_t end = std::min(log.find(L'\n', at), log.find(L'\0', at));
        calls.push_back(log.substr(at, end - at));
        at = end + 1;
    }
    return calls;
}

const CameraLibrary& cam() {
    static const CameraLibrary library;
    return library;
}

const Kit& deviceKit() {
    static const Kit library = [] {
        cam();  // initialises COM for the process
        return Kit();
    }();
    return library;
}

bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs) {
    const DWORD started = GetTickCount();
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        if (done()) return true;
        if (GetTickCount() - started > timeoutMs) return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
}

void PumpFor(DWORD ms) {
    PumpUntil([] { return false; }, ms);
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
    : initResult((deviceKit().Play(scenario), cam().Init(windows.owner(), nullptr, nullptr))) {
    cam().SetEventsWindow(windows.events());
}

Camera::~Camera() {
    cam().ShutDown();
}

TemporaryFolder::TemporaryFolder() : folder_(TemporaryPath(L"ocellus")) {
    CreateDirectoryW(folder_.c_str(), nullptr);
}

TemporaryFolder::~TemporaryFolder() {
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(Path(L"*").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found)) {
        DeleteFileW(Path(found.cFileName).c_str());
    }
    FindClose(search);
    RemoveDirectoryW(folder_.c_str());
}

std::string ReadFileBytes(const std::wstring& path) {
    std::string bytes;
    FILE* file = _wfopen(path.c_str(), L"rb");
    if (!file) return bytes;
    char buffer[4096];
    for (size_t read; (read = fread(buffer, 1, sizeof buffer, file)) > 0;) bytes.append(buffer, read);
    fclose(file);
    return bytes;
}

void WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    FILE* file = _wfopen(path.c_str(), L"wb");
    REQUIRE(file);
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
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
    holdings.kitObjects = deviceKit().LiveObjects();
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
    static const std::wstring path = [] {
        const std::wstring log = TemporaryPath(L"boxes");
        SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", log.c_str());
        SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
        return log;
    }();
    const std::string text = ReadFileBytes(path);
    DeleteFileW(path.c_str());
    std::vector<std::string> boxes;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        boxes.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return boxes;
}
