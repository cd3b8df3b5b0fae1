#pragma once

#include <QObject>
#include <QPoint>

class MyCustomPlot;
class QCPGraph;
class QKeyEvent;

/**
 * The keyboard of one canvas. The canvas that was clicked has the focus and takes the keys.
 *
 * - Left, Right: move the crosshair of the selected curve by one sample, with Shift by ten, with Ctrl to the next
 * sample of another value.
 * - Home, End: move the crosshair to the first or last sample.
 * - A: fits the axes to all curves of the canvas.
 * - Backspace, Shift+Backspace, Ctrl+C, Ctrl+Shift+S: emit a signal, since they concern both canvases.
 *
 * Keys that need a selected curve do nothing without one. Other keys, and other modifiers, pass. Main thread only.
 */
class CanvasKeys : public QObject
{
    Q_OBJECT

public:
    /** A child of the controller, whose canvas must exist and outlive it. */
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
    QPoint m_pressed{-1, -1}; // where the mouse was pressed last
};
