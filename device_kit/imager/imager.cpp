#include "imager.h"

#include <algorithm>

namespace imvoxa {
namespace {

constexpr DWORD kAcquireSmall = 3;
constexpr DWORD kAcquireLarge = 2;

constexpr DWORD kExposureTime = 0;
constexpr DWORD kGain = 1;
constexpr LONG kNominalTime = 50;

constexpr ExposureSetting kSettings[kExposureSettings] = {
    {1, 100, kNominalTime},  // exposure time, in tenths of a millisecond
    {0, 15, 0},              // gain: each step a tenth more
};

// How bright direct exposure 0, 1 and 2 are.
constexpr int kDirectPercent[kDirectExposures] = {50, 75, 100};

constexpr ULONG_PTR kHandleStep = 4;

}  // namespace

void Imager::Shutdown() {
    opened_ = false;
    acquiring_ = false;
    engines_.clear();
    last_ = nullptr;
    look_ = {};
    directExposure_ = kDirectExposures - 1;
    for (DWORD index = 0; index < kExposureSettings; ++index)
        settings_[index] = kSettings[index].defaultValue;
}

HANDLE Imager::OpenEngine() {
    if (!opened_) return nullptr;
    const HANDLE engine = reinterpret_cast<HANDLE>(++enginesOpened_ * kHandleStep);
    engines_.push_back(engine);
    return engine;
}

bool Imager::CloseEngine(HANDLE engine) {
    return std::erase(engines_, engine) > 0;
}

bool Imager::IsOpen(HANDLE engine) const {
    return std::find(engines_.begin(), engines_.end(), engine) != engines_.end();
}

DWORD Imager::Start() {
    if (engines_.empty()) return ERROR_NOT_READY;
    acquiring_ = true;
    return 0;
}

DWORD Imager::Acquire(HANDLE engine, DWORD mode) {
    if (!IsOpen(engine)) return ERROR_INVALID_HANDLE;
    if (!acquiring_) return ERROR_NOT_READY;
    if (mode != kAcquireSmall && mode != kAcquireLarge) return ERROR_INVALID_PARAMETER;
    last_ = mode == kAcquireSmall ? &smallPicture_ : &largePicture_;
    look_.exposurePercent = ExposurePercent();
    DrawScene(scene_, frame_++, look_, *last_);
    return 0;
}

DWORD Imager::SetDirectExposure(LONG value) {
    if (value < 0 || value >= kDirectExposures) return ERROR_INVALID_PARAMETER;
    directExposure_ = value;
    return 0;
}

const ExposureSetting* Imager::Setting(DWORD index) {
    return index < kExposureSettings ? &kSettings[index] : nullptr;
}

DWORD Imager::SetSetting(DWORD index, LONG value) {
    const ExposureSetting* setting = Setting(index);
    if (!setting || value < setting->minimum || value > setting->maximum) return ERROR_INVALID_PARAMETER;
    settings_[index] = value;
    return 0;
}

int Imager::ExposurePercent() const {
    return static_cast<int>(kDirectPercent[directExposure_] * settings_[kExposureTime] / kNominalTime *
                            (10 + settings_[kGain]) / 10);
}

}  // namespace imvoxa
