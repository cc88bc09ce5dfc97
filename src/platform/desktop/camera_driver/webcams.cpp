#include "platform/desktop/camera_driver/webcams.h"

#include <algorithm>
#include <memory>

#include "base/automation.h"
#include "base/lock.h"
#include "filter_base/direct_show.h"
#include "platform/desktop/environment.h"

namespace cam::driver {
namespace {

// What stands in the place of the digit of "WEB1:".
constexpr wchar_t kNumbers[] = L"123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t kMaxWebcams = sizeof kNumbers / sizeof *kNumbers - 1;

// The identities that this process has seen; the position is the number.
Guarded<std::vector<std::wstring>> theSeen;

// Empty: there have been too many.
std::wstring LegacyNameOf(const std::wstring& identity) {
    const auto seen = theSeen.Locked();
    auto found = std::find(seen->begin(), seen->end(), identity);
    if (found == seen->end()) {
        if (seen->size() == kMaxWebcams) return {};
        seen->push_back(identity);
        found = seen->end() - 1;
    }
    return std::wstring(L"WEB") + kNumbers[found - seen->begin()] + L':';
}

std::wstring ReadText(IPropertyBag& bag, const wchar_t* property) {
    Variant value;
    if (FAILED(bag.Read(property, value.put(), nullptr)) || !value.text()) return {};
    return value.text();
}

std::wstring DisplayName(IMoniker& moniker) {
    LPOLESTR text = nullptr;
    if (FAILED(moniker.GetDisplayName(nullptr, nullptr, &text)) || !text) return {};
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> owner(text, CoTaskMemFree);
    return text;
}

Webcam Describe(const ComPtr<IMoniker>& moniker) {
    Webcam webcam;
    ComPtr<IPropertyBag> bag;
    if (FAILED(moniker->BindToStorage(nullptr, nullptr, __uuidof(IPropertyBag), bag.putVoid())))
        return webcam;
    webcam.moniker = moniker;
    webcam.name = ReadText(*bag.get(), L"FriendlyName");
    webcam.identity = ReadText(*bag.get(), L"DevicePath");
    if (webcam.identity.empty()) webcam.identity = DisplayName(*moniker.get());
    if (webcam.name.empty()) webcam.name = webcam.identity;
    if (!webcam.identity.empty()) webcam.legacyName = LegacyNameOf(webcam.identity);
    return webcam;
}

}  // namespace

std::vector<Webcam> ListWebcams() {
    std::vector<Webcam> webcams;
    if (platform::Environment(L"OCELLUS_WEBCAMS") == L"0") return webcams;
    ComPtr<ICreateDevEnum> system;
    ComPtr<IEnumMoniker> monikers;
    if (FAILED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(ICreateDevEnum), system.putVoid())) ||
        // S_FALSE: there is none, and no enumerator.
        system->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, monikers.put(), 0) != S_OK) {
        return webcams;
    }
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.put(), nullptr) == S_OK) {
        Webcam webcam = Describe(moniker);
        if (!webcam.legacyName.empty()) webcams.push_back(std::move(webcam));
    }
    return webcams;
}

long WebcamNumber(const wchar_t* legacyName) {
    const std::wstring name = legacyName;
    if (name.size() != 5 || name.compare(0, 3, L"WEB") != 0 || name[4] != L':') return 0;
    const wchar_t* const end = kNumbers + kMaxWebcams;
    const wchar_t* const found = std::find(kNumbers, end, name[3]);
    return found == end ? 0 : static_cast<long>(found - kNumbers) + 1;
}

std::wstring IdentityOf(const wchar_t* legacyName) {
    const auto number = static_cast<std::size_t>(WebcamNumber(legacyName));
    const auto seen = theSeen.Locked();
    return number != 0 && number <= seen->size() ? (*seen)[number - 1] : std::wstring();
}

std::optional<Webcam> FindWebcam(const std::wstring& identity) {
    for (Webcam& webcam : ListWebcams()) {
        if (webcam.identity == identity) return std::move(webcam);
    }
    return std::nullopt;
}

}  // namespace cam::driver
