#pragma once

#include <QObject>
#include <QTimer>
#include <QVector>
#include <qcustomplot.h>

/**
 * The views that the user has had of some canvases, as a browser has its pages. A view is the ranges of all axes.
 *
 * A view is recorded when the ranges have been still for kSettleMilliseconds with no mouse button down, so a drag or a
 * series of wheel turns is one step. Keeps the last kMaxViews views. A view without a curve is replaced by the next
 * one. Main thread only.
 */
class ViewHistory : public QObject
{
    Q_OBJECT

public:
    static constexpr int kSettleMilliseconds = 300;
    static constexpr int kMaxViews = 200;

    /** Starts with the present view. The canvases must outlive it or its use. */
    ViewHistory(const QVector<QCustomPlot *> &canvases, QObject *parent);

    /** Number of views, the present one included. */
    int count() const { return m_views.size(); }
    /** Number of views behind the present one. */
    int position() const { return m_position; }

public slots:
    /** To the view before, or to the one after. Nothing where there is none. */
    ///@{
    void goBack();
    void goForward();
    ///@}
    /** Starts anew with the present view, as for another log. */
    void clear();

private:
    struct View {
        QVector<QCPRange> ranges; // time and value axis of each canvas
        bool empty = true; // no curve had a sample
    };

    View presentView() const;
    void record();
    void recordWhenStill();
    void show(int position);

    QVector<QCustomPlot *> m_canvases;
    QVector<View> m_views;
    int m_position = 0;
    QTimer *m_settled;
};
