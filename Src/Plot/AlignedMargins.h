#pragma once

#include <QHash>
#include <QPointer>
#include <qcustomplot.h>

/**
 * Keeps the axis rects of two canvases of the same width at the same left and right edge, so that one time stands in
 * one pixel column.
 *
 * A layout takes the wider of the margins that the labels of the two need. When that moves the other canvas, it is
 * replotted as well; otherwise it is left alone.
 */
class AlignedMargins : public QCPMarginGroup
{
    Q_OBJECT

public:
    /** Each canvas owns its half, and may be deleted first. */
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
