#pragma once

#include <qcustomplot.h>

/**
 * The crosshair of the read-out; initially hidden. A deferred deletion removes it through the canvas: the canvas keeps
 * a list of its items and would otherwise delete the tracer a second time.
 */
class CanvasTracer : public QCPItemTracer
{
    Q_OBJECT

public:
    explicit CanvasTracer(QCustomPlot *canvas);

    bool event(QEvent *event) override;
};
