// The writers of picture files, one for each format.
#pragma once

#include "base/frame.h"
#include "still/still_picture.h"

namespace cam::still {

// Each writes a prepared frame, of which it reads the pixels only, to the picture's file, which replaces one
// of that name. Results of BMP, JPEG and PNG: 0; 0x8007000E: no memory; 0x80000000 plus the last error: the
// file could not be created or written, or the library refused the picture. After a failure no file is left.
// One picture at a time for each file name; any thread.

// The frame's own bytes after a header with colour masks.
DWORD WriteBmp(const StillPicture& picture, const ConstFrame& frame);

DWORD WriteJpeg(const StillPicture& picture, const ConstFrame& frame);

DWORD WritePng(const StillPicture& picture, const ConstFrame& frame);

// Bilevel Group 4: a word of 0 is black, any other white. The file is written as a whole (a large one in
// pieces), with results of its own: 0x8007000E: no memory for the output; 11: the picture cannot be encoded;
// 29: not all of it was written, which is also what a file that cannot be created gives. Before the file is
// touched (0x8007000E and 11) an existing one stays.
DWORD WriteTiff(const StillPicture& picture, const ConstFrame& frame);

}  // namespace cam::still
