#include "ExactNumber.h"

#include <QtEndian>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace ostravel
{

namespace
{

/** Whole numbers below it have at most 15 digits, and no two decimals of so few digits read as the same double. */
constexpr double kMaxWhole = 1e15;
constexpr int kNoDecimals = -1;
/** Digits that one machine word holds, a byte each. */
constexpr int kWordDigits = 8;
constexpr std::uint64_t kWordNumbers = 100'000'000;

bool sameBits(double a, double b)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): minus zero is to differ from zero
    return std::memcmp(&a, &b, sizeof a) == 0;
}

int decimalsOf(double divisor)
{
    constexpr std::array<std::pair<double, int>, 5> kKnown{{{1, 0}, {10, 1}, {100, 2}, {1000, 3}, {1e7, 7}}};
    for (const auto &[known, decimals] : kKnown) {
        if (divisor == known)
            return decimals;
    }
    return kNoDecimals;
}

/** The nearest whole number, without a call of the C library. Right below 2^51 in the default rounding mode. */
double rounded(double value)
{
    constexpr double kNoFraction = 0x1.8p52; // doubles of this size have no binary digit after the point
    static_assert(kMaxWhole < 0x1p51);
    return (value + kNoFraction) - kNoFraction;
}

/**
 * The eight decimal digits of a number, the first in the lowest byte.
 *
 * Divides all pairs of digits side by side: by 10000, then by 100, then by 10. The divisions are multiplications by
 * 10486 / 2^20 and 103 / 2^10, which are exact for numbers below 10000 and 100.
 */
std::uint64_t digitsOf(std::uint64_t number)
{
    const std::uint64_t fours = number / 10'000 | (number % 10'000) << 32U;
    const std::uint64_t hundreds = (fours * 10'486 >> 20U) & 0x0000'007F'0000'007FU;
    const std::uint64_t pairs = hundreds | (fours - hundreds * 100) << 16U;
    const std::uint64_t tens = (pairs * 103 >> 10U) & 0x000F'000F'000F'000FU;
    return tens | (pairs - tens * 10) << 8U;
}

void putDigits(char *to, std::uint64_t digits)
{
    constexpr std::uint64_t kZeros = 0x3030'3030'3030'3030U;
    const std::uint64_t text = qToLittleEndian(digits + kZeros);
    std::memcpy(to, &text, sizeof text);
}

/** @param number below kWordNumbers. May write eight bytes beyond the end that it returns */
char *putShort(char *to, std::uint64_t number, int decimals)
{
    constexpr int kBits = 8; // of a digit
    const std::uint64_t digits = digitsOf(number);
    const int wholeDigits = kWordDigits - decimals;
    // At least one digit before the point.
    const std::uint64_t lastWhole = std::uint64_t{1} << (wholeDigits - 1) * kBits;
    const int zeros = __builtin_ctzll(digits | lastWhole) / kBits;
    putDigits(to, digits >> zeros * kBits);
    to += wholeDigits - zeros;
    // In two steps, because without decimals one step would be as wide as the word.
    const std::uint64_t fraction = digits >> (wholeDigits - 1) * kBits >> kBits;
    if (fraction == 0)
        return to;
    *to = '.';
    putDigits(to + 1, fraction);
    return to + 1 + kWordDigits - __builtin_clzll(fraction) / kBits;
}

/** A number of any size below kMaxWhole. */
char *putLong(char *to, std::uint64_t number, int decimals)
{
    constexpr std::array<std::uint64_t, kWordDigits> kPowers{1, 10, 100, 1000, 10'000, 100'000, 1'000'000, 10'000'000};
    const std::uint64_t power = kPowers[static_cast<std::size_t>(decimals)];
    const std::uint64_t whole = number / power;
    if (whole >= kWordNumbers) {
        to = putShort(to, whole / kWordNumbers, 0);
        putDigits(to, digitsOf(whole % kWordNumbers));
        to += kWordDigits;
    } else {
        to = putShort(to, whole, 0);
    }
    const std::uint64_t fraction = number % power;
    if (fraction == 0)
        return to;
    // Writes "0.xxx" over the last digit of the whole part, which is put back.
    const char last = to[-1];
    char *const end = putShort(to - 1, fraction, decimals);
    to[-1] = last;
    return end;
}

} // namespace

ExactNumber::ExactNumber(double divisor)
    : m_divisor(divisor)
    , m_decimals(decimalsOf(divisor))
{
}

char *ExactNumber::put(char *to, double value) const
{
    const double scaled = value * m_divisor;
    if (m_decimals == kNoDecimals || !(std::abs(scaled) < kMaxWhole))
        return std::to_chars(to, to + kExactNumberRoom, value).ptr;
    const double whole = rounded(scaled);
    // A correctly rounded quotient of two exact numbers is what its decimal text reads as. Minus zero fails here, too.
    if (!sameBits(whole / m_divisor, value))
        return std::to_chars(to, to + kExactNumberRoom, value).ptr;
    *to = '-';
    to += whole < 0 ? 1 : 0;
    const auto magnitude = static_cast<std::uint64_t>(std::abs(whole));
    return magnitude < kWordNumbers ? putShort(to, magnitude, m_decimals) : putLong(to, magnitude, m_decimals);
}

} // namespace ostravel
