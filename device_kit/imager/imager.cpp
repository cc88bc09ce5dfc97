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
    opened = false;
    acquiring = false;
    engines.clear();
    last = nullptr;
    look = {};
    directExposure = kDirectExposures - 1;
    for (DWORD index = 0; index < kExposureSettings; ++index) settings[index] = kSettings[index].defaultValue;
}

HANDLE Imager::OpenEngine() {
    if (!opened) return nullptr;
    const HANDLE engine = reinterpret_cast<HANDLE>(++enginesOpened * kHandleStep);
    engines.push_back(engine);
    return engine;
}

bool Imager::CloseEngine(HANDLE engine) {
    return std::erase(engines, engine) > 0;
}

bool Imager::IsOpen(HANDLE engine) const {
    return std::find(engines.begin(), engines.end(), engine) != engines.end();
}

DWORD Imager::Start() {
    if (engines.empty()) return ERROR_NOT_READY;
    acquiring = true;
    return 0;
}

DWORD Imager::Acquire(HANDLE engine, DWORD mode) {
    if (!IsOpen(engine)) return ERROR_INVALID_HANDLE;
    if (!acquiring) return ERROR_NOT_READY;
    if (mode != kAcquireSmall && mode != kAcquireLarge) return ERROR_INVALID_PARAMETER;
    last = mode == kAcquireSmall ? &smallPicture : &largePicture;
    look.exposurePercent = ExposurePercent();
    DrawScene(scene, frame++, look, *last);
    return 0;
}

DWORD Imager::SetDirectExposure(LONG value) {
    if (value < 0 || value >= kDirectExposures) return ERROR_INVALID_PARAMETER;
    directExposure = value;
    return 0;
}

const ExposureSetting* Imager::Setting(DWORD index) {
    return index < kExposureSettings ? &kSettings[index] : nullptr;
}

DWORD Imager::SetSetting(DWORD index, LONG value) {
    const ExposureSetting* setting = Setting(index);
    if (!setting || value < setting->minimum || value > setting->maximum) return ERROR_INVALID_PARAMETER;
    settings[index] = value;
    return 0;
}

int Imager::ExposurePercent() const {
    return static_cast<int>(kDirectPercent[directExposure] * settings[kExposureTime] / kNominalTime *
                            (10 + settings[kGain]) / 10);
}

}  // namespace imvoxa
