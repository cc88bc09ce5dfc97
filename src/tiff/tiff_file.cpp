#include "tiff/tiff_file.h"

#include <string.h>

#include "base/frame.h"
#include "tiff/encode_g4.h"
#include "tiff/g4_output.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

// TIFF 6.0.
enum FieldType : uint32_t { kAscii = 2, kShort = 3, kLong = 4, kRational = 5 };
constexpr uint32_t kLittleEndian = 0x4949;
constexpr uint32_t kTiffVersion = 42;
constexpr uint32_t kSignatureSize = 8;
constexpr uint32_t kEntrySize = 12;
constexpr uint32_t kRationalSize = 8;
constexpr uint32_t kInlineValueSize = 4;
constexpr uint32_t kDotsPerUnit = 300;
constexpr uint32_t kGroup4Compression = 4;
constexpr uint32_t kNoCompression = 1;
constexpr uint32_t kWhiteIsZero = 0;
constexpr uint32_t kBlackIsZero = 1;
constexpr uint32_t kT6Options = 32;
constexpr uint32_t kTrailerTag = 34171;  // private: where the data behind the strip begin

constexpr uint32_t kGroup4Entries = 13;
constexpr uint32_t kOtherEntries = 12;

class Directory {
  public:
    explicit Directory(ByteBuffer& out) : out_(out) {}

    void Entry(uint32_t tag, FieldType type, uint32_t count, uint32_t value) {
        out_.WriteUInt(tag, 2);
        out_.WriteUInt(type, 2);
        out_.WriteUInt(count, 4);
        out_.WriteUInt(value, 4);
    }
    void Entry(uint32_t tag, FieldType type, uint32_t value) { Entry(tag, type, 1, value); }

  private:
    ByteBuffer& out_;
};

uint32_t DescriptionSize(const char* description) {
    return description ? static_cast<uint32_t>(strlen(description)) + 1 : 0;
}

// A text that fits into the value field of its entry, the first character in the lowest byte.
uint32_t InlineText(const char* text, uint32_t size) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < size; ++i) value |= uint32_t{static_cast<uint8_t>(text[i])} << (8 * i);
    return value;
}

constexpr uint32_t RowStride(uint32_t width) {
    return (width * 2 + 3) / 4 * 4;
}

}  // namespace

void WriteTiffSignature(ByteBuffer& out) {
    out.WriteUInt(kLittleEndian, 2);
    out.WriteUInt(kTiffVersion, 2);
    out.WriteUInt(kSignatureSize, 4);  // the directory follows at once
}

bool WriteTiffHeader(uint32_t width, uint32_t rows, uint32_t stripBytes, bool grey8, bool group4,
                     const char* description, ByteBuffer& out, bool trailer) {
    // Grey is never compressed, and only compressed files have a trailer.
    const bool compressed = group4 && !grey8;
    const bool hasTrailer = trailer && compressed;
    const uint32_t textSize = DescriptionSize(description);
    const uint32_t textOutside = textSize > kInlineValueSize ? textSize : 0;
    const uint32_t entries =
        (compressed ? kGroup4Entries : kOtherEntries) + (hasTrailer ? 1 : 0) + (description ? 1 : 0);
    const uint32_t resolutions = kSignatureSize + 2 + entries * kEntrySize + 4;
    const uint32_t text = resolutions + 2 * kRationalSize;
    const uint32_t strip = text + textOutside;

    WriteTiffSignature(out);
    out.WriteUInt(entries, 2);
    Directory directory(out);
    directory.Entry(256, kLong, width);
    directory.Entry(257, kLong, rows);
    directory.Entry(258, kShort, grey8 ? 8 : 1);
    directory.Entry(259, kShort, compressed ? kGroup4Compression : kNoCompression);
    directory.Entry(262, kShort, grey8 ? kBlackIsZero : kWhiteIsZero);
    directory.Entry(266, kShort, 1);
    if (description) {
        directory.Entry(270, kAscii, textSize, textOutside ? text : InlineText(description, textSize));
    }
    directory.Entry(273, kLong, strip);
    directory.Entry(278, kLong, rows);
    directory.Entry(279, kLong, stripBytes);
    directory.Entry(282, kRational, resolutions);
    directory.Entry(283, kRational, resolutions + kRationalSize);
    if (compressed) directory.Entry(293, kLong, kT6Options);
    directory.Entry(296, kShort, 1);
    if (hasTrailer) directory.Entry(kTrailerTag, kLong, strip + stripBytes);
    out.WriteUInt(0, 4);  // no further directory
    for (int i = 0; i < 2; ++i) {
        out.WriteUInt(kDotsPerUnit, 4);
        out.WriteUInt(1, 4);
    }
    if (textOutside) out.AppendBytes(description, textSize);
    return true;
}

bool EncodeBilevelTiff(ByteBuffer& out, const uint8_t* pixels, int32_t width, int32_t height,
                       const char* description, bool trailer) {
    out.Clear();
    const uint32_t rows = RowCount(height);
    if (width < 0 || static_cast<uint32_t>(width) > kG4MaxWidth) return false;
    const auto pixelsPerRow = static_cast<uint32_t>(width);
    const uint32_t paddedWidth = (pixelsPerRow + 7) / 8 * 8;
    const uint32_t bytesPerRow = paddedWidth / 8;
    const uint64_t rasterSize = uint64_t{bytesPerRow} * rows;
    const uint64_t area = rasterSize + G4LineBound(paddedWidth);
    if (area > UINT32_MAX) return false;

    ByteBuffer compressed(static_cast<uint32_t>(area), true);
    {
        ByteBuffer raster(static_cast<uint32_t>(area), false);
        if (!raster.Data() || !compressed.Data()) return false;
        const TiffKernels& kernels = kTiffKernels.Fastest();
        // The file's first row is the picture's top row, whichever way the rows lie in memory.
        const size_t stride = RowStride(pixelsPerRow);
        uint8_t* bits = raster.Data();
        for (uint32_t row = 0; row < rows; ++row, bits += bytesPerRow) {
            const uint32_t source = height > 0 ? rows - 1 - row : row;
            kernels.packPixels(pixels + source * stride, pixelsPerRow, bits);
        }
        if (!raster.SetLength(static_cast<uint32_t>(rasterSize))) return false;
        if (!EncodeG4({raster.Data(), raster.Length()}, paddedWidth, rows, compressed)) return false;
    }
    const uint32_t stripBytes = compressed.Length();
    WriteTiffHeader(paddedWidth, rows, stripBytes, false, true, description, out, trailer);
    // What a buffer of fixed size took is its owner's to see by the length, as after the header. One that should have grown and could
    // not would make a file that ends in the middle of the picture.
    return out.AppendBytes(compressed.Data(), stripBytes) || !out.IsGrowable();
}

}  // namespace cam::tiff
