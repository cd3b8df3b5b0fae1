#include "ValueTicker.h"

#include <QFontMetrics>
#include <algorithm>
#include <cmath>

namespace
{

constexpr int kMaxDigits = 12;
constexpr double kSteps[] = {1.0, 2.0, 2.5, 5.0, 10.0};
constexpr double kTolerance = 1e-9;
// Relative to the largest value. The library counts steps from zero in 64 bits, so smaller steps would overflow.
constexpr double kMinStep = 1e-15;
constexpr int kGap = 2; // pixels between two labels

/** Decimal exponent of the leading digit; tolerates rounding errors just below a power of ten. */
int exponentOf(double value)
{
    return static_cast<int>(std::floor(std::log10(value) + kTolerance));
}

} // namespace

ValueTicker::ValueTicker(const QCPAxis *axis)
    : m_axis(axis)
{
}

double ValueTicker::roundUp(double step) const
{
    double magnitude = 1;
    const double mantissa = getMantissa(step, &magnitude);
    const double *const nice = std::find_if(std::begin(kSteps), std::end(kSteps) - 1,
                                            [=](double each) { return each >= mantissa - kTolerance; });
    return *nice * magnitude;
}

double ValueTicker::getTickStep(const QCPRange &range)
{
    const int length = std::max(1, m_axis->axisRect()->height());
    const int label = QFontMetrics(m_axis->tickLabelFont()).height() + kGap;
    const double largest = std::max(std::abs(range.lower), std::abs(range.upper));
    m_step = std::max(
        {QCPAxisTicker::getTickStep(range), roundUp(range.size() * label / length), roundUp(largest * kMinStep)});
    return m_step;
}

QVector<QString> ValueTicker::createLabelVector(const QVector<double> &ticks, const QLocale &locale, QChar formatChar,
                                                int precision)
{
    double largest = m_step;
    for (const double tick : ticks)
        largest = std::max(largest, std::abs(tick));
    // Digits from the leading digit of the largest tick to the last digit of the step; a step of 2.5 needs one more.
    const int stepExponent = exponentOf(m_step);
    const bool hasHalf = std::abs(m_step / std::pow(10.0, stepExponent) - 2.5) < kTolerance;
    const int digits = exponentOf(largest) - stepExponent + 1 + (hasHalf ? 1 : 0);

    QVector<QString> labels = QCPAxisTicker::createLabelVector(ticks, locale, formatChar,
                                                               std::min(std::max(digits, precision), kMaxDigits));
    // With more than twelve digits adjacent labels can be equal: keep only the first of them.
    for (int i = labels.size() - 1; i > 0; --i) {
        if (labels[i] == labels[i - 1])
            labels[i].clear();
    }
    return labels;
}
