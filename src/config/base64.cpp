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

void EncodeBase64(const unsigned char* bytes, size_t count, char* text) {
    for (size_t i = 0; i < count; i += 3) {
        const size_t rest = count - i;
        const uint32_t group = static_cast<uint32_t>(bytes[i]) << 16 |
                               static_cast<uint32_t>(rest > 1 ? bytes[i + 1] : 0) << 8 |
                               (rest > 2 ? bytes[i + 2] : 0U);
        *text++ = kAlphabet[group >> 18];
        *text++ = kAlphabet[group >> 12 & 63];
        *text++ = rest > 1 ? kAlphabet[group >> 6 & 63] : '=';
        *text++ = rest > 2 ? kAlphabet[group & 63] : '=';
    }
}

bool DecodeBase64(std::string_view text, unsigned char* bytes, size_t* count) {
    if (text.size() % 4 != 0) return false;
    *count = 0;
    for (size_t i = 0; i < text.size(); i += 4) {
        const bool isLast = i + 4 == text.size();
        const size_t padding = !isLast || text[i + 3] != '=' ? 0 : text[i + 2] != '=' ? 1 : 2;
        uint32_t group = 0;
        for (size_t k = 0; k < 4; ++k) {
            const int digit = k < 4 - padding ? DigitOf(text[i + k]) : 0;
            if (digit == kNoDigit) return false;
            group = group << 6 | static_cast<uint32_t>(digit);
        }
        for (size_t k = 0; k < 3 - padding; ++k)
            bytes[(*count)++] = static_cast<unsigned char>(group >> (16 - 8 * k));
    }
    return true;
}

}  // namespace cam::config
