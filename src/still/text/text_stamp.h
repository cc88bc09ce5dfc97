// Lines of text drawn into a frame.
#pragma once

#include "still/still_picture.h"

namespace cam::still {

// Stamps the picture's overlay text into its prepared RGB565 frame, with the picture's font, colours and
// position, and consumes it. Needs an overlay text and a rebuilt info header, whose width and height it uses
// for its own surfaces.
//
// 0; E_INVALIDARG: no such position; 87: no surface could be made for a line. After a failure the frame keeps
// the lines drawn so far, and the text stays set for the next picture, cut behind the line that failed.
// Touches nothing outside the frame. Runs on whichever thread calls; the font is the caller's and must not be
// selected elsewhere.
HRESULT StampText(StillPicture& picture, BYTE* frame);

}  // namespace cam::still
