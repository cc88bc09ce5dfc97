#include "dshow_camera/camera_worker.h"

#include "dshow_camera/handle_wait.h"

namespace cam {
namespace {

// The power queue.
constexpr DWORD kMaxMessages = 3;
constexpr DWORD kMaxMessageSize = 144;  // bytes
constexpr DWORD kPowerMessage = 128;    // bytes that are read of a message

constexpr DWORD kNoGraphSleepMs = 100;
constexpr DWORD kIdleMs = 4000;  // after which the owner window is asked to paint itself

}  // namespace

// ---- On the caller --------------------------------------------------------------------------

HRESULT CameraWorker::Start() {
    if (!commandEvent_) {
        commandEvent_.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!commandEvent_) return HresultFromLastError();
    }
    if (!doneEvent_) {
        doneEvent_.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!doneEvent_) return HresultFromLastError();
    }
    CAM_RETURN_IF_FAILED(graphMutex_.Create());
    if (!threadHandle_) {
        threadHandle_.reset(CreateThread(nullptr, 0, Thread, this, 0, &threadId_));
        if (!threadHandle_) return HresultFromLastError();
    }
    if (!powerQueue_) {
        platform::MSGQUEUEOPTIONS options = {sizeof options, 0, kMaxMessages, kMaxMessageSize, TRUE};
        powerQueue_.reset(platform::CreateMsgQueue(nullptr, &options));
        if (!powerQueue_) return HresultFromLastError();
    }
    if (!powerNotification_) {
        powerNotification_.reset(
            platform::RequestPowerNotifications(powerQueue_.get(), platform::kPowerResume));
        if (!powerNotification_) {
            const HRESULT result = HresultFromLastError();
            CloseHandle(powerQueue_.release());
            return result;
        }
    }
    return S_OK;
}

HRESULT CameraWorker::TriggerStill(const wchar_t* fileName, BYTE mode) {
    stillMode_ = mode;
    stillFileName_ = fileName;
    return Send(Command::TriggerStill);
}

HRESULT CameraWorker::Send(Command command) {
    CheckThread(kCallerThread);
    // A camera whose Init failed early has nobody to do it.
    if (!threadHandle_) return E_FAIL;
    command_ = command;
    platform::EventModify(commandEvent_.get(), platform::kEventSet);
    WaitLettingSentMessagesIn(doneEvent_.get());
    return commandResult_;
}

void CameraWorker::EndThread() {
    CheckThread(kCallerThread);
    if (!threadHandle_) return;
    command_ = Command::LeaveThread;
    platform::EventModify(commandEvent_.get(), platform::kEventSet);
    WaitLettingSentMessagesIn(threadHandle_.get());
}

void CameraWorker::End() {
    EndThread();
    commandEvent_.reset();
    graphEventHandle_.reset();
    threadHandle_.reset();
    doneEvent_.reset();
    powerNotification_.reset();
    powerQueue_.reset();
    graphMutex_.IsHeld();  // there is nobody left to share the graph with
    graph_.ReleaseIfItRan();
}

// ---- On the worker --------------------------------------------------------------------------

DWORD WINAPI CameraWorker::Thread(void* worker) {
    if (!worker) return 0;
    const ThreadRoleScope role(kWorkerThread);
    static_cast<CameraWorker*>(worker)->Work();
    return 0;
}

// A resume that arrives while a caller holds the graph is handled when the caller lets go: the mutex takes
// the queue's place in the wait until then, and the messages stay in the queue.
void CameraWorker::Work() {
    Command received = Command::None;
    HANDLE queue = nullptr;
    bool resumeDeferred = false;
    HandleWait wait;
    wait.Set(kCommandIndex, commandEvent_.get());
    while (received != Command::LeaveThread) {
        if (!graphEventHandle_) Sleep(kNoGraphSleepMs);
        wait.Set(kGraphEventIndex, graphEventHandle_.get());
        wait.Set(kPowerIndex, resumeDeferred ? graphMutex_.Handle() : queue);
        switch (wait.Wait(kIdleMs)) {
            case kCommandIndex:
                received = command_;
                queue = powerQueue_.get();  // made after this thread; the command publishes it
                Dispatch(received);
                break;
            case kGraphEventIndex:
                HandleGraphEvent();
                break;
            case kPowerIndex:
                if (resumeDeferred || graphMutex_.TryEnter()) {
                    resumeDeferred = false;
                    graphMutex_.IsHeld();  // by the wait or by TryEnter
                    HandlePowerMessage();
                    graphMutex_.Leave();
                } else {
                    resumeDeferred = true;
                }
                break;
            default:
                if (const HWND window = application_.ownerWindow) UpdateWindow(window);
                break;
        }
    }
}

// Without the mutex: the caller that sent the command waits, and a window procedure of its that calls in
// meanwhile must not wait for the command.
void CameraWorker::Dispatch(Command received) {
    graphMutex_.IsHeld();  // in effect
    commandResult_ = S_OK;
    switch (received) {
        case Command::BuildGraph:
            commandResult_ = graph_.Build(graphEventHandle_);
            break;
        case Command::LeaveThread:
            commandResult_ = S_FALSE;
            return;  // whoever sent it waits for the thread
        case Command::TriggerStill:
            commandResult_ = graph_.TriggerStill(stillFileName_, stillMode_);
            break;
        case Command::StartPreview:
            commandResult_ = graph_.Run();
            break;
        case Command::StopPreview:
            commandResult_ = graph_.Halt();
            break;
        default:
            return;
    }
    platform::EventModify(doneEvent_.get(), platform::kEventSet);
}

// Without the mutex: an event is taken while a caller holds the graph as well, and changes nothing of how it
// runs.
void CameraWorker::HandleGraphEvent() {
    graphMutex_.IsHeld();  // not needed
    graph_.HandleEvent();
}

void CameraWorker::HandlePowerMessage() {
    DWORD message[kPowerMessage / sizeof(DWORD)] = {};
    DWORD read = 0;
    DWORD flags = 0;
    if (!platform::ReadMsgQueue(powerQueue_.get(), message, sizeof message, &read, 0, &flags)) return;
    if (!(message[0] & platform::kPowerResume) || !graph_.IsPreviewing()) return;
    if (SUCCEEDED(graph_.Halt())) graph_.Run();
}

}  // namespace cam
