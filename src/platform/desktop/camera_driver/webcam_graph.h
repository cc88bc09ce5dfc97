// A webcam in a filter graph of its own.
#pragma once

#include <dshow.h>

#include <string>
#include <vector>

#include "base/com_ptr.h"
#include "base/lock.h"
#include "platform/desktop/camera_driver/frame_sink.h"
#include "platform/desktop/camera_driver/source_format.h"
#include "platform/desktop/camera_driver/webcams.h"

namespace cam::driver {

// The system's filter for the webcam, joined to a frame sink. All but Source() is called by one thread at a
// time, which nothing here blocks for long: a webcam that does not stop is given up, with its graph.
class WebcamGraph {
  public:
    WebcamGraph() = default;
    ~WebcamGraph() { Close(); }
    WebcamGraph(const WebcamGraph&) = delete;
    WebcamGraph& operator=(const WebcamGraph&) = delete;

    // ERROR_DEVICE_NOT_CONNECTED as an HRESULT: there is no such webcam (any more).
    HRESULT Open(const std::wstring& identity);
    bool IsOpen() const { return static_cast<bool>(parts.graph); }
    const std::vector<SourceFormat>& Formats() const { return formats; }

    // Begins to send frames of that format, one of Formats(), to `receiver`. A failure is the webcam's own:
    // in use, switched off for privacy, too little bandwidth.
    HRESULT Start(const SourceFormat& format, FrameReceiver& receiver);
    // No frame comes any more when it returns.
    void Stop();
    void Close();

    // Signalled while the graph has events; null while not open. TakeEvents reads them, on any thread while
    // the graph runs, and says whether they tell of the webcam's end.
    HANDLE EventHandle() const { return eventHandle; }
    bool TakeEvents();

    // The system's filter; null while not open. Any thread.
    ComPtr<IBaseFilter> Source() { return *source.Locked(); }

  private:
    // What hangs together with a webcam that hangs.
    struct Parts {
        ComPtr<IGraphBuilder> graph;
        ComPtr<IMediaControl> control;
        ComPtr<IBaseFilter> source;
        ComPtr<IPin> sourcePin;
        ComPtr<IBaseFilter> sink;
        ComPtr<IPin> sinkPin;
        ComPtr<IAMStreamConfig> config;  // null: the webcam has one format
    };
    static DWORD WINAPI StopThread(void* parts);

    HRESULT Build(const Webcam& webcam);
    HRESULT ListFormats();
    HRESULT Connect(const SourceFormat& format);
    static bool StopInTime(Parts last);
    void Forget();

    Parts parts;
    FrameSink* frameSink = nullptr;  // parts.sink
    std::vector<SourceFormat> formats;
    HANDLE eventHandle = nullptr;  // the graph's
    Guarded<ComPtr<IBaseFilter>> source;
};

}  // namespace cam::driver
