// The writers of BMP, JPEG and PNG files.
#pragma once

#include "still/still_picture.h"

namespace cam::still {

// Each writes a prepared RGB565 frame of |height| rows, `stride` bytes apart, to the picture's file, which
// replaces one of that name. Results: 0; 0x8007000E: no memory; 0x80000000 plus the last error: the file
// could not be created or written, or the library refused the picture. After a failure no file is left. One
// picture at a time for each file name; any thread.

// The frame's own pixels behind a header with colour masks. Fills in the file size and the info header's
// width and height.
DWORD WriteBmp(StillPicture& picture, const BYTE* frame);

DWORD WriteJpeg(const StillPicture& picture, const BYTE* frame);

DWORD WritePng(const StillPicture& picture, const BYTE* frame);

}  // namespace cam::still
