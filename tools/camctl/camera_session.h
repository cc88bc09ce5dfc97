// One camera, from camInit to camShutDown, with the windows it needs.
#pragma once

#include <windows.h>

#include <ocellus/cam.h>
#include <ocellus/cam_text.hpp>

#include <optional>
#include <string>
#include <vector>

#include "base/unique_resource.h"

namespace camctl {

struct Size {
    long width;
    long height;
    bool operator==(const Size&) const = default;
};

struct CameraOptions {
    int type = CAM_TYPE_DSHOW;
    std::string camera;    // identity, position, name or part of a name; empty: unchosen
    std::string scene;     // for the device kit: "chart", a picture file or a .y4m film
    std::string scenario;  // for the device kit: a scenario file, or JSON
    std::string settingsFile;
    std::string settingsSection;
    double timeoutSeconds = 10;
    bool showWindow = false;  // that in which preview is drawn
};

// What the media-type callback told.
struct PreviewFormat {
    LONG height;
    LONG width;
    DWORD sampleSize;
    DWORD stride;
    LONG formatCode;
    LONG framesPerSecond;
};

using UniqueWindow = cam::UniqueResource<HWND, DestroyWindow>;

// Brings the camera up in its constructor and down in its destructor. Owner and events window belong to the
// constructing thread, which must make all calls. Failures are ToolErrors. At most one at a time: the
// library's callbacks carry no context.
class CameraSession {
  public:
    explicit CameraSession(const CameraOptions& options);
    ~CameraSession();
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    void StartPreview();
    void StopPreview();

    // Dispatches messages until `count` preview frames have come since preview was started.
    void SkipFrames(long count);
    // Dispatches messages for a while.
    void Pump(double seconds);

    // Triggers a picture and dispatches messages until it is reported. Returns the seconds from trigger to
    // report.
    double Snap(const std::wstring& file, int mode, const ocellus::PictureText* text);

    std::vector<Size> Resolutions() const;
    void SelectResolution(int index);
    void SelectResolution(Size size);  // the first of that size

    long PreviewFrames() const;
    std::optional<PreviewFormat> Format() const;
    HWND OwnerWindow() const { return ownerWindow.get(); }

  private:
    template <typename Condition>
    bool PumpUntil(double seconds, Condition condition);

    CameraOptions options;
    // The imager camera reads the name when it takes the still, which may be long after a time-out.
    std::wstring stillName;
    UniqueWindow ownerWindow;
    UniqueWindow eventsWindow;
};

// Throws the ToolError for a result other than camOk. `what` completes "... failed".
void Require(camResult result, const std::string& what);

double Seconds();  // a steady clock

}  // namespace camctl
