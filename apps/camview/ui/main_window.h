// The window: puts its parts together, and carries what happens from one to the other.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "camera_service.h"
#include "model/command_line.h"
#include "model/shot_plan.h"
#include "task_thread.h"
#include "ui/banner.h"
#include "ui/controls_page.h"
#include "ui/kit_page.h"
#include "ui/list_page.h"
#include "ui/picture_page.h"
#include "ui/preview_pane.h"
#include "ui/thumbnails.h"
#include "ui/viewer.h"

namespace camview {

class MainWindow final : public Viewer {
  public:
    explicit MainWindow(const CommandLine& line);
    ~MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    void Show();
    // Keys that count everywhere. True: the message is done with.
    bool TakeKey(const MSG& message);
    void NoteFocus();
    HWND Window() const { return window; }

    // ---- Viewer
    int Dpi() const override { return dpi; }
    HFONT Font() const override { return font.get(); }
    ViewSettings& Settings() override { return settings; }
    CameraService& Camera() override { return service; }
    KitControl& Kit() override { return kit; }
    const CameraEntry& Current() const override { return request.camera; }
    void OpenCamera(const CameraEntry& camera) override;
    void PlayScenario(const std::wstring& scenario) override;
    void ListFormats() override;
    void ChooseResolution(int index, ocellus::Size size) override;
    void TakePictures(int count) override;
    void SwitchInterval() override;
    bool RunsInterval() const override { return plan.RunsInterval(); }
    void Complain(const Fault& fault) override;
    void AskForPath(PathChosen::Purpose purpose) override;
    void CopyText(const std::wstring& text) override;

  private:
    enum : UINT_PTR { kPlanTimer = 1, kStatusTimer, kEndTimer, kExitTimer };
    enum : int { kPictureTab, kControlsTab, kCameraTab, kLogTab, kKitTab, kTabCount };
    enum class Life { Opening, Live, Failed, Lost, Ending };

    static LRESULT CALLBACK Procedure(HWND, UINT, WPARAM, LPARAM);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    void MakeWindow();
    void MakeParts();
    void MakePage(int tab);
    void FitStatus();
    void Layout();
    void SetScreen();
    void ShowTab(int tab);
    Page* TabPage(int tab) const;  // null: not made yet
    void OnTimer(UINT_PTR timer);
    void OnClose();
    void KeepState();
    void TakeBackKeys();

    // ---- Camera
    void Open(OpenRequest wanted);
    void Ask(OpenRequest wanted);
    void OpenAgain();
    void OnDevices(WPARAM what);
    void OnPictureTaken();
    void FollowPlan();
    void TakeDuePicture();
    void EndPicture();
    void LookAfterFrames();
    void ShowStatus();
    void DismissFault();
    std::wstring StateText() const;

    void On(const CamerasListed& news);
    void On(const CameraOpening& news);
    void On(const CameraOpened& news);
    void On(const CameraFailed& news);
    void On(const PropertiesRead& news);
    void On(const PropertySet& news);
    void On(const ResolutionSet& news);
    void On(const PreviewRuns& news);
    void On(const FirstFrame& news);
    void On(const SnapRefused& news);
    void On(const StateRead& news);
    void On(const FormatsListed& news);
    void On(const ScenarioRefused& news);
    void On(const KitMissing& news);
    void On(const SettingsDone& news);
    void On(const Logged& news);
    void On(const PictureFiled& news);
    void On(const PathChosen& news);

    const CommandLine line;
    ViewSettings settings;
    std::wstring stateFile;
    bool keepsState = true;
    Mailbox mailbox;
    KitControl kit;

    HWND window = nullptr;
    HWND tabs = nullptr;
    HWND status = nullptr;
    HWND focus = nullptr;      // the last one
    bool wasDeprived = false;  // of the keys, by a window that nobody sees
    int dpi = kBaseDpi;
    cam::UniqueFont font;
    std::unique_ptr<PreviewPane> preview;
    std::unique_ptr<Banner> banner;
    std::unique_ptr<Thumbnails> thumbnails;
    std::unique_ptr<PicturePage> picturePage;
    std::unique_ptr<ControlsPage> controlsPage;
    std::unique_ptr<CameraPage> cameraPage;
    std::unique_ptr<LogPage> logPage;
    std::unique_ptr<KitPage> kitPage;

    Life life = Life::Opening;
    OpenRequest request;
    std::vector<CameraEntry> cameras;
    int cameraState = CAM_STATE_NONE;
    int lastPictureMs = -1;
    std::int64_t openedAt = 0;  // or asked to open; microseconds
    std::int64_t triedAt = 0;
    bool isTrying = false;  // an attempt to open is under way
    SIZE drawnSize = {};    // of the owner window when preview was started
    ShotPlan plan;
    std::wstring onItsWay;                                          // the picture's file
    std::int64_t askedAt = 0;                                       // when it was
    std::wstring onlyFile;                                          // of --snap, until it has been asked for
    std::optional<std::pair<int, ocellus::Size>> wantedResolution;  // waits for a picture on its way

    // Last: their tasks use the others.
    TaskThread files{COINIT_MULTITHREADED, L"camview files"};
    TaskThread dialogs{COINIT_APARTMENTTHREADED, L"camview dialogs"};
    CameraService service{mailbox, kit};
};

}  // namespace camview
