// Which thread may run what, said in three words and checked where tests run.
//
// *Caller*: whoever calls an exported function; every thread that is nothing else. *Worker*: a thread of the
// library's own. *Streaming*: one of DirectShow's, for as long as it brings a sample.
//
// Builds with OCELLUS_CHECK_THREADS check the roles while they run: a function on the wrong thread ends the
// process with a message that names both. In other builds nothing is left of it. Clang's thread-safety
// analysis takes a role for a lock that its thread holds, and checks in every build what is declared with
// CAM_REQUIRES.
#pragma once

#include "base/thread_annotations.h"

namespace cam {

class CAM_LOCKABLE("thread role") ThreadRole {
  public:
    constexpr explicit ThreadRole(const char* word) : name(word) {}
    const char* Name() const { return name; }

  private:
    const char* name;
};

inline constexpr ThreadRole kCallerThread("caller");
inline constexpr ThreadRole kWorkerThread("worker");
inline constexpr ThreadRole kStreamingThread("streaming");

#ifdef OCELLUS_CHECK_THREADS

// What the process ends with.
constexpr unsigned kWrongThreadExitCode = 70;

// This thread's role for as long as the object lives.
class CAM_SCOPED_LOCK ThreadRoleScope {
  public:
    explicit ThreadRoleScope(const ThreadRole& role) CAM_ACQUIRES(role);
    ~ThreadRoleScope() CAM_RELEASES();
    ThreadRoleScope(const ThreadRoleScope&) = delete;
    ThreadRoleScope& operator=(const ThreadRoleScope&) = delete;

  private:
    const ThreadRole& before;
};

// At the head of a function that belongs to threads of one role.
void CheckThread(const ThreadRole& role, const char* function = __builtin_FUNCTION(),
                 const char* file = __builtin_FILE(), int line = __builtin_LINE());

// At the head of a function that threads of one role keep away from.
void CheckThreadIsNot(const ThreadRole& role, const char* function = __builtin_FUNCTION(),
                      const char* file = __builtin_FILE(), int line = __builtin_LINE());

#else

class CAM_SCOPED_LOCK ThreadRoleScope {
  public:
    explicit ThreadRoleScope(const ThreadRole& role) CAM_ACQUIRES(role) { static_cast<void>(role); }
    ~ThreadRoleScope() CAM_RELEASES() {}
    ThreadRoleScope(const ThreadRoleScope&) = delete;
    ThreadRoleScope& operator=(const ThreadRoleScope&) = delete;
};

inline void CheckThread(const ThreadRole&) {}
inline void CheckThreadIsNot(const ThreadRole&) {}

#endif

}  // namespace cam
