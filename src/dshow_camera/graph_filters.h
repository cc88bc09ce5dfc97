// The filters of a capture graph, for who asks or sets something of theirs.
#pragma once

#include "dshow_camera/graph_interfaces.h"
#include "filter_base/media_type.h"

namespace cam {

using filter_base::UniqueMediaType;

// Drivers and filters guard themselves, and these interfaces stay what they are from the building of the
// graph to its release: so the *caller* uses them without holding the graph, and a restart of preview on the
// *worker* holds up neither a property nor a text. How the graph runs is out of reach here.
class GraphFilters {
  public:
    explicit GraphFilters(const GraphInterfaces& interfaces) : graph(interfaces) {}

    // Null where the graph was not built that far.
    const ComPtr<IBaseFilter>& Capture() const { return graph.captureFilter; }
    ISampleGrabberControl* Grabber() const { return graph.grabberControl.get(); }
    IStillImageSinkControl* Sink() const { return graph.sinkControl.get(); }

    // The still pin's stream capabilities. E_FAIL without a capture filter.
    HRESULT FindStillConfig(ComPtr<IAMStreamConfig>& out) const;

    // Leaves `count` alone when the driver does not say.
    void CountStillFormats(int* count) const;

    // In pixels; index -1 is the current format. E_INVALIDARG for an index beyond the last, E_UNEXPECTED for
    // a format that does not say.
    HRESULT GetStillDimensions(long* height, long* width, int index) const;

  private:
    const GraphInterfaces& graph;
};

}  // namespace cam
