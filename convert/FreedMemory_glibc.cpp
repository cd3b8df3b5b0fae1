#include "FreedMemory.h"

#include <malloc.h>

void keepFreedMemory()
{
    constexpr int kMiB = 1 << 20;
    // More than a flight of ten hours; what a larger flight takes beyond it is returned.
    mallopt(M_TRIM_THRESHOLD, 256 * kMiB);
    // The largest value. Blocks above it get pages of their own and return them when they are freed.
    mallopt(M_MMAP_THRESHOLD, 32 * kMiB);
}
