#include "config/settings_store.h"

#include <windows.h>

#include <cwchar>
#include <optional>
#include <string_view>

#include "base/automation.h"
#include "config/ini_file.h"
#include "config/ini_text.h"
#include "config/text_file.h"
#include "platform/platform.h"

namespace cam::config {
namespace {

constexpr size_t kFirstLineLength = 29;
constexpr std::wstring_view kXmlStart = L"<?xml version=";
constexpr size_t kTypeExtensionLength = 4;
constexpr int kFailed = -1;

// An empty path, which no file has, when name and extension do not fit.
void SetPath(SettingsFile& file, std::wstring_view name, std::wstring_view extension) {
    const bool fits = name.size() + extension.size() <= SettingsFile::kMaxPath;
    wchar_t* const end = fits ? file.path + name.copy(file.path, name.size()) : file.path;
    *(fits ? end + extension.copy(end, extension.size()) : end) = 0;
}

bool Exists(const wchar_t* path) {
    constexpr DWORD kNoAttributes = 0xFFFFFFFF;
    return path[0] && GetFileAttributesW(path) != kNoAttributes;
}

// Whether the file's first line is that of an XML document; nothing when the file cannot be opened.
std::optional<bool> StartsAsXml(const wchar_t* path) {
    TextFile file;
    if (!file.Open(path)) return std::nullopt;
    wchar_t line[kFirstLineLength];
    size_t length = 0;
    while (length < kFirstLineLength) {
        const std::optional<wchar_t> character = file.Next();
        if (!character || *character == L'\n') break;
        line[length++] = *character;
    }
    return EqualsIgnoringCase(std::wstring_view(line, length).substr(0, kXmlStart.size()), kXmlStart);
}

bool IsIniExtension(std::wstring_view extension) {
    const std::wstring_view start = extension.substr(0, kTypeExtensionLength);
    return EqualsIgnoringCase(start, L".ini") || EqualsIgnoringCase(start, L".pro") ||
           EqualsIgnoringCase(start, L".mnu");
}

}  // namespace

constinit SettingsStore settingsStore;

SettingsFile SettingsStore::Classify(const wchar_t* fileName) const {
    SettingsFile file;
    const std::wstring_view name(fileName);
    // A dot in a folder's name counts as well.
    const size_t dot = name.rfind(L'.');
    const bool hasExtension = dot != std::wstring_view::npos;
    bool hasBoth = false;
    if (hasExtension) {
        SetPath(file, name, L"");
    } else {
        SetPath(file, name, L".exm");
        const bool hasXml = Exists(file.path);
        SetPath(file, name, L".ini");
        const bool hasIni = Exists(file.path);
        hasBoth = hasXml && hasIni;
        SetPath(file, name, hasXml ? L".exm" : hasIni ? L".ini" : L"");
    }

    if (const std::optional<bool> isXml = StartsAsXml(file.path)) {
        file.type = !*isXml   ? SettingsFileType::Ini
                    : hasBoth ? SettingsFileType::XmlBesideIni
                              : SettingsFileType::Xml;
    } else {
        const bool isIni = !hasExtension || IsIniExtension(name.substr(dot));
        file.type = isIni ? SettingsFileType::Ini : SettingsFileType::Xml;
    }
    return file;
}

int SettingsStore::ReadSettings(const wchar_t* fileName, std::span<SettingsRequest> requests) {
    if (!fileName) {
        xml.Discard();
        return 0;
    }
    try {
        const SettingsFile file = Classify(fileName);
        return file.type == SettingsFileType::Ini ? ReadIniFile(file.path, requests)
                                                  : xml.Read(file.path, requests);
    } catch (const HresultError&) {
        return kFailed;
    }
}

int SettingsStore::WriteSettings(const wchar_t* fileName, std::span<const SettingsRequest> requests) const {
    if (fileName) {
        const SettingsFile file = Classify(fileName);
        if (file.type == SettingsFileType::Ini) return WriteIniFile(file.path, requests);
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
    return ReadSettings(fileName, {&request, 1});
}

int SettingsStore::ReadString(const wchar_t* fileName, const wchar_t* section, const wchar_t* key,
                              wchar_t* destination, int length) {
    SettingsRequest request = {section, key, 1, destination, length, 0, 0};
    return ReadSettings(fileName, {&request, 1});
}

int SettingsStore::ReadIniInteger(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                                  int32_t* destination) const {
    SettingsRequest request = {section, key, 0, destination, 0, 0, 0};
    return ReadIniFile(path, {&request, 1});
}

int SettingsStore::ReadIniString(const wchar_t* path, const wchar_t* section, const wchar_t* key,
                                 wchar_t* destination, int length) const {
    SettingsRequest request = {section, key, 1, destination, length, 0, 0};
    return ReadIniFile(path, {&request, 1});
}

}  // namespace cam::config
