// A test case in a process of its own, for what ends the process.
#pragma once

#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "base/unique_resource.h"

struct ChildResult {
    DWORD exitCode;
    std::string errors;  // what it wrote to the standard error
};

// Runs the test case of this program that has the name, also one that is marked to be skipped. A child that
// does not end within the time is ended, and its exit code is WAIT_TIMEOUT.
inline ChildResult RunTestCaseAlone(const std::wstring& name, DWORD timeoutMs = 20000) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(program) + L"\" --no-skip --test-case=\"" + name + L"\"";
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    cam::UniqueHandle read, write;
    REQUIRE(CreatePipe(read.put(), write.put(), &inherited, 0));
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = write.get();
    PROCESS_INFORMATION child = {};
    REQUIRE(
        CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &child));
    const cam::UniqueHandle process(child.hProcess), thread(child.hThread);
    write.reset();

    ChildResult result = {WAIT_TIMEOUT, {}};
    // A pipe holds more than a message: nothing need be read while the child runs.
    if (WaitForSingleObject(process.get(), timeoutMs) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.get(), &result.exitCode);
    } else {
        TerminateProcess(process.get(), WAIT_TIMEOUT);
    }
    // What is there, not up to the end: processes that the child started may hold the pipe open.
    DWORD length = 0;
    PeekNamedPipe(read.get(), nullptr, 0, nullptr, &length, nullptr);
    result.errors.resize(length);
    if (length > 0) ReadFile(read.get(), result.errors.data(), length, &length, nullptr);
    return result;
}
