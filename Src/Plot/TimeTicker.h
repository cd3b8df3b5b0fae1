#pragma once

#include <qcustomplot.h>

/** Ticks of the time axis, labelled "yyyy-MM-dd" above "hh:mm:ss". Labels do not overlap. */
class TimeTicker : public QCPAxisTickerDateTime
{
public:
    /** @param axis horizontal; must outlive the ticker */
    explicit TimeTicker(const QCPAxis *axis);

protected:
    double getTickStep(const QCPRange &range) override;

private:
    const QCPAxis *m_axis;
};
