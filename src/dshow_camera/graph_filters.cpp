#include "dshow_camera/graph_filters.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "base/hresult.h"

namespace cam {
namespace {

constexpr int kCurrentFormat = -1;

// The size of a format block must be above this: a plain VIDEOINFOHEADER of a format without colour masks
// does not count.
constexpr ULONG kPlainVideoInfo = 88;

HRESULT GetCapability(IAMStreamConfig& config, int index, UniqueMediaType& type) {
    int count = 0;
    int size = 0;
    CAM_RETURN_IF_FAILED(config.GetNumberOfCapabilities(&count, &size));
    if (index >= count) return E_INVALIDARG;
    // Room for a whole record, also for a driver that tells less than it writes.
    const size_t room = std::max(static_cast<size_t>(size), sizeof(VIDEO_STREAM_CONFIG_CAPS));
    const std::unique_ptr<BYTE[]> capability(new (std::nothrow) BYTE[room]);
    if (!capability) return E_OUTOFMEMORY;
    return config.GetStreamCaps(index, type.put(), capability.get());
}

}  // namespace

HRESULT GraphFilters::FindStillConfig(ComPtr<IAMStreamConfig>& out) const {
    if (!graph.builder || !graph.captureFilter) return E_FAIL;
    return graph.builder->FindInterface(&PIN_CATEGORY_STILL, &MEDIATYPE_Video, graph.captureFilter.get(),
                                        __uuidof(IAMStreamConfig), out.putVoid());
}

void GraphFilters::CountStillFormats(int* count) const {
    ComPtr<IAMStreamConfig> config;
    int size = 0;
    if (SUCCEEDED(FindStillConfig(config))) config->GetNumberOfCapabilities(count, &size);
}

HRESULT GraphFilters::GetStillDimensions(long* height, long* width, int index) const {
    ComPtr<IAMStreamConfig> config;
    CAM_RETURN_IF_FAILED(FindStillConfig(config));
    UniqueMediaType type;
    CAM_RETURN_IF_FAILED(index == kCurrentFormat ? config->GetFormat(type.put())
                                                 : GetCapability(*config.get(), index, type));
    if (!type || type.get()->formattype != FORMAT_VideoInfo || type.get()->cbFormat <= kPlainVideoInfo ||
        !type.get()->pbFormat) {
        return E_UNEXPECTED;
    }
    const BITMAPINFOHEADER& bitmap =
        reinterpret_cast<const VIDEOINFOHEADER*>(type.get()->pbFormat)->bmiHeader;
    *height = labs(bitmap.biHeight);
    *width = bitmap.biWidth;
    return S_OK;
}

}  // namespace cam
