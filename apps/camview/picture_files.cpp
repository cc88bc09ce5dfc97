#include "picture_files.h"

#include <wincodec.h>

#include <algorithm>
#include <cstring>

#include "base/com_ptr.h"
#include "model/fit.h"

namespace camview {

namespace {

constexpr unsigned long long kFull = 256 * 1024ULL;  // bytes; a disk with less is full

HBITMAP MakeBitmap(IWICImagingFactory& factory, IWICBitmapSource& picture, SIZE box) {
    UINT width = 0, height = 0;
    if (FAILED(picture.GetSize(&width, &height)) || width == 0 || height == 0) return nullptr;
    const RECT place = PlacePicture({0, 0, box.cx, box.cy},
                                    {static_cast<LONG>(width), static_cast<LONG>(height)}, Zoom::Fit);
    const UINT placeWidth = static_cast<UINT>(std::max(1L, place.right - place.left));
    const UINT placeHeight = static_cast<UINT>(std::max(1L, place.bottom - place.top));
    cam::ComPtr<IWICFormatConverter> converter;
    cam::ComPtr<IWICBitmapScaler> scaler;
    if (FAILED(factory.CreateFormatConverter(converter.put())) ||
        FAILED(converter->Initialize(&picture, GUID_WICPixelFormat32bppBGR, WICBitmapDitherTypeNone, nullptr,
                                     0, WICBitmapPaletteTypeCustom)) ||
        FAILED(factory.CreateBitmapScaler(scaler.put())) ||
        FAILED(scaler->Initialize(converter.get(), placeWidth, placeHeight, WICBitmapInterpolationModeFant)))
        return nullptr;
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = box.cx;
    info.bmiHeader.biHeight = -box.cy;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bitmap) return nullptr;
    auto* const pixels = static_cast<BYTE*>(bits);
    constexpr UINT kPixel = 4;
    const UINT stride = static_cast<UINT>(box.cx) * kPixel;
    const size_t bytes = size_t{stride} * static_cast<size_t>(box.cy);
    memset(pixels, 0xF0, bytes);
    const size_t first =
        size_t{stride} * static_cast<size_t>(place.top) + kPixel * static_cast<size_t>(place.left);
    if (FAILED(scaler->CopyPixels(nullptr, stride, static_cast<UINT>(bytes - first), pixels + first))) {
        DeleteObject(bitmap);
        return nullptr;
    }
    return bitmap;
}

HBITMAP MakeThumbnail(const std::wstring& file, SIZE box) {
    cam::ComPtr<IWICImagingFactory> factory;
    cam::ComPtr<IWICBitmapDecoder> decoder;
    cam::ComPtr<IWICBitmapFrameDecode> frame;
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory, factory.putVoid())) ||
        FAILED(factory->CreateDecoderFromFilename(file.c_str(), nullptr, GENERIC_READ,
                                                  WICDecodeMetadataCacheOnDemand, decoder.put())) ||
        FAILED(decoder->GetFrame(0, frame.put())))
        return nullptr;
    return MakeBitmap(*factory.get(), *frame.get(), box);
}

bool IsDiskFull(const std::wstring& file) {
    const size_t separator = file.find_last_of(L"\\/");
    const std::wstring folder = separator == std::wstring::npos ? L"." : file.substr(0, separator + 1);
    ULARGE_INTEGER available;
    return GetDiskFreeSpaceExW(folder.c_str(), &available, nullptr, nullptr) && available.QuadPart < kFull;
}

}  // namespace

PictureFiled LookAtPicture(const std::wstring& file, SIZE thumbnail) {
    PictureFiled filed;
    filed.file = file;
    WIN32_FILE_ATTRIBUTE_DATA data;
    filed.there = GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data) && data.nFileSizeLow > 0;
    if (!filed.there) {
        filed.diskFull = IsDiskFull(file);
        return filed;
    }
    filed.bytes = static_cast<unsigned long long>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
    FILETIME local;
    FileTimeToLocalFileTime(&data.ftLastWriteTime, &local);
    FileTimeToSystemTime(&local, &filed.time);
    filed.thumbnail = MakeThumbnail(file, thumbnail);
    return filed;
}

}  // namespace camview
