#include "CanvasTracer.h"

#include <QEvent>

bool CanvasTracer::event(QEvent *event)
{
    if (event->type() == QEvent::DeferredDelete && parentPlot()->removeItem(this))
        return true;
    return QCPItemTracer::event(event);
}
