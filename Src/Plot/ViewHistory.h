#pragma once

#include <QObject>
#include <QTimer>
#include <QVector>
#include <qcustomplot.h>

/**
 * History of the views of several canvases, with back and forward as in a browser. A view is the ranges of all axes.
 *
 * A view is recorded when the ranges have not changed for kSettleMilliseconds and no mouse button is down, so a drag or
 * a series of wheel turns is one step. Keeps the last kMaxViews views. A view without samples is replaced by the next
 * view. Main thread only.
 */
class ViewHistory : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSettleMilliseconds = 300;
    static constexpr int kMaxViews = 200;

    /** Starts with the current view. No function may be called after a canvas is destroyed. */
    ViewHistory(const QVector<QCustomPlot *> &canvases, QObject *parent);

    /** Number of views, including the current one. */
    int count() const { return m_views.size(); }
    /** Index of the current view, from 0. */
    int position() const { return m_position; }

public slots:
    /** Shows the previous or the next view. Does nothing when there is none. */
    ///@{
    void goBack();
    void goForward();
    ///@}
    /** Drops all views and restarts with the current one, for example for another log. */
    void clear();

private:
    struct View {
        QVector<QCPRange> ranges; // time and value axis of each canvas
        bool empty = true; // no curve has samples
    };

    View currentView() const;
    void record();
    void recordWhenStill();
    void show(int position);

    QVector<QCustomPlot *> m_canvases;
    QVector<View> m_views;
    int m_position = 0;
    QTimer *m_settled;
};
