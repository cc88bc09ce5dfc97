#include "emulator/graph/filters.h"

#include "emulator/text.h"
#include "format.h"

namespace ce {

namespace {

const Guid kIidPersistPropertyBag = ParseGuid("37D84F60-42CB-11CE-8135-00AA004BB851");
const Guid kIidVideoControl = ParseGuid("6A2E0670-28E4-11D0-A18C-00A0C9118956");
const Guid kIidVideoProcAmp = ParseGuid("C6E13360-30AC-11D0-A18C-00A0C9118956");
const Guid kIidCameraControl = ParseGuid("C6E13370-30AC-11D0-A18C-00A0C9118956");
constexpr u32 kTriggerMode = 8;
constexpr u32 kNoSuchDevice = 0x80070002, kNotReady = 0x80070015, kDeviceGone = 0x8007048F;

class PinEnumerator final : public HostObject {
  public:
    PinEnumerator(Process& owner, std::vector<HostPin*> all)
        : HostObject(owner, "pin enumerator"), pins(std::move(all)) {
        Implement(
            kIidEnumPins, "IEnumPins",
            {Method("Next",
                    [this](u32 count, u32 out, u32 fetchedAt) -> u32 {
                        u32 fetched = 0;
                        while (fetched < count && next < pins.size()) {
                            machine.Write(out + 4 * fetched++, pins[next++]->Query(kIidPin));
                        }
                        if (fetchedAt) machine.Write(fetchedAt, fetched);
                        return fetched == count ? kOk : kFalse;
                    }),
             Unused("Skip"), Method("Reset", [this]() -> u32 { return next = 0, kOk; }), Unused("Clone")});
    }

