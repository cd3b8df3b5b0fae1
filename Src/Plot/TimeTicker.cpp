#include "TimeTicker.h"

#include <QFontMetrics>
#include <algorithm>

TimeTicker::TimeTicker(const QCPAxis *axis)
    : m_axis(axis)
{
    setDateTimeFormat(QStringLiteral("yyyy-MM-dd\nhh:mm:ss"));
}

double TimeTicker::getTickStep(const QCPRange &range)
{
    constexpr int kMaxAttempts = 64;
    constexpr double kWidening = 1.25;

    const QFontMetrics metrics(m_axis->tickLabelFont());
    // A gap of one line height is enough even for steps of months, which differ in length.
    const int label = metrics.horizontalAdvance(QStringLiteral("2000-00-00")) + metrics.height();
    const double smallest = range.size() * label / std::max(1, m_axis->axisRect()->width());

    // The library chooses the step for a range from its own table: widen the range until the step is large enough.
    double size = range.size();
    double step = QCPAxisTickerDateTime::getTickStep(range);
    for (int i = 0; i < kMaxAttempts && step < smallest; ++i) {
        size *= kWidening;
        step = QCPAxisTickerDateTime::getTickStep(QCPRange(range.lower, range.lower + size));
    }
    return step;
}
