#include "camera_service.h"

#include <algorithm>
#include <utility>

#include <ocellus/cam_properties.hpp>

#include "model/texts.h"

namespace camview {

namespace {

std::wstring Number(long value) {
    return std::to_wstring(value);
}

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

template <typename Value>
std::optional<Value> Known(ocellus::Result<Value>&& result) {
    if (!result) return std::nullopt;
    return std::forward<ocellus::Result<Value>>(result).OrThrow();
}

}  // namespace

std::int64_t Microseconds() {
    static const std::int64_t frequency = [] {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        return static_cast<std::int64_t>(value.QuadPart);
    }();
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart / frequency * 1'000'000 + now.QuadPart % frequency * 1'000'000 / frequency;
}

std::vector<CameraEntry> ListCameras() {
    std::vector<CameraEntry> cameras;
    for (const camDevice& device : ocellus::Devices().Or({}))
        cameras.push_back({CAM_TYPE_DSHOW, device.type == CAM_DEVICE_WEBCAM, device.name, device.identity});
    if (GetFileAttributesW((ProgramFolder() + L"Imvoxa.dll").c_str()) != INVALID_FILE_ATTRIBUTES)
        cameras.push_back({CAM_TYPE_IMAGER, false, Say(Text::Imager), L"imager"});
    return cameras;
}

void CameraService::Note(std::wstring what) {
    mailbox.Post(Logged::Now(std::move(what)));
}

template <typename Value>
ocellus::Result<Value> CameraService::Note(std::wstring call, ocellus::Result<Value> result, bool quiet) {
    if (quiet) return result;
    Logged line = Logged::Now(std::move(call));
    line.result = result.Name();
    line.remedy = result.Remedy();
    mailbox.Post(std::move(line));
    return result;
}

void CameraService::Begin(HWND owner, HWND events) {
    ownerWindow = owner;
    eventsWindow = events;
    thread.Do([this] {
        camera = std::make_unique<ocellus::Camera>();
        camera->OnPreviewFrame([this](const ocellus::Frame&) {
            bool isFirst = false;
            {
                const std::lock_guard guard(lock);
                isFirst = meter.Frames() == 0;
                meter.Note(Microseconds());
            }
            if (isFirst) mailbox.Post(FirstFrame{});
        });
        camera->OnFormat([this](const ocellus::PreviewFormat& format) {
            statedRate = format.framesPerSecond;
            mailbox.Post(PreviewRuns{format});
        });
        static_cast<void>(Note(L"camWatchDevices", ocellus::WatchDevices(eventsWindow, kDevicesMessage)));
    });
}

CameraService::Meter CameraService::Frames() {
    const std::lock_guard guard(lock);
    const std::int64_t now = Microseconds();
    return {meter.Rate(now), meter.Frames(), meter.Lost(), meter.Silence(now)};
}

// ---- Opening
// ------------------------------------------------------------------------------------------------

void CameraService::Open(const OpenRequest& request) {
    thread.Do([this, request] { OpenNow(request); });
}

// False: said so, and nothing is to be opened.
bool CameraService::PrepareKit(const OpenRequest& request) {
    if (!request.kit && request.scenario.empty()) return true;
    if (const HRESULT result = kitControl.Load(); FAILED(result)) {
        mailbox.Post(KitMissing{result});
        return false;
    }
    if (request.scenario.empty()) return true;
    std::wstring mistake = kitControl.PlayScenario(request.scenario);
    if (mistake.empty()) mistake = kitControl.PlayImagerScenario(request.scenario);
    if (!mistake.empty()) mailbox.Post(ScenarioRefused{mistake});
    return mistake.empty();
}

// What was asked for, if it is there; else a webcam, a driver, and the kit if nothing else is to be had.
CameraEntry CameraService::Choose(const OpenRequest& request) {
    std::vector<CameraEntry> cameras = ListCameras();
    const auto isDriver = [](const CameraEntry& entry) {
        return entry.type == CAM_TYPE_DSHOW && !entry.isWebcam;
    };
    if (std::none_of(cameras.begin(), cameras.end(),
                     [](const CameraEntry& entry) { return entry.type == CAM_TYPE_DSHOW; }) &&
        request.scenario.empty() && request.camera.type == CAM_TYPE_DSHOW && !kitControl.IsLoaded() &&
        SUCCEEDED(kitControl.Load())) {
        cameras = ListCameras();
    }
    mailbox.Post(CamerasListed{cameras});
    if (!request.choice.empty()) return {CAM_TYPE_DSHOW, false, request.choice, request.choice};
    const auto find = [&](auto fits) -> const CameraEntry* {
        const auto found = std::find_if(cameras.begin(), cameras.end(), fits);
        return found == cameras.end() ? nullptr : &*found;
    };
    const CameraEntry* found = find([&](const CameraEntry& entry) {
        return entry.type == request.camera.type &&
               (entry.type == CAM_TYPE_IMAGER || entry.identity == request.camera.identity);
    });
    if (!found && !request.camera.identity.empty() && request.isAgain) return request.camera;
    if (!found && !request.kit) found = find([](const CameraEntry& entry) { return entry.isWebcam; });
    if (!found) found = find(isDriver);
    if (found) return *found;
    // Imager libraries are opened when asked for; a computer without any camera has none.
    return {request.camera.type, false, request.camera.name, request.camera.identity};
}

void CameraService::OpenNow(const OpenRequest& request) {
    CloseNow(request.isAgain);
    {
        const std::lock_guard guard(lock);
        meter.Start(0);
        wantedProperties.clear();
    }
    if (!PrepareKit(request)) return;
    current = Choose(request);
    statedRate = 0;
    if (!request.isAgain) mailbox.Post(CameraOpening{current});
    ocellus::CameraChoice choice;
    choice.owner = ownerWindow;
    choice.type = current.type;
    if (current.type == CAM_TYPE_DSHOW) choice.device = current.identity;
    choice.settingsFile = request.settings;
    choice.settingsSection = request.section;
    auto selected = camera->Select(choice);
    const bool isQuiet = request.isAgain && selected.Code() == lastFailure;
    const std::wstring call = L"camSelect " + Quoted(current.name);
    const camResult result = Note(call, selected, isQuiet).Code();
    lastFailure = result;
    isSelected = true;
    if (result != camOk) {
        mailbox.Post(CameraFailed{current.name, result});
        return;
    }
    static_cast<void>(camera->SetEventsWindow(eventsWindow));
    StartNow();
}

// What came of the preview is told as well: no frame may be lost between the camera and here.
void CameraService::CloseNow(bool quiet) {
    if (!std::exchange(isSelected, false)) return;
    // While the camera is shut down, which may take a while, the kit goes on sending to nobody.
    const bool isFromKit = isKit && current.type == CAM_TYPE_DSHOW;
    const long sent = isFromKit ? kitControl.PreviewFrames() - kitFramesBefore : 0;
    static_cast<void>(Note(L"camShutDown", camera->ShutDown(), quiet));
    const Meter seen = Frames();
    if (seen.frames == 0) return;
    std::wstring words =
        L"preview: " + std::to_wstring(seen.frames) + L" frames, " + std::to_wstring(seen.lost) + L" lost";
    if (isFromKit) words += L", " + std::to_wstring(sent) + L" sent by the kit";
    Note(std::move(words));
}

void CameraService::StartNow() {
    isKit = current.type == CAM_TYPE_IMAGER ? KitControl::IsTheImager() : kitControl.IsTheCamera();
    kitFramesBefore = isKit && current.type == CAM_TYPE_DSHOW ? kitControl.PreviewFrames() : 0;
    const camResult started = Note(L"camStartPreview", camera->StartPreview()).Code();
    {
        const std::lock_guard guard(lock);
        // The frames that came before the rate was known are few.
        if (meter.Frames() == 0) meter.Start(statedRate);
    }
    if (started != camOk) mailbox.Post(CameraFailed{current.name, started, true});
    CameraOpened opened;
    opened.camera = current;
    opened.isKit = isKit;
    opened.resolutions = Note(L"camGetResolutionCount", camera->Resolutions()).Or({});
    opened.resolution = camera->CurrentResolution().Or({});
    if (const auto number = Known(camera->Get(CAM_PROPERTY_CAMERA_ID))) opened.number = number->value;
    mailbox.Post(std::move(opened));
    mailbox.Post(PropertiesRead{ReadProperties()});
}

void CameraService::RestartPreview() {
    thread.Do([this] {
        {
            const std::lock_guard guard(lock);
            meter.Start(0);
        }
        static_cast<void>(Note(L"camStopPreview", camera->StopPreview()));
        StartNow();
    });
}

// A webcam tells what it can send while nobody uses it.
void CameraService::ListFormats(const CameraEntry& entry, const OpenRequest& again) {
    thread.Do([this, entry, again] {
        CloseNow();
        auto formats =
            Note(L"camListDeviceFormats " + Quoted(entry.name), ocellus::DeviceFormats(entry.identity));
        const camResult result = formats.Code();
        mailbox.Post(FormatsListed{result, entry.name, std::move(formats).Or({})});
        OpenNow(again);
    });
}

void CameraService::End() {
    thread.Do([this] {
        static_cast<void>(ocellus::WatchDevices(nullptr, 0));
        CloseNow();
        camera.reset();
        stampFont.reset();
        PostMessageW(eventsWindow, kClosedMessage, 0, 0);
    });
}

// ---- Pictures
// -----------------------------------------------------------------------------------------------

void CameraService::Snap(const SnapRequest& request) {
    thread.Do([this, request] {
        const bool hasStamp = !request.stamp.empty();
        if (hasStamp) stampFont.reset(CreateFontIndirectW(&request.font));
        ocellus::PictureText text(request.stamp, stampFont.get());
        text.At(request.position)
            .Color(request.color)
            .Outline(request.outline)
            .Background(request.background);
        triggeredAt = Microseconds();
        const std::wstring call =
            (hasStamp ? L"camSnapPictureWithText " : L"camSnapPicture ") + Quoted(request.file);
        const camResult result = Note(call, hasStamp ? camera->Snap(request.file, request.mode, text)
                                                     : camera->Snap(request.file, request.mode))
                                     .Code();
        if (result != camOk) mailbox.Post(SnapRefused{result});
    });
}

// ---- Properties
// ---------------------------------------------------------------------------------------------

std::vector<PropertyInfo> CameraService::ReadProperties() {
    std::vector<PropertyInfo> properties;
    for (int id = 0; id <= CAM_PROPERTY_LAST; ++id) {
        // The value first: the imager takes from it which exposure setting is meant.
        const ocellus::PropertyValue now = camera->Get(id).Or({});
        if (const auto range = Known(camera->Range(id))) properties.push_back({id, *range, now});
    }
    return properties;
}

void CameraService::SetProperty(int id, long value, long flags) {
    {
        const std::lock_guard guard(lock);
        const bool waits = wantedProperties.count(id) != 0;
        wantedProperties[id] = {value, flags};
        if (waits) return;
    }
    thread.Do([this, id] { SetWanted(id); });
}

void CameraService::SetWanted(int id) {
    Wanted wanted;
    {
        const std::lock_guard guard(lock);
        const auto found = wantedProperties.find(id);
        if (found == wantedProperties.end()) return;
        wanted = found->second;
        wantedProperties.erase(found);
    }
    const camResult result = SetNow(id, wanted.value, wanted.flags);
    mailbox.Post(PropertySet{id, wanted.value, result, camera->Get(id).Or({wanted.value, wanted.flags})});
}

camResult CameraService::SetNow(int id, long value, long flags) {
    const std::wstring automatic = flags == CAM_FLAG_AUTO ? L" auto" : L"";
    return Note(L"camSetProperty " + Number(id) + L" = " + Number(value) + automatic,
                camera->Set(id, value, flags))
        .Code();
}

void CameraService::ResetProperties() {
    thread.Do([this] {
        for (const PropertyInfo& property : ReadProperties()) {
            const bool isManual = (property.range.flags & CAM_FLAG_MANUAL) != 0;
            if (property.now.value != property.range.defaultValue || !(property.now.flags & CAM_FLAG_MANUAL))
                SetNow(property.id, property.range.defaultValue, isManual ? CAM_FLAG_MANUAL : CAM_FLAG_AUTO);
        }
        mailbox.Post(PropertiesRead{ReadProperties()});
    });
}

void CameraService::SetResolution(int index, ocellus::Size size) {
    thread.Do([this, index, size] {
        const camResult result =
            Note(L"camSetResolution " + Number(index), camera->SetResolution(index)).Code();
        mailbox.Post(ResolutionSet{result, size, camera->CurrentResolution().Or(size)});
    });
}

void CameraService::SaveSettings(const std::wstring& file) {
    thread.Do([this, file] {
        std::vector<SavedProperty> saved;
        for (const PropertyInfo& property : ReadProperties())
            saved.push_back({property.id, property.now.value, property.now.flags == CAM_FLAG_AUTO});
        const std::vector<ocellus::Size> sizes = camera->Resolutions().Or({});
        const auto found = std::find(sizes.begin(), sizes.end(), camera->CurrentResolution().Or({}));
        if (found != sizes.end())
            saved.push_back({kSavedResolution, static_cast<long>(found - sizes.begin())});
        SettingsDone done;
        done.file = file;
        done.all = saved.size();
        done.isSaving = true;
        done.worked = WriteCameraSettings(file, saved);
        mailbox.Post(done);
    });
}

void CameraService::LoadSettings(const std::wstring& file) {
    thread.Do([this, file] {
        SettingsDone done;
        done.file = file;
        const auto saved = ReadCameraSettings(file);
        done.worked = saved && !saved->properties.empty();
        if (done.worked) {
            done.newer = saved->version > kSettingsVersion;
            done.all = saved->properties.size();
            for (const SavedProperty& property : saved->properties) {
                const camResult result = property.id == kSavedResolution
                                             ? Note(L"camSetResolution " + Number(property.value),
                                                    camera->SetResolution(static_cast<int>(property.value)))
                                                   .Code()
                                             : SetNow(property.id, property.value,
                                                      property.isAuto ? CAM_FLAG_AUTO : CAM_FLAG_MANUAL);
                if (result != camOk) ++done.refused;
            }
            const ocellus::Size now = camera->CurrentResolution().Or({});
            mailbox.Post(ResolutionSet{camOk, now, now});
            mailbox.Post(PropertiesRead{ReadProperties()});
        }
        mailbox.Post(done);
    });
}

// ---- State
// --------------------------------------------------------------------------------------------------

void CameraService::ReadState() {
    if (stateIsAsked.exchange(true)) return;
    thread.Do([this] {
        StateRead read;
        read.state = camera->State().Or(CAM_STATE_NONE);
        if (current.isWebcam) read.stream = Known(camera->Stream());
        stateIsAsked = false;
        mailbox.Post(read);
    });
}

}  // namespace camview
