#include "emulator/graph/graph.h"

#include <algorithm>

namespace ce {

namespace {

const Guid kIidFilterGraph = ParseGuid("56A8689F-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidGraphBuilder = ParseGuid("56A868A9-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaControl = ParseGuid("56A868B1-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaEvent = ParseGuid("56A868B6-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaEventSink = ParseGuid("56A868A2-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidVideoWindow = ParseGuid("56A868B4-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidCaptureGraphBuilder = ParseGuid("93E5A4E0-2D50-11D2-ABFA-00A0C9C6E38D");
const Guid kClsidCaptureGraphBuilder = ParseGuid("BF87B6E0-8C27-11D0-B3F0-00AA003761C5");
const Guid kClsidFilterGraph = ParseGuid("E436EBB3-524F-11CE-9F53-0020AF0BA770");
const Guid kClsidVideoCapture = ParseGuid("F80B6E95-B55A-4619-AEC4-A10EAEDE980C");
const Guid kClsidVideoRenderer = ParseGuid("70E102B0-5556-11CE-97C0-00AA0055595A");
constexpr u32 kAbort = 0x80004004, kNotFound = 0x80040216;

void AddDispatch(std::vector<MethodEntry>& methods) {
    for (const char* name : {"GetTypeInfoCount", "GetTypeInfo", "GetIDsOfNames", "Invoke"})
        methods.push_back(Unused(name));
}

// The filter's first pin of the direction, with a reference; 0: none.
u32 FindPin(Process& process, u32 filter, u32 direction) {
    const u32 place = HostMemory(process, 16);
    if (CallMethod(process, filter, slot::kFilterEnumPins, {place}) != kOk) return 0;
    const u32 pins = process.machine.Read<u32>(place);
    u32 found = 0;
    while (!found && CallMethod(process, pins, slot::kEnumNext, {1, place + 4, 0}) == kOk) {
        const u32 pin = process.machine.Read<u32>(place + 4);
        CallMethod(process, pin, slot::kPinQueryDirection, {place + 8});
        if (process.machine.Read<u32>(place + 8) == direction) {
            found = pin;
        } else {
            Release(process, pin);
        }
    }
    Release(process, pins);
    return found;
}

}  // namespace

FilterGraph::FilterGraph(Process& process) : HostObject(process, "filter graph") {
    signal_->manual = true;
    signal_->name = u"of the graph";
    eventHandle_ = process.AddHandle(signal_);
    ImplementGraph();
    ImplementControl();
    ImplementEvents();
    ImplementWindow();
}

void FilterGraph::ImplementGraph() {
    const auto methods = [this] {
        return std::vector<MethodEntry>{
            Method("AddFilter",
                   [this](u32 filter, u32 name) -> u32 {
                       const std::u16string text = machine_.Text(name);
                       Calls(process_).Detail(std::string(text.begin(), text.end()));
                       CallMethod(process_, filter, 1);
                       filters.push_back(filter);
                       return CallMethod(process_, filter, slot::kFilterJoin,
                                         {Interface(kIidFilterGraph), name});
                   }),
            Unused("RemoveFilter"),
            Unused("EnumFilters"),
            Unused("FindFilterByName"),
            Method("ConnectDirect",
                   [this](u32 output, u32 input, u32 type) -> u32 {
                       const auto source = hostPins.find(output);
                       if (source == hostPins.end()) return kInvalidArgument;
                       return static_cast<SourcePin*>(source->second)->ConnectTo(input, type);
                   }),
            Unused("Reconnect"),
            Method("Disconnect", [this](u32 pin) { return Disconnect(pin); }),
            Method("SetDefaultSyncSource", []() -> u32 { return kOk; }),
            Unused("Connect"),
            Unused("Render"),
            Unused("RenderFile"),
            Unused("AddSourceFilter"),
            Unused("SetLogFile"),
            Unused("Abort"),
            Unused("ShouldOperationContinue")};
    };
    Implement(kIidGraphBuilder, "IGraphBuilder", methods());
    Implement(kIidFilterGraph, "IFilterGraph", methods());
}

u32 FilterGraph::Disconnect(u32 pin) {
    return CallMethod(process_, pin, slot::kPinDisconnect);
}

u32 FilterGraph::ChangeState(int wanted) {
    // Down the stream first, so that nobody receives before he is ready.
    for (auto filter = filters.rbegin(); filter != filters.rend(); ++filter) {
        if (wanted == 0) CallMethod(process_, *filter, slot::kFilterStop);
        if (wanted != 0 && state == 0) CallMethod(process_, *filter, slot::kFilterPause);
    }
    for (auto filter = filters.rbegin(); filter != filters.rend(); ++filter) {
        if (wanted == 1 && state == 2) CallMethod(process_, *filter, slot::kFilterPause);
        if (wanted == 2) CallMethod(process_, *filter, slot::kFilterRun, {1000, 0});
    }
    state = wanted;
    return kOk;
}

void FilterGraph::ImplementControl() {
    std::vector<MethodEntry> methods;
    AddDispatch(methods);
    methods.push_back(Method("Run", [this]() { return ChangeState(2); }));
    methods.push_back(Method("Pause", [this]() { return ChangeState(1); }));
    methods.push_back(Method("Stop", [this]() { return ChangeState(0); }));
    methods.push_back(Method("GetState", [this](u32 timeout, u32 out) -> u32 {
        Calls(process_).Detail(std::to_string(timeout));
        return machine_.Write(out, state), kOk;
    }));
    for (const char* name : {"RenderFile", "AddSourceFilter", "get_FilterCollection",
                             "get_RegFilterCollection", "StopWhenReady"}) {
        methods.push_back(Unused(name));
    }
    Implement(kIidMediaControl, "IMediaControl", std::move(methods));
}

void FilterGraph::Notify(u32 code, u32 first, u32 second) {
    events_.push_back({code, first, second});
    signal_->signaled = true;
}

void FilterGraph::ImplementEvents() {
    std::vector<MethodEntry> methods;
    AddDispatch(methods);
    methods.push_back(
        Method("GetEventHandle", [this](u32 out) -> u32 { return machine_.Write(out, eventHandle_), kOk; }));
    methods.push_back(Method("GetEvent", [this](u32 code, u32 first, u32 second, u32) -> u32 {
        if (events_.empty()) return signal_->signaled = false, kAbort;
        machine_.Write(code, events_.front().code);
        machine_.Write(first, events_.front().first);
        machine_.Write(second, events_.front().second);
        events_.pop_front();
        return kOk;
    }));
    for (const char* name : {"WaitForCompletion", "CancelDefaultHandling", "RestoreDefaultHandling"})
        methods.push_back(Unused(name));
    methods.push_back(Method("FreeEventParams", [](u32, u32, u32) -> u32 { return kOk; }));
    Implement(kIidMediaEvent, "IMediaEvent", std::move(methods));
    Implement(kIidMediaEventSink, "IMediaEventSink",
              {Method("Notify", [this](u32 code, u32 first, u32 second) -> u32 {
                  Calls(process_).Detail(std::to_string(code));
                  Notify(code, first, second);
                  return kOk;
              })});
}

void FilterGraph::ImplementWindow() {
    std::vector<MethodEntry> methods;
    AddDispatch(methods);
    const auto unused = [&](std::initializer_list<const char*> names) {
        for (const char* name : names) methods.push_back(Unused(name));
    };
    // Logged with the number, or whether there is a window.
    const auto put = [&](const char* name, bool window = false, u32* kept = nullptr) {
        methods.push_back(Method(name, [this, window, kept](i32 value) -> u32 {
            Calls(process_).Detail(!window ? std::to_string(value) : value ? "set" : "0");
            if (kept) *kept = static_cast<u32>(value);
            return kOk;
        }));
    };
    unused({"put_Caption", "get_Caption"});
    put("put_WindowStyle");
    unused({"get_WindowStyle", "put_WindowStyleEx", "get_WindowStyleEx", "put_AutoShow", "get_AutoShow",
            "put_WindowState", "get_WindowState", "put_BackgroundPalette", "get_BackgroundPalette"});
    put("put_Visible");
    unused({"get_Visible", "put_Left", "get_Left", "put_Width", "get_Width", "put_Top", "get_Top",
            "put_Height", "get_Height"});
    put("put_Owner", true, &windowOwner);
    unused({"get_Owner"});
    put("put_MessageDrain", true);
    unused({"get_MessageDrain", "get_BorderColor", "put_BorderColor", "get_FullScreenMode",
            "put_FullScreenMode", "SetWindowForeground", "NotifyOwnerMessage"});
    methods.push_back(Method("SetWindowPosition", [this](u32 left, u32 top, u32 width, u32 height) -> u32 {
        Calls(process_).Detail(std::to_string(left) + " " + std::to_string(top) + " " +
                               std::to_string(width) + " " + std::to_string(height));
        return kOk;
    }));
    Implement(kIidVideoWindow, "IVideoWindow", std::move(methods));
}

void FilterGraph::OnLastRelease() {
    AddReference();  // filters still call back while they leave
    ChangeState(0);
    for (const auto& [pointer, pin] : hostPins) {
        if (!pin->Connected()) continue;
        const u32 place = HostMemory(process_, 8);
        CallMethod(process_, pointer, slot::kPinConnectedTo, {place});
        const u32 peer = machine_.Read<u32>(place);
        CallMethod(process_, peer, slot::kPinDisconnect);
        CallMethod(process_, pointer, slot::kPinDisconnect);
        Release(process_, peer);
    }
    for (const u32 filter : filters) {
        CallMethod(process_, filter, slot::kFilterJoin, {0, 0});
        Release(process_, filter);
    }
    filters.clear();
    process_.CloseHandle(eventHandle_);
    // Without the callback for the last reference, which this is already in.
    DropLastReference();
}

// ---- The builder and the classes ----------------------------------------------------------------------------------------

namespace {

class GraphBuilder final : public HostObject {
  public:
    GraphBuilder(Process& process, Platform& platform)
        : HostObject(process, "capture graph builder"), platform_(platform) {
        Implement(
            kIidCaptureGraphBuilder, "ICaptureGraphBuilder2",
            {Method("SetFiltergraph",
                    [this](u32 graph) -> u32 {
                        CallMethod(process_, graph, 1);
                        graph_ = graph;
                        return kOk;
                    }),
             Unused("GetFiltergraph"), Unused("SetOutputFileName"),
             Method("FindInterface",
                    [this](u32 category, u32 type, u32, u32 iid, u32 out) -> u32 {
                        const bool stream = ReadGuid(machine_, iid) == kIidStreamConfig;
                        Calls(process_).Detail(Kind(category, type) + (stream ? " IAMStreamConfig" : " ?"));
                        SourcePin& pin = ReadGuid(machine_, category) == kCategoryStill
                                             ? platform_.capture.still
                                             : platform_.capture.preview;
                        const u32 found = pin.Query(ReadGuid(machine_, iid));
                        machine_.Write(out, found);
                        return found ? kOk : kNoInterface;
                    }),
             Method("RenderStream",
                    [this](u32 category, u32 type, u32, u32 middle, u32 sink) {
                        Calls(process_).Detail(Kind(category, type));
                        return Render(ReadGuid(machine_, category) == kCategoryStill, middle, sink);
                    }),
             Unused("ControlStream"), Unused("AllocCapFile"), Unused("CopyCaptureFile"),
             Method("FindPin",
                    [this](u32, u32 direction, u32 category, u32 type, u32 unconnected, u32 number,
                           u32 out) -> u32 {
                        Calls(process_).Detail(std::to_string(direction) + " " + Kind(category, type) + " " +
                                               std::to_string(unconnected) + " " + std::to_string(number));
                        if (ReadGuid(machine_, category) != kCategoryStill) return kNotFound;
                        machine_.Write(out, platform_.capture.still.Query(kIidPin));
                        return kOk;
                    })});
    }

  protected:
    void OnLastRelease() override {
        if (graph_) Release(process_, std::exchange(graph_, 0));
    }

  private:
    std::string Kind(u32 category, u32 type) {
        const Guid id = ReadGuid(machine_, category);
        return std::string(id == kCategoryStill     ? "PIN_CATEGORY_STILL "
                           : id == kCategoryPreview ? "PIN_CATEGORY_PREVIEW "
                                                    : "? ") +
               (ReadGuid(machine_, type) == kMajorVideo ? "MEDIATYPE_Video" : "?");
    }
    u32 Render(bool still, u32 middle, u32 sink) {
        SourcePin& source = still ? platform_.capture.still : platform_.capture.preview;
        const u32 first = FindPin(process_, middle ? middle : sink, 0);
        if (!first) return kFail;
        u32 result = source.ConnectTo(first);
        Release(process_, first);
        if (result != kOk || !middle) return result;
        const u32 output = FindPin(process_, middle, 1);
        const u32 last = FindPin(process_, sink, 0);
        result = output && last ? CallMethod(process_, output, slot::kPinConnect, {last, 0}) : kFail;
        if (output) Release(process_, output);
        if (last) Release(process_, last);
        return result;
    }

    Platform& platform_;
    u32 graph_ = 0;
};

}  // namespace

Platform::Platform(Process& owner) : process(owner), capture(owner), renderer(owner) {
    const auto make = [](HostObject& object, const Guid& iid, u32& result) {
        result = kNoInterface;
        return object.Query(iid);
    };
    RegisterClass(process, kClsidFilterGraph, "FilterGraph", [this, make](const Guid& iid, u32& result) {
        auto fresh = std::make_unique<FilterGraph>(process);
        graph = fresh.get();
        created.push_back(std::move(fresh));
        graph->hostPins = {{capture.preview.Pointer(), &capture.preview},
                           {capture.still.Pointer(), &capture.still},
                           {renderer.input.Pointer(), &renderer.input}};
        return make(*graph, iid, result);
    });
    RegisterClass(process, kClsidCaptureGraphBuilder, "CaptureGraphBuilder",
                  [this, make](const Guid& iid, u32& result) {
                      created.push_back(std::make_unique<GraphBuilder>(process, *this));
                      return make(*created.back(), iid, result);
                  });
    RegisterClass(process, kClsidVideoCapture, "CaptureFilter",
                  [this, make](const Guid& iid, u32& result) { return make(capture, iid, result); });
    RegisterClass(process, kClsidVideoRenderer, "VideoRenderer",
                  [this, make](const Guid& iid, u32& result) { return make(renderer, iid, result); });
    RegisterClass(
        process, kClsidMemoryAllocator, "MemoryAllocator", [this, make](const Guid& iid, u32& result) {
            auto allocator = std::make_shared<MemAllocator>(process);
            process.attachments["allocator" + std::to_string(process.attachments.size())] = allocator;
            return make(*allocator, iid, result);
        });
}

void Platform::RegisterFilters(const Module& module) {
    for (const Guid& clsid : {kClsidGrabber, kClsidSink}) {
        RegisterClass(process, clsid, clsid == kClsidSink ? "StillImageSink" : "SampleGrabber",
                      [this, clsid, &module](const Guid& iid, u32& result) {
                          return CreateFromModule(process, module, clsid, iid, result);
                      });
    }
}

}  // namespace ce
