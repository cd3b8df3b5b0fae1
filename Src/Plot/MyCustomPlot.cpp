#include "MyCustomPlot.h"

#include "AppConfig.h"
#include "AppEvent.h"
#include "CanvasLook.h"
#include "CanvasSelection.h"
#include "CanvasTracer.h"
#include "ChannelStore.h"
#include "CurveMath.h"
#include "FrameTable.h"
#include "Logging.h"
#include "ReadOutText.h"
#include "ZoomRectangle.h"

#include <QMouseEvent>
#include <QPointer>
#include <QToolTip>
#include <qcustomplot.h>
#include <utility>

using canvaslook::linePen;

namespace
{

constexpr char kAllGraphs[] = "ALL";

} // namespace

MyCustomPlot::MyCustomPlot(QObject *parent)
    : QObject(parent)
{
    connect(&AppEvent::getInstance(), &AppEvent::touchModeSignal, this, &MyCustomPlot::switchRectMode);
    connect(&AppEvent::getInstance(), &AppEvent::resetGraphSignal, this, &MyCustomPlot::resetGraphSlot);
    connect(&AppConfig::getInstance(), &AppConfig::switchThemeSignal, this, &MyCustomPlot::switchThemeSlot);
}

void MyCustomPlot::initCustomPlot(QCustomPlot *canvas)
{
    m_plot = canvas;
    createTracer();
    connectCanvas();
    m_plot->setInteractions(QCP::iRangeDrag | QCP::iRangeZoom | QCP::iMultiSelect | QCP::iSelectPlottables
                            | QCP::iSelectAxes | QCP::iSelectLegend);
    m_plot->setMultiSelectModifier(Qt::ControlModifier);
    canvaslook::dressLegend(m_plot);
    canvaslook::dressAxes(m_plot);
    ZoomRectangle::install(m_plot);
    addPlaceholderIfEmpty();
    switchThemeSlot(AppConfig::getInstance().getTheme());
    emit statusShowSignal(QStringLiteral("画布初始化完成"));
}

void MyCustomPlot::setCanvasOf(std::function<MyCustomPlot *(const MyGraph *)> canvasOf)
{
    m_canvasOf = std::move(canvasOf);
}

void MyCustomPlot::createTracer()
{
    // The canvas may be destroyed first and deletes its items, so the deleter checks whether the tracer still exists.
    QPointer<QCPItemTracer> tracer(new CanvasTracer(m_plot));
    m_tracer = std::shared_ptr<QCPItemTracer>(tracer.data(), [tracer](QCPItemTracer *) {
        if (tracer)
            tracer->deleteLater();
    });
}

void MyCustomPlot::connectCanvas()
{
    connect(m_plot, &QCustomPlot::mouseMove, this, &MyCustomPlot::myMouseMoveEvent);
    m_plot->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_plot, &QCustomPlot::selectionChangedByUser, this, &MyCustomPlot::selectionChanged);
    connect(m_plot, &QCustomPlot::mousePress, this, &MyCustomPlot::mousePress);
    connect(m_plot, &QCustomPlot::mouseWheel, this, &MyCustomPlot::mouseWheel);
    connect(m_plot->xAxis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged), m_plot->xAxis2,
            qOverload<const QCPRange &>(&QCPAxis::setRange));
    connect(m_plot->yAxis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged), m_plot->yAxis2,
            qOverload<const QCPRange &>(&QCPAxis::setRange));
    connect(m_plot, &QCustomPlot::plottableClick, this, &MyCustomPlot::graphClicked);
}

QCPGraph *MyCustomPlot::addCurve()
{
    QCPGraph *const curve = m_plot->addGraph();
    // The tracer must not keep a pointer to a deleted curve.
    connect(curve, &QObject::destroyed, this, &MyCustomPlot::forgetCurve);
    return curve;
}

void MyCustomPlot::forgetCurve(QObject *curve)
{
    if (m_tracer->graph() != curve)
        return;
    m_tracer->setGraph(nullptr);
    m_tracer->setVisible(false);
}

void MyCustomPlot::addPlaceholderIfEmpty()
{
    if (m_plot->graphCount() > 0)
        return;
    QCPGraph *const placeholder = addCurve();
    placeholder->setPen(linePen(defaultColor));
    placeholder->setName(QString());
    // An invisible curve needs no legend entry.
    placeholder->removeFromLegend();
}

