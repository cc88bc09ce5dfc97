// Where the library draws the live picture, kept in shape.
#pragma once

#include <windows.h>

#include "model/fit.h"

namespace camview {

// The pane is dark; in it stands the window that the library owns the picture's window in. That one belongs
// to a thread of the library, so nothing here waits for it.
class PreviewPane {
  public:
    explicit PreviewPane(HWND parent);

    HWND Window() const { return window; }
    HWND Owner() const { return owner; }
    void SetPicture(SIZE picture);
    void SetZoom(Zoom wanted);
    // The pane's size, or that of the picture, has changed.
    void Layout();

  private:
    static LRESULT CALLBACK Procedure(HWND, UINT, WPARAM, LPARAM);

    HWND window = nullptr;
    HWND owner = nullptr;
    SIZE picture = {640, 480};
    Zoom zoom = Zoom::Fit;
};

}  // namespace camview
