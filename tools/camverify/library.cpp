#include "library.h"

namespace verify {

Library cam;

std::string ArgumentText(const void* pointer) {
    return pointer ? "pointer" : "null";
}

std::string ArgumentText(const wchar_t* text) {
    return text ? "\"" + Utf8(text) + "\"" : "null";
}

ExportBase::ExportBase(Library& library, const char* exportName, int exportOrdinal)
    : name(exportName), ordinal(exportOrdinal) {
    library.exports.push_back(this);
}

DWORD Library::Load(const std::wstring& path) {
    const CallUnderWay call("LoadLibrary(" + ArgumentText(path.c_str()) + ")");
    module = LoadLibraryW(path.c_str());
    if (!module) return GetLastError();
    for (ExportBase* one : exports) one->address = GetProcAddress(module, one->name);
    return 0;
}

void Library::Unload() {
    if (module) FreeLibrary(module);
    module = nullptr;
}

std::wstring Library::Path() const {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(module, path, MAX_PATH);
    return path;
}

std::string Library::Lacking() const {
    std::string lacking;
    for (const ExportBase* one : exports) {
        const auto ordinal = reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(one->ordinal));
        if (!one->address || GetProcAddress(module, ordinal) != one->address) {
            lacking +=
                (lacking.empty() ? "" : ", ") + std::string(one->name) + " @" + std::to_string(one->ordinal);
        }
    }
    return lacking;
}

}  // namespace verify
