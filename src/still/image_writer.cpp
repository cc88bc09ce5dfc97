#include "still/image_writer.h"

#include <new>

#include "base/picture_format.h"
#include "still/encoders/picture_writers.h"
#include "still/pixels/pixel_convert.h"
#include "still/text/text_stamp.h"
#include "tiff/adaptive_threshold.h"
#include "tiff/save_tiff.h"

namespace cam::still {
namespace {

constexpr DWORD kOffsetToPixels = sizeof(BITMAPFILEHEADER) + sizeof(BitmapInfoHeader565);
constexpr LONG kPixelsPerMeter = 7559;  // 192 dots per inch
// White box, black outline, black text: what survives in a picture of two colours.
constexpr DWORD kTiffColorWord = 0x41000000;
// How far below its surroundings' mean a pixel must be to turn black, by quality level.
constexpr BYTE kThresholdPercent[] = {3, 10, 20};

FrameShape ShapeOf(const StillPicture& picture) {
    if (picture.width <= 0) return {};
    return {static_cast<DWORD>(picture.width), RowCount(picture.height), picture.stride};
}

float ThresholdRatio(BYTE qualityLevel) {
    const BYTE known = qualityLevel < ARRAYSIZE(kThresholdPercent) ? qualityLevel : 0;
    return static_cast<float>(kThresholdPercent[known]) / 100.0f;
}

// The grey plane at the start of the frame becomes words of black and white. A threshold that is refused (it
// refuses top-down frames, for one) leaves the plane as it was: then all but pure black turns white.
void Binarise(StillPicture& picture, BYTE* frame, const FrameShape& shape) {
    tiff::AdaptiveThreshold({frame, shape.rows * shape.stride}, shape.width, picture.height,
                            ThresholdRatio(picture.qualityLevel));
    ExpandGrey(frame, shape);
    picture.colorWord = kTiffColorWord;
}

void ConvertFrame(StillPicture& picture, BYTE* frame) {
    const FrameShape shape = ShapeOf(picture);
    const bool isTiff = PictureFormatOf(picture.fileName.get()) == PictureFormat::Tiff;
    switch (picture.formatCode) {
        case kFormatYuy2:
            if (!isTiff) return Yuy2ToRgb565(frame, shape);
            Yuy2ToGrey(frame, shape);
            return Binarise(picture, frame, shape);
        case kFormatRgb565:
            if (!isTiff) return;
            Rgb565ToGrey(frame, shape);
            return Binarise(picture, frame, shape);
        default:
            return;
    }
}

void RebuildHeaders(StillPicture& picture) {
    picture.fileHeader.bfOffBits = kOffsetToPixels;
    if (!picture.infoHeader) picture.infoHeader.reset(new (std::nothrow) BitmapInfoHeader565);
    if (!picture.infoHeader) return;
    *picture.infoHeader = {};
    BITMAPINFOHEADER& header = picture.infoHeader->header;
    header.biSize = sizeof header;
    header.biPlanes = 1;
    header.biBitCount = 16;
    header.biCompression = BI_BITFIELDS;
    header.biXPelsPerMeter = kPixelsPerMeter;
    header.biYPelsPerMeter = kPixelsPerMeter;
    picture.infoHeader->redMask = 0xF800;
    picture.infoHeader->greenMask = 0x07E0;
    picture.infoHeader->blueMask = 0x001F;
}

}  // namespace

void ImageWriter::Prepare() {
    ConvertFrame(picture_, frame_);
    RebuildHeaders(picture_);
    // A picture that could not be stamped is stored all the same.
    if (picture_.overlayText) StampText(picture_, frame_);
}

DWORD ImageWriter::Store() {
    if (!picture_.fileName) return 0;
    if (picture_.width <= 0) return static_cast<DWORD>(E_INVALIDARG);
    switch (PictureFormatOf(picture_.fileName.get())) {
        case PictureFormat::Bmp:
            return WriteBmp(picture_, frame_);
        case PictureFormat::Jpeg:
            return WriteJpeg(picture_, frame_);
        case PictureFormat::Png:
            return WritePng(picture_, frame_);
        case PictureFormat::Tiff:
            return tiff::SaveTiff(picture_.fileName.get(), frame_, picture_.width, picture_.height);
        case PictureFormat::None:
            break;
    }
    return 0;
}

}  // namespace cam::still
