// Static constructors, destructors, and what is to be run at the end.
#include <stdlib.h>

#include "runtime.h"

extern "C" {

using Routine = void (*)();
extern const Routine ce_constructors_begin[];
extern const Routine ce_constructors_end[];
extern const Routine ce_destructors_begin[];
extern const Routine ce_destructors_end[];

// Destructors of local statics; the library has a handful. Beyond the table they are not run, which only a
// leak check could see.
static constexpr int kAtExitSlots = 32;
static Routine atExitRoutines[kAtExitSlots];
static int atExitCount;

int atexit(Routine routine) {
    if (atExitCount == kAtExitSlots) return 1;
    atExitRoutines[atExitCount++] = routine;
    return 0;
}
}

namespace ce {

void RunConstructors() {
    for (const Routine* routine = ce_constructors_end; routine != ce_constructors_begin;) (*--routine)();
}

void RunDestructors() {
    while (atExitCount > 0) atExitRoutines[--atExitCount]();
    for (const Routine* routine = ce_destructors_begin; routine != ce_destructors_end; ++routine)
        (*routine)();
}

}  // namespace ce
