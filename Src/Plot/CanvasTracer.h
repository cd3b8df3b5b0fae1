#pragma once

#include <qcustomplot.h>

/**
 * A tracer whose deferred deletion goes through its canvas: the canvas keeps a list of its items and would delete the
 * tracer a second time.
 */
class CanvasTracer : public QCPItemTracer
{
    Q_OBJECT

public:
    using QCPItemTracer::QCPItemTracer;

    bool event(QEvent *event) override;
};
