#include "BuildDate.h"

// Free of other headers: cmake/BuildDate.cmake compiles this file alone, each time that the program is linked.
const char kBuildDate[] = __DATE__ __TIME__;
