// UTF-16 and the host's UTF-8, and the formats of the C library.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "emulator/machine.h"

namespace ce {

// What is no valid text becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string FromUtf8(std::string_view text);
char16_t LowerCase(char16_t unit);  // of ASCII; the rest stays
std::u16string LowerCase(std::u16string text);

void WriteText(Machine& machine, u32 address, std::u16string_view text);  // with its end

// What printf and its like make of the format; `next` gives the arguments' words. A narrow format is passed
// with a byte in each unit, and so comes the result; `isWide` says which text %s means. Failure on a kind
// that the emulator does not know.
std::u16string Format(Machine& machine, std::u16string_view format, bool isWide,
                      const std::function<u32()>& next);

}  // namespace ce
