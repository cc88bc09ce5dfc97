#include "ui/main_window.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "dialogs.h"
#include "picture_files.h"

namespace camview {

namespace {

constexpr wchar_t kClass[] = L"camview";
constexpr int kPanelWidth = 460, kMinWidth = 900, kMinHeight = 640;
constexpr int kStartWidth = 1160, kStartHeight = 720;
constexpr int kTabHeight = 30;
constexpr Text kTabNames[] = {Text::TabPicture, Text::TabControls, Text::TabCamera, Text::TabLog,
                              Text::TabKit};
constexpr int kStatusParts[] = {110, 290, 370, 450, -1};  // right edges
constexpr int kMaxScreen = 30'000;

constexpr UINT kStatusMs = 500;
constexpr UINT kEndMs = 12'000;  // for a camera that does not let go

}  // namespace

// ---- The window and its parts
// -----------------------------------------------------------------------------------

MainWindow::MainWindow(const CommandLine& given) : line(given), onlyFile(given.snap) {
    stateFile = line.state.empty() ? ViewSettingsFile() : line.state;
    const SettingsState read = ReadViewSettings(stateFile, settings);
    keepsState = read != SettingsState::Newer;
    if (!line.folder.empty()) settings.folder = line.folder;
    if (settings.folder.empty()) {
        wchar_t folder[MAX_PATH] = L"";
        GetCurrentDirectoryW(MAX_PATH, folder);
        settings.folder = folder;
    }
    if (line.tab >= 0) settings.tab = line.tab;
    MakeWindow();
    MakeParts();
}

MainWindow::~MainWindow() {
    KillTimer(window, kPlanTimer);
}

// Where it was the last time, if a screen is there, and in its final size: what it holds is laid out once.
void MainWindow::MakeWindow() {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = Procedure;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hIcon = LoadIconW(windowClass.hInstance, MAKEINTRESOURCEW(1));
    windowClass.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
    windowClass.lpszClassName = kClass;
    RegisterClassExW(&windowClass);
    dpi = DpiOf(nullptr);
    const RECT& last = settings.window;
    const RECT area = {last.left, last.top, last.right, last.bottom};
    const bool isSeen = last.right > last.left && MonitorFromRect(&area, MONITOR_DEFAULTTONULL) != nullptr;
    const int width = isSeen ? last.right - last.left : Scaled(kStartWidth, dpi);
    const int height = isSeen ? last.bottom - last.top : Scaled(kStartHeight, dpi);
    window = CreateWindowExW(0, kClass, Say(Text::Title), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                             isSeen ? last.left : CW_USEDEFAULT, isSeen ? last.top : CW_USEDEFAULT, width,
                             height, nullptr, nullptr, windowClass.hInstance, this);
    const int guessed = std::exchange(dpi, DpiOf(window));
    if (!isSeen && dpi != guessed)
        SetWindowPos(window, nullptr, 0, 0, Scaled(kStartWidth, dpi), Scaled(kStartHeight, dpi),
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    font = MakeFont(dpi);
    FollowDarkMode(window);
    mailbox.Deliver(window);
}

// What is seen first: of the pages, the one that is open.
void MainWindow::MakeParts() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    // In the order in which the Tab key goes through them.
    banner = std::make_unique<Banner>(window, *this);
    preview = std::make_unique<PreviewPane>(window);
    preview->SetZoom(settings.zoom);
    tabs = CreateWindowExW(0, WC_TABCONTROLW, Say(Text::Pages),
                           WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_CLIPSIBLINGS, 0, 0, 0, 0, window, nullptr,
                           instance, nullptr);
    for (int tab = 0; tab < kTabCount; ++tab) {
        TCITEMW item = {};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<wchar_t*>(Say(kTabNames[tab]));
        SendMessageW(tabs, TCM_INSERTITEMW, static_cast<WPARAM>(tab), reinterpret_cast<LPARAM>(&item));
    }
    MakePage(settings.tab);
    thumbnails = std::make_unique<Thumbnails>(window, *this);
    thumbnails->ShowZoom(settings.zoom);
    ShowWindow(thumbnails->Window(), SW_SHOWNA);
    status = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0,
                             window, nullptr, instance, nullptr);
    FitStatus();
    Layout();
    ShowTab(settings.tab);
}

