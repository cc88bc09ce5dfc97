#include "media_format.h"

#include <algorithm>

namespace kit {

const GUID& Subtype(Layout layout) {
    switch (layout) {
        case Layout::Rgb565:
            return MEDIASUBTYPE_RGB565;
        case Layout::Yuy2:
            return MEDIASUBTYPE_YUY2;
        case Layout::Rgb555:
            break;
    }
    return MEDIASUBTYPE_RGB555;
}

bool FillMediaType(const Format& format, int framesPerSecond, cam::filter_base::MediaType& type) {
    constexpr REFERENCE_TIME kSecond = 10000000;
    constexpr DWORD kBitsPerByte = 8;
    auto* block = reinterpret_cast<FormatBlock*>(type.AllocateFormat(kFormatBlockSize));
    if (!block) return false;
    const auto sampleSize = static_cast<DWORD>(format.SampleSize());
    block->header.AvgTimePerFrame = kSecond / framesPerSecond;
    block->header.dwBitRate = sampleSize * kBitsPerByte * static_cast<DWORD>(framesPerSecond);
    block->header.rcSource = {0, 0, format.width, format.height};
    block->header.rcTarget = block->header.rcSource;
    BITMAPINFOHEADER& bitmap = block->header.bmiHeader;
    bitmap.biSize = sizeof bitmap;
    bitmap.biWidth = format.width;
    bitmap.biHeight = format.topDown ? -format.height : format.height;
    bitmap.biPlanes = 1;
    bitmap.biBitCount = 16;
    bitmap.biSizeImage = sampleSize;
    switch (format.layout) {
        case Layout::Rgb565:
            bitmap.biCompression = BI_BITFIELDS;
            block->masks[0] = 0xF800;
            block->masks[1] = 0x07E0;
            block->masks[2] = 0x001F;
            break;
        case Layout::Yuy2:
            bitmap.biCompression = MAKEFOURCC('Y', 'U', 'Y', '2');
            break;
        case Layout::Rgb555:
            bitmap.biCompression = BI_RGB;
            break;
    }
    type.majortype = MEDIATYPE_Video;
    type.subtype = Subtype(format.layout);
    type.bFixedSizeSamples = TRUE;
    type.bTemporalCompression = FALSE;
    type.lSampleSize = sampleSize;
    type.formattype = FORMAT_VideoInfo;
    return true;
}

bool Matches(const Format& format, const AM_MEDIA_TYPE& type) {
    if (type.majortype != MEDIATYPE_Video || type.subtype != Subtype(format.layout) ||
        type.formattype != FORMAT_VideoInfo || !type.pbFormat || type.cbFormat < sizeof(VIDEOINFOHEADER))
        return false;
    const BITMAPINFOHEADER& bitmap = reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader;
    return bitmap.biWidth == format.width &&
           bitmap.biHeight == (format.topDown ? -format.height : format.height);
}

HRESULT RequestBuffers(const Format& format, IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    request->cBuffers = std::max(request->cBuffers, 1L);
    request->cbBuffer = std::max(request->cbBuffer, static_cast<long>(format.SampleSize()));
    ALLOCATOR_PROPERTIES actual = {};
    const HRESULT hr = allocator->SetProperties(request, &actual);
    if (FAILED(hr)) return hr;
    return actual.cBuffers >= 1 && actual.cbBuffer >= format.SampleSize() ? S_OK : E_FAIL;
}

}  // namespace kit
