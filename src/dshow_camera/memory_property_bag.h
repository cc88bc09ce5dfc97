// A property bag in memory.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "base/com_ptr.h"

namespace cam {

// Named variants, the names without regard to case. Not for several threads at a time. Returns null without
// memory.
ComPtr<IPropertyBag> CreateMemoryPropertyBag();

}  // namespace cam
