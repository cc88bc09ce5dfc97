// Threads, waiting, events, message queues, thread-local storage, modules.
#include <algorithm>
#include <deque>

#include "emulator/kernel_objects.h"
#include "emulator/process.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kPulse = 1, kReset = 2, kSet = 3;
constexpr u32 kCurrentThreadHandle = 65, kCurrentProcessHandle = 66;
constexpr u32 kTlsAllocate = 0, kTlsFree = 1;

struct TlsSlots {
    bool used[kTlsSlots] = {true, true, true, true};  // the system keeps the first four for itself
};

// ---- Events ----------------------------------------------------------------------------------------------------------

u32 CreateEventStandIn(Process& process, u32 manual, u32 initial, u32 name) {
    process.SetLastError(0);
    std::u16string text = name ? process.machine.Text(name) : std::u16string();
    if (!text.empty()) {
        if (auto existing = process.namedObjects.find(text); existing != process.namedObjects.end()) {
            if (auto shared = existing->second) {
                process.SetLastError(kErrorAlreadyExists);
                return process.AddHandle(shared);
            }
        }
    }
    auto event = std::make_shared<Event>();
    event->manual = manual != 0;
    event->signaled = initial != 0;
    event->name = text;
    if (!text.empty()) process.namedObjects[text] = event;
    return process.AddHandle(event);
}

u32 ModifyEvent(Process& process, u32 handle, u32 function) {
    const auto event = process.FromHandle<Event>(handle);
    if (!event) {
        process.SetLastError(kErrorInvalidHandle);
        return 0;
    }
    event->signaled = function == kSet;
    if (function == kPulse)
        throw Failure("a pulse loses its waiters on a device; nothing here should need it");
    return 1;
}

void BindEvents(Process& p) {
    p.Bind(kLibrary, "CreateEventW", [&p](u32, u32 manual, u32 initial, u32 name) {
        return CreateEventStandIn(p, manual, initial, name);
    });
    p.Bind(kLibrary, "CreateMutexW", [&p](u32, u32 owned, u32) {
        auto mutex = std::make_shared<CriticalSection>();
        if (owned) mutex->Consume(p.scheduler.Current());
        return p.AddHandle(mutex);
    });
    p.Bind(kLibrary, "ReleaseMutex", [&p](u32 handle) -> u32 {
        const auto mutex = p.FromHandle<CriticalSection>(handle);
        if (!mutex || mutex->owner != &p.scheduler.Current()) return p.SetLastError(kErrorInvalidHandle), 0;
        if (--mutex->depth == 0) mutex->owner = nullptr;
        return 1;
    });
    p.Bind(kLibrary, "EventModify",
           [&p](u32 handle, u32 function) { return ModifyEvent(p, handle, function); });
    p.Bind(kLibrary, "CloseHandle", [&p](u32 handle) -> u32 { return p.CloseHandle(handle); });
    p.Bind(kLibrary, "DuplicateHandle", [&p](u32, u32 source, u32, u32 target, u32, u32, u32) -> u32 {
        const auto object = p.FromHandle(source);
        if (!object) {
            p.SetLastError(kErrorInvalidHandle);
            return 0;
        }
        p.machine.Write(target, p.AddHandle(object));
        return 1;
    });
}

// ---- Threads and waiting ----------------------------------------------------------------------------------------------

u32 WaitFor(Process& process, const std::vector<u32>& handles, bool all, u32 milliseconds) {
    std::vector<ObjectPtr> objects;
    for (const u32 handle : handles) {
        objects.push_back(process.FromHandle(handle));
        if (!objects.back()) {
            process.SetLastError(kErrorInvalidHandle);
            return kWaitFailed;
        }
    }
    return process.scheduler.Wait(std::move(objects), all, milliseconds);
}

std::vector<u32> ReadHandles(Process& process, u32 count, u32 array) {
    std::vector<u32> handles;
    for (u32 i = 0; i < count; ++i) handles.push_back(process.machine.Read<u32>(array + 4 * i));
    return handles;
}

