// A lock that lives with its owner, the guard that holds it, and an object that can be reached only with it.
#pragma once

#include <windows.h>

#include <utility>

#include "base/thread_annotations.h"

namespace cam {

// May be entered again by the thread that holds it.
class CAM_LOCKABLE("lock") Lock {
  public:
    Lock() { InitializeCriticalSection(&section_); }
    ~Lock() { DeleteCriticalSection(&section_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void Enter() CAM_ACQUIRES() { EnterCriticalSection(&section_); }
    void Leave() CAM_RELEASES() { LeaveCriticalSection(&section_); }

  private:
    CRITICAL_SECTION section_;
};

class CAM_SCOPED_LOCK LockGuard {
  public:
    explicit LockGuard(Lock& lock) CAM_ACQUIRES(lock) : lock_(lock) { lock_.Enter(); }
    ~LockGuard() CAM_RELEASES() { lock_.Leave(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock& lock_;
};

// A value and its lock. Locked() is the only way to the value, and holds the lock for as long as it lives:
//
//     const auto settings = settings_.Locked();
//     settings->fileName = ...;
template <typename T>
class Guarded {
  public:
    class Access {
      public:
        explicit Access(Guarded& guarded) : guard_(guarded.lock_), value_(guarded.value_) {}
        T* operator->() const { return &value_; }
        T& operator*() const { return value_; }

      private:
        LockGuard guard_;
        T& value_;
    };

    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}

    Access Locked() { return Access(*this); }

  private:
    Lock lock_;
    T value_{};
};

}  // namespace cam
