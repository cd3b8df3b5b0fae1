#include "ZoomRectangle.h"

#include <QMouseEvent>

namespace
{

// The pen's colour may equal the background. The translucent fill is visible in both themes and does not hide curves.
const QColor kFillColor(42, 125, 225, 70);

} // namespace

ZoomRectangle::ZoomRectangle(QCustomPlot *canvas)
    : QCPSelectionRect(canvas)
{
    setLayer(QStringLiteral("overlay"));
    setBrush(kFillColor);
    // The library does not repaint after a cancelled rectangle.
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