void BindThreads(Process& p) {
    p.Bind(kLibrary, "CreateThread", [&p](u32, u32, u32 start, u32 argument, u32, u32 idAt) {
        auto thread = p.scheduler.Start(p.machine.Describe(start), [&p, start, argument] {
            return static_cast<u32>(p.machine.Call(start, {argument}));
        });
        if (idAt) p.machine.Write(idAt, thread->id);
        return p.AddHandle(thread);
    });
    p.Bind(kLibrary, "GetExitCodeThread", [&p](u32 handle, u32 codeAt) -> u32 {
        const auto thread = p.FromHandle<Thread>(handle);
        if (!thread) return 0;
        p.machine.Write(codeAt, thread->exitCode);
        return 1;
    });
    p.Bind(kLibrary, "TerminateProcess", [&p](u32, u32 code) -> u32 {
        throw Failure("the process ended itself with " + std::to_string(code) + "\n" + p.machine.Backtrace());
    });
    p.Bind(kLibrary, "RaiseException", [&p](u32 code, u32, u32, u32) {
        throw Failure("the exception " + std::to_string(code) + " was raised and nobody handles it\n" +
                      p.machine.Backtrace());
    });
    p.Bind(kLibrary, "Sleep", [&p](u32 milliseconds) { p.scheduler.Sleep(milliseconds); });
    p.Bind(kLibrary, "WaitForSingleObject",
           [&p](u32 handle, u32 milliseconds) { return WaitFor(p, {handle}, false, milliseconds); });
    p.Bind(kLibrary, "WaitForMultipleObjects", [&p](u32 count, u32 array, u32 all, u32 milliseconds) {
        // The system waits for any; waiting for all is refused.
        if (all)
            throw Failure("WaitForMultipleObjects for all of them is not supported by the system\n" +
                          p.machine.Backtrace());
        return WaitFor(p, ReadHandles(p, count, array), false, milliseconds);
    });
    // Nobody sends messages between the emulated threads, so only the handles can end it.
    p.Bind(kLibrary, "MsgWaitForMultipleObjectsEx", [&p](u32 count, u32 array, u32 milliseconds, u32, u32) {
        return WaitFor(p, ReadHandles(p, count, array), false, milliseconds);
    });
    p.Bind(kLibrary, "GetTickCount", [&p] { return static_cast<u32>(p.scheduler.Now()); });
    p.Bind(kLibrary, "GetLastError", [&p] { return p.scheduler.Current().lastError; });
    p.Bind(kLibrary, "SetLastError", [&p](u32 error) { p.SetLastError(error); });
    p.Bind(kLibrary, "OutputDebugStringW", [&p](u32 text) { p.debugText.push_back(p.machine.Text(text)); });
}

void BindThreadStorage(Process& p) {
    p.Bind(kLibrary, "TlsCall", [&p](u32 function, u32 index) -> u32 {
        auto& slots = p.Attachment<TlsSlots>("tls").used;
        if (function == kTlsAllocate) {
            const auto free = std::find(std::begin(slots), std::end(slots), false);
            if (free == std::end(slots)) return 0xFFFFFFFF;
            *free = true;
            return static_cast<u32>(free - std::begin(slots));
        }
        if (function != kTlsFree || index >= kTlsSlots) return 0;
        for (const auto& thread : p.scheduler.Threads()) thread->tls[index] = 0;
        return static_cast<u32>(std::exchange(slots[index], false));
    });
    p.Bind(kLibrary, "TlsGetValue", [&p](u32 index) -> u32 {
        p.SetLastError(0);
        return index < kTlsSlots ? p.scheduler.Current().tls[index] : 0;
    });
    p.Bind(kLibrary, "TlsSetValue", [&p](u32 index, u32 value) -> u32 {
        if (index >= kTlsSlots) return 0;
        p.scheduler.Current().tls[index] = value;
        return 1;
    });
}

void BindInterlocked(Process& p) {
    auto& m = p.machine;
    p.Bind(kLibrary, "InterlockedExchange", [&m](u32 at, u32 value) {
        const u32 old = m.Read<u32>(at);
        m.Write(at, value);
        return old;
    });
    p.Bind(kLibrary, "InterlockedExchangeAdd", [&m](u32 at, u32 value) {
        const u32 old = m.Read<u32>(at);
        m.Write(at, old + value);
        return old;
    });
}

// ---- Critical sections -------------------------------------------------------------------------------------------------

