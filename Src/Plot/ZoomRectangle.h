#pragma once

#include <qcustomplot.h>

/**
 * The zoom rectangle of touch mode. Only the left button draws it; opening a context menu cancels it. When another
 * window receives the button release, the next mouse move cancels it.
 */
class ZoomRectangle : public QCPSelectionRect
{
    Q_OBJECT

public:
    /** Replaces the canvas's default rectangle; the canvas takes ownership. */
    static void install(QCustomPlot *canvas);

protected:
    void startSelection(QMouseEvent *event) override;
    void moveSelection(QMouseEvent *event) override;
    void endSelection(QMouseEvent *event) override;

private:
    explicit ZoomRectangle(QCustomPlot *canvas);
};
