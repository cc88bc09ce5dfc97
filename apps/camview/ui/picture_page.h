// The page Picture: which camera, which pictures, where they go, what is stamped into them.
#pragma once

#include <optional>

#include "ui/page.h"

namespace camview {

class PicturePage final : public Page {
  public:
    PicturePage(HWND parent, Viewer& viewer);

    void Layout() override;
    void ShowCameras(const std::vector<CameraEntry>& cameras, const CameraEntry& chosen);
    void ShowResolutions(std::vector<ocellus::Size> all, ocellus::Size current);
    void ShowResolution(ocellus::Size current) { ShowResolutions(sizes, current); }
    std::wstring ResolutionText() const { return TextOf(resolution); }
    void ShowInterval();
    // The name that the next picture would get.
    void ShowNextName();
    void ShowFolder();

    // What stands in the fields. Nothing: the name or the folder cannot be, and the window has said so.
    std::optional<SnapRequest> NextPicture();

  private:
    enum : int {
        kCamera = 100,
        kResolution,
        kFormat,
        kMode,
        kFolder,
        kBrowse,
        kPattern,
        kStamp,
        kPosition,
        kColor,
        kOutline,
        kBackground,
        kFont,
        kFontPixels,
        kBold,
        kExample,
        kTake,
        kBurst,
        kBurstCount,
        kInterval,
        kIntervalSeconds
    };

    void OnCommand(int id, int code, HWND) override;
    bool OnDraw(const DRAWITEMSTRUCT& item) override;
    void ShowModes();
    void ShowUnits();
    void TakeFields();
    std::wstring Extension() const;

    HWND cameraLabel, camera, resolutionLabel, resolution, formatLabel, format, modeLabel, mode, folderLabel,
        folder, browse, patternLabel, pattern, nextName, stampLabel, stamp, positionLabel, position,
        colorLabel, color, outlineLabel, outline, backgroundLabel, background, fontLabel, fontName,
        fontPixels, bold, example, take, burst, burstCount, burstUnit, interval, intervalSeconds,
        intervalUnit;
    std::vector<CameraEntry> entries;
    std::vector<ocellus::Size> sizes;
    bool isFilling = true;  // changes of fields are the program's, not the user's
};

}  // namespace camview
