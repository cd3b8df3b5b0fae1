#pragma once

#include <qcustomplot.h>

/**
 * Ticks of a value axis. Labels have enough digits to distinguish adjacent ticks, up to twelve, and do not overlap.
 */
class ValueTicker : public QCPAxisTicker
{
public:
    /** @param axis vertical; must outlive the ticker */
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
