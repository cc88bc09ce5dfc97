#include "emulator/graph/graph.h"

#include "emulator/graph/watch.h"
#include "emulator/windows.h"

namespace ce {

namespace {

const Guid kIidFilterGraph = ParseGuid("56A8689F-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidGraphBuilder = ParseGuid("56A868A9-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaControl = ParseGuid("56A868B1-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaEvent = ParseGuid("56A868B6-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaEventSink = ParseGuid("56A868A2-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidVideoWindow = ParseGuid("56A868B4-0AD4-11CE-B03A-0020AF0BA770");
constexpr u32 kAbort = 0x80004004;

void AddDispatch(std::vector<MethodEntry>& methods) {
    for (const char* name : {"GetTypeInfoCount", "GetTypeInfo", "GetIDsOfNames", "Invoke"})
        methods.push_back(Unused(name));
}

}  // namespace

FilterGraph::FilterGraph(Process& owner) : HostObject(owner, "filter graph", Listed::WhileWatched) {
    signal->manual = true;
    signal->name = u"of the graph";
    eventHandle = process.AddHandle(signal);
    ImplementGraph();
    ImplementControl();
    ImplementEvents();
    ImplementWindow();
}

void FilterGraph::ImplementGraph() {
    const auto methods = [this] {
        return std::vector<MethodEntry>{
            Told(
                "AddFilter",
                [this](u32 filter, u32 name) -> u32 {
                    const std::u16string text = machine.Text(name);
                    Calls(process).Detail(std::string(text.begin(), text.end()));
                    filter = Unwatched(process, filter);
                    CallMethod(process, filter, 1);
                    filters.push_back(filter);
                    return CallMethod(process, filter, slot::kFilterJoin, {Interface(kIidFilterGraph), name});
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
    Implement(kIidFilterGraph, "IFilterGraph", methods(), Listed::Never);  // the filters' own
}

u32 FilterGraph::Disconnect(u32 pin) {
    return CallMethod(process, pin, slot::kPinDisconnect);
}

u32 FilterGraph::ChangeState(int wanted) {
    // Down the stream first, so that nobody receives before he is ready.
    for (auto filter = filters.rbegin(); filter != filters.rend(); ++filter) {
        if (wanted == 0) CallMethod(process, *filter, slot::kFilterStop);
        if (wanted != 0 && state == 0) CallMethod(process, *filter, slot::kFilterPause);
    }
    for (auto filter = filters.rbegin(); filter != filters.rend(); ++filter) {
        if (wanted == 1 && state == 2) CallMethod(process, *filter, slot::kFilterPause);
        if (wanted == 2) CallMethod(process, *filter, slot::kFilterRun, {1000, 0});
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
    methods.push_back(Told("GetState", [this](u32 timeout, u32 out) -> u32 {
        Calls(process).Detail(std::to_string(timeout));
        return machine.Write(out, state), kOk;
    }));
    for (const char* name : {"RenderFile", "AddSourceFilter", "get_FilterCollection",
                             "get_RegFilterCollection", "StopWhenReady"}) {
        methods.push_back(Unused(name));
    }
    Implement(kIidMediaControl, "IMediaControl", std::move(methods));
}

void FilterGraph::Notify(u32 code, u32 first, u32 second) {
    events.push_back({code, first, second});
    signal->signaled = true;
}

void FilterGraph::ImplementEvents() {
    std::vector<MethodEntry> methods;
    AddDispatch(methods);
    methods.push_back(
        Method("GetEventHandle", [this](u32 out) -> u32 { return machine.Write(out, eventHandle), kOk; }));
    methods.push_back(Method("GetEvent", [this](u32 code, u32 first, u32 second, u32) -> u32 {
        if (events.empty()) return signal->signaled = false, kAbort;
        machine.Write(code, events.front().code);
        machine.Write(first, events.front().first);
        machine.Write(second, events.front().second);
        events.pop_front();
        return kOk;
    }));
    for (const char* name : {"WaitForCompletion", "CancelDefaultHandling", "RestoreDefaultHandling"})
        methods.push_back(Unused(name));
    methods.push_back(Method("FreeEventParams", [](u32, u32, u32) -> u32 { return kOk; }));
    Implement(kIidMediaEvent, "IMediaEvent", std::move(methods));
    Implement(kIidMediaEventSink, "IMediaEventSink",
              {Told("Notify", [this](u32 code, u32 first, u32 second) -> u32 {
                  Calls(process).Detail(std::to_string(code));
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
        methods.push_back(Told(name, [this, window, kept](i32 value) -> u32 {
            Calls(process).Detail(!window ? std::to_string(value) : value ? "set" : "0");
            if (window && IsGone(process, static_cast<u32>(value))) return kInvalidArgument;
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
    methods.push_back(Told("SetWindowPosition", [this](u32 left, u32 top, u32 width, u32 height) -> u32 {
        Calls(process).Detail(std::to_string(left) + " " + std::to_string(top) + " " + std::to_string(width) +
                              " " + std::to_string(height));
        return kOk;
    }));
    Implement(kIidVideoWindow, "IVideoWindow", std::move(methods));
}

void FilterGraph::OnLastRelease() {
    AddReference();  // filters still call back while they leave
    ChangeState(0);
    for (const auto& [pointer, pin] : hostPins) {
        if (!pin->Connected()) continue;
        const u32 place = HostMemory(process, 8);
        const bool isTold = CallMethod(process, pointer, slot::kPinConnectedTo, {place}) == kOk;
        // The graph joined them, and knows.
        const u32 peer = isTold ? machine.Read<u32>(place) : pin->Peer();
        CallMethod(process, peer, slot::kPinDisconnect);
        CallMethod(process, pointer, slot::kPinDisconnect);
        if (isTold) Release(process, peer);
    }
    for (const u32 filter : filters) {
        CallMethod(process, filter, slot::kFilterJoin, {0, 0});
        Release(process, filter);
    }
    filters.clear();
    process.CloseHandle(eventHandle);
    // Without the callback for the last reference, which this is already in.
    DropLastReference();
}

}  // namespace ce
