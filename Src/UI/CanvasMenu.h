#pragma once

#include <QMenu>

class MyCustomPlot;
class QCustomPlot;

/**
 * The menu of a right click on a canvas: what can be done with the selected curves, else with the selected axes, else
 * with the whole canvas.
 *
 * Deletes itself when it closes. Main thread only.
 */
class CanvasMenu : public QMenu
{
    Q_OBJECT

public:
    /** The curves' entries and their order differ by canvas; samples are added on the upper one alone. */
    enum Place { Upper, Lower };

    /** Looks at what is selected on the controller's canvas now. */
    CanvasMenu(MyCustomPlot *controller, Place place, QWidget *parent);

    /** Shows the menu at a position of its canvas. */
    void popUpAt(QPoint position);

signals:
    void penSettingsRequested();
    void fontSettingsRequested();

private:
    QCustomPlot *m_canvas;
};
