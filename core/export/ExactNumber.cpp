#include "ExactNumber.h"

#include "DigitPairs.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ostravel
{

namespace
{

/** Whole numbers below it have at most 15 digits, and no two decimals of so few digits read as the same double. */
constexpr double kMostWhole = 1e15;

bool sameBits(double a, double b)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): minus zero is to differ from zero
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool isKnown(double divisor)
{
    return divisor == 1 || divisor == 10 || divisor == 100 || divisor == 1000 || divisor == 1e7;
}

char *putWhole(char *to, std::uint64_t number)
{
    constexpr int kMaxDigits = 20;
    char digits[kMaxDigits];
    char *begin = digits + kMaxDigits;
    while (number >= 100) {
        begin -= 2;
        std::memcpy(begin, kDigitPairs.data() + number % 100 * 2, 2);
        number /= 100;
    }
    if (number >= 10) {
        begin -= 2;
        std::memcpy(begin, kDigitPairs.data() + number * 2, 2);
    } else {
        *--begin = static_cast<char>('0' + number);
    }
    const auto count = static_cast<std::size_t>(digits + kMaxDigits - begin);
    std::memcpy(to, begin, count);
    return to + count;
}

/** A whole number over ten to the power of Decimals. */
template <int Decimals>
char *putDecimal(char *to, std::uint64_t number)
{
    constexpr std::uint64_t kPower = Decimals == 1 ? 10 : Decimals == 2 ? 100 : Decimals == 3 ? 1000 : 10'000'000;
    to = putWhole(to, number / kPower);
    std::uint64_t rest = number % kPower;
    if (rest == 0)
        return to;
    *to = '.';
    char *end = to + 1 + Decimals;
    for (char *digit = end; digit != to + 1; rest /= 10)
        *--digit = static_cast<char>('0' + rest % 10);
    while (end[-1] == '0')
        --end;
    return end;
}

} // namespace

char *putExact(char *to, double value, double divisor)
{
    const double scaled = value * divisor;
    if (!isKnown(divisor) || !(std::abs(scaled) < kMostWhole))
        return std::to_chars(to, to + kExactNumberRoom, value).ptr;
    const auto whole = static_cast<std::int64_t>(std::nearbyint(scaled));
    // A correctly rounded quotient of two exact numbers is what its decimal text reads as. Minus zero fails here, too.
    if (!sameBits(static_cast<double>(whole) / divisor, value))
        return std::to_chars(to, to + kExactNumberRoom, value).ptr;
    auto magnitude = static_cast<std::uint64_t>(whole);
    if (whole < 0) {
        *to++ = '-';
        magnitude = 0 - magnitude;
    }
    if (divisor == 1)
        return putWhole(to, magnitude);
    if (divisor == 10)
        return putDecimal<1>(to, magnitude);
    if (divisor == 100)
        return putDecimal<2>(to, magnitude);
    if (divisor == 1000)
        return putDecimal<3>(to, magnitude);
    return putDecimal<7>(to, magnitude);
}

} // namespace ostravel
