// Base64 with the standard alphabet (RFC 4648, section 4), padded, without line breaks.
#pragma once

#include <cstddef>
#include <string_view>

namespace cam::config {

constexpr size_t Base64Length(size_t bytes) {
    return (bytes + 2) / 3 * 4;
}

// Writes Base64Length(count) characters, no terminator.
void EncodeBase64(const unsigned char* bytes, size_t count, char* text);

// Decodes `text` into `bytes`, which must hold text.size() / 4 * 3, and writes how many there are. False,
// with anything in `bytes`, when `text` is not of this form.
bool DecodeBase64(std::string_view text, unsigned char* bytes, size_t* count);

}  // namespace cam::config
