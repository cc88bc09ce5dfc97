// The interfaces of a camera's capture graph.
#pragma once

#include <dshow.h>

#include "base/com_ptr.h"
#include "still/filter_interfaces.h"

// The system's headers declare these without the identifiers that __uuidof needs.
__CRT_UUID_DECL(IVideoWindow, 0x56A868B4, 0x0AD4, 0x11CE, 0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70)
__CRT_UUID_DECL(IMediaEvent, 0x56A868B6, 0x0AD4, 0x11CE, 0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70)

namespace cam {

// Thirteen owning pointers, null until the graph is built that far. Their order counts: the destructor lets
// go of them from the last to the first.
struct GraphInterfaces {
    ComPtr<ICaptureGraphBuilder2> builder;
    ComPtr<IBaseFilter> captureFilter;
    ComPtr<IBaseFilter> videoRenderer;
    ComPtr<IMediaControl> mediaControl;
    ComPtr<IGraphBuilder> filterGraph;
    ComPtr<IBaseFilter> sink;
    ComPtr<IStillImageSinkControl> sinkControl;
    ComPtr<IPin> sinkPin;   // input
    ComPtr<IPin> stillPin;  // the capture filter's
    ComPtr<IAMVideoControl> videoControl;
    ComPtr<IVideoWindow> videoWindow;  // taken when preview is first started in an owner window
    ComPtr<IBaseFilter> grabber;
    ComPtr<ISampleGrabberControl> grabberControl;

    // In the reverse of the order in which building and previewing acquire them.
    void Release() {
        videoWindow.reset();
        videoControl.reset();
        sinkPin.reset();
        stillPin.reset();
        sinkControl.reset();
        sink.reset();
        grabberControl.reset();
        grabber.reset();
        videoRenderer.reset();
        captureFilter.reset();
        mediaControl.reset();
        filterGraph.reset();
        builder.reset();
    }
};

}  // namespace cam
