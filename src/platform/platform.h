// The one seam: what Windows CE has and the desktop lacks, or what the two do differently. The names are
// Windows CE's own. ce/ forwards to the system, desktop/ supplies. Nothing else in the library asks which
// system it runs on.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

struct IBaseFilter;

namespace cam::platform {

// ---- Device manager: search for active drivers ----------------------------------------------------------

enum DeviceSearchType { DeviceSearchByGuid = 3 };  // the parameter is a const GUID*

struct DEVMGR_DEVICE_INFORMATION {
    DWORD dwSize;  // set by the caller: sizeof the record
    HANDLE hDevice;
    HANDLE hParentDevice;
    WCHAR szLegacyName[6];  // "CAM1:"
    WCHAR szDeviceKey[MAX_PATH];
    WCHAR szDeviceName[MAX_PATH];
    WCHAR szBusName[MAX_PATH];
};
static_assert(sizeof(void*) != 4 || sizeof(DEVMGR_DEVICE_INFORMATION) == 1584, "the device manager's record");

// On the desktop: the devices recorded as active under HKEY_LOCAL_MACHINE\Drivers\Active, in the order of
// their keys, whose driver key lists the wanted class in its value "IClass"; then, among cameras, the
// desktop's webcams: szLegacyName "WEB1:" and so on, szDeviceKey what identifies the webcam for ever,
// szDeviceName its name for people. Null handle and ERROR_NO_MORE_FILES when there is none. The search handle
// is closed with CloseDeviceSearch (FindClose on a device).
HANDLE FindFirstDevice(DeviceSearchType searchType, const void* searchParameter,
                       DEVMGR_DEVICE_INFORMATION* information);
BOOL FindNextDevice(HANDLE search, DEVMGR_DEVICE_INFORMATION* information);
BOOL CloseDeviceSearch(HANDLE search);

// ---- Cameras --------------------------------------------------------------------------------------------

// Writes the legacy name of the device that is to be opened, as FindCameraDevice does.
using DeviceFinder = HRESULT (*)(wchar_t* name);

// The capture filter for that device: on a device an object of the class `registered`, and `find` is not
// asked; on the desktop the built-in driver for a webcam, else an object of that class.
HRESULT CreateCaptureFilter(REFCLSID registered, DeviceFinder find, IBaseFilter** out);

// Whether a device of that legacy name, found in this process, is served by the built-in driver.
bool IsWebcam(const wchar_t* legacyName);

// The camera that the environment asks for (OCELLUS_CAMERA); empty: none, and always so on a device.
std::wstring ChosenByEnvironment();

struct StreamFormat {
    DWORD fourcc;  // RGB3, RGB4: B, G, R in 3 or 4 bytes
    DWORD width, height;
    LONGLONG frameTime;  // in 100 ns; 0: the device does not say
};

// What a webcam can send; opens it. E_NOTIMPL for other devices, and on a device always.
HRESULT ListDeviceFormats(const wchar_t* legacyName, std::vector<StreamFormat>& formats);

struct StreamState {
    StreamFormat format;    // as agreed upon
    HRESULT startResult;    // why the webcam could not be started; S_OK: it could
    DWORD frames;           // since the webcam was started
    DWORD brokenFrames;     // of them, those that were of no use
    LONGLONG milliseconds;  // from the first to the last
    bool lost;              // it has stopped sending
};

// Of the webcam that was started last, if no capture filter has been created since. False: there has been
// none; so on a device.
bool GetStreamState(StreamState* state);

// So many frames of a webcam are let pass after every start. FALSE: it cannot be done; so on a device.
BOOL SetWarmUpFrames(DWORD frames);

// Posts `message` to `window` when webcams come (wParam 1), go (2), stop sending while they are used (3) or
// come back (4); a null window ends it. FALSE: it cannot be done; so on a device.
BOOL WatchDevices(HWND window, UINT message);

// ---- Point-to-point message queues and power notifications ----------------------------------------------

struct MSGQUEUEOPTIONS {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwMaxMessages;
    DWORD cbMaxMessage;
    BOOL bReadAccess;
};
static_assert(sizeof(MSGQUEUEOPTIONS) == 20, "the message queue's options");

// On the desktop only what power notifications need: an unnamed queue whose handle can be waited on while
// it holds a message.
HANDLE CreateMsgQueue(const wchar_t* name, MSGQUEUEOPTIONS* options);
BOOL ReadMsgQueue(HANDLE queue, void* buffer, DWORD bufferSize, DWORD* bytesRead, DWORD timeoutMs,
                  DWORD* flags);
BOOL CloseMsgQueue(HANDLE queue);

constexpr DWORD kPowerResume = 0x00000002;  // PBT_RESUME: first word of a message, and the flag to ask for it

// Resume is the only power notification there is on the desktop. It comes from the system's own broadcast
// to a hidden window of class "OcellusPowerNotifications" (WM_POWERBROADCAST with PBT_APMRESUMEAUTOMATIC),
// to which a tool may post the same.
HANDLE RequestPowerNotifications(HANDLE queue, DWORD flags);
DWORD StopPowerNotifications(HANDLE notification);

// ---- Events ---------------------------------------------------------------------------------------------

constexpr DWORD kEventPulse = 1;
constexpr DWORD kEventReset = 2;
constexpr DWORD kEventSet = 3;
BOOL EventModify(HANDLE event, DWORD function);

// ---- Threads ---------------------------------------------------------------------------------------------

// CreateThread, for a thread that keeps this library loaded until it has ended: an application may let go of
// the library while the thread is held up in a driver. `threadId` may be null. Null, with the last error,
// when there is no thread.
HANDLE CreateLibraryThread(LPTHREAD_START_ROUTINE start, void* parameter, DWORD* threadId);

// On a device: which module this is. The desktop knows it.
void SetLibraryModule(HINSTANCE module);

// ---- Messages --------------------------------------------------------------------------------------------

// Whether this thread is handling a message that another thread has sent and is waiting to be answered.
bool IsSenderWaiting();

// Handles the messages that other threads have sent to windows of this thread. On the desktop what is posted
// counts as new all the same, for an application that waits for new messages next.
void LetSentMessagesIn();

// ---- COM ------------------------------------------------------------------------------------------------

// Creates one of the library's own filters: by its class, as the system has it registered. On the desktop a
// class that is registered for another file, or not at all, is taken from this library without the registry,
// so that the library works wherever it lies.
HRESULT CreateOwnFilter(REFCLSID id, DWORD context, REFIID interfaceId, void** out);

// While one lives the process has a multithreaded apartment, in which threads are that have not initialised
// COM: a camera's worker, in a program whose own threads are all single-threaded for COM. On a device every
// thread is multithreaded, and this does nothing.
class ApartmentUse {
  public:
    ApartmentUse();
    ~ApartmentUse();
    ApartmentUse(const ApartmentUse&) = delete;
    ApartmentUse& operator=(const ApartmentUse&) = delete;

  private:
    void* cookie = nullptr;
};

// ---- What the two systems do differently ----------------------------------------------------------------

// MessageBoxW with an OK button and the given icon flags. With OCELLUS_HEADLESS=1 in the environment
// nothing is shown: "<caption>\t<text>" is appended as a line of UTF-8 to the file named by
// OCELLUS_MESSAGE_BOX_LOG, if that is set, and the answer is IDOK.
int ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, UINT icon);

// The colour to hand to SetTextColor for a colour value whose top byte is 0xFF: as it is on a device;
// without that byte on the desktop, where it would select a palette entry and draw black.
COLORREF DeviceTextColor(COLORREF color);

// Loads the imager library: by name on a device; from this library's own folder on the desktop, never from
// the current one.
HMODULE LoadImagerLibrary();

}  // namespace cam::platform
