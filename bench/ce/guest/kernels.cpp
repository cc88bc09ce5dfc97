// Calls into the library's modules, past the exported interface. `set`: the kernels, 0 plain, 1 word, 2 what
// the library itself chooses.
#include <windows.h>

#include <new>

#include "still/encoders/jpeg_encoder.h"
#include "still/encoders/picture_writers.h"
#include "still/encoders/png_encoder.h"
#include "still/pixels/pixel_convert.h"
#include "tiff/adaptive_threshold.h"
#include "tiff/byte_buffer.h"
#include "tiff/encode_g4.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_file.h"
#include "tiff/tiff_kernels.h"

using namespace cam;

namespace {

constexpr int kChosen = kInstructionSetCount;
enum Kernel { kYuy2ToRgb565, kGatherLuma, kRgb565ToGrey, kExpandGrey, kRgb565ToRgb888 };

const still::PixelKernels& Pixels(int set) {
    return set == kChosen ? still::kPixelKernels.Fastest() : *still::kPixelKernels.sets[set];
}

// Bytes into memory that the caller gave; counts on when it is full.
class MemorySink final : public still::ByteSink {
  public:
    MemorySink(BYTE* out, DWORD size) : bytes(out), room(size) {}
    bool Write(std::span<const uint8_t> some) override {
        if (some.size() > room - length) return false;
        memcpy(bytes + length, some.data(), some.size());
        length += static_cast<DWORD>(some.size());
        return true;
    }
    bool Restart() override {
        length = 0;
        return true;
    }
    DWORD length = 0;

  private:
    BYTE* bytes;
    DWORD room;
};

// The result's bytes, copied out; 0 when there are more than fit or nothing came out.
DWORD CopyOut(const tiff::ByteBuffer& from, DWORD length, BYTE* out, DWORD room) {
    if (length > room) return 0;
    memcpy(out, from.Data(), length);
    return length;
}

ConstFrame FrameOf(const BYTE* bytes, LONG width, LONG height, DWORD stride) {
    return {{bytes, RowCount(height) * stride}, width, height, stride};
}

}  // namespace

extern "C" {

// One row through one of the pixel kernels.
void WINAPI runPixels(int set, int kernel, BYTE* to, BYTE* from, DWORD width) {
    const still::PixelKernels& kernels = Pixels(set);
    switch (kernel) {
        case kYuy2ToRgb565:
            return kernels.yuy2RowToRgb565(to, width);
        case kGatherLuma:
            return kernels.gatherLumaRow(to, from, width);
        case kRgb565ToGrey:
            return kernels.rgb565RowToGrey(to, from, width);
        case kExpandGrey:
            return kernels.expandGreyRow(to, from, width);
        default:
            return kernels.rgb565RowToRgb888(to, from, width);
    }
}

// A whole YUY2 frame to RGB565, as the library converts it.
void WINAPI runFrame(int set, BYTE* frame, DWORD width, DWORD rows, DWORD stride) {
    const Frame picture = {{frame, rows * stride}, static_cast<LONG>(width), static_cast<LONG>(rows), stride};
    still::Yuy2ToRgb565(picture, Pixels(set));
}

BOOL WINAPI runThreshold(int set, BYTE* plane, DWORD width, LONG height, DWORD size, DWORD percent) {
    const float ratio = static_cast<float>(percent) / 100.0f;
    const std::span<BYTE> buffer(plane, size);
    if (set == kChosen) return tiff::AdaptiveThreshold(buffer, width, height, ratio);
    const auto plan = tiff::PlanThreshold(buffer, width, height, ratio);
    return plan && tiff::kTiffKernels.sets[set]->threshold(*plan);
}

DWORD WINAPI runGroup4(int set, const BYTE* raster, DWORD width, DWORD rows, BYTE* out, DWORD room) {
    tiff::ByteBuffer buffer(64 * 1024, true);
    const std::span<const BYTE> bits(raster, width / 8 * rows);
    tiff::EncodeG4Kernel* encode = tiff::EncodeG4;
    if (set != kChosen) encode = tiff::kTiffKernels.sets[set]->encodeG4;
    if (!tiff::EncodeG4(bits, width, rows, buffer, encode)) return 0;
    return CopyOut(buffer, buffer.Length(), out, room);
}

DWORD WINAPI runJpeg(const BYTE* frame, LONG width, LONG height, DWORD stride, int quality, BYTE* out,
                     DWORD room) {
    MemorySink sink(out, room);
    const ConstFrame picture = FrameOf(frame, width, height, stride);
    return still::EncodeJpeg(picture, quality, sink) == still::EncodeStatus::Done ? sink.length : 0;
}

DWORD WINAPI runPng(const BYTE* frame, LONG width, LONG height, DWORD stride, BYTE* out, DWORD room) {
    MemorySink sink(out, room);
    const ConstFrame picture = FrameOf(frame, width, height, stride);
    return still::EncodePng(picture, sink) == still::EncodeStatus::Done ? sink.length : 0;
}

DWORD WINAPI runTiff(const BYTE* pixels, LONG width, LONG height, BYTE* out, DWORD room) {
    tiff::ByteBuffer buffer(1024, true);
    const ConstFrame picture = FrameOf(pixels, width, height, static_cast<DWORD>(RowStride(width)));
    if (!tiff::EncodeBilevelTiff(buffer, picture, nullptr, false)) return 0;
    return CopyOut(buffer, buffer.Length(), out, room);
}

// A picture's file, as the library writes it: 0 BMP, 1 JPEG, 2 PNG, 3 TIFF.
DWORD WINAPI runFile(int format, const BYTE* frame, LONG width, LONG height, const wchar_t* name) {
    constexpr decltype(&still::WriteBmp) kWriters[] = {still::WriteBmp, still::WriteJpeg, still::WritePng,
                                                       still::WriteTiff};
    still::StillPicture picture;
    picture.fileName.reset(new (std::nothrow) wchar_t[wcslen(name) + 1]);
    if (!picture.fileName) return static_cast<DWORD>(E_OUTOFMEMORY);
    wcscpy(picture.fileName.get(), name);
    return kWriters[format](picture, FrameOf(frame, width, height, static_cast<DWORD>(RowStride(width))));
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}
