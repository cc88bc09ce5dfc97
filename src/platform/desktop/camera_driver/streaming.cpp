// Frames on their way through the driver, and the watch over the webcam.
#include <algorithm>
#include <cstring>
#include <new>

#include "base/frame.h"
#include "base/insist.h"
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
    bool isWarmingUp;
    {
        const auto report = theStreamReport.Locked();
        if (report->frames != 0) report->milliseconds += now - report->lastTick;
        report->lastTick = now;
        isWarmingUp = report->frames++ < theWarmUpFrames;
    }
    if (!running || isWarmingUp) return;
    const auto picture = jpeg.Read(shape, sample);
    if (!picture) {
        ++theStreamReport.Locked()->brokenFrames;
        return;
    }
    if (!hasOwnStills) KeepStill(*picture);
    SendPreview(*picture);
} catch (const std::bad_alloc&) {
    // A frame is left out.
}

void CameraDriver::OnBrokenFrame() {
    lastFrame = GetTickCount();
    ++theStreamReport.Locked()->brokenFrames;
}

void CameraDriver::OnEnd() {
    Signal(ended.get());
}

void CameraDriver::SendPreview(const SourcePicture& picture) {
    ComPtr<IMediaSample> sample;
    BYTE* bytes = nullptr;
    if (!preview.IsConnected() || FAILED(preview.GetPictureBuffer(sample, bytes))) return;
    scaler->Draw(picture, bytes);
    preview.Send(*sample.get());
}

// One for which there is no trigger comes from the button on the webcam: nobody has asked for it. One that is
// of no use has used up its trigger: what comes later has not been asked for.
void CameraDriver::StillReceiver::OnFrame(const SourceShape& shape, std::span<const std::uint8_t> sample) {
    bool isKept = false;
    try {
        const auto picture = jpeg.Read(shape, sample);
        isKept = picture && driver.KeepStill(*picture);
    } catch (const std::bad_alloc&) {
        // The picture is left out.
    }
    if (!isKept) driver.DropTrigger();
}

// The picture waits for the driver's thread. While one of the video waits there, the next trigger waits for a
// later frame; of the webcam's own stills each belongs to its trigger.
bool CameraDriver::KeepStill(const SourcePicture& picture) {
    if (triggers <= 0) return false;
    const SourceShape& shape = picture.Shape();
    if (PictureSize{shape.width, shape.height} != stillSize) return false;
    const auto pending = pendingStills.Locked();
    if (!hasOwnStills && !pending->empty()) return false;
    pending->emplace_back(RowStride(shape.width) * shape.height);
    MakeStill(picture, pending->back().data());
    --triggers;
    Signal(stillReady.get());
    return true;
}

// ---- On the driver's thread -----------------------------------------------------------------------------

DWORD WINAPI CameraDriver::Thread(void* driver) {
    static_cast<CameraDriver*>(driver)->Watch();
    return 0;
}

DWORD CameraDriver::TimeLeft() const {
    if (lost) return INFINITE;
    const DWORD limit = hasFrames ? kNextFrameMs : kFirstFrameMs;
    const DWORD last = lastFrame;  // first: a frame may come in between, and would be later than now
    const DWORD gone = GetTickCount() - last;
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
            case WAIT_FAILED:
                Sleep(1);
                [[fallthrough]];
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
    while (!pendingStills.Locked()->empty()) {
        ComPtr<IMediaSample> sample;
        BYTE* bytes = nullptr;
        HRESULT result = still.GetPictureBuffer(sample, bytes);
        {
            const auto pending = pendingStills.Locked();
            const std::vector<std::uint8_t>& picture = pending->front();
            if (SUCCEEDED(result) && static_cast<std::size_t>(sample->GetSize()) < picture.size())
                result = E_UNEXPECTED;
            if (SUCCEEDED(result)) std::memcpy(bytes, picture.data(), picture.size());
            pending->erase(pending->begin());
        }
        if (SUCCEEDED(result)) still.Send(*sample.get());
    }
}

}  // namespace cam::driver
