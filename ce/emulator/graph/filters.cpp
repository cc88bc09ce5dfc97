#include "emulator/graph/filters.h"

#include <cstring>

namespace ce {

namespace {

const Guid kIidPersistPropertyBag = ParseGuid("37D84F60-42CB-11CE-8135-00AA004BB851");
const Guid kIidVideoControl = ParseGuid("6A2E0670-28E4-11D0-A18C-00A0C9118956");
const Guid kIidVideoProcAmp = ParseGuid("C6E13360-30AC-11D0-A18C-00A0C9118956");
const Guid kIidCameraControl = ParseGuid("C6E13370-30AC-11D0-A18C-00A0C9118956");
constexpr u32 kTriggerMode = 8;
constexpr u32 kFramePause = 33;
constexpr u32 kPropertyNotSupported = 0x80070490;

}  // namespace

// ---- Pins --------------------------------------------------------------------------------------------------------------

HostPin::HostPin(Process& process, std::string name, bool isOutput, std::vector<VideoFormat> formats)
    : HostObject(process, std::move(name)), output(isOutput), formats_(std::move(formats)) {
    HoldByHost();
    Implement(
        kIidPin, "IPin",
        {Unused("Connect"),
         Method("ReceiveConnection", [this](u32 connector, u32 type) { return Receive(connector, type); }),
         Method("Disconnect", [this]() -> u32 { return Connected() ? (Drop(), kOk) : kFalse; }),
         Method("ConnectedTo",
                [this](u32 out) -> u32 {
                    machine_.Write(out, peer_);
                    if (peer_) CallMethod(process_, peer_, 1);
                    return peer_ ? kOk : kNotConnected;
                }),
         Unused("ConnectionMediaType"), Unused("QueryPinInfo"),
         Method("QueryDirection",
                [this](u32 out) -> u32 { return machine_.Write(out, output ? 1u : 0u), kOk; }),
         Unused("QueryId"),
         Method("QueryAccept",
                [this](u32 type) -> u32 {
                    VideoFormat format;
                    return ReadMediaType(process_, type, format) && format.subtype == formats_.front().subtype
                               ? kOk
                               : kFalse;
                }),
         Method("EnumMediaTypes",
                [this](u32 out) -> u32 {
                    // Enumerators live as long as the process; there are few.
                    auto* types = new MediaTypeEnumerator(process_, formats_);
                    process_.attachments["enumerator" + std::to_string(process_.attachments.size())] =
                        std::shared_ptr<MediaTypeEnumerator>(types);
                    machine_.Write(out, types->Query(kIidEnumMediaTypes));
                    return kOk;
                }),
         Unused("QueryInternalConnections"), Method("EndOfStream", []() -> u32 { return kOk; }),
         Method("BeginFlush", []() -> u32 { return kOk; }), Method("EndFlush", []() -> u32 { return kOk; }),
         Method("NewSegment", [](i64, i64, double) -> u32 { return kOk; })});
}

u32 HostPin::Receive(u32 connector, u32 type) {
    if (Connected()) return kAlreadyConnected;
    VideoFormat format;
    if (output || !ReadMediaType(process_, type, format) || format.subtype != formats_.front().subtype)
        return kTypeNotAccepted;
    format_ = format;
    peer_ = connector;
    CallMethod(process_, peer_, 1);
    return Complete();
}

void HostPin::Drop() {
    if (!peer_) return;
    Break();
    Release(process_, std::exchange(peer_, 0));
}

SourcePin::SourcePin(Process& process, std::string name, std::vector<VideoFormat> formats, bool ownAllocator)
    : HostPin(process, std::move(name), true, std::move(formats)),
      ownAllocator_(ownAllocator),
      capabilities_(formats_) {
    Implement(kIidStreamConfig, "IAMStreamConfig",
              {Method("SetFormat",
                      [this](u32 type) -> u32 {
                          Calls(process_).Detail(Name() == "still pin" ? "Still" : "Preview");
                          VideoFormat wanted;
                          if (!ReadMediaType(process_, type, wanted)) return kInvalidArgument;
                          for (size_t i = 0; i < formats_.size(); ++i) {
                              if (formats_[i] == wanted) return std::swap(formats_[0], formats_[i]), kOk;
                          }
                          return kInvalidArgument;
                      }),
               Method("GetFormat",
                      [this](u32 out) -> u32 {
                          return machine_.Write(out, NewMediaType(process_, formats_.front())), kOk;
                      }),
               Method("GetNumberOfCapabilities",
                      [this](u32 countAt, u32 sizeAt) -> u32 {
                          Calls(process_).Detail(Name() == "still pin" ? "Still" : "Preview");
                          machine_.Write(countAt, static_cast<u32>(capabilities_.size()));
                          machine_.Write(sizeAt, capabilityBytes);
                          return kOk;
                      }),
               Method("GetStreamCaps", [this](u32 index, u32 out, u32 capability) -> u32 {
                   Calls(process_).Detail(std::to_string(index));
                   if (index >= capabilities_.size()) return kFalse;
                   // The whole record is written: one that is smaller in the program's view is overrun, and the heap's fences tell.
                   std::memset(machine_.Bytes(capability, capabilityBytes), 0x11, capabilityBytes);
                   const u32 type = NewMediaType(process_, capabilities_[index]);
                   if (onCapability) onCapability(type);
                   machine_.Write(out, type);
                   return kOk;
               })});
}

u32 SourcePin::ConnectTo(u32 receiver, u32 proposal) {
    if (Connected()) return kAlreadyConnected;
    VideoFormat wanted;
    if (proposal && !ReadMediaType(process_, proposal, wanted)) return kInvalidArgument;
    u32 result = kNoAcceptableTypes;
    for (const VideoFormat& format : formats_) {
        if (proposal && !(format == wanted)) continue;
        const u32 type = NewMediaType(process_, format);
        result = CallMethod(process_, receiver, slot::kPinReceiveConnection, {Pointer(), type});
        DeleteMediaType(process_, type);
        if (result != kOk) continue;
        format_ = format;
        peer_ = receiver;
        CallMethod(process_, peer_, 1);
        result = Complete();
        if (result != kOk) {
            CallMethod(process_, receiver, slot::kPinDisconnect);
            Drop();
        }
        return result;
    }
    return result;
}

u32 SourcePin::Complete() {
    receiver_ = QueryInterface(process_, peer_, kIidMemInputPin);
    if (!receiver_) return kNoInterface;
    const u32 place = HostMemory(process_, 40);
    if (ownAllocator_) {
        own_ = std::make_unique<MemAllocator>(process_);
        allocator_ = own_->Query(kIidMemAllocator);
    } else {
        const u32 result = CallMethod(process_, receiver_, slot::kInputGetAllocator, {place});
        if (result != kOk) return result;
        allocator_ = machine_.Read<u32>(place);
    }
    machine_.Write(place + 8, 1u);
    machine_.Write(place + 12, format_.Size());
    machine_.Write(place + 16, 1u);
    machine_.Write(place + 20, 0u);
    const u32 result =
        CallMethod(process_, allocator_, slot::kAllocatorSetProperties, {place + 8, place + 24});
    if (result != kOk) return result;
    return CallMethod(process_, receiver_, slot::kInputNotifyAllocator, {allocator_, 0});
}

void SourcePin::Break() {
    if (allocator_) {
        CallMethod(process_, allocator_, slot::kAllocatorDecommit);
        Release(process_, std::exchange(allocator_, 0));
    }
    if (receiver_) Release(process_, std::exchange(receiver_, 0));
    if (own_)
        process_.attachments["allocator" + std::to_string(process_.attachments.size())] =
            std::shared_ptr<MemAllocator>(std::move(own_));
}

void SourcePin::Commit() {
    if (allocator_) CallMethod(process_, allocator_, slot::kAllocatorCommit);
}

u32 SourcePin::Deliver(const std::function<void(u8* bytes, const VideoFormat& format)>& paint) {
    const u32 place = HostMemory(process_, 8);
    u32 result = CallMethod(process_, allocator_, slot::kAllocatorGetBuffer, {place, 0, 0, 0});
    if (result != kOk) return result;
    const u32 sample = machine_.Read<u32>(place);
    CallMethod(process_, sample, slot::kSampleGetPointer, {place});
    const u32 buffer = machine_.Read<u32>(place);
    paint(machine_.Bytes(buffer, format_.Size()), format_);
    CallMethod(process_, sample, slot::kSampleSetLength, {format_.Size()});
    ++delivered;
    result = CallMethod(process_, receiver_, slot::kInputReceive, {sample});
    Release(process_, sample);
    return result;
}

RendererPin::RendererPin(Process& process) : HostPin(process, "renderer pin", false, {{kSubtype555, 0, 0}}) {
    Implement(
        kIidMemInputPin, "IMemInputPin",
        {Method("GetAllocator",
                [this](u32 out) -> u32 {
                    auto* allocator = new MemAllocator(process_);
                    process_.attachments["renderer allocator" + std::to_string(process_.attachments.size())] =
                        std::shared_ptr<MemAllocator>(allocator);
                    machine_.Write(out, allocator->Query(kIidMemAllocator));
                    return kOk;
                }),
         Method("NotifyAllocator",
                [this](u32 allocator, u32) -> u32 {
                    CallMethod(process_, allocator, 1);
                    if (allocator_) Release(process_, allocator_);
                    allocator_ = allocator;
                    return kOk;
                }),
         Unused("GetAllocatorRequirements"),
         Method("Receive",
                [this](u32 sample) -> u32 {
                    const u32 place = HostMemory(process_, 8);
                    CallMethod(process_, sample, slot::kSampleGetPointer, {place});
                    const u32 size = CallMethod(process_, sample, slot::kSampleGetSize);
                    const u8* bytes = machine_.Bytes(machine_.Read<u32>(place), size);
                    lastFrame.assign(bytes, bytes + size);
                    ++frames;
                    return kOk;
                }),
         Unused("ReceiveMultiple"), Method("ReceiveCanBlock", []() -> u32 { return kFalse; })});
}

void RendererPin::Break() {
    if (allocator_) Release(process_, std::exchange(allocator_, 0));
}

// ---- Filters -----------------------------------------------------------------------------------------------------------

namespace {

class PinEnumerator final : public HostObject {
  public:
    PinEnumerator(Process& process, std::vector<HostPin*> pins)
        : HostObject(process, "pin enumerator"), pins_(std::move(pins)) {
        Implement(
            kIidEnumPins, "IEnumPins",
            {Method("Next",
                    [this](u32 count, u32 out, u32 fetchedAt) -> u32 {
                        u32 fetched = 0;
                        while (fetched < count && next_ < pins_.size()) {
                            machine_.Write(out + 4 * fetched++, pins_[next_++]->Query(kIidPin));
                        }
                        if (fetchedAt) machine_.Write(fetchedAt, fetched);
                        return fetched == count ? kOk : kFalse;
                    }),
             Unused("Skip"), Method("Reset", [this]() -> u32 { return next_ = 0, kOk; }), Unused("Clone")});
    }

