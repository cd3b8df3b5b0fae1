#pragma once

#include <qcustomplot.h>

/** Ticks of the time axis, "yyyy-MM-dd" over "hh:mm:ss": no more than the length of the axis has room for. */
class TimeTicker : public QCPAxisTickerDateTime
{
public:
    /** The axis is horizontal and outlives its ticker. */
    explicit TimeTicker(const QCPAxis *axis);

protected:
    double getTickStep(const QCPRange &range) override;

private:
    const QCPAxis *m_axis;
};
