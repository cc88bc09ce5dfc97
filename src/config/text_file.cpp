#include "config/text_file.h"

namespace cam::config {
namespace {

constexpr unsigned char kFirstNonAscii = 0x80;
constexpr wchar_t kReplacement = 0xFFFD;

}  // namespace

bool TextFile::Open(const wchar_t* path) {
    stream.reset(_wfopen(path, L"rt"));
    position = 0;
    count = 0;
    return static_cast<bool>(stream);
}

std::optional<unsigned char> TextFile::NextByte() {
    if (position == count) {
        position = 0;
        count = fread(block, 1, kBlock, stream.get());
        if (count == 0) return std::nullopt;
    }
    return block[position++];
}

std::optional<wchar_t> TextFile::Next() {
    const std::optional<unsigned char> first = NextByte();
    if (!first) return std::nullopt;
    if (*first < kFirstNonAscii) return *first;  // the same in every code page, and nearly all there is
    unsigned char bytes[2] = {*first};
    int length = 1;
    if (IsDBCSLeadByte(*first)) {
        if (const std::optional<unsigned char> second = NextByte()) bytes[length++] = *second;
    }
    wchar_t character;
    if (MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(bytes), length, &character, 1) != 1)
        return kReplacement;
    return character;
}

}  // namespace cam::config
