#include "still/image_writer.h"

#include "still/encoders/picture_writers.h"
#include "still/pixels/pixel_convert.h"
#include "still/text/text_stamp.h"
#include "tiff/adaptive_threshold.h"

namespace cam::still {
namespace {

// White box, black outline, black text: what survives in a picture of two colours.
constexpr DWORD kTiffColorWord = 0x41000000;
// How far below its surroundings' mean a pixel must be to turn black, by quality level.
constexpr BYTE kThresholdPercent[] = {3, 10, 20};

float ThresholdRatio(BYTE qualityLevel) {
    const BYTE known = qualityLevel < ARRAYSIZE(kThresholdPercent) ? qualityLevel : 0;
    return static_cast<float>(kThresholdPercent[known]) / 100.0f;
}

}  // namespace

ImageWriter::ImageWriter(StillPicture& asked, const Frame& received, PixelFormat pixelFormat)
    : picture(asked), frame(received), pixels(pixelFormat), format(PictureFormatOf(asked.fileName.get())) {}

void ImageWriter::Prepare() {
    // A frame without columns may claim any number of rows.
    if (frame.width > 0) Convert();
    if (format == PictureFormat::Tiff && pixels != PixelFormat::None) picture.colorWord = kTiffColorWord;
    // A picture that could not be stamped is stored all the same.
    if (picture.overlayText) StampText(picture, frame);
}

void ImageWriter::Convert() {
    const bool isTiff = format == PictureFormat::Tiff;
    switch (pixels) {
        case PixelFormat::Yuy2:
            if (!isTiff) return Yuy2ToRgb565(frame);
            Yuy2ToGrey(frame);
            return MakeBlackAndWhite();
        case PixelFormat::Rgb565:
            if (!isTiff) return;
            Rgb565ToGrey(frame);
            return MakeBlackAndWhite();
        case PixelFormat::None:
            return;
    }
}

// The grey plane at the start of the frame becomes words of black and white. A threshold that is refused (it
// refuses top-down frames, for one) leaves the plane as it was: then all but pure black turns white.
void ImageWriter::MakeBlackAndWhite() {
    tiff::AdaptiveThreshold(frame.bytes.first(static_cast<std::size_t>(frame.size())),
                            static_cast<std::uint32_t>(frame.width), frame.height,
                            ThresholdRatio(picture.qualityLevel));
    ExpandGrey(frame);
}

DWORD ImageWriter::Store() {
    if (!picture.fileName) return 0;
    if (frame.width <= 0) return static_cast<DWORD>(E_INVALIDARG);
    switch (format) {
        case PictureFormat::Bmp:
            return WriteBmp(picture, frame);
        case PictureFormat::Jpeg:
            return WriteJpeg(picture, frame);
        case PictureFormat::Png:
            return WritePng(picture, frame);
        case PictureFormat::Tiff:
            return WriteTiff(picture, frame);
        case PictureFormat::None:
            break;
    }
    return 0;
}

}  // namespace cam::still
