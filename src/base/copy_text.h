// A copy of text that an application hands over with its length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace cam {

// The first `length` characters of `text` and a terminating zero; null when there is no memory, or never
// could be.
inline std::unique_ptr<wchar_t[]> CopyText(const wchar_t* text, size_t length) {
    // For more than the language allows an array, new throws, nothrow or not. Half of that is room enough.
    constexpr size_t kMaxLength = PTRDIFF_MAX / sizeof(wchar_t) / 2;
    if (length > kMaxLength) return nullptr;
    std::unique_ptr<wchar_t[]> copy(new (std::nothrow) wchar_t[length + 1]);
    if (!copy) return nullptr;
    std::memcpy(copy.get(), text, length * sizeof(wchar_t));
    copy[length] = 0;
    return copy;
}

}  // namespace cam
