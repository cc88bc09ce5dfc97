// Bilevel TIFF files on disk.
#pragma once

#include <windows.h>

#include <stdint.h>

namespace cam::tiff {

// Writes a black-and-white frame as a bilevel Group 4 TIFF file, which replaces one of that name.
//
// `pixels`: as for EncodeBilevelTiff, |height| rows of 16-bit words; read only. Height above 0: bottom-up.
// Results: 0; 0x8007000E when the output buffer cannot be created; 11 when encoding fails; 0x80000000 plus the last error when the
// file's handle is 0; 29 when fewer bytes were written than assembled, which is also what a file that cannot be created gives. After
// any failure past creation no file of that name is left; before it, an existing file stays. Any thread.
DWORD SaveTiff(const wchar_t* fileName, const uint8_t* pixels, LONG width, LONG height);

}  // namespace cam::tiff
