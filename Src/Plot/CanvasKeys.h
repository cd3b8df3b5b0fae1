#pragma once

#include <QObject>
#include <QPoint>

class MyCustomPlot;
class QCPGraph;
class QKeyEvent;

/**
 * Keyboard shortcuts of one canvas. A click on a canvas gives it the keyboard focus.
 *
 * - Left, Right: move the crosshair of the selected curve by one sample, with Shift by ten, with Ctrl to the next
 * sample of another value.
 * - Home, End: move the crosshair to the first or last sample.
 * - A: fits the axes to all curves of the canvas.
 * - Backspace, Shift+Backspace, Ctrl+C, Ctrl+Shift+S: emit a signal, since they concern both canvases.
 *
 * Keys that need a selected curve do nothing without one. Other keys and modifiers are not handled. Main thread only.
 */
class CanvasKeys : public QObject
{
    Q_OBJECT

public:
    /** Becomes a child of the controller. The controller's canvas must exist and outlive it. */
    explicit CanvasKeys(MyCustomPlot *control);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void backRequested();
    void forwardRequested();
    void copyRequested();
    void saveRequested();

private:
    bool handleKey(const QKeyEvent &event);
    bool handleArrow(int direction, Qt::KeyboardModifiers modifiers);
    void moveTo(QCPGraph *curve, int index);
    int currentIndex(const QCPGraph &curve) const;
    void showReadOut(QCPGraph *curve, double key);
    void fitAllCurves();

    MyCustomPlot *m_control;
    QPoint m_pressed{-1, -1}; // position of the last mouse press
};
