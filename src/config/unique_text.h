// Text that the C library allocates.
#pragma once

#include <cstdlib>
#include <cwchar>

#include "base/automation.h"
#include "base/unique_resource.h"

namespace cam::config {

// A text of which the receiver is the owner: to be freed with free().
using UniqueText = UniqueResource<wchar_t*, free>;

// A fresh copy. Throws HresultError.
inline UniqueText CopyText(const wchar_t* text) {
    UniqueText copy(_wcsdup(text));
    if (!copy) throw HresultError{E_OUTOFMEMORY};
    return copy;
}

}  // namespace cam::config
