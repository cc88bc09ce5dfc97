#include "task_thread.h"

#include <objbase.h>

#include <utility>

#include "system_function.h"

namespace camview {

void NameThread(const wchar_t* name) {
    using SetName = HRESULT(WINAPI*)(HANDLE, const wchar_t*);
    const auto setName = SystemFunction<SetName>(L"kernelbase.dll", "SetThreadDescription");
    if (setName) setName(GetCurrentThread(), name);
}

TaskThread::TaskThread(DWORD apartment, const wchar_t* name)
    : thread([this, apartment, name] { Run(apartment, name); }) {}

TaskThread::~TaskThread() {
    if (!thread.joinable()) return;
    {
        const std::lock_guard guard(lock);
        ends = true;
        tasks.clear();
    }
    wake.notify_one();
    thread.join();
}

void TaskThread::Do(std::function<void()> task) {
    {
        const std::lock_guard guard(lock);
        tasks.push_back(std::move(task));
    }
    wake.notify_one();
}

void TaskThread::Run(DWORD apartment, const wchar_t* name) {
    NameThread(name);
    const HRESULT initialised = CoInitializeEx(nullptr, apartment);
    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock guard(lock);
            wake.wait(guard, [this] { return ends || !tasks.empty(); });
            if (ends) break;
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
    }
    if (SUCCEEDED(initialised)) CoUninitialize();
}

}  // namespace camview
