// The prefix codes of deflate (RFC 1951, section 3.2.2): canonical, and of limited length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace cam::still::deflate {

struct Code {
    std::uint16_t bits = 0;   // as they are written, the first one lowest
    std::uint8_t length = 0;  // 0: the symbol has no code
};

constexpr std::size_t kMaxSymbols = 286;

// Gives every symbol that occurs a code of at most `maxLength` bits, the others none; `codes` is as long as
// `counts`, at most kMaxSymbols, and the counts' sum fits 23 bits. The code is complete, as decoders want it:
// where fewer than two symbols occur, the first of the others have codes as well.
void MakeCodes(std::span<const std::uint32_t> counts, unsigned maxLength, std::span<Code> codes);

}  // namespace cam::still::deflate
