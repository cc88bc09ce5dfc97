#include "dshow_camera/capture_graph.h"

#include "base/picture_format.h"

namespace cam {

// The video control is the last interface that building acquires: a graph that was built in part may well
// preview, and has no still branch.
HRESULT CaptureGraph::TriggerStill(const wchar_t* fileName, BYTE mode) {
    CheckThread(kWorkerThread);
    HRESULT result = E_FAIL;
    if (graph.videoControl && state >= CameraState::Stopped) {
        result = graph.sinkControl->SetFileName(fileName);
        const PictureFormat format = PictureFormatOf(fileName);
        if (result == S_OK && (format == PictureFormat::Jpeg || format == PictureFormat::Tiff)) {
            result = graph.sinkControl->SetQualityLevel(mode);
        }
        if (result == S_OK) {
            result = graph.videoControl->SetMode(graph.stillPin.get(), VideoControlFlag_Trigger);
            if (SUCCEEDED(result)) state = CameraState::StillTriggered;
        }
    }
    if (FAILED(result) || result == kBadFileName) {
        Notify(Notification::Failed, L"Capturing a still image failed");
    }
    return result;
}

}  // namespace cam
