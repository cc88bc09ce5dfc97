#include "dshow_camera/capture_graph.h"

#include "base/picture_format.h"

namespace cam {

// A graph that was built in part may well preview, and has no still branch: what there is of it is told the
// name all the same. The quality level is given whatever became of the name; the first failure counts.
HRESULT CaptureGraph::TriggerStill(const wchar_t* fileName, BYTE mode) {
    CheckThread(kWorkerThread);
    HRESULT result = E_FAIL;
    if (graph.builder && graph.sinkControl && state >= CameraState::Stopped) {
        result = graph.sinkControl->SetFileName(fileName);
        const PictureFormat format = PictureFormatOf(fileName);
        if (format == PictureFormat::Jpeg || format == PictureFormat::Tiff) {
            const HRESULT levelSet = graph.sinkControl->SetQualityLevel(mode);
            if (result == S_OK) result = levelSet;
        }
        if (result == S_OK && !graph.videoControl) result = E_FAIL;
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
