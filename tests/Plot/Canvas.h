#pragma once

#include "Fixture.h"
#include "LogFile.h"
#include "MyCustomPlot.h"

#include <QMouseEvent>
#include <QObject>
#include <QStringList>
#include <qcustomplot.h>

/** Records the signals and replots of a canvas in order. */
class SignalRecord : public QObject
{
public:
    explicit SignalRecord(const MyCustomPlot &control)
    {
        connect(&control, &MyCustomPlot::statusShowSignal, this,
                [this](const QString &text) { m_events.append(QStringLiteral("status ") + text); });
        connect(&control, &MyCustomPlot::graphCheckedSignal, this,
                [this] { m_events.append(QStringLiteral("checked")); });
        connect(&control, &MyCustomPlot::doSwapPosSignal, this,
                [this](const MyGraph *graph) { m_events.append(QStringLiteral("swap ") + graph->graphName()); });
        if (control.plot())
            connect(control.plot(), &QCustomPlot::afterReplot, this,
                    [this] { m_events.append(QStringLiteral("replot")); });
    }

    /** Returns the events since the last call. */
    QStringList take()
    {
        QStringList events;
        events.swap(m_events);
        return events;
    }

private:
    QStringList m_events;
};

/** An 800x400 pixel canvas with its controller in a new Fixture. The flight starts at kStart. */
class Canvas
{
public:
    static constexpr qint64 kStart = 1700000000;

    Canvas()
    {
        canvas.resize(800, 400);
        startDateTime = QDateTime::fromSecsSinceEpoch(kStart);
        dataRead = true;
        control.initCustomPlot(&canvas);
        log.mark();
    }

    /** Sets the samples of a channel. */
    static MyGraph *channel(const char *label, const QVector<double> &samples)
    {
        setSamples(label, samples);
        return findGraph(QString::fromUtf8(label));
    }

    /** Sets the samples of a channel and shows it. */
    MyGraph *show(const char *label, const QVector<double> &samples)
    {
        MyGraph *const graph = channel(label, samples);
        control.myAddGraph(graph);
        return graph;
    }

    /** The first curve with this name, or null. */
    QCPGraph *curve(const char *name) const
    {
        for (int i = 0; i < canvas.graphCount(); ++i) {
            if (canvas.graph(i)->name() == QString::fromUtf8(name))
                return canvas.graph(i);
        }
        return nullptr;
    }

    QStringList curveNames() const
    {
        QStringList names;
        for (int i = 0; i < canvas.graphCount(); ++i)
            names.append(canvas.graph(i)->name());
        return names;
    }

    /** Selects only this curve. */
    QCPGraph *select(const char *name)
    {
        canvas.deselectAll();
        QCPGraph *const graph = curve(name);
        if (!graph)
            qFatal("no curve %s", name);
        graph->setSelection(QCPDataSelection(graph->data()->dataRange()));
        return graph;
    }

    static QVector<double> values(const QCPGraph *graph)
    {
        QVector<double> result;
        for (const QCPGraphData &point : *graph->data())
            result.append(point.value);
        return result;
    }

    static QVector<double> keys(const QCPGraph *graph)
    {
        QVector<double> result;
        for (const QCPGraphData &point : *graph->data())
            result.append(point.key);
        return result;
    }

    /** Moves the mouse pointer over the canvas with no button pressed. */
    void moveTo(const QPointF &pos)
    {
        QMouseEvent event(QEvent::MouseMove, pos, canvas.mapToGlobal(QPoint(0, 0)) + pos, Qt::NoButton, Qt::NoButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas, &event);
    }

    Fixture fixture;
    LogFile log;
    QCustomPlot canvas;
    MyCustomPlot control{nullptr};
};
