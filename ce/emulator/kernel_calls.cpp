// Threads, waiting, events, locks, thread-local storage, time.
#include <algorithm>
#include <ctime>

#include "emulator/kernel_objects.h"
#include "emulator/process.h"
#include "emulator/text.h"

namespace ce {

u32 WaitFor(Process& process, const std::vector<u32>& handles, bool all, u32 milliseconds) {
    std::vector<ObjectPtr> objects;
    for (const u32 handle : handles) {
        objects.push_back(process.FromHandle(handle));
        if (!objects.back()) {
            process.SetLastError(kErrorInvalidHandle);
            return kWaitFailed;
        }
        if (!objects.back()->Waitable()) {
            throw Failure("a wait for " + objects.back()->Describe() + ", which nobody can wait for\n" +
                          process.machine.Backtrace());
        }
    }
    return process.scheduler.Wait(std::move(objects), all, milliseconds);
}

std::vector<u32> ReadHandles(Process& process, u32 count, u32 array) {
    std::vector<u32> handles;
    for (u32 i = 0; i < count; ++i) handles.push_back(process.machine.Read<u32>(array + 4 * i));
    return handles;
}

namespace {

const std::string kLibrary = "coredll.dll";
constexpr u32 kPulse = 1, kReset = 2, kSet = 3;
constexpr u32 kCurrentThreadHandle = 65, kCurrentProcessHandle = 66;
constexpr u32 kTlsAllocate = 0, kTlsFree = 1;
constexpr u32 kNormalPriority = 3;
constexpr u32 kExceptionOfCpp = 0xE06D7363;
constexpr std::time_t kStartOfTime = 1'136'073'600;  // 2006-01-01, UTC

struct TlsSlots {
    bool used[kTlsSlots] = {true, true, true, true};  // the system keeps the first four for itself
};

// ---- Events
// ----------------------------------------------------------------------------------------------------------

u32 CreateEventStandIn(Process& process, u32 manual, u32 initial, u32 name) {
    process.SetLastError(0);
    std::u16string text = name ? process.machine.Text(name) : std::u16string();
    if (!text.empty()) {
        if (auto shared = process.namedObjects[text].lock()) {
            process.SetLastError(kErrorAlreadyExists);
            return process.AddHandle(shared);
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
        if (--mutex->depth > 0) return 1;
        mutex->owner = nullptr;
        p.scheduler.HandOver(*mutex);
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

void BindSemaphores(Process& p) {
    p.Bind(kLibrary, "CreateSemaphoreW", [&p](u32, u32 initial, u32 maximum, u32) -> u32 {
        auto semaphore = std::make_shared<Semaphore>();
        semaphore->count = initial;
        semaphore->maximum = maximum;
        return p.AddHandle(semaphore);
    });
    p.Bind(kLibrary, "ReleaseSemaphore", [&p](u32 handle, u32 count, u32 previousAt) -> u32 {
        const auto semaphore = p.FromHandle<Semaphore>(handle);
        if (!semaphore || count > semaphore->maximum - semaphore->count)
            return p.SetLastError(kErrorInvalidParameter), 0;
        if (previousAt) p.machine.Write(previousAt, semaphore->count);
        semaphore->count += count;
        return 1;
    });
}

// ---- Threads and waiting
// ----------------------------------------------------------------------------------------------

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
    p.Bind(kLibrary, "ExitThread", [&p](u32 code) -> u32 {
        if (p.scheduler.IsMain(p.scheduler.Current())) throw ProcessEnd(code);
        p.scheduler.Exit(code);
    });
    p.Bind(kLibrary, "GetThreadPriority", [](u32) { return kNormalPriority; });
    p.Bind(kLibrary, "SetThreadPriority", [](u32, u32) -> u32 { return 1; });
    p.Bind(kLibrary, "TerminateProcess", [](u32, u32 code) -> u32 { throw ProcessEnd(code); });
    p.Bind(kLibrary, "RaiseException", [&p](u32 code, u32, u32, u32) {
        const char* meaning = code == kExceptionOfCpp ? " (a C++ exception, or abort)" : "";
        throw Failure("the exception " + Hex(code) + meaning + " was raised and nobody handles it\n" +
                      p.machine.Backtrace());
    });
}

void BindWaiting(Process& p) {
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
    p.Bind(kLibrary, "GetLastError", [&p] { return p.scheduler.Current().lastError; });
    p.Bind(kLibrary, "SetLastError", [&p](u32 error) { p.SetLastError(error); });
    p.Bind(kLibrary, "OutputDebugStringW", [&p](u32 text) {
        p.debugText.push_back(p.machine.Text(text));
        p.WriteOutput(Process::Output::Debugger, ToUtf8(p.debugText.back()));
    });
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
    const auto add = [&m](u32 at, u32 value) {
        const u32 old = m.Read<u32>(at);
        m.Write(at, old + value);
        return old;
    };
    p.Bind(kLibrary, "InterlockedIncrement", [add](u32 at) { return add(at, 1) + 1; });
    p.Bind(kLibrary, "InterlockedDecrement", [add](u32 at) { return add(at, 0xFFFFFFFF) - 1; });
    p.Bind(kLibrary, "InterlockedExchangeAdd", add);
    p.Bind(kLibrary, "InterlockedCompareExchange", [&m](u32 at, u32 value, u32 comparand) {
        const u32 old = m.Read<u32>(at);
        if (old == comparand) m.Write(at, value);
        return old;
    });
    p.Bind(kLibrary, "InterlockedExchange", [&m](u32 at, u32 value) {
        const u32 old = m.Read<u32>(at);
        m.Write(at, value);
        return old;
    });
}

// ---- Critical sections
// -------------------------------------------------------------------------------------------------

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
    p.Bind(kLibrary, "TryEnterCriticalSection",
           [&p, section](u32 at) -> u32 { return p.scheduler.Wait({section(at)}, false, 0) == 0; });
    p.Bind(kLibrary, "LeaveCriticalSection", [&p, section](u32 at) {
        const auto held = section(at);
        if (held->owner != &p.scheduler.Current()) {
            throw Failure("a critical section was left by a thread that is not in it\n" +
                          p.machine.Backtrace());
        }
        if (--held->depth == 0) held->owner = nullptr;
    });
}

// ---- Time
// ----------------------------------------------------------------------------------------------------------------

// Time is virtual: the device's clock was set when the process began, to the same moment in every run.
void BindTime(Process& p) {
    p.Bind(kLibrary, "GetTickCount", [&p] { return static_cast<u32>(p.scheduler.Now()); });
    p.Bind(kLibrary, "QueryPerformanceCounter",
           [&p](u32 out) -> u32 { return p.machine.Write(out, p.scheduler.Now()), 1; });
    p.Bind(kLibrary, "QueryPerformanceFrequency",
           [&p](u32 out) -> u32 { return p.machine.Write(out, u64{1000}), 1; });
    const auto write = [&p](u32 out) {
        const std::time_t moment = kStartOfTime + static_cast<std::time_t>(p.scheduler.Now() / 1000);
        std::tm time{};
        gmtime_r(&moment, &time);
        const int fields[] = {
            time.tm_year + 1900, time.tm_mon + 1, time.tm_wday, time.tm_mday,
            time.tm_hour,        time.tm_min,     time.tm_sec,  static_cast<int>(p.scheduler.Now() % 1000)};
        for (const int field : fields) p.machine.Write(std::exchange(out, out + 2), static_cast<u16>(field));
    };
    p.Bind(kLibrary, "GetLocalTime", write);
    p.Bind(kLibrary, "GetSystemTime", write);
}

}  // namespace

void BindKernel(Process& process) {
    BindEvents(process);
    BindSemaphores(process);
    BindThreads(process);
    BindWaiting(process);
    BindThreadStorage(process);
    BindInterlocked(process);
    BindCriticalSections(process);
    BindTime(process);
}

}  // namespace ce