void MyCustomPlot::removePlaceholder()
{
    if (m_plot->graphCount() == 1 && m_plot->graph(0)->data()->isEmpty())
        m_plot->removeGraph(0);
}

void MyCustomPlot::fitAxesToOnlyCurve(QCPGraph *curve)
{
    if (m_plot->graphCount() >= 2)
        return;
    curve->rescaleAxes(true);
    curve->rescaleAxes(false);
}

QCPGraph *MyCustomPlot::curveNamed(const QString &graphName) const
{
    // An 8-bit index would loop forever on a canvas with 256 curves.
    for (int i = 0; i < m_plot->graphCount(); ++i) {
        if (m_plot->graph(i)->name() == graphName)
            return m_plot->graph(i);
    }
    return nullptr;
}

QCPGraph *MyCustomPlot::selectedCurve() const
{
    return m_plot ? m_plot->selectedGraphs().value(0) : nullptr;
}

MyGraph *MyCustomPlot::selectedChannel() const
{
    const QCPGraph *const curve = selectedCurve();
    return curve ? findGraph(curve->name()) : nullptr;
}

void MyCustomPlot::replot()
{
    m_plot->replot(QCustomPlot::rpRefreshHint);
}

void MyCustomPlot::myAddGraph(MyGraph *graphSelected)
{
    if (!graphSelected) {
        emit statusShowSignal(tr("not find graph"));
        return;
    }
    MyGraph &channel = *graphSelected;
    if (curveNamed(channel.graphName())) {
        logToBoth(warn, "add graph,but graph is exist:{}", channel.graphName());
        return;
    }
    const QVector<double> &samples = graphSelected->yvalue();
    if (samples.isEmpty())
        emit statusShowSignal(tr("data count is zero"));

    removePlaceholder();
    QCPGraph *const curve = addCurve();
    const int index = m_plot->graphCount() - 1;
    channel.setXvalue(curvemath::timeKeys(samples.size(), startDateTime.toSecsSinceEpoch(), channel.interval()));
    curve->setData(channel.xvalue(), samples, false);
    curve->setName(channel.graphName());
    fitAxesToOnlyCurve(curve);
    curve->setPen(QPen(QBrush(channel.color()), channel.width(), static_cast<Qt::PenStyle>(channel.style())));

    channel.setShown(true);
    emit statusShowSignal(tr("show graph:") + channel.graphName());
    replot();
    channel.setGraphIndex(index);
    emit graphCheckedSignal();
    logToBoth(info, "add graph:{}, graph index is {}", channel.graphName(), index);
}

void MyCustomPlot::myAddGraph(MyGraph *graphSelected, bool flag)
{
    if (flag)
        myAddGraph(graphSelected);
    else
        myRemoveGraph(graphSelected);
}

void MyCustomPlot::myAddGraph(const QString &graphName, uchar functionCode)
{
    if (!dataRead) {
        emit statusShowSignal(tr("not read data yet"));
        return;
    }
    if (curveNamed(graphName)) {
        logToBoth(warn, "add graph,but graph is exist:{}", graphName);
        return;
    }
    myAddGraph(findGraphByCode(graphName, functionCode));
}

void MyCustomPlot::myAddGraph(const QString &graphName, const QVector<double> &yvalue, const QVector<double> &xvalue)
{
    removeAllGraphsSlot();
    removePlaceholder();
    QCPGraph *const curve = addCurve();
    curve->setData(xvalue, yvalue);
    curve->setName(graphName);
    fitAxesToOnlyCurve(curve);
    curve->setPen(linePen(Qt::red));
    emit statusShowSignal(tr("show graph:") + graphName);
    replot();
}

bool MyCustomPlot::myRemoveGraph(MyGraph *graph)
{
    if (!graph) {
        emit statusShowSignal(tr("not find graph"));
        return false;
    }
    if (m_plot->graphCount() == 0)
        return false;
    // The index also advances after a removal: of two adjacent curves with the same name, the second is kept.
    for (int i = 0; i < m_plot->graphCount(); ++i) {
        if (m_plot->graph(i)->name() != graph->graphName())
            continue;
        m_plot->removeGraph(i);
        logToBoth(info, "delete graph {}", graph->graphName());
        graph->setShown(false);
        graph->setGraphIndex(-1);
    }
    addPlaceholderIfEmpty();
    replot();
    emit graphCheckedSignal();
    return true;
}

