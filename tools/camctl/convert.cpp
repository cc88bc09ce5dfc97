// Any picture file to bilevel TIFF, through the same code that takes pictures.
#include <wincodec.h>

#include <memory>
#include <new>

#include "base/com_ptr.h"
#include "base/picture_format.h"
#include "commands.h"
#include "picture_file.h"
#include "still/image_writer.h"
#include "text.h"
#include "tiff/encode_g4.h"

namespace camctl {

namespace {

struct GreyPicture {
    UINT width = 0;
    UINT height = 0;
    std::vector<BYTE> pixels;  // one byte a pixel, rows from the top without padding
};

void RequireDecoded(HRESULT result, const std::string& file) {
    if (SUCCEEDED(result)) return;
    throw ToolError{ExitCode::InvalidArgument, "'" + file + "' cannot be read as a picture",
                    "give a BMP, JPEG, PNG, GIF or TIFF file that exists", result};
}

HRESULT CopyGrey(IWICBitmapSource* source, GreyPicture& picture) {
    cam::ComPtr<IWICBitmapSource> grey;
    const HRESULT result = WICConvertBitmapSource(GUID_WICPixelFormat8bppGray, source, grey.put());
    if (FAILED(result)) return result;
    return grey->CopyPixels(nullptr, picture.width, static_cast<UINT>(picture.pixels.size()),
                            picture.pixels.data());
}

GreyPicture Decode(const std::string& file) {
    cam::ComPtr<IWICImagingFactory> factory;
    RequireDecoded(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                    __uuidof(IWICImagingFactory), factory.putVoid()),
                   file);
    cam::ComPtr<IWICBitmapDecoder> decoder;
    RequireDecoded(factory->CreateDecoderFromFilename(ToWide(file).c_str(), nullptr, GENERIC_READ,
                                                      WICDecodeMetadataCacheOnDemand, decoder.put()),
                   file);
    cam::ComPtr<IWICBitmapFrameDecode> frame;
    RequireDecoded(decoder->GetFrame(0, frame.put()), file);
    GreyPicture picture;
    RequireDecoded(frame->GetSize(&picture.width, &picture.height), file);
    // More white pixels do not fit the threshold's 32-bit sums.
    constexpr UINT kMaxPixels = 0xFFFFFFFF / 255;
    if (picture.width > cam::tiff::kG4MaxWidth ||
        static_cast<unsigned long long>(picture.width) * picture.height > kMaxPixels) {
        throw ToolError{ExitCode::InvalidArgument,
                        "'" + file + "' has " + std::to_string(picture.width) + "x" +
                            std::to_string(picture.height) + " pixels",
                        "scale it down: at most " + std::to_string(cam::tiff::kG4MaxWidth) +
                            " pixels wide and " + std::to_string(kMaxPixels) + " pixels in all"};
    }
    picture.pixels.resize(static_cast<size_t>(picture.width) * picture.height);
    if (FAILED(CopyGrey(frame.get(), picture))) {
        // Not every system makes grey of a palette or of 16 bits a channel in one step.
        cam::ComPtr<IWICBitmapSource> colors;
        RequireDecoded(WICConvertBitmapSource(GUID_WICPixelFormat32bppBGRA, frame.get(), colors.put()), file);
        RequireDecoded(CopyGrey(colors.get(), picture), file);
    }
    return picture;
}

// As a camera would deliver it: YUY2 without colour. Stored bottom-up, since the threshold refuses top-down
// frames.
cam::Frame MakeCameraFrame(const GreyPicture& picture, std::vector<BYTE>& bytes) {
    constexpr BYTE kNoColor = 128;
    cam::Frame frame = {{},
                        static_cast<LONG>(picture.width),
                        static_cast<LONG>(picture.height),
                        static_cast<UINT>(cam::RowStride(picture.width))};
    bytes.assign(frame.size(), kNoColor);
    frame.bytes = bytes;
    for (UINT y = 0; y < picture.height; ++y) {
        const auto row = frame.Row(y);
        const BYTE* source = &picture.pixels[static_cast<size_t>(y) * picture.width];
        for (size_t x = 0; x < picture.width; ++x) row[2 * x] = source[x];
    }
    return frame;
}

}  // namespace

void Convert(const std::string& in, const std::string& out, int mode, bool asJson) {
    const std::wstring target = ToWide(out);
    CheckPictureName(target);
    if (cam::PictureFormatOf(target.c_str()) != cam::PictureFormat::Tiff) {
        throw ToolError{ExitCode::InvalidArgument, "'" + out + "' is not named .tif",
                        "bilevel TIFF is all this writes: name it .tif"};
    }
    const GreyPicture grey = Decode(in);
    const FileMark before = MarkFile(target);
    cam::still::StillPicture picture;
    picture.qualityLevel = static_cast<BYTE>(mode);
    picture.fileName = std::make_unique<wchar_t[]>(target.size() + 1);
    target.copy(picture.fileName.get(), target.size());
    std::vector<BYTE> bytes;
    const cam::Frame frame = MakeCameraFrame(grey, bytes);
    const double start = Seconds();
    cam::still::ImageWriter writer(picture, frame, cam::still::PixelFormat::Yuy2);
    writer.Prepare();
    const DWORD result = writer.Store();
    const double seconds = Seconds() - start;
    if (result != 0) {
        throw ToolError{ExitCode::NoValidFile,
                        "'" + out + "' could not be written (code " + std::to_string(result) + ")",
                        "check that the disk has room and that the file and its folder may be written"};
    }
    const PictureFile file = CheckPicture(target, before, false);
    char line[120];
    snprintf(line, sizeof line, ": %ux%u, %llu bytes, %.1f ms\n", grey.width, grey.height, file.bytes,
             seconds * 1000);
    PrintResult(asJson,
                {{"ok", true},
                 {"file", out},
                 {"width", grey.width},
                 {"height", grey.height},
                 {"bytes", file.bytes},
                 {"milliseconds", seconds * 1000}},
                out + line);
}

}  // namespace camctl
