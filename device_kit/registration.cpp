#include "registration.h"

#include <strmif.h>
#include <uuids.h>

#include "base/com_ptr.h"
#include "color_converter.h"
#include "kit.h"
#include "webcam/webcam_filter.h"

namespace kit {
namespace {

// High enough for intelligent connection to try the converter first.
constexpr DWORD kConverterMerit = 0x00600000;

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
    cam::ComPtr<IMoniker> moniker;  // handed out, not used
    return mapper->RegisterFilter(kClsidColorConverter, kConverterName, moniker.put(),
                                  &CLSID_LegacyAmFilterCategory, nullptr, &filter);
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

HRESULT RegisterBesides() {
    const HRESULT hr = WithMapper(RegisterConverter);
    return SUCCEEDED(hr) ? RecordDevices(Scenario().devices) : hr;
}

void UnregisterBesides() {
    RecordDevices({});
    RecordWebcams({});
    WithMapper([](IFilterMapper2* mapper) {
        return mapper->UnregisterFilter(&CLSID_LegacyAmFilterCategory, nullptr, kClsidColorConverter);
    });
}

}  // namespace kit
