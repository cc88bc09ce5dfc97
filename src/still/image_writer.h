// The per-picture work of the still image sink, all of it in the sample's own buffer.
#pragma once

#include "still/still_picture.h"

namespace cam::still {

class ImageWriter {
  public:
    // Neither is owned. `frame` holds |height| rows of `stride` bytes, and at least that many of whole pairs of
    // pixels (4 bytes each): a shorter stride makes rows overlap. The width is not negative.
    ImageWriter(StillPicture& picture, BYTE* frame) : picture_(picture), frame_(frame) {}

    // Turns the frame into RGB565 (for a TIFF picture into the words 0x0000 and 0xFFFF), rebuilds the
    // bitmap info header and stamps the overlay text.
    void Prepare();

    // Encodes the prepared frame into the picture's file, by the extension of its name; 0 and nothing done
    // without a name. Results are the encoders': 0, or a Win32 number or HRESULT, and then no file is left.
    DWORD Store();

  private:
    StillPicture& picture_;
    BYTE* frame_;
};

}  // namespace cam::still
