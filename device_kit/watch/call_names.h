// Which calls the kit can see.
#pragma once

#include <string_view>

namespace kit {

// Whether a scenario may name this call: "Interface::Method", perhaps with a space and an argument after it.
bool IsKnownCall(std::wstring_view call);

// Whether it is one on the graph, its helpers or other filters than the camera, so that these must be watched
// to see it.
bool IsGraphCall(std::wstring_view call);

}  // namespace kit
