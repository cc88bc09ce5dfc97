// A line above the picture that says what is wrong and what to do about it, and lets the picture go on.
#pragma once

#include "ui/page.h"

namespace camview {

class Banner final : public Page {
  public:
    Banner(HWND parent, Viewer& viewer);

    void Show(const Fault& fault);
    void Hide();
    bool IsShown() const { return isShown; }
    int Height() const { return isShown ? Px(56) : 0; }
    // Whether it says that the camera could not be opened, or is gone.
    bool IsAboutCamera() const { return canTryAgain; }
    void Layout() override;

  private:
    enum : int { kTryAgain = 100, kClose };
    void OnCommand(int id, int code, HWND) override;
    bool OnDraw(const DRAWITEMSTRUCT& item) override;

    HWND message;
    HWND tryAgain;
    HWND close;
    bool isShown = false;
    bool canTryAgain = false;
};

}  // namespace camview
