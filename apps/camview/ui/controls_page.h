// The page Controls: every property that the camera has.
#pragma once

#include "ui/page.h"

namespace camview {

class ControlsPage final : public Page {
  public:
    ControlsPage(HWND parent, Viewer& viewer);

    void Layout() override;
    void OnEnter(HWND control) override;
    void OnFocus(HWND control) override;
    void ShowProperties(std::vector<PropertyInfo> properties);
    void ShowValue(int id, ocellus::PropertyValue now);

  private:
    enum : int { kReset = 100, kSave, kLoad, kUnnamed, kFirstRow = 200, kControlsInRow = 8 };
    enum : int { kSlider, kNumber, kSwitch, kAuto, kDefault };

    // A property that is only on or off has a switch, any other a slider and a number.
    struct Row {
        PropertyInfo info;
        HWND label, slider, numberName, number, onOff, automatic, toDefault;
    };

    void OnCommand(int id, int code, HWND control) override;
    void OnScroll(UINT message, WPARAM wParam, HWND control) override;
    void AddRow(const PropertyInfo& info);
    void RemoveRows();
    void MakeRows();
    void ShowRow(const Row& row);
    void Set(Row& row, long value, long flags);
    void TakeNumber(Row& row);
    void ScrollTo(int wanted);
    Row* RowOf(int id);

    HWND hint, reset, save, load, unnamed;
    std::vector<PropertyInfo> all;
    std::vector<Row> rows;
    int scrolled = 0;
    int contentHeight = 0;
    bool isFilling = false;
};

}  // namespace camview
