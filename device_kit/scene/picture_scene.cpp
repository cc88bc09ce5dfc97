// A picture file, decoded by the system's imaging component.
#include "scene/scene.h"

#include <windows.h>
#include <wincodec.h>

#include "base/com_ptr.h"

namespace kit {
namespace {

class PictureScene final : public Scene {
  public:
    explicit PictureScene(Picture&& decoded) : original(std::move(decoded)) {}

    const Picture& Frame(unsigned, int width, int height) override {
        if (width != scaled.width || height != scaled.height) {
            scaled.Resize(width, height);
            Scale(original, scaled);
        }
        return scaled;
    }

  private:
    Picture original;
    Picture scaled;
};

HRESULT Decode(const std::wstring& path, Picture& picture) {
    cam::ComPtr<IWICImagingFactory> factory;
    HRESULT hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_IWICImagingFactory, factory.putVoid());
    cam::ComPtr<IWICBitmapDecoder> decoder;
    if (SUCCEEDED(hr))
        hr = factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                WICDecodeMetadataCacheOnDemand, decoder.put());
    cam::ComPtr<IWICBitmapFrameDecode> frame;
    if (SUCCEEDED(hr)) hr = decoder->GetFrame(0, frame.put());
    cam::ComPtr<IWICFormatConverter> converter;
    if (SUCCEEDED(hr)) hr = factory->CreateFormatConverter(converter.put());
    if (SUCCEEDED(hr))
        hr = converter->Initialize(frame.get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone,
                                   nullptr, 0, WICBitmapPaletteTypeCustom);
    UINT width = 0, height = 0;
    if (SUCCEEDED(hr)) hr = converter->GetSize(&width, &height);
    constexpr UINT kMaxSide = 16384;
    if (SUCCEEDED(hr) && (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide))
        hr = E_INVALIDARG;
    if (FAILED(hr)) return hr;
    picture.Resize(static_cast<int>(width), static_cast<int>(height));
    return converter->CopyPixels(nullptr, width * 4, width * height * 4,
                                 reinterpret_cast<BYTE*>(picture.pixels.data()));
}

}  // namespace

std::unique_ptr<Scene> OpenPicture(const std::wstring& path, std::string& error) {
    Picture original;
    if (FAILED(Decode(path, original))) {
        error = "cannot be decoded as a picture; give an existing BMP, JPEG, PNG, GIF or TIFF file";
        return nullptr;
    }
    return std::make_unique<PictureScene>(std::move(original));
}

}  // namespace kit
