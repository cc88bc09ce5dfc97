// Frames on their way through the driver, and the watch over the webcam.
#include <algorithm>
#include <cstring>
#include <new>

#include "base/frame.h"
#include "platform/desktop/camera_driver/camera_driver.h"
#include "platform/desktop/camera_driver/device_notices.h"
#include "platform/desktop/camera_driver/stream_report.h"

namespace cam::driver {
namespace {

// Some webcams take seconds to start; one that stops sending later is gone, though it may say nothing.
constexpr DWORD kFirstFrameMs = 10'000;
constexpr DWORD kNextFrameMs = 2'000;

}  // namespace

// ---- On the webcam's streaming thread -------------------------------------------------------------------

void CameraDriver::OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) try {
    const DWORD now = GetTickCount();
    lastFrame = now;
    hasFrames = true;
    {
        const auto report = theStreamReport.Locked();
        if (report->frames++ == 0) report->firstTick = now;
        report->lastTick = now;
    }
    if (!running) return;
    if (shape.encoding != Encoding::Mjpg) {
        const SourcePicture picture(shape, sample);
        KeepStill(picture);
        SendPreview(picture);
    } else if (const auto picture = jpeg.Decode(sample, shape.width, shape.height)) {
        KeepStill(*picture);
        SendPreview(*picture);
    } else {
        ++theStreamReport.Locked()->brokenFrames;
    }
} catch (const std::bad_alloc&) {
    // A frame is left out.
}

void CameraDriver::OnBrokenFrame() {
    lastFrame = GetTickCount();
    ++theStreamReport.Locked()->brokenFrames;
}

void CameraDriver::OnEnd() {
    SetEvent(ended.get());
}

void CameraDriver::SendPreview(const SourcePicture& picture) {
    ComPtr<IMediaSample> sample;
    BYTE* bytes = nullptr;
    if (!preview.IsConnected() || FAILED(preview.GetPictureBuffer(sample, bytes))) return;
    scaler->Draw(picture, bytes);
    preview.Send(*sample.get());
}

// The frame waits for the driver's thread. While one waits there, the next trigger waits for a later frame.
void CameraDriver::KeepStill(const SourcePicture& picture) {
    if (triggers <= 0) return;
    const SourceShape& shape = picture.Shape();
    if (PictureSize{shape.width, shape.height} != stillSize) return;
    const auto pending = pendingStill.Locked();
    if (pending->waits) return;
    pending->bytes.resize(RowStride(shape.width) * shape.height);
    MakeStill(picture, pending->bytes.data());
    pending->waits = true;
    --triggers;
    SetEvent(stillReady.get());
}

// ---- On the driver's thread -----------------------------------------------------------------------------

DWORD WINAPI CameraDriver::Thread(void* driver) {
    static_cast<CameraDriver*>(driver)->Watch();
    return 0;
}

DWORD CameraDriver::TimeLeft() const {
    if (lost) return INFINITE;
    const DWORD limit = hasFrames ? kNextFrameMs : kFirstFrameMs;
    const DWORD gone = GetTickCount() - lastFrame;
    return gone < limit ? limit - gone : 0;
}

void CameraDriver::Watch() {
    const HANDLE handles[] = {stopping.get(), stillReady.get(), ended.get(), webcam.EventHandle()};
    for (;;) {
        // A lost webcam has no more to say.
        const DWORD count = lost ? 1 : ARRAYSIZE(handles);
        // The first frame, which nothing here waits for, shortens what is left.
        const DWORD longest = lost ? INFINITE : kNextFrameMs;
        switch (WaitForMultipleObjects(count, handles, FALSE, std::min(TimeLeft(), longest))) {
            case WAIT_OBJECT_0:
                return;
            case WAIT_OBJECT_0 + 1:
                SendStill();
                break;
            case WAIT_OBJECT_0 + 2:
                Lose();
                break;
            case WAIT_OBJECT_0 + 3:
                if (webcam.TakeEvents()) Lose();
                break;
            default:
                if (TimeLeft() == 0) Lose();
                break;
        }
    }
}

// The second parameter says that the device is gone; the first would name it, and who frees that is not
// settled among systems.
void CameraDriver::Lose() {
    lost = true;
    theStreamReport.Locked()->lost = true;
    NotifyEvent(EC_DEVICE_LOST, 0, 0);
    PostDeviceNotice(DeviceNotice::Lost);
}

void CameraDriver::SendStill() {
    ComPtr<IMediaSample> sample;
    BYTE* bytes = nullptr;
    HRESULT result = still.GetPictureBuffer(sample, bytes);
    {
        const auto pending = pendingStill.Locked();
        if (SUCCEEDED(result) && static_cast<std::size_t>(sample->GetSize()) < pending->bytes.size())
            result = E_UNEXPECTED;
        if (SUCCEEDED(result)) std::memcpy(bytes, pending->bytes.data(), pending->bytes.size());
        pending->waits = false;
    }
    if (SUCCEEDED(result)) still.Send(*sample.get());
}

}  // namespace cam::driver
