// One camera, from camInit to camShutDown, with the windows it needs.
#pragma once

#include <windows.h>

#include <ocellus/camera.hpp>

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "base/unique_resource.h"

namespace camctl {

using ocellus::Size;

struct CameraOptions {
    int type = CAM_TYPE_DSHOW;
    std::string camera;    // identity, position, name or part of a name; empty: unchosen
    std::string scene;     // for the device kit: "chart", a picture file or a .y4m film
    std::string scenario;  // for the device kit: a scenario file, or JSON
    std::string settingsFile;
    std::string settingsSection;
    double timeoutSeconds = 10;
    int warmUpFrames = 0;     // of a webcam, after every start
    bool showWindow = false;  // that in which preview is drawn
};

using UniqueWindow = cam::UniqueResource<HWND, DestroyWindow>;

// Brings the camera up in its constructor and down in its destructor. Owner and events window belong to the
// constructing thread, which must make all calls. Failures are ToolErrors. At most one at a time.
class CameraSession {
  public:
    explicit CameraSession(const CameraOptions& options);

    void StartPreview();
    void StopPreview();

    // Dispatches messages until `count` preview frames have come since preview was started.
    void SkipFrames(long count);
    // Dispatches messages until the brightness of preview stays what it is, as it does when the camera has
    // found its exposure. False when it still changes after that many seconds.
    bool Settle(double seconds);
    // Dispatches messages for a while.
    void Pump(double seconds);

    // Triggers a picture and dispatches messages until it is reported. Returns the seconds from trigger to
    // report.
    double Snap(const std::wstring& file, int mode, const ocellus::PictureText* text);

    std::vector<Size> Resolutions() const;
    void SelectResolution(int index);
    void SelectResolution(Size size);  // the first of that size

    long PreviewFrames() const;
    std::optional<ocellus::PreviewFormat> Format() const;
    HWND OwnerWindow() const { return ownerWindow.get(); }

  private:
    template <typename Condition>
    bool PumpUntil(double seconds, Condition condition);
    void RequireStream() const;

    CameraOptions options;
    // Written by the library's streaming threads.
    std::atomic<long> previewFrames = 0;
    std::atomic<bool> hasFormat = false;
    ocellus::PreviewFormat format;    // published by hasFormat
    std::atomic<int> brightness = 0;  // of the newest frame, in thousandths
    int stillsReported = 0;           // the session's own thread
    UniqueWindow ownerWindow;
    ocellus::Camera camera;  // goes first
};

// Throws the ToolError for a result other than camOk. `what` completes "... failed".
void Require(camResult result, const std::string& what);

double Seconds();  // a steady clock

}  // namespace camctl
