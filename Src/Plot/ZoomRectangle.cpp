#include "ZoomRectangle.h"

#include <QMouseEvent>

namespace
{

// The pen has the default curve colour, which may be that of the background. The filling shows on both themes and lets
// grid and curves shine through.
const QColor kFilling(42, 125, 225, 70);

} // namespace

ZoomRectangle::ZoomRectangle(QCustomPlot *canvas)
    : QCPSelectionRect(canvas)
{
    setLayer(QStringLiteral("overlay"));
    setBrush(kFilling);
    // The library leaves a cancelled rectangle on the screen.
    connect(this, &QCPSelectionRect::canceled, this, [this] {
        if (layer())
            layer()->replot();
    });
    connect(canvas, &QWidget::customContextMenuRequested, this, &QCPSelectionRect::cancel);
}

void ZoomRectangle::install(QCustomPlot *canvas)
{
    canvas->setSelectionRect(new ZoomRectangle(canvas));
}

void ZoomRectangle::startSelection(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        QCPSelectionRect::startSelection(event);
}

void ZoomRectangle::moveSelection(QMouseEvent *event)
{
    if (event->buttons().testFlag(Qt::LeftButton))
        QCPSelectionRect::moveSelection(event);
    else
        cancel();
}

void ZoomRectangle::endSelection(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        QCPSelectionRect::endSelection(event);
}
