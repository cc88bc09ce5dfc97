// What the threads beside the window have to tell it.
#pragma once

#include <windows.h>

#include <ocellus/camera.hpp>

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace camview {

struct CameraEntry {
    int type = CAM_TYPE_DSHOW;
    bool isWebcam = false;
    std::wstring name;
    std::wstring identity;
    bool operator==(const CameraEntry&) const = default;
};

struct PropertyInfo {
    int id = 0;
    ocellus::PropertyRange range;
    ocellus::PropertyValue now;
};

struct CamerasListed {
    std::vector<CameraEntry> cameras;
};
struct CameraOpening {
    CameraEntry camera;
};
struct CameraOpened {
    CameraEntry camera;
    bool isKit = false;
    std::vector<ocellus::Size> resolutions;
    ocellus::Size resolution;
    std::optional<long> number;
};
struct CameraFailed {
    std::wstring camera;
    camResult result = camOk;
    bool starting = false;  // it was opened, and its preview did not start
};
struct PropertiesRead {
    std::vector<PropertyInfo> properties;
};
struct PropertySet {
    int id = 0;
    long wanted = 0;
    camResult result = camOk;
    ocellus::PropertyValue now;
};
struct ResolutionSet {
    camResult result = camOk;
    ocellus::Size wanted;
    ocellus::Size now;
};
struct PreviewRuns {
    ocellus::PreviewFormat format;
};
struct FirstFrame {};
struct SnapRefused {
    camResult result = camOk;
};
struct StateRead {
    int state = CAM_STATE_NONE;
    std::optional<camStreamState> stream;
};
struct FormatsListed {
    camResult result = camOk;
    std::wstring camera;
    std::vector<camDeviceFormat> formats;
};
struct ScenarioRefused {
    std::wstring words;
};
struct KitMissing {
    camResult result = camOk;
};
struct SettingsDone {
    std::wstring file;
    bool isSaving = false;
    bool worked = true;  // the file could be read, or written
    bool newer = false;
    size_t refused = 0;
    size_t all = 0;
};
struct Logged {
    SYSTEMTIME time = {};
    std::wstring call;
    std::wstring result;
    std::wstring remedy;

    static Logged Now(std::wstring what) {
        Logged line;
        GetLocalTime(&line.time);
        line.call = std::move(what);
        return line;
    }
};
struct PictureFiled {
    std::wstring file;
    bool there = false;
    bool diskFull = false;
    unsigned long long bytes = 0;
    SYSTEMTIME time = {};
    HBITMAP thumbnail = nullptr;  // the receiver's; null: the file is no picture
};
struct PathChosen {
    enum class Purpose { Folder, SaveSettings, LoadSettings, Scene } purpose = Purpose::Folder;
    std::wstring path;
};

using News =
    std::variant<CamerasListed, CameraOpening, CameraOpened, CameraFailed, PropertiesRead, PropertySet,
                 ResolutionSet, PreviewRuns, FirstFrame, SnapRefused, StateRead, FormatsListed,
                 ScenarioRefused, KitMissing, SettingsDone, Logged, PictureFiled, PathChosen>;

inline constexpr UINT kNewsMessage = WM_APP + 1;
inline constexpr UINT kDevicesMessage = WM_APP + 2;  // of camWatchDevices
inline constexpr UINT kClosedMessage = WM_APP + 3;   // the camera has been shut down

// Any thread puts in; the window takes out when it is posted kNewsMessage.
class Mailbox {
  public:
    void Deliver(HWND to) { window = to; }

    void Post(News news) {
        {
            const std::lock_guard guard(lock);
            waiting.push_back(std::move(news));
            if (waiting.size() > 1) return;
        }
        PostMessageW(window, kNewsMessage, 0, 0);
    }

    std::deque<News> Take() {
        const std::lock_guard guard(lock);
        return std::exchange(waiting, {});
    }

  private:
    HWND window = nullptr;
    std::mutex lock;
    std::deque<News> waiting;
};

}  // namespace camview
