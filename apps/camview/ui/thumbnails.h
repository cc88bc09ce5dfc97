// The strip of pictures that were taken, newest first.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <deque>

#include "ui/page.h"

namespace camview {

class Thumbnails final : public Page {
  public:
    Thumbnails(HWND parent, Viewer& viewer);
    ~Thumbnails() override;

    SIZE PictureSize() const { return {Px(96), Px(72)}; }
    int Height() const { return Px(150); }
    void Layout() override;
    void OnEnter(HWND control) override;
    // The bitmap is taken over.
    void Add(const PictureFiled& picture);
    void ShowZoom(Zoom zoom);

    enum : int { kFit = 100, kOriginal, kOpenFile, kOpenFolder, kList };

  private:
    struct Shown {
        std::wstring file;
        std::wstring label;
        HBITMAP bitmap;
    };
    void OnCommand(int id, int code, HWND) override;
    LRESULT OnNotify(const NMHDR& header) override;
    void OnScreenChanged() override { Fill(); }
    void Fill();
    int Chosen() const;
    void OpenFile();
    void OpenFolder();

    HWND fit, original, hint, openFile, openFolder, list;
    HIMAGELIST images = nullptr;
    std::deque<Shown> shown;
};

}  // namespace camview
