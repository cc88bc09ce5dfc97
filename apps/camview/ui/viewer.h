// What the parts of the window ask of the whole.
#pragma once

#include <windows.h>

#include <string>

#include "camera_service.h"
#include "kit_control.h"
#include "model/view_settings.h"
#include "news.h"

namespace camview {

struct Fault {
    std::wstring what;
    std::wstring remedy;
    bool canTryAgain = false;  // opening the camera
};

class Viewer {
  public:
    // What controls are made for; SetScreen tells when it changes.
    virtual int Dpi() const = 0;
    virtual HFONT Font() const = 0;
    virtual ViewSettings& Settings() = 0;
    virtual CameraService& Camera() = 0;
    virtual KitControl& Kit() = 0;
    virtual const CameraEntry& Current() const = 0;

    virtual void OpenCamera(const CameraEntry& camera) = 0;
    // Opens the camera anew; the kit plays the scenario then.
    virtual void PlayScenario(const std::wstring& scenario) = 0;
    virtual void ListFormats() = 0;
    virtual void ChooseResolution(int index, ocellus::Size size) = 0;
    virtual void TakePictures(int count) = 0;
    virtual void SwitchInterval() = 0;
    virtual bool RunsInterval() const = 0;
    virtual void Complain(const Fault& fault) = 0;
    virtual void AskForPath(PathChosen::Purpose purpose) = 0;
    virtual void CopyText(const std::wstring& text) = 0;

  protected:
    ~Viewer() = default;
};

}  // namespace camview
