// The camera's worker: its loop, the commands it is given, and the two things that it watches.
#include "dshow_camera/dshow_camera.h"

namespace cam {
namespace {

constexpr DWORD kNoGraphSleepMs = 100;
constexpr DWORD kIdleMs = 4000;       // after which the owner window is asked to paint itself
constexpr DWORD kPowerMessage = 128;  // bytes that are read of a power message

// Up to three handles to wait for, any of which may be missing. The indices are those of the full list.
class HandleWait {
  public:
    void Set(DWORD index, HANDLE handle) { handles_[index] = handle; }

    // The index of a handle that is signalled (the lowest, if several are), or WAIT_TIMEOUT after
    // `timeoutMs`; any other value means that the wait failed. Messages to windows of this thread are
    // dispatched meanwhile, one between two looks at the handles, so that no flood of them keeps a command
    // waiting.
    DWORD Wait(DWORD timeoutMs) const {
        HANDLE present[kMost];
        DWORD indices[kMost];
        DWORD count = 0;
        for (DWORD index = 0; index < kMost; ++index) {
            if (!handles_[index]) continue;
            present[count] = handles_[index];
            indices[count++] = index;
        }
        const DWORD started = GetTickCount();
        for (;;) {
            const DWORD passed = GetTickCount() - started;
            const DWORD left = passed < timeoutMs ? timeoutMs - passed : 0;
            const DWORD woken =
                MsgWaitForMultipleObjectsEx(count, present, left, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            if (woken < WAIT_OBJECT_0 + count) return indices[woken - WAIT_OBJECT_0];
            // A mutex whose owner ended without releasing it is this thread's now.
            if (woken >= WAIT_ABANDONED_0 && woken < WAIT_ABANDONED_0 + count) {
                return indices[woken - WAIT_ABANDONED_0];
            }
            if (woken != WAIT_OBJECT_0 + count) return woken;
            if (left == 0) return WAIT_TIMEOUT;
            DispatchOne();
        }
    }

  private:
    static constexpr DWORD kMost = 3;

    static void DispatchOne() {
        MSG message;
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }

    HANDLE handles_[kMost] = {};
};

}  // namespace

DWORD WINAPI DShowCamera::WorkerThread(void* camera) {
    if (!camera) return 0;
    return static_cast<DWORD>(static_cast<DShowCamera*>(camera)->Work());
}

// A resume that arrives while a caller holds the graph is handled when the caller lets go: the mutex takes
// the queue's place in the wait until then, and the messages stay in the queue.
HRESULT DShowCamera::Work() {
    Command received = Command::kNone;
    HRESULT result = S_OK;
    HANDLE queue = nullptr;
    bool resumeDeferred = false;
    HandleWait wait;
    wait.Set(kCommandIndex, commandEvent.get());
    while (received != Command::kLeaveThread && SUCCEEDED(result)) {
        if (!graphEventHandle) Sleep(kNoGraphSleepMs);
        wait.Set(kGraphEventIndex, graphEventHandle.get());
        wait.Set(kPowerIndex, resumeDeferred ? graphMutex.get() : queue);
        switch (wait.Wait(kIdleMs)) {
            case kCommandIndex:
                received = command;
                queue = powerQueue.get();  // made after this thread; the command publishes it
                Dispatch(received);
                break;
            case kGraphEventIndex:
                result = HandleGraphEvent();
                break;
            case kPowerIndex:
                if (resumeDeferred || WaitForSingleObject(graphMutex.get(), 0) != WAIT_TIMEOUT) {
                    resumeDeferred = false;
                    result = HandlePowerMessage();
                    ReleaseMutex(graphMutex.get());
                } else {
                    resumeDeferred = true;
                }
                break;
            default:
                if (const HWND window = ownerWindow) UpdateWindow(window);
                result = S_OK;
                break;
        }
    }
    return result;
}

void DShowCamera::Dispatch(Command received) {
    commandResult = S_OK;
    switch (received) {
        case Command::kBuildGraph:
            commandResult = BuildGraph();
            break;
        case Command::kLeaveThread:
            commandResult = S_FALSE;
            return;  // whoever sent it waits for the thread
        case Command::kTriggerStill:
            commandResult = TriggerStill();
            break;
        case Command::kStartPreview:
            commandResult = RunPreview();
            break;
        case Command::kStopPreview:
            commandResult = HaltPreview();
            break;
        default:
            return;
    }
    platform::EventModify(doneEvent.get(), platform::kEventSet);
}

// One event a time: the handle stays signalled while there are more, and is reset by the call that finds
// none.
HRESULT DShowCamera::HandleGraphEvent() {
    if (!graph.builder) return S_OK;
    ComPtr<IMediaEvent> events;
    if (FAILED(graph.filterGraph.QueryTo(events))) return S_OK;
    long code = 0;
    LONG_PTR first = 0;
    LONG_PTR second = 0;
    if (FAILED(events->GetEvent(&code, &first, &second, 0))) return S_OK;
    if (code == kEventStillCaptured) {
        state = CAM_STATE_PREVIEWING;  // even if preview did not run when the still was triggered
        Notify(Notification::kStillCaptured, L"File captured ...");
    }
    events->FreeEventParams(code, first, second);
    return S_OK;
}

HRESULT DShowCamera::HandlePowerMessage() {
    DWORD message[kPowerMessage / sizeof(DWORD)] = {};
    DWORD read = 0;
    DWORD flags = 0;
    if (!platform::ReadMsgQueue(powerQueue.get(), message, sizeof message, &read, 0, &flags)) return S_OK;
    if ((message[0] & platform::kPowerResume) && state == CAM_STATE_PREVIEWING) {
        if (SUCCEEDED(HaltPreview())) RunPreview();
    }
    return S_OK;
}

HRESULT DShowCamera::Notify(Notification what, const wchar_t* text) {
    if (!text || !*text) return E_POINTER;
    const HWND window = eventsWindow;
    if (what == Notification::kStillCaptured && window)
        PostMessageW(window, CAM_MESSAGE_STILL_CAPTURED, 0, 0);
    return S_OK;
}

}  // namespace cam
