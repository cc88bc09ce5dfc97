// A lock that lives with its owner, and its guard.
#pragma once

#include <windows.h>

namespace cam::filter_base {

// May be entered again by the thread that holds it.
class CriticalSection {
  public:
    CriticalSection() { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() { EnterCriticalSection(&section_); }
    void Leave() { LeaveCriticalSection(&section_); }

  private:
    CRITICAL_SECTION section_;
};

class Lock {
  public:
    explicit Lock(CriticalSection& section) : section_(section) { section_.Enter(); }
    ~Lock() { section_.Leave(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    CriticalSection& section_;
};

}  // namespace cam::filter_base
