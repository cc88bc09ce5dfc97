#include "config/text_file.h"

namespace cam::config {
namespace {

constexpr unsigned char kFirstNonAscii = 0x80;
constexpr wchar_t kReplacement = 0xFFFD;

}  // namespace

bool TextFile::Open(const wchar_t* path) {
    stream_.reset(_wfopen(path, L"rt"));
    position_ = 0;
    count_ = 0;
    return static_cast<bool>(stream_);
}

std::optional<unsigned char> TextFile::NextByte() {
    if (position_ == count_) {
        position_ = 0;
        count_ = fread(block_, 1, kBlock, stream_.get());
        if (count_ == 0) return std::nullopt;
    }
    return block_[position_++];
}

std::optional<wchar_t> TextFile::Next() {
    const std::optional<unsigned char> first = NextByte();
    if (!first) return std::nullopt;
    if (*first < kFirstNonAscii) return *first;  // the same in every code page, and nearly all there is
    unsigned char bytes[2] = {*first};
    int count = 1;
    if (IsDBCSLeadByte(*first)) {
        if (const std::optional<unsigned char> second = NextByte()) bytes[count++] = *second;
    }
    wchar_t character;
    if (MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(bytes), count, &character, 1) != 1)
        return kReplacement;
    return character;
}

}  // namespace cam::config
