// The camera for C++: an owner, callbacks that are functions, results that throw or not as you like, and texts
// in UTF-16 or UTF-8. C++17, header only; the contracts stand in ocellus/cam.h and ocellus/cam_devices.h.
//
//     ocellus::Camera camera;
//     ocellus::CameraChoice choice;
//     choice.owner = window;                             // in which preview is drawn
//     camera.Select(choice).OrThrow();
//     camera.StartPreview().OrThrow();                   // an ocellus::Error says what failed, and the remedy
//     camera.OnPictureTaken([&] { ... });                // comes with the messages of this thread
//     if (auto result = camera.Snap("page.png"); !result)
//         Show(result.Name(), result.Remedy());          // no exception unless you ask for it
#pragma once

#include <ocellus/cam.h>
#include <ocellus/cam_devices.h>
#include <ocellus/cam_results.hpp>
#include <ocellus/cam_text.hpp>

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ocellus {

inline std::wstring ToUtf16(std::string_view utf8) {
    const int size = static_cast<int>(utf8.size());
    std::wstring text(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0)), 0);
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.data(), static_cast<int>(text.size()));
    return text;
}

inline std::string ToUtf8(std::wstring_view utf16) {
    const int size = static_cast<int>(utf16.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(needed), 0);
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, text.data(), needed, nullptr, nullptr);
    return text;
}

// An argument: UTF-16 as it is, or UTF-8. Empty stands for null, which is "none" wherever a text is handed
// over here.
class Text {
  public:
    Text() = default;
    Text(const wchar_t* utf16) : words(utf16 ? utf16 : L"") {}
    Text(std::wstring utf16) : words(std::move(utf16)) {}
    Text(const char* utf8) : words(ToUtf16(utf8 ? utf8 : "")) {}
    Text(const std::string& utf8) : words(ToUtf16(utf8)) {}

    const wchar_t* OrNull() const { return words.empty() ? nullptr : words.c_str(); }
    const std::wstring& String() const { return words; }

  private:
    std::wstring words;
};

// ---- Results ------------------------------------------------------------------------------------------------

class Error : public std::exception {
  public:
    Error(const char* failedCall, camResult why)
        : call(failedCall),
          result(why),
          words(call + " failed: " + ToUtf8(ResultName(why)) + ". " + ToUtf8(ocellus::Remedy(why))) {}

    camResult Code() const { return result; }
    const std::string& Call() const { return call; }
    const char* what() const noexcept override { return words.c_str(); }  // UTF-8, with the remedy

  private:
    std::string call;
    camResult result;
    std::string words;
};

struct Nothing {};

// What a call gives: a value if it succeeded, and its result in any case.
template <typename Value = Nothing>
class [[nodiscard]] Result {
  public:
    Result(const char* calledFunction, camResult got, Value produced = {})
        : call(calledFunction), result(got), value(std::move(produced)) {}

    explicit operator bool() const { return result == camOk; }
    camResult Code() const { return result; }
    const char* Call() const { return call; }
    std::wstring Name() const { return ResultName(result); }
    std::wstring_view Remedy() const { return ocellus::Remedy(result); }

    // The value, or an Error.
    Value OrThrow() && {
        if (result != camOk) throw Error(call, result);
        return std::move(value);
    }
    // The value, or this one.
    Value Or(Value otherwise) && { return result == camOk ? std::move(value) : std::move(otherwise); }

  private:
    const char* call;
    camResult result;
    Value value;
};

// ---- Values -------------------------------------------------------------------------------------------------

struct Size {
    long width = 0;
    long height = 0;
    friend bool operator==(Size a, Size b) { return a.width == b.width && a.height == b.height; }
    friend bool operator!=(Size a, Size b) { return !(a == b); }
};

struct PropertyRange {
    long minimum = 0, maximum = 0, step = 0, defaultValue = 0;
    long flags = 0;  // CAM_FLAG_..., perhaps both
};

struct PropertyValue {
    long value = 0;
    long flags = 0;
};

// As camFrameCallback has it.
struct Frame {
    void* pixels;
    DWORD size;
    LONG height;
    LONG width;
    DWORD stride;
};

// As camMediaTypeCallback has it.
struct PreviewFormat {
    LONG height = 0;
    LONG width = 0;
    DWORD sampleSize = 0;
    DWORD stride = 0;
    LONG formatCode = CAM_FORMAT_OTHER;
    LONG framesPerSecond = 0;
};

struct CameraChoice {
    HWND owner = nullptr;  // in which preview is drawn; must outlive the camera
    int type = CAM_TYPE_DSHOW;
    Text device;  // as in camChooseDevice; empty: unchosen
    Text settingsFile;
    Text settingsSection;
};

using FrameFunction = std::function<void(const Frame&)>;
using FormatFunction = std::function<void(const PreviewFormat&)>;

// ---- Cameras there are --------------------------------------------------------------------------------------

