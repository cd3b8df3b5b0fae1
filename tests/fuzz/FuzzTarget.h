#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/** Runs a target with arbitrary bytes. A failed check aborts the program. @return 0 */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/** Says where and aborts the program if the condition is false. The fuzzer reports this as a finding. */
inline void require(bool condition, const char *file = __builtin_FILE(), int line = __builtin_LINE())
{
    if (condition)
        return;
    std::fprintf(stderr, "%s:%d: the condition does not hold\n", file, line);
    std::abort();
}
