// Pins of the platform's filters, and how they connect.
#include "emulator/graph/filters.h"

#include <cstring>

namespace ce {

HostPin::HostPin(Process& owner, std::string pinName, bool isOutput, std::vector<VideoFormat> offered,
                 Listed isListed)
    : HostObject(owner, std::move(pinName), isListed), output(isOutput), formats(std::move(offered)) {
    HoldByHost();
    Implement(
        kIidPin, "IPin",
        {Unused("Connect"),
         Method("ReceiveConnection", [this](u32 connector, u32 type) { return Receive(connector, type); }),
         Method("Disconnect", [this]() -> u32 { return Connected() ? (Drop(), kOk) : kFalse; }),
         Method("ConnectedTo",
                [this](u32 out) -> u32 {
                    machine.Write(out, peer);
                    if (peer) CallMethod(process, peer, 1);
                    return peer ? kOk : kNotConnected;
                }),
         Unused("ConnectionMediaType"), Unused("QueryPinInfo"),
         Method("QueryDirection",
                [this](u32 out) -> u32 { return machine.Write(out, output ? 1u : 0u), kOk; }),
         Unused("QueryId"),
         Method("QueryAccept",
                [this](u32 type) -> u32 {
                    VideoFormat wanted;
                    return ReadMediaType(process, type, wanted) && wanted.subtype == formats.front().subtype
                               ? kOk
                               : kFalse;
                }),
         Method("EnumMediaTypes",
                [this](u32 out) -> u32 {
                    auto types = std::make_unique<MediaTypeEnumerator>(process, formats);
                    machine.Write(out, types->Query(kIidEnumMediaTypes));
                    return Keep(process, std::move(types)), kOk;
                }),
         Unused("QueryInternalConnections"), Method("EndOfStream", []() -> u32 { return kOk; }),
         Method("BeginFlush", []() -> u32 { return kOk; }), Method("EndFlush", []() -> u32 { return kOk; }),
         Method("NewSegment", [](i64, i64, double) -> u32 { return kOk; })});
}

u32 HostPin::Receive(u32 connector, u32 type) {
    if (Connected()) return kAlreadyConnected;
    VideoFormat wanted;
    if (output || !ReadMediaType(process, type, wanted) || wanted.subtype != formats.front().subtype)
        return kTypeNotAccepted;
    format = wanted;
    peer = connector;
    CallMethod(process, peer, 1);
    return Complete();
}

void HostPin::Drop() {
    if (!peer) return;
    Break();
    Release(process, std::exchange(peer, 0));
}

SourcePin::SourcePin(Process& owner, std::string pinName, std::string shortName, bool ownsAllocator,
                     const bool& isGone)
    : HostPin(owner, std::move(pinName), true, {}, Listed::Always),
      part(std::move(shortName)),
      gone(isGone),
      ownAllocator(ownsAllocator) {
    Implement(kIidStreamConfig, "IAMStreamConfig",
              {Told("SetFormat",
                    [this](u32 type) -> u32 {
                        Calls(process).Detail(part);
                        if (Connected()) return kAlreadyConnected;
                        VideoFormat wanted;
                        if (!ReadMediaType(process, type, wanted)) return kInvalidArgument;
                        for (const VideoFormat& one : capabilities) {
                            if (one == wanted) return formats = {one}, kOk;
                        }
                        return kInvalidArgument;
                    }),
               Method("GetFormat",
                      [this](u32 out) -> u32 {
                          return machine.Write(out, NewMediaType(process, formats.front())), kOk;
                      }),
               Told("GetNumberOfCapabilities",
                    [this](u32 countAt, u32 sizeAt) -> u32 {
                        Calls(process).Detail(part);
                        machine.Write(countAt, static_cast<u32>(capabilities.size()));
                        machine.Write(sizeAt, capabilityBytes);
                        return kOk;
                    }),
               Told("GetStreamCaps", [this](u32 index, u32 out, u32 capability) -> u32 {
                   Calls(process).Detail(std::to_string(index));
                   if (index >= capabilities.size()) return kFalse;
                   // The whole record is written: one that is smaller in the program's view is overrun, and
                   // the heap's fences tell.
                   std::memset(machine.Bytes(capability, capabilityBytes), 0x11, capabilityBytes);
                   const u32 type = NewMediaType(process, capabilities[index]);
                   if (onCapability) onCapability(type);
                   machine.Write(out, type);
                   return kOk;
               })});
}

void SourcePin::Offer(std::vector<VideoFormat> all, size_t first) {
    capabilities = std::move(all);
    formats = {capabilities.at(first)};
}

u32 SourcePin::ConnectTo(u32 pin, u32 proposal) {
    if (Connected()) return kAlreadyConnected;
    const VideoFormat one = formats.front();
    VideoFormat wanted;
    if (proposal && !ReadMediaType(process, proposal, wanted)) return kInvalidArgument;
    if (proposal && !(one == wanted)) return kNoAcceptableTypes;
    const u32 type = NewMediaType(process, one);
    u32 result = CallMethod(process, pin, slot::kPinReceiveConnection, {Pointer(), type});
    DeleteMediaType(process, type);
    if (result != kOk) return result;
    format = one;
    peer = pin;
    CallMethod(process, peer, 1);
    result = Complete();
    if (result == kOk) return kOk;
    CallMethod(process, pin, slot::kPinDisconnect);
    Drop();
    return result;
}

u32 SourcePin::Complete() {
    receiver = QueryInterface(process, peer, kIidMemInputPin);
    if (!receiver) return kNoInterface;
    const u32 place = HostMemory(process, 40);
    if (ownAllocator) {
        own = std::make_unique<MemAllocator>(process);
        allocator = own->Query(kIidMemAllocator);
    } else {
        const u32 result = CallMethod(process, receiver, slot::kInputGetAllocator, {place});
        if (result != kOk) return result;
        allocator = machine.Read<u32>(place);
    }
    machine.Write(place + 8, 1u);
    machine.Write(place + 12, format.Size());
    machine.Write(place + 16, 1u);
    machine.Write(place + 20, 0u);
    const u32 result = CallMethod(process, allocator, slot::kAllocatorSetProperties, {place + 8, place + 24});
    if (result != kOk) return result;
    return CallMethod(process, receiver, slot::kInputNotifyAllocator, {allocator, 0});
}

void SourcePin::Break() {
    if (allocator) {
        CallMethod(process, allocator, slot::kAllocatorDecommit);
        Release(process, std::exchange(allocator, 0));
    }
    if (receiver) Release(process, std::exchange(receiver, 0));
    if (own) Keep(process, std::move(own));
}

void SourcePin::Commit() {
    if (allocator) CallMethod(process, allocator, slot::kAllocatorCommit);
}

u32 SourcePin::Deliver(const std::function<void(u8* bytes, const VideoFormat& format)>& paint) {
    if (!receiver) return kNotConnected;
    const u32 place = HostMemory(process, 8);
    u32 result = CallMethod(process, allocator, slot::kAllocatorGetBuffer, {place, 0, 0, 0});
    if (result != kOk) return result;
    const u32 sample = machine.Read<u32>(place);
    CallMethod(process, sample, slot::kSampleGetPointer, {place});
    const u32 buffer = machine.Read<u32>(place);
    paint(machine.Bytes(buffer, format.Size()), format);
    CallMethod(process, sample, slot::kSampleSetLength, {format.Size()});
    result = CallMethod(process, receiver, slot::kInputReceive, {sample});
    Release(process, sample);
    return result;
}

RendererPin::RendererPin(Process& owner) : HostPin(owner, "renderer pin", false, {{kSubtype555, 0, 0}}) {
    Implement(kIidMemInputPin, "IMemInputPin",
              {Method("GetAllocator",
                      [this](u32 out) -> u32 {
                          auto fresh = std::make_unique<MemAllocator>(process);
                          machine.Write(out, fresh->Query(kIidMemAllocator));
                          return Keep(process, std::move(fresh)), kOk;
                      }),
               Method("NotifyAllocator",
                      [this](u32 agreed, u32) -> u32 {
                          CallMethod(process, agreed, 1);
                          if (allocator) Release(process, allocator);
                          allocator = agreed;
                          return kOk;
                      }),
               Unused("GetAllocatorRequirements"),
               Method("Receive",
                      [this](u32 sample) -> u32 {
                          const u32 place = HostMemory(process, 8);
                          CallMethod(process, sample, slot::kSampleGetPointer, {place});
                          const u32 size = CallMethod(process, sample, slot::kSampleGetSize);
                          const u8* bytes = machine.Bytes(machine.Read<u32>(place), size);
                          lastFrame.assign(bytes, bytes + size);
                          ++frames;
                          return kOk;
                      }),
               Unused("ReceiveMultiple"), Method("ReceiveCanBlock", []() -> u32 { return kFalse; })});
}

void RendererPin::Break() {
    if (allocator) Release(process, std::exchange(allocator, 0));
}

}  // namespace ce
