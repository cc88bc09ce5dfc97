#include "ui/picture_page.h"

#include <algorithm>

#include "model/choices.h"
#include "model/name_pattern.h"
#include "ui/stamp.h"

namespace camview {

namespace {

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

template <typename Choice, size_t count>
std::vector<std::wstring> Names(const Choice (&choices)[count]) {
    std::vector<std::wstring> names;
    for (const Choice& choice : choices) names.push_back(Say(choice.name));
    return names;
}

}  // namespace

PicturePage::PicturePage(HWND parent, Viewer& owner) : Page(parent, owner) {
    const ViewSettings& settings = viewer.Settings();
    cameraLabel = AddLabel(Text::Camera);
    camera = AddList(kCamera);
    resolutionLabel = AddLabel(Text::Resolution);
    resolution = AddList(kResolution);
    formatLabel = AddLabel(Text::Format);
    format = AddList(kFormat);
    modeLabel = AddLabel(Text::Quality);
    mode = AddList(kMode);
    folderLabel = AddLabel(Text::Folder);
    folder = AddEdit(kFolder);
    browse = AddButton(Text::Browse, kBrowse);
    patternLabel = AddLabel(Text::Pattern);
    pattern = AddEdit(kPattern);
    nextName = Add(L"STATIC", L"", SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, 0);
    stampLabel = AddLabel(Text::Stamp);
    stamp = AddEdit(kStamp, ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN | WS_VSCROLL);
    positionLabel = AddLabel(Text::Position);
    position = AddList(kPosition);
    colorLabel = AddLabel(Text::TextColor);
    color = AddList(kColor);
    outlineLabel = AddLabel(Text::Outline);
    outline = AddList(kOutline);
    backgroundLabel = AddLabel(Text::Background);
    background = AddList(kBackground);
    fontLabel = AddLabel(Text::Font);
    fontName = AddList(kFont);
    AddName(Say(Text::FontSize));
    fontPixels = AddEdit(kFontPixels, ES_NUMBER | ES_RIGHT);
    bold = AddCheck(Text::Bold, kBold);
    example = Add(L"STATIC", Say(Text::Example), SS_OWNERDRAW, kExample);
    take = AddButton(Text::TakePicture, kTake);
    burst = AddButton(Text::Burst, kBurst);
    AddName(Say(Text::BurstCount));
    burstCount = AddEdit(kBurstCount, ES_NUMBER | ES_RIGHT);
    burstUnit = AddLabel(Text::Pictures);
    interval = AddButton(Text::StartInterval, kInterval);
    AddName(Say(Text::IntervalSeconds));
    intervalSeconds = AddEdit(kIntervalSeconds, ES_RIGHT);
    intervalUnit = AddLabel(Text::Seconds);

    FillList(format, Names(kPictureFormats), settings.format);
    FillList(position, Names(kPositions), settings.position);
    FillList(color, Names(kTextColors), settings.color);
    FillList(outline, Names(kStampColors), settings.outline);
    FillList(background, Names(kStampColors), settings.background);
    const std::vector<std::wstring> fonts = FontFamilies();
    const auto found = std::find(fonts.begin(), fonts.end(), settings.fontName);
    FillList(fontName, fonts, found == fonts.end() ? 0 : static_cast<int>(found - fonts.begin()));
    SetWindowTextW(folder, settings.folder.c_str());
    SetWindowTextW(pattern, settings.pattern.c_str());
    std::wstring lines = settings.stamp;
    for (size_t at = 0; (at = lines.find(L'\n', at)) != std::wstring::npos; at += 2)
        lines.insert(at, 1, L'\r');
    SetWindowTextW(stamp, lines.c_str());
    SetWindowTextW(fontPixels, std::to_wstring(settings.fontPixels).c_str());
    SendMessageW(bold, BM_SETCHECK, settings.fontBold, 0);
    SetWindowTextW(burstCount, std::to_wstring(settings.burst).c_str());
    wchar_t seconds[32];
    swprintf(seconds, 32, L"%g", settings.intervalMs / 1000.0);
    SetWindowTextW(intervalSeconds, seconds);
    ShowModes();
    ShowUnits();
    isFilling = false;
    ShowNextName();
}

void PicturePage::Layout() {
    Rows rows(window, dpi, FieldHeight());
    constexpr int kOpened = 260;
    rows.Add(cameraLabel, {{camera, 0, kOpened}});
    rows.Add(resolutionLabel, {{resolution, 0, kOpened}});
    rows.Add(formatLabel, {{format, 0, kOpened}});
    rows.Add(modeLabel, {{mode, 0, kOpened}});
    rows.Space(4);
    rows.Add(folderLabel, {{folder}, {browse, 76}});
    rows.Add(patternLabel, {{pattern}});
    rows.Add(nullptr, {{nextName}}, 18);
    rows.Space(4);
    rows.Add(stampLabel, {{stamp}}, 42);
    rows.Add(positionLabel, {{position, 0, kOpened}});
    rows.Add(colorLabel, {{color, 0, kOpened}});
    rows.Add(outlineLabel, {{outline, 0, kOpened}});
    rows.Add(backgroundLabel, {{background, 0, kOpened}});
    rows.Add(fontLabel, {{fontName, 0, kOpened}, {fontPixels, 40}, {bold, 58}});
    // What is left between here and the buttons.
    RECT client;
    GetClientRect(window, &client);
    const int buttons = Px(2 * (Rows::kHeight + Rows::kGap) + 10 + Rows::kMargin);
    const int left = static_cast<int>(client.bottom) - rows.Top() - buttons;
    const int height = std::clamp(MulDiv(left, kBaseDpi, dpi) - Rows::kGap, 0, 110);
    rows.Add(nullptr, {{example}}, height);
    rows.Space(2);
    rows.Add(nullptr, {{take}}, Rows::kHeight + 8);
    rows.Add(nullptr, {{burst, 76},
                       {burstCount, 38},
                       {burstUnit, 56},
                       {interval},
                       {intervalSeconds, 46},
                       {intervalUnit, 50}});
}

void PicturePage::ShowCameras(const std::vector<CameraEntry>& cameras, const CameraEntry& chosen) {
    entries = cameras;
    std::vector<std::wstring> names;
    int place = -1;
    for (const CameraEntry& entry : entries) {
        // Two of one name are told apart by what stays the same from day to day.
        const auto same = std::count_if(entries.begin(), entries.end(),
                                        [&](const CameraEntry& other) { return other.name == entry.name; });
        if (entry.type == chosen.type && entry.identity == chosen.identity)
            place = static_cast<int>(names.size());
        names.push_back(same > 1 ? entry.name + L" (" + entry.identity + L")" : entry.name);
    }
    FillList(camera, names, place);
}

void PicturePage::ShowResolutions(std::vector<ocellus::Size> all, ocellus::Size current) {
    // A camera may have a size in several encodings: the first of each is offered.
    sizes = all;
    std::vector<std::wstring> names;
    int place = -1;
    for (size_t index = 0; index < all.size(); ++index) {
        const std::wstring name = SaySize(all[index].width, all[index].height);
        if (all[index] == current && place < 0) place = static_cast<int>(names.size());
        if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    FillList(resolution, names, place);
    EnableWindow(resolution, names.size() > 1);
}

void PicturePage::ShowInterval() {
    SetWindowTextW(interval, Say(viewer.RunsInterval() ? Text::StopInterval : Text::StartInterval));
}

void PicturePage::ShowFolder() {
    SetWindowTextW(folder, viewer.Settings().folder.c_str());
}

void PicturePage::ShowModes() {
    const PictureFormat& chosen = kPictureFormats[viewer.Settings().format];
    const std::vector<std::wstring> quality = {Say(Text::QualityLevel0), Say(Text::QualityLevel1),
                                               Say(Text::QualityLevel2)};
    const std::vector<std::wstring> threshold = {Say(Text::Threshold0), Say(Text::Threshold1),
                                                 Say(Text::Threshold2)};
    SetWindowTextW(modeLabel, Say(chosen.hasThreshold ? Text::Threshold : Text::Quality));
    const bool hasMode = chosen.hasQuality || chosen.hasThreshold;
    if (hasMode)
        FillList(mode, chosen.hasThreshold ? threshold : quality, viewer.Settings().mode);
    else
        FillList(mode, {Say(Text::NoChoice)}, 0);
    EnableWindow(mode, hasMode);
}

// The words after the numbers.
void PicturePage::ShowUnits() {
    const ViewSettings& settings = viewer.Settings();
    ShowText(burstUnit, Say(settings.burst == 1 ? Text::Picture : Text::Pictures));
    ShowText(intervalUnit, Say(settings.intervalMs == 1000 ? Text::Second : Text::Seconds));
}

// The imager writes BMP, whatever the name says.
std::wstring PicturePage::Extension() const {
    return viewer.Current().type == CAM_TYPE_IMAGER ? L".bmp"
                                                    : kPictureFormats[viewer.Settings().format].extension;
}

void PicturePage::ShowNextName() {
    const auto file = NextFile(L"", viewer.Settings().pattern, LocalTime(), Extension(),
                               [](const std::wstring&) { return false; });
    ShowText(nextName, file ? Say(Text::NextName, {*file}) : Say(Text::BadPattern));
}

void PicturePage::TakeFields() {
    ViewSettings& settings = viewer.Settings();
    settings.format = std::max(0, ChosenOf(format));
    settings.folder = TextOf(folder);
    settings.pattern = TextOf(pattern);
    settings.stamp = TextOf(stamp);
    std::erase(settings.stamp, L'\r');
    settings.position = std::max(0, ChosenOf(position));
    settings.color = std::max(0, ChosenOf(color));
    settings.outline = std::max(0, ChosenOf(outline));
    settings.background = std::max(0, ChosenOf(background));
    settings.fontName = TextOf(fontName);
    settings.fontPixels = static_cast<int>(std::clamp(NumberOf(fontPixels, 18), 4L, 500L));
    settings.fontBold = SendMessageW(bold, BM_GETCHECK, 0, 0) == BST_CHECKED;
    settings.burst = static_cast<int>(std::clamp(NumberOf(burstCount, 5), 1L, 100L));
    const double seconds = std::wcstod(TextOf(intervalSeconds).c_str(), nullptr);
    settings.intervalMs = static_cast<int>(std::clamp(seconds, 0.1, 86'400.0) * 1000);
}

std::optional<SnapRequest> PicturePage::NextPicture() {
    TakeFields();
    const ViewSettings& settings = viewer.Settings();
    if (!settings.folder.empty()) {
        const DWORD attributes = GetFileAttributesW(settings.folder.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
            viewer.Complain({Say(Text::FaultFolder, {settings.folder}), Say(Text::RemedyFolder)});
            return std::nullopt;
        }
    }
    const auto file = NextFile(settings.folder, settings.pattern, LocalTime(), Extension(), Exists);
    if (!file) {
        viewer.Complain({Say(Text::FaultPattern, {settings.pattern}), Say(Text::RemedyPattern)});
        return std::nullopt;
    }
    SnapRequest request;
    request.file = *file;
    request.mode = settings.mode;
    request.stamp = StampWords(settings);
    request.position = kPositions[settings.position].position;
    request.color = kTextColors[settings.color].color;
    request.outline = kStampColors[settings.outline].code;
    request.background = kStampColors[settings.background].code;
    request.font = StampFont(settings);
    return request;
}

void PicturePage::OnCommand(int id, int code, HWND) {
    if (isFilling) return;
    switch (id) {
        case kCamera:
            if (code == CBN_SELCHANGE && ChosenOf(camera) >= 0)
                viewer.OpenCamera(entries[static_cast<size_t>(ChosenOf(camera))]);
            return;
        case kResolution:
            if (code == CBN_SELCHANGE && ChosenOf(resolution) >= 0) {
                const std::wstring wanted = TextOf(resolution);
                const auto found = std::find_if(sizes.begin(), sizes.end(), [&](ocellus::Size size) {
                    return SaySize(size.width, size.height) == wanted;
                });
                if (found != sizes.end())
                    viewer.ChooseResolution(static_cast<int>(found - sizes.begin()), *found);
            }
            return;
        case kMode:
            if (code == CBN_SELCHANGE) viewer.Settings().mode = std::max(0, ChosenOf(mode));
            return;
        case kBrowse:
            viewer.AskForPath(PathChosen::Purpose::Folder);
            return;
        case kTake:
            viewer.TakePictures(1);
            return;
        case kBurst:
            TakeFields();
            viewer.TakePictures(viewer.Settings().burst);
            return;
        case kInterval:
            TakeFields();
            viewer.SwitchInterval();
            return;
        default:
            break;
    }
    if (code != CBN_SELCHANGE && code != EN_CHANGE && !(id == kBold && code == BN_CLICKED)) return;
    TakeFields();
    if (id == kFormat) ShowModes();
    ShowUnits();
    ShowNextName();
    InvalidateRect(example, nullptr, FALSE);
}

bool PicturePage::OnDraw(const DRAWITEMSTRUCT& item) {
    if (item.hwndItem != example) return false;
    DrawStampExample(item.hDC, item.rcItem, viewer.Settings());
    return true;
}

}  // namespace camview
