// Message queues and power notifications.
#include <algorithm>

#include "emulator/kernel_objects.h"
#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

}  // namespace

void BindQueues(Process& p) {
    p.Bind(kLibrary, "CreateMsgQueue", [&p](u32, u32 options) -> u32 {
        const auto words = [&](u32 index) { return p.machine.Read<u32>(options + 4 * index); };
        if (words(0) != 20) {
            p.SetLastError(kErrorInvalidParameter);
            return 0;
        }
        auto queue = std::make_shared<MessageQueue>();
        queue->maximum = words(2);
        queue->messageSize = words(3);
        queue->readable = words(4) != 0;
        return p.AddHandle(queue);
    });
    p.Bind(kLibrary, "ReadMsgQueue",
           [&p](u32 handle, u32 buffer, u32 size, u32 readAt, u32 milliseconds, u32 flagsAt) -> u32 {
               const auto queue = p.FromHandle<MessageQueue>(handle);
               if (!queue || !queue->readable) {
                   p.SetLastError(kErrorInvalidHandle);
                   return 0;
               }
               if (queue->messages.empty() && p.scheduler.Wait({queue}, false, milliseconds) != 0) {
                   p.SetLastError(kErrorTimeout);
                   return 0;
               }
               const std::vector<u8> message = queue->messages.front();
               queue->messages.pop_front();
               const u32 count = std::min(size, static_cast<u32>(message.size()));
               std::copy_n(message.begin(), count, p.machine.Bytes(buffer, count));
               p.machine.Write(readAt, count);
               p.machine.Write(flagsAt, 0u);
               if (count == message.size()) return 1;
               p.SetLastError(kErrorInsufficientBuffer);
               return 0;
           });
    p.Bind(kLibrary, "CloseMsgQueue",
           [&p](u32 handle) -> u32 { return p.CloseHandle(handle, "CloseMsgQueue"); });
    p.Bind(kLibrary, "RequestPowerNotifications", [&p](u32 handle, u32 flags) -> u32 {
        const auto queue = p.FromHandle<MessageQueue>(handle);
        if (!queue) return 0;
        auto request = std::make_shared<PowerRequest>();
        request->queue = queue;
        request->flags = flags;
        p.Attachment<PowerRequests>("power").push_back(request);
        return p.AddHandle(request);
    });
    p.Bind(kLibrary, "StopPowerNotifications",
           [&p](u32 handle) -> u32 { return p.CloseHandle(handle, "StopPowerNotifications"); });
}

bool PostPowerMessage(Process& process, u32 kind) {
    bool listens = false;
    for (const auto& weak : process.Attachment<PowerRequests>("power")) {
        const auto request = weak.lock();
        const auto queue = request ? request->queue.lock() : nullptr;
        if (!queue || !(request->flags & kind)) continue;
        listens = true;
        if (queue->messages.size() >= queue->maximum) continue;
        std::vector<u8> message(12);
        std::copy_n(reinterpret_cast<const u8*>(&kind), 4, message.begin());
        queue->messages.push_back(std::move(message));
    }
    return listens;
}

}  // namespace ce
