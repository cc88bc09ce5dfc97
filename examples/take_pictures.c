/*
 * A small complete application: a window with live preview. The space bar or Enter takes a picture.
 *
 *     take_pictures.exe          pictures go to picture1.jpg, picture2.jpg, ... in the current folder
 *     take_pictures.exe FILE     takes one picture into FILE and ends
 *
 * Built with the library, or by hand:
 *
 *     x86_64-w64-mingw32-gcc -municode -mwindows -Iinclude examples/take_pictures.c \
 *         build/host/bin/libocellus.dll.a -o build/host/bin/take_pictures.exe
 *
 * Two things to keep in mind in an application of your own. Messages that are sent to your windows come in
 * while a cam function waits: their handlers must not call the library then. And the message about a picture
 * comes also when its file could not be written: look at the file.
 */
#include <ocellus/cam.h>

#include <stdio.h>

static const wchar_t kName[] = L"Take pictures";

static const wchar_t* g_onlyFile; /* the one file that was asked for, or null */
static wchar_t g_file[MAX_PATH];  /* that of the last picture */
static int g_pictures;
static int g_exitCode;

static void Complain(HWND window, const wchar_t* what, camResult result) {
    wchar_t text[100];
    _snwprintf(text, 99, L"%ls failed: %ld (0x%08lX)", what, (long)result, (unsigned long)result);
    text[99] = 0;
    g_exitCode = 1;
    if (g_onlyFile) {
        PostMessageW(window, WM_CLOSE, 0, 0);
    } else {
        MessageBoxW(window, text, kName, MB_OK | MB_ICONEXCLAMATION);
    }
}

static void TakePicture(HWND window) {
    camResult result;
    if (g_onlyFile) {
        wcsncpy(g_file, g_onlyFile, MAX_PATH - 1);
    } else {
        _snwprintf(g_file, MAX_PATH - 1, L"picture%d.jpg", ++g_pictures);
    }
    DeleteFileW(g_file); /* so that the one that is there afterwards is the new one */
    result = camSnapPicture(g_file, 0);
    if (result != camOk) Complain(window, L"Taking a picture", result);
}

static void PictureTaken(HWND window) {
    wchar_t title[MAX_PATH + 50];
    const BOOL isThere = GetFileAttributesW(g_file) != INVALID_FILE_ATTRIBUTES;
    _snwprintf(title, MAX_PATH + 49, isThere ? L"%ls: %ls" : L"%ls: %ls could not be written", kName, g_file);
    SetWindowTextW(window, title);
    if (!isThere) g_exitCode = 1;
    if (g_onlyFile) PostMessageW(window, WM_CLOSE, 0, 0);
}

static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_KEYDOWN:
            if (wParam == VK_SPACE || wParam == VK_RETURN) TakePicture(window);
            return 0;
        case CAM_MESSAGE_STILL_CAPTURED:
            PictureTaken(window);
            return 0;
        case WM_CLOSE: /* the window must outlive the camera that draws into it */
            camShutDown();
            DestroyWindow(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(g_exitCode);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

static void StartCamera(HWND window) {
    camResult result = camInit(window, NULL, NULL);
    if (result != camOk) {
        Complain(window, L"Bringing up the camera", result);
        return;
    }
    camSetEventsWindow(window);
    result = camStartPreview();
    if (result != camOk) {
        Complain(window, L"Starting preview", result);
        return;
    }
    if (g_onlyFile) TakePicture(window);
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int show) {
    WNDCLASSW windowClass = {0};
    RECT frame = {0, 0, 640, 480};
    HWND window;
    MSG message;
    (void)previous;
    if (commandLine[0]) g_onlyFile = commandLine;

    windowClass.lpfnWndProc = WindowProcedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = kName;
    RegisterClassW(&windowClass);
    AdjustWindowRectEx(&frame, WS_OVERLAPPEDWINDOW, FALSE, 0);
    window = CreateWindowW(kName, kName, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                           frame.right - frame.left, frame.bottom - frame.top, NULL, NULL, instance, NULL);
    if (!window) return 1;
    ShowWindow(window, show);
    StartCamera(window);

    while (GetMessageW(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return (int)message.wParam;
}
