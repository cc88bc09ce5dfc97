#include "emulator/graph/media.h"

#include <algorithm>
#include <cstring>

namespace ce {

namespace {

constexpr u32 kMediaTypeBytes = 72, kVideoInfoBytes = 88, kMaskBytes = 12;
// Offsets in an AM_MEDIA_TYPE and in its VIDEOINFOHEADER.
constexpr u32 kSubtypeAt = 16, kFixedAt = 32, kSampleSizeAt = 40, kFormatAt = 44, kBlockSizeAt = 64,
              kBlockAt = 68;
constexpr u32 kTimeAt = 40, kBitmapAt = 48;
constexpr u32 kBitFields = 3;
constexpr u32 kMarkBytes = 8;
constexpr u8 kMarkByte = 0xFD;
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
    constexpr u32 kMasks[] = {0xF800, 0x07E0, 0x001F};
    for (u32 i = 0; i < 3 && format.subtype == kSubtype565; ++i) m.Write(bitmap + 40 + 4 * i, kMasks[i]);
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

// ---- Enumerating
// ---------------------------------------------------------------------------------------------------

MediaTypeEnumerator::MediaTypeEnumerator(Process& owner, std::vector<VideoFormat> offered, size_t start)
    : HostObject(owner, "media type enumerator"), formats(std::move(offered)), position(start) {
    Implement(
        kIidEnumMediaTypes, "IEnumMediaTypes",
        {Method("Next", [this](u32 count, u32 out, u32 fetchedAt) { return Next(count, out, fetchedAt); }),
         Method("Skip",
                [this](u32 count) -> u32 {
                    return position += count, position <= formats.size() ? kOk : kFalse;
                }),
         Method("Reset", [this]() -> u32 { return position = 0, kOk; }), Unused("Clone")});
}

u32 MediaTypeEnumerator::Next(u32 count, u32 out, u32 fetchedAt) {
    u32 fetched = 0;
    for (; fetched < count && position < formats.size(); ++fetched) {
        machine.Write(out + 4 * fetched, NewMediaType(process, formats[position++]));
    }
    if (fetchedAt) machine.Write(fetchedAt, fetched);
    return fetched == count ? kOk : kFalse;
}

// ---- Samples and their allocator
// -------------------------------------------------------------------------------------

MemAllocator::MemAllocator(Process& owner) : HostObject(owner, "allocator") {
    Implement(kIidMemAllocator, "IMemAllocator",
              {Method("SetProperties",
                      [this](u32 request, u32 actual) -> u32 {
                          const u32 result =
                              SetProperties(machine.Read<u32>(request), machine.Read<u32>(request + 4));
                          machine.Write(actual, count);
                          machine.Write(actual + 4, size);
                          machine.Write(actual + 8, 1u);
                          machine.Write(actual + 12, 0u);
                          return result;
                      }),
               Method("GetProperties",
                      [this](u32 out) -> u32 {
                          machine.Write(out, count);
                          machine.Write(out + 4, size);
                          machine.Write(out + 8, 1u);
                          machine.Write(out + 12, 0u);
                          return kOk;
                      }),
               Method("Commit", [this]() -> u32 { return committed = true, kOk; }),
               Method("Decommit", [this]() -> u32 { return committed = false, kOk; }),
               Method("GetBuffer",
                      [this](u32 out, u32, u32, u32) -> u32 {
                          machine.Write(out, 0u);
                          if (!committed) return kNotCommitted;
                          Sample* sample = TakeBuffer();
                          if (!sample) return kTimedOut;
                          machine.Write(out, sample->Pointer());
                          return kOk;
                      }),
               Method("ReleaseBuffer", [](u32) -> u32 { return kOk; })});
}

u32 MemAllocator::SetProperties(u32 buffers, u32 bytes) {
    if (buffers == 0 || bytes == 0) return kInvalidArgument;
    count = buffers;
    size = bytes;
    freeSamples.clear();
    return kOk;
}

bool MemAllocator::Idle() const {
    return HostObject::Idle() &&
           std::all_of(samples.begin(), samples.end(), [](const auto& sample) { return sample->Idle(); });
}

Sample* MemAllocator::TakeBuffer() {
    if (!committed) return nullptr;
    std::erase_if(freeSamples,
                  [&](Sample* sample) { return machine.Read<u32>(sample->Buffer() - 8) != size; });
    if (freeSamples.empty()) {
        u32 busy = 0;
        for (const auto& sample : samples) busy += sample->References() > 0;
        if (busy >= count) return nullptr;
        samples.push_back(std::make_unique<Sample>(process, *this, size));
        freeSamples.push_back(samples.back().get());
    }
    Sample* sample = freeSamples.back();
    freeSamples.pop_back();
    sample->AddReference();
    sample->length = size;
    return sample;
}

Sample::Sample(Process& owner, MemAllocator& home, u32 bytes)
    : HostObject(owner, "sample"), allocator(home), buffer(TakeBlock(bytes + 16) + 8), size(bytes) {
    // The size in front of the buffer, for the allocator; past it a mark that the program must not touch.
    machine.Write(buffer - 8, size);
    std::memset(machine.Bytes(buffer + size, kMarkBytes), kMarkByte, kMarkBytes);
    std::vector<MethodEntry> methods = {
        Method("GetPointer", [this](u32 out) -> u32 { return machine.Write(out, buffer), kOk; }),
        Method("GetSize", [this]() -> u32 { return size; }),
        Method("GetTime", [](u32, u32) -> u32 { return 0x80040249; }),  // not set: shown as it comes
        Method("SetTime", [](u32, u32) -> u32 { return kOk; }),
        Method("IsSyncPoint", []() -> u32 { return kOk; }),
        Method("SetSyncPoint", [](u32) -> u32 { return kOk; }),
        Method("IsPreroll", []() -> u32 { return kFalse; }),
        Method("SetPreroll", [](u32) -> u32 { return kOk; }),
        Method("GetActualDataLength", [this]() -> u32 { return length; }),
        Method("SetActualDataLength", [this](u32 used) -> u32 { return length = used, kOk; }),
        Method("GetMediaType", [this](u32 out) -> u32 { return machine.Write(out, 0u), kFalse; }),
        Unused("SetMediaType"),
        Method("IsDiscontinuity", []() -> u32 { return kFalse; }),
        Method("SetDiscontinuity", [](u32) -> u32 { return kOk; }),
        Method("GetMediaTime", [](u32, u32) -> u32 { return 0x80040249; }),
        Method("SetMediaTime", [](u32, u32) -> u32 { return kOk; }),
    };
    Implement(kIidMediaSample, "IMediaSample", std::move(methods));
}

void MemAllocator::GiveBack(Sample* sample) {
    sample->CheckMarks();
    freeSamples.push_back(sample);
}

void Sample::CheckMarks() const {
    const u8* mark = machine.Bytes(buffer + size, kMarkBytes);
    const bool isWhole = std::all_of(mark, mark + kMarkBytes, [](u8 byte) { return byte == kMarkByte; });
    if (isWhole && machine.Read<u32>(buffer - 8) == size) return;
    throw Failure("the buffer of a sample of " + std::to_string(size) +
                  " bytes was written beyond its ends before this release\n" + machine.Backtrace());
}

Sample::~Sample() {
    GiveBackBlock(buffer - 8, size + 16);
}

}  // namespace ce