  private:
    std::vector<HostPin*> pins;
    size_t next = 0;
};

}  // namespace

HostFilter::HostFilter(Process& owner, std::string filterName, std::string logName, Listed isListed)
    : HostObject(owner, std::move(filterName), isListed) {
    HoldByHost();
    const auto tell = [this, logName, isListed] {
        if (isListed != Listed::Unseen) Calls(process).Detail(logName);
    };
    Implement(
        kIidBaseFilter, "IBaseFilter",
        {Unused("GetClassID"),
         Told("Stop", [this, tell]() -> u32 { return tell(), state = 0, OnStop(), kOk; }),
         Told("Pause",
              [this, tell]() -> u32 {
                  tell();
                  const int before = std::exchange(state, 1);
                  if (before == 0) OnPause();
                  if (before == 2) OnStop();
                  return kOk;
              }),
         Told("Run", [this, tell](i64) -> u32 { return tell(), state = 2, OnRun(), kOk; }),
         Told("GetState",
              [this, tell](u32, u32 out) -> u32 { return tell(), machine.Write(out, state), kOk; }),
         Told("SetSyncSource", [tell](u32) -> u32 { return tell(), kOk; }),
         Told("GetSyncSource", [this, tell](u32 out) -> u32 { return tell(), machine.Write(out, 0u), kOk; }),
         Told("EnumPins",
              [this, tell](u32 out) -> u32 {
                  tell();
                  auto enumerator = std::make_unique<PinEnumerator>(process, pins);
                  machine.Write(out, enumerator->Query(kIidEnumPins));
                  return Keep(process, std::move(enumerator)), kOk;
              }),
         Unused("FindPin"), Unused("QueryFilterInfo"),
         Told("JoinFilterGraph", [tell](u32, u32) -> u32 { return tell(), kOk; }),
         Unused("QueryVendorInfo")});
}

CaptureFilter::CaptureFilter(Process& owner)
    : HostFilter(owner, "capture filter", "CaptureFilter", Listed::Always),
      preview(owner, "preview pin", "Preview", true, lost),
      still(owner, "still pin", "Still", false, lost) {
    pins = {&preview, &still};
    Begin();
    Implement(kIidPersistPropertyBag, "IPersistPropertyBag",
              {Unused("GetClassID"), Method("InitNew", []() -> u32 { return kOk; }),
               Told("Load", [this](u32 bag, u32) { return Load(bag); }), Unused("Save")});
    Implement(kIidVideoControl, "IAMVideoControl",
              {Unused("GetCaps"), Told("SetMode", [this](u32 pin, u32 mode) { return Trigger(pin, mode); }),
               Unused("GetMode"), Unused("GetCurrentActualFrameRate"), Unused("GetMaxAvailableFrameRate"),
               Unused("GetFrameRateList")});
    ImplementProperties(kIidVideoProcAmp, "IAMVideoProcAmp", kit::PropertySet::VideoProcAmp);
    ImplementProperties(kIidCameraControl, "IAMCameraControl", kit::PropertySet::CameraControl);
}

void CaptureFilter::Begin() {
    if (References() > 0) return;
    const auto offered = [this](const kit::Format& format) {
        const Guid& subtype = format.layout == kit::Layout::Yuy2     ? kSubtypeYuy2
                              : format.layout == kit::Layout::Rgb565 ? kSubtype565
                                                                     : kSubtype555;
        return VideoFormat{subtype, format.width, format.topDown ? -format.height : format.height, 2,
                           10000000u / static_cast<u32>(scenario.framesPerSecond)};
    };
    std::vector<VideoFormat> stills;
    for (const kit::Format& format : scenario.stillFormats) stills.push_back(offered(format));
    preview.Offer({offered(scenario.preview)}, 0);
    still.Offer(std::move(stills), scenario.stillFormat);
    properties = scenario.properties;
    frame = triggers = 0;
    loaded = false;
}

u32 CaptureFilter::Load(u32 bag) {
    const u32 name = process.NewText(u"VCapName");
    const u32 variant = HostMemory(process, 16);
    machine.Write(variant, u16{0});
    const u32 result = CallMethod(process, bag, 3, {name, variant, 0});  // Read
    process.heap.Free(name);
    if (result != kOk) return result;
    const u32 text = machine.Read<u32>(variant + 8);
    driver = machine.Text(text);
    process.heap.Free(text - 4);
    const std::string wanted = ToUtf8(driver);
    Calls(process).Detail(wanted);
    for (const kit::Device& device : scenario.devices) {
        if (device.name != wanted) continue;
        loaded = true;
        return cameraId = static_cast<i32>(device.cameraId), kOk;
    }
    return kNoSuchDevice;
}

void CaptureFilter::ImplementProperties(const Guid& iid, const std::string& name, kit::PropertySet set) {
    const auto find = [this, set](i32 number) -> const kit::Property* {
        Calls(process).Detail(std::to_string(number));
        const kit::Property* property = properties.Find(set, number);
        return property && property->supported ? property : nullptr;
    };
    const auto write = [this](u32 at, long value) { machine.Write(at, static_cast<i32>(value)); };
    constexpr auto kNone = static_cast<u32>(kit::kNoSuchProperty);
    Implement(iid, name,
              {Told("GetRange",
                    [=](i32 number, u32 minimum, u32 maximum, u32 step, u32 preset, u32 flags) -> u32 {
                        const kit::Property* property = find(number);
                        if (!property) return kNone;
                        write(minimum, property->minimum);
                        write(maximum, property->maximum);
                        write(step, property->step);
                        write(preset, property->initial);
                        return write(flags, property->capabilities), kOk;
                    }),
               Told("Set",
                    [=, this](i32 number, i32 value, u32 flags) {
                        find(number);
                        return static_cast<u32>(properties.Set(set, number, value, flags));
                    }),
               Told("Get", [=, this](i32 number, u32 value, u32 flags) -> u32 {
                   const kit::Property* property = find(number);
                   const bool isId =
                       set == kit::PropertySet::VideoProcAmp && number == kit::kPropertyCameraId;
                   if (!property && !isId) return kNone;
                   write(value, isId ? cameraId : property->value);
                   return write(flags, isId ? kit::kFlagManual : property->flags), kOk;
               })});
}

// A lost camera can be stopped, and lets go of what it holds.
u32 CaptureFilter::Refusal(const std::string& call) {
    const bool loads = call.starts_with("IPersistPropertyBag::");
    const bool works = call.starts_with("IAM") || call == "IBaseFilter::Pause" || call == "IBaseFilter::Run";
    if (lost && (loads || works)) return kDeviceGone;
    return works && !loaded ? kNotReady : kOk;
}

u32 SourcePin::Refusal(const std::string& call) {
    const bool works = call.starts_with("IAMStreamConfig::") || call == "IPin::EnumMediaTypes";
    return gone && works ? kDeviceGone : kOk;
}

// ---- Streaming --------------------------------------------------------------------------------------------

void CaptureFilter::OnPause() {
    preview.Commit();
    still.Commit();
}

void CaptureFilter::OnRun() {
    const auto start = [this](const char* name, void (CaptureFilter::*stream)()) {
        streams.push_back(process.scheduler.Start(name, [this, stream]() -> u32 {
            (this->*stream)();
            return 0;
        }));
    };
    start("preview stream", &CaptureFilter::StreamPreview);
    if (triggers > 0) start("still stream", &CaptureFilter::StreamStills);
}

void CaptureFilter::OnStop() {
    for (const auto& stream : streams) process.scheduler.Wait({stream}, false, kInfinite);
    streams.clear();
}

u32 CaptureFilter::Show(SourcePin& pin, View& view, bool isStill) {
    return pin.Deliver([&](u8* bytes, const VideoFormat& format) {
        const kit::Format shape = {format.subtype == kSubtypeYuy2  ? kit::Layout::Yuy2
                                   : format.subtype == kSubtype565 ? kit::Layout::Rgb565
                                                                   : kit::Layout::Rgb555,
                                   format.width, std::abs(format.height), format.height < 0};
        const kit::Picture& seen = view.scene->Frame(frame, shape.width, shape.height);
        kit::Pack(view.look.Apply(seen, properties, isStill), shape, bytes);
    });
}

void CaptureFilter::StreamPreview() {
    const u32 pause = 1000 / static_cast<u32>(scenario.framesPerSecond);
    while (state == 2) {
        if (!lost && Show(preview, previewView, false) == kOk) {
            ++frame;
            ++previewFrames;
            if (onPreviewFrame) onPreviewFrame();
        }
        process.scheduler.Sleep(pause);
    }
}

void CaptureFilter::StreamStills() {
    for (; state == 2 && triggers > 0; --triggers) {
        process.scheduler.Sleep(1000 / static_cast<u32>(scenario.framesPerSecond));
        if (!lost && Show(still, stillView, true) == kOk) ++stillPictures;
    }
}

// A picture that is asked for while nothing runs comes when something does.
u32 CaptureFilter::Trigger(u32 pin, u32 mode) {
    Calls(process).Detail(std::to_string(mode));
    if (pin != still.Pointer() || mode != kTriggerMode) return kInvalidArgument;
    if (!still.Connected()) return kNotConnected;
    if (++triggers > 1 || state != 2) return kOk;
    streams.push_back(process.scheduler.Start("still stream", [this]() -> u32 { return StreamStills(), 0; }));
    return kOk;
}

}  // namespace ce
