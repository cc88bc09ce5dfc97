// The picture formats that the camera's pins offer, and how pictures become samples.
#pragma once

#include <cstdint>

#include "base/frame.h"
#include "scene/picture.h"

namespace kit {

enum class Layout { Rgb555, Rgb565, Yuy2 };

struct Format {
    Layout layout = Layout::Rgb555;
    int width = 0;
    int height = 0;
    bool topDown = false;

    // Bytes from row to row: 16 bits a pixel.
    int Stride() const { return static_cast<int>(cam::RowStride(static_cast<unsigned>(width))); }
    int SampleSize() const { return Stride() * height; }
};

// Packs a picture of exactly the format's size into a sample of SampleSize() bytes, padding included.
void Pack(const Picture& picture, const Format& format, std::uint8_t* sample);

}  // namespace kit
