#include "still/encoders/jpeg_quality.h"

#include "base/unique_resource.h"

namespace cam::still {
namespace {

constexpr const wchar_t* kQualityKeys[] = {
    L"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\0\\JPG\\Quality",
    L"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\1\\JPG\\Quality",
    L"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\2\\JPG\\Quality",
};

}  // namespace

LONG JpegQuality(BYTE level) {
    if (level >= ARRAYSIZE(kQualityKeys)) return kNoJpegQuality;
    UniqueRegistryKey key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kQualityKeys[level], 0, KEY_QUERY_VALUE, key.put()) !=
        ERROR_SUCCESS) {
        return kNoJpegQuality;
    }
    // The type is not looked at: whatever fits four bytes is taken for a number.
    LONG quality = 0;
    DWORD size = sizeof quality;
    const LONG queried =
        RegQueryValueExW(key.get(), L"Value", nullptr, nullptr, reinterpret_cast<BYTE*>(&quality), &size);
    return queried == ERROR_SUCCESS ? quality : kNoJpegQuality;
}

}  // namespace cam::still
