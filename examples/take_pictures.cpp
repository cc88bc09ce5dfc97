// Takes one picture with the C++ helper, and says what was wrong otherwise. C++17.
//
//     take_pictures_cpp.exe FILE [CAMERA]     CAMERA: name, part of a name, or position
//
// Built with the library, or by hand:
//
//     x86_64-w64-mingw32-g++-posix -std=c++17 -municode -static -Iinclude examples/take_pictures.cpp
//         build/host/bin/libocellus.dll.a -o build/host/bin/take_pictures_cpp.exe
#include <ocellus/camera.hpp>

#include <cstdio>

namespace {

// Takes the messages of this thread until `done`, or until the time is over.
template <typename Condition>
bool DispatchUntil(Condition done, DWORD timeoutMs) {
    const DWORD started = GetTickCount();
    while (!done()) {
        const DWORD gone = GetTickCount() - started;
        if (gone >= timeoutMs) return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, timeoutMs - gone, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    return true;
}

}  // namespace

int wmain(int argc, wchar_t** argv) try {
    if (argc < 2) {
        fputs("take_pictures_cpp FILE [CAMERA]\n", stderr);
        return 2;
    }
    ocellus::Camera camera;
    ocellus::CameraChoice choice;
    choice.device = argc > 2 ? argv[2] : L"";
    choice.owner =
        CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 640, 480, nullptr, nullptr, nullptr, nullptr);
    bool taken = false;
    camera.OnPictureTaken([&taken] { taken = true; });
    camera.Select(choice).OrThrow();
    camera.StartPreview().OrThrow();
    DeleteFileW(argv[1]);  // so that the one that is there afterwards is the new one
    camera.Snap(argv[1]).OrThrow();
    constexpr DWORD kLongEnough = 10'000;
    if (!DispatchUntil([&taken] { return taken; }, kLongEnough)) {
        fputs("the camera took no picture\n", stderr);
        return 1;
    }
    // The message comes also when the file could not be written.
    if (GetFileAttributesW(argv[1]) == INVALID_FILE_ATTRIBUTES) {
        fputs("the file could not be written\n", stderr);
        return 1;
    }
    return 0;
} catch (const ocellus::Error& error) {
    fprintf(stderr, "%s\n", error.what());
    return 1;
}
