// What Clang's thread-safety analysis is told (scripts/check.sh --tidy asks it); nothing to other compilers.
#pragma once

#ifdef __clang__
#define CAM_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define CAM_THREAD_ATTRIBUTE(attribute)
#endif

// A class whose objects are locks, and one whose objects hold a lock from construction to destruction.
#define CAM_LOCKABLE(name) CAM_THREAD_ATTRIBUTE(capability(name))
#define CAM_SCOPED_LOCK CAM_THREAD_ATTRIBUTE(scoped_lockable)

// On a function: it takes or gives back a lock.
#define CAM_ACQUIRES(...) CAM_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define CAM_RELEASES(...) CAM_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

// On a field: only whoever holds the lock may use it. On a function: only whoever holds the lock may call it.
#define CAM_GUARDED_BY(lock) CAM_THREAD_ATTRIBUTE(guarded_by(lock))
#define CAM_REQUIRES(...) CAM_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))

// On a function: what it returns is that lock; it says that a lock is held which the analysis cannot see; it
// is not looked into.
#define CAM_RETURNS_LOCK(lock) CAM_THREAD_ATTRIBUTE(lock_returned(lock))
#define CAM_ASSERTS(...) CAM_THREAD_ATTRIBUTE(assert_capability(__VA_ARGS__))
#define CAM_UNCHECKED CAM_THREAD_ATTRIBUTE(no_thread_safety_analysis)
