#include "CanvasTracer.h"

#include "CanvasLook.h"

#include <QEvent>

CanvasTracer::CanvasTracer(QCustomPlot *canvas)
    : QCPItemTracer(canvas)
{
    constexpr double kSize = 6;

    setInterpolating(false);
    setStyle(QCPItemTracer::tsCrosshair);
    setPen(canvaslook::linePen(Qt::red));
    setBrush(QBrush(Qt::red));
    setSize(kSize);
    // A crosshair without a curve would look like a pair of axes.
    setVisible(false);
}

bool CanvasTracer::event(QEvent *event)
{
    if (event->type() == QEvent::DeferredDelete && parentPlot()->removeItem(this))
        return true;
    return QCPItemTracer::event(event);
}
