#pragma once

#include <array>
#include <cstddef>

namespace ostravel
{

/** "00" to "99" in sequence: two digits for each division. */
constexpr std::array<char, 200> makeDigitPairs()
{
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}

inline constexpr std::array<char, 200> kDigitPairs = makeDigitPairs();

} // namespace ostravel
