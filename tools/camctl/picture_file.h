// Judging a picture's name before it is taken and its file afterwards.
#pragma once

#include <string>

namespace camctl {

// Throws a ToolError when the extension is none that the library writes, or the folder does not exist.
void CheckPictureName(const std::wstring& file);

// What stood under the name before the picture was taken.
struct FileMark {
    bool exists = false;
    unsigned long long writeTime = 0;
    unsigned long long size = 0;
};
FileMark MarkFile(const std::wstring& file);

struct PictureFile {
    std::string format;  // "BMP", "JPEG", "PNG" or "TIFF", as the file's own header says
    unsigned long long bytes = 0;
};

// Throws a ToolError with ExitCode::NoValidFile unless the file exists, is newer than `before` and is
// complete, with the header that its extension asks for. With `bmpWhateverExtension` (the imager camera) the
// header must be a BMP file's.
PictureFile CheckPicture(const std::wstring& file, const FileMark& before, bool bmpWhateverExtension);

}  // namespace camctl
