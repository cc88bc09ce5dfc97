// Measures the camera as an application sees it, against the device kit:
//
//     the first pictures of a process         beside later ones, with text and without
//     camInit to the first preview frame      less the sleeps that belong to bringing a camera up
//     camSnapPicture to message 2623          less what the picture itself costs (conversion and file)
//     640 x 480 at 30 frames a second         frames lost
//
// or, with the kit as a webcam behind the driver, in each encoding:
//
//     camSnapPicture to the callback
//     1280 x 720 at 30 frames a second        frames lost, delay from the webcam to the callback, processor
//
// Usage: latency_bench [SECONDS [webcam]]     SECONDS of the last measurement, 60 unless told
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <vector>

#include <devicekit.h>
#include <ocellus/cam_devices.h>

#include "scene/chart_reader.h"

namespace {

// The worker's before it looks for its first command, and the two around showing the video window.
constexpr double kSleepsToFirstFrame = 300;  // ms
constexpr double kInitGoal = 150;            // ms over the sleeps
constexpr double kStillGoal = 10;            // ms over conversion and file
constexpr double kFrame = 1000.0 / 30;       // ms
constexpr int kRounds = 10;
constexpr DWORD kLongEnough = 10000;  // ms

double Now() {  // ms
    static const double frequency = [] {
        LARGE_INTEGER perSecond;
        QueryPerformanceFrequency(&perSecond);
        return static_cast<double>(perSecond.QuadPart) / 1000;
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / frequency;
}

struct Samples {
    std::vector<double> values;
    void Add(double value) { values.push_back(value); }
    double Median() {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }
    double Largest() { return *std::max_element(values.begin(), values.end()); }
};

[[noreturn]] void Fail(const char* what) {
    printf("latency_bench: %s\n", what);
    exit(1);
}

HANDLE firstFrame;
double firstFrameAt;
double stillAt;

void WINAPI NoteFirstFrame(void*, DWORD, LONG, LONG, DWORD) {
    if (WaitForSingleObject(firstFrame, 0) == WAIT_OBJECT_0) return;
    firstFrameAt = Now();
    SetEvent(firstFrame);
}

void WINAPI NoteStill(void*, DWORD, LONG, LONG, DWORD) {
    stillAt = Now();
}

// Notes when the file has been written, before the camera's own worker is told.
struct SavedWatch {
    HANDLE saved = CreateEventW(nullptr, FALSE, FALSE, L"CAPTURED_IMAGE_SAVED");
    HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE noted = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    double at = 0;
    HANDLE thread = CreateThread(nullptr, 0, Watch, this, 0, nullptr);

    static DWORD WINAPI Watch(void* argument) {
        auto& self = *static_cast<SavedWatch*>(argument);
        const HANDLE either[] = {self.stop, self.saved};
        while (WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
            self.at = Now();
            SetEvent(self.noted);
        }
        return 0;
    }
};

void MeasureInit(HWND window) {
    Samples total;
    for (int round = 0; round < kRounds; ++round) {
        ResetEvent(firstFrame);
        const double begin = Now();
        if (camInit(window, nullptr, nullptr) != camOk) Fail("the camera could not be brought up");
        camRegisterPreviewCallback(NoteFirstFrame);
        if (camStartPreview() != camOk) Fail("preview did not start");
        if (WaitForSingleObject(firstFrame, kLongEnough) != WAIT_OBJECT_0) Fail("no frame came");
        total.Add(firstFrameAt - begin);
        camRegisterPreviewCallback(nullptr);
        camShutDown();
    }
    printf(
        "camInit to first frame: median %.1f ms, largest %.1f ms; over the sleeps of %.0f ms: %.1f ms (goal "
        "%.0f)\n",
        total.Median(), total.Largest(), kSleepsToFirstFrame, total.Median() - kSleepsToFirstFrame,
        kInitGoal);
}

double WaitForMessage() {
    const double end = Now() + kLongEnough;
    while (Now() < end) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == CAM_MESSAGE_STILL_CAPTURED) return Now();
            DispatchMessageW(&message);
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, kLongEnough, QS_ALLINPUT);
    }
    Fail("no picture came");
}

