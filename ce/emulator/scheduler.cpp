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

Scheduler::Scheduler(Machine& machine, u32 stackBytes)
    : machine_(machine), stackBytes_(stackBytes), nextStack_(kFirstStack) {
    machine_.Map(kKernelDataPage, 0x1000);
    machine_.Write(kProcessIdAt, kProcessId);
    auto main = std::make_shared<Thread>();
    main->name = "main";
    main->id = nextId_++;
    GiveStack(*main);
    main->registers_.r[13] = main->stackHigh;
    main->registers_.status = kUserMode;
    threads_.push_back(main);
    current_ = main.get();
    machine_.Store(main->registers_);
    machine_.SetStackLimits(main->stackLow, main->stackHigh);
    machine_.Write(kThreadIdAt, main->id);
}

void Scheduler::GiveStack(Thread& thread) {
    if (freeStacks_.empty()) {
        nextStack_ += kStackGap;
        machine_.Map(nextStack_, stackBytes_);
        freeStacks_.push_back(nextStack_);
        nextStack_ += stackBytes_;
    }
    thread.stackLow = freeStacks_.back();
    thread.stackHigh = thread.stackLow + stackBytes_;
    freeStacks_.pop_back();
    for (u32 at = thread.stackLow; at < thread.stackHigh; at += 4) machine_.Write(at, kFill);
}

u32 Scheduler::UsedStack(const Thread& thread) {
    u32 at = thread.stackLow;
    while (at < thread.stackHigh && machine_.Read<u32>(at) == kFill) at += 4;
    return thread.stackHigh - at;
}

u32 Scheduler::DeepestStack() {
    u32 deepest = 0;
    for (const StackUse& use : StackUses()) deepest = std::max(deepest, use.bytes);
    return deepest;
}

std::vector<Scheduler::StackUse> Scheduler::StackUses() {
    std::vector<StackUse> uses = endedStacks_;
    for (const auto& thread : threads_) {
        if (!thread->finished) uses.push_back({thread->ShortName(), thread->id, UsedStack(*thread)});
    }
    return uses;
}

std::shared_ptr<Thread> Scheduler::Start(std::string name, std::function<u32()> body) {
    auto thread = std::make_shared<Thread>();
    thread->name = std::move(name);
    thread->id = nextId_++;
    thread->body_ = std::move(body);
    GiveStack(*thread);
    thread->registers_.r[13] = thread->stackHigh;
    thread->registers_.status = kUserMode;
    thread->hostStack_ = std::make_unique<char[]>(kHostStackBytes);
    getcontext(&thread->context_);
    thread->context_.uc_stack.ss_sp = thread->hostStack_.get();
    thread->context_.uc_stack.ss_size = kHostStackBytes;
    makecontext(&thread->context_, reinterpret_cast<void (*)()>(Enter), 2, 0, 0);
    threads_.push_back(thread);
    return thread;
}

void Scheduler::Enter(u32, u32) {
    Scheduler* self = starting;
    self->RunThread(*self->current_);
}

namespace {
struct ThreadExit {
    u32 code;
};
}  // namespace

void Scheduler::RunThread(Thread& thread) {
    try {
        try {
            thread.exitCode = thread.body_();
        } catch (const ThreadExit& exit) {
            thread.exitCode = exit.code;
        }
        if (onThreadEnd) onThreadEnd(thread);
    } catch (const Failure& failure) {
        failure_ = std::make_exception_ptr(Failure("on thread " + thread.name + ": " + failure.what()));
    } catch (...) {
        failure_ = std::current_exception();
    }
    endedStacks_.push_back({thread.ShortName(), thread.id, UsedStack(thread)});
    freeStacks_.push_back(thread.stackLow);
    thread.finished = true;
    SwitchAway();
    std::abort();
}

void Scheduler::Exit(u32 code) {
    throw ThreadExit{code};
}

