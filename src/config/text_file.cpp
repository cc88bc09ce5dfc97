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

bool TextFile::NextByte(unsigned char* byte) {
    if (position_ == count_) {
        position_ = 0;
        count_ = fread(block_, 1, kBlock, stream_.get());
        if (count_ == 0) return false;
    }
    *byte = block_[position_++];
    return true;
}

bool TextFile::Next(wchar_t* character) {
    unsigned char bytes[2];
    if (!NextByte(bytes)) return false;
    if (bytes[0] < kFirstNonAscii) {  // the same in every code page, and nearly all there is
        *character = bytes[0];
        return true;
    }
    const int count = IsDBCSLeadByte(bytes[0]) && NextByte(bytes + 1) ? 2 : 1;
    if (MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(bytes), count, character, 1) != 1) {
        *character = kReplacement;
    }
    return true;
}

}  // namespace cam::config
