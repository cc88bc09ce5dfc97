// Loading and saving of configuration documents.
#include "config/config_document.h"

#include <objsafe.h>

#include <cstdarg>
#include <cstring>
#include <cwchar>

#include "base/unique_resource.h"
#include "config/dom_ids.h"
#include "config/xml_guard.h"

namespace cam::config {
namespace {

constexpr DWORD kNoAttributes = 0xFFFFFFFF;
constexpr DWORD kReadBlock = 2048;

// Cut to `size` characters with the terminator.
void WriteError(wchar_t* error, int size, const wchar_t* format, ...) {
    if (!error || size <= 0) return;
    va_list arguments;
    va_start(arguments, format);
    _vsnwprintf(error, static_cast<size_t>(size), format, arguments);
    va_end(arguments);
    error[size - 1] = 0;
}

// COM is initialised once for the process and stays so: the first document may be made on any thread.
bool InitialiseComOnce() {
    static volatile LONG isInitialised = 0;
    if (isInitialised) return true;
    if (FAILED(CoInitializeEx(nullptr, 0))) return false;
    InterlockedExchange(&isInitialised, 1);
    return true;
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

XmlGuard JudgeFile(const wchar_t* fileName) {
    XmlGuard guard;
    const UniqueFileHandle file(CreateFileW(fileName, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    // What cannot be read is left to the parser, which has a reason for it.
    unsigned char block[kReadBlock];
    DWORD count = 0;
    while (file && guard.verdict() == XmlVerdict::kAccepted &&
           ReadFile(file.get(), block, kReadBlock, &count, nullptr) && count > 0) {
        guard.AddBytes(block, count);
    }
    return guard;
}

XmlGuard JudgeText(const wchar_t* text) {
    XmlGuard guard;
    for (; *text && guard.verdict() == XmlVerdict::kAccepted; ++text) guard.AddUnit(*text);
    return guard;
}

bool HasDocumentType(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMDocumentType> documentType;
    return SUCCEEDED(document->get_doctype(documentType.put())) && documentType;
}

void WriteParseError(IXMLDOMDocument* document, const wchar_t* format, wchar_t* error, int size) {
    ComPtr<IXMLDOMParseError> parseError;
    long code = 0;
    Bstr reason;
    if (SUCCEEDED(document->get_parseError(parseError.put())) && parseError) {
        parseError->get_errorCode(&code);
        parseError->get_reason(reason.put());
    }
    WriteError(error, size, format, static_cast<int>(code), reason.text());
}

// Completes a load: the document, or none and the reason in `error`.
DomDocument Finish(DomDocument document, bool isLoaded, const XmlGuard& guard, const wchar_t* format,
                   wchar_t* error, int size) {
    if (!isLoaded) {
        WriteParseError(document.get(), format, error, size);
        return {};
    }
    // One that the guard did not see slipped through in an encoding of its own.
    if (HasDocumentType(document.get()) && !guard.hasDtd()) {
        WriteError(error, size, format, E_FAIL, DescribeVerdict(XmlVerdict::kUnsafeDtd));
        return {};
    }
    return document;
}

}  // namespace

DomDocument ConfigDocument::CreateDocument() {
    DomDocument document;
    if (!InitialiseComOnce() || FAILED(CoCreateInstance(kClsidDomDocument, nullptr, CLSCTX_INPROC_SERVER,
                                                        kIidDomDocument, document.putVoid()))) {
        return {};
    }
    document->put_async(VARIANT_FALSE);
    SwitchSafetyOptionsOff(document.get());
    // No document reaches out for entities or a DTD.
    document->put_resolveExternals(VARIANT_FALSE);
    return document;
}

DomDocument ConfigDocument::LoadXMLDocument(const wchar_t* fileName, wchar_t* error, int size) {
    constexpr wchar_t kFormat[] = L"Error %d : %ls";
    if (!fileName) {
        WriteError(error, size, L"Invalid filename LoadXMLDocument: NULL");
        return {};
    }
    // Keeps addresses on the network that are no files away from the parser as well.
    if (GetFileAttributesW(fileName) == kNoAttributes) {
        WriteError(error, size, L"Can't find file: %ls", fileName);
        return {};
    }
    DomDocument document = CreateDocument();
    if (!document) return {};
    const XmlGuard guard = JudgeFile(fileName);
    if (guard.verdict() != XmlVerdict::kAccepted) {
        WriteError(error, size, kFormat, E_FAIL, DescribeVerdict(guard.verdict()));
        return {};
    }
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    const HRESULT result = document->load(Variant(fileName).get(), &isLoaded);
    return Finish(std::move(document), SUCCEEDED(result) && isLoaded, guard, kFormat, error, size);
}

DomDocument ConfigDocument::LoadXMLString(const wchar_t* text, wchar_t* error, int size) {
    constexpr wchar_t kFormat[] = L"XMl Load error %d : %ls";
    DomDocument document = CreateDocument();
    if (!document) {
        WriteError(error, size, L"Failed to create XML object");
        return {};
    }
    const XmlGuard guard = JudgeText(text ? text : L"");
    if (guard.verdict() != XmlVerdict::kAccepted) {
        WriteError(error, size, kFormat, E_FAIL, DescribeVerdict(guard.verdict()));
        return {};
    }
    VARIANT_BOOL isLoaded = VARIANT_FALSE;
    const HRESULT result = document->loadXML(Bstr(text).get(), &isLoaded);
    return Finish(std::move(document), SUCCEEDED(result) && isLoaded, guard, kFormat, error, size);
}

DomDocument ConfigDocument::LoadXMLString(const char* text, wchar_t* error, int size) {
    if (!text) text = "";
    const size_t length = strlen(text) + 1;
    // Cleared, so that a text that cannot be converted ends where the conversion did.
    const UniqueText wide(static_cast<wchar_t*>(calloc(length, sizeof(wchar_t))));
    if (!wide) {
        if (error && size > 0) {
            wcsncpy(error, L"Not enough memory for TCHAR conversion of XML Data", static_cast<size_t>(size));
            error[size - 1] = 0;
        }
        return {};
    }
    mbstowcs(wide.get(), text, length);
    return LoadXMLString(wide.get(), error, size);
}

bool ConfigDocument::SaveXMLDocument(IXMLDOMDocument* document, const wchar_t* fileName, wchar_t* error,
                                     int size) {
    const DWORD attributes = GetFileAttributesW(fileName);
    if (attributes != kNoAttributes && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        WriteError(error, size, L"File %ls is read-only", fileName);
        return false;
    }
    const HRESULT result = document->save(Variant(fileName).get());
    if (FAILED(result)) WriteError(error, size, L"XML Save error %d", result);
    return SUCCEEDED(result);
}

}  // namespace cam::config
