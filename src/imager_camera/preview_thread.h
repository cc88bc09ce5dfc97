// The preview thread of the imager camera.
#pragma once

#include <windows.h>

namespace cam {

// Owns the scan engine: opens it, grabs a frame a pass, hands it to the preview callback and draws it into
// the preview window, and takes a still when snapEvent was set. `session` is an ImagerSession*; one of its
// references is the thread's, which gives it back. Null ends the thread at once. The exit code is always 0.
DWORD WINAPI ImagerPreviewThread(void* session);

}  // namespace cam
