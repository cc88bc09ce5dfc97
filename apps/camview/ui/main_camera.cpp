// The window's dealings with the camera: opening, pictures, faults, and what is told of them.
#include <algorithm>

#include "model/choices.h"
#include "picture_files.h"
#include "ui/main_window.h"

namespace camview {

namespace {

constexpr std::int64_t kSecond = 1'000'000;  // microseconds
constexpr std::int64_t kSilence = 3 * kSecond;
constexpr std::int64_t kFirstFrame = 10 * kSecond;
constexpr std::int64_t kTryAgain = 3 * kSecond;
constexpr std::int64_t kPictureSeconds = 15;
constexpr UINT kPlanMs = 50;

std::int64_t Milliseconds() {
    return Microseconds() / 1000;
}

Text StateName(int state) {
    switch (state) {
        case CAM_STATE_INITIALISED:
            return Text::StateInitialised;
        case CAM_STATE_STOPPED:
            return Text::StateStopped;
        case CAM_STATE_PREVIEWING:
            return Text::StatePreviewing;
        case CAM_STATE_PAUSED:
            return Text::StatePaused;
        case CAM_STATE_STILL_TRIGGERED:
            return Text::StateStill;
        default:
            return Text::StateNone;
    }
}

SIZE ClientSize(HWND window) {
    RECT client;
    GetClientRect(window, &client);
    return {client.right, client.bottom};
}

}  // namespace

// ---- Opening
// ------------------------------------------------------------------------------------------------

void MainWindow::Ask(OpenRequest wanted) {
    request = std::move(wanted);
    kit.WantBack();
    life = Life::Opening;
    isTrying = true;
    openedAt = Microseconds();
    service.Open(request);
}

void MainWindow::Open(OpenRequest wanted) {
    Ask(std::move(wanted));
    cameraPage->Forget();
    ShowStatus();
}

void MainWindow::OpenCamera(const CameraEntry& camera) {
    OpenRequest wanted;
    wanted.camera = camera;
    Open(wanted);
}

void MainWindow::PlayScenario(const std::wstring& scenario) {
    OpenRequest wanted;
    wanted.camera = request.camera;
    wanted.scenario = scenario;
    wanted.kit = true;
    // A scenario of the imager's shows with the imager.
    const bool isOfImager = scenario.find(L"\"imager\"") != std::wstring::npos;
    if (isOfImager) wanted.camera = {CAM_TYPE_IMAGER, false, Say(Text::Imager), L"imager"};
    Open(wanted);
}

void MainWindow::ListFormats() {
    OpenRequest again;
    again.camera = request.camera;
    isTrying = true;
    service.ListFormats(request.camera, again);
}

void MainWindow::OpenAgain() {
    triedAt = Microseconds();
    if (isTrying) return;
    isTrying = true;
    OpenRequest again;
    again.camera = request.camera;
    again.choice = request.choice;
    again.isAgain = true;
    service.Open(again);
}

void MainWindow::OnDevices(WPARAM what) {
    if (life == Life::Ending) return;
    if (what == CAM_DEVICE_LOST && life == Life::Live) {
        life = Life::Lost;
        triedAt = Microseconds();
        Complain({Say(Text::FaultLost, {request.camera.name}), Say(Text::RemedyLost), true});
    }
    const bool isBack = what == CAM_DEVICE_RETURNED || what == CAM_DEVICE_ARRIVED;
    if (isBack && (life == Life::Lost || life == Life::Failed)) OpenAgain();
    // The list is read on the way of the next opening; a camera that runs is not interrupted for it.
    if (what == CAM_DEVICE_ARRIVED || what == CAM_DEVICE_REMOVED)
        files.Do([this] { mailbox.Post(CamerasListed{ListCameras()}); });
}

void MainWindow::LookAfterFrames() {
    const std::int64_t now = Microseconds();
    if (life == Life::Live) {
        const CameraService::Meter meter = service.Frames();
        const bool isSilent = meter.frames > 0 ? meter.silence > kSilence : now - openedAt > kFirstFrame;
        if (isSilent) {
            life = Life::Lost;
            triedAt = now;
            Complain({Say(Text::FaultLost, {request.camera.name}), Say(Text::RemedyLost), true});
        }
        // The imager draws into the size that the window had when its preview began.
        const SIZE size = ClientSize(preview->Owner());
        if (request.camera.type == CAM_TYPE_IMAGER && (size.cx != drawnSize.cx || size.cy != drawnSize.cy)) {
            drawnSize = size;
            service.RestartPreview();
        }
    } else if ((life == Life::Lost || life == Life::Failed) && now - triedAt > kTryAgain &&
               !kit.StaysLost()) {
        OpenAgain();
    }
    if (!onItsWay.empty() && now - askedAt > kPictureSeconds * kSecond) {
        Complain({Say(Text::FaultSnapLost, {std::to_wstring(kPictureSeconds)}), Say(Text::RemedySnapLost)});
        EndPicture();
    }
}

void MainWindow::On(const CamerasListed& news) {
    cameras = news.cameras;
    picturePage->ShowCameras(cameras, request.camera);
}

void MainWindow::On(const CameraOpening& news) {
    if (life == Life::Ending) return;
    TakeBackKeys();
    request.camera = news.camera;
    request.choice.clear();
    request.scenario.clear();
    life = Life::Opening;
    picturePage->ShowCameras(cameras, request.camera);
    SetWindowTextW(window, Say(Text::TitleWithCamera, {news.camera.name}).c_str());
    ShowStatus();
}

void MainWindow::On(const CameraOpened& news) {
    isTrying = false;
    if (life == Life::Ending) return;
    kit.WantBack();
    // What was chosen by a part of its name is known by its own from here on.
    for (const CameraEntry& entry : cameras) {
        const bool isIt = entry.identity == news.camera.identity;
        if (isIt && entry.type == news.camera.type) request.camera = entry;
    }
    TakeBackKeys();
    settings.camera = request.camera.identity;
    life = Life::Live;
    openedAt = Microseconds();
    drawnSize = ClientSize(preview->Owner());
    picturePage->ShowCameras(cameras, request.camera);
    picturePage->ShowResolutions(news.resolutions, news.resolution);
    cameraPage->ShowCamera(news);
    kitPage->ShowIsCamera(news.isKit);
    if (request.camera.type == CAM_TYPE_IMAGER && !news.resolutions.empty())
        preview->SetPicture({news.resolutions[0].width, news.resolutions[0].height});
    ShowStatus();
}

void MainWindow::On(const CameraFailed& news) {
    if (!news.starting) isTrying = false;
    if (life == Life::Ending) return;
    triedAt = Microseconds();
    const bool isNew = life != Life::Failed && life != Life::Lost;
    if (!news.starting && life != Life::Lost) life = Life::Failed;
    if (!isNew) return;
    TakeBackKeys();
    kitPage->ShowIsCamera(false);
    controlsPage->ShowProperties({});
    std::wstring what = Say(news.starting ? Text::FaultStart : Text::FaultOpen,
                            {news.camera, ocellus::ResultName(news.result)});
    std::wstring remedy(ocellus::Remedy(news.result));
    if (news.result == ocellus::SystemResult(ERROR_NO_MORE_FILES)) {
        what = Say(Text::FaultNoCamera);
        remedy = Say(Text::RemedyNoCamera);
    }
    Complain({what, remedy, true});
    ShowStatus();
}

void MainWindow::On(const KitMissing& news) {
    isTrying = false;
    life = Life::Failed;
    triedAt = Microseconds() + 3600 * kSecond;
    Complain({Say(Text::FaultKit, {ocellus::ResultName(news.result)}), Say(Text::RemedyKit), true});
}

void MainWindow::On(const ScenarioRefused& news) {
    isTrying = false;
    request.scenario.clear();
    Complain({Say(Text::FaultScenario, {news.words}), Say(Text::RemedyScenario)});
    // The camera that was there goes on.
    Open(request);
}

void MainWindow::On(const PreviewRuns& news) {
    preview->SetPicture({news.format.width, std::abs(news.format.height)});
    cameraPage->ShowPreview(news.format);
}

void MainWindow::On(const FirstFrame&) {
    logPage->NoteNow(L"first frame");
    if (life != Life::Live && life != Life::Opening) return;
    if (banner->IsShown() && banner->IsAboutCamera()) DismissFault();
    if (!onlyFile.empty()) TakePictures(1);
}

// ---- Pictures
// -----------------------------------------------------------------------------------------------

void MainWindow::TakePictures(int count) {
    if (life == Life::Ending) return;
    plan.Ask(count);
    FollowPlan();
}

void MainWindow::SwitchInterval() {
    if (plan.RunsInterval())
        plan.StopInterval();
    else
        plan.StartInterval(Milliseconds(), settings.intervalMs);
    picturePage->ShowInterval();
    FollowPlan();
}

// The timer runs as long as there is something to wait for.
void MainWindow::FollowPlan() {
    TakeDuePicture();
    if (plan.RunsInterval() || plan.Waiting() > 0)
        SetTimer(window, kPlanTimer, kPlanMs, nullptr);
    else
        KillTimer(window, kPlanTimer);
}

void MainWindow::TakeDuePicture() {
    if (life != Life::Live || !plan.Due(Milliseconds())) return;
    auto picture = picturePage->NextPicture();
    if (!picture) {
        // An interval goes on: the folder may come back.
        plan.Forget();
        return;
    }
    if (!onlyFile.empty()) picture->file = std::exchange(onlyFile, L"");
    onItsWay = picture->file;
    askedAt = Microseconds();
    service.Snap(*picture);
}

void MainWindow::OnPictureTaken() {
    if (onItsWay.empty()) return;  // of a camera that is gone
    lastPictureMs = static_cast<int>((Microseconds() - service.TriggeredAt()) / 1000);
    files.Do([this, file = onItsWay, size = thumbnails->PictureSize()] {
        mailbox.Post(LookAtPicture(file, size));
    });
    EndPicture();
}

void MainWindow::EndPicture() {
    onItsWay.clear();
    plan.Done();
    if (life == Life::Ending) {
        service.End();
        return;
    }
    if (wantedResolution) {
        service.SetResolution(wantedResolution->first, wantedResolution->second);
        wantedResolution.reset();
    }
    ShowStatus();
    TakeDuePicture();
}

void MainWindow::On(const SnapRefused& news) {
    plan.Forget();
    Complain({Say(Text::FaultSnap, {ocellus::ResultName(news.result)}),
              std::wstring(ocellus::Remedy(news.result))});
    EndPicture();
}

void MainWindow::On(const PictureFiled& news) {
    if (news.there) {
        thumbnails->Add(news);
        return;
    }
    Complain({Say(Text::FaultFile, {news.file}), Say(news.diskFull ? Text::RemedyFull : Text::RemedyFile)});
}

// ---- Properties, resolutions, settings
// ------------------------------------------------------------------------

void MainWindow::ChooseResolution(int index, ocellus::Size size) {
    if (plan.IsOnItsWay())
        wantedResolution = {index, size};
    else
        service.SetResolution(index, size);
}

void MainWindow::On(const ResolutionSet& news) {
    if (news.result != camOk) {
        Complain({Say(Text::FaultResolution,
                      {SaySize(news.wanted.width, news.wanted.height), ocellus::ResultName(news.result)}),
                  std::wstring(ocellus::Remedy(news.result))});
    }
    picturePage->ShowResolution(news.now);
    cameraPage->ShowResolution(news.now);
}

void MainWindow::On(const PropertiesRead& news) {
    controlsPage->ShowProperties(news.properties);
    kitPage->ShowProperties(news.properties);
}

void MainWindow::On(const PropertySet& news) {
    if (news.result != camOk) {
        Complain({Say(Text::FaultProperty,
                      {SayProperty(news.id), std::to_wstring(news.wanted), ocellus::ResultName(news.result)}),
                  Say(Text::RemedyRange)});
    }
    controlsPage->ShowValue(news.id, news.now);
}

void MainWindow::On(const SettingsDone& news) {
    if (!news.worked) {
        Complain({Say(news.isSaving ? Text::FaultSettingsWrite : Text::FaultSettingsFile, {news.file}),
                  Say(news.isSaving ? Text::RemedyFile : Text::RemedySettingsFile)});
    } else if (news.newer) {
        Complain({Say(Text::FaultSettingsNewer, {news.file}), Say(Text::RemedyNewer)});
    } else if (news.refused > 0) {
        Complain({Say(Text::FaultSettingsPart,
                      {news.file, std::to_wstring(news.refused), std::to_wstring(news.all)}),
                  Say(Text::RemedyRange)});
    }
}

void MainWindow::On(const PathChosen& news) {
    switch (news.purpose) {
        case PathChosen::Purpose::Folder:
            settings.folder = news.path;
            picturePage->ShowFolder();
            return;
        case PathChosen::Purpose::SaveSettings:
            service.SaveSettings(news.path);
            return;
        case PathChosen::Purpose::LoadSettings:
            service.LoadSettings(news.path);
            return;
        case PathChosen::Purpose::Scene:
            kitPage->TakeScene(news.path);
            return;
    }
}

void MainWindow::On(const FormatsListed& news) {
    if (news.result == camOk)
        cameraPage->ShowFormats(news.formats);
    else
        Complain({Say(Text::FaultFormats, {news.camera, ocellus::ResultName(news.result)}),
                  std::wstring(ocellus::Remedy(news.result))});
}

// ---- State
// --------------------------------------------------------------------------------------------------

std::wstring MainWindow::StateText() const {
    switch (life) {
        case Life::Opening:
            return Say(Text::StateOpening);
        case Life::Live:
            return Say(StateName(cameraState));
        case Life::Lost:
            return Say(Text::StateLost);
        default:
            return Say(Text::StateNone);
    }
}

void MainWindow::On(const StateRead& news) {
    cameraState = news.state;
    cameraPage->ShowState(StateText(), service.Frames().rate, news.stream);
}

void MainWindow::On(const Logged& news) {
    logPage->Note(news);
}

void MainWindow::ShowStatus() {
    const CameraService::Meter meter = service.Frames();
    wchar_t rate[16];
    swprintf(rate, 16, L"%.1f", meter.rate);
    const bool isBmp = request.camera.type == CAM_TYPE_IMAGER;
    const std::wstring parts[] = {
        StateText(),
        picturePage->ResolutionText() + L"  " + Say(kPictureFormats[isBmp ? 0 : settings.format].name),
        Say(Text::StatusRate, {rate}), Say(Text::StatusLost, {std::to_wstring(meter.lost)}),
        lastPictureMs < 0 ? L"" : Say(Text::StatusPicture, {std::to_wstring(lastPictureMs)})};
    for (size_t part = 0; part < std::size(parts); ++part) {
        wchar_t shown[200] = L"";
        const auto length = LOWORD(SendMessageW(status, SB_GETTEXTLENGTHW, part, 0));
        if (length < 200) SendMessageW(status, SB_GETTEXTW, part, reinterpret_cast<LPARAM>(shown));
        if (parts[part] != shown)
            SendMessageW(status, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(parts[part].c_str()));
    }
}

}  // namespace camview
