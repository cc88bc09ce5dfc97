#include "ui/list_page.h"

#include <algorithm>
#include <cwchar>

#include "base/unique_resource.h"

namespace camview {

namespace {

constexpr int kMaxLogLines = 500;
constexpr int kLogColumns = 4;

std::wstring CellOf(HWND list, int row, int column) {
    wchar_t text[400] = L"";
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = 400;
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    return text;
}

std::wstring Rate(double perSecond) {
    wchar_t text[32];
    swprintf(text, 32, L"%.1f", perSecond);
    return Say(Text::PerSecond, {text});
}

std::wstring FormatText(const camDeviceFormat& format) {
    std::wstring text;
    for (int i = 0; i < 4; ++i) text += static_cast<wchar_t>(format.fourcc >> 8 * i & 0xFF);
    return text + L" " + SaySize(format.width, format.height) + L", " +
           Rate(format.milliFramesPerSecond / 1000.0);
}

const wchar_t* FormatName(LONG code) {
    switch (code) {
        case CAM_FORMAT_YUY2:
            return L"YUY2";
        case CAM_FORMAT_RGB555:
            return L"RGB 5-5-5";
        case CAM_FORMAT_RGB565:
            return L"RGB 5-6-5";
        default:
            return L"?";
    }
}

}  // namespace

// ---- A list
// ---------------------------------------------------------------------------------------------------

ListPage::ListPage(HWND parent, Viewer& owner, Text name) : Page(parent, owner) {
    AddName(SayPlainly(name));
    list = Add(WC_LISTVIEWW, SayPlainly(name),
               LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER | WS_TABSTOP, 0,
               WS_EX_CLIENTEDGE);
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
}

void ListPage::SetColumns(std::vector<Column> wanted) {
    columns = std::move(wanted);
    for (size_t index = 0; index < columns.size(); ++index) {
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH;
        column.pszText = const_cast<wchar_t*>(Say(columns[index].title));
        column.cx = 60;
        SendMessageW(list, LVM_INSERTCOLUMNW, index, reinterpret_cast<LPARAM>(&column));
    }
}

void ListPage::LayoutList(int buttonRow) {
    RECT client;
    GetClientRect(window, &client);
    const int margin = Px(Rows::kMargin);
    const int width = client.right - 2 * margin;
    SetWindowPos(list, nullptr, margin, margin, width, client.bottom - 2 * margin - buttonRow,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    int rest = width - GetSystemMetrics(SM_CXVSCROLL) - 6;
    for (const Column& column : columns) rest -= Px(column.width);
    for (size_t index = 0; index < columns.size(); ++index) {
        const int columnWidth = columns[index].width ? Px(columns[index].width) : std::max(rest, Px(240));
        SendMessageW(list, LVM_SETCOLUMNWIDTH, index, columnWidth);
    }
}

int ListPage::AddRow(const std::wstring& first) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    item.pszText = const_cast<wchar_t*>(first.c_str());
    return static_cast<int>(SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
}

void ListPage::SetCell(int row, int column, const std::wstring& text) {
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t*>(text.c_str());
    SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

// ---- Facts about the camera
// -----------------------------------------------------------------------------------

CameraPage::CameraPage(HWND parent, Viewer& owner) : ListPage(parent, owner, Text::CameraFacts) {
    SetColumns({{Text::Property, 130}, {Text::Value, 0}});
    formats = AddButton(Text::ListFormats, kFormats);
    EnableWindow(formats, FALSE);
}

void CameraPage::Layout() {
    const int height = Px(Rows::kHeight + 2);
    LayoutList(height + Px(Rows::kGap));
    RECT client;
    GetClientRect(window, &client);
    SetWindowPos(formats, nullptr, Px(Rows::kMargin), client.bottom - Px(Rows::kMargin) - height, Px(150),
                 height, SWP_NOZORDER | SWP_NOACTIVATE);
}

void CameraPage::Tell(const std::wstring& name, const std::wstring& value) {
    const auto found = rowOf.find(name);
    const int row = found == rowOf.end() ? rowOf[name] = AddRow(name) : found->second;
    if (CellOf(list, row, 1) != value) SetCell(row, 1, value);
}

void CameraPage::Forget() {
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    rowOf.clear();
    preview.reset();
}

void CameraPage::ShowCamera(const CameraOpened& opened) {
    wchar_t revision[14];
    camGetDllRevision(revision);
    const CameraEntry& camera = opened.camera;
    Tell(Say(Text::FactName), camera.name);
    Tell(Say(Text::FactIdentity), camera.identity);
    Tell(Say(Text::FactKind), Say(camera.type == CAM_TYPE_IMAGER ? Text::KindImager
                                  : camera.isWebcam              ? Text::KindWebcam
                                                                 : Text::KindDriver));
    if (opened.number) Tell(Say(Text::FactNumber), std::to_wstring(*opened.number));
    Tell(Say(Text::FactLibrary), revision);
    if (preview) ShowPreview(*preview);
    sizes = opened.resolutions;
    ShowResolution(opened.resolution);
    EnableWindow(formats, camera.isWebcam);
}

void CameraPage::ShowResolution(ocellus::Size current) {
    for (size_t index = 0; index < sizes.size(); ++index) {
        const std::wstring mark = sizes[index] == current ? Say(Text::CurrentMark) : L"";
        Tell(Say(Text::FactStill, {std::to_wstring(index)}),
             SaySize(sizes[index].width, sizes[index].height) + mark);
    }
}

// It comes before the camera is known to be open, and stands below the camera's name all the same.
void CameraPage::ShowPreview(const ocellus::PreviewFormat& format) {
    preview = format;
    if (rowOf.empty()) return;
    Tell(Say(Text::FactPreview), std::wstring(FormatName(format.formatCode)) + L", " +
                                     SaySize(format.width, std::abs(format.height)) + L", " +
                                     Say(Text::BytesARow, {std::to_wstring(format.stride)}));
    Tell(Say(Text::FactAskedRate), Rate(format.framesPerSecond));
}

void CameraPage::ShowState(const std::wstring& state, double measuredRate,
                           const std::optional<camStreamState>& stream) {
    if (rowOf.empty()) return;
    Tell(Say(Text::FactState), state);
    Tell(Say(Text::FactMeasuredRate), Rate(measuredRate));
    if (!stream) return;
    Tell(Say(Text::FactStream), FormatText(stream->format));
    Tell(Say(Text::FactStreamRate), Rate(stream->measuredMilliFramesPerSecond / 1000.0));
    Tell(Say(Text::FactBroken), std::to_wstring(stream->brokenFrames));
}

void CameraPage::ShowFormats(const std::vector<camDeviceFormat>& all) {
    for (size_t index = 0; index < all.size(); ++index)
        Tell(Say(Text::FactFormat, {std::to_wstring(index)}), FormatText(all[index]));
}

void CameraPage::OnCommand(int id, int, HWND) {
    if (id == kFormats) viewer.ListFormats();
}

// ---- The log
// --------------------------------------------------------------------------------------------------

LogPage::LogPage(HWND parent, Viewer& owner) : ListPage(parent, owner, Text::TabLog) {
    SetColumns({{Text::LogTime, 78}, {Text::LogCall, 170}, {Text::LogResult, 84}, {Text::LogRemedy, 0}});
    copy = AddButton(Text::CopyLog, kCopy);
    clear = AddButton(Text::ClearLog, kClear);
}

void LogPage::Layout() {
    const int height = Px(Rows::kHeight + 2);
    LayoutList(height + Px(Rows::kGap));
    RECT client;
    GetClientRect(window, &client);
    int x = Px(Rows::kMargin);
    for (const HWND button : {copy, clear}) {
        SetWindowPos(button, nullptr, x, client.bottom - Px(Rows::kMargin) - height, Px(110), height,
                     SWP_NOZORDER | SWP_NOACTIVATE);
        x += Px(110 + Rows::kGap);
    }
}

void LogPage::NoteNow(const std::wstring& what) {
    Note(Logged::Now(what));
}

void LogPage::Note(const Logged& line) {
    wchar_t time[32];
    swprintf(time, 32, L"%02u:%02u:%02u.%03u", line.time.wHour, line.time.wMinute, line.time.wSecond,
             line.time.wMilliseconds);
    if (SendMessageW(list, LVM_GETITEMCOUNT, 0, 0) >= kMaxLogLines) SendMessageW(list, LVM_DELETEITEM, 0, 0);
    const int row = AddRow(time);
    SetCell(row, 1, line.call);
    SetCell(row, 2, line.result);
    SetCell(row, 3, line.remedy);
    SendMessageW(list, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
    if (logFile.empty()) return;
    const cam::UniqueFileHandle file(CreateFileW(logFile.c_str(), FILE_APPEND_DATA,
                                                 FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0,
                                                 nullptr));
    const std::string text = ocellus::ToUtf8(std::wstring(time) + L"\t" + line.call + L"\t" + line.result +
                                             L"\t" + line.remedy + L"\n");
    DWORD written;
    if (file) WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

std::wstring LogPage::AsText() const {
    std::wstring text;
    const int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < count; ++row) {
        for (int column = 0; column < kLogColumns; ++column)
            text += CellOf(list, row, column) + (column + 1 < kLogColumns ? L"\t" : L"\r\n");
    }
    return text;
}

void LogPage::OnCommand(int id, int, HWND) {
    if (id == kCopy) viewer.CopyText(AsText());
    if (id == kClear) SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
}

}  // namespace camview
