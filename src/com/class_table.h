// The library's COM classes, in the one place that registration and class factory read.
#pragma once

#include <span>

#include "filter_base/com_object.h"

namespace cam::com {

struct ComClass {
    CLSID id;
    const wchar_t* name;
    const wchar_t* threadingModel;
    // An object with a count of 0, part of `outer` unless that is null. Null when there is no memory, and
    // then a failure in `result`.
    filter_base::ComObject* (*create)(IUnknown* outer, HRESULT* result);
};

std::span<const ComClass> Classes();

// Null: there is no such class.
const ComClass* FindClass(REFCLSID id);

}  // namespace cam::com
