// The operations of the imager library. Knows nothing of any operating system.
#pragma once

#include <optional>
#include <string>

namespace imvoxa {

// The operation of that name or ordinal, perhaps with arguments after a space, as it is noted: "Acquire 3"
// for "81 3". Nothing: there is none such.
std::optional<std::string> FindOperation(const std::string& call);

}  // namespace imvoxa
