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

// Plain pointers on purpose: when the process ends the parser may be gone before the library's own objects
// are destroyed.
struct Cache {
    IXMLDOMDocument* document;
    wchar_t* path;
    FILETIME written;
};
Cache cache;

void DiscardCache() {
    DomDocument document;
    document.attach(cache.document);
    const UniqueText path(cache.path);
    cache = {};
}

// Zero when the file cannot be opened.
FILETIME LastWritten(const wchar_t* path) {
    FILETIME written = {};
    constexpr DWORD kAttributesOnly = 0;
    const UniqueFileHandle file(CreateFileW(path, kAttributesOnly, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !GetFileTime(file.get(), nullptr, nullptr, &written)) return {};
    return written;
}

// Sees to it that the cache holds the document as it is now.
bool FillCache(const wchar_t* path) {
    const FILETIME written = LastWritten(path);
    if (cache.document && (wcscmp(path, cache.path) != 0 || CompareFileTime(&written, &cache.written) != 0)) {
        DiscardCache();
    }
    if (cache.document) return true;
    wchar_t error[kErrorLength];
    DomDocument document = ConfigDocument::LoadXMLDocument(path, error, kErrorLength);
    if (!document) return false;
    UniqueText copy = CopyText(path);
    cache = {document.detach(), copy.release(), written};
    return true;
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
SettingsRequest* Match(SettingsRequest* requests, int count, const wchar_t* section, const wchar_t* key) {
    for (int i = 0; i < count; ++i) {
        if (IsRequested(requests[i], section, key)) return &requests[i];
    }
    return nullptr;
}

void ReadKey(IXMLDOMNode* key, const wchar_t* section, SettingsRequest* requests, int count) {
    UniqueText name;
    if (!ConfigDocument::GetName(key, &name)) return;
    SettingsRequest* const request = Match(requests, count, section, name.get());
    if (!request) return;
    VARIANT_BOOL hasChildren = VARIANT_FALSE;
    UniqueText text;
    if (ConfigDocument::GetKeyValue(key, &text)) {
        Store(*request, text.get());
        request->keyFlag = ConfigDocument::IsReported(key) ? 1 : 0;
        request->found = 1;
    } else if (SUCCEEDED(key->hasChildNodes(&hasChildren)) && !hasChildren) {
        Store(*request, L"");  // the key's flag is told only of a key with text
        request->found = 1;
    }
}

// Calls `visit` with each live child of `parent` that `isWanted` accepts.
template <typename Visit>
void ForEachChild(IXMLDOMNode* parent, bool (*isWanted)(IXMLDOMNode*), Visit visit) {
    for (DomNode child = ConfigDocument::FirstChild(parent); child;
         child = ConfigDocument::NextSibling(child.get())) {
        if (isWanted(child.get()) && !ConfigDocument::IsDeleted(child.get())) visit(child.get());
    }
}

}  // namespace

int ReadXmlSettings(const wchar_t* path, SettingsRequest* requests, int count) {
    if (!path) {
        DiscardCache();
        return 0;
    }
    if (!FillCache(path)) return kNotLoaded;
    ComPtr<IXMLDOMElement> root;
    if (FAILED(cache.document->get_documentElement(root.put())) || !root) return kNoRoot;
    if (ConfigDocument::IsDeleted(root.get())) return 0;
    ForEachChild(root.get(), ConfigDocument::IsSection, [&](IXMLDOMNode* section) {
        UniqueText name;
        if (!ConfigDocument::GetName(section, &name)) return;
        ForEachChild(section, ConfigDocument::IsKey,
                     [&](IXMLDOMNode* key) { ReadKey(key, name.get(), requests, count); });
    });
    return 0;
}

}  // namespace cam::config
