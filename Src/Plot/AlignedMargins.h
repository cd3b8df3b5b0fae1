#pragma once

#include <QHash>
#include <QPointer>
#include <qcustomplot.h>

/**
 * Aligns the left and right edges of the axis rects of two canvases of the same width, so that a time has the same x
 * position on both.
 *
 * Uses the larger of the margins that the two canvases need. Replots the other canvas only when its margins change.
 */
class AlignedMargins : public QCPMarginGroup
{
    Q_OBJECT

public:
    /** Aligns two canvases. Each canvas owns one of the two margin groups; either canvas may be deleted first. */
    static void join(QCustomPlot *first, QCustomPlot *second);

protected:
    int commonMargin(QCP::MarginSide side) const override;

private:
    explicit AlignedMargins(QCustomPlot *canvas);
    void replotOtherIfMoved();

    QPointer<AlignedMargins> m_other;
    mutable QHash<QCP::MarginSide, int> m_needed;
    bool m_replotting = false;
};
