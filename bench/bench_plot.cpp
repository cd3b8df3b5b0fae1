#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "MyCustomPlot.h"

#include <QApplication>
#include <QMouseEvent>
#include <QToolTip>
#include <QTranslator>
#include <cmath>
#include <memory>
#include <vector>

#include <qcustomplot.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

// The floor is a QCustomPlot with the same axes, legend, curves and pens, but without the controller.

namespace
{

constexpr int kSamples = 1000000;
constexpr int kTenHours = 180000;
constexpr QSize kOneCanvas(1500, 700);
constexpr qint64 kStart = 1700000000;

/** A slow oscillation with noise of a fixed seed, similar to an attitude in flight. */
QVector<double> flight(int samples, int seed)
{
    QVector<double> values(samples);
    quint32 state = 12345u + static_cast<quint32>(seed);
    for (double &value : values) {
        state = state * 1664525u + 1013904223u;
        const auto i = static_cast<double>(&value - values.constData());
        value = 20.0 * std::sin(i * 0.0003 * (1 + seed)) + (state >> 16) / 65536.0 + seed;
    }
    return values;
}

QPen thin(const QColor &color, Qt::PenStyle style = Qt::SolidLine)
{
    return {QBrush(color), 1, style};
}

/** A plain canvas styled like the night theme. */
std::unique_ptr<QCustomPlot> bareCanvas(const QSize &size, const QCustomPlot &pattern)
{
    auto plot = std::make_unique<QCustomPlot>();
    plot->resize(size);
    plot->setInteractions(pattern.interactions());
    plot->setBackground(QBrush(QColor(53, 53, 53)));
    plot->axisRect()->setupFullAxesBox(false);
    const QSharedPointer<QCPAxisTickerDateTime> ticker(new QCPAxisTickerDateTime);
    ticker->setDateTimeFormat(QStringLiteral("yyyy-MM-dd\nhh:mm:ss"));
    plot->xAxis->setTicker(ticker);
    plot->xAxis2->setVisible(false);
    plot->yAxis2->setVisible(false);
    for (QCPAxis *const axis : {plot->xAxis, plot->yAxis}) {
        axis->setTickLabelFont(pattern.xAxis->tickLabelFont());
        axis->setTickLabelColor(Qt::white);
        axis->setBasePen(thin(Qt::white));
        axis->setTickPen(thin(Qt::white));
        axis->setSubTickPen(thin(Qt::white));
        axis->setUpperEnding(QCPLineEnding(QCPLineEnding::esSpikeArrow, 8, 10, false));
        axis->grid()->setPen(thin(Qt::white, Qt::DashLine));
        axis->grid()->setSubGridPen(thin(Qt::white, Qt::DotLine));
        axis->grid()->setSubGridVisible(true);
    }
    plot->xAxis->grid()->setZeroLinePen(Qt::NoPen);
    plot->yAxis->grid()->setZeroLinePen(thin(Qt::white));
    plot->legend->setVisible(true);
    plot->legend->setFont(pattern.legend->font());
    plot->legend->setTextColor(Qt::white);
    plot->legend->setBrush(QColor(53, 53, 53, 150));
    plot->legend->setBorderPen(Qt::NoPen);
    plot->legend->setRowSpacing(-3);
    plot->legend->setFillOrder(QCPLayoutGrid::foColumnsFirst);
    plot->legend->setWrap(6);
    plot->plotLayout()->addElement(1, 0, plot->legend);
    plot->plotLayout()->setRowStretchFactor(1, 0.001);
    plot->legend->setMargins(QMargins(200, 1, 10, 1));
    return plot;
}

QCPGraph *addBareCurve(QCustomPlot &plot, const QString &name, const QVector<double> &keys,
                       const QVector<double> &values, const QPen &pen)
{
    QCPGraph *const curve = plot.addGraph();
    curve->setData(keys, values);
    curve->setName(name);
    curve->setPen(pen);
    return curve;
}

/** The same curves, ranges and selection as on another canvas. */
void copyCurves(QCustomPlot &to, const QCustomPlot &from)
{
    for (int i = 0; i < from.graphCount(); ++i) {
        const QCPGraph *const curve = from.graph(i);
        addBareCurve(to, curve->name(), {}, {}, curve->pen())
            ->data()
            ->set(QVector<QCPGraphData>(curve->data()->constBegin(), curve->data()->constEnd()), true);
    }
    to.xAxis->setRange(from.xAxis->range());
    to.yAxis->setRange(from.yAxis->range());
}

void select(QCPGraph *curve)
{
    curve->setSelection(QCPDataSelection(curve->data()->dataRange()));
}

void measureShow(MyCustomPlot &control, MyGraph *channel)
{
    const std::unique_ptr<QCustomPlot> bare = bareCanvas(kOneCanvas, *control.plot());
    const QVector<double> &values = static_cast<const MyGraph *>(channel)->yvalue();
    const QPen pen(QBrush(channel->color()), channel->width());
    const auto show = [&] {
        QVector<double> keys(values.size());
        for (int i = 0; i < keys.size(); ++i)
            keys[i] = i * 0.2 + kStart;
        addBareCurve(*bare, channel->graphName(), keys, values, pen)->rescaleAxes();
        bare->replot();
    };
    // Both canvases are cleared outside the timed section.
    const auto clear = [&] { bare->clearGraphs(); };
    bench::Figures best{1e9, 1e9};
    for (int run = 0; run < bench::kRuns; ++run) {
        clear();
        best.floor = std::min(best.floor, bench::milliseconds(show));
        control.myRemoveGraph(channel);
        best.measured = std::min(best.measured, bench::milliseconds([&] { control.myAddGraph(channel); }));
    }
    bench::printRow("show a channel of 1,000,000 samples", best, 1.25);
}

void measureReplot(MyCustomPlot &control)
{
    const std::unique_ptr<QCustomPlot> bare = bareCanvas(kOneCanvas, *control.plot());
    copyCurves(*bare, *control.plot());
    bench::printRow("replot 1,000,000 samples",
                    bench::bestOfSeven([&] { bare->replot(); }, [&] { control.plot()->replot(); }), 1.25);
}

void measureMouseMove(MyCustomPlot &control)
{
    const std::unique_ptr<QCustomPlot> bare = bareCanvas(kOneCanvas, *control.plot());
    copyCurves(*bare, *control.plot());
    auto *const tracer = new QCPItemTracer(bare.get());
    tracer->setStyle(QCPItemTracer::tsCrosshair);
    tracer->setPen(thin(Qt::red));
    tracer->setGraph(bare->graph(0));
    select(bare->graph(0));
    select(control.plot()->graph(0));
    AppConfig::getInstance().setShowFactor(true);

    // The pointer is at the left edge, where the search for the rise time scans the whole series.
    const auto left = static_cast<double>(control.plot()->axisRect()->left());
    double column = left;
    const auto moveTo = [&](QCustomPlot &plot, double x) {
        QMouseEvent event(QEvent::MouseMove, QPointF(x, 300), plot.mapToGlobal(QPoint(0, 0)) + QPointF(x, 300),
                          Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&plot, &event);
    };
    QObject::connect(bare.get(), &QCustomPlot::mouseMove, bare.get(), [&](QMouseEvent *event) {
        tracer->setGraphKey(bare->xAxis->pixelToCoord(event->pos().x()));
        tracer->updatePosition();
        QToolTip::showText(event->globalPos(), QString::number(tracer->position->value()), bare.get());
        bare->replot();
    });
    const bench::Figures figures
        = bench::bestOfSeven([&] { moveTo(*bare, column); }, [&] { moveTo(*control.plot(), column); },
                             [&] { column = left + (column > left ? 0 : 1); });
    bench::printRow("mouse move with the factor read-out", figures, 1.25);
    QToolTip::hideText();
}

/** @param replots if not 0, only replots so many times, for a profiler */
void measureTwoCanvases(int replots)
{
    const char *const labels[]{"横滚",     "目标横滚", "俯仰",     "目标俯仰", "航向",
                               "目标航向", "指示空速", "目标速度", "相对高度", "目标高度",
                               "横滚差值", "俯仰差值", "航向差值", "速度差值", "高度差值"};
    constexpr int kOnFirst = 10;
    const QSize sizes[]{{1920, 810}, {1920, 270}};

    QCustomPlot canvases[2];
    MyCustomPlot first(nullptr);
    MyCustomPlot second(nullptr);
    MyCustomPlot *const controls[]{&first, &second};
    for (int i = 0; i < 2; ++i) {
        canvases[i].resize(sizes[i]);
        controls[i]->initCustomPlot(&canvases[i]);
    }
    int row = 0;
    for (const char *const label : labels) {
        MyGraph *const channel = findGraph(QString::fromUtf8(label));
        channel->setYvalue(flight(kTenHours, row));
        controls[row < kOnFirst ? 0 : 1]->myAddGraph(channel);
        ++row;
    }
    const auto replotAll = [](QCustomPlot &a, QCustomPlot &b) {
        a.replot();
        b.replot();
    };
    std::unique_ptr<QCustomPlot> bare[2];
    for (int i = 0; i < 2; ++i) {
        controls[i]->rescaleAllGraphSlot();
        bare[i] = bareCanvas(sizes[i], canvases[i]);
        copyCurves(*bare[i], canvases[i]);
    }
    for (int i = 0; i < replots; ++i)
        replotAll(canvases[0], canvases[1]);
    if (replots == 0) {
        bench::printRow(
            "replot two canvases, 15 curves of 180,000 samples",
            bench::bestOfSeven([&] { replotAll(*bare[0], *bare[1]); }, [&] { replotAll(canvases[0], canvases[1]); }),
            1.1);
    }
    first.removeAllGraphsSlot();
    second.removeAllGraphsSlot();
}

void measureRisingTime(MyGraph *actual)
{
    MyGraph never(QStringLiteral("never reached"), 0, 0x05);
    never.setYvalue(QVector<double>(kSamples, 1e9));
    QCustomPlot canvas;
    MyCustomPlot control(nullptr);
    control.initCustomPlot(&canvas);
    double result = 0;
    const auto search = [&] { result += control.calRisingTime(actual, &never, 0); };
    const double best = bench::bestOfSeven(search, search).measured;
    if (result >= 0)
        qFatal("the goal was reached");
    bench::printLimit("rise time over 1,000,000 samples, never reached", best, 2);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    // The standard output is for the table.
    spdlog::set_default_logger(spdlog::stderr_color_mt("bench"));
    QTranslator translator;
    if (!translator.load(QStringLiteral(":/Ostravel_zh.qm")))
        qFatal("no catalogue");
    QApplication::installTranslator(&translator);
    initData();
    startDateTime = QDateTime::fromSecsSinceEpoch(kStart);
    dataRead = true;

    if (QCoreApplication::arguments().value(1) == QLatin1String("--replots")) {
        measureTwoCanvases(QCoreApplication::arguments().value(2).toInt());
        return 0;
    }
    MyGraph *const actual = findGraph(QStringLiteral("横滚"));
    MyGraph *const target = findGraph(QStringLiteral("目标横滚"));
    actual->setYvalue(flight(kSamples, 0));
    target->setYvalue(QVector<double>(kSamples, 1e9));

    {
        QCustomPlot canvas;
        canvas.resize(kOneCanvas);
        MyCustomPlot control(nullptr);
        control.initCustomPlot(&canvas);
        measureShow(control, actual);
        measureReplot(control);
        measureMouseMove(control);
    }
    measureRisingTime(actual);
    measureTwoCanvases(0);
    clearData();
    return 0;
}
