#include "tiff/tiff_file.h"

#include <string.h>

#include <memory>
#include <new>

#include "tiff/encode_g4.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

// TIFF 6.0.
enum class TiffType : uint16_t { Ascii = 2, Short = 3, Long = 4, Rational = 5 };
enum class TiffTag : uint16_t {
    ImageWidth = 256,
    ImageLength = 257,
    BitsPerSample = 258,
    Compression = 259,
    PhotometricInterpretation = 262,
    FillOrder = 266,
    ImageDescription = 270,
    StripOffsets = 273,
    RowsPerStrip = 278,
    StripByteCounts = 279,
    XResolution = 282,
    YResolution = 283,
    T6Options = 293,
    ResolutionUnit = 296,
    TrailerOffset = 34171,  // private: where the data past the strip begin
};
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
constexpr uint32_t kMostSignificantBitFirst = 1;
constexpr uint32_t kNoAbsoluteUnit = 1;

constexpr uint32_t kGroup4Entries = 13;
constexpr uint32_t kOtherEntries = 12;

class Directory {
  public:
    explicit Directory(ByteBuffer& buffer) : out(buffer) {}

    void Entry(TiffTag tag, TiffType type, uint32_t count, uint32_t value) {
        out.WriteUInt(static_cast<uint32_t>(tag), 2);
        out.WriteUInt(static_cast<uint32_t>(type), 2);
        out.WriteUInt(count, 4);
        out.WriteUInt(value, 4);
    }
    void Entry(TiffTag tag, TiffType type, uint32_t value) { Entry(tag, type, 1, value); }

  private:
    ByteBuffer& out;
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

// The picture's rows as bits.
class PackedLines final : public G4Lines {
  public:
    PackedLines(const ConstFrame& from, uint32_t width)
        : picture(from), bits(new (std::nothrow) uint8_t[width / 8]) {}
    bool allocated() const { return bits != nullptr; }
    const uint8_t* Next() override {
        pack(picture.Row(y++).data(), static_cast<uint32_t>(picture.width), bits.get());
        return bits.get();
    }

  private:
    PackPixelsKernel* const pack = kTiffKernels.Fastest().packPixels;
    const ConstFrame& picture;
    uint32_t y = 0;
    std::unique_ptr<uint8_t[]> bits;
};

// Room for most pictures: as much as without compression, and a line.
constexpr uint64_t StripArea(uint32_t width, uint32_t rows) {
    return uint64_t{width / 8} * rows + width;
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
    directory.Entry(TiffTag::ImageWidth, TiffType::Long, width);
    directory.Entry(TiffTag::ImageLength, TiffType::Long, rows);
    directory.Entry(TiffTag::BitsPerSample, TiffType::Short, grey8 ? 8 : 1);
    directory.Entry(TiffTag::Compression, TiffType::Short, compressed ? kGroup4Compression : kNoCompression);
    directory.Entry(TiffTag::PhotometricInterpretation, TiffType::Short, grey8 ? kBlackIsZero : kWhiteIsZero);
    directory.Entry(TiffTag::FillOrder, TiffType::Short, kMostSignificantBitFirst);
    if (description) {
        directory.Entry(TiffTag::ImageDescription, TiffType::Ascii, textSize,
                        textOutside ? text : InlineText(description, textSize));
    }
    directory.Entry(TiffTag::StripOffsets, TiffType::Long, strip);
    directory.Entry(TiffTag::RowsPerStrip, TiffType::Long, rows);
    directory.Entry(TiffTag::StripByteCounts, TiffType::Long, stripBytes);
    directory.Entry(TiffTag::XResolution, TiffType::Rational, resolutions);
    directory.Entry(TiffTag::YResolution, TiffType::Rational, resolutions + kRationalSize);
    if (compressed) directory.Entry(TiffTag::T6Options, TiffType::Long, kT6Options);
    directory.Entry(TiffTag::ResolutionUnit, TiffType::Short, kNoAbsoluteUnit);
    if (hasTrailer) directory.Entry(TiffTag::TrailerOffset, TiffType::Long, strip + stripBytes);
    out.WriteUInt(0, 4);  // no further directory
    for (int i = 0; i < 2; ++i) {
        out.WriteUInt(kDotsPerUnit, 4);
        out.WriteUInt(1, 4);
    }
    if (textOutside) out.AppendBytes(description, textSize);
    return true;
}

bool EncodeBilevelStrip(const ConstFrame& picture, G4Output& output) {
    const uint32_t rows = picture.rows();
    const auto pixelsPerRow = static_cast<uint32_t>(picture.width);
    if (pixelsPerRow > kG4MaxWidth) return false;  // also one below 0
    const uint32_t width = BilevelWidth(pixelsPerRow);
    if (StripArea(width, rows) > UINT32_MAX) return false;
    PackedLines lines(picture, width);
    return lines.allocated() && EncodeG4(lines, width, rows, output);
}

bool EncodeBilevelTiff(ByteBuffer& out, const ConstFrame& picture, const char* description, bool trailer) {
    out.Clear();
    const uint32_t width = BilevelWidth(static_cast<uint32_t>(picture.width));
    const uint64_t area = StripArea(width, picture.rows());
    if (area > UINT32_MAX) return false;
    ByteBuffer strip(static_cast<uint32_t>(area), true);
    BufferOutput output(strip);
    if (!strip.Data() || !EncodeBilevelStrip(picture, output)) return false;
    WriteTiffHeader(width, picture.rows(), strip.Length(), false, true, description, out, trailer);
    // What a buffer of fixed size took is its owner's to see by the length, as after the header. One that
    // should have grown and could not would make a file that ends in the middle of the picture.
    return out.AppendBytes(strip.Data(), strip.Length()) || !out.IsGrowable();
}

}  // namespace cam::tiff
