// The desktop compiler's configuration of the standard library, without its threads.
#include_next <bits/c++config.h>
#undef _GLIBCXX_HAS_GTHREADS
