// The driver as the platform's seam offers it.
#include <new>

#include "base/hresult.h"
#include "platform/desktop/camera_driver/camera_driver.h"
#include "platform/desktop/camera_driver/stream_report.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "platform/desktop/environment.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

using driver::Encoding;

DWORD FourccOf(Encoding encoding) {
    switch (encoding) {
        case Encoding::Yuy2:
            return MAKEFOURCC('Y', 'U', 'Y', '2');
        case Encoding::Nv12:
            return MAKEFOURCC('N', 'V', '1', '2');
        case Encoding::I420:
            return MAKEFOURCC('I', '4', '2', '0');
        case Encoding::Mjpg:
            return MAKEFOURCC('M', 'J', 'P', 'G');
        case Encoding::Rgb24:
            return MAKEFOURCC('R', 'G', 'B', '3');
        case Encoding::Rgb32:
            return MAKEFOURCC('R', 'G', 'B', '4');
    }
    return 0;
}

StreamFormat Describe(const driver::SourceShape& shape, LONGLONG frameTime) {
    return {FourccOf(shape.encoding), shape.width, shape.height, frameTime};
}

}  // namespace

bool IsWebcam(const wchar_t* legacyName) {
    return !driver::IdentityOf(legacyName).empty();
}

HRESULT CreateCaptureFilter(REFCLSID registered, DeviceFinder find, IBaseFilter** out) try {
    wchar_t name[MAX_PATH] = {};
    *driver::theStreamReport.Locked() = {};  // of another camera
    if (FAILED(find(name)) || !IsWebcam(name)) {
        return CoCreateInstance(registered, nullptr, CLSCTX_ALL, __uuidof(IBaseFilter),
                                reinterpret_cast<void**>(out));
    }
    *out = ComPtr<IBaseFilter>(new driver::CameraDriver).detach();
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

std::wstring ChosenByEnvironment() {
    return Environment(L"OCELLUS_CAMERA");
}

HRESULT ListDeviceFormats(const wchar_t* legacyName, std::vector<StreamFormat>& formats) {
    driver::WebcamGraph webcam;
    const std::wstring identity = driver::IdentityOf(legacyName);
    if (identity.empty()) return E_NOTIMPL;
    CAM_RETURN_IF_FAILED(webcam.Open(identity));
    for (const driver::SourceFormat& format : webcam.Formats())
        formats.push_back(Describe(format.shape, format.frameTime));
    return S_OK;
}

bool GetStreamState(StreamState* state) {
    const auto report = driver::theStreamReport.Locked();
    if (report->shape.width == 0) return false;
    *state = {Describe(report->shape, report->frameTime),
              report->startResult,
              report->frames,
              report->brokenFrames,
              report->milliseconds,
              report->lost};
    return true;
}

BOOL SetWarmUpFrames(DWORD frames) {
    driver::theWarmUpFrames = frames;
    return TRUE;
}

}  // namespace cam::platform