inline Result<std::vector<camDevice>> Devices() {
    int count = 0;
    camResult result = camListDevices(nullptr, 0, &count);
    std::vector<camDevice> devices(static_cast<size_t>(count));
    if (result == camOk) result = camListDevices(devices.data(), count, &count);
    if (static_cast<size_t>(count) < devices.size()) devices.resize(static_cast<size_t>(count));
    return {"camListDevices", result, std::move(devices)};
}

// Opens the webcam for as long as it takes.
inline Result<std::vector<camDeviceFormat>> DeviceFormats(const Text& device) {
    constexpr size_t kMaxFormats = 1000;
    std::vector<camDeviceFormat> formats(kMaxFormats);
    int count = 0;
    const camResult result =
        camListDeviceFormats(device.OrNull(), formats.data(), static_cast<int>(kMaxFormats), &count);
    formats.resize(static_cast<size_t>(count) < kMaxFormats ? static_cast<size_t>(count) : kMaxFormats);
    return {"camListDeviceFormats", result, std::move(formats)};
}

inline Result<> SetWarmUpFrames(int frames) {
    return {"camSetWarmUpFrames", camSetWarmUpFrames(frames)};
}

inline Result<> WatchDevices(HWND window, UINT message) {
    return {"camWatchDevices", camWatchDevices(window, message)};
}

// ---- Callbacks ----------------------------------------------------------------------------------------------

namespace detail {

// One of the library's callbacks, which carry no context: there is one current camera in a process. What is
// replaced does not run any more when Set returns; who replaces it waits for a call that is under way. Plain
// critical sections, since Windows CE has nothing else.
template <typename Function>
class Slot {
  public:
    Slot() { InitializeCriticalSection(&lock); }
    ~Slot() { DeleteCriticalSection(&lock); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    void Set(Function wanted) {
        auto next = wanted ? std::make_shared<const Function>(std::move(wanted)) : nullptr;
        EnterCriticalSection(&lock);
        function.swap(next);
        LeaveCriticalSection(&lock);
    }

    // The library is C and lets no exception through: one ends the program.
    template <typename... Arguments>
    void Call(const Arguments&... arguments) noexcept {
        EnterCriticalSection(&lock);
        if (const auto current = function) (*current)(arguments...);
        LeaveCriticalSection(&lock);
    }

  private:
    CRITICAL_SECTION lock;
    std::shared_ptr<const Function> function;  // shared, since a function may replace itself
};

inline Slot<FrameFunction> previewSlot;
inline Slot<FrameFunction> stillSlot;
inline Slot<FormatFunction> formatSlot;

inline void WINAPI PreviewFrame(void* pixels, DWORD size, LONG height, LONG width, DWORD stride) {
    previewSlot.Call(Frame{pixels, size, height, width, stride});
}
inline void WINAPI StillPicture(void* pixels, DWORD size, LONG height, LONG width, DWORD stride) {
    stillSlot.Call(Frame{pixels, size, height, width, stride});
}
inline void WINAPI MediaType(LONG height, LONG width, DWORD sampleSize, DWORD stride, LONG formatCode,
                             LONG framesPerSecond) {
    formatSlot.Call(PreviewFormat{height, width, sampleSize, stride, formatCode, framesPerSecond});
}

}  // namespace detail

// ---- The camera ---------------------------------------------------------------------------------------------

// Owns the current camera: shuts it down when it goes. One object at a time, since there is one current camera
// in a process. Threads as cam.h has them: calls from anywhere, not two at a time; the functions given to
// OnPreviewFrame, OnStillPicture and OnFormat run on the library's threads, must not call the camera and must
// not throw.
class Camera {
  public:
    Camera() = default;
    ~Camera() {
        OnPictureTaken(nullptr);
        OnPreviewFrame(nullptr);
        OnStillPicture(nullptr);
        OnFormat(nullptr);
        // Refused inside a message that the camera's thread waits for: let the object live longer than that.
        camShutDown();
        if (eventsWindow) DestroyWindow(eventsWindow);
    }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    // Replaces the camera that there is. The callbacks stay.
    Result<> Select(const CameraChoice& choice) {
        if (const camResult chosen = camChooseDevice(choice.device.OrNull()); chosen != camOk)
            return {"camChooseDevice", chosen};
        const camResult result = camSelect(choice.owner, choice.settingsFile.OrNull(),
                                           choice.settingsSection.OrNull(), choice.type);
        if (result != camOk) return {"camSelect", result};
        camRegisterPreviewCallback(detail::PreviewFrame);
        camRegisterStillImageCallback(detail::StillPicture);
        camRegisterMediaTypeCallback(detail::MediaType);
        if (eventsWindow) camSetEventsWindow(eventsWindow);
        streamIsOld = IsOfADriver(choice);
        return {"camSelect", result};
    }
    Result<> ShutDown() { return {"camShutDown", camShutDown()}; }