u32 Scheduler::Wait(std::vector<ObjectPtr> objects, bool all, u32 milliseconds) {
    Thread& thread = *current_;
    thread.objects_ = std::move(objects);
    thread.all_ = all;
    thread.deadline_.reset();
    if (milliseconds != kInfinite) thread.deadline_ = now_ + milliseconds;
    // Signalled already: no switch. A wait for nothing at all lets others run.
    if (!thread.objects_.empty() && Satisfied(thread)) return thread.result_;
    if (!thread.objects_.empty() && milliseconds == 0) return kWaitTimeout;
    thread.waiting_ = true;
    SwitchAway();
    return thread.result_;
}

bool Scheduler::Satisfied(Thread& thread) {
    if (thread.objects_.empty()) return false;
    if (thread.all_) {
        for (const auto& object : thread.objects_) {
            if (!object->Signaled(thread)) return false;
        }
        for (const auto& object : thread.objects_) object->Consume(thread);
        thread.result_ = 0;
        return true;
    }
    for (size_t i = 0; i < thread.objects_.size(); ++i) {
        if (!thread.objects_[i]->Signaled(thread)) continue;
        thread.objects_[i]->Consume(thread);
        thread.result_ = static_cast<u32>(i);
        return true;
    }
    return false;
}

std::shared_ptr<Thread> Scheduler::NextReady() {
    // Round robin, beginning after the current thread.
    std::erase_if(threads_, [&](const auto& thread) { return thread->finished && thread.get() != current_; });
    const auto position =
        std::find_if(threads_.begin(), threads_.end(), [&](const auto& t) { return t.get() == current_; });
    const size_t start = static_cast<size_t>(position - threads_.begin());
    for (size_t step = 1; step <= threads_.size(); ++step) {
        const auto& thread = threads_[(start + step) % threads_.size()];
        if (thread->finished) continue;
        if (!thread->waiting_ || Satisfied(*thread)) return thread;
        if (thread->objects_.empty() && thread->deadline_ && *thread->deadline_ <= now_) return thread;
    }
    std::shared_ptr<Thread> first;
    for (const auto& thread : threads_) {
        if (thread->finished || !thread->deadline_) continue;
        if (!first || *thread->deadline_ < *first->deadline_) first = thread;
    }
    if (first) {
        now_ = std::max(now_, *first->deadline_);
        first->result_ = kWaitTimeout;
    }
    return first;
}

void Scheduler::SwitchAway() {
    std::shared_ptr<Thread> next;
    if (!failure_) {
        next = NextReady();
        if (!next) {
            try {
                ReportDeadlock();
            } catch (...) {
                failure_ = std::current_exception();
            }
        }
    }
    // A failure ends the process; the main thread tells of it.
    if (failure_) next = threads_.front();
    next->waiting_ = false;
    SwitchTo(*next);
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void Scheduler::SwitchTo(Thread& next) {
    if (&next == current_) return;
    Thread& previous = *current_;
    previous.registers_ = machine_.Load();
    current_ = &next;
    machine_.Store(next.registers_);
    machine_.SetStackLimits(next.stackLow, next.stackHigh);
    machine_.Write(kThreadIdAt, next.id);
    starting = this;
    swapcontext(&previous.context_, &next.context_);
}

void Scheduler::ReportDeadlock() {
    std::string text = "deadlock: nobody can run\n";
    for (const auto& thread : threads_) {
        if (thread->finished) continue;
        text += "  thread " + thread->name + " waits for";
        for (const auto& object : thread->objects_) text += " " + object->Describe() + ";";
        if (thread.get() != current_) {
            const Registers saved = machine_.Load();
            machine_.Store(thread->registers_);
            machine_.SetStackLimits(thread->stackLow, thread->stackHigh);
            text += "\n" + machine_.Backtrace();
            machine_.Store(saved);
            machine_.SetStackLimits(current_->stackLow, current_->stackHigh);
        } else {
            text += "\n" + machine_.Backtrace();
        }
    }
    throw Failure(text);
}

}  // namespace ce
