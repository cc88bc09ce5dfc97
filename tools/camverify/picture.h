// What pictures must show: the device kit's chart, or a pattern that a callback has painted.
#pragma once

#include <string>

#include "camera.h"

namespace verify {

enum class Bits { Rgb555, Rgb565 };

// Whether corner marks, bars and ramp of the kit's chart stand where they belong.
bool ShowsChart(const SeenFrame& frame, Bits bits);
// The number that the chart carries, 0 to 4095.
int FrameNumber(const SeenFrame& frame, Bits bits);

// The pattern's pixel in RGB 5-6-5: red grows to the right, green downwards, and blue is a chequerboard; in
// black and white only the chequerboard. judge_pictures.py knows it.
WORD PatternPixel(LONG x, LONG y, LONG width, LONG height, bool blackWhite);
// For FrameCatcher::onFrame.
void PaintPattern(void* frame, DWORD size, LONG height, LONG width, DWORD stride);
void PaintBlackWhitePattern(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

// The whole BMP file of that frame.
std::string BmpFile(const SeenFrame& frame);

}  // namespace verify