  private:
    std::vector<HostPin*> pins_;
    size_t next_ = 0;
};

}  // namespace

HostFilter::HostFilter(Process& process, std::string name) : HostObject(process, std::move(name)) {
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
               Method("GetState", [this](u32, u32 out) -> u32 { return machine_.Write(out, state), kOk; }),
               Method("SetSyncSource", [](u32) -> u32 { return kOk; }),
               Method("GetSyncSource", [this](u32 out) -> u32 { return machine_.Write(out, 0u), kOk; }),
               Method("EnumPins",
                      [this](u32 out) -> u32 {
                          auto* enumerator = new PinEnumerator(process_, pins);
                          process_.attachments["pins" + std::to_string(process_.attachments.size())] =
                              std::shared_ptr<PinEnumerator>(enumerator);
                          machine_.Write(out, enumerator->Query(kIidEnumPins));
                          return kOk;
                      }),
               Unused("FindPin"), Unused("QueryFilterInfo"),
               Method("JoinFilterGraph", [](u32, u32) -> u32 { return kOk; }), Unused("QueryVendorInfo")});
}

CaptureFilter::CaptureFilter(Process& process)
    : HostFilter(process, "capture filter"),
      preview(process, "preview pin", {{kSubtype555, 160, 120}}, true),
      still(process, "still pin",
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
                          const u32 name = process_.NewText(u"VCapName");
                          const u32 variant = HostMemory(process_, 16);
                          machine_.Write(variant, u16{0});
                          const u32 result = CallMethod(process_, bag, 3, {name, variant, 0});  // Read
                          process_.heap.Free(name);
                          if (result != kOk) return result;
                          const u32 text = machine_.Read<u32>(variant + 8);
                          driver = machine_.Text(text);
                          process_.heap.Free(text - 4);
                          Calls(process_).Detail(std::string(driver.begin(), driver.end()));
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
                          machine_.Write(minimum, property.minimum);
                          machine_.Write(maximum, property.maximum);
                          machine_.Write(step, property.step);
                          machine_.Write(preset, property.preset);
                          machine_.Write(flags, property.flags);
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
                   machine_.Write(value, properties[id].value);
                   machine_.Write(flags, properties[id].mode);
                   return kOk;
               })});
}

