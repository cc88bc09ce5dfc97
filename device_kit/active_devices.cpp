// The record of active devices, as Windows CE's device manager keeps it.
#include "kit.h"

#include "base/hresult.h"
#include "base/unique_resource.h"
#include "text.h"

namespace kit {
namespace {

constexpr wchar_t kActive[] = L"Drivers\\Active";
constexpr wchar_t kCameraClass[] = L"{CB998A05-122C-4166-846A-933E4D7E3C86}";
constexpr wchar_t kOwnerValue[] = L"Recorder";  // tells our records from others'
constexpr wchar_t kOwner[] = L"devicekit";
constexpr DWORD kFirstHandle = 0xCA000001;
constexpr std::size_t kMaxKeys = 100;  // two digits

HRESULT OpenKey(HKEY parent, const std::wstring& name, cam::UniqueRegistryKey& key) {
    return cam::HresultFromError(static_cast<DWORD>(
        RegCreateKeyExW(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.put(), nullptr)));
}

void SetText(const cam::UniqueRegistryKey& key, const wchar_t* name, const std::wstring& text) {
    RegSetValueExW(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

std::wstring GetText(HKEY key, const std::wstring& subkey, const wchar_t* name) {
    wchar_t text[MAX_PATH] = L"";
    DWORD size = sizeof text;
    const LSTATUS status = RegGetValueW(key, subkey.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"";
}

std::wstring KeyName(std::size_t index) {
    return {static_cast<wchar_t>(L'0' + index / 10), static_cast<wchar_t>(L'0' + index % 10)};
}

}  // namespace

HRESULT RecordDevices(const std::vector<Device>& devices) {
    cam::UniqueRegistryKey active;
    HRESULT hr = OpenKey(HKEY_LOCAL_MACHINE, kActive, active);
    if (FAILED(hr)) return hr;
    std::size_t next = 0;
    for (std::size_t index = 1; index < kMaxKeys; ++index) {
        const std::wstring name = KeyName(index);
        cam::UniqueRegistryKey existing;
        const bool exists =
            RegOpenKeyExW(active.get(), name.c_str(), 0, KEY_READ, existing.put()) == ERROR_SUCCESS;
        existing.reset();
        const bool ours = exists && GetText(active.get(), name, kOwnerValue) == kOwner;
        if (exists && !ours) continue;
        if (next >= devices.size()) {
            if (ours) RegDeleteKeyW(active.get(), name.c_str());
            continue;
        }
        const std::wstring driver = L"Drivers\\Builtin\\Camera" + std::to_wstring(next + 1);
        const Device& device = devices[next];
        ++next;
        if (ours && GetText(active.get(), name, L"Name") == Widen(device.name) &&
            GetText(active.get(), name, L"Key") == driver)
            continue;
        cam::UniqueRegistryKey record, driverKey;
        hr = OpenKey(HKEY_LOCAL_MACHINE, driver, driverKey);
        if (SUCCEEDED(hr)) hr = OpenKey(active.get(), name, record);
        if (FAILED(hr)) return hr;
        SetText(driverKey, L"IClass", kCameraClass);
        SetText(record, kOwnerValue, kOwner);
        SetText(record, L"Name", Widen(device.name));
        SetText(record, L"Key", driver);
        const DWORD handle = kFirstHandle + static_cast<DWORD>(next) - 1;
        RegSetValueExW(record.get(), L"Hnd", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&handle),
                       sizeof handle);
    }
    return S_OK;
}

}  // namespace kit
