// The application's frame callbacks. They belong to the process, not to a camera, and outlive it.
#pragma once

#include <ocellus/cam.h>

namespace cam {

// What was registered last, or null. Any thread.
camFrameCallback PreviewCallback();
camFrameCallback StillImageCallback();

}  // namespace cam
