// What the camera asks of the platform, as the device kit and the emulator log it: the order of its calls,
// and what follows when one fails.
#pragma once

#include <string>
#include <vector>

namespace tables {

struct PlatformCall {
    std::string call;
    bool matters = true;  // whether its failure ends the construction
    // On an object of the library's own: a platform that watches only its own objects does not see it.
    bool OnOwnObject() const {
        return call.find("ISampleGrabberControl") != call.npos ||
               call.find("IStillImageSinkControl") != call.npos || call.find("IEnumPins") == 0 ||
               call == "IBaseFilter::EnumPins StillImageSink";
    }
};
using PlatformCalls = std::vector<PlatformCall>;

inline const PlatformCalls kConstruction = {
    {"CoCreateInstance CaptureGraphBuilder"},
    {"CoCreateInstance FilterGraph"},
    {"ICaptureGraphBuilder2::SetFiltergraph"},
    {"IGraphBuilder::QueryInterface IMediaControl"},
    {"CoCreateInstance CaptureFilter"},
    {"IBaseFilter::QueryInterface IPersistPropertyBag"},
    {"IPersistPropertyBag::Load CAM1:"},
    {"IGraphBuilder::AddFilter Video Capture Filter Source"},
    {"CoCreateInstance VideoRenderer"},
    {"IGraphBuilder::AddFilter Video Renderer"},
    {"CoCreateInstance SampleGrabber"},
    {"IGraphBuilder::AddFilter SampleGrabber"},
    {"IBaseFilter::QueryInterface ISampleGrabberControl"},
    {"ISampleGrabberControl::SetCallback"},
    {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_PREVIEW MEDIATYPE_Video"},
    {"IGraphBuilder::QueryInterface IMediaEventSink", false},
    {"CoCreateInstance StillImageSink"},
    {"IGraphBuilder::AddFilter Still image sink"},
    {"ICaptureGraphBuilder2::RenderStream PIN_CATEGORY_STILL MEDIATYPE_Video"},
    {"IBaseFilter::QueryInterface IStillImageSinkControl"},
    {"IStillImageSinkControl::SetCallback"},
    {"ICaptureGraphBuilder2::FindPin 1 PIN_CATEGORY_STILL MEDIATYPE_Video 0 0"},
    {"IBaseFilter::EnumPins StillImageSink"},
    {"IEnumPins::Reset", false},
    {"IEnumPins::Next 1", false},
    {"IBaseFilter::QueryInterface IAMVideoControl"},
    {"IGraphBuilder::QueryInterface IMediaEvent"},
    {"IMediaEvent::GetEventHandle"},
};

// In an owner window of 320 by 240.
inline const PlatformCalls kPreviewStart = {
    {"IGraphBuilder::QueryInterface IVideoWindow"},
    {"IVideoWindow::put_Owner set"},
    {"IVideoWindow::put_MessageDrain set"},
    {"IVideoWindow::SetWindowPosition 0 0 320 240"},
    {"IVideoWindow::put_WindowStyle 1140850688"},
    {"IVideoWindow::put_Visible -1"},
    {"IMediaControl::Run"},
    {"IMediaControl::GetState 100"},
    {"ISampleGrabberControl::GetInputMediaType"},
    {"ISampleGrabberControl::GetGeometry"},
};

inline const PlatformCalls kPreviewStop = {
    {"IMediaControl::Pause"},
    {"IMediaControl::Stop"},
    {"IVideoWindow::put_Visible 0"},
    {"IVideoWindow::put_Owner 0"},
};

inline PlatformCalls ResolutionChange(int index, bool previewing) {
    PlatformCalls calls = {{"IMediaControl::GetState 100"}};
    const auto add = [&](const PlatformCalls& more) { calls.insert(calls.end(), more.begin(), more.end()); };
    if (previewing) add({{"IVideoWindow::put_Owner 0"}, {"IMediaControl::Pause"}, {"IMediaControl::Stop"}});
    add({{"ICaptureGraphBuilder2::FindInterface PIN_CATEGORY_STILL MEDIATYPE_Video IAMStreamConfig"},
         {"IAMStreamConfig::GetNumberOfCapabilities Still"},
         {"IAMStreamConfig::GetStreamCaps " + std::to_string(index)},
         {"IGraphBuilder::Disconnect"},
         {"IGraphBuilder::Disconnect"},
         {"IAMStreamConfig::SetFormat Still"},
         {"IGraphBuilder::ConnectDirect"}});
    if (previewing) add({{"IVideoWindow::put_Owner set"}, {"IMediaControl::Run"}});
    return calls;
}

// A preview whose call fails each time: results, and the states after the start and after the stop.
struct PreviewFault {
    PlatformCall at;
    int start, stop, started, stopped;
};
inline const PreviewFault kPreviewFaults[] = {
    {{"IGraphBuilder::QueryInterface IVideoWindow"}, 10, 0, 1, 1},
    {{"IVideoWindow::put_MessageDrain"}, 10, 0, 1, 1},
    {{"IVideoWindow::SetWindowPosition"}, 10, 0, 1, 1},
    {{"IVideoWindow::put_WindowStyle"}, 10, 0, 1, 1},
    {{"IVideoWindow::put_Visible -1"}, 10, 0, 1, 1},
    {{"IMediaControl::Run"}, 0, 0, 1, 1},
    {{"ISampleGrabberControl::GetInputMediaType"}, 0, 0, 3, 2},
    {{"IMediaControl::Pause"}, 0, 10, 3, 3},
    {{"IMediaControl::Stop"}, 0, 10, 3, 4},
    {{"IVideoWindow::put_Visible 0"}, 0, 10, 3, 3},
};

// A change of the resolution whose call fails: the message boxes, "caption\ttext". The next change heals it.
inline const char kNotSetBox[] = "GraphManager\tError setting resolution";
inline const char kNotReconnectedBox[] = "SetStillImageResolution\tCouldn't reconnect";
struct ChangeFault {
    std::string call;
    std::vector<std::string> boxes;
    bool parted;  // whether the pins are left apart
};
inline const ChangeFault kChangeFaults[] = {
    {"ICaptureGraphBuilder2::FindInterface", {kNotSetBox}, false},
    {"IAMStreamConfig::GetNumberOfCapabilities", {kNotSetBox}, false},
    {"IAMStreamConfig::GetStreamCaps", {kNotSetBox}, false},
    {"IGraphBuilder::Disconnect", {kNotSetBox}, false},
    {"IAMStreamConfig::SetFormat", {kNotSetBox}, true},
    {"IGraphBuilder::ConnectDirect", {kNotReconnectedBox, kNotSetBox}, true},
};

// Which number of which set a property's id means.
struct PropertyPlace {
    int id;
    const char* set;
    int number;
};
inline const PropertyPlace kProperties[] = {
    {0, "IAMVideoProcAmp", 0},  {8, "IAMVideoProcAmp", 8},   {-1, "IAMVideoProcAmp", -1},
    {9, "IAMCameraControl", 0}, {12, "IAMCameraControl", 3}, {80, "IAMCameraControl", 71},
};

}  // namespace tables
