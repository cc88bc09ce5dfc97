#include "still/encoders/picture_writers.h"

#include "still/encoders/jpeg_encoder.h"
#include "still/encoders/jpeg_quality.h"
#include "still/encoders/picture_file.h"
#include "still/encoders/png_encoder.h"

namespace cam::still {
namespace {

FrameRows RowsOf(const StillPicture& picture, const BYTE* frame) {
    return TopDown(frame, picture.width, picture.height, picture.stride);
}

EncodeStatus WriteBmpTo(PictureFile& file, StillPicture& picture, const BYTE* frame) {
    const DWORD imageSize = RowCount(picture.height) * picture.stride;
    picture.fileHeader.bfSize = picture.fileHeader.bfOffBits + imageSize;
    if (!file.Write(&picture.fileHeader, sizeof picture.fileHeader)) return EncodeStatus::Failed;
    picture.infoHeader->header.biWidth = picture.width;
    picture.infoHeader->header.biHeight = picture.height;
    if (!file.Write(picture.infoHeader.get(), sizeof *picture.infoHeader)) return EncodeStatus::Failed;
    return file.Write(frame, imageSize) ? EncodeStatus::Done : EncodeStatus::Failed;
}

}  // namespace

DWORD WriteBmp(StillPicture& picture, const BYTE* frame) {
    if (!picture.infoHeader) return static_cast<DWORD>(E_OUTOFMEMORY);
    PictureFile file(picture.fileName.get());
    return file.Finish(file.opened() ? WriteBmpTo(file, picture, frame) : EncodeStatus::Failed);
}

DWORD WriteJpeg(const StillPicture& picture, const BYTE* frame) {
    PictureFile file(picture.fileName.get());
    if (!file.opened()) return file.Finish(EncodeStatus::Failed);
    LONG quality = JpegQuality(picture.qualityLevel);
    if (quality == kNoJpegQuality) quality = kDefaultJpegQuality;
    return file.Finish(EncodeJpeg(RowsOf(picture, frame), quality, file));
}

DWORD WritePng(const StillPicture& picture, const BYTE* frame) {
    PictureFile file(picture.fileName.get());
    if (!file.opened()) return file.Finish(EncodeStatus::Failed);
    return file.Finish(EncodePng(RowsOf(picture, frame), file));
}

}  // namespace cam::still
