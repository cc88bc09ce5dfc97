#include "config/settings_store.h"

#include <windows.h>

#include <cwchar>
#include <string_view>

#include "base/automation.h"
#include "config/ini_file.h"
#include "config/ini_text.h"
#include "config/text_file.h"
#include "config/xml_settings.h"
#include "platform/platform.h"

namespace cam::config {
namespace {

constexpr size_t kFirstLineLength = 29;
constexpr std::wstring_view kXmlStart = L"<?xml version=";
constexpr size_t kTypeExtensionLength = 4;
constexpr int kFailed = -1;

// Copies name and extension; an empty path, which no file has, when they do not fit.
void SetPath(SettingsFile* file, std::wstring_view name, std::wstring_view extension) {
    const bool fits = name.size() + extension.size() <= SettingsFile::kMaximumPath;
    wchar_t* const end = fits ? file->path + name.copy(file->path, name.size()) : file->path;
    *(fits ? end + extension.copy(end, extension.size()) : end) = 0;
}

bool Exists(const wchar_t* path) {
    constexpr DWORD kNoAttributes = 0xFFFFFFFF;
    return path[0] && GetFileAttributesW(path) != kNoAttributes;
}

// Whether the file could be opened; `*isXml` says what its first line is.
bool ReadFirstLine(const wchar_t* path, bool* isXml) {
    TextFile file;
    if (!file.Open(path)) return false;
    wchar_t line[kFirstLineLength];
    size_t length = 0;
    while (length < kFirstLineLength && file.Next(&line[length]) && line[length] != L'\n') ++length;
    *isXml = EqualsIgnoringCase(std::wstring_view(line, length).substr(0, kXmlStart.size()), kXmlStart);
    return true;
}

bool IsIniExtension(std::wstring_view extension) {
    const std::wstring_view start = extension.substr(0, kTypeExtensionLength);
    return EqualsIgnoringCase(start, L".ini") || EqualsIgnoringCase(start, L".pro") ||
           EqualsIgnoringCase(start, L".mnu");
}

}  // namespace

void SettingsStore::Classify(const wchar_t* fileName, SettingsFile* file) {
    const std::wstring_view name(fileName);
    // A dot in a folder's name counts as well.
    const size_t dot = name.rfind(L'.');
    const bool hasExtension = dot != std::wstring_view::npos;
    bool hasBoth = false;
    if (hasExtension) {
        SetPath(file, name, L"");
    } else {
        SetPath(file, name, L".exm");
        const bool hasXml = Exists(file->path);
        SetPath(file, name, L".ini");
        const bool hasIni = Exists(file->path);
        hasBoth = hasXml && hasIni;
        SetPath(file, name, hasXml ? L".exm" : hasIni ? L".ini" : L"");
    }

    bool isXml = false;
    if (ReadFirstLine(file->path, &isXml)) {
        file->type = !isXml    ? SettingsFileType::kIni
                     : hasBoth ? SettingsFileType::kXmlBesideIni
                               : SettingsFileType::kXml;
    } else {
        const bool isIni = !hasExtension || IsIniExtension(name.substr(dot));
        file->type = isIni ? SettingsFileType::kIni : SettingsFileType::kXml;
    }
}

int SettingsStore::ReadSettings(const wchar_t* fileName, SettingsRequest* requests, int count) {
    try {
        if (!fileName) return ReadXmlSettings(nullptr, requests, count);
        SettingsFile file;
        Classify(fileName, &file);
        return file.type == SettingsFileType::kIni ? ReadIniFile(file.path, requests, count)
                                                   : ReadXmlSettings(file.path, requests, count);
    } catch (const HresultError&) {
        return kFailed;
    }
}

int SettingsStore::WriteSettings(const wchar_t* fileName, const SettingsRequest* requests, int count) {
    if (fileName) {
        SettingsFile file;
        Classify(fileName, &file);
        if (file.type == SettingsFileType::kIni) return WriteIniFile(file.path, requests, count);
    }
    platform::ShowMessageBox(
        GetForegroundWindow(),
        L"Attempt to call QVXXMLSettingsWrite() detected. Please report this error to Tech Support",
        L"QVXXmlSettings Error", MB_ICONERROR);
    return kFailed;
}

int SettingsStore::ReadInteger(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                               int32_t* destination) {
    SettingsRequest request = {section, key, 0, destination, 0, 0, 0};
    return ReadSettings(fileName, &request, 1);
}

int SettingsStore::ReadString(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                              wchar_t* destination, int length) {
    SettingsRequest request = {section, key, 1, destination, length, 0, 0};
    return ReadSettings(fileName, &request, 1);
}

int SettingsStore::ReadIniInteger(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                                  int32_t* destination) {
    SettingsRequest request = {section, key, 0, destination, 0, 0, 0};
    return ReadIniFile(path, &request, 1);
}

int SettingsStore::ReadIniString(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                                 wchar_t* destination, int length) {
    SettingsRequest request = {section, key, 1, destination, length, 0, 0};
    return ReadIniFile(path, &request, 1);
}

}  // namespace cam::config
