#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/** Runs a target with arbitrary bytes. A failed check aborts the program. @return 0 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/** Aborts the program if the condition is false. The fuzzer reports this as a finding. */
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}
