#include "fake_camera.h"

#include <utility>

#include "api/camera_factory.h"

FakeCameras fakeCameras;

namespace {

template <typename... Arguments>
HRESULT Record(const wchar_t* operation, Arguments... arguments) {
    std::wstring call = operation;
    ((call += L" " + std::to_wstring(arguments)), ...);
    fakeCameras.calls.push_back(call);
    if (fakeCameras.onCall) fakeCameras.onCall();
    return fakeCameras.result;
}

std::wstring Shown(const wchar_t* text) {
    return text ? text : L"null";
}

class FakeCamera final : public cam::CameraDevice {
  public:
    explicit FakeCamera(int cameraType) : type(cameraType) { ++fakeCameras.alive; }
    ~FakeCamera() override {
        --fakeCameras.alive;
        Record((L"~" + std::to_wstring(type)).c_str());
    }
    HRESULT SetOwnerWindow(HWND) override { return Record(L"SetOwnerWindow"); }
    HRESULT SetEventsWindow(HWND) override { return Record(L"SetEventsWindow"); }
    HRESULT RegisterMediaTypeCallback(camMediaTypeCallback callback) override {
        fakeCameras.mediaTypeCallback = callback;
        return Record(L"RegisterMediaTypeCallback");
    }
    HRESULT Init(HWND, const wchar_t* path, const wchar_t* section) override {
        Record((L"Init " + std::to_wstring(type) + L" " + Shown(path) + L" " + Shown(section)).c_str());
        return fakeCameras.initResult;
    }
    HRESULT Open() override { return Record(L"Open"); }
    HRESULT StartPreview() override { return Record(L"StartPreview"); }
    HRESULT StopPreview() override { return Record(L"StopPreview"); }
    HRESULT RegisterPreviewCallback(camFrameCallback callback) override {
        fakeCameras.previewCallback = callback;
        return Record(L"RegisterPreviewCallback");
    }
    HRESULT RegisterStillImageCallback(camFrameCallback) override {
        return Record(L"RegisterStillImageCallback");
    }
    HRESULT SnapPicture(const wchar_t* fileName, int mode, UINT_PTR overlay1, UINT_PTR overlay2,
                        UINT_PTR overlay3, UINT_PTR overlay4, UINT_PTR overlay5) override {
        return Record((L"SnapPicture " + Shown(fileName)).c_str(), mode, overlay1, overlay2, overlay3,
                      overlay4, overlay5);
    }
    HRESULT GetSnapshot(void* snapshot) override {
        return Record(snapshot ? L"GetSnapshot" : L"GetSnapshot null");
    }
    HRESULT Shutdown() override { return Record(L"Shutdown"); }
    int GetResolutionCount() override {
        Record(L"GetResolutionCount");
        return 5;
    }
    HRESULT GetResolutionDimensions(long*, long*, int index) override {
        return Record(L"GetResolutionDimensions", index);
    }
    HRESULT SetResolution(int index) override { return Record(L"SetResolution", index); }
    HRESULT GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override {
        FillRange(minimum, maximum, step, defaultValue, flags);
        return Record(L"GetPropertyRangeA", id);
    }
    HRESULT GetPropertyA(int id, long* value, long*) override {
        *value = 7;
        return Record(L"GetPropertyA", id);
    }
    HRESULT SetPropertyA(int id, long value, long flags) override {
        return Record(L"SetPropertyA", id, value, flags);
    }
    HRESULT GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                              long* flags) override {
        FillRange(minimum, maximum, step, defaultValue, flags);
        return Record(L"GetPropertyRangeB", id);
    }
    HRESULT GetPropertyB(int id, long* value, long*) override {
        *value = 8;
        return Record(L"GetPropertyB", id);
    }
    HRESULT SetPropertyB(int id, long value, long flags) override {
        return Record(L"SetPropertyB", id, value, flags);
    }
    bool CanEnd() override { return fakeCameras.canEnd; }
    HRESULT GetState(int* state) override {
        *state = 3;
        return Record(L"GetState");
    }

  private:
    static void FillRange(long* minimum, long* maximum, long* step, long* defaultValue, long* flags) {
        *minimum = 1;
        *maximum = 2;
        *step = 3;
        *defaultValue = 4;
        *flags = 5;
    }

    const int type;
};

}  // namespace

namespace cam {
// In place of the library's own factory.
CameraDevice* CreateCamera(int cameraType) {
    if (fakeCameras.outOfMemory || (cameraType != CAM_TYPE_DSHOW && cameraType != CAM_TYPE_IMAGER))
        return nullptr;
    return new FakeCamera(cameraType);
}
}  // namespace cam

void ResetFakeCameras() {
    fakeCameras.result = 0;
    camShutDown();
    fakeCameras = {};
}

std::wstring TakeCalls() {
    std::wstring joined;
    for (const std::wstring& call : std::exchange(fakeCameras.calls, {})) {
        joined += (joined.empty() ? L"" : L"; ") + call;
    }
    return joined;
}
