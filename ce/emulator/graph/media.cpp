#include "emulator/graph/media.h"

#include <cstring>

namespace ce {

namespace {

constexpr u32 kMediaTypeBytes = 72, kVideoInfoBytes = 88, kMaskBytes = 12;
// Offsets in an AM_MEDIA_TYPE and in its VIDEOINFOHEADER.
constexpr u32 kSubtypeAt = 16, kFixedAt = 32, kSampleSizeAt = 40, kFormatAt = 44, kBlockSizeAt = 64,
              kBlockAt = 68;
constexpr u32 kTimeAt = 40, kBitmapAt = 48;
constexpr u32 kBitFields = 3;
constexpr u32 kYuy2FourCc = 0x32595559;

}  // namespace

u32 NewMediaType(Process& process, const VideoFormat& format) {
    auto& m = process.machine;
    const u32 size = kVideoInfoBytes + kMaskBytes;
    const u32 type = process.heap.AllocateSurely(kMediaTypeBytes);
    const u32 block = process.heap.AllocateSurely(size);
    WriteGuid(m, type, kMajorVideo);
    WriteGuid(m, type + kSubtypeAt, format.subtype);
    m.Write(type + kFixedAt, 1u);
    m.Write(type + kSampleSizeAt, format.Size());
    WriteGuid(m, type + kFormatAt, kFormatVideoInfo);
    m.Write(type + kBlockSizeAt, size);
    m.Write(type + kBlockAt, block);
    m.Write(block + kTimeAt, format.timePerFrame);
    const u32 bitmap = block + kBitmapAt;
    m.Write(bitmap, 40u);
    m.Write(bitmap + 4, format.width);
    m.Write(bitmap + 8, format.height);
    m.Write(bitmap + 12, u16{1});
    m.Write(bitmap + 14, static_cast<u16>(8 * format.bytesPerPixel));
    m.Write(bitmap + 16, format.subtype == kSubtypeYuy2  ? kYuy2FourCc
                         : format.subtype == kSubtype565 ? kBitFields
                                                         : 0);
    m.Write(bitmap + 20, format.Size());
    return type;
}

void DeleteMediaType(Process& process, u32 type) {
    process.heap.Free(process.machine.Read<u32>(type + kBlockAt));
    process.heap.Free(type);
}

bool ReadMediaType(Process& process, u32 type, VideoFormat& format) {
    auto& m = process.machine;
    const u32 block = m.Read<u32>(type + kBlockAt);
    if (ReadGuid(m, type) != kMajorVideo || ReadGuid(m, type + kFormatAt) != kFormatVideoInfo || !block)
        return false;
    format.subtype = ReadGuid(m, type + kSubtypeAt);
    format.timePerFrame = m.Read<u64>(block + kTimeAt);
    format.width = m.Read<i32>(block + kBitmapAt + 4);
    format.height = m.Read<i32>(block + kBitmapAt + 8);
    format.bytesPerPixel = m.Read<u16>(block + kBitmapAt + 14) / 8u;
    return format.bytesPerPixel == 2;
}

// ---- Enumerating ---------------------------------------------------------------------------------------------------

MediaTypeEnumerator::MediaTypeEnumerator(Process& process, std::vector<VideoFormat> formats, size_t position)
    : HostObject(process, "media type enumerator"), formats_(std::move(formats)), position_(position) {
    Implement(
        kIidEnumMediaTypes, "IEnumMediaTypes",
        {Method("Next", [this](u32 count, u32 out, u32 fetchedAt) { return Next(count, out, fetchedAt); }),
         Method("Skip",
                [this](u32 count) -> u32 {
                    return position_ += count, position_ <= formats_.size() ? kOk : kFalse;
                }),
         Method("Reset", [this]() -> u32 { return position_ = 0, kOk; }), Unused("Clone")});
}

u32 MediaTypeEnumerator::Next(u32 count, u32 out, u32 fetchedAt) {
    u32 fetched = 0;
    for (; fetched < count && position_ < formats_.size(); ++fetched) {
        machine_.Write(out + 4 * fetched, NewMediaType(process_, formats_[position_++]));
    }
    if (fetchedAt) machine_.Write(fetchedAt, fetched);
    return fetched == count ? kOk : kFalse;
}

// ---- Samples and their allocator -------------------------------------------------------------------------------------

MemAllocator::MemAllocator(Process& process) : HostObject(process, "allocator") {
    Implement(kIidMemAllocator, "IMemAllocator",
              {Method("SetProperties",
                      [this](u32 request, u32 actual) -> u32 {
                          const u32 result =
                              SetProperties(machine_.Read<u32>(request), machine_.Read<u32>(request + 4));
                          machine_.Write(actual, count_);
                          machine_.Write(actual + 4, size_);
                          machine_.Write(actual + 8, 1u);
                          machine_.Write(actual + 12, 0u);
                          return result;
                      }),
               Method("GetProperties",
                      [this](u32 out) -> u32 {
                          machine_.Write(out, count_);
                          machine_.Write(out + 4, size_);
                          machine_.Write(out + 8, 1u);
                          machine_.Write(out + 12, 0u);
                          return kOk;
                      }),
               Method("Commit", [this]() -> u32 { return committed = true, kOk; }),
               Method("Decommit", [this]() -> u32 { return committed = false, kOk; }),
               Method("GetBuffer",
                      [this](u32 out, u32, u32, u32) -> u32 {
                          machine_.Write(out, 0u);
                          if (!committed) return kNotCommitted;
                          Sample* sample = TakeBuffer();
                          if (!sample) return kTimedOut;
                          machine_.Write(out, sample->Pointer());
                          return kOk;
                      }),
               Method("ReleaseBuffer", [](u32) -> u32 { return kOk; })});
}

u32 MemAllocator::SetProperties(u32 count, u32 size) {
    if (count == 0 || size == 0) return kInvalidArgument;
    count_ = count;
    size_ = size;
    free_.clear();
    return kOk;
}

Sample* MemAllocator::TakeBuffer() {
    if (!committed) return nullptr;
    std::erase_if(free_, [&](Sample* sample) { return machine_.Read<u32>(sample->Buffer() - 8) != size_; });
    if (free_.empty()) {
        u32 busy = 0;
        for (const auto& sample : samples_) busy += sample->References() > 0;
        if (busy >= count_) return nullptr;
        samples_.push_back(std::make_unique<Sample>(process_, *this, size_));
        free_.push_back(samples_.back().get());
    }
    Sample* sample = free_.back();
    free_.pop_back();
    sample->AddReference();
    sample->length = size_;
    return sample;
}

Sample::Sample(Process& process, MemAllocator& allocator, u32 size)
    : HostObject(process, "sample"),
      allocator_(allocator),
      buffer_(HostMemory(process, size + 16) + 8),
      size_(size) {
    // The size in front of the buffer, for the allocator; behind it a mark that the program must not touch.
    machine_.Write(buffer_ - 8, size);
    std::vector<MethodEntry> methods = {
        Method("GetPointer", [this](u32 out) -> u32 { return machine_.Write(out, buffer_), kOk; }),
        Method("GetSize", [this]() -> u32 { return size_; }),
        Method("GetTime", [](u32, u32) -> u32 { return 0x80040249; }),  // not set: shown as it comes
        Method("SetTime", [](u32, u32) -> u32 { return kOk; }),
        Method("IsSyncPoint", []() -> u32 { return kOk; }),
        Method("SetSyncPoint", [](u32) -> u32 { return kOk; }),
        Method("IsPreroll", []() -> u32 { return kFalse; }),
        Method("SetPreroll", [](u32) -> u32 { return kOk; }),
        Method("GetActualDataLength", [this]() -> u32 { return length; }),
        Method("SetActualDataLength", [this](u32 bytes) -> u32 { return length = bytes, kOk; }),
        Method("GetMediaType", [this](u32 out) -> u32 { return machine_.Write(out, 0u), kFalse; }),
        Unused("SetMediaType"),
        Method("IsDiscontinuity", []() -> u32 { return kFalse; }),
        Method("SetDiscontinuity", [](u32) -> u32 { return kOk; }),
        Method("GetMediaTime", [](u32, u32) -> u32 { return 0x80040249; }),
        Method("SetMediaTime", [](u32, u32) -> u32 { return kOk; }),
    };
    Implement(kIidMediaSample, "IMediaSample", std::move(methods));
}

}  // namespace ce
