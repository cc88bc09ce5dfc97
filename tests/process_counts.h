#include "../tools/camverify/process_counts.h"
