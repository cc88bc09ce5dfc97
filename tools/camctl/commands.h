// The commands of camctl, a file each. Every one throws ToolError on failure.
#pragma once

#include <ocellus/cam_devices.h>

#include <string>
#include <vector>

#include "camera_session.h"
#include "text.h"

namespace camctl {

struct TextOptions {
    std::string text;   // "\n" separates lines
    std::string stamp;  // strftime pattern, put below the text
    std::string position = "bottom-right";
    std::string textColor = "white";
    std::string outline = "black";
    std::string background = "none";
    std::string font = "DejaVu Sans,18,bold";
};

struct SnapOptions {
    CameraOptions camera;
    std::vector<std::string> files;  // strftime patterns
    int mode = 0;
    long skip = 3;
    double settleSeconds = 0;  // wait at most so long for an even brightness
    long count = 1;            // of each file
    double intervalSeconds = 0;
    std::string size;
    TextOptions text;
};

struct BenchOptions {
    CameraOptions camera;
    long pictures = 20;
    double previewSeconds = 10;
    std::string folder = ".";
};

void List(bool withFormats, bool asJson);
// Tells which webcams come and go; for ever when `seconds` is 0.
void Watch(double seconds, bool asJson);
void Doctor(const CameraOptions& options, bool asJson);
void SwitchKitWebcam(bool on, bool asJson);
void Info(const CameraOptions& options, bool asJson);
void Snap(const SnapOptions& options, bool asJson);
void Preview(const CameraOptions& options, double seconds, bool asJson);
void Formats(const CameraOptions& options, bool asJson);
void Properties(const CameraOptions& options, bool asJson);
void GetProperty(const CameraOptions& options, const std::string& name, bool asJson);
void SetProperty(const CameraOptions& options, const std::string& assignment, bool asJson);
// Every property that has a default, or only those named.
void ResetProperties(const CameraOptions& options, const std::vector<std::string>& names, bool asJson);
void SaveSettings(const CameraOptions& options, const std::string& file, const std::string& section,
                  bool replace, bool asJson);
void Profiles(const std::string& file, bool asJson);
void Settings(const std::string& file, const std::string& section, bool asJson);
void Convert(const std::string& in, const std::string& out, int mode, bool asJson);
void Bench(const BenchOptions& options, bool asJson);

std::vector<camDevice> ListDevices();

// Throws ToolError when the library would find no settings file by this name, which may lack the extension.
void RequireSettingsFile(const std::string& file);

// "640x480"; throws ToolError with ExitCode::Usage.
Size ParseSize(const std::string& text);

const char* FormatName(long formatCode);
// What a webcam sends, as "MJPG 1280x720, 30 a second".
std::string FormatText(const camDeviceFormat& format);
Json FormatJson(const camDeviceFormat& format);

}  // namespace camctl
