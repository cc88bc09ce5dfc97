// The kit's entries in the system's list of video input devices.
#include <windows.h>

#include <dbt.h>

#include "base/hresult.h"
#include "text.h"
#include "webcam/webcam_filter.h"

namespace kit {
namespace {

constexpr wchar_t kInstances[] = L"CLSID\\{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\Instance";
constexpr wchar_t kPrefix[] = L"DeviceKitWebcam";  // tells our entries from others'
constexpr std::size_t kMaxWebcams = 9;

LSTATUS SetText(HKEY key, const wchar_t* name, const std::wstring& text) {
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

std::wstring KeyOf(std::size_t index) {
    return std::wstring(kInstances) + L"\\" + kPrefix + std::to_wstring(index + 1);
}

}  // namespace

std::vector<WebcamEntry> UsualWebcams() {
    return {{"Device kit webcam", "\\\\?\\devicekit#webcam1"}};
}

HRESULT RecordWebcams(const std::vector<WebcamEntry>& webcams) {
    for (std::size_t index = 0; index < kMaxWebcams; ++index) {
        const std::wstring key = KeyOf(index);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        if (index >= webcams.size()) continue;
        cam::UniqueRegistryKey entry;
        LSTATUS status = RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                         nullptr, entry.put(), nullptr);
        wchar_t classId[40] = {};
        StringFromGUID2(kClsidWebcam, classId, 40);
        if (status == ERROR_SUCCESS) status = SetText(entry.get(), L"CLSID", classId);
        if (status == ERROR_SUCCESS)
            status = SetText(entry.get(), L"FriendlyName", Widen(webcams[index].name));
        if (status == ERROR_SUCCESS && !webcams[index].path.empty())
            status = SetText(entry.get(), L"DevicePath", Widen(webcams[index].path));
        if (status != ERROR_SUCCESS) return cam::HresultFromError(static_cast<DWORD>(status));
    }
    // As the system tells programs that some device has come or gone.
    PostMessageW(HWND_BROADCAST, WM_DEVICECHANGE, DBT_DEVNODES_CHANGED, 0);
    return S_OK;
}

}  // namespace kit
