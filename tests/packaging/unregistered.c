/* Takes a picture with a library that is registered nowhere, from a thread that is single-threaded for COM; or makes objects of its classes, as the
 * system finds them: by a manifest, by what an installer wrote; or keeps what the registry holds, which the system writes at once, as text below Wine.
 *     unregistered.exe LIBRARY PICTURE
 *     unregistered.exe CLASS...
 *     unregistered.exe --save MACHINE_FILE USER_FILE */
#include <ocellus/cam.h>

#include <objbase.h>
#include <stdio.h>

static int MakeObjects(wchar_t** classes) {
    CLSID id;
    IUnknown* object;
    HRESULT result = S_OK;
    CoInitializeEx(NULL, COINIT_MULTITHREADED);
    for (; *classes && SUCCEEDED(result); ++classes) {
        result = CLSIDFromString(*classes, &id);
        if (SUCCEEDED(result)) result = CoCreateInstance(&id, NULL, CLSCTX_INPROC_SERVER, &IID_IUnknown, (void**)&object);
        printf("%ls: 0x%08lX\n", *classes, (unsigned long)result);
        if (SUCCEEDED(result)) object->lpVtbl->Release(object);
    }
    CoUninitialize();
    return SUCCEEDED(result) ? 0 : 1;
}

static LONG SaveSoftware(HKEY root, const wchar_t* file) {
    HKEY key;
    LONG result = RegOpenKeyExW(root, L"Software", 0, KEY_READ, &key);
    if (result) return result;
    DeleteFileW(file);
    result = RegSaveKeyW(key, file, NULL);
    RegCloseKey(key);
    return result;
}

static int SaveRegistry(wchar_t** files) {
    HANDLE token;
    TOKEN_PRIVILEGES backup = {1, {{{0, 0}, SE_PRIVILEGE_ENABLED}}};
    LONG result;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    LookupPrivilegeValueW(NULL, SE_BACKUP_NAME, &backup.Privileges[0].Luid);
    AdjustTokenPrivileges(token, FALSE, &backup, 0, NULL, NULL);
    CloseHandle(token);
    result = SaveSoftware(HKEY_LOCAL_MACHINE, files[0]);
    if (!result) result = SaveSoftware(HKEY_CURRENT_USER, files[1]);
    if (result) printf("the registry is not saved: %ld\n", result);
    return result != 0;
}

int wmain(int count, wchar_t** arguments) {
    HMODULE library;
    HWND window;
    MSG message;
    DWORD start;
    camResult result;
    int taken = 0;
    if (count > 1 && arguments[1][0] == L'{') return MakeObjects(arguments + 1);
    if (count == 4 && wcscmp(arguments[1], L"--save") == 0) return SaveRegistry(arguments + 2);
    if (count != 3) return 2;
    CoInitializeEx(NULL, COINIT_APARTMENTTHREADED);
    library = LoadLibraryW(arguments[1]);
    if (!library) {
        printf("the library is not loaded: %lu\n", GetLastError());
        return 1;
    }
#define CALL(name) ((__typeof__(&name))(void*)GetProcAddress(library, #name))
    window = CreateWindowW(L"STATIC", NULL, 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    result = CALL(camInit)(window, NULL, NULL);
    printf("camInit: 0x%08lX\n", (unsigned long)result);
    if (result != camOk) return 1;
    CALL(camSetEventsWindow)(window);
    printf("camStartPreview: %ld\n", (long)CALL(camStartPreview)());
    printf("camSnapPicture: %ld\n", (long)CALL(camSnapPicture)(arguments[2], 0));
    for (start = GetTickCount(); !taken && GetTickCount() - start < 10000;) {
        MsgWaitForMultipleObjects(0, NULL, FALSE, 100, QS_ALLINPUT);
        while (PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
            if (message.message == CAM_MESSAGE_STILL_CAPTURED) taken = 1;
            DispatchMessageW(&message);
        }
    }
    printf("camShutDown: %ld\n", (long)CALL(camShutDown)());
    FreeLibrary(library);
    CoUninitialize();
    return taken ? 0 : 1;
}
