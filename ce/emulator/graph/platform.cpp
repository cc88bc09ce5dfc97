// The capture graph builder, and the classes that the program can create.
#include <algorithm>

#include "emulator/devices.h"
#include "emulator/graph/graph.h"
#include "emulator/graph/watch.h"
#include "emulator/text.h"

namespace ce {

namespace {

const Guid kIidCaptureGraphBuilder = ParseGuid("93E5A4E0-2D50-11D2-ABFA-00A0C9C6E38D");
const Guid kClsidCaptureGraphBuilder = ParseGuid("BF87B6E0-8C27-11D0-B3F0-00AA003761C5");
const Guid kClsidFilterGraph = ParseGuid("E436EBB3-524F-11CE-9F53-0020AF0BA770");
const Guid kClsidVideoCapture = ParseGuid("F80B6E95-B55A-4619-AEC4-A10EAEDE980C");
const Guid kClsidVideoRenderer = ParseGuid("70E102B0-5556-11CE-97C0-00AA0055595A");
constexpr u32 kNotFound = 0x80040216;

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

class GraphBuilder final : public HostObject {
  public:
    GraphBuilder(Process& owner, Platform& creator)
        : HostObject(owner, "capture graph builder", Listed::WhileWatched), platform(creator) {
        Implement(
            kIidCaptureGraphBuilder, "ICaptureGraphBuilder2",
            {Method("SetFiltergraph",
                    [this](u32 given) -> u32 {
                        CallMethod(process, given, 1);
                        graph = given;
                        return kOk;
                    }),
             Unused("GetFiltergraph"), Unused("SetOutputFileName"),
             Told("FindInterface",
                  [this](u32 category, u32 type, u32, u32 iid, u32 out) -> u32 {
                      const bool stream = ReadGuid(machine, iid) == kIidStreamConfig;
                      Calls(process).Detail(Kind(category, type) + (stream ? " IAMStreamConfig" : " ?"));
                      SourcePin& pin = ReadGuid(machine, category) == kCategoryStill
                                           ? platform.capture.still
                                           : platform.capture.preview;
                      const u32 found = pin.Query(ReadGuid(machine, iid));
                      machine.Write(out, found);
                      return found ? kOk : kNoInterface;
                  }),
             Told("RenderStream",
                  [this](u32 category, u32 type, u32, u32 middle, u32 sink) {
                      Calls(process).Detail(Kind(category, type));
                      return Render(ReadGuid(machine, category) == kCategoryStill, Unwatched(process, middle),
                                    Unwatched(process, sink));
                  }),
             Unused("ControlStream"), Unused("AllocCapFile"), Unused("CopyCaptureFile"),
             Told("FindPin",
                  [this](u32, u32 direction, u32 category, u32 type, u32 unconnected, u32 number,
                         u32 out) -> u32 {
                      Calls(process).Detail(std::to_string(direction) + " " + Kind(category, type) + " " +
                                            std::to_string(unconnected) + " " + std::to_string(number));
                      if (ReadGuid(machine, category) != kCategoryStill) return kNotFound;
                      machine.Write(out, platform.capture.still.Query(kIidPin));
                      return kOk;
                  })});
    }

  protected:
    void OnLastRelease() override {
        if (graph) Release(process, std::exchange(graph, 0));
    }

  private:
    std::string Kind(u32 category, u32 type) {
        const Guid id = ReadGuid(machine, category);
        return std::string(id == kCategoryStill     ? "PIN_CATEGORY_STILL "
                           : id == kCategoryPreview ? "PIN_CATEGORY_PREVIEW "
                                                    : "? ") +
               (ReadGuid(machine, type) == kMajorVideo ? "MEDIATYPE_Video" : "?");
    }
    u32 Render(bool still, u32 middle, u32 sink) {
        SourcePin& source = still ? platform.capture.still : platform.capture.preview;
        const u32 first = FindPin(process, middle ? middle : sink, 0);
        if (!first) return kFail;
        u32 result = source.ConnectTo(first);
        Release(process, first);
        if (result != kOk || !middle) return result;
        const u32 output = FindPin(process, middle, 1);
        const u32 last = FindPin(process, sink, 0);
        result = output && last ? CallMethod(process, output, slot::kPinConnect, {last, 0}) : kFail;
        if (output) Release(process, output);
        if (last) Release(process, last);
        return result;
    }

