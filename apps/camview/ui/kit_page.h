// The page Kit: what the camera sees, and what goes wrong with it.
#pragma once

#include "ui/page.h"

namespace camview {

class KitPage final : public Page {
  public:
    KitPage(HWND parent, Viewer& viewer);

    void Layout() override;
    // Whether the kit is the camera that is up.
    void ShowIsCamera(bool isCamera);
    void ShowCounts();
    // A picture or film that was chosen.
    void TakeScene(const std::wstring& file);

  private:
    enum : int { kScene = 100, kRate, kLose, kReturn, kResume, kFail, kReady, kJson, kPlay, kCalls };

    void OnCommand(int id, int code, HWND) override;
    void PlayScene(const std::wstring& scene);
    void ShowScenario(const std::wstring& json);

    HWND hint, sceneLabel, scene, rateLabel, rate, faultsLabel, lose, bringBack, resume, fail, readyLabel,
        ready, jsonLabel, json, play, calls, counts;
    std::wstring sceneJson = L"\"chart\"";
    bool isCamera = false;
};

}  // namespace camview
