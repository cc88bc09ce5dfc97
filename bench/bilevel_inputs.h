// Pictures to measure bilevel TIFF with.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace cam::bench {

struct Size {
    uint32_t width, rows;
    std::string Name() const { return std::to_string(width) + "x" + std::to_string(rows); }
};

enum class Content { Page, Photograph, Halftone, RandomBits };
constexpr Content kContents[] = {Content::Page, Content::Photograph, Content::Halftone, Content::RandomBits};
const char* ContentName(Content content);

constexpr float kThresholdRatio = 0.1f;

// One camera frame in the forms that the stages take.
struct Picture {
    Size size;
    std::vector<uint8_t> grey;    // luma, no padding
    std::vector<uint8_t> yuy2;    // the same with neutral chroma, 2 bytes a pixel
    std::vector<uint8_t> raster;  // thresholded with kThresholdRatio and packed, 1 is black
};

// `count` different pictures. Photographs and halftones are made of frames of `film` (a .y4m file); without
// one, of synthetic ones.
std::vector<Picture> MakePictures(Content content, Size size, uint32_t count, const std::string& film);

}  // namespace cam::bench
