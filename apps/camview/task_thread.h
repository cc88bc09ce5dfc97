// A thread that does what it is given, one thing after another.
#pragma once

#include <windows.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace camview {

// The name that the system's tools show of this thread, where the system keeps names.
void NameThread(const wchar_t* name);

class TaskThread {
  public:
    // `apartment`: COINIT_..., for COM on that thread; `name`: for debuggers and for who measures.
    TaskThread(DWORD apartment, const wchar_t* name);
    // Waits for what is under way; what has not begun is left out.
    ~TaskThread();
    TaskThread(const TaskThread&) = delete;
    TaskThread& operator=(const TaskThread&) = delete;

    // Any thread. Returns at once.
    void Do(std::function<void()> task);

  private:
    void Run(DWORD apartment, const wchar_t* name);

    std::mutex lock;
    std::condition_variable wake;
    std::deque<std::function<void()>> tasks;
    bool ends = false;
    std::thread thread;  // the last member: it uses the others
};

}  // namespace camview
