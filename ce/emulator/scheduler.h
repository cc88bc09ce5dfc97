// The emulated program's threads, and the time. One runs at a time and keeps running until it waits, sleeps
// or ends; time is virtual and moves only when everybody waits, so that runs are repeatable and a sleep costs
// nothing. With a seed threads are switched at other moments as well, and time goes on a little then.
#pragma once

#include <ucontext.h>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "emulator/machine.h"

namespace ce {

constexpr u32 kInfinite = 0xFFFFFFFF;
constexpr u32 kWaitTimeout = 258;
constexpr u32 kWaitFailed = 0xFFFFFFFF;
constexpr u32 kProcessId = 0x42000;
constexpr u32 kStackBytes = 0x10000;  // a device's default
constexpr size_t kTlsSlots = 64;

class Thread;

// Something a handle stands for.
struct Object {
    virtual ~Object() = default;
    virtual std::string Describe() const = 0;
    // What a wait asks. Objects that cannot be waited on are signalled.
    virtual bool Signaled(Thread&) { return true; }
    virtual void Consume(Thread&) {}
    // Whether the system lets a program wait for it.
    virtual bool Waitable() const { return false; }
    // The one function that gives its handles back.
    virtual const char* Closer() const { return "CloseHandle"; }
};
using ObjectPtr = std::shared_ptr<Object>;

class Thread final : public Object {
  public:
    std::string Describe() const override { return "thread " + name; }
    bool Waitable() const override { return true; }
    // Without the place that the name of its function comes with.
    std::string ShortName() const { return name.substr(0, name.rfind(" (")); }
    bool Signaled(Thread&) override { return finished; }

    u32 id = 0;
    std::string name;
    bool finished = false;
    u32 exitCode = 259;
    u32 lastError = 0;
    u32 tls[kTlsSlots] = {};
    u32 stackLow = 0, stackHigh = 0;

  private:
    friend class Scheduler;
    ucontext_t context = {};
    std::unique_ptr<char[]> hostStack;
    std::function<u32()> body;
    Registers registers;
    std::exception_ptr failure;
    // Waiting: for what, and until when. No wait: ready to run.
    bool waiting = false;
    std::vector<ObjectPtr> objects;
    bool all = false;
    std::optional<u64> deadline;
    u32 result = 0;
};

class Scheduler {
  public:
    // `stackBytes`: of each thread's stack, whole pages.
    explicit Scheduler(Machine& owner, u32 bytesOfStack = kStackBytes);

    Thread& Current() { return *current; }
    const std::vector<std::shared_ptr<Thread>>& Threads() const { return threads; }
    // A thread that runs `body`, which may call into the program; its result is the exit code.
    std::shared_ptr<Thread> Start(std::string name, std::function<u32()> body);
    // Index of the object that ended the wait, kWaitTimeout; an empty list only lets the time pass.
    u32 Wait(std::vector<ObjectPtr> objects, bool all, u32 milliseconds);
    // The object has become free: whoever waits for it has it from now on, before anybody else can take it.
    void HandOver(const Object& object);
    void Sleep(u32 milliseconds) { Wait({}, false, milliseconds); }
    u64 Now() const { return now; }
    // From now on threads are switched after random numbers of instructions, the same ones for each seed. The
    // machine must count instructions.
    void PlaySeed(u64 seed);
    // Interrupted is thrown when this much of the device's time has passed.
    void EndAfter(u64 milliseconds) { end = now + milliseconds; }
    bool IsTimeOver() const { return now >= end; }
    [[noreturn]] void Exit(u32 code);

    // The deepest use of a stack so far, in bytes, of threads that have ended and those that live.
    u32 DeepestStack();
    struct StackUse {
        std::string thread;
        u32 id, bytes;
    };
    // Of each thread that there ever was, by its short name.
    std::vector<StackUse> StackUses();
    bool IsMain(const Thread& thread) const { return &thread == threads.front().get(); }
    // Runs once whenever a thread has ended, on that thread.
    std::function<void(Thread&)> onThreadEnd;

  private:
    static void Enter(u32 high, u32 low);
    void RunThread(Thread& thread);
    void SwitchAway();
    void Preempt();
    void NextSlice();
    void SwitchTo(Thread& next);
    bool Satisfied(Thread& thread);
    Thread* NextReady();
    [[noreturn]] void ReportDeadlock();
    std::string DescribeWaits();
    void GiveStack(Thread& thread);
    u32 UsedStack(const Thread& thread);

    Machine& machine;
    const u32 stackBytes;
    std::vector<std::shared_ptr<Thread>> threads;
    std::vector<u32> freeStacks;
    Thread* current = nullptr;
    u64 now = 1000;
    u64 end = UINT64_MAX;
    std::optional<std::mt19937_64> random;
    u32 nextId = 0x1000;
    u32 nextStack;
    std::vector<StackUse> endedStacks;
    std::exception_ptr failure;
};

}  // namespace ce
