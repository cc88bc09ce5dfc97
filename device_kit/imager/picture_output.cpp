#include "picture_output.h"

#include "base/unique_resource.h"

namespace imvoxa {
namespace {

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

}  // namespace

DWORD SaveBmp(const GreyPicture& picture, const wchar_t* file) {
    cam::UniqueFileHandle handle(
        CreateFileW(file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle) return GetLastError();
    const DWORD error = WriteBmp(handle.get(), picture) ? 0 : GetLastError();
    handle.reset();
    if (error != 0) DeleteFileW(file);
    return error;
}

DWORD DrawPicture(const GreyPicture& picture, HDC context, const RECT& target) {
    const GreyBitmapInfo info = BitmapInfo(picture, -picture.height);
    StretchByDroppingPixels(context);
    const int drawn =
        StretchDIBits(context, target.left, target.top, target.right - target.left,
                      target.bottom - target.top, 0, 0, picture.width, picture.height, picture.pixels.data(),
                      reinterpret_cast<const BITMAPINFO*>(&info), DIB_RGB_COLORS, SRCCOPY);
    return drawn == 0 || drawn == static_cast<int>(GDI_ERROR) ? ERROR_GEN_FAILURE : 0;
}

}  // namespace imvoxa
