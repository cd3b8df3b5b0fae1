#include "NumberText.h"

#include <cmath>
#include <double-conversion/double-conversion.h>

namespace
{

constexpr int kPrecision = 6;
constexpr int kLeastExponent = -4; // below it the notation is scientific

void appendExponent(QByteArray &text, int exponent)
{
    text.append('e').append(exponent < 0 ? '-' : '+');
    const int magnitude = std::abs(exponent);
    if (magnitude < 10)
        text.append('0');
    text.append(QByteArray::number(magnitude));
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

    if (negative)
        text.append('-');
    const int exponent = point - 1;
    if (exponent < kLeastExponent || exponent >= kPrecision) {
        text.append(digits[0]);
        if (count > 1)
            text.append('.').append(digits + 1, count - 1);
        appendExponent(text, exponent);
    } else if (point <= 0) {
        text.append("0.").append(-point, '0').append(digits, count);
    } else if (point >= count) {
        text.append(digits, count).append(point - count, '0');
    } else {
        text.append(digits, point).append('.').append(digits + point, count - point);
    }
}
