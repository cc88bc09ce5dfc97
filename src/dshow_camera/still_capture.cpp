#include "dshow_camera/dshow_camera.h"

#include "base/picture_format.h"

namespace cam {

// ---- On the caller --------------------------------------------------------------------------

HRESULT DShowCamera::SnapPicture(const wchar_t* fileName, int mode, UINT_PTR text, UINT_PTR length,
                                 UINT_PTR position, UINT_PTR color, UINT_PTR font) {
    stillMode = static_cast<BYTE>(mode);
    stillFileName = fileName;
    // A text that cannot be kept costs the stamp, not the picture.
    if (graph.sinkControl) graph.sinkControl->SetText(text, length, position, color, font);
    return SendCommand(Command::kTriggerStill);
}

HRESULT DShowCamera::GetSnapshot(void* snapshot) {
    if (!snapshot) return E_POINTER;
    if (!graph.sinkControl) return E_FAIL;
    graph.sinkControl->GetBitmap(static_cast<HBITMAP*>(snapshot));
    return S_OK;
}

// ---- On the worker --------------------------------------------------------------------------

// The sink's results are no HRESULTs: a bad name is a positive number. The video control is the last
// interface that building acquires: a graph that was built in part may well preview, and has no still branch.
HRESULT DShowCamera::TriggerStill() {
    HRESULT result = E_FAIL;
    if (graph.videoControl && state >= CAM_STATE_STOPPED) {
        result = graph.sinkControl->SetFileName(stillFileName);
        const PictureFormat format = PictureFormatOf(stillFileName);
        if (result == S_OK && (format == PictureFormat::Jpeg || format == PictureFormat::Tiff)) {
            result = graph.sinkControl->SetQualityLevel(stillMode);
        }
        if (result == S_OK) {
            result = graph.videoControl->SetMode(graph.stillPin.get(), VideoControlFlag_Trigger);
            if (SUCCEEDED(result)) state = CAM_STATE_STILL_TRIGGERED;
        }
    }
    if (FAILED(result) || result == kBadFileName) {
        Notify(Notification::kFailed, L"Capturing a still image failed");
    }
    return result;
}

}  // namespace cam