bool MyCustomPlot::myRemoveGraph(const QString &graphName)
{
    return myRemoveGraph(findGraph(graphName));
}

void MyCustomPlot::removeSelectedGraphSlot()
{
    QCPGraph *const curve = selectedCurve();
    if (!curve)
        return;
    const QString name = curve->name();
    m_plot->removeGraph(curve);
    emit statusShowSignal(tr("remove") + name + tr("graph"));
    addPlaceholderIfEmpty();
    replot();
    removeGraphFeedback(name);
    logToBoth(info, "delete selected graph {}", name);
}

void MyCustomPlot::removeAllGraphsSlot()
{
    logToBoth(info, "remove all Graph");
    m_plot->clearGraphs();
    addPlaceholderIfEmpty();
    replot();
    removeGraphFeedback(QString::fromLatin1(kAllGraphs));
    emit statusShowSignal(tr("remove all graph"));
}

void MyCustomPlot::removeGraphFeedback(const QString &graphName)
{
    if (graphName == QLatin1String(kAllGraphs)) {
        for (const ChannelGroup &group : channelGroups()) {
            // The flag of the backup channel is not reset.
            if (group.code == frame::kBackup)
                continue;
            for (MyGraph *const channel : group) {
                if (channel)
                    channel->setShown(false);
            }
        }
    } else if (MyGraph *const channel = findGraph(graphName)) {
        channel->setShown(false);
    }
    emit graphCheckedSignal();
}

void MyCustomPlot::deleteErrorDataSlot()
{
    QCPGraph *const curve = selectedCurve();
    MyGraph *const channel = selectedChannel();
    // A single sample has no neighbour to compare with.
    if (!channel || channel->yvalue().size() < 2)
        return;
    curvemath::removeSpikes(channel->yvalue());
    m_plot->removeGraph(curve);
    myAddGraph(channel);
    logToBoth(info, "delete error data of {}", channel->graphName());
}

void MyCustomPlot::removeSelectedPointSlot()
{
    QCPGraph *const curve = m_tracer ? m_tracer->graph() : nullptr;
    if (!curve)
        return;
    curve->data()->remove(m_tracer->position->key());
    replot();
}

void MyCustomPlot::addOnePointSlot()
{
    delaySelectedCurve(1);
}

void MyCustomPlot::addPointsSlot()
{
    delaySelectedCurve(10);
}

void MyCustomPlot::delaySelectedCurve(int count)
{
    // Showing the partner again emits graphCheckedSignal(), whose receivers may remove this curve.
    const QPointer<QCPGraph> curve = selectedCurve();
    MyGraph *const channel = selectedChannel();
    if (!channel || channel->yvalue().isEmpty())
        return;

    // The number of differences to recalculate is the sample count before the delay.
    const int samples = channel->yvalue().size();
    const bool isActual = channel->role() == MyGraph::Actual;
    curvemath::repeatFirst(channel->yvalue(), count);
    if (isActual || channel->role() == MyGraph::Target) {
        MyGraph *const partner = findGraph(isActual ? channel->targetName() : channel->actualName());
        MyGraph *const difference = findGraph(channel->diffName());
        if (partner)
            curvemath::repeatLast(partner->yvalue(), count);
        if (difference)
            curvemath::appendZeros(difference->yvalue(), count);
        if (partner && partner->shown()) {
            // The partner may be shown on the other canvas.
            MyCustomPlot *const home = m_canvasOf ? m_canvasOf(partner) : this;
            home->myRemoveGraph(partner);
            home->myAddGraph(partner);
        }
        if (partner && difference) {
            const MyGraph *const minuend = isActual ? channel : partner;
            const MyGraph *const subtrahend = isActual ? partner : channel;
            curvemath::recalculateDifferences(difference->yvalue(), minuend->yvalue(), subtrahend->yvalue(), samples);
        }
    }
    if (curve)
        m_plot->removeGraph(curve);
    myAddGraph(channel);
}

