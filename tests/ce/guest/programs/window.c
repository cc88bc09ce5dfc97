/* A window with a timer and a message from another thread; the command line's number is the exit code. */
#include <windows.h>

#include <stdlib.h>

static int g_ticks, g_code;

static DWORD WINAPI Send(void* window) {
    return (DWORD)SendMessageW((HWND)window, WM_APP, 20, 22);
}

static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_CREATE:
            SetTimer(window, 7, 100, NULL);
            return 0;
        case WM_TIMER:
            if (++g_ticks == 3) PostMessageW(window, WM_CLOSE, 0, 0);
            return 0;
        case WM_APP:
            return (LRESULT)(first + (WPARAM)second);
        case WM_DESTROY:
            PostQuitMessage(g_code + g_ticks);
            return 0;
        default:
            return DefWindowProcW(window, message, first, second);
    }
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR commandLine, int show) {
    WNDCLASSW windowClass = {0};
    HWND window;
    HANDLE thread;
    MSG message;
    DWORD answer = 0;
    const DWORD start = GetTickCount();
    (void)previous;
    g_code = atoi(commandLine);
    windowClass.lpfnWndProc = Procedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"Sample";
    RegisterClassW(&windowClass);
    window = CreateWindowExW(0, L"SAMPLE", L"Title", WS_VISIBLE, 0, 0, 100, 50, NULL, NULL, instance, NULL);
    if (!window) return 1;
    ShowWindow(window, show);
    thread = CreateThread(NULL, 0, Send, window, 0, NULL);
    while (GetMessageW(&message, NULL, 0, 0) > 0) DispatchMessageW(&message);
    GetExitCodeThread(thread, &answer);
    CloseHandle(thread);
    if (answer != 42 || IsWindow(window) || GetTickCount() - start < 300) return 2;
    return (int)message.wParam;
}
