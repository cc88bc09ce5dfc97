#include "base/thread_role.h"

#include <windows.h>

#include <doctest/doctest.h>

#include "child_process.h"

using cam::CheckThread;
using cam::CheckThreadIsNot;
using cam::kCallerThread;
using cam::kStreamingThread;
using cam::kWorkerThread;
using cam::ThreadRoleScope;

namespace {

void ForWorkers() {
    CheckThread(kWorkerThread);
}
void NotForStreaming() {
    CheckThreadIsNot(kStreamingThread);
}

DWORD WINAPI OtherThread(void*) {
    CheckThread(kCallerThread);  // what another thread has declared counts for that one
    const ThreadRoleScope role(kStreamingThread);
    CheckThread(kStreamingThread);
    return 1;
}

}  // namespace

TEST_CASE("a thread has the role that it declared last, for as long as that lasts") {
    CheckThread(kCallerThread);
    const ThreadRoleScope worker(kWorkerThread);
    {
        const ThreadRoleScope streaming(kStreamingThread);
        CheckThread(kStreamingThread);
        CheckThreadIsNot(kWorkerThread);
    }
    SetLastError(1234);
    ForWorkers();
    NotForStreaming();
    CHECK(GetLastError() == 1234);
    const cam::UniqueHandle thread(CreateThread(nullptr, 0, OtherThread, nullptr, 0, nullptr));
    REQUIRE(WaitForSingleObject(thread.get(), 10000) == WAIT_OBJECT_0);
    DWORD returned = 0;
    GetExitCodeThread(thread.get(), &returned);
    CHECK(returned == 1);
}

TEST_CASE("child: a worker's function on a caller" * doctest::skip()) {
    ForWorkers();
}
TEST_CASE("child: a function that streaming threads keep away from" * doctest::skip()) {
    const ThreadRoleScope role(kStreamingThread);
    NotForStreaming();
}

TEST_CASE("a function on the wrong thread ends the process, and says which and why") {
    struct Case {
        const wchar_t* child;
        const char* message;
    };
    for (const Case& c : {Case{L"child: a worker's function on a caller",
                               "ForWorkers runs on a caller thread; it is for worker threads"},
                          {L"child: a function that streaming threads keep away from",
                           "NotForStreaming runs on a streaming thread; it is not for streaming threads"}}) {
        const ChildResult result = RunTestCaseAlone(c.child);
        CHECK(result.exitCode == cam::kWrongThreadExitCode);
        CHECK(result.errors.find(c.message) != std::string::npos);
    }
}
