#include "still/encoders/picture_writers.h"

#include "still/bitmap_info.h"
#include "still/encoders/jpeg_encoder.h"
#include "still/encoders/jpeg_quality.h"
#include "still/encoders/picture_file.h"
#include "still/encoders/png_encoder.h"
#include "still/encoders/tiff_output.h"
#include "tiff/tiff_file.h"

namespace cam::still {
namespace {

constexpr WORD kBitmapFileType = 0x4D42;  // "BM"
constexpr DWORD kOffsetToPixels = sizeof(BITMAPFILEHEADER) + sizeof(BitmapInfo565);
constexpr DWORD kEncodingFailed = ERROR_BAD_FORMAT;  // 11
constexpr DWORD kShortWrite = ERROR_WRITE_FAULT;     // 29

template <typename Record>
std::span<const std::uint8_t> BytesOf(const Record& record) {
    return {reinterpret_cast<const std::uint8_t*>(&record), sizeof record};
}

EncodeStatus WriteBmpTo(PictureFile& file, const ConstFrame& frame) {
    const auto imageSize = static_cast<DWORD>(frame.size());
    const BITMAPFILEHEADER fileHeader = {kBitmapFileType, kOffsetToPixels + imageSize, 0, 0, kOffsetToPixels};
    const BitmapInfo565 info = MakeBitmapInfo(frame.width, frame.height);
    const bool written = file.Write(BytesOf(fileHeader)) && file.Write(BytesOf(info)) &&
                         file.Write(frame.bytes.first(imageSize));
    return written ? EncodeStatus::Done : EncodeStatus::Failed;
}

}  // namespace

DWORD WriteBmp(const StillPicture& picture, const ConstFrame& frame) {
    PictureFile file(picture.fileName.get());
    return file.Finish(file.opened() ? WriteBmpTo(file, frame) : EncodeStatus::Failed);
}

DWORD WriteJpeg(const StillPicture& picture, const ConstFrame& frame) {
    PictureFile file(picture.fileName.get());
    if (!file.opened()) return file.Finish(EncodeStatus::Failed);
    LONG quality = JpegQuality(picture.qualityLevel);
    if (quality == kNoJpegQuality) quality = kDefaultJpegQuality;
    return file.Finish(EncodeJpeg(frame, quality, file));
}

DWORD WritePng(const StillPicture& picture, const ConstFrame& frame) {
    PictureFile file(picture.fileName.get());
    if (!file.opened()) return file.Finish(EncodeStatus::Failed);
    return file.Finish(EncodePng(frame, file));
}

DWORD WriteTiff(const StillPicture& picture, const ConstFrame& frame) {
    // Rows of whole pixels, also where the frame's own stride makes them overlap.
    ConstFrame words = frame;
    words.stride = static_cast<DWORD>(RowStride(static_cast<DWORD>(frame.width), kBitsPerPixel));
    TiffOutput output(picture.fileName.get(), words);
    if (!output.allocated()) return static_cast<DWORD>(E_OUTOFMEMORY);
    const bool isWhole = tiff::EncodeBilevelStrip(words, output);
    if (!output.file) return kEncodingFailed;
    const bool isOpen = output.file->opened();
    const DWORD result = output.file->Finish(isWhole ? EncodeStatus::Done : EncodeStatus::Failed);
    return isWhole || !isOpen ? result : kShortWrite;
}

}  // namespace cam::still
