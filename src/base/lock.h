// A lock that lives with its owner, the guard that holds it, and an object that can be reached only with it.
#pragma once

#include <windows.h>

#include <utility>

#include "base/thread_annotations.h"

namespace cam {

// May be entered again by the thread that holds it.
class CAM_LOCKABLE("lock") Lock {
  public:
    Lock() { InitializeCriticalSection(&section); }
    ~Lock() { DeleteCriticalSection(&section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void Enter() CAM_ACQUIRES() { EnterCriticalSection(&section); }
    void Leave() CAM_RELEASES() { LeaveCriticalSection(&section); }

  private:
    CRITICAL_SECTION section;
};

class CAM_SCOPED_LOCK LockGuard {
  public:
    explicit LockGuard(Lock& toHold) CAM_ACQUIRES(toHold) : lock(toHold) { lock.Enter(); }
    ~LockGuard() CAM_RELEASES() { lock.Leave(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock& lock;
};

// A value and its lock. Locked() is the only way to the value, and holds the lock for as long as it lives:
//
//     const auto access = settings.Locked();
//     access->fileName = ...;
template <typename T>
class Guarded {
  public:
    class Access {
      public:
        explicit Access(Guarded& guarded) : guard(guarded.lock), value(guarded.value) {}
        T* operator->() const { return &value; }
        T& operator*() const { return value; }

      private:
        LockGuard guard;
        T& value;
    };

    Guarded() = default;
    explicit Guarded(T initial) : value(std::move(initial)) {}

    Access Locked() { return Access(*this); }

  private:
    Lock lock;
    T value{};
};

}  // namespace cam
