#include "dshow_camera/capture_graph.h"

#include "base/picture_format.h"

namespace cam {

// The video control is the last interface that building acquires: a graph that was built in part may well
// preview, and has no still branch.
HRESULT CaptureGraph::TriggerStill(const wchar_t* fileName, BYTE mode) {
    CheckThread(kWorkerThread);
    HRESULT result = E_FAIL;
    if (graph_.videoControl && state_ >= CameraState::Stopped) {
        result = graph_.sinkControl->SetFileName(fileName);
        const PictureFormat format = PictureFormatOf(fileName);
        if (result == S_OK && (format == PictureFormat::Jpeg || format == PictureFormat::Tiff)) {
            result = graph_.sinkControl->SetQualityLevel(mode);
        }
        if (result == S_OK) {
            result = graph_.videoControl->SetMode(graph_.stillPin.get(), VideoControlFlag_Trigger);
            if (SUCCEEDED(result)) state_ = CameraState::StillTriggered;
        }
    }
    if (FAILED(result) || result == kBadFileName) {
        Notify(Notification::Failed, L"Capturing a still image failed");
    }
    return result;
}

}  // namespace cam
