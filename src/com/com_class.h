// What a DLL tells the COM server of its classes: one table that registration and class factory read.
#pragma once

#include <span>

#include "filter_base/com_object.h"

namespace cam::com {

// Objects that are called from the threads of others; any other model would put proxies between them and the
// graph.
inline constexpr wchar_t kBothThreadingModels[] = L"Both";

struct ComClass {
    CLSID id;
    const wchar_t* name;
    const wchar_t* threadingModel;
    bool canBePart;  // of an outer object
    // An object with a count of 0, part of `outer` unless that is null. Null, and then a failure in `result`,
    // when there is none. A success in `result` is what the object's maker is told, S_OK unless set.
    filter_base::ComObject* (*create)(IUnknown* outer, HRESULT* result);
};

using ClassTable = std::span<const ComClass>;

}  // namespace cam::com
