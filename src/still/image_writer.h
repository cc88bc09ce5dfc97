// The per-picture work of the still image sink, all of it in the sample's own buffer.
#pragma once

#include "base/frame.h"
#include "base/picture_format.h"
#include "still/still_picture.h"

namespace cam::still {

// What a received frame holds, by the format codes that cameras and filters agree on.
enum class PixelFormat : LONG { None = 0, Yuy2 = 2, Rgb565 = 4 };

class ImageWriter {
  public:
    // `asked` is not owned. The frame's bytes hold |height| rows of its stride, and of whole pairs of pixels
    // (4 bytes each) should the stride be shorter. The width is not negative.
    ImageWriter(StillPicture& asked, const Frame& received, PixelFormat pixelFormat);

    // Turns the frame into RGB565 (for a TIFF picture into the words 0x0000 and 0xFFFF) and stamps the
    // overlay text.
    void Prepare();

    // Encodes the prepared frame into the picture's file, by the extension of its name; 0 and nothing done
    // without a name. Results are the encoders': 0, or a Win32 number or HRESULT, and then no file is left.
    DWORD Store();

  private:
    void Convert();
    void MakeBlackAndWhite();

    StillPicture& picture;
    const Frame frame;
    const PixelFormat pixels;
    const PictureFormat format;  // of the file
};

}  // namespace cam::still
