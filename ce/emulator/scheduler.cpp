#include "emulator/scheduler.h"

#include <algorithm>

namespace ce {

namespace {

constexpr u32 kFirstStack = 0x02000000;
constexpr u32 kStackGap = 0x10000;  // unmapped, below each stack
constexpr size_t kHostStackBytes = 512 * 1024;
constexpr u32 kFill = 0xCDCDCDCD;
constexpr u32 kUserMode = 0x10;
// The page in which the kernel shows a thread its own id and its process's.
constexpr u32 kKernelDataPage = 0xFFFFC000;
constexpr u32 kThreadIdAt = 0xFFFFC808;
constexpr u32 kProcessIdAt = 0xFFFFC80C;

Scheduler* starting;  // passed to a new context, whose arguments are plain ints

}  // namespace

Scheduler::Scheduler(Machine& owner, u32 bytesOfStack)
    : machine(owner), stackBytes(bytesOfStack), nextStack(kFirstStack) {
    machine.Map(kKernelDataPage, 0x1000);
    machine.Write(kProcessIdAt, kProcessId);
    auto main = std::make_shared<Thread>();
    main->name = "main";
    main->id = nextId++;
    GiveStack(*main);
    main->registers.r[13] = main->stackHigh;
    main->registers.status = kUserMode;
    threads.push_back(main);
    current = main.get();
    machine.Store(main->registers);
    machine.SetStackLimits(main->stackLow, main->stackHigh);
    machine.Write(kThreadIdAt, main->id);
}

void Scheduler::GiveStack(Thread& thread) {
    if (freeStacks.empty()) {
        nextStack += kStackGap;
        machine.Map(nextStack, stackBytes);
        freeStacks.push_back(nextStack);
        nextStack += stackBytes;
    }
    thread.stackLow = freeStacks.back();
    thread.stackHigh = thread.stackLow + stackBytes;
    freeStacks.pop_back();
    for (u32 at = thread.stackLow; at < thread.stackHigh; at += 4) machine.Write(at, kFill);
}

u32 Scheduler::UsedStack(const Thread& thread) {
    u32 at = thread.stackLow;
    while (at < thread.stackHigh && machine.Read<u32>(at) == kFill) at += 4;
    return thread.stackHigh - at;
}

u32 Scheduler::DeepestStack() {
    u32 deepest = 0;
    for (const StackUse& use : StackUses()) deepest = std::max(deepest, use.bytes);
    return deepest;
}

std::vector<Scheduler::StackUse> Scheduler::StackUses() {
    std::vector<StackUse> uses = endedStacks;
    for (const auto& thread : threads) {
        if (!thread->finished) uses.push_back({thread->ShortName(), thread->id, UsedStack(*thread)});
    }
    return uses;
}

std::shared_ptr<Thread> Scheduler::Start(std::string name, std::function<u32()> body) {
    auto thread = std::make_shared<Thread>();
    thread->name = std::move(name);
    thread->id = nextId++;
    thread->body = std::move(body);
    GiveStack(*thread);
    thread->registers.r[13] = thread->stackHigh;
    thread->registers.status = kUserMode;
    thread->hostStack = std::make_unique<char[]>(kHostStackBytes);
    getcontext(&thread->context);
    thread->context.uc_stack.ss_sp = thread->hostStack.get();
    thread->context.uc_stack.ss_size = kHostStackBytes;
    makecontext(&thread->context, reinterpret_cast<void (*)()>(Enter), 2, 0, 0);
    threads.push_back(thread);
    return thread;
}

void Scheduler::Enter(u32, u32) {
    Scheduler* self = starting;
    self->RunThread(*self->current);
}

namespace {
struct ThreadExit {
    u32 code;
};
}  // namespace

void Scheduler::RunThread(Thread& thread) {
    try {
        try {
            thread.exitCode = thread.body();
        } catch (const ThreadExit& exit) {
            thread.exitCode = exit.code;
        }
        if (onThreadEnd) onThreadEnd(thread);
    } catch (const Failure& fault) {
        failure = std::make_exception_ptr(Failure("on thread " + thread.name + ": " + fault.what()));
    } catch (...) {
        failure = std::current_exception();
    }
    endedStacks.push_back({thread.ShortName(), thread.id, UsedStack(thread)});
    freeStacks.push_back(thread.stackLow);
    thread.finished = true;
    SwitchAway();
    std::abort();
}

void Scheduler::Exit(u32 code) {
    throw ThreadExit{code};
}

u32 Scheduler::Wait(std::vector<ObjectPtr> objects, bool all, u32 milliseconds) {
    Thread& thread = *current;
    thread.objects = std::move(objects);
    thread.all = all;
    thread.deadline.reset();
    if (milliseconds != kInfinite) thread.deadline = now + milliseconds;
    // Signalled already: no switch. A wait for nothing at all lets others run.
    u32 result = kWaitTimeout;
    if (!thread.objects.empty() && Satisfied(thread)) {
        result = thread.result;
    } else if (thread.objects.empty() || milliseconds != 0) {
        thread.waiting = true;
        SwitchAway();
        result = thread.result;
    }
    thread.objects.clear();  // they may end with their last handle
    return result;
}

void Scheduler::HandOver(const Object& object) {
    for (const auto& thread : threads) {
        const bool waits =
            thread->waiting && std::any_of(thread->objects.begin(), thread->objects.end(),
                                           [&](const ObjectPtr& one) { return one.get() == &object; });
        if (!waits || !Satisfied(*thread)) continue;
        thread->waiting = false;
        return;
    }
}

bool Scheduler::Satisfied(Thread& thread) {
    if (thread.objects.empty()) return false;
    if (thread.all) {
        for (const auto& object : thread.objects) {
            if (!object->Signaled(thread)) return false;
        }
        for (const auto& object : thread.objects) object->Consume(thread);
        thread.result = 0;
        return true;
    }
    for (size_t i = 0; i < thread.objects.size(); ++i) {
        if (!thread.objects[i]->Signaled(thread)) continue;
        thread.objects[i]->Consume(thread);
        thread.result = static_cast<u32>(i);
        return true;
    }
    return false;
}

void Scheduler::PlaySeed(u64 seed) {
    random.emplace(seed);
    machine.onSlice = [this] { Preempt(); };
    NextSlice();
}

// Short slices and long ones: half of all end within 1000 instructions.
void Scheduler::NextSlice() {
    constexpr u64 kShortest = 4, kLongest = 16;  // as powers of two
    const u64 power = kShortest + (*random)() % (kLongest - kShortest + 1);
    machine.SliceAfter(1 + (*random)() % (u64{1} << power));
}

// The time that passes makes a device of some 40 million instructions a second.
void Scheduler::Preempt() {
    if ((*random)() % 4 == 0) now += (*random)() % 2;
    NextSlice();
    SwitchAway();
}

Thread* Scheduler::NextReady() {
    // Round robin, beginning after the current thread, or anywhere.
    std::erase_if(threads, [&](const auto& thread) { return thread->finished && thread.get() != current; });
    const auto position =
        std::find_if(threads.begin(), threads.end(), [&](const auto& t) { return t.get() == current; });
    const size_t start =
        random ? (*random)() % threads.size() : static_cast<size_t>(position - threads.begin());
    for (size_t step = 1; step <= threads.size(); ++step) {
        const auto& thread = threads[(start + step) % threads.size()];
        if (thread->finished) continue;
        if (!thread->waiting || Satisfied(*thread)) return thread.get();
        if (thread->objects.empty() && thread->deadline && *thread->deadline <= now) return thread.get();
    }
    Thread* first = nullptr;
    for (const auto& thread : threads) {
        if (thread->finished || !thread->deadline) continue;
        if (!first || *thread->deadline < *first->deadline) first = thread.get();
    }
    if (first) {
        now = std::max(now, *first->deadline);
        if (now >= end) throw Interrupted("the device's time is over\n" + DescribeWaits());
        first->result = kWaitTimeout;
    }
    return first;
}

// A thread that has ended never comes back: what lies on its stack here is not given back by anybody.
void Scheduler::SwitchAway() {
    Thread* next = nullptr;
    if (!failure) {
        try {
            next = NextReady();
            if (!next) ReportDeadlock();
        } catch (...) {
            failure = std::current_exception();
        }
    }
    // A failure ends the process; the main thread tells of it.
    if (failure) next = threads.front().get();
    next->waiting = false;
    SwitchTo(*next);
    if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

void Scheduler::SwitchTo(Thread& next) {
    if (&next == current) return;
    Thread& previous = *current;
    previous.registers = machine.Load();
    current = &next;
    machine.Store(next.registers);
    machine.SetStackLimits(next.stackLow, next.stackHigh);
    machine.Write(kThreadIdAt, next.id);
    starting = this;
    swapcontext(&previous.context, &next.context);
}

void Scheduler::ReportDeadlock() {
    throw Failure("deadlock: nobody can run\n" + DescribeWaits());
}

std::string Scheduler::DescribeWaits() {
    std::string text;
    for (const auto& thread : threads) {
        if (thread->finished) continue;
        text += "  thread " + thread->name + " waits for";
        for (const auto& object : thread->objects) text += " " + object->Describe() + ";";
        if (thread.get() != current) {
            const Registers saved = machine.Load();
            machine.Store(thread->registers);
            machine.SetStackLimits(thread->stackLow, thread->stackHigh);
            text += "\n" + machine.Backtrace();
            machine.Store(saved);
            machine.SetStackLimits(current->stackLow, current->stackHigh);
        } else {
            text += "\n" + machine.Backtrace();
        }
    }
    return text;
}

}  // namespace ce
