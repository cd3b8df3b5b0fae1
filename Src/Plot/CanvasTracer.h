#pragma once

#include <qcustomplot.h>

/**
 * The crosshair of the read-out, hidden at first. Its deferred deletion goes through its canvas: the canvas keeps a
 * list of its items and would delete the tracer a second time.
 */
class CanvasTracer : public QCPItemTracer
{
    Q_OBJECT

public:
    explicit CanvasTracer(QCustomPlot *canvas);

    bool event(QEvent *event) override;
};
