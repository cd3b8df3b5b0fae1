#include "NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <double-conversion/double-conversion.h>

namespace ostravel
{

namespace
{

constexpr int kPrecision = 6;
constexpr int kMinFixedExponent = -4; // below it the notation is scientific

/** Characters of the longest number: sign, six digits, point, and "e+308" or zeros after the point. */
constexpr int kMaxCharacters = 16;

/** The powers of ten that a double holds exactly. */
constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                              1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

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

constexpr std::array<char, 200> kDigitPairs = makeDigitPairs();

/** A magnitude times a power of ten, rounded once; exponent from -22 to 22. */
double scaled(double magnitude, int exponent)
{
    return exponent >= 0 ? magnitude * kPowers[exponent] : magnitude / kPowers[-exponent];
}

/**
 * The digits of a magnitude between 1e-9 and 1e15, by one multiplication or division.
 *
 * @param digits room for kPrecision characters
 * @param point position of the decimal point, counted from the first digit
 * @return false for another magnitude, and when the rounding of the multiplication might change the last digit
 */
bool quickDigits(double magnitude, char *digits, int *point)
{
    constexpr double kMin = 1e-9;
    constexpr double kMax = 1e15;
    constexpr int kUnits = 1'000'000; // the first number with seven digits
    constexpr double kDoubt = 1e-9; // several times the rounding error of a number with six digits before the point
    if (!(magnitude >= kMin && magnitude < kMax))
        return false;
    // 1233 / 4096 is slightly less than log10(2), so the exponent is right or one too small.
    int exponent = std::ilogb(magnitude) * 1233 >> 12;
    double units = scaled(magnitude, kPrecision - 1 - exponent);
    if (units >= kUnits - 0.5 + kDoubt) {
        ++exponent;
        units = scaled(magnitude, kPrecision - 1 - exponent);
    }
    int whole = static_cast<int>(units);
    const double rest = units - whole;
    if (std::abs(rest - 0.5) < kDoubt)
        return false;
    if (rest > 0.5)
        ++whole;
    for (int i = kPrecision - 2; i >= 0; i -= 2) {
        std::copy_n(kDigitPairs.begin() + whole % 100 * 2, 2, digits + i);
        whole /= 100;
    }
    *point = exponent + 1;
    return true;
}

char *putDigits(char *to, const char *digits, int count)
{
    return std::copy_n(digits, count, to);
}

char *putExponent(char *to, int exponent)
{
    *to++ = 'e';
    *to++ = exponent < 0 ? '-' : '+';
    const int magnitude = std::abs(exponent);
    if (magnitude >= 100)
        *to++ = static_cast<char>('0' + magnitude / 100);
    *to++ = static_cast<char>('0' + magnitude / 10 % 10);
    *to++ = static_cast<char>('0' + magnitude % 10);
    return to;
}

} // namespace

void appendNumber(QByteArray &text, double value)
{
    if (!std::isfinite(value)) {
        text.append(std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf");
        return;
    }
    if (value == 0) {
        text.append('0');
        return;
    }
    using double_conversion::DoubleToStringConverter;
    char digits[kPrecision + 1];
    bool negative = value < 0;
    int count = kPrecision;
    int point = 0; // position of the decimal point, counted from the first digit
    if (!quickDigits(std::abs(value), digits, &point))
        DoubleToStringConverter::DoubleToAscii(value, DoubleToStringConverter::PRECISION, kPrecision, digits,
                                               static_cast<int>(sizeof digits), &negative, &count, &point);
    while (count > 1 && digits[count - 1] == '0')
        --count;

    char number[kMaxCharacters];
    char *end = number;
    if (negative)
        *end++ = '-';
    const int exponent = point - 1;
    if (exponent < kMinFixedExponent || exponent >= kPrecision) {
        *end++ = digits[0];
        if (count > 1) {
            *end++ = '.';
            end = putDigits(end, digits + 1, count - 1);
        }
        end = putExponent(end, exponent);
    } else if (point <= 0) {
        end = putDigits(end, "0.", 2);
        end = std::fill_n(end, -point, '0');
        end = putDigits(end, digits, count);
    } else if (point >= count) {
        end = putDigits(end, digits, count);
        end = std::fill_n(end, point - count, '0');
    } else {
        end = putDigits(end, digits, point);
        *end++ = '.';
        end = putDigits(end, digits + point, count - point);
    }
    text.append(number, static_cast<int>(end - number));
}

} // namespace ostravel