    // A webcam that cannot be started says why in its stream's state; that is worth more.
    Result<> StartPreview() {
        const camResult result = camStartPreview();
        camStreamState stream = {};
        if (!streamIsOld && camGetStreamState(&stream) == camOk && stream.startResult < 0)
            return {"camStartPreview", stream.startResult};
        return {"camStartPreview", result};
    }
    Result<> StopPreview() { return {"camStopPreview", camStopPreview()}; }

    Result<int> State() const {
        int state = CAM_STATE_NONE;
        const camResult result = camGetState(&state);
        return {"camGetState", result, state};
    }
    Result<camStreamState> Stream() const {
        camStreamState state = {};
        const camResult result = camGetStreamState(&state);
        return {"camGetStreamState", result, state};
    }

    // ---- Properties and resolutions

    Result<PropertyRange> Range(int id) const {
        PropertyRange r;
        const camResult result =
            camGetPropertyRange(id, &r.minimum, &r.maximum, &r.step, &r.defaultValue, &r.flags);
        return {"camGetPropertyRange", result, r};
    }
    // `setting` is the imager's exposure setting that is meant from then on; no other property looks at it.
    Result<PropertyValue> Get(int id, long setting = -1) const {
        PropertyValue value = {setting, 0};
        const camResult result = camGetProperty(id, &value.value, &value.flags);
        return {"camGetProperty", result, value};
    }
    Result<> Set(int id, long value, long flags = CAM_FLAG_MANUAL) {
        return {"camSetProperty", camSetProperty(id, value, flags)};
    }

    Result<std::vector<Size>> Resolutions() const {
        int count = 0;
        if (const camResult result = camGetResolutionCount(&count); result != camOk)
            return {"camGetResolutionCount", result};
        std::vector<Size> sizes(static_cast<size_t>(count));
        for (int index = 0; index < count; ++index) {
            Size& size = sizes[static_cast<size_t>(index)];
            const camResult result = camGetResolutionDimensions(&size.height, &size.width, index);
            if (result != camOk) return {"camGetResolutionDimensions", result};
        }
        return {"camGetResolutionCount", camOk, std::move(sizes)};
    }
    Result<Size> CurrentResolution() const {
        Size size;
        const camResult result = camGetResolutionDimensions(&size.height, &size.width, -1);
        return {"camGetResolutionDimensions", result, size};
    }
    Result<> SetResolution(int index) { return {"camSetResolution", camSetResolution(index)}; }

    // ---- Pictures

    // Returns when the picture has been asked for; OnPictureTaken or the events window says when it is there.
    // An empty name: no file.
    Result<> Snap(const Text& file, int mode = 0) {
        fileName = file;
        return {"camSnapPicture", camSnapPicture(fileName.OrNull(), mode)};
    }
    Result<> Snap(const Text& file, int mode, const PictureText& text) {
        fileName = file;
        return {"camSnapPictureWithText", text.Snap(fileName.OrNull(), mode)};
    }

    // ---- Being told

    void OnPreviewFrame(FrameFunction function) { detail::previewSlot.Set(std::move(function)); }
    void OnStillPicture(FrameFunction function) { detail::stillSlot.Set(std::move(function)); }
    void OnFormat(FormatFunction function) { detail::formatSlot.Set(std::move(function)); }

    // Instead of OnPictureTaken: a window of your own that is posted CAM_MESSAGE_STILL_CAPTURED.
    Result<> SetEventsWindow(HWND window) { return {"camSetEventsWindow", camSetEventsWindow(window)}; }

    // Called on the thread that first calls this, while it dispatches messages; the camera must go on it, too.
    void OnPictureTaken(std::function<void()> function) {
        pictureTaken = std::move(function);
        if (eventsWindow || !pictureTaken) return;
        eventsWindow = CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                                     GetModuleHandleW(nullptr), nullptr);
        SetWindowLongPtrW(eventsWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        SetWindowLongPtrW(eventsWindow, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(EventsProcedure));
        camSetEventsWindow(eventsWindow);
    }

  private:
    // The stream's state speaks of the webcam that ran last, and goes on doing so when a driver is chosen.
    static bool IsOfADriver(const CameraChoice& choice) {
        camStreamState stream = {};
        if (choice.type != CAM_TYPE_DSHOW) return true;
        if (camGetStreamState(&stream) != camOk || stream.startResult >= 0) return false;
        for (const camDevice& device : Devices().Or({})) {
            if (choice.device.String() == device.identity) return device.type == CAM_DEVICE_DRIVER;
        }
        return false;
    }

    static LRESULT CALLBACK EventsProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message != CAM_MESSAGE_STILL_CAPTURED) return DefWindowProcW(window, message, wParam, lParam);
        auto* const self = reinterpret_cast<Camera*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        // A copy: it may replace itself.
        if (const auto function = self->pictureTaken) function();
        return 0;
    }

    Text fileName;  // the imager camera reads it when the picture is taken
    std::function<void()> pictureTaken;
    HWND eventsWindow = nullptr;
    bool streamIsOld = false;
};

}  // namespace ocellus
