#include "ui/kit_page.h"

#include <algorithm>
#include <iterator>

#include "base/file_extension.h"

namespace camview {

namespace {

constexpr const wchar_t* kRates[] = {L"5", L"15", L"30", L"60"};
constexpr int kUsualRate = 2;

struct ReadyScenario {
    Text name;
    const wchar_t* json;
};
constexpr ReadyScenario kReady[] = {
    {Text::ScenarioPlain, L"{}"},
    {Text::ScenarioSlow,
     L"{\"framesPerSecond\": 15, \"calls\": {\r\n"
     L"  \"IPersistPropertyBag::Load\": {\"delayMs\": 1500},\r\n"
     L"  \"IBaseFilter::Pause CaptureFilter\": {\"times\": 0, \"delayMs\": 500},\r\n"
     L"  \"IAMVideoControl::SetMode\": {\"times\": 0, \"delayMs\": 300},\r\n"
     L"  \"IAMVideoProcAmp::Set\": {\"times\": 0, \"delayMs\": 100},\r\n"
     L"  \"IAMCameraControl::Set\": {\"times\": 0, \"delayMs\": 100}}}"},
    {Text::ScenarioDies, L"{\"loseDeviceAfterFrames\": 100}"},
    {Text::ScenarioInUse,
     L"{\"calls\": {\"IPersistPropertyBag::Load\": {\"times\": 0, \"result\": \"0x800700AA\"}}}"},
    {Text::ScenarioTwo,
     L"{\"devices\": [{\"name\": \"CAM1:\", \"cameraId\": 1}, {\"name\": \"CAM2:\", \"cameraId\": 2}]}"},
    {Text::ScenarioNone, L"{\"devices\": []}"},
    {Text::ScenarioFewControls,
     L"{\"properties\": {\"pan\": {\"supported\": false}, \"tilt\": {\"supported\": false},\r\n"
     L"  \"roll\": {\"supported\": false}, \"hue\": {\"supported\": false},\r\n"
     L"  \"brightness\": {\"minimum\": 0, \"maximum\": 10, \"step\": 5, \"default\": 5}}}"},
};

std::wstring Escaped(const std::wstring& path) {
    std::wstring escaped;
    for (const wchar_t letter : path) {
        if (letter == L'\\' || letter == L'"') escaped += L'\\';
        escaped += letter;
    }
    return escaped;
}

// "focus-step" is "focusStep" there.
std::wstring InScenario(std::string_view name) {
    std::wstring written;
    for (const char letter : name) {
        const bool startsWord = !written.empty() && written.back() == L'-';
        if (startsWord) written.pop_back();
        written += static_cast<wchar_t>(startsWord ? letter - 'a' + 'A' : letter);
    }
    return written;
}

}  // namespace

KitPage::KitPage(HWND parent, Viewer& owner) : Page(parent, owner) {
    hint = AddLabel(Text::KitHint);
    sceneLabel = AddLabel(Text::Scene);
    scene = AddList(kScene);
    rateLabel = AddLabel(Text::FramesPerSecond);
    rate = AddList(kRate);
    faultsLabel = AddLabel(Text::Faults);
    lose = AddButton(Text::LoseDevice, kLose);
    bringBack = AddButton(Text::ReturnDevice, kReturn);
    resume = AddButton(Text::ResumeDevice, kResume);
    fail = AddButton(Text::FailTrigger, kFail);
    propertyLabel = AddLabel(Text::KitProperty);
    property = AddList(kProperty);
    has = AddCheck(Text::KitHas, kHas);
    change = AddButton(Text::KitChange, kChange);
    rangeLabel = AddLabel(Text::KitRange);
    const auto addNumber = [this](Text name, int id) {
        AddName(Say(name));
        return AddEdit(id, ES_AUTOHSCROLL | ES_RIGHT);
    };
    minimum = addNumber(Text::KitMinimum, kMinimum);
    maximum = addNumber(Text::KitMaximum, kMaximum);
    step = addNumber(Text::KitStep, kStep);
    defaultUnit = AddLabel(Text::KitDefaultUnit);
    defaultValue = addNumber(Text::KitDefault, kDefault);
    readyLabel = AddLabel(Text::Scenario);
    ready = AddList(kReady);
    AddName(Say(Text::ScenarioText));
    json = AddEdit(kJson, ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN | WS_VSCROLL);
    play = AddButton(Text::Play, kPlay);
    calls = AddButton(Text::CopyCalls, kCalls);
    counts = Add(L"STATIC", L"", SS_LEFT | SS_NOPREFIX, 0);
    FillList(scene,
             {Say(Text::SceneChart), Say(Text::ScenePicture), Say(Text::SceneBarcode), Say(Text::ScenePage)},
             0);
    FillList(rate, {std::begin(kRates), std::end(kRates)}, kUsualRate);
    std::vector<std::wstring> names;
    for (const ReadyScenario& one : camview::kReady) names.push_back(Say(one.name));
    FillList(ready, names, 0);
    names.clear();
    for (const ocellus::PropertyName& one : ocellus::kPropertyNames) names.push_back(SayProperty(one.id));
    FillList(property, names, 0);
    SetWindowTextW(json, camview::kReady[0].json);
    ShowIsCamera(false);
}

void KitPage::Layout() {
    Rows rows(window, dpi, FieldHeight(), 108);
    rows.Add(nullptr, {{hint}}, 36);
    rows.Add(sceneLabel, {{scene, 0, 200}});
    rows.Add(rateLabel, {{rate, 72, 200}});
    rows.Space(6);
    rows.Add(nullptr, {{faultsLabel}}, 18);
    rows.Add(nullptr, {{lose}, {bringBack, 150}}, Rows::kHeight + 4);
    rows.Add(nullptr, {{fail}, {resume, 150}}, Rows::kHeight + 4);
    rows.Space(6);
    rows.Add(propertyLabel, {{property, 0, 320}, {has, 64}, {change, 76}});
    rows.Add(rangeLabel, {{minimum, 50}, {maximum, 50}, {step, 44}, {defaultUnit, 46}, {defaultValue, 56}});
    rows.Space(6);
    rows.Add(readyLabel, {{ready, 0, 260}});
    RECT client;
    GetClientRect(window, &client);
    const int below = Px(Rows::kHeight + 4 + 18 + 2 * Rows::kGap + Rows::kMargin);
    const int left = static_cast<int>(client.bottom) - rows.Top() - below;
    rows.Add(nullptr, {{json}}, std::max(40, MulDiv(left, kBaseDpi, dpi) - Rows::kGap));
    rows.Add(nullptr, {{play}, {calls, 150}}, Rows::kHeight + 4);
    rows.Add(nullptr, {{counts}}, 18);
}

void KitPage::ShowIsCamera(bool is) {
    isCamera = is;
    SetWindowTextW(hint, Say(isCamera ? Text::KitHint : Text::KitAbsent));
    for (const HWND control : {lose, resume, fail}) EnableWindow(control, isCamera);
    ShowCounts();
}

void KitPage::ShowCounts() {
    if (viewer.Kit().IsLoaded()) ShowText(counts, viewer.Kit().Counts());
}

void KitPage::PlayScene(const std::wstring& wanted) {
    sceneJson = wanted;
    PlayForm();
}

void KitPage::PlayForm() {
    std::wstring text =
        L"{\"scene\": " + sceneJson + L", \"framesPerSecond\": " + kRates[std::max(0, ChosenOf(rate))];
    const wchar_t* before = L",\r\n \"properties\": {\r\n  ";
    const wchar_t* end = L"";
    for (size_t index = 0; index < std::size(properties); ++index) {
        const Property& one = properties[index];
        if (!one.isChanged) continue;
        text += before + (L"\"" + InScenario(ocellus::kPropertyNames[index].name)) + L"\": {";
        if (one.isThere) {
            text += L"\"minimum\": " + std::to_wstring(one.range.minimum) + L", \"maximum\": " +
                    std::to_wstring(one.range.maximum) + L", \"step\": " + std::to_wstring(one.range.step) +
                    L", \"default\": " + std::to_wstring(one.range.defaultValue) + L"}";
        } else {
            text += L"\"supported\": false}";
        }
        before = L",\r\n  ";
        end = L"}";
    }
    ShowScenario(text + end + L"}");
    viewer.PlayScenario(TextOf(json));
}

void KitPage::ShowProperties(const std::vector<PropertyInfo>& all) {
    if (!isCamera || viewer.Current().type != CAM_TYPE_DSHOW) return;
    for (size_t index = 0; index < std::size(properties); ++index) {
        const int id = ocellus::kPropertyNames[index].id;
        const auto found =
            std::find_if(all.begin(), all.end(), [id](const PropertyInfo& info) { return info.id == id; });
        properties[index].isThere = found != all.end();
        if (found != all.end()) properties[index].range = found->range;
    }
    ShowProperty();
}

void KitPage::ShowProperty() {
    const Property& shown = properties[std::max(0, ChosenOf(property))];
    SendMessageW(has, BM_SETCHECK, shown.isThere, 0);
    const std::pair<HWND, long> fields[] = {{minimum, shown.range.minimum},
                                            {maximum, shown.range.maximum},
                                            {step, shown.range.step},
                                            {defaultValue, shown.range.defaultValue}};
    for (const auto& [field, value] : fields) {
        ShowText(field, std::to_wstring(value));
        EnableWindow(field, shown.isThere);
    }
}

// The kit says what is wrong with the numbers.
void KitPage::TakeProperty() {
    Property& taken = properties[std::max(0, ChosenOf(property))];
    taken.isThere = SendMessageW(has, BM_GETCHECK, 0, 0) == BST_CHECKED;
    taken.range.minimum = NumberOf(minimum, taken.range.minimum);
    taken.range.maximum = NumberOf(maximum, taken.range.maximum);
    taken.range.step = NumberOf(step, taken.range.step);
    taken.range.defaultValue = NumberOf(defaultValue, taken.range.defaultValue);
    taken.isChanged = true;
    PlayForm();
}

void KitPage::ShowScenario(const std::wstring& text) {
    SetWindowTextW(json, text.c_str());
}

void KitPage::TakeScene(const std::wstring& file) {
    const bool isFilm = cam::SameExtension(cam::FileExtension(file.c_str()), L".y4m");
    PlayScene(std::wstring(isFilm ? L"{\"film\": \"" : L"{\"picture\": \"") + Escaped(file) + L"\"}");
}

void KitPage::OnCommand(int id, int code, HWND) {
    const bool ofImager = viewer.Current().type == CAM_TYPE_IMAGER;
    switch (id) {
        case kScene:
            if (code != CBN_SELCHANGE) return;
            if (ChosenOf(scene) == 0) PlayScene(L"\"chart\"");
            if (ChosenOf(scene) == 1) viewer.AskForPath(PathChosen::Purpose::Scene);
            if (ChosenOf(scene) >= 2) {
                ShowScenario(ChosenOf(scene) == 2 ? L"{\"imager\": {\"scene\": \"barcode\"}}"
                                                  : L"{\"imager\": {\"scene\": \"page\"}}");
                viewer.PlayScenario(TextOf(json));
            }
            return;
        case kRate:
            if (code == CBN_SELCHANGE) PlayScene(sceneJson);
            return;
        case kLose:
            viewer.Kit().Lose();
            return;
        case kReturn:
        case kPlay:
            viewer.PlayScenario(TextOf(json));
            return;
        case kResume:
            viewer.Kit().Resume();
            return;
        case kFail:
            viewer.Kit().FailNextTrigger(ofImager);
            return;
        case kReady:
            if (code == CBN_SELCHANGE && ChosenOf(ready) >= 0) {
                for (Property& one : properties) one.isChanged = false;
                ShowScenario(camview::kReady[ChosenOf(ready)].json);
            }
            return;
        case kProperty:
            if (code == CBN_SELCHANGE) ShowProperty();
            return;
        case kHas:
            for (const HWND field : {minimum, maximum, step, defaultValue})
                EnableWindow(field, SendMessageW(has, BM_GETCHECK, 0, 0) == BST_CHECKED);
            return;
        case kChange:
            TakeProperty();
            return;
        case kCalls:
            if (viewer.Kit().IsLoaded()) viewer.CopyText(viewer.Kit().CallLog(ofImager));
            return;
        default:
            return;
    }
}

}  // namespace camview
