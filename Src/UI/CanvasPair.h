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
 * The two canvases of the window as one: their edges in line, curves that move from one to the other, the keys, views
 * and pictures of both.
 *
 * Main thread only.
 */
class CanvasPair : public QObject
{
    Q_OBJECT

public:
    /**
     * The controllers must have their canvases and must outlive this object's use. The window is the parent, of file
     * dialogs too.
     */
    CanvasPair(MyCustomPlot *upper, MyCustomPlot *lower, QWidget *window);

    /** The controller of the canvas that the channel's position means. */
    MyCustomPlot *controllerOf(const MyGraph *graph) const;

    /**
     * Shows (flag) or removes a channel on the canvas of its own position. Tells in the status bar where nothing has
     * been read and where there is no such channel.
     */
    void showChannel(const QString &graphName, quint8 functionCode, bool flag);

    /** Asks for a pen for the selected curve of each canvas that has one. */
    void askForPen();
    /** Asks for a font for the selected axes of both canvases. */
    void askForFont();

    /** Starts the history of views anew, as views of one log show nothing of the next. */
    void forgetViews();

    /** Tells the log that a picture is named after; it may be empty. */
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
