#include "picture_output.h"

#include <initguid.h>

#include <wincodec.h>

#include "base/com_ptr.h"

namespace imvoxa {
namespace {

using cam::ComPtr;

constexpr int kGreys = 256;
constexpr WORD kBmpMagic = 0x4D42;  // "BM"

struct GreyBitmapInfo {
    BITMAPINFOHEADER header;
    RGBQUAD palette[kGreys];
};

// `rows` is negative for rows from the top down.
GreyBitmapInfo BitmapInfo(const GreyPicture& picture, LONG rows) {
    GreyBitmapInfo info = {};
    info.header.biSize = sizeof info.header;
    info.header.biWidth = picture.width;
    info.header.biHeight = rows;
    info.header.biPlanes = 1;
    info.header.biBitCount = 8;
    info.header.biCompression = BI_RGB;
    info.header.biSizeImage = static_cast<DWORD>(picture.pixels.size());
    info.header.biClrUsed = kGreys;
    for (int grey = 0; grey < kGreys; ++grey) {
        const BYTE level = static_cast<BYTE>(grey);
        info.palette[grey] = {level, level, level, 0};
    }
    return info;
}

bool Write(HANDLE file, const void* bytes, DWORD size) {
    DWORD written = 0;
    return WriteFile(file, bytes, size, &written, nullptr) && written == size;
}

bool WriteBmp(HANDLE file, const GreyPicture& picture) {
    const GreyBitmapInfo info = BitmapInfo(picture, picture.height);
    BITMAPFILEHEADER header = {};
    header.bfType = kBmpMagic;
    header.bfOffBits = sizeof header + sizeof info;
    header.bfSize = header.bfOffBits + info.header.biSizeImage;
    if (!Write(file, &header, sizeof header) || !Write(file, &info, sizeof info)) return false;
    const DWORD stride = static_cast<DWORD>(picture.width);
    for (int y = picture.height - 1; y >= 0; --y) {
        if (!Write(file, picture.pixels.data() + static_cast<std::size_t>(y) * stride, stride)) return false;
    }
    return true;
}

// COM for the thread that saves, whatever apartment it may be in already.
class ComUse {
  public:
    ComUse() : entered(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~ComUse() {
        if (entered) CoUninitialize();
    }
    ComUse(const ComUse&) = delete;
    ComUse& operator=(const ComUse&) = delete;

  private:
    bool entered;
};

HRESULT SetQuality(IPropertyBag2* options, LONG quality) {
    wchar_t name[] = L"ImageQuality";
    PROPBAG2 option = {};
    option.pstrName = name;
    VARIANT value = {};
    value.vt = VT_R4;
    value.fltVal = static_cast<float>(quality < 0 ? 0 : quality > 100 ? 100 : quality) / 100.0F;
    return options->Write(1, &option, &value);
}

HRESULT Encode(const GreyPicture& picture, const wchar_t* file, const GUID& container, const LONG* quality) {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICStream> stream;
    ComPtr<IWICBitmapEncoder> encoder;
    ComPtr<IWICBitmapFrameEncode> frame;
    ComPtr<IPropertyBag2> options;
    WICPixelFormatGUID format = GUID_WICPixelFormat8bppGray;
    const UINT width = static_cast<UINT>(picture.width);
    const UINT height = static_cast<UINT>(picture.height);
    HRESULT result = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      __uuidof(IWICImagingFactory), factory.putVoid());
    if (SUCCEEDED(result)) result = factory->CreateStream(stream.put());
    if (SUCCEEDED(result)) result = stream->InitializeFromFilename(file, GENERIC_WRITE);
    if (SUCCEEDED(result)) result = factory->CreateEncoder(container, nullptr, encoder.put());
    if (SUCCEEDED(result)) result = encoder->Initialize(stream.get(), WICBitmapEncoderNoCache);
    if (SUCCEEDED(result)) result = encoder->CreateNewFrame(frame.put(), options.put());
    if (SUCCEEDED(result) && quality) result = SetQuality(options.get(), *quality);
    if (SUCCEEDED(result)) result = frame->Initialize(options.get());
    if (SUCCEEDED(result)) result = frame->SetSize(width, height);
    if (SUCCEEDED(result)) result = frame->SetPixelFormat(&format);
    if (SUCCEEDED(result)) {
        result = frame->WritePixels(height, width, static_cast<UINT>(picture.pixels.size()),
                                    const_cast<BYTE*>(picture.pixels.data()));
    }
    if (SUCCEEDED(result)) result = frame->Commit();
    if (SUCCEEDED(result)) result = encoder->Commit();
    return result;
}

DWORD SaveEncoded(const GreyPicture& picture, const wchar_t* file, const GUID& container,
                  const LONG* quality) {
    ComUse com;
    const HRESULT result = Encode(picture, file, container, quality);
    if (FAILED(result)) DeleteFileW(file);
    return FAILED(result) ? static_cast<DWORD>(result) : 0;
}

}  // namespace

DWORD SaveBmp(const GreyPicture& picture, const wchar_t* file) {
    const HANDLE handle =
        CreateFileW(file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return GetLastError();
    const DWORD error = WriteBmp(handle, picture) ? 0 : GetLastError();
    CloseHandle(handle);
    if (error != 0) DeleteFileW(file);
    return error;
}

DWORD SaveJpeg(const GreyPicture& picture, const wchar_t* file, LONG quality) {
    return SaveEncoded(picture, file, GUID_ContainerFormatJpeg, &quality);
}

DWORD SavePng(const GreyPicture& picture, const wchar_t* file) {
    return SaveEncoded(picture, file, GUID_ContainerFormatPng, nullptr);
}

DWORD DrawPicture(const GreyPicture& picture, HDC context, const RECT& target) {
    const GreyBitmapInfo info = BitmapInfo(picture, -picture.height);
    SetStretchBltMode(context, COLORONCOLOR);
    const int drawn =
        StretchDIBits(context, target.left, target.top, target.right - target.left,
                      target.bottom - target.top, 0, 0, picture.width, picture.height, picture.pixels.data(),
                      reinterpret_cast<const BITMAPINFO*>(&info), DIB_RGB_COLORS, SRCCOPY);
    return drawn == 0 || drawn == static_cast<int>(GDI_ERROR) ? ERROR_GEN_FAILURE : 0;
}

}  // namespace imvoxa
