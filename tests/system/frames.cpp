#include "frames.h"

#include <cstring>

FrameCatcher previewFrames;
FrameCatcher stillFrames;

WORD Frame::At(int x, int y) const {
    const int row = height > 0 ? height - 1 - y : y;
    WORD pixel;
    memcpy(&pixel, bytes.data() + static_cast<size_t>(row) * stride + static_cast<size_t>(x) * sizeof pixel,
           sizeof pixel);
    return pixel;
}

void FrameCatcher::Reset(size_t keep) {
    frames_.clear();
    frames_.reserve(keep);
    keep_ = keep;
    count_ = 0;
}

void FrameCatcher::Catch(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    if (frames_.size() < keep_) {
        const auto* bytes = static_cast<const BYTE*>(frame);
        frames_.push_back({size, height, width, stride, {bytes, bytes + size}});
    }
    ++count_;
}

void WINAPI CatchPreview(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    previewFrames.Catch(frame, size, height, width, stride);
}

void WINAPI CatchStill(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    stillFrames.Catch(frame, size, height, width, stride);
}
