#include "ViewHistory.h"

#include <QApplication>
#include <algorithm>

ViewHistory::ViewHistory(const QVector<QCustomPlot *> &canvases, QObject *parent)
    : QObject(parent)
    , m_canvases(canvases)
    , m_views{currentView()}
    , m_settled(new QTimer(this))
{
    m_settled->setSingleShot(true);
    m_settled->setInterval(kSettleMilliseconds);
    connect(m_settled, &QTimer::timeout, this, &ViewHistory::recordWhenStill);
    for (const QCustomPlot *canvas : canvases) {
        for (const QCPAxis *axis : {canvas->xAxis, canvas->yAxis})
            connect(axis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged), m_settled, qOverload<>(&QTimer::start));
    }
}

ViewHistory::View ViewHistory::currentView() const
{
    View view;
    for (const QCustomPlot *canvas : m_canvases) {
        view.ranges << canvas->xAxis->range() << canvas->yAxis->range();
        for (int i = 0; i < canvas->graphCount(); ++i)
            view.empty = view.empty && canvas->graph(i)->data()->isEmpty();
    }
    return view;
}

void ViewHistory::recordWhenStill()
{
    if (QApplication::mouseButtons() != Qt::NoButton)
        m_settled->start();
    else
        record();
}

void ViewHistory::record()
{
    m_settled->stop();
    const View view = currentView();
    View &current = m_views[m_position];
    if (view.ranges == current.ranges)
        return;
    // Going back to empty axes is useless.
    if (current.empty) {
        current = view;
        return;
    }
    m_views.resize(m_position + 1);
    m_views.append(view);
    if (m_views.size() > kMaxViews)
        m_views.removeFirst();
    m_position = m_views.size() - 1;
}

void ViewHistory::goBack()
{
    record();
    show(m_position - 1);
}

void ViewHistory::goForward()
{
    record();
    show(m_position + 1);
}

void ViewHistory::clear()
{
    m_settled->stop();
    m_views = {currentView()};
    m_position = 0;
}

void ViewHistory::show(int position)
{
    if (position < 0 || position >= m_views.size())
        return;
    m_position = position;
    const QVector<QCPRange> ranges = m_views.at(position).ranges;
    // Set the value axes first: a change of a linked time axis repaints both canvases immediately.
    for (int i = 0; i < m_canvases.size(); ++i)
        m_canvases[i]->yAxis->setRange(ranges.at(2 * i + 1));
    for (int i = 0; i < m_canvases.size(); ++i)
        m_canvases[i]->xAxis->setRange(ranges.at(2 * i));
    for (QCustomPlot *canvas : qAsConst(m_canvases))
        canvas->replot(QCustomPlot::rpQueuedReplot);
}
