#include "imager_camera/imager_library.h"

#include "base/hresult.h"
#include "platform/platform.h"

namespace cam {
namespace {

template <typename Function>
bool Find(HMODULE module, WORD ordinal, Function*& function) {
    function = reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(module, reinterpret_cast<LPCSTR>(MAKEINTRESOURCEW(ordinal)))));
    return function != nullptr;
}

// By name; by ordinal where the library exports the name in a compiler's decorated form.
template <typename Function>
bool Find(HMODULE module, const char* name, WORD ordinal, Function*& function) {
    function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    return function != nullptr || Find(module, ordinal, function);
}

}  // namespace

HRESULT ImagerLibrary::Load() {
    SetLastError(ERROR_MOD_NOT_FOUND);  // in case the system fails without saying why
    module.reset(platform::LoadImagerLibrary());
    if (!module) {
        status = HresultFromLastError();
    } else if (!FindOperations()) {
        operations = {};
        module.reset();
        status = HresultFromError(ERROR_PROC_NOT_FOUND);
    } else {
        status = S_OK;
    }
    return status;
}

bool ImagerLibrary::FindOperations() {
    const HMODULE from = module.get();
    ImagerOperations& to = operations;
    return Find(from, 32, to.open) && Find(from, 50, to.shutdown) && Find(from, 15, to.openEngine) &&
           Find(from, 79, to.start) && Find(from, 81, to.acquire) && Find(from, 53, to.firstDimension) &&
           Find(from, 26, to.secondDimension) && Find(from, 4, to.pixels) && Find(from, 57, to.stampText) &&
           Find(from, 39, to.saveBmp) && Find(from, 40, to.saveJpeg) && Find(from, 41, to.savePng) &&
           Find(from, 83, to.draw) && Find(from, 80, to.stop) && Find(from, 51, to.closeEngine) &&
           Find(from, 3, to.currentImage) && Find(from, 108, to.firstDimensionOf0) &&
           Find(from, 109, to.secondDimensionOf0) && Find(from, 106, to.firstDimensionOf1) &&
           Find(from, 107, to.secondDimensionOf1) && Find(from, 99, to.getExposure) &&
           Find(from, 70, to.setExposure) && Find(from, 67, to.getExposureSetting) &&
           Find(from, 59, to.setExposureSetting) && Find(from, 44, to.setSwitch16) &&
           Find(from, 75, to.setSwitch80) && Find(from, "imgEnableMonoColor", 69, to.enableMonoColor) &&
           Find(from, "imgGetExposureSettingParms", 68, to.getExposureSettingParms);
}

}  // namespace cam
