// The imager itself: what the library's operations act on.
#pragma once

#include <windows.h>

#include <vector>

#include "grey_picture.h"
#include "imager_scene.h"

namespace imvoxa {

constexpr LONG kDirectExposures = 3;  // direct exposure 0 to 2
constexpr DWORD kExposureSettings = 2;

struct ExposureSetting {
    LONG minimum;
    LONG maximum;
    LONG defaultValue;
};

// Statuses are 0 or a Win32 error. Not guarded: the exported functions hold the lock (imvoxa.cpp).
class Imager {
  public:
    void Show(Scene seen) { scene_ = seen; }

    void Open() { opened_ = true; }
    // Closes all engines, ends acquisition, takes back every setting and forgets the last image.
    void Shutdown();

    HANDLE OpenEngine();  // null: not opened
    bool CloseEngine(HANDLE engine);
    bool IsOpen(HANDLE engine) const;
    LONG OpenEngines() const { return static_cast<LONG>(engines_.size()); }

    DWORD Start();
    void Stop() { acquiring_ = false; }

    // One image: mode 3 small, mode 2 large.
    DWORD Acquire(HANDLE engine, DWORD mode);

    // The last image, null before the first. Its memory stays where it is as long as the library is loaded,
    // and is written anew by a later image of that size.
    GreyPicture* Last() { return last_; }
    const GreyPicture& Small() const { return smallPicture_; }
    const GreyPicture& Large() const { return largePicture_; }

    DWORD SetDirectExposure(LONG value);
    LONG DirectExposure() const { return directExposure_; }
    // Null: there is no such setting.
    static const ExposureSetting* Setting(DWORD index);
    DWORD SetSetting(DWORD index, LONG value);
    LONG SettingValue(DWORD index) const { return settings_[index]; }

    void SetIllumination(bool on) { look_.illumination = on; }
    void SetAimer(bool on) { look_.aimer = on; }
    void SetMonoColor(bool on) { look_.blackWhite = on; }

  private:
    int ExposurePercent() const;

    Scene scene_ = Scene::Barcode;
    bool opened_ = false;
    bool acquiring_ = false;
    std::vector<HANDLE> engines_;
    ULONG_PTR enginesOpened_ = 0;
    unsigned frame_ = 0;
    GreyPicture smallPicture_{320, 240};
    GreyPicture largePicture_{640, 480};
    GreyPicture* last_ = nullptr;
    Look look_;
    LONG directExposure_ = kDirectExposures - 1;
    LONG settings_[kExposureSettings] = {Setting(0)->defaultValue, Setting(1)->defaultValue};
};

}  // namespace imvoxa
