// The formats in which still pictures are written.
#pragma once

namespace cam {

enum class PictureFormat { None, Bmp, Jpeg, Png, Tiff };

// The format that a file's name asks for by its extension: .bmp, .jpg, .png or .tif in any case. None for
// every other name, and for null.
PictureFormat PictureFormatOf(const wchar_t* fileName);

}  // namespace cam
