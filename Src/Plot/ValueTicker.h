#pragma once

#include <qcustomplot.h>

/**
 * Ticks of a value axis. Labels have as many digits as it takes to tell neighbours apart, up to twelve, and there are
 * no more ticks than the length of the axis has room for.
 */
class ValueTicker : public QCPAxisTicker
{
public:
    /** The axis is vertical and outlives its ticker. */
    explicit ValueTicker(const QCPAxis *axis);

protected:
    double getTickStep(const QCPRange &range) override;
    QVector<QString> createLabelVector(const QVector<double> &ticks, const QLocale &locale, QChar formatChar,
                                       int precision) override;

private:
    double roundUp(double step) const;

    const QCPAxis *m_axis;
    double m_step = 1;
};
