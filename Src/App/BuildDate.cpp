#include "BuildDate.h"

// Includes no other header: cmake/BuildDate.cmake compiles this file by itself each time the program is linked.
const char kBuildDate[] = __DATE__ __TIME__;
