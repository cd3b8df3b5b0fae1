#pragma once

#include <QMenu>

class MyCustomPlot;
class QCustomPlot;

/**
 * The context menu of a canvas: actions for the selected curves, otherwise for the selected axes, otherwise for the
 * whole canvas.
 *
 * Deletes itself when it closes. Main thread only.
 */
class CanvasMenu : public QMenu
{
    Q_OBJECT

public:
    /** The curve actions and their order differ by canvas; only the upper one has actions to add samples. */
    enum Place { Upper, Lower };

    /** Creates the actions for the current selection of the controller's canvas. */
    CanvasMenu(MyCustomPlot *controller, Place place, QWidget *parent);

    /** Shows the menu. @param position in the canvas's coordinates */
    void popUpAt(QPoint position);

signals:
    void penSettingsRequested();
    void fontSettingsRequested();

private:
    QCustomPlot *m_canvas;
};
