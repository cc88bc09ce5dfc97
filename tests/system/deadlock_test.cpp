// The owner window's thread is the one that calls: while it waits for the camera the camera's worker moves,
// hides and un-owns a child of its window; and while it works on its windows the worker, whose window the
// child is, must answer.
#include <doctest/doctest.h>

#include "harness.h"

namespace {

int painted;

LRESULT CALLBACK CountPaints(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    painted += message == WM_PAINT;
    return DefWindowProcW(window, message, wParam, lParam);
}

// Lets messages in that other threads send, and serves none that wait in the queue; whether one of them was
// worth it.
bool LetSentMessagesIn(const std::function<bool()>& done, DWORD timeoutMs) {
    const DWORD started = GetTickCount();
    while (!done() && GetTickCount() - started < timeoutMs) {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_SENDMESSAGE);
    }
    return done();
}

}  // namespace

TEST_CASE("the owner's thread can stay in the library from the first call to the last") {
    const Windows windows;
    Play(L"{}");
    const Deadline deadline("no message is served between the calls");
    REQUIRE(camInit(windows.owner(), nullptr, nullptr) == camOk);
    for (int round = 0; round < 3; ++round) {
        CHECK(camStartPreview() == camOk);
        CHECK(camSnapPicture(nullptr, 0) == camOk);
        while (State() != CAM_STATE_PREVIEWING) Sleep(1);
        CHECK(camSetResolution(round) == camOk);
        CHECK(camStopPreview() == camOk);
    }
    CHECK(camStartPreview() == camOk);
    CHECK(camShutDown() == camOk);
}

TEST_CASE("windows above the video window can be worked on while the camera is idle") {
    Camera camera;
    REQUIRE(camStartPreview() == camOk);
    const HWND video = GetWindow(camera.windows.owner(), GW_CHILD);
    REQUIRE(video);
    const Deadline deadline("work on the windows above the video");
    wchar_t text[50];
    GetWindowTextW(video, text, 50);
    SendMessageW(video, WM_GETTEXT, 50, reinterpret_cast<LPARAM>(text));
    SetFocus(camera.windows.top());
    SetFocus(camera.windows.owner());
    SetFocus(video);
    UpdateWindow(camera.windows.top());
    RedrawWindow(camera.windows.top(), nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    SetWindowPos(camera.windows.top(), nullptr, 10, 10, 500, 400, SWP_NOZORDER);
    ShowWindow(camera.windows.top(), SW_HIDE);
    ShowWindow(camera.windows.top(), SW_SHOW);
    CHECK(State() == CAM_STATE_PREVIEWING);
    DestroyWindow(camera.windows.top());
    CHECK(State() == CAM_STATE_PREVIEWING);
    CHECK(camShutDown() == camOk);
}

TEST_CASE("posted messages wait until the call has returned") {
    Camera camera;
    PostMessageW(camera.windows.events(), CAM_MESSAGE_STILL_CAPTURED, 0, 0);
    REQUIRE(camStartPreview() == camOk);
    CHECK(camera.windows.captured() == 0);
    CHECK(camera.windows.WaitForCaptured(1));
}

TEST_CASE("an idle camera has the owner window painted every four seconds") {
    Camera camera;
    REQUIRE(camera.initResult == camOk);
    SetWindowLongPtrW(camera.windows.owner(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&CountPaints));
    painted = 0;
    const DWORD idle = GetTickCount();
    InvalidateRect(camera.windows.owner(), nullptr, FALSE);
    CHECK(LetSentMessagesIn([] { return painted > 0; }, kLongEnough));
    CHECK(GetTickCount() - idle > 3000);
}
