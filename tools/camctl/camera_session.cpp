#include "camera_session.h"

#include <vfwmsgs.h>

#include <ocellus/cam_devices.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>

#include "base/file_extension.h"
#include "commands.h"
#include "text.h"

namespace camctl {

namespace {

constexpr wchar_t kWindowClass[] = L"camctl";
// The client area in which preview is drawn; `preview --show` alone shows it.
constexpr int kOwnerWidth = 640;
constexpr int kOwnerHeight = 480;

// Written by the library's streaming threads.
std::atomic<long> g_previewFrames;
std::atomic<bool> g_hasFormat;
PreviewFormat g_format;  // published by g_hasFormat
int g_stillsReported;    // the session's own thread

void WINAPI OnPreviewFrame(void*, DWORD, LONG, LONG, DWORD) {
    ++g_previewFrames;
}

void WINAPI OnMediaType(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                        LONG framesPerSecond) {
    g_format = {height, width, sampleSize, stride, formatCode, framesPerSecond};
    g_hasFormat = true;
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == CAM_MESSAGE_STILL_CAPTURED) {
        ++g_stillsReported;
        return 0;
    }
    if (message == WM_CLOSE) return 0;  // the window must outlive the camera
    return DefWindowProcW(window, message, wParam, lParam);
}

UniqueWindow MakeWindow(int width, int height) {
    static const ATOM registered = [] {
        WNDCLASSW windowClass = {};
        windowClass.lpfnWndProc = WindowProcedure;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = kWindowClass;
        return RegisterClassW(&windowClass);
    }();
    (void)registered;
    RECT frame = {0, 0, width, height};
    AdjustWindowRect(&frame, WS_OVERLAPPED | WS_CAPTION, FALSE);
    UniqueWindow window(CreateWindowW(kWindowClass, L"camctl", WS_OVERLAPPED | WS_CAPTION, 0, 0,
                                      frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                                      GetModuleHandleW(nullptr), nullptr));
    if (!window) {
        throw ToolError{ExitCode::NoCamera, "a window could not be made",
                        "run it where windows can be made: scripts/host.sh",
                        HRESULT_FROM_WIN32(GetLastError())};
    }
    return window;
}

// "chart", or the picture file or .y4m film of that name, as the device kit wants it.
Json SceneOf(const CameraOptions& options) {
    if (options.type == CAM_TYPE_IMAGER) {
        if (options.scene == "barcode" || options.scene == "page") return options.scene;
        throw ToolError{ExitCode::InvalidArgument, "the imager camera has no scene '" + options.scene + "'",
                        "give barcode or page"};
    }
    if (options.scene == "chart") return options.scene;
    if (GetFileAttributesW(ToWide(options.scene).c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw ToolError{ExitCode::InvalidArgument, "there is no scene '" + options.scene + "'",
                        "give chart, or a picture file or .y4m film that exists"};
    }
    const bool isFilm = cam::SameExtension(cam::FileExtension(ToWide(options.scene).c_str()), L".y4m");
    return {{isFilm ? "film" : "picture", options.scene}};
}

// Tells the device kit, if that is the camera, what to play.
void SetScenario(const CameraOptions& options) {
    if (options.scene.empty() && options.scenario.empty()) return;
    std::string scenario = options.scenario;
    const size_t first = scenario.find_first_not_of(" \t\r\n");
    const bool isFile = first != std::string::npos && scenario[first] != '{';
    if (isFile && GetFileAttributesW(ToWide(scenario).c_str()) == INVALID_FILE_ATTRIBUTES) {
        throw ToolError{ExitCode::InvalidArgument, "there is no scenario file '" + scenario + "'",
                        "give a file that exists, or JSON text in braces"};
    }
    if (!options.scene.empty()) {
        Json json = {{"scene", SceneOf(options)}};
        if (options.type == CAM_TYPE_IMAGER) json = {{"imager", json}};
        scenario = json.dump();
    }
    SetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", ToWide(scenario).c_str());
}

ExitCode ExitCodeFor(camResult result) {
    switch (result) {
        case camNotInitialised:
            return ExitCode::NoCamera;
        case camInvalidArgument:
            return ExitCode::InvalidArgument;
        default:
            return result < 0 ? ExitCode::NoCamera : ExitCode::CaptureFailed;
    }
}

const char* RemedyFor(camResult result) {
    switch (result) {
        case camNotInitialised:
            return "select a camera type that exists: --type dshow or --type imager";
        case camInvalidArgument:
            return "ask 'camctl props' and 'camctl formats' for what this camera accepts";
        case camCaptureFailed:
            return "the camera driver refused; check that preview runs: camctl preview --seconds 2";
        case camFailed:
            return "the camera driver refused; check the connection and try again";
        default:
            break;
    }
    if (HRESULT_FACILITY(result) == FACILITY_WIN32 && HRESULT_CODE(result) == ERROR_NO_MORE_FILES)
        return "no active camera device was found; connect one, or register the device kit: run.sh does it";
    if (result == REGDB_E_CLASSNOTREG)
        return "a filter class is not registered; register ocellus.dll and devicekit.dll: scripts/host.sh "
               "does it";
    if (HRESULT_FACILITY(result) == FACILITY_WIN32 && HRESULT_CODE(result) == ERROR_MOD_NOT_FOUND)
        return "the imager library Imvoxa.dll must stand beside ocellus.dll";
    if (HRESULT_FACILITY(result) == FACILITY_WIN32) {
        switch (HRESULT_CODE(result)) {
            case ERROR_DEVICE_NOT_CONNECTED:
                return "the camera is not there; plug it in, or choose one that 'camctl list' shows";
            case ERROR_ACCESS_DENIED:
                return "cameras are switched off for privacy; allow them in ms-settings:privacy-webcam";
            case ERROR_GEN_FAILURE:
            case ERROR_BUSY:
                return "another program uses the camera; close it";
            case ERROR_NO_SYSTEM_RESOURCES:
                return "another program uses the camera, or its hub is short of bandwidth; close the "
                       "program, "
                       "or use another port";
            default:
                break;
        }
    }
    if (result == VFW_E_INVALIDMEDIATYPE)
        return "the camera sends no format that is understood; see camctl list --formats";
    return "check that the camera driver is installed and not in use by another program";
}

std::string TimeoutText(const CameraOptions& options) {
    char text[32];
    snprintf(text, sizeof text, "%g s", options.timeoutSeconds);
    return text;
}

}  // namespace

void Require(camResult result, const std::string& what) {
    if (result == camOk) return;
    throw ToolError{ExitCodeFor(result), what + " failed", RemedyFor(result), result};
}

double Seconds() {
    static const double frequency = [] {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        return static_cast<double>(value.QuadPart);
    }();
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart) / frequency;
}

