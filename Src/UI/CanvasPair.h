#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <utility>

class MyCustomPlot;
class MyGraph;
class QWidget;
class ViewHistory;

/**
 * Functions that concern both canvases of the window: alignment, moving curves between them, keyboard shortcuts, view
 * history and pictures.
 *
 * Main thread only.
 */
class CanvasPair : public QObject
{
    Q_OBJECT

public:
    /**
     * Call after initCustomPlot() of both controllers, which must outlive this object. The window becomes the parent of
     * this object and of dialogs.
     */
    CanvasPair(MyCustomPlot *upper, MyCustomPlot *lower, QWidget *window);

    /** The controller of the canvas that the channel's position selects. */
    MyCustomPlot *controllerOf(const MyGraph *graph) const;

    /**
     * Shows (flag is true) or removes a channel on the canvas of its position. Emits statusShowSignal() when no flight
     * has been read or the channel does not exist.
     */
    void showChannel(const QString &graphName, quint8 functionCode, bool flag);

    /** Asks for a pen for the selected curve of each canvas that has one. */
    void askForPen();
    /** Asks for a font for the selected axes of both canvases. */
    void askForFont();

    /** Clears the view history; call it when another log is read. */
    void forgetViews();

    /** Sets the function that returns the path of the log; pictures are named after it. It may return an empty path. */
    void setLogPath(std::function<QString()> logPath) { m_logPath = std::move(logPath); }

signals:
    void statusShowSignal(const QString &text);

private:
    void setUpKeys();
    QString picturePath() const;

    MyCustomPlot *m_upper;
    MyCustomPlot *m_lower;
    QWidget *m_window;
    ViewHistory *m_history = nullptr;
    std::function<QString()> m_logPath;
};
