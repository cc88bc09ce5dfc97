// Media types, samples and their allocator, on the host's side of the capture graph.
#pragma once

#include <functional>

#include "emulator/com_object.h"

namespace ce {

const Guid kMajorVideo = ParseGuid("73646976-0000-0010-8000-00AA00389B71");
const Guid kFormatVideoInfo = ParseGuid("05589F80-C356-11CE-BF01-00AA0055595A");
const Guid kSubtypeYuy2 = ParseGuid("32595559-0000-0010-8000-00AA00389B71");
const Guid kSubtype565 = ParseGuid("E436EB7B-524F-11CE-9F53-0020AF0BA770");
const Guid kSubtype555 = ParseGuid("E436EB7C-524F-11CE-9F53-0020AF0BA770");

const Guid kIidPin = ParseGuid("56A86891-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidEnumPins = ParseGuid("56A86892-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidEnumMediaTypes = ParseGuid("89C31040-846B-11CE-97D3-00AA0055595A");
const Guid kIidMemInputPin = ParseGuid("56A8689D-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMemAllocator = ParseGuid("56A8689C-0AD4-11CE-B03A-0020AF0BA770");
const Guid kIidMediaSample = ParseGuid("56A8689A-0AD4-11CE-B03A-0020AF0BA770");
const Guid kClsidMemoryAllocator = ParseGuid("1E651CC0-B199-11D0-8212-00C04FC32C45");

constexpr u32 kNoMoreItems = 0x00040103, kTypeNotAccepted = 0x8004022A, kNotConnected = 0x80040209,
              kAlreadyConnected = 0x80040204, kNoAcceptableTypes = 0x80040207, kTimedOut = 0x8004022E,
              kNotCommitted = 0x80040211;

// Indices of the methods that the host calls on the program's objects.
namespace slot {
constexpr u32 kFilterStop = 4, kFilterPause = 5, kFilterRun = 6, kFilterEnumPins = 10, kFilterJoin = 13;
constexpr u32 kPinConnect = 3, kPinReceiveConnection = 4, kPinDisconnect = 5, kPinConnectedTo = 6,
              kPinQueryDirection = 9, kPinEnumTypes = 12;
constexpr u32 kEnumNext = 3;
constexpr u32 kInputGetAllocator = 3, kInputNotifyAllocator = 4, kInputReceive = 6;
constexpr u32 kAllocatorSetProperties = 3, kAllocatorCommit = 5, kAllocatorDecommit = 6,
              kAllocatorGetBuffer = 7;
constexpr u32 kSampleGetPointer = 3, kSampleGetSize = 4, kSampleSetLength = 12;
}  // namespace slot

// A picture format as a driver offers it.
struct VideoFormat {
    Guid subtype;
    i32 width = 0, height = 0;  // positive height: rows from the bottom up
    u32 bytesPerPixel = 2;
    u64 timePerFrame = 333333;

    u32 Stride() const { return (static_cast<u32>(width) * bytesPerPixel + 3) / 4 * 4; }
    u32 Size() const { return Stride() * static_cast<u32>(std::abs(height)); }
    bool operator==(const VideoFormat&) const = default;
};

// An AM_MEDIA_TYPE of the program's, its block and itself from the task allocator: the receiver frees both.
u32 NewMediaType(Process& process, const VideoFormat& format);
void DeleteMediaType(Process& process, u32 type);
// False when it is no uncompressed 16-bit video.
bool ReadMediaType(Process& process, u32 type, VideoFormat& format);

class MediaTypeEnumerator : public HostObject {
  public:
    MediaTypeEnumerator(Process& owner, std::vector<VideoFormat> offered, size_t start = 0);

  private:
    u32 Next(u32 count, u32 out, u32 fetchedAt);
    std::vector<VideoFormat> formats;
    size_t position;
};

class Sample;

class MemAllocator : public HostObject {
  public:
    explicit MemAllocator(Process& owner);
    u32 SetProperties(u32 count, u32 size);
    // With a reference; null when all buffers are out or it is not committed.
    Sample* TakeBuffer();
    void GiveBack(Sample* sample);
    bool Idle() const override;
    bool committed = false;
    u32 BufferSize() const { return size; }

  private:
    u32 count = 0, size = 0;
    std::vector<Sample*> freeSamples;
    std::vector<std::unique_ptr<Sample>> samples;
};

class Sample : public HostObject {
  public:
    Sample(Process& owner, MemAllocator& home, u32 bytes);
    ~Sample() override;
    u32 Buffer() const { return buffer; }
    u32 Pointer() const { return Interface(kIidMediaSample); }
    // Failure when something was written in front of the buffer or past its end.
    void CheckMarks() const;
    u32 length = 0;

  protected:
    void OnLastRelease() override { allocator.GiveBack(this); }

  private:
    MemAllocator& allocator;
    u32 buffer, size;
};

}  // namespace ce