void CaptureFilter::OnPause() {
    preview.Commit();
    still.Commit();
}

void CaptureFilter::OnRun() {
    streams_.push_back(process_.scheduler.Start("preview stream", [this]() -> u32 {
        while (state == 2) {
            const u32 number = preview.delivered;
            if (preview.Deliver(
                    [&](u8* bytes, const VideoFormat& format) { scene(bytes, format, number); }) != kOk)
                break;
            process_.scheduler.Sleep(kFramePause);
        }
        return 0;
    }));
}

void CaptureFilter::OnStop() {
    for (const auto& stream : streams_) process_.scheduler.Wait({stream}, false, kInfinite);
    streams_.clear();
}

u32 CaptureFilter::Trigger(u32 pin, u32 mode) {
    if (pin != still.Pointer() || mode != kTriggerMode || state != 2) return kInvalidArgument;
    streams_.push_back(process_.scheduler.Start("still stream", [this]() -> u32 {
        process_.scheduler.Sleep(kFramePause);
        return still.Deliver(
            [&](u8* bytes, const VideoFormat& format) { scene(bytes, format, still.delivered); });
    }));
    return kOk;
}

// ---- The chart ---------------------------------------------------------------------------------------------------------

u16 ChartWord(i32 x, i32 row) {
    return static_cast<u16>((x / 4 % 32) << 11 | (row / 2 % 64) << 5 | ((x + row) / 8 % 32));
}

