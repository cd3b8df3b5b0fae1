#pragma once

#include <qcustomplot.h>

/**
 * The rectangle of touch mode. Only the left button draws it, and a context menu ends it. A release that another window
 * takes ends it at the next move of the pointer.
 */
class ZoomRectangle : public QCPSelectionRect
{
    Q_OBJECT

public:
    /** Replaces the canvas's own rectangle; the canvas takes ownership. */
    static void install(QCustomPlot *canvas);

protected:
    void startSelection(QMouseEvent *event) override;
    void moveSelection(QMouseEvent *event) override;
    void endSelection(QMouseEvent *event) override;

private:
    explicit ZoomRectangle(QCustomPlot *canvas);
};
