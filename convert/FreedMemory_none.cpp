#include "FreedMemory.h"

void keepFreedMemory()
{
    // The allocator of this system has no such setting.
}
