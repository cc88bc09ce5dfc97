// Kernel objects behind handles.
#pragma once

#include <deque>

#include "emulator/process.h"

namespace ce {

struct Event final : Object {
    std::string Describe() const override { return "event " + std::string(name.begin(), name.end()); }
    bool Waitable() const override { return true; }
    bool Signaled(Thread&) override { return signaled; }
    void Consume(Thread&) override {
        if (!manual) signaled = false;
    }
    bool manual = false;
    bool signaled = false;
    std::u16string name;
};

// A mutex too: both can be entered again by their owner.
struct CriticalSection final : Object {
    std::string Describe() const override {
        return "a lock held by " + (owner ? owner->name : std::string("nobody"));
    }
    bool Waitable() const override { return true; }
    bool Signaled(Thread& thread) override { return !owner || owner == &thread; }
    void Consume(Thread& thread) override {
        owner = &thread;
        ++depth;
    }
    Thread* owner = nullptr;
    int depth = 0;
};

struct Semaphore final : Object {
    std::string Describe() const override { return "semaphore"; }
    bool Waitable() const override { return true; }
    bool Signaled(Thread&) override { return count > 0; }
    void Consume(Thread&) override { --count; }
    u32 count = 0, maximum = 0;
};

struct MessageQueue final : Object {
    std::string Describe() const override { return "message queue"; }
    const char* Closer() const override { return "CloseMsgQueue"; }
    bool Waitable() const override { return true; }
    bool Signaled(Thread&) override { return !messages.empty(); }
    std::deque<std::vector<u8>> messages;
    u32 maximum = 0;
    u32 messageSize = 0;
    bool readable = false;
};

struct PowerRequest final : Object {
    std::string Describe() const override { return "power notification"; }
    const char* Closer() const override { return "StopPowerNotifications"; }
    std::weak_ptr<MessageQueue> queue;
    u32 flags = 0;
};
using PowerRequests = std::vector<std::weak_ptr<PowerRequest>>;

// Waits as the system's calls do; the handles' last error and kWaitFailed when one of them is wrong.
u32 WaitFor(Process& process, const std::vector<u32>& handles, bool all, u32 milliseconds);
std::vector<u32> ReadHandles(Process& process, u32 count, u32 array);

// Sends a power notification of this kind to everybody who asked for it; whether there is one.
bool PostPowerMessage(Process& process, u32 kind);

}  // namespace ce
