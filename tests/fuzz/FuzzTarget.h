#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/** What a target does with whatever bytes. A broken promise ends the program. @return 0 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/** Ends the program, which a fuzzer takes for a finding, unless a promise holds. */
inline void demand(bool holds)
{
    if (!holds)
        std::abort();
}
