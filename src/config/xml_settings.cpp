#include "config/xml_settings.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "base/unique_resource.h"
#include "config/config_document.h"
#include "config/ini_text.h"

namespace cam::config {
namespace {

constexpr int kErrorLength = 200;
constexpr int kNotLoaded = -1;
constexpr int kNoRoot = -2;

// Zero when the file cannot be opened.
FILETIME LastWritten(const wchar_t* path) {
    FILETIME written = {};
    constexpr DWORD kAttributesOnly = 0;
    const UniqueFileHandle file(CreateFileW(path, kAttributesOnly, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !GetFileTime(file.get(), nullptr, nullptr, &written)) return {};
    return written;
}

void Store(const SettingsRequest& request, const wchar_t* value) {
    if (!request.isString) {
        const int32_t number = ParseInteger(value, 0);
        std::memcpy(request.destination, &number, sizeof number);
        return;
    }
    if (request.length < 0) return;
    auto* const text = static_cast<wchar_t*>(request.destination);
    const size_t kept = std::min(wcslen(value), static_cast<size_t>(request.length));
    std::copy_n(value, kept, text);
    text[kept] = 0;  // may stand at text[length]
}

// The first request that asks for the key; null when none does.
SettingsRequest* Match(std::span<SettingsRequest> requests, const wchar_t* section, const wchar_t* key) {
    const auto found = std::find_if(requests.begin(), requests.end(), [&](const SettingsRequest& request) {
        return IsRequested(request, section, key);
    });
    return found == requests.end() ? nullptr : &*found;
}

void ReadKey(const ConfigNode& key, const wchar_t* section, std::span<SettingsRequest> requests) {
    const UniqueText name = key.GetName();
    SettingsRequest* const request = name ? Match(requests, section, name.get()) : nullptr;
    if (!request) return;
    VARIANT_BOOL hasChildren = VARIANT_FALSE;
    if (const UniqueText text = key.GetKeyValue()) {
        Store(*request, text.get());
        request->keyFlag = key.IsReported() ? 1 : 0;
        request->found = 1;
    } else if (SUCCEEDED(key.get()->hasChildNodes(&hasChildren)) && !hasChildren) {
        Store(*request, L"");  // the key's flag is told only of a key with text
        request->found = 1;
    }
}

// Calls `visit` with each live child of `parent` that `isWanted` accepts.
template <typename Visit>
void ForEachChild(const ConfigNode& parent, bool (ConfigNode::*isWanted)() const, Visit visit) {
    for (ConfigNode child = parent.FirstChild(); child; child = child.NextSibling()) {
        if ((child.*isWanted)() && !child.IsDeleted()) visit(child);
    }
}

}  // namespace

void XmlSettings::Discard() {
    ComPtr<IXMLDOMDocument> document;
    document.attach(loaded);
    const UniqueText path(loadedPath);
    *this = {};
}

// Sees to it that the document is held as it is now.
bool XmlSettings::Load(const wchar_t* path) {
    const FILETIME written = LastWritten(path);
    if (loaded && (wcscmp(path, loadedPath) != 0 || CompareFileTime(&written, &loadedWritten) != 0))
        Discard();
    if (loaded) return true;
    wchar_t error[kErrorLength];
    ConfigDocument document = ConfigDocument::LoadXMLDocument(path, error);
    if (!document) return false;
    loadedPath = CopyText(path).release();
    loaded = document.release();
    loadedWritten = written;
    return true;
}

int XmlSettings::Read(const wchar_t* path, std::span<SettingsRequest> requests) {
    if (!Load(path)) return kNotLoaded;
    ComPtr<IXMLDOMElement> element;
    if (FAILED(loaded->get_documentElement(element.put())) || !element) return kNoRoot;
    const ConfigNode root(element.get());
    if (root.IsDeleted()) return 0;
    ForEachChild(root, &ConfigNode::IsSection, [&](const ConfigNode& section) {
        const UniqueText name = section.GetName();
        if (!name) return;
        ForEachChild(section, &ConfigNode::IsKey,
                     [&](const ConfigNode& key) { ReadKey(key, name.get(), requests); });
    });
    return 0;
}

}  // namespace cam::config
