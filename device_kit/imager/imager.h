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
    void Show(Scene seen) { scene = seen; }

    void Open() { opened = true; }
    // Closes all engines, ends acquisition, takes back every setting and forgets the last image.
    void Shutdown();

    HANDLE OpenEngine();  // null: not opened
    bool CloseEngine(HANDLE engine);
    bool IsOpen(HANDLE engine) const;
    LONG OpenEngines() const { return static_cast<LONG>(engines.size()); }

    DWORD Start();
    void Stop() { acquiring = false; }

    // One image: mode 3 small, mode 2 large.
    DWORD Acquire(HANDLE engine, DWORD mode);

    // The last image, null before the first. Its memory stays where it is as long as the library is loaded,
    // and is written anew by a later image of that size.
    GreyPicture* Last() { return last; }
    const GreyPicture& Small() const { return smallPicture; }
    const GreyPicture& Large() const { return largePicture; }

    DWORD SetDirectExposure(LONG value);
    LONG DirectExposure() const { return directExposure; }
    // Null: there is no such setting.
    static const ExposureSetting* Setting(DWORD index);
    DWORD SetSetting(DWORD index, LONG value);
    LONG SettingValue(DWORD index) const { return settings[index]; }

    void SetIllumination(bool on) { look.illumination = on; }
    void SetAimer(bool on) { look.aimer = on; }
    void SetMonoColor(bool on) { look.blackWhite = on; }

  private:
    int ExposurePercent() const;

    Scene scene = Scene::Barcode;
    bool opened = false;
    bool acquiring = false;
    std::vector<HANDLE> engines;
    ULONG_PTR enginesOpened = 0;
    unsigned frame = 0;
    GreyPicture smallPicture{320, 240};
    GreyPicture largePicture{640, 480};
    GreyPicture* last = nullptr;
    Look look;
    LONG directExposure = kDirectExposures - 1;
    LONG settings[kExposureSettings] = {Setting(0)->defaultValue, Setting(1)->defaultValue};
};

}  // namespace imvoxa
