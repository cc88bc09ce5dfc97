// Names in the fixed arrays of DirectShow's records.
#pragma once

#include <cstddef>

namespace cam::filter_base {

// `name`, empty when null, cut to what fits.
template <std::size_t Size>
void CopyName(const wchar_t* name, wchar_t (&out)[Size]) {
    std::size_t length = 0;
    while (name && name[length] && length < Size - 1) {
        out[length] = name[length];
        ++length;
    }
    out[length] = 0;
}

}  // namespace cam::filter_base
