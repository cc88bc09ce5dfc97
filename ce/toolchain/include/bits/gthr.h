// The standard library's view of threads: there is one. Threads and locks are the system's own, and nothing
// may use std::thread, std::mutex or the reference counts of std::shared_ptr across threads.
#ifndef OCELLUS_CE_GTHR_H
#define OCELLUS_CE_GTHR_H

typedef int __gthread_mutex_t;
typedef int __gthread_recursive_mutex_t;
inline int __gthread_active_p() {
    return 0;
}

#endif
