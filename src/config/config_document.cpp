// Loading and saving of configuration documents.
#include "config/config_document.h"

#include <objsafe.h>

#include <atomic>
#include <cstdarg>
#include <cstring>
#include <cwchar>

#include "base/hresult.h"
#include "base/unique_resource.h"
#include "config/dom_ids.h"
#include "config/xml_guard.h"

namespace cam::config {
namespace {

constexpr DWORD kNoAttributes = 0xFFFFFFFF;
constexpr DWORD kReadBlock = 2048;
constexpr wchar_t kVersionKey[] = L"EXMVersion";
constexpr wchar_t kVersion[] = L"1.0.1";

// Cut to fit with the terminator.
void WriteError(std::span<wchar_t> error, const wchar_t* format, ...) {
    if (error.empty()) return;
    va_list arguments;
    va_start(arguments, format);
    _vsnwprintf(error.data(), error.size(), format, arguments);
    va_end(arguments);
    error.back() = 0;
}

// COM is initialised once for the process and stays so: the first document may be made on any thread.
std::atomic<int> isComInitialised = 0;

bool InitialiseComOnce() {
    if (!isComInitialised && SUCCEEDED(CoInitializeEx(nullptr, 0))) isComInitialised = 1;
    return isComInitialised != 0;
}

// Scripts and controls that a page might run must not limit what the library itself loads; what a document
// may load is limited below.
void SwitchSafetyOptionsOff(IXMLDOMDocument* document) {
    ComPtr<IObjectSafety> safety;
    if (FAILED(document->QueryInterface(kIidObjectSafety, safety.putVoid()))) return;
    DWORD supported = 0;
    DWORD enabled = 0;
    if (FAILED(safety->GetInterfaceSafetyOptions(kIidDomDocument, &supported, &enabled))) return;
    safety->SetInterfaceSafetyOptions(kIidDomDocument, supported, 0);
}

// As long as it is open nobody changes the file: the parser reads what has been judged.
UniqueFileHandle OpenUnchanging(const wchar_t* fileName) {
    return UniqueFileHandle(CreateFileW(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
}

// False, with the last error, when the file cannot be read to its end.
bool JudgeFile(HANDLE file, XmlGuard& guard) {
    unsigned char block[kReadBlock];
    for (DWORD count = kReadBlock; count > 0 && guard.Verdict() == XmlVerdict::Accepted;) {
        if (!ReadFile(file, block, kReadBlock, &count, nullptr)) return false;
        guard.AddBytes({block, count});
    }
    return true;
}

XmlGuard JudgeText(const wchar_t* text) {
    XmlGuard guard;
    for (; *text && guard.Verdict() == XmlVerdict::Accepted; ++text) guard.AddUnit(*text);
    return guard;
}

// A DTD is not fetched to compare the document with it.
void FetchNothing(IXMLDOMDocument* document, const XmlGuard& guard) {
    if (guard.HasDtd()) document->put_validateOnParse(VARIANT_FALSE);
}

bool HasDocumentType(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMDocumentType> documentType;
    return SUCCEEDED(document->get_doctype(documentType.put())) && documentType;
}

void WriteParseError(IXMLDOMDocument* document, const wchar_t* format, std::span<wchar_t> error) {
    ComPtr<IXMLDOMParseError> parseError;
    long code = 0;
    Bstr reason;
    if (SUCCEEDED(document->get_parseError(parseError.put())) && parseError) {
        parseError->get_errorCode(&code);
        parseError->get_reason(reason.put());
    }
    WriteError(error, format, static_cast<int>(code), reason.text());
}

// Completes a load: the document, or none and the reason in `error`.
ConfigDocument Finish(ConfigDocument document, bool isLoaded, const XmlGuard& guard, const wchar_t* format,
                      std::span<wchar_t> error) {
    if (!isLoaded) {
        WriteParseError(document.get(), format, error);
        return {};
    }
    // One that the guard did not see slipped through in an encoding of its own.
    if (HasDocumentType(document.get()) && !guard.HasDtd()) {
        WriteError(error, format, E_FAIL, DescribeVerdict(XmlVerdict::UnsafeDtd));
        return {};
    }
    return document;
}

}  // namespace

ConfigDocument ConfigDocument::CreateDocument() {
    ComPtr<IXMLDOMDocument> document;
    if (!InitialiseComOnce() || FAILED(CoCreateInstance(kClsidDomDocument, nullptr, CLSCTX_INPROC_SERVER,
                                                        kIidDomDocument, document.putVoid()))) {
        return {};
    }
    document->put_async(VARIANT_FALSE);
    SwitchSafetyOptionsOff(document.get());
    // No document reaches out for entities or a DTD.
    document->put_resolveExternals(VARIANT_FALSE);
    return ConfigDocument(std::move(document));
}

ConfigDocument ConfigDocument::LoadXMLDocument(const wchar_t* fileName, std::span<wchar_t> error) {
    constexpr wchar_t kFormat[] = L"Error %d : %ls";
    if (!fileName) {
        WriteError(error, L"Invalid filename LoadXMLDocument: NULL");
        return {};
    }
    // Keeps addresses on the network that are no files away from the parser as well.
    if (GetFileAttributesW(fileName) == kNoAttributes) {
        WriteError(error, L"Can't find file: %ls", fileName);
        return {};
    }
    ConfigDocument document = CreateDocument();
    if (!document) return {};
    const UniqueFileHandle file = OpenUnchanging(fileName);
    XmlGuard guard;
    if (!file || !JudgeFile(file.get(), guard)) {
        WriteError(error, kFormat, HresultFromLastError(), L"The file cannot be read.");
        return {};
    }
    if (guard.Verdict() != XmlVerdict::Accepted) {
        WriteError(error, kFormat, E_FAIL, DescribeVerdict(guard.Verdict()));
        return {};
    }
    FetchNothing(document.get(), guard);
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    const HRESULT result = document.get()->load(Variant(fileName).get(), &isLoaded);
    return Finish(std::move(document), SUCCEEDED(result) && isLoaded, guard, kFormat, error);
}

ConfigDocument ConfigDocument::LoadXMLString(const wchar_t* text, std::span<wchar_t> error) {
    constexpr wchar_t kFormat[] = L"XMl Load error %d : %ls";
    ConfigDocument document = CreateDocument();
    if (!document) {
        WriteError(error, L"Failed to create XML object");
        return {};
    }
    const XmlGuard guard = JudgeText(text ? text : L"");
    if (guard.Verdict() != XmlVerdict::Accepted) {
        WriteError(error, kFormat, E_FAIL, DescribeVerdict(guard.Verdict()));
        return {};
    }
    FetchNothing(document.get(), guard);
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    const HRESULT result = document.get()->loadXML(Bstr(text).get(), &isLoaded);
    return Finish(std::move(document), SUCCEEDED(result) && isLoaded, guard, kFormat, error);
}

ConfigDocument ConfigDocument::LoadXMLString(const char* text, std::span<wchar_t> error) {
    if (!text) text = "";
    const size_t length = strlen(text) + 1;
    // Cleared, so that a text that cannot be converted ends where the conversion did.
    const UniqueText wide(static_cast<wchar_t*>(calloc(length, sizeof(wchar_t))));
    if (!wide) {
        if (!error.empty()) {
            wcsncpy(error.data(), L"Not enough memory for TCHAR conversion of XML Data", error.size());
            error.back() = 0;
        }
        return {};
    }
    mbstowcs(wide.get(), text, length);
    return LoadXMLString(wide.get(), error);
}

bool ConfigDocument::SaveXMLDocument(const wchar_t* fileName, std::span<wchar_t> error) const {
    const DWORD attributes = GetFileAttributesW(fileName);
    if (attributes != kNoAttributes && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        WriteError(error, L"File %ls is read-only", fileName);
        return false;
    }
    const HRESULT result = document->save(Variant(fileName).get());
    if (FAILED(result)) WriteError(error, L"XML Save error %d", result);
    return SUCCEEDED(result);
}

ConfigNode ConfigDocument::GetDocElement() const {
    ComPtr<IXMLDOMElement> element;
    if (!document || FAILED(document->get_documentElement(element.put()))) return {};
    const ConfigNode root(element.get());
    return root.IsConfigDoc() ? root : ConfigNode();
}

ConfigNode ConfigDocument::InitNewDocument(const wchar_t* name) const {
    ComPtr<IXMLDOMElement> existing;
    if (!document || FAILED(document->get_documentElement(existing.put())) || existing) return {};
    const ConfigNode root = AppendElement(get(), get(), kConfigDocElement, name);
    if (!root) return {};
    const ConfigNode reserved = AppendElement(get(), root.get(), kReservedElement, nullptr);
    return reserved && reserved.SetKeyValue(kVersionKey, kVersion, true) ? root : ConfigNode();
}

}  // namespace cam::config
