#include "CanvasKeys.h"

#include "MyCustomPlot.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <qcustomplot.h>

namespace
{

constexpr int kLongStep = 10;

bool differs(double a, double b)
{
    // NaNs count as equal; otherwise the crosshair would stop at each of them.
    return a != b && !(std::isnan(a) && std::isnan(b));
}

/** Index of the nearest sample in this direction with a different value; index itself when none. O(samples). */
int indexOfOtherValue(const QCPGraphDataContainer &samples, int index, int direction)
{
    const double value = (samples.constBegin() + index)->value;
    for (int i = index + direction; i >= 0 && i < samples.size(); i += direction) {
        if (differs((samples.constBegin() + i)->value, value))
            return i;
    }
    return index;
}

/** Index of the sample nearest to key. The series must not be empty. O(log n). */
int indexNear(const QCPGraphDataContainer &samples, double key)
{
    // Do not call the container's findBegin(). It is a template: our instantiation would replace the library's at link
    // time, and an unoptimised one is incompatible with the optimised library, so the next replot crashes.
    const auto it = std::lower_bound(samples.constBegin(), samples.constEnd(), key,
                                     [](const QCPGraphData &sample, double wanted) { return sample.key < wanted; });
    const int after = static_cast<int>(it - samples.constBegin());
    if (after == 0 || after >= samples.size())
        return qBound(0, after, samples.size() - 1);
    return key - (it - 1)->key < it->key - key ? after - 1 : after;
}

/**
 * Centres the range on the coordinate if the coordinate is outside. Centring instead of scrolling to the edge: a key
 * that is held down then moves the view once per half screen, not at each sample.
 */
void bringIntoView(QCPAxis *axis, double coordinate)
{
    const QCPRange range = axis->range();
    if (std::isfinite(coordinate) && !range.contains(coordinate))
        axis->setRange(coordinate - range.size() / 2, coordinate + range.size() / 2);
}

} // namespace

CanvasKeys::CanvasKeys(MyCustomPlot *control)
    : QObject(control)
    , m_control(control)
{
    control->plot()->installEventFilter(this);
}

bool CanvasKeys::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        if (const auto *const press = dynamic_cast<QMouseEvent *>(event))
            m_pressed = press->pos();
    } else if (event->type() == QEvent::KeyPress) {
        const auto *const key = dynamic_cast<QKeyEvent *>(event);
        if (key && handleKey(*key))
            return true;
    }
    return QObject::eventFilter(watched, event);
}

bool CanvasKeys::handleKey(const QKeyEvent &event)
{
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const bool plain = modifiers == Qt::NoModifier;
    QCPGraph *const curve = m_control->selectedCurve();
    switch (event.key()) {
    case Qt::Key_Left:
        return handleArrow(-1, modifiers);
    case Qt::Key_Right:
        return handleArrow(1, modifiers);
    case Qt::Key_Home:
        if (plain)
            moveTo(curve, 0);
        return plain;
    case Qt::Key_End:
        if (plain && curve)
            moveTo(curve, curve->data()->size() - 1);
        return plain;
    case Qt::Key_A:
        if (plain)
            fitAllCurves();
        return plain;
    case Qt::Key_Backspace:
        if (plain)
            emit backRequested();
        else if (modifiers == Qt::ShiftModifier)
            emit forwardRequested();
        return plain || modifiers == Qt::ShiftModifier;
    case Qt::Key_C:
        if (modifiers != Qt::ControlModifier)
            return false;
        emit copyRequested();
        return true;
    case Qt::Key_S:
        if (modifiers != (Qt::ControlModifier | Qt::ShiftModifier))
            return false;
        emit saveRequested();
        return true;
    default:
        return false;
    }
}

bool CanvasKeys::handleArrow(int direction, Qt::KeyboardModifiers modifiers)
{
    if (modifiers != Qt::NoModifier && modifiers != Qt::ShiftModifier && modifiers != Qt::ControlModifier)
        return false;
    QCPGraph *const curve = m_control->selectedCurve();
    if (!curve || curve->data()->isEmpty())
        return true;
    const int index = currentIndex(*curve);
    if (modifiers == Qt::ControlModifier)
        moveTo(curve, indexOfOtherValue(*curve->data(), index, direction));
    else
        moveTo(curve, index + direction * (modifiers == Qt::ShiftModifier ? kLongStep : 1));
    return true;
}

int CanvasKeys::currentIndex(const QCPGraph &curve) const
{
    const QCPItemTracer &tracer = *m_control->tracer();
    const QCustomPlot &plot = *m_control->plot();
    // Start at the crosshair's time, even if it is on another curve. Without a crosshair, start at the last click, or
    // at the centre of the view when the click was outside the axis rect, for example in the legend.
    if (tracer.visible())
        return indexNear(*curve.data(), tracer.position->key());
    if (plot.axisRect()->rect().contains(m_pressed))
        return indexNear(*curve.data(), plot.xAxis->pixelToCoord(m_pressed.x()));
    return indexNear(*curve.data(), plot.xAxis->range().center());
}

void CanvasKeys::moveTo(QCPGraph *curve, int index)
{
    if (!curve || curve->data()->isEmpty())
        return;
    const QCPGraphData sample = *(curve->data()->constBegin() + qBound(0, index, curve->data()->size() - 1));
    bringIntoView(m_control->plot()->yAxis, sample.value);
    bringIntoView(m_control->plot()->xAxis, sample.key);
    showReadOut(curve, sample.key);
}

void CanvasKeys::showReadOut(QCPGraph *curve, double key)
{
    QCustomPlot *const plot = m_control->plot();
    const QString text = m_control->readOut(curve, key);
    const QPointF pixel = m_control->tracer()->position->pixelPosition();
    const QRectF rect = plot->axisRect()->rect();
    // A NaN has no vertical position: use the centre.
    const QPoint at(qRound(qBound(rect.left(), pixel.x(), rect.right())),
                    std::isfinite(pixel.y()) ? qRound(qBound(rect.top(), pixel.y(), rect.bottom()))
                                             : qRound(rect.center().y()));
    // Qt moves a tooltip with unchanged text only when the position leaves the given rectangle.
    QToolTip::showText(plot->mapToGlobal(at), text, plot, QRect(at, QSize(1, 1)));
    // Queued, so that replots of a long series do not continue after a held key is released.
    plot->replot(QCustomPlot::rpQueuedReplot);
}

void CanvasKeys::fitAllCurves()
{
    QCustomPlot *const plot = m_control->plot();
    // Rescale the time axis last: changing it makes the linked canvas repaint this one, including the value axis.
    plot->yAxis->rescale();
    plot->xAxis->rescale();
    plot->replot(QCustomPlot::rpQueuedReplot);
}
