#include <doctest/doctest.h>

#include "base/unique_resource.h"
#include "platform/desktop/message_queue.h"
#include "platform/platform.h"

using namespace cam::platform;

namespace {

constexpr DWORD kLongEnough = 5000;  // ms; nothing here takes that long unless it is broken

HANDLE MakeQueue(DWORD messages = 3, DWORD size = 144) {
    MSGQUEUEOPTIONS options = {sizeof options, 0, messages, size, TRUE};
    return CreateMsgQueue(nullptr, &options);
}

HWND NotificationWindow() {
    for (HWND window = nullptr;
         (window = FindWindowExW(nullptr, window, L"OcellusPowerNotifications", nullptr));) {
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process == GetCurrentProcessId()) return window;
    }
    return nullptr;
}

}  // namespace

TEST_CASE("a queue is signalled while it holds messages, and gives them back in order") {
    const HANDLE queue = MakeQueue();
    REQUIRE(queue);
    char buffer[8];
    DWORD read = 99, flags = 99;
    CHECK_FALSE(ReadMsgQueue(queue, buffer, sizeof buffer, &read, 0, &flags));
    CHECK(GetLastError() == ERROR_TIMEOUT);
    CHECK(WaitForSingleObject(queue, 0) == WAIT_TIMEOUT);

    CHECK(WriteMsgQueue(queue, "one", 4));
    CHECK(WriteMsgQueue(queue, "two", 4));
    CHECK(WriteMsgQueue(queue, "3456789AB", 10));
    CHECK_FALSE(WriteMsgQueue(queue, "x", 1));  // full: lost
    CHECK(WaitForSingleObject(queue, 0) == WAIT_OBJECT_0);
    CHECK(ReadMsgQueue(queue, buffer, sizeof buffer, &read, 0, &flags));
    CHECK(((read == 4) && (flags == 0) && !strcmp(buffer, "one")));
    CHECK(WaitForSingleObject(queue, 0) == WAIT_OBJECT_0);
    CHECK(ReadMsgQueue(queue, buffer, sizeof buffer, &read, 0, &flags));
    CHECK(!strcmp(buffer, "two"));
    CHECK_FALSE(ReadMsgQueue(queue, buffer, sizeof buffer, &read, 0, &flags));  // longer than the buffer: cut
    CHECK(GetLastError() == ERROR_INSUFFICIENT_BUFFER);
    CHECK(((read == sizeof buffer) && !memcmp(buffer, "3456789A", 8)));
    CHECK(WaitForSingleObject(queue, 0) == WAIT_TIMEOUT);
    CHECK(CloseMsgQueue(queue));
    CHECK_FALSE(CloseMsgQueue(queue));
}

TEST_CASE("a message longer than the queue allows is not taken") {
    const HANDLE queue = MakeQueue(1, 4);
    CHECK_FALSE(WriteMsgQueue(queue, "12345", 5));
    CHECK(WriteMsgQueue(queue, "1234", 4));
    CHECK(CloseMsgQueue(queue));
}

TEST_CASE("a queue with a name, for writing, or without room is not made") {
    const MSGQUEUEOPTIONS good = {sizeof good, 0, 3, 144, TRUE};
    MSGQUEUEOPTIONS small = good, writing = good, empty = good;
    small.dwSize = 4;
    writing.bReadAccess = FALSE;
    empty.dwMaxMessages = 0;
    const auto refused = [](const wchar_t* name, MSGQUEUEOPTIONS options) {
        SetLastError(0);
        return CreateMsgQueue(name, &options) == nullptr && GetLastError() == ERROR_INVALID_PARAMETER;
    };
    CHECK(refused(L"name", good));
    CHECK(refused(nullptr, small));
    CHECK(refused(nullptr, writing));
    CHECK(refused(nullptr, empty));
}

TEST_CASE("a resume reaches everybody who asked, and the window goes with the last of them") {
    CHECK(NotificationWindow() == nullptr);
    for (int round = 0; round < 2; ++round) {
        const HANDLE first = MakeQueue(), second = MakeQueue();
        const HANDLE firstRequest = RequestPowerNotifications(first, kPowerResume);
        const HANDLE secondRequest = RequestPowerNotifications(second, kPowerResume);
        REQUIRE(firstRequest);
        REQUIRE(secondRequest);
        const HWND window = NotificationWindow();
        REQUIRE(window);

        CHECK(SendMessageW(window, WM_CLOSE, 0, 0) == 0);
        CHECK(IsWindow(window));
        // Of the two messages the system sends only one counts.
        CHECK(SendMessageW(window, WM_POWERBROADCAST, PBT_APMRESUMESUSPEND, 0) == TRUE);
        PostMessageW(window, WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, 0);
        const HANDLE both[] = {first, second};
        CHECK(WaitForMultipleObjects(2, both, TRUE, kLongEnough) == WAIT_OBJECT_0);
        DWORD message[32] = {};
        DWORD read = 0, flags = 0;
        CHECK(ReadMsgQueue(first, message, sizeof message, &read, 0, &flags));
        CHECK(((message[0] == kPowerResume) && (message[2] == 0) && (read == 16)));
        CHECK_FALSE(ReadMsgQueue(first, message, sizeof message, &read, 0, &flags));

        CHECK(StopPowerNotifications(firstRequest) == ERROR_SUCCESS);
        CHECK(NotificationWindow() == window);
        SendMessageW(window, WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, 0);
        CHECK(WaitForSingleObject(first, 0) == WAIT_TIMEOUT);

        CHECK(StopPowerNotifications(secondRequest) == ERROR_SUCCESS);
        CHECK(NotificationWindow() == nullptr);
        CHECK(StopPowerNotifications(secondRequest) == ERROR_INVALID_HANDLE);
        CHECK(CloseMsgQueue(first));
        CHECK(CloseMsgQueue(second));
    }
}

TEST_CASE("only resume can be asked for") {
    const HANDLE queue = MakeQueue();
    CHECK(RequestPowerNotifications(queue, 1) == nullptr);
    CHECK(RequestPowerNotifications(nullptr, kPowerResume) == nullptr);
    CHECK(NotificationWindow() == nullptr);
    CHECK(CloseMsgQueue(queue));
}

TEST_CASE("an event is set and reset through its one function") {
    const cam::UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CHECK(EventModify(event.get(), kEventSet));
    CHECK(WaitForSingleObject(event.get(), 0) == WAIT_OBJECT_0);
    CHECK(EventModify(event.get(), kEventReset));
    CHECK(WaitForSingleObject(event.get(), 0) == WAIT_TIMEOUT);
    CHECK_FALSE(EventModify(event.get(), 9));
}
