// The program's own filters as it uses them itself: every call that it makes on one is seen. The graph has
// the filters as they are.
#pragma once

#include <set>

#include "emulator/com_object.h"

namespace ce {

// What the program gets in place of the filter's interface, whose reference it takes over. `name`: of the
// filter in the log.
u32 WatchFilter(Process& process, const std::string& name, const Guid& iid, u32 pointer);
// The filter's own interface where the program passes a watched one.
u32 Unwatched(Process& process, u32 pointer);

// The calls that are seen so, as "ISampleGrabberControl::SetCallback".
std::set<std::string> WatchedCalls();
// Whether a call, perhaps with its arguments, is one on the camera itself.
bool IsCameraCall(const std::string& call);

}  // namespace ce
