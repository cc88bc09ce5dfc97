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

// For FrameCatcher::onFrame. In the pattern red grows to the right, green downwards, and blue is a
// chequerboard; in black and white there is only the chequerboard. judge_pictures.py knows it.
void PaintPattern(void* frame, DWORD size, LONG height, LONG width, DWORD stride);
void PaintBlackWhitePattern(void* frame, DWORD size, LONG height, LONG width, DWORD stride);

// The whole BMP file of that frame.
std::string BmpFile(const SeenFrame& frame);

}  // namespace verify
