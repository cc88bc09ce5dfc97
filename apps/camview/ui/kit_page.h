// The page Kit: what the camera sees, and what goes wrong with it.
#pragma once

#include <ocellus/cam_properties.hpp>

#include <iterator>

#include "ui/page.h"

namespace camview {

class KitPage final : public Page {
  public:
    KitPage(HWND parent, Viewer& viewer);

    void Layout() override;
    // Whether the kit is the camera that is up.
    void ShowIsCamera(bool isCamera);
    void ShowCounts();
    // What the camera that is up has, which is what the form for properties begins with.
    void ShowProperties(const std::vector<PropertyInfo>& properties);
    // A picture or film that was chosen.
    void TakeScene(const std::wstring& file);

  private:
    enum : int {
        kScene = 100,
        kRate,
        kLose,
        kReturn,
        kResume,
        kFail,
        kReady,
        kJson,
        kPlay,
        kCalls,
        kProperty,
        kHas,
        kMinimum,
        kMaximum,
        kStep,
        kDefault,
        kChange
    };

    // Of the kit's camera, as scenarios write it.
    struct Property {
        bool isThere = true;
        ocellus::PropertyRange range;
        bool isChanged = false;  // by the form
    };

    void OnCommand(int id, int code, HWND) override;
    void PlayScene(const std::wstring& scene);
    // What the form says, all of it.
    void PlayForm();
    void ShowScenario(const std::wstring& json);
    void ShowProperty();
    void TakeProperty();

    HWND hint, sceneLabel, scene, rateLabel, rate, faultsLabel, lose, bringBack, resume, fail, readyLabel,
        propertyLabel, property, has, rangeLabel, minimum, maximum, step, defaultUnit, defaultValue, change,
        ready, json, play, calls, counts;
    Property properties[std::size(ocellus::kPropertyNames)];
    std::wstring sceneJson = L"\"chart\"";
    bool isCamera = false;
};

}  // namespace camview