void BindCriticalSections(Process& p) {
    using Sections = std::map<u32, std::shared_ptr<CriticalSection>>;
    const auto section = [&p](u32 at) {
        auto& sections = p.Attachment<Sections>("critical sections");
        const auto found = sections.find(at);
        if (found == sections.end())
            throw Failure("a critical section that was not initialised\n" + p.machine.Backtrace());
        return found->second;
    };
    p.Bind(kLibrary, "InitializeCriticalSection", [&p](u32 at) {
        p.Attachment<Sections>("critical sections")[at] = std::make_shared<CriticalSection>();
    });
    p.Bind(kLibrary, "DeleteCriticalSection", [&p, section](u32 at) {
        if (section(at)->depth)
            throw Failure("a critical section was deleted while it was held\n" + p.machine.Backtrace());
        p.Attachment<Sections>("critical sections").erase(at);
    });
    p.Bind(kLibrary, "EnterCriticalSection",
           [&p, section](u32 at) { p.scheduler.Wait({section(at)}, false, kInfinite); });
    p.Bind(kLibrary, "LeaveCriticalSection", [&p, section](u32 at) {
        const auto held = section(at);
        if (held->owner != &p.scheduler.Current()) {
            throw Failure("a critical section was left by a thread that is not in it\n" +
                          p.machine.Backtrace());
        }
        if (--held->depth == 0) held->owner = nullptr;
    });
}

// ---- Message queues and power notifications -----------------------------------------------------------------------------

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
    p.Bind(kLibrary, "CloseMsgQueue", [&p](u32 handle) -> u32 { return p.CloseHandle(handle); });
    p.Bind(kLibrary, "RequestPowerNotifications", [&p](u32 handle, u32 flags) -> u32 {
        const auto queue = p.FromHandle<MessageQueue>(handle);
        if (!queue) return 0;
        auto request = std::make_shared<PowerRequest>();
        request->queue = queue;
        request->flags = flags;
        p.Attachment<PowerRequests>("power").push_back(request);
        return p.AddHandle(request);
    });
    p.Bind(kLibrary, "StopPowerNotifications", [&p](u32 handle) -> u32 { return p.CloseHandle(handle); });
}

// ---- Modules -----------------------------------------------------------------------------------------------------------

void BindModules(Process& p) {
    const auto byBase = [&p](u32 base) -> Module* {
        for (const auto& module : p.Modules()) {
            if (module->base == base) return module.get();
        }
        return nullptr;
    };
    const auto find = [&p](u32 nameAt) -> u32 {
        const std::u16string wide = p.machine.Text(nameAt);
        Module* module = p.Find(std::string(wide.begin(), wide.end()));
        if (!module) p.SetLastError(kErrorModuleNotFound);
        return module ? module->base : 0;
    };
    const auto procedure = [&p, byBase](u32 base, const std::string& name) -> u32 {
        Module* module = byBase(base);
        if (module) {
            const auto found = module->image.exports.find(name);
            if (found != module->image.exports.end()) return base + found->second;
        }
        p.SetLastError(kErrorProcNotFound);
        return 0;
    };
    p.Bind(kLibrary, "LoadLibraryW", find);
    p.Bind(kLibrary, "FreeLibrary", [](u32) -> u32 { return 1; });
    p.Bind(kLibrary, "GetProcAddressA", [&p, byBase, procedure](u32 base, u32 name) -> u32 {
        if (name < 0x10000) {
            Module* module = byBase(base);
            if (!module || !module->image.exportsByOrdinal.contains(static_cast<u16>(name))) {
                p.SetLastError(kErrorProcNotFound);
                return 0;
            }
            return base + module->image.exportsByOrdinal[static_cast<u16>(name)];
        }
        return procedure(base, p.machine.Narrow(name));
    });
    p.Bind(kLibrary, "GetModuleFileNameW", [&p, byBase](u32 base, u32 buffer, u32 length) -> u32 {
        Module* module = byBase(base);
        const std::string path = "\\Windows\\" + (module ? module->name : "test.exe");
        if (path.size() + 1 > length) return 0;
        for (size_t i = 0; i <= path.size(); ++i)
            p.machine.Write(buffer + 2 * static_cast<u32>(i), static_cast<u16>(path.c_str()[i]));
        return static_cast<u32>(path.size());
    });
}

}  // namespace

void PostPowerMessage(Process& process, u32 kind) {
    for (const auto& weak : process.Attachment<PowerRequests>("power")) {
        const auto request = weak.lock();
        const auto queue = request ? request->queue.lock() : nullptr;
        if (!queue || !(request->flags & kind) || queue->messages.size() >= queue->maximum) continue;
        std::vector<u8> message(12);
        std::copy_n(reinterpret_cast<const u8*>(&kind), 4, message.begin());
        queue->messages.push_back(std::move(message));
    }
}

void BindKernel(Process& process) {
    BindEvents(process);
    BindThreads(process);
    BindThreadStorage(process);
    BindInterlocked(process);
    BindCriticalSections(process);
    BindQueues(process);
    BindModules(process);
}

}  // namespace ce
