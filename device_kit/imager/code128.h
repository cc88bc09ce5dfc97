// The linear barcode Code 128 (ISO/IEC 15417), code set B.
#pragma once

#include <string>
#include <string_view>

namespace imvoxa {

// The widths of bars and spaces in modules, 1 to 4, in turn and beginning with a bar, from the start to the
// stop character; no quiet zones. `text` holds printable ASCII characters.
std::string Code128(std::string_view text);

// Modules in all that the widths take.
int ModuleCount(std::string_view widths);

}  // namespace imvoxa
