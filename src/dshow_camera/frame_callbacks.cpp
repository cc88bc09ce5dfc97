#include "dshow_camera/frame_callbacks.h"

#include <atomic>

#include "dshow_camera/dshow_camera.h"

namespace cam {
namespace {

// Written by the caller, read by streaming threads.
std::atomic<camFrameCallback> previewCallback = nullptr;
std::atomic<camFrameCallback> stillImageCallback = nullptr;

// What the filters call once a callback has been registered: whatever is registered at that moment.
void WINAPI PreviewTrampoline(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    if (const camFrameCallback callback = previewCallback) callback(frame, size, height, width, stride);
}

void WINAPI StillImageTrampoline(void* frame, DWORD size, LONG height, LONG width, DWORD stride) {
    if (const camFrameCallback callback = stillImageCallback) callback(frame, size, height, width, stride);
}

}  // namespace

camFrameCallback PreviewCallback() {
    return previewCallback;
}
camFrameCallback StillImageCallback() {
    return stillImageCallback;
}

// A camera whose graph could not be built has no filters to tell; the callback is kept for the next.
HRESULT DShowCamera::RegisterPreviewCallback(camFrameCallback callback) {
    previewCallback = callback;
    if (ISampleGrabberControl* grabber = worker.Filters().Grabber())
        grabber->SetCallback(callback ? PreviewTrampoline : nullptr);
    return S_OK;
}

HRESULT DShowCamera::RegisterStillImageCallback(camFrameCallback callback) {
    stillImageCallback = callback;
    if (IStillImageSinkControl* sink = worker.Filters().Sink())
        sink->SetCallback(callback ? StillImageTrampoline : nullptr);
    return S_OK;
}

}  // namespace cam
