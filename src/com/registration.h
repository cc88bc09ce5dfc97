// The COM classes in the registry.
#pragma once

#include "com/com_class.h"

namespace cam::com {

// Writes CLSID\{...} with the class's name, and below it InprocServer32 with `modulePath` and the threading
// model, for every class, below `root` (HKEY_CLASSES_ROOT but in tests). On a failure all keys are
// as they were before, an older registration included, and the error is returned as an HRESULT.
HRESULT RegisterClasses(HKEY root, const wchar_t* modulePath, ClassTable classes);

// Removes them all, also when some are missing or a removal fails; the first failure is returned.
HRESULT UnregisterClasses(HKEY root, ClassTable classes);

}  // namespace cam::com