CameraSession::CameraSession(const CameraOptions& wanted) : options(wanted) {
    SetScenario(options);
    // The library takes a file that is not there for one without settings.
    if (options.type == CAM_TYPE_DSHOW && !options.settingsFile.empty())
        RequireSettingsFile(options.settingsFile);
    g_previewFrames = 0;
    g_hasFormat = false;
    g_stillsReported = 0;
    if (!options.camera.empty() && options.type == CAM_TYPE_DSHOW)
        Require(camChooseDevice(ToWide(options.camera).c_str()), "choosing the camera");
    ownerWindow = MakeWindow(kOwnerWidth, kOwnerHeight);
    if (options.showWindow) ShowWindow(OwnerWindow(), SW_SHOW);
    eventsWindow = MakeWindow(1, 1);
    const std::wstring file = ToWide(options.settingsFile);
    const std::wstring section = ToWide(options.settingsSection);
    const camResult result = camSelect(OwnerWindow(), file.empty() ? nullptr : file.c_str(),
                                       section.empty() ? nullptr : section.c_str(), options.type);
    if (result != camOk) {
        camShutDown();
        if (result == E_INVALIDARG && !(options.scene.empty() && options.scenario.empty())) {
            throw ToolError{ExitCode::NoCamera, "bringing up the camera failed",
                            "the device kit says above what is wrong with the scene or scenario; correct it",
                            result};
        }
        Require(result, "bringing up the camera");
    }
    camSetEventsWindow(eventsWindow.get());
    camRegisterPreviewCallback(OnPreviewFrame);
    camRegisterMediaTypeCallback(OnMediaType);
}