ChartYuv ChartLuma(i32 x, i32 row) {
    const bool dark = x / 10 % 2 == row / 10 % 2;
    return {static_cast<u8>(dark ? 20 + x % 30 : 200 + row % 40), static_cast<u8>(96 + x / 2 % 64),
            static_cast<u8>(96 + row / 2 % 64)};
}

// Rows are numbered as they lie in memory.
void PaintChart(u8* bytes, const VideoFormat& format, u32 number) {
    for (i32 row = 0; row < std::abs(format.height); ++row) {
        u8* line = bytes + static_cast<size_t>(row) * format.Stride();
        // Two pixels share their colour, also where the second lies beyond the picture.
        for (i32 x = 0; x < (format.subtype == kSubtypeYuy2 ? (format.width + 1) / 2 * 2 : format.width);
             ++x) {
            if (format.subtype == kSubtypeYuy2) {
                const ChartYuv pair = ChartLuma(x / 2 * 2, row);
                line[2 * x] = ChartLuma(x, row).y;
                line[2 * x + 1] = x % 2 == 0 ? pair.u : pair.v;
            } else {
                u16 word = ChartWord(x, row);
                if (format.subtype == kSubtype555) word = static_cast<u16>((word + number) & 0x7FFF);
                std::memcpy(line + 2 * x, &word, 2);
            }
        }
    }
}

}  // namespace ce
