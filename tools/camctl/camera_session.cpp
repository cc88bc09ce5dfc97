#include "camera_session.h"

#include <vfwmsgs.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "base/file_extension.h"
#include "commands.h"
#include "library.h"
#include "text.h"

namespace camctl {

namespace {

constexpr wchar_t kWindowClass[] = L"camctl";
// The client area in which preview is drawn; `preview --show` alone shows it.
constexpr int kOwnerWidth = 640;
constexpr int kOwnerHeight = 480;

// A frame of preview counts as bright as this share of its pixels, in thousandths of white. 0 for formats
// without a rule, which then never seem to change.
constexpr size_t kPixelsMeasured = 4096;

int BrightnessOf(const ocellus::Frame& frame, LONG formatCode) {
    const size_t pixels = frame.size / sizeof(uint16_t);
    const size_t step = std::max<size_t>(1, pixels / kPixelsMeasured);
    const auto* const pixel = static_cast<const uint16_t*>(frame.pixels);
    uint64_t sum = 0, measured = 0;
    for (size_t i = 0; i < pixels; i += step, ++measured) {
        const unsigned value = pixel[i];
        // Green stands for the whole: it has most of the brightness.
        if (formatCode == CAM_FORMAT_YUY2)
            sum += (value & 0xFF) * 1000 / 255;
        else if (formatCode == CAM_FORMAT_RGB565)
            sum += (value >> 5 & 0x3F) * 1000 / 63;
        else if (formatCode == CAM_FORMAT_RGB555)
            sum += (value >> 5 & 0x1F) * 1000 / 31;
    }
    return measured ? static_cast<int>(sum / measured) : 0;
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
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
    if (result == VFW_E_NOT_FOUND)
        return "the camera does not have the pin that it had, or has none; run the command again, or "
               "choose another one with --camera";
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
    RequireLibrary();
    SetScenario(options);
    // The library takes a file that is not there for one without settings.
    if (options.type == CAM_TYPE_DSHOW && !options.settingsFile.empty())
        RequireSettingsFile(options.settingsFile);
    ownerWindow = MakeWindow(kOwnerWidth, kOwnerHeight);
    if (options.showWindow) ShowWindow(OwnerWindow(), SW_SHOW);
    camera.OnPictureTaken([this] { ++stillsReported; });
    camera.OnFormat([this](const ocellus::PreviewFormat& told) {
        format = told;
        hasFormat = true;
    });
    camera.OnPreviewFrame([this](const ocellus::Frame& frame) {
        brightness = BrightnessOf(frame, hasFormat ? format.formatCode : LONG{CAM_FORMAT_OTHER});
        ++previewFrames;
    });
    ocellus::CameraChoice choice;
    choice.owner = OwnerWindow();
    choice.type = options.type;
    if (options.type == CAM_TYPE_DSHOW) choice.device = options.camera;
    if (options.warmUpFrames > 0) Require(camSetWarmUpFrames(options.warmUpFrames), "setting the warm-up");
    choice.settingsFile = options.settingsFile;
    choice.settingsSection = options.settingsSection;
    const camResult result = camera.Select(choice).Code();
    if (result == E_INVALIDARG && !(options.scene.empty() && options.scenario.empty())) {
        throw ToolError{ExitCode::NoCamera, "bringing up the camera failed",
                        "the device kit says above what is wrong with the scene or scenario; correct it",
                        result};
    }
    Require(result, "bringing up the camera");
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
    previewFrames = 0;
    Require(camera.StartPreview().Code(), "starting preview");
}

void CameraSession::StopPreview() {
    Require(camera.StopPreview().Code(), "stopping preview");
}

void CameraSession::SkipFrames(long count) {
    const double deadline = Seconds() + options.timeoutSeconds;
    const auto enough = [&] { return previewFrames >= count; };
    while (!PumpUntil(std::min(0.5, deadline - Seconds()), enough)) {
        RequireStream();
        const std::string frames = std::to_string(previewFrames) + " of " + std::to_string(count);
        ShowProgress("preview frame " + frames);
        if (Seconds() < deadline) continue;
        throw ToolError{ExitCode::Timeout,
                        "only " + frames + " preview frames came within " + TimeoutText(options),
                        "check the camera, or allow more time with --timeout"};
    }
}

// Of a webcam: the graph may keep it to itself that it could not be started, or that it is gone.
void CameraSession::RequireStream() const {
    camStreamState stream = {};
    if (camGetStreamState(&stream) != camOk) return;
    Require(stream.startResult, "starting the webcam");
    constexpr HRESULT kGone = HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);
    if (!stream.lost) return;
    throw ToolError{ExitCode::NoCamera,
                    stream.frames > 0 ? "the webcam stopped sending, or was taken away"
                                      : "the webcam was started, and sent no frame",
                    stream.frames > 0 ? RemedyFor(kGone)
                                      : "unplug it and plug it in again; other programs show whether it "
                                        "sends anything at all",
                    kGone};
}

void CameraSession::Pump(double seconds) {
    PumpUntil(seconds, [] { return false; });
}

bool CameraSession::Settle(double seconds) {
    constexpr int kChange = 10;  // thousandths that the frames of a settled picture may differ by
    constexpr size_t kFrames = 6;
    const double deadline = Seconds() + seconds;
    std::vector<int> last;
    for (double left = seconds; left > 0; left = deadline - Seconds()) {
        const long before = previewFrames;
        ShowProgress("waiting for the brightness to settle");
        if (!PumpUntil(left, [&] { return previewFrames != before; })) return false;
        last.push_back(brightness);
        if (last.size() < kFrames) continue;
        if (last.size() > kFrames) last.erase(last.begin());
        const auto [darkest, brightest] = std::minmax_element(last.begin(), last.end());
        if (*brightest - *darkest <= kChange) return true;
    }
    return false;
}

double CameraSession::Snap(const std::wstring& file, int mode, const ocellus::PictureText* text) {
    const int reportedBefore = stillsReported;
    const double start = Seconds();
    Require((text ? camera.Snap(file, mode, *text) : camera.Snap(file, mode)).Code(),
            "taking the picture '" + ToUtf8(file) + "'");
    if (!PumpUntil(options.timeoutSeconds, [&] { return stillsReported != reportedBefore; })) {
        RequireStream();
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
    auto sizes = camera.Resolutions();
    Require(sizes.Code(), "asking for the still resolutions");
    return std::move(sizes).Or({});
}

void CameraSession::SelectResolution(int index) {
    Require(camera.SetResolution(index).Code(), "selecting still resolution " + std::to_string(index));
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
    return previewFrames;
}

std::optional<ocellus::PreviewFormat> CameraSession::Format() const {
    if (!hasFormat) return std::nullopt;
    return format;
}

}  // namespace camctl
