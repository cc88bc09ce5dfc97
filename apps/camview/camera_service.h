// The camera on a thread of its own: the window's thread never waits for it.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <ocellus/camera.hpp>

#include "base/unique_resource.h"
#include "kit_control.h"
#include "model/camera_settings_file.h"
#include "model/frame_meter.h"
#include "news.h"
#include "task_thread.h"

namespace camview {

struct OpenRequest {
    CameraEntry camera;     // without identity: whatever fits best
    std::wstring choice;    // of the command line, as in camChooseDevice; stronger than `camera`
    bool kit = false;       // the kit is wanted as camera
    std::wstring scenario;  // for the kit; empty: as it is
    std::wstring settings;  // settings file and section to apply, or empty
    std::wstring section;
    bool isAgain = false;  // one attempt of many: only what is new is told
};

struct SnapRequest {
    std::wstring file;
    int mode = 0;
    std::wstring stamp;  // empty: none
    ocellus::TextPosition position = ocellus::TextPosition::TopLeft;
    COLORREF color = 0;
    ocellus::StampColor outline = ocellus::StampColor::None;
    ocellus::StampColor background = ocellus::StampColor::None;
    LOGFONTW font = {};
};

std::int64_t Microseconds();  // of a steady clock

// All functions return at once; what comes of them is told through the mailbox. Those that ask the camera run
// on the camera thread.
class CameraService {
  public:
    CameraService(Mailbox& mail, KitControl& kit) : mailbox(mail), kitControl(kit) {}

    // `owner`: where preview is drawn; `events`: is posted CAM_MESSAGE_STILL_CAPTURED and kDevicesMessage.
    void Begin(HWND owner, HWND events);
    void Open(const OpenRequest& request);
    void RestartPreview();
    void Snap(const SnapRequest& request);
    // The last value counts when several wait.
    void SetProperty(int id, long value, long flags);
    void ResetProperties();
    void SetResolution(int index, ocellus::Size size);
    void ReadState();
    void ListFormats(const CameraEntry& camera, const OpenRequest& again);
    void SaveSettings(const std::wstring& file);
    void LoadSettings(const std::wstring& file);
    // Shuts the camera down and posts kClosedMessage.
    void End();

    // Window's thread.
    struct Meter {
        double rate;
        long frames;
        long lost;
        std::int64_t silence;  // microseconds; negative: no frame yet
    };
    Meter Frames();
    std::int64_t TriggeredAt() const { return triggeredAt; }

  private:
    struct Wanted {
        long value;
        long flags;
    };

    // ---- Camera thread
    bool PrepareKit(const OpenRequest& request);
    CameraEntry Choose(const OpenRequest& request);
    void OpenNow(const OpenRequest& request);
    void CloseNow(bool quiet = false);
    void StartNow();
    void SetWanted(int id);
    camResult SetNow(int id, long value, long flags);
    std::vector<PropertyInfo> ReadProperties();
    void Note(std::wstring what);
    template <typename Value>
    ocellus::Result<Value> Note(std::wstring call, ocellus::Result<Value> result, bool quiet = false);

    Mailbox& mailbox;
    KitControl& kitControl;
    HWND ownerWindow = nullptr;
    HWND eventsWindow = nullptr;

    std::mutex lock;  // of what follows
    FrameMeter meter;
    std::map<int, Wanted> wantedProperties;

    std::atomic<std::int64_t> triggeredAt = 0;
    std::atomic<bool> stateIsAsked = false;

    // ---- Camera thread
    std::unique_ptr<ocellus::Camera> camera;  // from Begin to End
    CameraEntry current;
    bool isSelected = false;
    bool isKit = false;        // of `current`, once it is open
    long kitFramesBefore = 0;  // that the kit had sent by then
    camResult lastFailure = camOk;
    cam::UniqueFont stampFont;  // until the next picture
    double statedRate = 0;

    TaskThread thread{COINIT_MULTITHREADED, L"camview camera"};  // the last member: its tasks use the others
};

// The cameras there are, the imager last when its library is there.
std::vector<CameraEntry> ListCameras();

}  // namespace camview
