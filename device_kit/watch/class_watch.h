// Class objects of the kit in place of the system's, so that what a camera creates is watched.
#pragma once

#include <windows.h>

namespace kit::watch {

// From now on, in the multithreaded apartment, the classes of a camera's graph give watched objects. The
// caller's thread must be in that apartment. Does nothing when they do already. A class that is not
// registered stays unknown.
HRESULT WatchClasses();
// The system's own class objects again. Objects that are watched stay so.
void UnwatchClasses();

}  // namespace kit::watch
