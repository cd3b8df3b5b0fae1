#include "NumberText.h"

#include <algorithm>
#include <cmath>
#include <double-conversion/double-conversion.h>

namespace
{

constexpr int kPrecision = 6;
constexpr int kLeastExponent = -4; // below it the notation is scientific

/** Characters of the longest number: sign, six digits, point, and "e+308" or zeros behind the point. */
constexpr int kMostCharacters = 16;

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
    bool negative = false;
    int count = 0;
    int point = 0; // position of the decimal point behind the first digit's start
    DoubleToStringConverter::DoubleToAscii(value, DoubleToStringConverter::PRECISION, kPrecision, digits,
                                           static_cast<int>(sizeof digits), &negative, &count, &point);
    while (count > 1 && digits[count - 1] == '0')
        --count;

    char number[kMostCharacters];
    char *end = number;
    if (negative)
        *end++ = '-';
    const int exponent = point - 1;
    if (exponent < kLeastExponent || exponent >= kPrecision) {
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
