#include "base/picture_format.h"

#include "base/file_extension.h"

namespace cam {

PictureFormat PictureFormatOf(const wchar_t* fileName) {
    constexpr struct {
        const wchar_t* extension;
        PictureFormat format;
    } kFormats[] = {{L".BMP", PictureFormat::Bmp},
                    {L".JPG", PictureFormat::Jpeg},
                    {L".PNG", PictureFormat::Png},
                    {L".TIF", PictureFormat::Tiff}};
    if (!fileName) return PictureFormat::None;
    const wchar_t* const extension = FileExtension(fileName);
    for (const auto& known : kFormats) {
        if (SameExtension(extension, known.extension)) return known.format;
    }
    return PictureFormat::None;
}

}  // namespace cam
