// The library's own COM classes.
#pragma once

#include "com/com_class.h"

namespace cam::com {

ClassTable LibraryClasses();

}  // namespace cam::com