CameraSession::~CameraSession() {
    camRegisterPreviewCallback(nullptr);
    camRegisterMediaTypeCallback(nullptr);
    camShutDown();
}

template <typename Condition>
bool CameraSession::PumpUntil(double seconds, Condition condition) {
    const double deadline = Seconds() + seconds;
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (condition()) return true;
        const double left = deadline - Seconds();
        if (left <= 0) return false;
        // Frames are counted by another thread without a message: look again after a few milliseconds.
        const DWORD milliseconds = static_cast<DWORD>(std::ceil(std::min(left, 0.005) * 1000));
        MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
}

void CameraSession::StartPreview() {
    g_previewFrames = 0;
    const camResult result = camStartPreview();
    // Why a webcam could not be started is worth more than that it could not.
    camStreamState stream = {};
    if (camGetStreamState(&stream) == camOk && stream.startResult < 0)
        Require(stream.startResult, "starting preview");
    Require(result, "starting preview");
}

void CameraSession::StopPreview() {
    Require(camStopPreview(), "stopping preview");
}

void CameraSession::SkipFrames(long count) {
    const double deadline = Seconds() + options.timeoutSeconds;
    const auto enough = [&] { return g_previewFrames >= count; };
    while (!PumpUntil(std::min(0.5, deadline - Seconds()), enough)) {
        const std::string frames = std::to_string(g_previewFrames) + " of " + std::to_string(count);
        ShowProgress("preview frame " + frames);
        if (Seconds() < deadline) continue;
        throw ToolError{ExitCode::Timeout,
                        "only " + frames + " preview frames came within " + TimeoutText(options),
                        "check the camera, or allow more time with --timeout"};
    }
}

void CameraSession::Pump(double seconds) {
    PumpUntil(seconds, [] { return false; });
}

double CameraSession::Snap(const std::wstring& file, int mode, const ocellus::PictureText* text) {
    const int reportedBefore = g_stillsReported;
    stillName = file;
    const double start = Seconds();
    Require(text ? text->Snap(stillName.c_str(), mode) : camSnapPicture(stillName.c_str(), mode),
            "taking the picture '" + ToUtf8(file) + "'");
    if (!PumpUntil(options.timeoutSeconds, [&] { return g_stillsReported != reportedBefore; })) {
        throw ToolError{ExitCode::Timeout,
                        "the picture '" + ToUtf8(file) + "' was not reported within " + TimeoutText(options),
                        options.type == CAM_TYPE_IMAGER
                            ? "check that the file may be written, since this camera reports no failed "
                              "picture; or allow more time with --timeout"
                            : "check the camera, or allow more time with --timeout"};
    }
    return Seconds() - start;
}

std::vector<Size> CameraSession::Resolutions() const {
    int count = 0;
    Require(camGetResolutionCount(&count), "asking for the still resolutions");
    std::vector<Size> sizes;
    for (int index = 0; index < count; ++index) {
        Size size = {};
        Require(camGetResolutionDimensions(&size.height, &size.width, index),
                "asking for still resolution " + std::to_string(index));
        sizes.push_back(size);
    }
    return sizes;
}

void CameraSession::SelectResolution(int index) {
    Require(camSetResolution(index), "selecting still resolution " + std::to_string(index));
}

void CameraSession::SelectResolution(Size size) {
    const std::vector<Size> sizes = Resolutions();
    std::string known;  // each once, though a camera may have a size in several pixel formats
    for (size_t index = 0; index < sizes.size(); ++index) {
        if (sizes[index] == size) {
            SelectResolution(static_cast<int>(index));
            return;
        }
        const std::string name =
            std::to_string(sizes[index].width) + "x" + std::to_string(sizes[index].height);
        if ((" " + known + ",").find(" " + name + ",") == std::string::npos)
            known += (known.empty() ? "" : ", ") + name;
    }
    throw ToolError{ExitCode::InvalidArgument,
                    "--size " + std::to_string(size.width) + "x" + std::to_string(size.height) +
                        " is no still resolution of this camera",
                    "give one of " + known};
}

long CameraSession::PreviewFrames() const {
    return g_previewFrames;
}

std::optional<PreviewFormat> CameraSession::Format() const {
    if (!g_hasFormat) return std::nullopt;
    return g_format;
}

}  // namespace camctl
