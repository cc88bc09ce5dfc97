#include "config/base64.h"

#include <cstdint>

namespace cam::config {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int kNoDigit = -1;

int DigitOf(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    return c == '/' ? 63 : kNoDigit;
}

}  // namespace

void EncodeBase64(std::span<const unsigned char> bytes, char* text) {
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t rest = bytes.size() - i;
        const uint32_t group = static_cast<uint32_t>(bytes[i]) << 16 |
                               static_cast<uint32_t>(rest > 1 ? bytes[i + 1] : 0) << 8 |
                               (rest > 2 ? bytes[i + 2] : 0U);
        *text++ = kAlphabet[group >> 18];
        *text++ = kAlphabet[group >> 12 & 63];
        *text++ = rest > 1 ? kAlphabet[group >> 6 & 63] : '=';
        *text++ = rest > 2 ? kAlphabet[group & 63] : '=';
    }
}

std::optional<size_t> DecodeBase64(std::string_view text, unsigned char* bytes) {
    if (text.size() % 4 != 0) return std::nullopt;
    size_t count = 0;
    for (size_t i = 0; i < text.size(); i += 4) {
        const bool isLast = i + 4 == text.size();
        const size_t padding = !isLast || text[i + 3] != '=' ? 0 : text[i + 2] != '=' ? 1 : 2;
        uint32_t group = 0;
        for (size_t k = 0; k < 4; ++k) {
            const int digit = k < 4 - padding ? DigitOf(text[i + k]) : 0;
            if (digit == kNoDigit) return std::nullopt;
            group = group << 6 | static_cast<uint32_t>(digit);
        }
        for (size_t k = 0; k < 3 - padding; ++k)
            bytes[count++] = static_cast<unsigned char>(group >> (16 - 8 * k));
    }
    return count;
}

}  // namespace cam::config
