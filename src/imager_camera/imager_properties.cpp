// Properties and still resolutions of the imager camera. *caller* thread only.
#include "imager_camera/imager_camera.h"

namespace cam {
namespace {

constexpr int kResolutions = 2;
constexpr int kCurrentResolution = -1;

constexpr int kMonoColor = CAM_PROPERTY_COLOR_ENABLE;
constexpr int kExposure = CAM_PROPERTY_EXPOSURE;
constexpr int kSwitch16 = 16;
constexpr int kSwitch80 = 80;

constexpr LONG kDirectExposure = -1;
constexpr long kLongestDirectExposure = 2;

constexpr long kSupported = 2;
constexpr long kUnsupported = 1;

struct Range {
    long* minimum;
    long* maximum;
    long* step;
    long* defaultValue;
    long* flags;

    bool Complete() const { return minimum && maximum && step && defaultValue && flags; }

    HRESULT Set(long from, long to, long by, long preset) const {
        *minimum = from;
        *maximum = to;
        *step = by;
        *defaultValue = preset;
        return S_OK;
    }
    HRESULT SetUnsupported() const {
        Set(0, 0, 0, 0);
        *flags = kUnsupported;
        return E_NOTIMPL;
    }
};

}  // namespace

int ImagerCamera::GetResolutionCount() {
    return kResolutions;
}

HRESULT ImagerCamera::GetResolutionDimensions(long* height, long* width, int index) {
    if (index == kCurrentResolution) index = static_cast<int>(session->resolutionIndex.load());
    if (index != 0 && index != 1) return E_FAIL;
    const ImagerLibrary& library = session->library;
    if (library.Status() != S_OK) return library.Status();
    *height = index == 0 ? library->firstDimensionOf0() : library->firstDimensionOf1();
    *width = index == 0 ? library->secondDimensionOf0() : library->secondDimensionOf1();
    return S_OK;
}

HRESULT ImagerCamera::SetResolution(int index) {
    if (index != 0 && index != 1) return E_FAIL;
    session->resolutionIndex = static_cast<DWORD>(index);
    return S_OK;
}

HRESULT ImagerCamera::GetPropertyRangeA(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                        long* flags) {
    const Range range = {minimum, maximum, step, defaultValue, flags};
    if (!range.Complete()) return E_POINTER;
    *flags = kSupported;
    return id == kMonoColor ? range.Set(0, 1, 1, 0) : range.SetUnsupported();
}

HRESULT ImagerCamera::GetPropertyA(int id, long* value, long* flags) {
    if (!value || !flags) return E_POINTER;
    *flags = kSupported;
    *value = id == kMonoColor ? static_cast<long>(monoColor) : 0;
    return id == kMonoColor ? S_OK : E_NOTIMPL;
}

HRESULT ImagerCamera::SetPropertyA(int id, long value, long) {
    if (id != kMonoColor) return E_NOTIMPL;
    if (session->library.Status() != S_OK) return session->library.Status();
    monoColor = static_cast<DWORD>(value);
    session->library->enableMonoColor(value != 0);
    return S_OK;
}

HRESULT ImagerCamera::GetPropertyRangeB(int id, long* minimum, long* maximum, long* step, long* defaultValue,
                                        long* flags) {
    const Range range = {minimum, maximum, step, defaultValue, flags};
    if (!range.Complete()) return E_POINTER;
    *flags = kSupported;
    if (id == kSwitch16 || id == kSwitch80) return range.Set(0, 1, 1, 0);
    if (id != kExposure) return range.SetUnsupported();
    if (exposureIndex == kDirectExposure) {
        return range.Set(0, kLongestDirectExposure, kLongestDirectExposure, kLongestDirectExposure);
    }
    if (session->library.Status() != S_OK) return session->library.Status();
    TES_TableTag table = {};
    if (session->library->getExposureSettingParms(static_cast<DWORD>(exposureIndex), &table) != 0)
        return E_INVALIDARG;
    return range.Set(table.minimum, table.maximum, 1, table.defaultValue);
}

// Reading the exposure selects what is read, set and ranged from then on: the incoming value is the
// setting's index.
HRESULT ImagerCamera::GetPropertyB(int id, long* value, long* flags) {
    if (!value || !flags) return E_POINTER;
    *flags = kSupported;
    if (id == kSwitch16 || id == kSwitch80) {
        *value = static_cast<long>(id == kSwitch16 ? switch16 : switch80);
        return S_OK;
    }
    if (id != kExposure) {
        *value = 0;
        return E_NOTIMPL;
    }
    exposureIndex = *value;
    const ImagerLibrary& library = session->library;
    if (library.Status() != S_OK) return library.Status();
    if (exposureIndex == kDirectExposure) return library->getExposure(value) == 0 ? S_OK : E_FAIL;
    ImagerExposureSetting setting = {exposureIndex, 0};
    if (library->getExposureSetting(&setting, sizeof setting) != 0) return E_FAIL;
    *value = setting.value;
    return S_OK;
}

HRESULT ImagerCamera::SetPropertyB(int id, long value, long) {
    if (id != kExposure && id != kSwitch16 && id != kSwitch80) return E_NOTIMPL;
    const ImagerLibrary& library = session->library;
    if (library.Status() != S_OK) return library.Status();
    if (id == kSwitch16) {
        switch16 = static_cast<DWORD>(value);
        library->setSwitch16(switch16);
        return S_OK;
    }
    if (id == kSwitch80) {
        switch80 = static_cast<DWORD>(value);
        library->setSwitch80(switch80);
        return S_OK;
    }
    if (exposureIndex == kDirectExposure) return library->setExposure(value) == 0 ? S_OK : E_FAIL;
    ImagerExposureSetting setting = {exposureIndex, value};
    return library->setExposureSetting(&setting, sizeof setting) == 0 ? S_OK : E_FAIL;
}

}  // namespace cam
