#include "emulator/graph/filters.h"

namespace ce {

namespace {

const Guid kIidPersistPropertyBag = ParseGuid("37D84F60-42CB-11CE-8135-00AA004BB851");
const Guid kIidVideoControl = ParseGuid("6A2E0670-28E4-11D0-A18C-00A0C9118956");
const Guid kIidVideoProcAmp = ParseGuid("C6E13360-30AC-11D0-A18C-00A0C9118956");
const Guid kIidCameraControl = ParseGuid("C6E13370-30AC-11D0-A18C-00A0C9118956");
constexpr u32 kTriggerMode = 8;
constexpr u32 kPropertyNotSupported = 0x80070490;

}  // namespace

namespace {

class PinEnumerator final : public HostObject {
  public:
    PinEnumerator(Process& owner, std::vector<HostPin*> listed)
        : HostObject(owner, "pin enumerator"), pins(std::move(listed)) {
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

HostFilter::HostFilter(Process& owner, std::string filterName) : HostObject(owner, std::move(filterName)) {
    HoldByHost();
    Implement(kIidBaseFilter, "IBaseFilter",
              {Unused("GetClassID"), Method("Stop", [this]() -> u32 { return state = 0, OnStop(), kOk; }),
               Method("Pause",
                      [this]() -> u32 {
                          const int before = std::exchange(state, 1);
                          if (before == 0) OnPause();
                          if (before == 2) OnStop();
                          return kOk;
                      }),
               Method("Run", [this](i64) -> u32 { return state = 2, OnRun(), kOk; }),
               Method("GetState", [this](u32, u32 out) -> u32 { return machine.Write(out, state), kOk; }),
               Method("SetSyncSource", [](u32) -> u32 { return kOk; }),
               Method("GetSyncSource", [this](u32 out) -> u32 { return machine.Write(out, 0u), kOk; }),
               Method("EnumPins",
                      [this](u32 out) -> u32 {
                          auto* enumerator = new PinEnumerator(process, pins);
                          process.attachments["pins" + std::to_string(process.attachments.size())] =
                              std::shared_ptr<PinEnumerator>(enumerator);
                          machine.Write(out, enumerator->Query(kIidEnumPins));
                          return kOk;
                      }),
               Unused("FindPin"), Unused("QueryFilterInfo"),
               Method("JoinFilterGraph", [](u32, u32) -> u32 { return kOk; }), Unused("QueryVendorInfo")});
}

CaptureFilter::CaptureFilter(Process& owner)
    : HostFilter(owner, "capture filter"),
      preview(owner, "preview pin", {{kSubtype555, 160, 120}}, true),
      still(owner, "still pin",
            {{kSubtypeYuy2, 160, 120},
             {kSubtype565, 320, 240},
             {kSubtypeYuy2, 161, -101},
             {kSubtypeYuy2, 640, 480}},
            false),
      scene(PaintChart) {
    pins = {&preview, &still};
    videoProperties = {{0, {-100, 100, 1, 0, 0, 3}}, {6, {0, 1, 1, 1, 1, 2}}};
    cameraProperties = {{3, {100, 400, 10, 100, 100, 2}}, {7, {0, 2, 1, 0, 0, 2}}};
    Implement(kIidPersistPropertyBag, "IPersistPropertyBag",
              {Unused("GetClassID"), Method("InitNew", []() -> u32 { return kOk; }),
               Method("Load",
                      [this](u32 bag, u32) -> u32 {
                          const u32 name = process.NewText(u"VCapName");
                          const u32 variant = HostMemory(process, 16);
                          machine.Write(variant, u16{0});
                          const u32 result = CallMethod(process, bag, 3, {name, variant, 0});  // Read
                          process.heap.Free(name);
                          if (result != kOk) return result;
                          const u32 text = machine.Read<u32>(variant + 8);
                          driver = machine.Text(text);
                          process.heap.Free(text - 4);
                          Calls(process).Detail(std::string(driver.begin(), driver.end()));
                          return kOk;
                      }),
               Unused("Save")});
    Implement(kIidVideoControl, "IAMVideoControl",
              {Unused("GetCaps"), Method("SetMode", [this](u32 pin, u32 mode) { return Trigger(pin, mode); }),
               Unused("GetMode"), Unused("GetCurrentActualFrameRate"), Unused("GetMaxAvailableFrameRate"),
               Unused("GetFrameRateList")});
    ImplementProperties(kIidVideoProcAmp, "IAMVideoProcAmp", videoProperties);
    ImplementProperties(kIidCameraControl, "IAMCameraControl", cameraProperties);
}

void CaptureFilter::ImplementProperties(const Guid& iid, const std::string& name,
                                        std::map<u32, Property>& properties) {
    Implement(iid, name,
              {Method("GetRange",
                      [this, &properties](u32 id, u32 minimum, u32 maximum, u32 step, u32 preset,
                                          u32 flags) -> u32 {
                          if (!properties.contains(id)) return kPropertyNotSupported;
                          const Property& property = properties[id];
                          machine.Write(minimum, property.minimum);
                          machine.Write(maximum, property.maximum);
                          machine.Write(step, property.step);
                          machine.Write(preset, property.preset);
                          machine.Write(flags, property.flags);
                          return kOk;
                      }),
               Method("Set",
                      [this, &properties, name](u32 id, i32 value, u32 mode) -> u32 {
                          settings.push_back({name, id, value, mode});
                          if (!properties.contains(id)) return kPropertyNotSupported;
                          Property& property = properties[id];
                          if (value < property.minimum || value > property.maximum) return kInvalidArgument;
                          property.mode = mode;
                          return property.value = value, kOk;
                      }),
               Method("Get", [this, &properties](u32 id, u32 value, u32 flags) -> u32 {
                   if (!properties.contains(id)) return kPropertyNotSupported;
                   machine.Write(value, properties[id].value);
                   machine.Write(flags, properties[id].mode);
                   return kOk;
               })});
}

void CaptureFilter::OnPause() {
    preview.Commit();
    still.Commit();
}

void CaptureFilter::OnRun() {
    streams.push_back(process.scheduler.Start("preview stream", [this]() -> u32 {
        while (state == 2) {
            const u32 number = preview.delivered;
            if (preview.Deliver(
                    [&](u8* bytes, const VideoFormat& format) { scene(bytes, format, number); }) != kOk)
                break;
            if (onPreviewFrame) onPreviewFrame(preview.delivered);
            process.scheduler.Sleep(framePause);
        }
        return 0;
    }));
}

void CaptureFilter::OnStop() {
    for (const auto& stream : streams) process.scheduler.Wait({stream}, false, kInfinite);
    streams.clear();
}

u32 CaptureFilter::Trigger(u32 pin, u32 mode) {
    if (pin != still.Pointer() || mode != kTriggerMode || state != 2) return kInvalidArgument;
    streams.push_back(process.scheduler.Start("still stream", [this]() -> u32 {
        process.scheduler.Sleep(framePause);
        return still.Deliver(
            [&](u8* bytes, const VideoFormat& format) { scene(bytes, format, still.delivered); });
    }));
    return kOk;
}

}  // namespace ce
