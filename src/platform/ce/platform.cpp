// On a device all of this is the system's own.
#include "platform/platform.h"

#include <objbase.h>

#include <strmif.h>

extern "C" {
HANDLE FindFirstDevice(int searchType, const void* searchParameter, void* information);
BOOL FindNextDevice(HANDLE search, void* information);
HANDLE CreateMsgQueue(const wchar_t* name, void* options);
BOOL ReadMsgQueue(HANDLE queue, void* buffer, DWORD bufferSize, DWORD* bytesRead, DWORD timeoutMs,
                  DWORD* flags);
BOOL CloseMsgQueue(HANDLE queue);
HANDLE RequestPowerNotifications(HANDLE queue, DWORD flags);
DWORD StopPowerNotifications(HANDLE notification);
BOOL EventModify(HANDLE event, DWORD function);
}

namespace cam::platform {

HANDLE FindFirstDevice(DeviceSearchType searchType, const void* searchParameter,
                       DEVMGR_DEVICE_INFORMATION* information) {
    const HANDLE search = ::FindFirstDevice(searchType, searchParameter, information);
    return search == INVALID_HANDLE_VALUE ? nullptr : search;
}

BOOL FindNextDevice(HANDLE search, DEVMGR_DEVICE_INFORMATION* information) {
    return ::FindNextDevice(search, information);
}

BOOL CloseDeviceSearch(HANDLE search) {
    return FindClose(search);
}

HRESULT CreateCaptureFilter(REFCLSID registered, DeviceFinder, IBaseFilter** out) {
    return CoCreateInstance(registered, nullptr, CLSCTX_ALL, __uuidof(IBaseFilter),
                            reinterpret_cast<void**>(out));
}

bool IsWebcam(const wchar_t*) {
    return false;
}

std::wstring ChosenByEnvironment() {
    return {};
}

HRESULT ListDeviceFormats(const wchar_t*, std::vector<StreamFormat>&) {
    return E_NOTIMPL;
}

bool GetStreamState(StreamState*) {
    return false;
}

BOOL SetWarmUpFrames(DWORD) {
    return FALSE;
}

BOOL WatchDevices(HWND, UINT) {
    return FALSE;
}

HANDLE CreateMsgQueue(const wchar_t* name, MSGQUEUEOPTIONS* options) {
    return ::CreateMsgQueue(name, options);
}

BOOL ReadMsgQueue(HANDLE queue, void* buffer, DWORD bufferSize, DWORD* bytesRead, DWORD timeoutMs,
                  DWORD* flags) {
    return ::ReadMsgQueue(queue, buffer, bufferSize, bytesRead, timeoutMs, flags);
}

BOOL CloseMsgQueue(HANDLE queue) {
    return ::CloseMsgQueue(queue);
}

HANDLE RequestPowerNotifications(HANDLE queue, DWORD flags) {
    return ::RequestPowerNotifications(queue, flags);
}

DWORD StopPowerNotifications(HANDLE notification) {
    return ::StopPowerNotifications(notification);
}

BOOL EventModify(HANDLE event, DWORD function) {
    return ::EventModify(event, function);
}

bool IsSenderWaiting() {
    return InSendMessage();
}

void LetSentMessagesIn() {
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
}

HRESULT CreateOwnFilter(REFCLSID id, DWORD context, REFIID interfaceId, void** out) {
    return CoCreateInstance(id, nullptr, context, interfaceId, out);
}

ApartmentUse::ApartmentUse() {}

ApartmentUse::~ApartmentUse() {}

int ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, UINT icon) {
    return MessageBoxW(owner, text, caption, MB_OK | icon);
}

COLORREF DeviceTextColor(COLORREF color) {
    return color;
}

HMODULE LoadImagerLibrary() {
    return LoadLibraryW(L"Imvoxa.dll");
}

}  // namespace cam::platform