void MeasureStill(HWND window, const wchar_t* extension) {
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    wcscat(path, L"latency_bench");
    wcscat(path, extension);
    if (camInit(window, nullptr, nullptr) != camOk) Fail("the camera could not be brought up");
    camSetEventsWindow(window);
    camRegisterStillImageCallback(NoteStill);
    if (camStartPreview() != camOk) Fail("preview did not start");
    SavedWatch watch;
    Samples total, toCallback, file, overhead;
    for (int round = 0; round < kRounds; ++round) {
        const double begin = Now();
        if (camSnapPicture(path, 0) != camOk) Fail("no picture could be triggered");
        const double told = WaitForMessage();
        WaitForSingleObject(watch.noted, kLongEnough);
        total.Add(told - begin);
        toCallback.Add(stillAt - begin);
        file.Add(watch.at - stillAt);
        overhead.Add(told - begin - (watch.at - stillAt));
    }
    SetEvent(watch.stop);
    WaitForSingleObject(watch.thread, kLongEnough);
    camRegisterStillImageCallback(nullptr);
    camShutDown();
    DeleteFileW(path);
    printf(
        "picture %ls: trigger to message median %.1f ms (largest %.1f): to the callback %.1f, file %.1f; "
        "over the "
        "file: %.1f ms (goal %.0f)\n",
        extension, total.Median(), total.Largest(), toCallback.Median(), file.Median(), overhead.Median(),
        kStillGoal);
}

// The first pictures of a process; before anything else is measured.
void MeasureFirst(HWND window, const wchar_t* extension, const wchar_t* text) {
    constexpr int kPictures = 6;
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    wcscat(path, L"latency_bench");
    wcscat(path, extension);
    LOGFONTW wanted = {};
    wanted.lfHeight = 16;
    wcscpy(wanted.lfFaceName, L"DejaVu Sans");
    const HFONT font = CreateFontIndirectW(&wanted);
    if (camInit(window, nullptr, nullptr) != camOk) Fail("the camera could not be brought up");
    camSetEventsWindow(window);
    if (camStartPreview() != camOk) Fail("preview did not start");
    Sleep(1000);  // ms: until nothing of the start is under way
    Samples later;
    double first = 0;
    for (int i = 0; i < kPictures; ++i) {
        const double begin = Now();
        if (camSnapPictureWithText(path, 0, reinterpret_cast<UINT_PTR>(text), text ? wcslen(text) : 0, 10,
                                   0x41FFFFFF, reinterpret_cast<UINT_PTR>(font)) != camOk)
            Fail("no picture could be triggered");
        const double time = WaitForMessage() - begin;
        if (i == 0) first = time;
        if (i > 0) later.Add(time);
    }
    camShutDown();
    DeleteObject(font);
    DeleteFileW(path);
    printf("first picture %ls%s: trigger to message %.1f ms, the next ones' median %.1f\n", extension,
           text ? " with text" : "", first, later.Median());
}

LONG framesSeen;
LONG framesLost;
int lastNumber;

void WINAPI CountFrame(void* bytes, DWORD size, LONG height, LONG width, DWORD) {
    constexpr int kNumbers = 1 << kit::chart::kCounterBits;
    const kit::Format format = {kit::Layout::Rgb555, width, abs(height), height < 0};
    const int number = kit::FrameNumber({static_cast<const BYTE*>(bytes), size}, format);
    if (framesSeen++ > 0) framesLost += (number - lastNumber + kNumbers - 1) % kNumbers;
    lastNumber = number;
}

void MeasureLoss(HWND window, int seconds) {
    if (camInit(window, nullptr, nullptr) != camOk) Fail("the camera could not be brought up");
    camRegisterPreviewCallback(CountFrame);
    if (camStartPreview() != camOk) Fail("preview did not start");
    const double begin = Now();
    while (Now() - begin < seconds * 1000.0) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
    }
    camStopPreview();
    const double passed = (Now() - begin) / 1000;
    camRegisterPreviewCallback(nullptr);
    camShutDown();
    printf("preview 640 x 480 at 30: %ld frames in %.1f s, %ld lost\n", framesSeen, passed, framesLost);
}

// ---- Webcams ----------------------------------------------------------------------------------------------

Samples delays;

