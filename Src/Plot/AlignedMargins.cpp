#include "AlignedMargins.h"

#include <algorithm>

AlignedMargins::AlignedMargins(QCustomPlot *canvas)
    : QCPMarginGroup(canvas)
{
    setParent(canvas);
    canvas->axisRect()->setMarginGroup(QCP::msLeft | QCP::msRight, this);
    connect(canvas, &QCustomPlot::beforeReplot, this, [this] { m_replotting = true; });
    connect(canvas, &QCustomPlot::afterReplot, this, [this] {
        replotOtherIfMoved();
        m_replotting = false;
    });
}

void AlignedMargins::join(QCustomPlot *first, QCustomPlot *second)
{
    auto *const one = new AlignedMargins(first);
    auto *const other = new AlignedMargins(second);
    one->m_other = other;
    other->m_other = one;
}

int AlignedMargins::commonMargin(QCP::MarginSide side) const
{
    // The other canvas uses the margin of this canvas's last layout, which matches what is visible.
    const int own = QCPMarginGroup::commonMargin(side);
    m_needed[side] = own;
    return m_other ? std::max(own, m_other->m_needed.value(side)) : own;
}

void AlignedMargins::replotOtherIfMoved()
{
    if (!m_other)
        return;
    QCustomPlot *const other = m_other->mParentPlot;
    const QMargins mine = mParentPlot->axisRect()->margins();
    const QMargins others = other->axisRect()->margins();
    if (mine.left() == others.left() && mine.right() == others.right())
        return;
    // The library ignores a replot inside a replot of the same canvas.
    other->replot(m_other->m_replotting ? QCustomPlot::rpQueuedReplot : QCustomPlot::rpRefreshHint);
}
