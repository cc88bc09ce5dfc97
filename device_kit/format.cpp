#include "format.h"

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

namespace {

using Word = std::uint16_t;

void PackRow555(const Pixel* in, int width, Word* out) {
    for (int x = 0; x < width; ++x)
        out[x] = static_cast<Word>((in[x] >> 9 & 0x7C00) | (in[x] >> 6 & 0x03E0) | (in[x] >> 3 & 0x001F));
}

void PackRow565(const Pixel* in, int width, Word* out) {
    for (int x = 0; x < width; ++x)
        out[x] = static_cast<Word>((in[x] >> 8 & 0xF800) | (in[x] >> 5 & 0x07E0) | (in[x] >> 3 & 0x001F));
}

// BT.601, studio range (luma 16 to 235).
BYTE Luma(Pixel pixel) {
    return static_cast<BYTE>(((66 * Red(pixel) + 129 * Green(pixel) + 25 * Blue(pixel) + 128) >> 8) + 16);
}

// Two pixels share their chroma; the last pixel of an odd row is its own neighbour.
void PackRowYuy2(const Pixel* in, int width, BYTE* out) {
    for (int x = 0; x < width; x += 2, out += 4) {
        const Pixel left = in[x], right = x + 1 < width ? in[x + 1] : in[x];
        const int red = Red(left) + Red(right), green = Green(left) + Green(right),
                  blue = Blue(left) + Blue(right);
        out[0] = Luma(left);
        out[1] = static_cast<BYTE>(((-38 * red - 74 * green + 112 * blue + 256) >> 9) + 128);
        out[2] = Luma(right);
        out[3] = static_cast<BYTE>(((112 * red - 94 * green - 18 * blue + 256) >> 9) + 128);
    }
}

}  // namespace

void Pack(const Picture& picture, const Format& format, BYTE* sample) {
    const cam::Frame frame = {{sample, static_cast<std::size_t>(format.SampleSize())},
                              format.width,
                              format.topDown ? -format.height : format.height,
                              static_cast<DWORD>(format.Stride())};
    for (int y = 0; y < format.height; ++y) {
        BYTE* out = frame.Row(static_cast<DWORD>(y)).data();
        const Pixel* in = picture.Row(y);
        if (format.layout == Layout::Yuy2) {
            PackRowYuy2(in, format.width, out);
            continue;
        }
        auto* words = reinterpret_cast<Word*>(out);
        if (format.layout == Layout::Rgb555) {
            PackRow555(in, format.width, words);
        } else {
            PackRow565(in, format.width, words);
        }
        if (format.width % 2 != 0) words[format.width] = 0;
    }
}

}  // namespace kit
