// A lock that needs nothing but the system.
#pragma once

#include <windows.h>

namespace imvoxa {

class Lock {
  public:
    Lock() { InitializeCriticalSection(&section); }
    ~Lock() { DeleteCriticalSection(&section); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    friend class Guard;
    CRITICAL_SECTION section;
};

class Guard {
  public:
    explicit Guard(Lock& held) : lock(held) { EnterCriticalSection(&lock.section); }
    ~Guard() { LeaveCriticalSection(&lock.section); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

  private:
    Lock& lock;
};

}  // namespace imvoxa
