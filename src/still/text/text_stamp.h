// Lines of text drawn into a frame.
#pragma once

#include "base/frame.h"
#include "still/still_picture.h"

namespace cam::still {

// Stamps the picture's overlay text, which must be there, into its prepared RGB565 frame, with the picture's
// font, colours and position, and consumes it.
//
// 0; E_INVALIDARG: no such position; 87: no surface could be made for a line. After a failure the frame keeps
// the lines drawn so far, and the text stays set for the next picture, cut after the line that failed.
// Touches nothing outside the frame. Runs on whichever thread calls; the font is the caller's and must not be
// selected elsewhere.
HRESULT StampText(StillPicture& picture, const Frame& frame);

}  // namespace cam::still
