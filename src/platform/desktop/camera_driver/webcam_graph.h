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

// The system's filter for the webcam, its video joined to a frame sink, and its still pin, if it has one and
// it is wanted, to another. All but Source() is called by one thread at a time, which nothing here blocks for
// long: a webcam that does not stop is given up, with its graph.
class WebcamGraph {
  public:
    WebcamGraph() = default;
    ~WebcamGraph() { Close(); }
    WebcamGraph(const WebcamGraph&) = delete;
    WebcamGraph& operator=(const WebcamGraph&) = delete;

    // ERROR_DEVICE_NOT_CONNECTED as an HRESULT: there is no such webcam (any more).
    HRESULT Open(const std::wstring& identity);
    bool IsOpen() const { return static_cast<bool>(parts.graph); }
    const std::vector<SourceFormat>& Formats() const { return video.formats; }
    // Of the webcam's own still pin; empty without one that can be triggered.
    const std::vector<SourceFormat>& StillFormats() const { return still.formats; }

    // Begins to send frames of `format`, one of Formats(), to `receiver`, and of `stillFormat`, one of
    // StillFormats() or null, to `stillReceiver` for every TriggerStill. A failure is the webcam's own: in
    // use, switched off for privacy, too little bandwidth.
    HRESULT Start(const SourceFormat& format, FrameReceiver& receiver, const SourceFormat* stillFormat,
                  FrameReceiver& stillReceiver);
    // While it runs with a still format.
    HRESULT TriggerStill();
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
    struct BranchParts {
        ComPtr<IPin> sourcePin;
        ComPtr<IBaseFilter> sink;
        ComPtr<IPin> sinkPin;
        ComPtr<IAMStreamConfig> config;  // null: the pin has one format
    };
    struct Parts {
        ComPtr<IGraphBuilder> graph;
        ComPtr<IMediaControl> control;
        ComPtr<IBaseFilter> source;
        BranchParts video, still;
    };
    // From a pin of the webcam to its sink.
    struct Branch {
        explicit Branch(BranchParts& of) : parts(of) {}
        void Forget();
        HRESULT Build(IGraphBuilder& graph, IPin& pin);
        HRESULT ListFormats();
        HRESULT Connect(IGraphBuilder& graph, const SourceFormat& format);
        HRESULT Disconnect(IGraphBuilder& graph);
        void SendTo(FrameReceiver* receiver);

        BranchParts& parts;
        FrameSink* frameSink = nullptr;  // parts.sink
        std::vector<SourceFormat> formats;
    };
    static DWORD WINAPI StopThread(void* parts);

    HRESULT Build(const Webcam& webcam);
    HRESULT BuildStills();
    void SendToNobody();
    static bool StopInTime(Parts last);
    void Forget();

    Parts parts;
    Branch video{parts.video}, still{parts.still};
    HANDLE eventHandle = nullptr;  // the graph's
    Guarded<ComPtr<IBaseFilter>> source;
};

}  // namespace cam::driver
