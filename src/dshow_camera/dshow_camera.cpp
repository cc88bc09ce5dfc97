#include "dshow_camera/dshow_camera.h"

#include "base/hresult.h"
#include "base/message_wait.h"
#include "dshow_camera/graph_access.h"
#include "dshow_camera/settings_applier.h"

namespace cam {
namespace {

// The power queue.
constexpr DWORD kMostMessages = 3;
constexpr DWORD kLongestMessage = 144;  // bytes

}  // namespace

// The members go afterwards, and with them what Shutdown left: the graph of a camera that never previewed.
DShowCamera::~DShowCamera() {
    Shutdown();
}

HRESULT DShowCamera::SetOwnerWindow(HWND window) {
    ownerWindow = window;
    return S_OK;
}

HRESULT DShowCamera::SetEventsWindow(HWND window) {
    eventsWindow = window;
    return S_OK;
}

HRESULT DShowCamera::RegisterMediaTypeCallback(camMediaTypeCallback callback) {
    mediaTypeCallback = callback;
    return S_OK;
}

// What was created before a failure stays, for Shutdown or the destructor; what exists already is used again.
HRESULT DShowCamera::Init(HWND window, const wchar_t* settingsPath, const wchar_t* settingsSection) {
    SetOwnerWindow(window);
    HRESULT result = CreateHandles();
    if (FAILED(result)) return result;
    result = Open();
    if (FAILED(result)) return result;
    // No failure here is negative: the camera is up with or without its settings.
    if (settingsPath && settingsSection) result = ApplySettings(settingsPath, settingsSection);
    state = CAM_STATE_INITIALISED;
    return result;
}

HRESULT DShowCamera::CreateHandles() {
    if (!commandEvent) {
        commandEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!commandEvent) return HresultFromLastError();
        graphEventHandle.reset();
    }
    if (!doneEvent) {
        doneEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!doneEvent) return HresultFromLastError();
    }
    if (!graphMutex) {
        graphMutex.reset(CreateMutexW(nullptr, FALSE, nullptr));
        if (!graphMutex) return HresultFromLastError();
    }
    if (!threadHandle) {
        threadHandle.reset(CreateThread(nullptr, 0, WorkerThread, this, 0, &threadId));
        if (!threadHandle) return HresultFromLastError();
    }
    if (!powerQueue) {
        platform::MSGQUEUEOPTIONS options = {sizeof options, 0, kMostMessages, kLongestMessage, TRUE};
        powerQueue.reset(platform::CreateMsgQueue(nullptr, &options));
        if (!powerQueue) return HresultFromLastError();
    }
    if (!powerNotification) {
        powerNotification.reset(
            platform::RequestPowerNotifications(powerQueue.get(), platform::kPowerResume));
        if (!powerNotification) {
            const HRESULT result = HresultFromLastError();
            CloseHandle(powerQueue.release());
            return result;
        }
    }
    return S_OK;
}

HRESULT DShowCamera::Open() {
    return SendCommand(Command::kBuildGraph);
}

HRESULT DShowCamera::SendCommand(Command toSend) {
    // A camera whose Init failed early has nobody to do it.
    if (!threadHandle) return E_FAIL;
    command = toSend;
    platform::EventModify(commandEvent.get(), platform::kEventSet);
    WaitLettingSentMessagesIn(doneEvent.get());
    return commandResult;
}

void DShowCamera::EndWorker() {
    if (!threadHandle) return;
    command = Command::kLeaveThread;
    platform::EventModify(commandEvent.get(), platform::kEventSet);
    WaitLettingSentMessagesIn(threadHandle.get());
}

HRESULT DShowCamera::Shutdown() {
    StopPreview();
    EndWorker();
    commandEvent.reset();
    graphEventHandle.reset();
    threadHandle.reset();
    doneEvent.reset();
    powerNotification.reset();
    powerQueue.reset();
    // The graph of a camera that never previewed waits for the destructor.
    if (state >= CAM_STATE_STOPPED) graph.Release();
    ownerWindow = nullptr;
    state = CAM_STATE_NONE;
    return S_OK;
}

HRESULT DShowCamera::GetState(int* out) {
    if (!out) return E_POINTER;
    const GraphAccess access(graphMutex.get());
    if (!graph.mediaControl) return E_FAIL;
    OAFilterState running = State_Stopped;
    graph.mediaControl->GetState(kStateTimeoutMs, &running);
    *out = running == State_Paused ? int{CAM_STATE_PAUSED} : state.load();
    return S_OK;
}

}  // namespace cam
