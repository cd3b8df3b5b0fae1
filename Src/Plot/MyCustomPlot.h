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
 * Controller of one canvas: dresses it, puts channels on it as curves, edits them, and reads out what lies under the
 * cursor.
 *
 * A curve and its channel are tied by name alone. A canvas always holds a curve; where there is none to show, an empty
 * one without a name stands in. The selected curve is the first of the canvas's selected graphs; slots that need one
 * do nothing without. Main thread only.
 */
class MyCustomPlot : public QObject
{
    Q_OBJECT

public:
    /** Listens to AppEvent and AppConfig from here on. */
    explicit MyCustomPlot(QObject *parent);

    /** Dresses a canvas and takes control of it. Once, before anything else. The canvas stays with its parent. */
    void initCustomPlot(QCustomPlot *canvas);

    /** Tells which controller a channel's position means; without it, this one is the only one. */
    void setCanvasOf(std::function<MyCustomPlot *(const MyGraph *)> canvasOf);

    /** The canvas; null before initCustomPlot(). */
    QCustomPlot *plot() const { return m_plot; }
    /** Marker of the read-out; the canvas owns it as well. */
    QCPItemTracer *tracer() const { return m_tracer.get(); }

    /** The first of the selected curves, or null. */
    QCPGraph *selectedCurve() const;
    /** Puts the crosshair on the curve's sample nearest to key, and gives the text of the read-out. */
    QString readOut(QCPGraph *curve, double key);

    /** Takes a channel off the canvas. True also when it was not there, false for null. */
    bool myRemoveGraph(MyGraph *graph);
    /** The same, for the channel of that name. */
    bool myRemoveGraph(const QString &graphName);

    /** Seconds until the actual channel reaches the target's value at index; negative for never. O(samples). */
    double calRisingTime(MyGraph *g, MyGraph *t, int index);
    /** Signed area between the two about index, in value units times seconds. */
    double calArea(MyGraph *g, MyGraph *t, int index);

signals:
    /** A text for the status bar. */
    void statusShowSignal(const QString &s);
    /** The curves have changed; the receiver may show and remove further ones inside the signal. */
    void graphCheckedSignal();
    /** The channel has left this canvas for the other one. */
    void doSwapPosSignal(MyGraph *g);

public slots:
    /** Takes the point under the crosshair out of the curve; the channel keeps it. */
    void removeSelectedPointSlot();
    /** Shows a channel of the store by name and function code. */
    void myAddGraph(const QString &graphName, uchar functionCode);
    /** Shows the channel, or removes it where flag is false. */
    void myAddGraph(MyGraph *graphSelected, bool flag);
    /** Shows a channel and builds its time keys. O(samples). */
    void myAddGraph(MyGraph *graphSelected);
    /** Shows loose data, with no channel behind it, in place of everything else. */
    void myAddGraph(const QString &graphName, const QVector<double> &yvalue, const QVector<double> &xvalue);
    /** Takes the selected curve off the canvas. */
    void removeSelectedGraphSlot();
    /** Takes every curve off the canvas. */
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
    /** Gives the selected curve a pen; the channel keeps its own. */
    void resetGraphSlot(const QPen &pen);
    /** Gives the numbers of both axes a font, when one of the two is selected. */
    void resetAxisSizeSlot(const QFont &font);
    /** Dresses the canvas for day or night. */
    void switchThemeSlot(MyThemes mode);
    /** Touch mode: a drag zooms to a rectangle rather than moving the ranges. */
    void switchRectMode(bool flag);
    /** Moves the selected curve later against its partner by ten samples. */
    void addPointsSlot();
    /** Moves the selected curve later against its partner by one sample. */
    void addOnePointSlot();
    /** Sends the selected curve to the other canvas. */
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