// On the webcam's own thread, inside its delivery.
void WINAPI CountDelay(void* bytes, DWORD size, LONG height, LONG width, DWORD format) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    const double sent = static_cast<double>(kitFrameSent()) * 1000 / static_cast<double>(frequency.QuadPart);
    delays.Add(Now() - sent);
    CountFrame(bytes, size, height, width, format);
}

// Seconds that the process has worked.
double Worked() {
    FILETIME begin, end, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &begin, &end, &kernel, &user);
    const auto seconds = [](const FILETIME& time) {
        return static_cast<double>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime) /
               1e7;
    };
    return seconds(kernel) + seconds(user);
}

// Share of one core that the process takes while preview runs.
double ShareWhileRunning(HWND window, int seconds, int warmUpFrames) {
    camSetWarmUpFrames(warmUpFrames);
    if (camInit(window, nullptr, nullptr) != camOk) Fail("the camera could not be brought up");
    camRegisterPreviewCallback(CountDelay);
    if (camStartPreview() != camOk) Fail("preview did not start");
    const double begin = Now(), before = Worked();
    while (Now() - begin < seconds * 1000.0) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
    }
    const double share = (Worked() - before) * 1000 / (Now() - begin);
    camStopPreview();
    camRegisterPreviewCallback(nullptr);
    camShutDown();
    return share;
}

void MeasureWebcam(HWND window, int seconds, const char* encoding) {
    wchar_t scenario[300], error[300] = L"";
    swprintf(scenario, 300,
             L"{\"webcams\": [{\"name\": \"Latency\"}], \"webcamFormats\": [{\"encoding\": \"%hs\", "
             L"\"width\": 1280, \"height\": 720}]}",
             encoding);
    if (!kitLoadScenario(scenario, error, 300)) Fail("the device kit refuses the scenario");
    camChooseDevice(L"Latency");
    camSetWarmUpFrames(0);
    printf(
        "%s, 1280 x 720 at 30 a second; aims: to the callback of a picture at most %.1f ms, delay at most "
        "%.1f ms, no frame lost\n",
        encoding, 1.5 * kFrame, kFrame);
    MeasureStill(window, L".bmp");
    framesSeen = framesLost = 0;
    delays.values.clear();
    const double all = ShareWhileRunning(window, seconds, 0);
    const LONG seen = framesSeen, lost = framesLost;
    const double median = delays.Median(), largest = delays.Largest();
    const double others = ShareWhileRunning(window, std::max(1, seconds / 2), 1'000'000);
    printf(
        "preview: %ld frames in %d s, %ld lost; webcam to callback: median %.1f ms, largest %.1f; "
        "processor: %.0f %% of a core, without the kit's own drawing %.0f %%\n",
        seen, seconds, lost, median, largest, all * 100, (all - others) * 100);
}

void MeasureWebcams(HWND window, int seconds) {
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"1");
    for (const char* encoding : {"YUY2", "NV12", "MJPG", "RGB24"}) MeasureWebcam(window, seconds, encoding);
    kitLoadScenario(L"{\"webcams\": []}", nullptr, 0);
}

}  // namespace

int main(int count, char** arguments) {
    const int seconds = count > 1 ? atoi(arguments[1]) : 60;
    firstFrame = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    wchar_t error[300] = L"";
    if (!kitLoadScenario(LR"({"stillFormats": [{"width": 640, "height": 480, "subtype": "YUY2"}]})", error,
                         300)) {
        printf("%ls\n", error);
        return 1;
    }
    const HWND window = CreateWindowW(L"STATIC", L"latency", WS_POPUP | WS_VISIBLE, 0, 0, 320, 240, nullptr,
                                      nullptr, nullptr, nullptr);
    if (count > 2 && strcmp(arguments[2], "webcam") == 0) {
        MeasureWebcams(window, seconds);
        DestroyWindow(window);
        return 0;
    }
    MeasureFirst(window, L".bmp", nullptr);
    for (const wchar_t* extension : {L".bmp", L".jpg", L".png", L".tif"})
        MeasureFirst(window, extension, L"Ward 7, bed 12, 24 chars\n2026-11-21 12:30:45 here");
    MeasureInit(window);
    for (const wchar_t* extension : {L".bmp", L".jpg", L".png", L".tif"}) MeasureStill(window, extension);
    MeasureLoss(window, seconds);
    DestroyWindow(window);
    return 0;
}