void MyCustomPlot::onSwapPosSlot()
{
    MyGraph *const channel = selectedChannel();
    if (!channel)
        return;
    channel->setPosition(channel->position() == MyGraph::FirstCanvas ? MyGraph::SecondCanvas : MyGraph::FirstCanvas);
    myRemoveGraph(channel);
    emit doSwapPosSignal(channel);
}

void MyCustomPlot::resetGraphSlot(const QPen &pen)
{
    QCPGraph *const curve = selectedCurve();
    if (!curve)
        return;
    curve->setPen(pen);
    replot();
}

void MyCustomPlot::rescale(QCPGraph *curve, bool timeAxisToo)
{
    if (!curve)
        return;
    if (timeAxisToo)
        curve->rescaleAxes(false);
    else
        curve->rescaleValueAxis(false, false);
    replot();
}

void MyCustomPlot::rescaleGraphSlot()
{
    rescale(selectedCurve(), true);
}

void MyCustomPlot::rescaleYSlot()
{
    rescale(selectedCurve(), false);
}

void MyCustomPlot::rescaleAllGraphSlot()
{
    rescale(m_plot->graph(), true); // the curve added last
}

void MyCustomPlot::rescaleAllYSlot()
{
    rescale(m_plot->graph(), false);
}

void MyCustomPlot::resetAxisSizeSlot(const QFont &font)
{
    if (m_plot->selectedAxes().isEmpty())
        return;
    canvaslook::setTickLabelFont(m_plot, font);
    replot();
}

void MyCustomPlot::switchThemeSlot(MyThemes mode)
{
    // AppConfig may emit the signal before initCustomPlot().
    if (!m_plot)
        return;
    if (mode == lightTheme)
        logToBoth(info, "graph set day mode");
    else if (mode == darkTheme)
        logToBoth(info, "graph set night mode");
    canvaslook::setTheme(m_plot, mode);
    m_plot->selectionRect()->setPen(linePen(defaultColor));
    replot();
}

void MyCustomPlot::switchRectMode(bool flag)
{
    if (!m_plot)
        return;
    if (flag)
        logToBoth(info, "graph enable touch mode");
    else
        logToBoth(info, "graph disable touch mode");
    m_plot->selectionRect()->setPen(linePen(defaultColor));
    m_plot->setSelectionRectMode(flag ? QCP::srmZoom : QCP::srmNone);
}

void MyCustomPlot::selectionChanged()
{
    canvasselection::complete(m_plot);
}

void MyCustomPlot::mousePress()
{
    m_plot->axisRect()->setRangeDrag(canvasselection::orientations(m_plot));
}

void MyCustomPlot::mouseWheel()
{
    m_plot->axisRect()->setRangeZoom(canvasselection::orientations(m_plot));
}

void MyCustomPlot::graphClicked(QCPAbstractPlottable *plottable, int dataIndex)
{
    const QString text = readouttext::click(plottable, dataIndex);
    if (!text.isEmpty())
        emit statusShowSignal(text);
}

double MyCustomPlot::calRisingTime(MyGraph *g, MyGraph *t, int index)
{
    return curvemath::risingTime(g, t, index);
}

double MyCustomPlot::calArea(MyGraph *g, MyGraph *t, int index)
{
    return curvemath::area(g, t, index);
}

void MyCustomPlot::myMouseMoveEvent(QMouseEvent *event)
{
    const QPoint pixel = event->localPos().toPoint();
    const double key = m_plot->xAxis->pixelToCoord(pixel.x());

    QString text;
    if (QCPGraph *const curve = selectedCurve()) {
        text = readOut(curve, key);
    } else {
        m_tracer->setVisible(false);
        const double value = m_plot->yAxis->pixelToCoord(pixel.y());
        text = readouttext::pointer(key, value);
    }
    QToolTip::showText(event->screenPos().toPoint(), text, m_plot);
    replot();
}

QString MyCustomPlot::readOut(QCPGraph *curve, double key)
{
    m_tracer->setVisible(true);
    m_tracer->setGraph(curve);
    m_tracer->setGraphKey(key);
    m_tracer->setInterpolating(false);
    m_tracer->updatePosition();
    return readouttext::sample(curve->name(), m_tracer->position->key(), m_tracer->position->value());
}
