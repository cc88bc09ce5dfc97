// What other libraries need for the same work. Each answers false when the library is not there.
#pragma once

#include <string>

#include "pixel_frames.h"

namespace cam::bench {

enum class YuvLevel { Sse, Avx2 };

// libyuv: YUY2 to ARGB to RGB565, each pass over the whole frame, or row by row so that ARGB stays in the
// cache.
bool YuvTwoPasses(const Bytes& yuy2, Size size, YuvLevel level, Bytes& argb, Bytes& rgb565);
bool YuvTwoPassesByRow(const Bytes& yuy2, Size size, YuvLevel level, Bytes& argbRow, Bytes& rgb565);

// swscale: YUY2 to RGB565 in one call, without scaling.
bool SwscaleYuy2ToRgb565(const Bytes& yuy2, Size size, Bytes& rgb565);

// OpenCV: a grey plane to 16-bit pixels.
bool OpenCvGreyTo565(Bytes& grey, Size size, Bytes& rgb565);

// OpenCV: 16-bit pixels to bytes R, G, B. Shifts and fills with zeros, so that its white is not quite 255.
bool OpenCvRgb565To888(const Bytes& rgb565, Size size, Bytes& rgb888);

// OpenCV: YUY2 to BGR, and that to a JPEG file.
bool OpenCvJpegFile(const Bytes& yuy2, Size size, int quality, Bytes& bgr, const std::string& path);

// libjpeg-turbo and libpng: from rows that are RGB888 already, into memory. `used` (optional): how many
// bytes.
bool JpegAlone(const Bytes& rgb888, Size size, int quality, Bytes& out, std::size_t* used = nullptr);
// libjpeg-turbo again, from finished planes: what no conversion of colours can go below.
struct Planes {
    Size size;
    Bytes luma, cb, cr;  // 4:2:0, rows and columns to whole blocks
};
Planes PlanesOf(const Bytes& rgb565, Size size);
bool JpegFromPlanes(const Planes& planes, int quality, Bytes& out);
bool PngAlone(const Bytes& rgb888, Size size, Bytes& out, std::size_t* used = nullptr);

}  // namespace cam::bench
