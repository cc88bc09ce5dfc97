// A frame as a webcam sends it, read row by row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cam::driver {

// In the order in which they are preferred at the same rate.
enum class Encoding { Yuy2, Nv12, I420, Rgb32, Rgb24, Mjpg };

// How the samples of a format lie in memory. All but RGB have the topmost row first, whatever a media type
// says of its height.
struct SourceShape {
    Encoding encoding = Encoding::Yuy2;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool bottomUp = false;

    bool operator==(const SourceShape&) const = default;
    // The least that a sample holds; 0 for MJPG, whose frames have any size.
    std::size_t FrameBytes() const;
};

// Three planes of one picture, for the planar formats; the first alone for the others.
struct Planes {
    const std::uint8_t* rows[3] = {};
    std::size_t strides[3] = {};
    bool halfHeightChroma = false;
    bool fullRange = false;  // as JPEG has it
};

// Reads rows as the pins send them on. A view: the samples must outlive it. `y` counts from the top as it is
// seen.
class SourcePicture {
  public:
    // Not MJPG; `sample` holds FrameBytes() at least.
    SourcePicture(const SourceShape& of, std::span<const std::uint8_t> sample);
    // What a JPEG decoder gives: I420 or planes with chroma rows of their own, or BGR with a fourth byte.
    SourcePicture(const SourceShape& of, const Planes& decoded) : shape(of), planes(decoded) {}

    const SourceShape& Shape() const { return shape; }
    // Whole pairs of pixels in the studio range.
    void ReadYuy2Row(std::uint32_t y, std::uint8_t* out) const;
    // `scratch` has room for a YUY2 row; `nextOut` is the way from `out` to where the next row will be
    // wanted.
    void ReadRgb555Row(std::uint32_t y, std::uint8_t* out, std::uint8_t* scratch,
                       std::ptrdiff_t nextOut) const;

  private:
    const std::uint8_t* Row(int plane, std::uint32_t y) const;

    SourceShape shape;
    Planes planes;
};

// The picture as YUY2 from the top down, rows padded to 4 bytes.
void MakeStill(const SourcePicture& picture, std::uint8_t* out);

// Fits pictures of one size into frames of another: shrunk or enlarged by whole pixels, the sides in
// proportion, what is left over black. Buffers are made once for each size.
class PreviewScaler {
  public:
    PreviewScaler(std::uint32_t width, std::uint32_t height) : frameWidth(width), frameHeight(height) {}

    // RGB 5-5-5, the lowest row first, rows padded to 4 bytes.
    void Draw(const SourcePicture& picture, std::uint8_t* frame);

  private:
    void Measure(std::uint32_t width, std::uint32_t height);

    const std::uint32_t frameWidth, frameHeight;
    std::uint32_t sourceWidth = 0, sourceHeight = 0;
    std::uint32_t left = 0, top = 0, shownWidth = 0, shownHeight = 0;
    std::vector<std::uint32_t> columns;  // of the source, for each shown one
    std::vector<std::uint8_t> row, scratch;
};

}  // namespace cam::driver