void MainWindow::MakePage(int tab) {
    switch (tab) {
        case kPictureTab:
            picturePage = std::make_unique<PicturePage>(window, *this);
            break;
        case kControlsTab:
            controlsPage = std::make_unique<ControlsPage>(window, *this);
            break;
        case kCameraTab:
            cameraPage = std::make_unique<CameraPage>(window, *this);
            break;
        case kLogTab:
            logPage = std::make_unique<LogPage>(window, *this);
            logPage->WriteTo(line.log);
            break;
        default:
            kitPage = std::make_unique<KitPage>(window, *this);
            break;
    }
    // For the Tab key, which would come to it last.
    SetWindowPos(TabPage(tab)->Window(), tabs, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

// The window and its first page are painted before anything else is done.
void MainWindow::Show() {
    ShowWindow(window, settings.maximised ? SW_SHOWMAXIMIZED : SW_SHOW);
    UpdateWindow(window);
    SetFocus(preview->Window());
    FILETIME created, ignored, now;
    GetProcessTimes(GetCurrentProcess(), &created, &ignored, &ignored, &ignored);
    GetSystemTimeAsFileTime(&now);
    const auto ticks = [](FILETIME t) {
        return static_cast<long long>(t.dwHighDateTime) << 32 | t.dwLowDateTime;
    };
    service.Begin(preview->Owner(), window);
    OpenRequest first;
    first.camera = {line.type, false, L"", settings.camera};
    if (!line.typeGiven && line.camera.empty() && settings.camera == L"imager" && !line.kit)
        first.camera.type = CAM_TYPE_IMAGER;
    first.choice = line.camera;
    first.kit = line.kit;
    first.scenario = line.scenario;
    first.settings = line.settings;
    first.section = line.section;
    Ask(first);
    for (int tab = 0; tab < kTabCount; ++tab) {
        if (!TabPage(tab)) MakePage(tab);
    }
    Layout();
    logPage->NoteNow(L"window shown, " + std::to_wstring((ticks(now) - ticks(created)) / 10'000) + L" ms");
    if (!keepsState) Complain({Say(Text::FaultSettingsNewer, {stateFile}), Say(Text::RemedyNewerView)});
    ShowStatus();
    SetTimer(window, kStatusTimer, kStatusMs, nullptr);
    if (line.exitAfter > 0) SetTimer(window, kExitTimer, static_cast<UINT>(line.exitAfter * 1000), nullptr);
}

Page* MainWindow::TabPage(int tab) const {
    Page* const pages[kTabCount] = {picturePage.get(), controlsPage.get(), cameraPage.get(), logPage.get(),
                                    kitPage.get()};
    return pages[tab];
}

void MainWindow::ShowTab(int tab) {
    settings.tab = tab;
    SendMessageW(tabs, TCM_SETCURSEL, static_cast<WPARAM>(tab), 0);
    for (int other = 0; other < kTabCount; ++other) {
        if (Page* const page = TabPage(other)) ShowWindow(page->Window(), other == tab ? SW_SHOWNA : SW_HIDE);
    }
}

void MainWindow::SetScreen() {
    dpi = DpiOf(window);
    const cam::UniqueFont before = std::exchange(font, MakeFont(dpi));
    FitStatus();
    for (int tab = 0; tab < kTabCount; ++tab) {
        if (Page* const page = TabPage(tab)) page->SetScreen();
    }
    banner->SetScreen();
    thumbnails->SetScreen();
    Layout();
}

void MainWindow::FitStatus() {
    SendMessageW(tabs, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    SendMessageW(status, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    int edges[std::size(kStatusParts)];
    std::transform(std::begin(kStatusParts), std::end(kStatusParts), edges,
                   [this](int edge) { return edge < 0 ? edge : Scaled(edge, dpi); });
    SendMessageW(status, SB_SETPARTS, std::size(edges), reinterpret_cast<LPARAM>(edges));
}

void MainWindow::Layout() {
    if (!status) return;  // the last of its parts
    RECT client, statusArea;
    GetClientRect(window, &client);
    SendMessageW(status, WM_SIZE, 0, 0);
    GetWindowRect(status, &statusArea);
    const int bottom = client.bottom - (statusArea.bottom - statusArea.top);
    const int panel = Scaled(kPanelWidth, dpi);
    const int left = std::max(0, static_cast<int>(client.right) - panel);
    const int bannerHeight = banner->Height(), strip = thumbnails->Height();
    const auto place = [](HWND part, int x, int y, int width, int height) {
        SetWindowPos(part, nullptr, x, y, std::max(0, width), std::max(0, height),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    };
    place(banner->Window(), 0, 0, left, bannerHeight);
    place(preview->Window(), 0, bannerHeight, left, bottom - bannerHeight - strip);
    place(thumbnails->Window(), 0, bottom - strip, left, strip);
    const int tabHeight = Scaled(kTabHeight, dpi), gap = Scaled(6, dpi);
    place(tabs, left + gap, gap, panel - gap, tabHeight - gap);
    for (int tab = 0; tab < kTabCount; ++tab) {
        if (const Page* const page = TabPage(tab))
            place(page->Window(), left + 1, tabHeight, panel - 1, bottom - tabHeight);
    }
}

LRESULT CALLBACK MainWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* const self = static_cast<MainWindow*>(create->lpCreateParams);
        self->window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* const self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->OnMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT MainWindow::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    constexpr UINT kDpiChanged = 0x02E0;
    switch (message) {
        case WM_SIZE:
            Layout();
            return 0;
        case WM_ACTIVATE:
            // When the library lets go of its video window, some systems activate that, hidden as it is.
            if (LOWORD(wParam) != WA_INACTIVE)
                wasDeprived = false;
            else if (lParam && !IsWindowVisible(reinterpret_cast<HWND>(lParam)))
                wasDeprived = true;
            return DefWindowProcW(window, message, wParam, lParam);
        case WM_GETMINMAXINFO: {
            auto* const info = reinterpret_cast<MINMAXINFO*>(lParam);
            info->ptMinTrackSize = {Scaled(kMinWidth, dpi), Scaled(kMinHeight, dpi)};
            info->ptMaxTrackSize = {kMaxScreen, kMaxScreen};
            return 0;
        }
        case kDpiChanged: {
            const int before = dpi;
            ForceDpi(LOWORD(wParam));
            RECT area;
            GetWindowRect(window, &area);
            const auto* const wanted = reinterpret_cast<const RECT*>(lParam);
            if (wanted)
                area = *wanted;
            else
                area = {area.left, area.top,
                        area.left + MulDiv(area.right - area.left, LOWORD(wParam), before),
                        area.top + MulDiv(area.bottom - area.top, LOWORD(wParam), before)};
            SetScreen();
            SetWindowPos(window, nullptr, area.left, area.top, area.right - area.left, area.bottom - area.top,
                         SWP_NOZORDER | SWP_NOACTIVATE);
            return 0;
        }
        case WM_SETTINGCHANGE:
            FollowDarkMode(window);
            return 0;
        case WM_NOTIFY:
            if (const auto* header = reinterpret_cast<const NMHDR*>(lParam);
                header->hwndFrom == tabs && header->code == TCN_SELCHANGE)
                ShowTab(static_cast<int>(SendMessageW(tabs, TCM_GETCURSEL, 0, 0)));
            return 0;
        case WM_COMMAND:
            switch (LOWORD(wParam)) {
                case IDOK:
                    for (int tab = 0; tab < kTabCount; ++tab) TabPage(tab)->OnEnter(GetFocus());
                    thumbnails->OnEnter(GetFocus());
                    return 0;
                case IDCANCEL:
                    DismissFault();
                    return 0;
                case Thumbnails::kFit:
                case Thumbnails::kOriginal:
                    settings.zoom = LOWORD(wParam) == Thumbnails::kFit ? Zoom::Fit : Zoom::Original;
                    preview->SetZoom(settings.zoom);
                    return 0;
                default:
                    return 0;
            }
        case WM_TIMER:
            OnTimer(wParam);
            return 0;
        case kNewsMessage:
            for (const News& news : mailbox.Take()) std::visit([this](const auto& one) { On(one); }, news);
            return 0;
        case kDevicesMessage:
            OnDevices(wParam);
            return 0;
        case CAM_MESSAGE_STILL_CAPTURED:
            OnPictureTaken();
            return 0;
        case WM_CLOSE:
            OnClose();
            return 0;
        case WM_ENDSESSION:
            if (wParam) KeepState();
            return 0;
        case kClosedMessage:
            DestroyWindow(window);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

bool MainWindow::TakeKey(const MSG& message) {
    if (message.message != WM_KEYDOWN) return false;
    const bool isControl = GetKeyState(VK_CONTROL) < 0;
    if (isControl && message.wParam >= '1' && message.wParam < '1' + kTabCount) {
        ShowTab(static_cast<int>(message.wParam - '1'));
        return true;
    }
    if (isControl && message.wParam == VK_TAB) {
        const int step = GetKeyState(VK_SHIFT) < 0 ? kTabCount - 1 : 1;
        ShowTab((settings.tab + step) % kTabCount);
        return true;
    }
    if (message.wParam != VK_SPACE || isControl) return false;
    // Where the space bar has a meaning of its own it keeps it.
    wchar_t name[32] = L"";
    GetClassNameW(GetFocus(), name, 32);
    for (const wchar_t* own : {L"Edit", L"Button", L"ComboBox"}) {
        if (_wcsicmp(name, own) == 0) return false;
    }
    constexpr LPARAM kRepeated = 1 << 30;
    if (!(message.lParam & kRepeated)) TakePictures(1);
    return true;
}

void MainWindow::NoteFocus() {
    const HWND now = GetFocus();
    if (!now || now == window || now == focus) return;
    focus = now;
    for (int tab = 0; tab < kTabCount; ++tab) {
        if (IsChild(TabPage(tab)->Window(), now)) TabPage(tab)->OnFocus(now);
    }
}

// Once the library is done with its window, so that the two do not take turns; keys would reach nobody.
void MainWindow::TakeBackKeys() {
    const HWND now = GetForegroundWindow();
    if (!wasDeprived || (now && now != window && IsWindowVisible(now))) return;
    SetForegroundWindow(window);
    SetFocus(IsWindow(focus) ? focus : preview->Window());
}

void MainWindow::KeepState() {
    if (!keepsState) return;
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    settings.window = placement.rcNormalPosition;
    settings.maximised = placement.showCmd == SW_SHOWMAXIMIZED;
    WriteViewSettings(stateFile, settings);
}

void MainWindow::OnClose() {
    if (life == Life::Ending) return;
    KeepState();
    life = Life::Ending;
    KillTimer(window, kStatusTimer);
    plan.StopInterval();
    EnableWindow(window, FALSE);
    // A picture that is on its way comes first; then the camera lets go. OnTimer has the last word.
    if (!plan.IsOnItsWay()) service.End();
    SetTimer(window, kEndTimer, kEndMs, nullptr);
}

void MainWindow::OnTimer(UINT_PTR timer) {
    switch (timer) {
        case kPlanTimer:
            FollowPlan();
            return;
        case kStatusTimer:
            if (life == Life::Live) service.ReadState();
            LookAfterFrames();
            ShowStatus();
            if (settings.tab == kKitTab) kitPage->ShowCounts();
            if (settings.tab == kPictureTab) picturePage->ShowNextName();
            return;
        case kEndTimer:
            // A driver that hangs keeps its thread; the process ends without it.
            ExitProcess(0);
        case kExitTimer:
            KillTimer(window, kExitTimer);
            PostMessageW(window, WM_CLOSE, 0, 0);
            return;
        default:
            return;
    }
}

void MainWindow::Complain(const Fault& fault) {
    logPage->NoteNow(fault.what);
    banner->Show(fault);
    Layout();
}

void MainWindow::DismissFault() {
    if (!banner->IsShown()) return;
    // It may go by itself, when the camera is back: whoever types or holds a button keeps the focus.
    const bool goesWithFocus = IsChild(banner->Window(), GetFocus());
    banner->Hide();
    Layout();
    if (goesWithFocus) SetFocus(preview->Window());
}

void MainWindow::AskForPath(PathChosen::Purpose purpose) {
    const std::wstring start = settings.folder;
    dialogs.Do([this, purpose, start] {
        std::wstring path;
        switch (purpose) {
            case PathChosen::Purpose::Folder:
                path = AskForFolder(window, start);
                break;
            case PathChosen::Purpose::SaveSettings:
            case PathChosen::Purpose::LoadSettings:
                path = AskForFile(window, Say(Text::SettingsFilter), L"*.ini", L"ini",
                                  purpose == PathChosen::Purpose::SaveSettings);
                break;
            case PathChosen::Purpose::Scene:
                path = AskForFile(window, Say(Text::SceneFilter), L"*.png;*.jpg;*.bmp;*.tif;*.gif;*.y4m",
                                  nullptr, false);
                break;
        }
        if (!path.empty()) mailbox.Post(PathChosen{purpose, path});
    });
}

void MainWindow::CopyText(const std::wstring& text) {
    if (!OpenClipboard(window)) return;
    EmptyClipboard();
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    if (const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes)) {
        memcpy(GlobalLock(memory), text.c_str(), bytes);
        GlobalUnlock(memory);
        SetClipboardData(CF_UNICODETEXT, memory);
    }
    CloseClipboard();
}

}  // namespace camview
