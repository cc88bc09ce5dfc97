// What the kit sends as a webcam: formats, media types, samples.
#pragma once

#include "filter_base/media_type.h"
#include "scene/picture.h"
#include "webcam/webcam_habits.h"

namespace kit {

// Replaces `type`; with a format block as short as webcams have it. False: out of memory.
bool FillMediaType(const WebcamFormat& format, cam::filter_base::MediaType& type);
bool Matches(const WebcamFormat& format, const AM_MEDIA_TYPE& type);

// Fills in a sample of SampleSize() bytes and says how many it has. RGB has the lowest row first, all others
// the topmost.
int Pack(const Picture& picture, const WebcamFormat& format, const WebcamHabits& habits, BYTE* sample);

}  // namespace kit
