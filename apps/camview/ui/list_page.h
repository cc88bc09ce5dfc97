// Pages that are a list of rows: facts about the camera, and the log.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "ui/page.h"

namespace camview {

class ListPage : public Page {
  public:
    ListPage(HWND parent, Viewer& viewer, Text name);

  protected:
    struct Column {
        Text title;
        int width;  // 0: what is left
    };
    void SetColumns(std::vector<Column> wanted);
    void LayoutList(int buttonRow);  // pixels below the list
    void SetCell(int row, int column, const std::wstring& text);
    int AddRow(const std::wstring& first);

    HWND list;

  private:
    std::vector<Column> columns;
};

class CameraPage final : public ListPage {
  public:
    CameraPage(HWND parent, Viewer& viewer);

    void Layout() override;
    void ShowCamera(const CameraOpened& opened);
    void ShowPreview(const ocellus::PreviewFormat& format);
    void ShowState(const std::wstring& state, double measuredRate,
                   const std::optional<camStreamState>& stream);
    void ShowFormats(const std::vector<camDeviceFormat>& formats);
    void ShowResolution(ocellus::Size size);
    void Forget();

  private:
    enum : int { kFormats = 100 };
    void OnCommand(int id, int code, HWND) override;
    // A fact that is new gets a row of its own, one that is known another value.
    void Tell(const std::wstring& name, const std::wstring& value);

    HWND formats;
    std::map<std::wstring, int> rowOf;
    std::vector<ocellus::Size> sizes;
    std::optional<ocellus::PreviewFormat> preview;
};

class LogPage final : public ListPage {
  public:
    LogPage(HWND parent, Viewer& viewer);

    // Also the file is written to, when one was named.
    void WriteTo(const std::wstring& file) { logFile = file; }
    void Layout() override;
    void Note(const Logged& line);
    void NoteNow(const std::wstring& what);

  private:
    enum : int { kCopy = 100, kClear };
    void OnCommand(int id, int code, HWND) override;
    std::wstring AsText() const;

    HWND copy, clear;
    std::wstring logFile;
};

}  // namespace camview
