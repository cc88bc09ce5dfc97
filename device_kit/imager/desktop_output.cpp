// What the desktop's imaging component writes, and its ways to draw.
#include "picture_output.h"

#include <initguid.h>

#include <wincodec.h>

#include "base/com_ptr.h"

namespace imvoxa {
namespace {

using cam::ComPtr;

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

DWORD SaveJpeg(const GreyPicture& picture, const wchar_t* file, LONG quality) {
    return SaveEncoded(picture, file, GUID_ContainerFormatJpeg, &quality);
}

DWORD SavePng(const GreyPicture& picture, const wchar_t* file) {
    return SaveEncoded(picture, file, GUID_ContainerFormatPng, nullptr);
}

void StretchByDroppingPixels(HDC context) {
    SetStretchBltMode(context, COLORONCOLOR);
}

}  // namespace imvoxa
