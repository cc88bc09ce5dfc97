#include "dshow_camera/camera_worker.h"

#include "base/insist.h"
#include "dshow_camera/handle_wait.h"

namespace cam {
namespace {

// The power queue.
constexpr DWORD kMaxMessages = 3;
constexpr DWORD kMaxMessageSize = 144;  // bytes
constexpr DWORD kPowerMessage = 128;    // bytes that are read of a message

constexpr DWORD kNoGraphSleepMs = 100;
constexpr DWORD kRefusedMs = 10;  // between two waits that the system refuses
constexpr DWORD kIdleMs = 4000;   // after which the owner window is asked to paint itself

// How long a caller in the middle of a message waits for the worker to listen. It does after each message
// that it dispatches, unless the caller's is the one that it waits for.
constexpr DWORD kListenMs = 200;

}  // namespace

// ---- On the caller --------------------------------------------------------------------------

HRESULT CameraWorker::Start() {
    if (!commandEvent) {
        commandEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!commandEvent) return HresultFromLastError();
    }
    if (!doneEvent) {
        doneEvent.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        if (!doneEvent) return HresultFromLastError();
    }
    CAM_RETURN_IF_FAILED(graphMutex.Create());
    if (!threadHandle) {
        threadHandle.reset(platform::CreateLibraryThread(Thread, this, &threadId));
        if (!threadHandle) return HresultFromLastError();
    }
    if (!powerQueue) {
        platform::MSGQUEUEOPTIONS options = {sizeof options, 0, kMaxMessages, kMaxMessageSize, TRUE};
        powerQueue.reset(platform::CreateMsgQueue(nullptr, &options));
        if (!powerQueue) return HresultFromLastError();
    }
    if (!powerNotification) {
        powerNotification.reset(
            platform::RequestPowerNotifications(powerQueue.get(), platform::kPowerResume));
        if (!powerNotification) {
            const HRESULT result = HresultFromLastError();
            powerQueue.reset();
            return result;
        }
    }
    return S_OK;
}

HRESULT CameraWorker::TriggerStill(const wchar_t* fileName, BYTE mode) {
    stillMode = mode;
    stillFileName = fileName;
    return Send(Command::TriggerStill);
}

HRESULT CameraWorker::Send(Command toSend, Patience patience) {
    // A camera whose Init failed early has nobody to do it.
    if (!threadHandle) return E_FAIL;
    command = toSend;
    Signal(commandEvent.get());
    if (patience == Patience::Usual && platform::IsSenderWaiting()) {
        if (WaitLettingSentMessagesIn(doneEvent.get(), kListenMs) != WAIT_TIMEOUT) return commandResult;
        // Taken back, unless the worker has it: then it waits for nobody but its own routine.
        if (command.compare_exchange_strong(toSend, Command::None)) return kNotNow;
    }
    WaitLettingSentMessagesIn(doneEvent.get());
    return commandResult;
}

bool CameraWorker::Listens() {
    return !threadHandle || !platform::IsSenderWaiting() || SUCCEEDED(Send(Command::Answer));
}

bool CameraWorker::CanEnd() {
    const GraphAccess access = Graph();
    return access && Listens();
}

void CameraWorker::EndThread() {
    CheckThread(kCallerThread);
    if (!threadHandle) return;
    command = Command::LeaveThread;
    Signal(commandEvent.get());
    WaitLettingSentMessagesIn(threadHandle.get());
}

void CameraWorker::End() {
    EndThread();
    commandEvent.reset();
    graphEventHandle.reset();
    threadHandle.reset();
    doneEvent.reset();
    powerNotification.reset();
    powerQueue.reset();
    graphMutex.IsHeld();
    graph.ReleaseIfItRan();
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
    wait.Set(kCommandIndex, commandEvent.get());
    graphMutex.SetWorker();
    while (received != Command::LeaveThread) {
        if (!graphEventHandle) Sleep(kNoGraphSleepMs);
        wait.Set(kGraphEventIndex, graphEventHandle.get());
        wait.Set(kPowerIndex, resumeDeferred ? graphMutex.Handle() : queue);
        switch (wait.Wait(kIdleMs)) {
            case kCommandIndex:
                received = command.exchange(Command::None);
                queue = powerQueue.get();  // made after this thread; the command publishes it
                Dispatch(received);
                break;
            case kGraphEventIndex:
                HandleGraphEvent();
                break;
            case kPowerIndex:
                if (resumeDeferred) graphMutex.TakenByWait();
                if (resumeDeferred || graphMutex.TryEnter()) {
                    resumeDeferred = false;
                    graphMutex.IsHeld();  // by the wait or by TryEnter
                    HandlePowerMessage();
                    graphMutex.Leave();
                } else {
                    resumeDeferred = true;
                }
                break;
            case WAIT_FAILED:
                Sleep(kRefusedMs);
                break;
            default:
                if (const HWND window = application.ownerWindow) UpdateWindow(window);
                break;
        }
    }
}

// The caller that waits for the command holds the mutex.
void CameraWorker::Dispatch(Command received) {
    if (received == Command::None) return;  // taken back
    graphMutex.IsHeld();
    commandResult = S_OK;
    switch (received) {
        case Command::Answer:
            break;
        case Command::BuildGraph:
            commandResult = graph.Build(graphEventHandle);
            break;
        case Command::LeaveThread:
            commandResult = S_FALSE;
            return;  // whoever sent it waits for the thread
        case Command::TriggerStill:
            commandResult = graph.TriggerStill(stillFileName, stillMode);
            break;
        case Command::StartPreview:
            commandResult = graph.Run();
            break;
        case Command::StopPreview:
            commandResult = graph.Halt();
            break;
        default:
            return;
    }
    Signal(doneEvent.get());
}

// Without the mutex: an event is taken while a caller holds the graph as well, and changes nothing of how it
// runs.
void CameraWorker::HandleGraphEvent() {
    graphMutex.IsHeld();  // not needed
    graph.HandleEvent();
}

void CameraWorker::HandlePowerMessage() {
    DWORD message[kPowerMessage / sizeof(DWORD)] = {};
    DWORD read = 0;
    DWORD flags = 0;
    if (!platform::ReadMsgQueue(powerQueue.get(), message, sizeof message, &read, 0, &flags)) return;
    if (!(message[0] & platform::kPowerResume) || !graph.IsPreviewing()) return;
    if (SUCCEEDED(graph.Halt())) graph.Run();
}

}  // namespace cam
