#include "registration.h"

#include <strmif.h>
#include <uuids.h>

#include "base/com_ptr.h"
#include "base/hresult.h"
#include "base/unique_resource.h"
#include "capture_filter.h"
#include "color_converter.h"
#include "kit.h"

namespace kit {
namespace {

// High enough for intelligent connection to try the converter first.
constexpr DWORD kConverterMerit = 0x00600000;

struct ClassEntry {
    const CLSID& classId;
    const wchar_t* name;
};
const ClassEntry kClasses[] = {{kClsidCaptureFilter, L"Device Kit Camera"},
                               {kClsidColorConverter, kConverterName}};

std::wstring ClassKey(const CLSID& classId) {
    wchar_t text[40];
    StringFromGUID2(classId, text, 40);
    return L"CLSID\\" + std::wstring(text);
}

HRESULT WriteText(const std::wstring& keyName, const wchar_t* valueName, const std::wstring& text) {
    cam::UniqueRegistryKey key;
    LSTATUS status = RegCreateKeyExW(HKEY_CLASSES_ROOT, keyName.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                                     key.put(), nullptr);
    if (status == ERROR_SUCCESS)
        status = RegSetValueExW(key.get(), valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    return cam::HresultFromError(static_cast<DWORD>(status));
}

HRESULT RegisterClasses() {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(theModule, path, MAX_PATH);
    if (length == 0 || length == MAX_PATH) return E_FAIL;
    for (const ClassEntry& entry : kClasses) {
        const std::wstring key = ClassKey(entry.classId);
        HRESULT hr = WriteText(key, nullptr, entry.name);
        if (SUCCEEDED(hr)) hr = WriteText(key + L"\\InprocServer32", nullptr, path);
        if (SUCCEEDED(hr)) hr = WriteText(key + L"\\InprocServer32", L"ThreadingModel", L"Both");
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

// Both pins are described: intelligent connection looks for a filter by the types of either side.
HRESULT RegisterConverter(IFilterMapper2* mapper) {
    const REGPINTYPES inputType = {&MEDIATYPE_Video, &MEDIASUBTYPE_RGB555};
    const REGPINTYPES outputType = {&MEDIATYPE_Video, &MEDIASUBTYPE_RGB565};
    REGFILTERPINS pins[2] = {};
    pins[0].strName = const_cast<LPWSTR>(L"Input");
    pins[0].nMediaTypes = 1;
    pins[0].lpMediaType = &inputType;
    pins[1].strName = const_cast<LPWSTR>(L"Output");
    pins[1].bOutput = TRUE;
    pins[1].nMediaTypes = 1;
    pins[1].lpMediaType = &outputType;
    REGFILTER2 filter = {};
    filter.dwVersion = 1;
    filter.dwMerit = kConverterMerit;
    filter.cPins = 2;
    filter.rgPins = pins;
    IMoniker* moniker = nullptr;
    const HRESULT hr = mapper->RegisterFilter(kClsidColorConverter, kConverterName, &moniker,
                                              &CLSID_LegacyAmFilterCategory, nullptr, &filter);
    if (moniker) moniker->Release();
    return hr;
}

// Registration tools do not all initialise COM.
template <typename Work>
HRESULT WithMapper(Work&& work) {
    const HRESULT initialised = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    HRESULT hr;
    {
        cam::ComPtr<IFilterMapper2> mapper;
        hr = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                              mapper.putVoid());
        if (SUCCEEDED(hr)) hr = work(mapper.get());
    }
    if (SUCCEEDED(initialised)) CoUninitialize();
    return hr;
}

}  // namespace

HRESULT Register() {
    HRESULT hr = RegisterClasses();
    if (SUCCEEDED(hr)) hr = WithMapper(RegisterConverter);
    if (SUCCEEDED(hr)) hr = RecordDevices(Scenario().devices);
    return hr;
}

HRESULT Unregister() {
    RecordDevices({});
    WithMapper([](IFilterMapper2* mapper) {
        return mapper->UnregisterFilter(&CLSID_LegacyAmFilterCategory, nullptr, kClsidColorConverter);
    });
    for (const ClassEntry& entry : kClasses)
        RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey(entry.classId).c_str());
    return S_OK;
}

}  // namespace kit
