// Pins of the platform's filters, and how they connect.
#include "emulator/graph/filters.h"

#include <cstring>

namespace ce {

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
                   // The whole record is written: one that is smaller in the program's view is overrun, and
                   // the heap's fences tell.
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

}  // namespace ce