    Platform& platform;
    u32 graph = 0;
};

}  // namespace

Platform::Platform(Process& owner) : process(owner), capture(owner), renderer(owner) {
    const auto make = [](HostObject& object, const Guid& iid, u32& result) {
        result = kNoInterface;
        return object.Query(iid);
    };
    const auto keep = [this, make](std::unique_ptr<HostObject> object, const Guid& iid, u32& result) {
        const u32 pointer = make(*object, iid, result);
        Keep(process, std::move(object));
        return pointer;
    };
    RegisterClass(
        process, kClsidFilterGraph, "FilterGraph",
        [this, keep](const Guid& iid, u32& result) {
            auto fresh = std::make_unique<FilterGraph>(process);
            graph = fresh.get();
            graph->hostPins = {{capture.preview.Pointer(), &capture.preview},
                               {capture.still.Pointer(), &capture.still},
                               {renderer.input.Pointer(), &renderer.input}};
            return keep(std::move(fresh), iid, result);
        },
        Listed::WhileWatched);
    RegisterClass(
        process, kClsidCaptureGraphBuilder, "CaptureGraphBuilder",
        [this, keep](const Guid& iid, u32& result) {
            return keep(std::make_unique<GraphBuilder>(process, *this), iid, result);
        },
        Listed::WhileWatched);
    RegisterClass(
        process, kClsidVideoCapture, "CaptureFilter",
        [this, make](const Guid& iid, u32& result) {
            capture.Begin();
            return make(capture, iid, result);
        },
        Listed::Always);
    RegisterClass(
        process, kClsidVideoRenderer, "VideoRenderer",
        [this, make](const Guid& iid, u32& result) { return make(renderer, iid, result); },
        Listed::WhileWatched);
    RegisterClass(process, kClsidMemoryAllocator, "MemoryAllocator",
                  [this, keep](const Guid& iid, u32& result) {
                      return keep(std::make_unique<MemAllocator>(process), iid, result);
                  });
    process.Attachment<Wrapper>("wrapper") = [this](const std::string& name, const Guid& iid, u32 pointer) {
        return Calls(process).watchesGraph ? WatchFilter(process, name, iid, pointer) : pointer;
    };
    Play({});
}

void Platform::Play(kit::Scenario scenario) {
    constexpr u32 kResume = 2;  // the power manager's kind of notification
    auto& devices = process.Attachment<Devices>("devices");
    devices.clear();
    for (const kit::Device& device : scenario.devices)
        devices.push_back({kCameraClass, FromUtf8(device.name)});
    Calls(process).watchesGraph =
        scenario.watchGraph ||
        std::any_of(scenario.calls.begin(), scenario.calls.end(),
                    [](const kit::CallRule& rule) { return !IsCameraCall(rule.call); });
    Calls(process).Play(scenario.calls);
    capture.lost = false;
    capture.previewFrames = capture.stillPictures = 0;
    capture.onPreviewFrame = [this, loses = scenario.loseDeviceAfterFrames,
                              resumes = scenario.resumeAfterFrames] {
        const long frames = capture.previewFrames;
        if (frames == resumes) PostPowerMessage(process, kResume);
        if (frames == loses) capture.lost = true;
    };
    capture.scenario = std::move(scenario);
}

void Platform::RegisterFilters(const Module& module) {
    for (const Guid& clsid : {kClsidGrabber, kClsidSink}) {
        RegisterClass(
            process, clsid, clsid == kClsidSink ? "StillImageSink" : "SampleGrabber",
            [this, clsid, &module](const Guid& iid, u32& result) {
                return CreateFromModule(process, module, clsid, iid, result);
            },
            Listed::WhileWatched);
    }
}

const std::set<std::string>& KnownCalls() {
    static const std::set<std::string> known = [] {
        Process process;
        Platform platform(process);
        const FilterGraph graph(process);
        const GraphBuilder builder(process, platform);
        auto calls = process.Attachment<std::set<std::string>>("known calls");
        calls.merge(WatchedCalls());
        return calls;
    }();
    return known;
}

}  // namespace ce
