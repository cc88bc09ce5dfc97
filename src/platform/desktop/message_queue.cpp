// A queue is a manual-reset event, which is its handle and is signalled while there are messages, and an
// entry in the list of queues. Only the owner closes a queue, and not while another thread reads it.
#include "platform/desktop/message_queue.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <new>
#include <vector>

#include "base/insist.h"
#include "base/lock.h"
#include "base/unique_resource.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

struct MessageQueue {
    HANDLE handle;
    DWORD maximumMessages;
    DWORD maximumSize;  // bytes of a message
    std::deque<std::vector<BYTE>> messages;
};

using Queues = std::vector<std::unique_ptr<MessageQueue>>;

Guarded<Queues> allQueues;

auto Find(Queues& queues, HANDLE handle) {
    return std::find_if(queues.begin(), queues.end(),
                        [=](const auto& queue) { return queue->handle == handle; });
}

}  // namespace

HANDLE CreateMsgQueue(const wchar_t* name, MSGQUEUEOPTIONS* options) try {
    if (name || !options || options->dwSize != sizeof *options || !options->bReadAccess ||
        !options->dwMaxMessages) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event) return nullptr;
    const auto queues = allQueues.Locked();
    // An entry with this number belonged to a queue whose handle was closed with CloseHandle.
    if (const auto stale = Find(*queues, event.get()); stale != queues->end()) queues->erase(stale);
    queues->push_back(std::make_unique<MessageQueue>(
        MessageQueue{event.get(), options->dwMaxMessages, options->cbMaxMessage, {}}));
    return event.release();
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
}

BOOL WriteMsgQueue(HANDLE handle, const void* message, DWORD size) try {
    const auto queues = allQueues.Locked();
    const auto found = Find(*queues, handle);
    if (found == queues->end()) return FALSE;
    MessageQueue& queue = **found;
    if (queue.messages.size() >= queue.maximumMessages || size > queue.maximumSize) return FALSE;
    const auto* bytes = static_cast<const BYTE*>(message);
    queue.messages.emplace_back(bytes, bytes + size);
    return Signal(handle);
} catch (const std::bad_alloc&) {
    return FALSE;
}

BOOL ReadMsgQueue(HANDLE handle, void* buffer, DWORD bufferSize, DWORD* bytesRead, DWORD timeoutMs,
                  DWORD* flags) {
    const DWORD waited = WaitForSingleObject(handle, timeoutMs);
    if (waited == WAIT_FAILED) return FALSE;
    const auto queues = allQueues.Locked();
    const auto found = Find(*queues, handle);
    if (found == queues->end()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    MessageQueue& queue = **found;
    if (queue.messages.empty()) {
        SetLastError(ERROR_TIMEOUT);
        return FALSE;
    }
    const std::vector<BYTE> message = std::move(queue.messages.front());
    queue.messages.pop_front();
    if (queue.messages.empty()) ResetEvent(handle);

    // A message that is longer than the buffer is cut, and gone.
    *bytesRead = std::min(bufferSize, static_cast<DWORD>(message.size()));
    memcpy(buffer, message.data(), *bytesRead);
    *flags = 0;
    if (*bytesRead == message.size()) return TRUE;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
}

BOOL CloseMsgQueue(HANDLE handle) {
    const auto queues = allQueues.Locked();
    const auto found = Find(*queues, handle);
    if (found == queues->end()) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    queues->erase(found);
    return CloseHandle(handle);
}

}  // namespace cam::platform
