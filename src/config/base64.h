// Base64 with the standard alphabet (RFC 4648, section 4), padded, without line breaks.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace cam::config {

constexpr size_t Base64Length(size_t bytes) {
    return (bytes + 2) / 3 * 4;
}

// Writes Base64Length of the bytes' number of characters, no terminator.
void EncodeBase64(std::span<const unsigned char> bytes, char* text);

// Decodes `text` into `bytes`, which must hold text.size() / 4 * 3; how many there are. None, with anything
// in `bytes`, when `text` is not of this form.
std::optional<size_t> DecodeBase64(std::string_view text, unsigned char* bytes);

}  // namespace cam::config
