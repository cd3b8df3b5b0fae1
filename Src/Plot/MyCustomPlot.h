#pragma once

#include "MyThemes.h"

#include <QFont>
#include <QObject>
#include <QPen>
#include <QString>
#include <QVector>
#include <functional>
#include <memory>

class MyGraph;
class QCPAbstractPlottable;
class QCPGraph;
class QCPItemTracer;
class QCustomPlot;
class QMouseEvent;

/**
 * Controller of one canvas: styles it, shows channels as curves, edits them, and shows the read-out at the cursor.
 *
 * A curve belongs to the channel with the same name. A canvas always holds at least one curve: when no channel is
 * shown, an empty placeholder without a name. The selected curve is the first of the canvas's selected graphs; slots
 * that need one do nothing without it. Main thread only.
 */
class MyCustomPlot : public QObject
{
    Q_OBJECT

public:
    /** Connects to the signals of AppEvent and AppConfig. */
    explicit MyCustomPlot(QObject *parent);

    /** Sets up a canvas. Call once, before any other function. Does not take ownership. */
    void initCustomPlot(QCustomPlot *canvas);

    /** Sets the function that returns the controller of a channel's canvas. Default: this controller for all. */
    void setCanvasOf(std::function<MyCustomPlot *(const MyGraph *)> canvasOf);

    /** The canvas; null before initCustomPlot(). */
    QCustomPlot *plot() const { return m_plot; }
    /** The crosshair of the read-out; owned by the canvas, too. */
    QCPItemTracer *tracer() const { return m_tracer.get(); }

    /** The first of the selected curves, or null. */
    QCPGraph *selectedCurve() const;
    /** Moves the crosshair to the curve's sample nearest to key. @return the text of the read-out */
    QString readOut(QCPGraph *curve, double key);

    /** Removes a channel's curve. @return false for null; true even if the channel is not shown */
    bool myRemoveGraph(MyGraph *graph);
    /** Removes the curve of the channel with this name. */
    bool myRemoveGraph(const QString &graphName);

    /** Seconds until the actual channel reaches the target's value at index; negative for never. O(samples). */
    double calRisingTime(MyGraph *g, MyGraph *t, int index);
    /** Signed area between the two around index, in value units times seconds. */
    double calArea(MyGraph *g, MyGraph *t, int index);

signals:
    /** A text for the status bar. */
    void statusShowSignal(const QString &s);
    /** The curves have changed. Receivers may add and remove curves. */
    void graphCheckedSignal();
    /** The channel has been removed from this canvas and belongs to the other one. */
    void doSwapPosSignal(MyGraph *g);

public slots:
    /** Removes the point under the crosshair from the curve, not from the channel. */
    void removeSelectedPointSlot();
    /** Shows a channel of the store by name and function code. */
    void myAddGraph(const QString &graphName, uchar functionCode);
    /** Shows the channel if flag is true, otherwise removes it. */
    void myAddGraph(MyGraph *graphSelected, bool flag);
    /** Shows a channel and computes its time keys. O(samples). */
    void myAddGraph(MyGraph *graphSelected);
    /** Replaces all curves by one with the given data and no channel. */
    void myAddGraph(const QString &graphName, const QVector<double> &yvalue, const QVector<double> &xvalue);
    /** Removes the selected curve. */
    void removeSelectedGraphSlot();
    /** Removes all curves. */
    void removeAllGraphsSlot();
    /** Fits both axes to the selected curve. */
    void rescaleGraphSlot();
    /** Fits both axes to the curve that was added last. */
    void rescaleAllGraphSlot();
    /** Fits the value axis to the selected curve. */
    void rescaleYSlot();
    /** Fits the value axis to the curve that was added last. */
    void rescaleAllYSlot();
    /** Removes the spikes of the selected curve from its channel. */
    void deleteErrorDataSlot();
    /** Sets the pen of the selected curve; the channel's pen is not changed. */
    void resetGraphSlot(const QPen &pen);
    /** Sets the font of the tick labels of both axes, if an axis is selected. */
    void resetAxisSizeSlot(const QFont &font);
    /** Applies the light or the dark theme. */
    void switchThemeSlot(MyThemes mode);
    /** Switches touch mode: a drag zooms to a rectangle instead of moving the ranges. */
    void switchRectMode(bool flag);
    /** Delays the selected curve by ten samples relative to its partner. */
    void addPointsSlot();
    /** Delays the selected curve by one sample relative to its partner. */
    void addOnePointSlot();
    /** Moves the selected curve to the other canvas. */
    void onSwapPosSlot();

private slots:
    void selectionChanged();
    void mousePress();
    void mouseWheel();
    void graphClicked(QCPAbstractPlottable *plottable, int dataIndex);
    void myMouseMoveEvent(QMouseEvent *event);
    void removeGraphFeedback(const QString &graphName);

private:
    void createTracer();
    void connectCanvas();
    QCPGraph *addCurve();
    void addPlaceholderIfEmpty();
    void removePlaceholder();
    void fitAxesToOnlyCurve(QCPGraph *curve);
    void forgetCurve(QObject *curve);
    QCPGraph *curveNamed(const QString &graphName) const;
    MyGraph *selectedChannel() const;
    void rescale(QCPGraph *curve, bool timeAxisToo);
    void delaySelectedCurve(int count);
    void replot();

    QCustomPlot *m_plot = nullptr;
    std::shared_ptr<QCPItemTracer> m_tracer;
    std::function<MyCustomPlot *(const MyGraph *)> m_canvasOf;
};
