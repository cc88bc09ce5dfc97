// The library's own functions are checked to run on the threads that they belong to: a command that the
// worker sends to itself would be waited for in vain.
#include <doctest/doctest.h>

#include "base/thread_role.h"
#include "child_process.h"
#include "harness.h"

namespace {

void WINAPI SnapFromTheWorker(LONG, LONG, DWORD, DWORD, LONG, LONG) {
    camSnapPicture(nullptr, 0);
}

}  // namespace

TEST_CASE("child: a command from the worker" * doctest::skip()) {
    Camera camera;
    camRegisterMediaTypeCallback(SnapFromTheWorker);
    camStartPreview();
}

TEST_CASE("a command from the worker to itself ends the process in a checked build") {
    const ChildResult result = RunTestCaseAlone(L"child: a command from the worker");
    CHECK(result.exitCode == cam::kWrongThreadExitCode);
    CHECK(result.errors.find("GraphForCommand runs on a worker thread; it is for caller threads") !=
          std::string::npos);
}
