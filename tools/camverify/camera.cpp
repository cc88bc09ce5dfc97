#include "camera.h"

#include <cstring>

#include "kit.h"

namespace verify {

int cameraType = CAM_TYPE_DSHOW;
int cycleCount = 10;
int captured, asked, ownerPaints;
void (*onOwnerMessage)();
FrameCatcher previewFrames, stillFrames;
ToldType told;

namespace {

constexpr wchar_t kWindowClass[] = L"OcellusVerification";

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == CAM_MESSAGE_STILL_CAPTURED && wParam == 0 && lParam == 0) {
        ++captured;
        return 0;
    }
    if (onOwnerMessage && GetParent(window)) onOwnerMessage();
    asked += message == kAsk;
    ownerPaints += message == WM_PAINT && GetParent(window) != nullptr;
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeWindow(HWND parent, DWORD style, int width, int height) {
    const HWND window = CreateWindowExW(0, kWindowClass, L"camverify", style, 0, 0, width, height, parent,
                                        nullptr, GetModuleHandleW(nullptr), nullptr);
    Need("the system makes a window", window != nullptr);
    return window;
}

camResult Played(const std::wstring& scenario) {
    Play(scenario);
    return camOk;
}

}  // namespace

int State() {
    int state = -1;
    cam.GetState(&state);
    return state;
}

Windows::Windows() {
    captured = asked = ownerPaints = 0;
    onOwnerMessage = nullptr;
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassW(&windowClass);
    top = MakeWindow(nullptr, WS_POPUP | WS_VISIBLE, 400, 300);
    owner = MakeWindow(top, WS_CHILD | WS_VISIBLE, 320, 240);
    events = MakeWindow(nullptr, WS_POPUP, 0, 0);
}

Windows::~Windows() {
    DestroyWindow(events);
    DestroyWindow(top);
}

Session::Session(int type, const wchar_t* settingsPath, const wchar_t* section)
    : initResult(cam.Select(windows.owner, settingsPath, section, type)) {
    cam.SetEventsWindow(windows.events);
}

Session::Session(const std::wstring& scenario)
    : initResult((Played(scenario), cam.Select(windows.owner, nullptr, nullptr, CAM_TYPE_DSHOW))) {
    cam.SetEventsWindow(windows.events);
}

Session::~Session() {
    cam.ShutDown();
}

void Session::NeedPreview() const {
    NeedUp();
    Need("preview starts", cam.StartPreview(), camResult{camOk});
}

bool Session::Snap(const wchar_t* path, int mode) {
    const int taken = captured;
    return Equal("a picture is triggered", cam.SnapPicture(path, mode), camResult{camOk}) &&
           Holds("message 2623 comes", WaitForCaptured(taken + 1));
}

WORD SeenFrame::At(LONG x, LONG y) const {
    const LONG row = height > 0 ? height - 1 - y : y;
    WORD pixel;
    memcpy(&pixel, bytes.data() + static_cast<size_t>(row) * stride + static_cast<size_t>(x) * sizeof pixel,
           sizeof pixel);
    return pixel;
}

void FrameCatcher::Reset(size_t keep) {
    frames.clear();
    frames.reserve(keep);
    kept = keep;
    onFrame = nullptr;
    count = 0;
}

void FrameCatcher::Catch(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    if (frames.size() < kept) {
        const auto* bytes = static_cast<const BYTE*>(frame);
        frames.push_back({size, height, width, stride, {bytes, bytes + size}, frame});
    }
    if (onFrame) onFrame(frame, size, height, width, stride);
    ++count;
}

void WINAPI CatchPreview(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    previewFrames.Catch(frame, size, height, width, stride);
}

void WINAPI CatchStill(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    stillFrames.Catch(frame, size, height, width, stride);
}

void WINAPI TellMediaType(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                          LONG framesPerSecond) {
    told.thread = GetCurrentThreadId();
    told.height = height;
    told.width = width;
    told.sampleSize = sampleSize;
    told.stride = stride;
    told.formatCode = formatCode;
    told.framesPerSecond = framesPerSecond;
    ++told.calls;
}

Callbacks::Callbacks() {
    previewFrames.Reset();
    stillFrames.Reset();
    told.calls = 0;
    cam.RegisterPreviewCallback(CatchPreview);
    cam.RegisterStillImageCallback(CatchStill);
    cam.RegisterMediaTypeCallback(TellMediaType);
}

Callbacks::~Callbacks() {
    cam.RegisterPreviewCallback(nullptr);
    cam.RegisterStillImageCallback(nullptr);
    cam.RegisterMediaTypeCallback(nullptr);
}

}  // namespace verify
