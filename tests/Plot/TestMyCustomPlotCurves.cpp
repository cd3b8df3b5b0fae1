#include "Canvas.h"
#include "DebugOutput.h"
#include "MyCustomPlot.h"

#include <QSignalSpy>
#include <QTest>

using Series = QVector<double>;

namespace
{

/** Labels of a triad and of a channel without a triad. */
constexpr char kActual[] = "横滚";
constexpr char kTarget[] = "目标横滚";
constexpr char kDifference[] = "横滚差值";
constexpr char kOrdinary[] = "气压高度";

Series ramp(int count, double first = 0.0)
{
    Series series;
    for (int i = 0; i < count; ++i)
        series.append(first + i);
    return series;
}

} // namespace

class TestMyCustomPlotCurves : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<MyGraph *>("MyGraph*"); }

    // Showing

    void aChannelIsShownAsACurve()
    {
        Canvas c;
        MyGraph *const g = Canvas::channel(kActual, {3, 1, 2});
        g->setColor(QColor(12, 34, 56));
        g->setWidth(3);
        g->setStyle(Qt::DashDotLine);
        c.control.myAddGraph(g);
        QCOMPARE(c.curveNames(), QStringList(kActual));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{3, 1, 2}));
        const Series keys{1700000000.0, 1700000000.2, 1700000000.4};
        QVERIFY(Canvas::keys(c.curve(kActual)) == keys);
        QVERIFY(g->xvalue() == keys);
        QCOMPARE(c.curve(kActual)->pen(), QPen(QBrush(QColor(12, 34, 56)), 3, Qt::DashDotLine));
        QVERIFY(g->shown());
        QCOMPARE(g->graphIndex(), 0);
    }
    void showingEmitsTheStatusThenReplotsThenEmitsChecked()
    {
        Canvas c;
        MyGraph *const g = Canvas::channel(kActual, {3, 1, 2});
        SignalRecord record(c.control);
        // The status signal comes after the shown flag but before the index is set. graphCheckedSignal comes last.
        bool shownAtStatus = false;
        int indexAtStatus = 99;
        int indexAtTicks = 99;
        connect(&c.control, &MyCustomPlot::statusShowSignal, &record, [&] {
            shownAtStatus = g->shown();
            indexAtStatus = g->graphIndex();
        });
        connect(&c.control, &MyCustomPlot::graphCheckedSignal, &record, [&] { indexAtTicks = g->graphIndex(); });
        c.control.myAddGraph(g);
        QCOMPARE(record.take(), (QStringList{"status 显示曲线：横滚", "replot", "checked"}));
        QVERIFY(shownAtStatus);
        QCOMPARE(indexAtStatus, -1);
        QCOMPARE(indexAtTicks, 0);
        QCOMPARE(c.log.leveledMessages(), QStringList("info: add graph:横滚, graph index is 0"));
    }
    void theSecondCurveHasTheNextIndex()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.log.mark();
        QCOMPARE(c.show(kTarget, {1, 2})->graphIndex(), 1);
        QCOMPARE(c.log.leveledMessages(), QStringList("info: add graph:目标横滚, graph index is 1"));
    }
    void showingANullChannelIsReportedAndIgnored()
    {
        Canvas c;
        SignalRecord record(c.control);
        c.control.myAddGraph(nullptr);
        c.control.myAddGraph(nullptr, true);
        QCOMPARE(record.take(), (QStringList{"status 未找到曲线", "status 未找到曲线"}));
        QCOMPARE(c.curveNames(), QStringList(""));
        QCOMPARE(c.log.messages(), QStringList());
    }
    void showingACurveTwiceIsOnlyLogged()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        g->setYvalue({7, 8, 9});
        c.log.mark();
        SignalRecord record(c.control);
        c.control.myAddGraph(g);
        QCOMPARE(record.take(), QStringList());
        QCOMPARE(c.curveNames(), QStringList(kActual));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{1, 2}));
        QCOMPARE(c.log.leveledMessages(), QStringList("warning: add graph,but graph is exist:横滚"));
    }
    void anEmptyChannelIsReportedAndShown()
    {
        Canvas c;
        SignalRecord record(c.control);
        MyGraph *const g = c.show(kActual, {});
        QCOMPARE(record.take(), (QStringList{"status 数据量为0", "status 显示曲线：横滚", "replot", "checked"}));
        QCOMPARE(c.curveNames(), QStringList(kActual));
        QVERIFY(g->shown());
        QVERIFY(g->xvalue().isEmpty());
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(0, 1));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-1, 1));
    }
    void theFirstCurveFitsTheAxesAndLaterOnesDoNot()
    {
        Canvas c;
        c.show(kActual, {-4, 2, 6});
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(Canvas::kStart, Canvas::kStart + 0.4));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-4, 6));
        c.show(kTarget, {100, 200, 300, 400});
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(Canvas::kStart, Canvas::kStart + 0.4));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-4, 6));
    }
    void aConstantFirstCurveKeepsTheSizeOfTheInitialRange()
    {
        Canvas c;
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-1, 1));
        c.show(kActual, {5, 5, 5, 5});
        // The range is first enlarged to -1 to 5. A constant curve has no height, so this size is centred on it.
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(2, 8));
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(Canvas::kStart, Canvas::kStart + 3 * 0.2));
    }
    /** A cancelled colour dialog gives an invalid colour. */
    void aChannelWithoutAValidColourIsDrawnInBlack()
    {
        Canvas c;
        targetColor = QColor();
        Fixture::renewStore();
        const MyGraph *const graph = c.show("高度差值", {1.0, 2.0});
        QVERIFY(!graph->color().isValid());
        const QPen pen = c.curve("高度差值")->pen();
        QCOMPARE(pen.style(), Qt::SolidLine);
        QCOMPARE(pen.color().rgb(), QColor(Qt::black).rgb());
    }

    void keysAreRebuiltAtEachShow()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.control.myRemoveGraph(g);
        g->setInterval(1000);
        startDateTime = QDateTime::fromMSecsSinceEpoch(1600000000999);
        c.control.myAddGraph(g);
        QVERIFY(g->xvalue() == (Series{1600000000.0, 1600000001.0}));
        QVERIFY(Canvas::keys(c.curve(kActual)) == g->xvalue());
    }
    void aChannelWithAPeriodOfZeroOrLessCanBeShown_data()
    {
        QTest::addColumn<int>("interval");
        QTest::addColumn<Series>("sortedKeys");
        QTest::newRow("zero") << 0 << Series{1700000000, 1700000000, 1700000000};
        QTest::newRow("negative") << -1000 << Series{1699999998, 1699999999, 1700000000};
    }
    void aChannelWithAPeriodOfZeroOrLessCanBeShown()
    {
        QFETCH(int, interval);
        QFETCH(Series, sortedKeys);
        Canvas c;
        MyGraph *const g = Canvas::channel(kActual, {1, 2, 3});
        g->setInterval(interval);
        c.control.myAddGraph(g);
        QVERIFY(Canvas::keys(c.curve(kActual)) == sortedKeys);
        c.select(kActual);
        c.moveTo({400, 100});
        c.canvas.replot();
    }
    void manyCurvesAreShownAndFoundBeyondTheEightBitIndex()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        // The user renames each curve in the legend and shows the channel again.
        for (int i = 0; i < 300; ++i) {
            c.curve(kActual)->setName(QStringLiteral("copy %1").arg(i));
            c.control.myAddGraph(g);
        }
        QCOMPARE(c.canvas.graphCount(), 301);
        c.log.mark();
        c.control.myAddGraph(g);
        QCOMPARE(c.canvas.graphCount(), 301);
        QCOMPARE(c.log.leveledMessages(), QStringList("warning: add graph,but graph is exist:横滚"));
    }

    void theFlagShowsAndRemoves()
    {
        Canvas c;
        MyGraph *const g = Canvas::channel(kActual, {1, 2});
        c.control.myAddGraph(g, true);
        QCOMPARE(c.curveNames(), QStringList(kActual));
        c.control.myAddGraph(g, false);
        QCOMPARE(c.curveNames(), QStringList(""));
        QVERIFY(!g->shown());
    }

    void showingByNameBeforeAReadIsReported()
    {
        Canvas c;
        Canvas::channel(kActual, {1, 2});
        dataRead = false;
        SignalRecord record(c.control);
        c.control.myAddGraph(QString(kActual), uchar(3));
        QCOMPARE(record.take(), QStringList("status 还未读取数据"));
        QCOMPARE(c.curveNames(), QStringList(""));
    }
    void showingByNameAndCode()
    {
        Canvas c;
        Canvas::channel(kActual, {1, 2});
        SignalRecord record(c.control);
        c.control.myAddGraph(QString(kActual), uchar(3));
        QCOMPARE(record.take(), (QStringList{"status 显示曲线：横滚", "replot", "checked"}));
        QCOMPARE(c.curveNames(), QStringList(kActual));
    }
    void showingByNameTwiceWarns()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.log.mark();
        SignalRecord record(c.control);
        // The curve is searched first, so the warning also comes with a code that has no such channel.
        c.control.myAddGraph(QString(kActual), uchar(5));
        QCOMPARE(record.take(), QStringList());
        QCOMPARE(c.log.leveledMessages(), QStringList("warning: add graph,but graph is exist:横滚"));
    }
    void showingAnUnknownNameOrCodeIsReported()
    {
        Canvas c;
        const DebugOutput output;
        SignalRecord record(c.control);
        c.control.myAddGraph(QString(kActual), uchar(5));
        c.control.myAddGraph(QString(kActual), uchar(6));
        QCOMPARE(record.take(), (QStringList{"status 未找到曲线", "status 未找到曲线"}));
        QCOMPARE(output.texts(), QStringList("功能码错误"));
    }

    void rawDataReplacesAllCurves()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        c.log.mark();
        SignalRecord record(c.control);
        c.control.myAddGraph(QStringLiteral("loose"), Series{5, -7, 6}, Series{10, 30, 20});
        QCOMPARE(record.take(),
                 (QStringList{"replot", "checked", "status 移除所有曲线", "status 显示曲线：loose", "replot"}));
        QCOMPARE(c.curveNames(), QStringList("loose"));
        QVERIFY(Canvas::keys(c.curve("loose")) == (Series{10, 20, 30}));
        QVERIFY(Canvas::values(c.curve("loose")) == (Series{5, 6, -7}));
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(10, 30));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-7, 6));
        QCOMPARE(c.curve("loose")->pen(), QPen(QBrush(Qt::red), 1, Qt::SolidLine));
        QVERIFY(!g->shown());
        QCOMPARE(c.log.leveledMessages(), QStringList("info: remove all Graph"));
    }

    // Removing

    void removingANullChannelIsReportedAndReturnsFalse()
    {
        Canvas c;
        SignalRecord record(c.control);
        QVERIFY(!c.control.myRemoveGraph(nullptr));
        QVERIFY(!c.control.myRemoveGraph(QStringLiteral("no such label")));
        c.control.myAddGraph(nullptr, false);
        QCOMPARE(record.take(), (QStringList{"status 未找到曲线", "status 未找到曲线", "status 未找到曲线"}));
        QCOMPARE(c.log.messages(), QStringList());
    }
    void removingFromAnEmptyCanvasReturnsFalse()
    {
        Canvas c;
        MyGraph *const g = Canvas::channel(kActual, {1, 2});
        c.canvas.clearGraphs();
        SignalRecord record(c.control);
        QVERIFY(!c.control.myRemoveGraph(g));
        QCOMPARE(record.take(), QStringList());
    }
    void removingACurveKeepsTheOthers()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        c.log.mark();
        SignalRecord record(c.control);
        QVERIFY(c.control.myRemoveGraph(QString(kActual)));
        QCOMPARE(c.curveNames(), QStringList(kTarget));
        QVERIFY(!g->shown());
        QCOMPARE(g->graphIndex(), -1);
        QCOMPARE(record.take(), (QStringList{"replot", "checked"}));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: delete graph 横滚"));
    }
    void thePlaceholderHasNoLegendEntry()
    {
        Canvas c;
        QCOMPARE(c.canvas.graphCount(), 1);
        QCOMPARE(c.canvas.legend->itemCount(), 0);
        MyGraph *const g = c.show(kActual, {1, 2});
        QCOMPARE(c.canvas.legend->itemCount(), 1);
        c.control.myRemoveGraph(g);
        QCOMPARE(c.canvas.graphCount(), 1);
        QCOMPARE(c.canvas.legend->itemCount(), 0);
        c.show(kActual, {1, 2});
        c.control.removeAllGraphsSlot();
        QCOMPARE(c.canvas.legend->itemCount(), 0);
        // An empty channel also has a curve.
        c.show(kTarget, {});
        QCOMPARE(c.canvas.legend->itemCount(), 1);
    }
    void removingTheOnlyCurveLeavesAPlaceholderThatTheNextShowRemoves()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        defaultColor = QColor(1, 2, 3);
        c.control.myRemoveGraph(g);
        QCOMPARE(c.curveNames(), QStringList(""));
        QVERIFY(c.canvas.graph(0)->data()->isEmpty());
        QCOMPARE(c.canvas.graph(0)->pen(), QPen(QBrush(QColor(1, 2, 3)), 1));
        c.show(kTarget, {1, 2});
        QCOMPARE(c.curveNames(), QStringList(kTarget));
    }
    void aCanvasAlwaysHasACurve()
    {
        Canvas c;
        int least = c.canvas.graphCount();
        const auto look = [&] { least = qMin(least, c.canvas.graphCount()); };
        connect(&c.control, &MyCustomPlot::statusShowSignal, this, look);
        connect(&c.control, &MyCustomPlot::graphCheckedSignal, this, look);
        MyGraph *const g = c.show(kActual, {1, 50, 1});
        c.select(kActual);
        c.control.deleteErrorDataSlot();
        c.select(kActual);
        c.control.addOnePointSlot();
        c.control.myRemoveGraph(g);
        look();
        c.control.myAddGraph(g);
        c.control.removeAllGraphsSlot();
        look();
        QCOMPARE(least, 1);
    }
    void removingAMissingChannelReplotsAndReturnsTrue()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        MyGraph *const other = Canvas::channel(kTarget, {1, 2});
        other->setShown(true);
        other->setGraphIndex(7);
        c.log.mark();
        SignalRecord record(c.control);
        QVERIFY(c.control.myRemoveGraph(other));
        QCOMPARE(record.take(), (QStringList{"replot", "checked"}));
        // It is on the other canvas.
        QVERIFY(other->shown());
        QCOMPARE(other->graphIndex(), 7);
        QCOMPARE(c.log.messages(), QStringList());
    }
    void removingSkipsTheSecondOfTwoAdjacentEqualNames()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        c.show(kDifference, {1, 2});
        c.curve(kTarget)->setName(kActual);
        c.control.myRemoveGraph(g);
        QCOMPARE(c.curveNames(), (QStringList{kActual, kDifference}));
        // They are not adjacent, so both are removed.
        c.control.myAddGraph(QString(kTarget), uchar(5));
        c.curve(kTarget)->setName(kActual);
        c.control.myRemoveGraph(g);
        QCOMPARE(c.curveNames(), QStringList(kDifference));
    }

    void theSelectedCurveIsRemoved()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        c.select(kActual);
        c.log.mark();
        SignalRecord record(c.control);
        c.control.removeSelectedGraphSlot();
        QCOMPARE(c.curveNames(), QStringList(kTarget));
        QVERIFY(!g->shown());
        QCOMPARE(record.take(), (QStringList{"status 移除横滚曲线", "replot", "checked"}));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: delete selected graph 横滚"));
    }
    void removingTheOnlySelectedCurveLeavesThePlaceholder()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.select(kActual);
        c.control.removeSelectedGraphSlot();
        QCOMPARE(c.curveNames(), QStringList(""));
    }
    void removingARenamedCurveChangesNoChannel()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.curve(kActual)->setName(QStringLiteral("mine"));
        c.select("mine");
        SignalRecord record(c.control);
        c.control.removeSelectedGraphSlot();
        QCOMPARE(record.take(), (QStringList{"status 移除mine曲线", "replot", "checked"}));
        QVERIFY(g->shown());
    }

    void removingAllCurvesMarksTheChannelsOfBothCanvases()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        for (const ChannelGroup &group : channelGroups()) {
            for (MyGraph *const channel : group)
                channel->setShown(true);
        }
        c.log.mark();
        SignalRecord record(c.control);
        c.control.removeAllGraphsSlot();
        QCOMPARE(c.curveNames(), QStringList(""));
        QCOMPARE(record.take(), (QStringList{"replot", "checked", "status 移除所有曲线"}));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: remove all Graph"));
        QStringList stillShown;
        for (const ChannelGroup &group : channelGroups()) {
            for (const MyGraph *const channel : group) {
                if (channel->shown())
                    stillShown.append(channel->graphName());
            }
        }
        // The single channel of 0x52 keeps its flag.
        QCOMPARE(stillShown, QStringList(backupGraph->graphName()));
    }
    void removingAllCurvesHasTheExpectedSteps()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        // The state at each step: the log line, the curves, and the flag of a channel.
        QStringList steps;
        const auto step = [&](const char *name) {
            steps.append(QStringLiteral("%1: %2 lines, %3 curves, %4")
                             .arg(QLatin1String(name))
                             .arg(c.log.messages().size())
                             .arg(c.canvas.graphCount())
                             .arg(findGraph(kTarget)->shown() ? QStringLiteral("shown") : QStringLiteral("not shown")));
        };
        connect(&c.canvas, &QCustomPlot::afterReplot, this, [&] { step("replot"); });
        connect(&c.control, &MyCustomPlot::graphCheckedSignal, this, [&] { step("checked"); });
        connect(&c.control, &MyCustomPlot::statusShowSignal, this, [&] { step("status"); });
        connect(c.curve(kActual), &QObject::destroyed, this,
                [&] { steps.append(QStringLiteral("cleared: %1 lines").arg(c.log.messages().size())); });
        c.log.mark();
        c.control.removeAllGraphsSlot();
        QCOMPARE(steps,
                 (QStringList{"cleared: 1 lines", "replot: 1 lines, 1 curves, shown",
                              "checked: 1 lines, 1 curves, not shown", "status: 1 lines, 1 curves, not shown"}));
        QCOMPARE(c.curveNames(), QStringList(""));
    }

    void slotsOfTheSignalCanRemoveMoreCurves()
    {
        Canvas c;
        // Like the window: removes curves that are no longer marked as shown, which emits the signal again.
        const char *const labels[]{"横滚", "俯仰", "航向", "指示空速", "相对高度"};
        connect(&c.control, &MyCustomPlot::graphCheckedSignal, this, [&] {
            for (const char *const label : labels) {
                MyGraph *const g = findGraph(QString::fromUtf8(label));
                if (!g->shown() && c.curve(label))
                    c.control.myRemoveGraph(g);
            }
        });
        for (const char *const label : labels)
            c.show(label, {1, 2, 3});
        QCOMPARE(c.canvas.graphCount(), 5);

        for (const char *const label : labels)
            findGraph(QString::fromUtf8(label))->setShown(false);
        c.select("横滚");
        c.control.removeSelectedGraphSlot();
        QCOMPARE(c.curveNames(), QStringList(""));

        for (const char *const label : labels)
            c.show(label, {1, 2, 3});
        c.control.removeAllGraphsSlot();
        QCOMPARE(c.curveNames(), QStringList(""));
    }
    void theSelectedCurveCanBeRemovedWhileItsPartnerIsShownAgain()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2, 3});
        c.show(kTarget, {4, 5, 6});
        bool once = true;
        connect(&c.control, &MyCustomPlot::graphCheckedSignal, this, [&] {
            if (std::exchange(once, false))
                c.control.myRemoveGraph(g);
        });
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(c.curveNames(), (QStringList{kTarget, kActual}));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{1, 1, 2, 3}));
    }

    // Nothing selected, and curves without a channel

    void slotsThatNeedASelectedCurveDoNothingWithoutOne()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 50, 1});
        c.log.mark();
        SignalRecord record(c.control);
        c.control.removeSelectedGraphSlot();
        c.control.deleteErrorDataSlot();
        c.control.addOnePointSlot();
        c.control.addPointsSlot();
        c.control.onSwapPosSlot();
        c.control.resetGraphSlot(QPen(Qt::blue));
        c.control.removeSelectedPointSlot();
        QCOMPARE(record.take(), QStringList());
        QCOMPARE(c.log.messages(), QStringList());
        QCOMPARE(g->yvalue(), (Series{1, 50, 1}));
        QCOMPARE(c.curveNames(), QStringList(kActual));
    }
    void aRenamedCurveHasNoChannel()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 50, 1});
        c.curve(kActual)->setName(QStringLiteral("mine"));
        c.select("mine");
        c.log.mark();
        SignalRecord record(c.control);
        c.control.deleteErrorDataSlot();
        c.control.addOnePointSlot();
        c.control.addPointsSlot();
        c.control.onSwapPosSlot();
        QCOMPARE(record.take(), QStringList());
        QCOMPARE(c.log.messages(), QStringList());
        QCOMPARE(g->yvalue(), (Series{1, 50, 1}));
        QCOMPARE(g->position(), 0);
        QCOMPARE(c.curveNames(), QStringList("mine"));
        // Operations that need no channel still work.
        c.control.resetGraphSlot(QPen(Qt::blue));
        QCOMPARE(c.curve("mine")->pen(), QPen(Qt::blue));
    }

    // Spikes

    void spikesAreRemovedFromTheChannelAndTheCurve()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 50, 2, 3});
        c.select(kActual);
        c.control.resetGraphSlot(QPen(Qt::blue));
        c.log.mark();
        SignalRecord record(c.control);
        c.control.deleteErrorDataSlot();
        QCOMPARE(g->yvalue(), (Series{1, 1, 2, 3}));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{1, 1, 2, 3}));
        QCOMPARE(c.curveNames(), QStringList(kActual));
        // The pen was deleted with the old curve.
        QCOMPARE(c.curve(kActual)->pen(), QPen(QBrush(g->color()), 1));
        // Only the events of showing a curve.
        QCOMPARE(record.take(), (QStringList{"status 显示曲线：横滚", "replot", "checked"}));
        QCOMPARE(c.log.leveledMessages(),
                 (QStringList{"info: add graph:横滚, graph index is 0", "info: delete error data of 横滚"}));
    }
    void removingSpikesKeepsTheDifference()
    {
        Canvas c;
        c.show(kActual, {1, 50, 2});
        MyGraph *const difference = Canvas::channel(kDifference, {7, 8, 9});
        c.select(kActual);
        c.control.deleteErrorDataSlot();
        QCOMPARE(difference->yvalue(), (Series{7, 8, 9}));
    }
    void removingSpikesKeepsASharedCopy()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 50, 2});
        const Series exported = static_cast<const MyGraph *>(g)->yvalue();
        c.select(kActual);
        c.control.deleteErrorDataSlot();
        QCOMPARE(exported, (Series{1, 50, 2}));
        QCOMPARE(g->yvalue(), (Series{1, 1, 2}));
    }
    void aChannelWithOneSampleHasNoSpike()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {50});
        const QCPGraph *const curve = c.select(kActual);
        c.control.deleteErrorDataSlot();
        QCOMPARE(g->yvalue(), (Series{50}));
        QVERIFY(c.curve(kActual) == curve);
    }

    // The point under the crosshair

    void thePointUnderTheCrosshairIsDeletedOnlyFromTheCurve()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {10, 20, 30});
        c.canvas.replot();
        c.select(kActual);
        c.moveTo({c.canvas.xAxis->coordToPixel(Canvas::kStart + 0.2), 100});
        SignalRecord record(c.control);
        Series painted;
        const auto listener
            = connect(&c.canvas, &QCustomPlot::afterReplot, this, [&] { painted = Canvas::values(c.curve(kActual)); });
        c.control.removeSelectedPointSlot();
        disconnect(listener);
        QCOMPARE(record.take(), QStringList("replot"));
        QCOMPARE(painted, (Series{10, 30}));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{10, 30}));
        QCOMPARE(g->yvalue(), (Series{10, 20, 30}));
        // It is back when the curve is shown again.
        c.control.myRemoveGraph(g);
        c.control.myAddGraph(g);
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{10, 20, 30}));
    }
    void deletingWithoutASelectionUsesTheLastSelection()
    {
        Canvas c;
        c.show(kActual, {10, 20, 30});
        c.canvas.replot();
        c.select(kActual);
        c.moveTo({c.canvas.xAxis->coordToPixel(Canvas::kStart), 100});
        c.canvas.deselectAll();
        c.moveTo({c.canvas.xAxis->coordToPixel(Canvas::kStart + 0.4), 100});
        c.control.removeSelectedPointSlot();
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{20, 30}));
    }
    void deletingThePointBeforeAnyCursorMoveDoesNothing()
    {
        Canvas c;
        c.show(kActual, {10, 20, 30});
        c.select(kActual);
        SignalRecord record(c.control);
        c.control.removeSelectedPointSlot();
        QCOMPARE(record.take(), QStringList());
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{10, 20, 30}));
    }
    void deletingAllPointsOfACurveIsSafe()
    {
        Canvas c;
        c.show(kActual, {10, 20});
        c.select(kActual);
        c.moveTo({400, 100});
        for (int i = 0; i < 5; ++i)
            c.control.removeSelectedPointSlot();
        QCOMPARE(Canvas::values(c.curve(kActual)), Series());
        c.moveTo({410, 100});
        c.canvas.replot();
    }
    void deletingAPointOfARemovedCurveDoesNothing_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("removed as selected") << 0;
        QTest::newRow("removed by its channel") << 1;
        QTest::newRow("all removed") << 2;
        QTest::newRow("spikes removed") << 3;
        QTest::newRow("moved by a sample") << 4;
        QTest::newRow("swapped") << 5;
        QTest::newRow("loose data") << 6;
        QTest::newRow("cleared on the canvas itself") << 7;
    }
    void deletingAPointOfARemovedCurveDoesNothing()
    {
        QFETCH(int, way);
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 20, 3});
        c.select(kActual);
        c.moveTo({400, 100});
        QVERIFY(c.control.tracer()->graph() == c.curve(kActual));
        QVERIFY(c.control.tracer()->visible());
        switch (way) {
        case 0:
            c.control.removeSelectedGraphSlot();
            break;
        case 1:
            c.control.myRemoveGraph(g);
            break;
        case 2:
            c.control.removeAllGraphsSlot();
            break;
        case 3:
            c.control.deleteErrorDataSlot();
            break;
        case 4:
            c.control.addOnePointSlot();
            break;
        case 5:
            c.control.onSwapPosSlot();
            break;
        case 6:
            c.control.myAddGraph(QStringLiteral("loose"), Series{1}, Series{1});
            break;
        default:
            c.canvas.clearGraphs();
            break;
        }
        QVERIFY(c.control.tracer()->graph() == nullptr);
        QVERIFY(!c.control.tracer()->visible());
        const int points = c.canvas.graphCount() ? c.canvas.graph(0)->dataCount() : 0;
        c.control.removeSelectedPointSlot();
        QCOMPARE(c.canvas.graphCount() ? c.canvas.graph(0)->dataCount() : 0, points);
        c.canvas.replot();
    }

    // Shifting against the partner

    void anActualCurveIsShiftedRelativeToItsTarget_data()
    {
        QTest::addColumn<bool>("ten");
        QTest::newRow("by one sample") << false;
        QTest::newRow("by ten samples") << true;
    }
    void anActualCurveIsShiftedRelativeToItsTarget()
    {
        QFETCH(bool, ten);
        const int k = ten ? 10 : 1;
        Canvas c;
        MyGraph *const g = c.show(kActual, {5, 6, 8});
        MyGraph *const p = Canvas::channel(kTarget, {1, 2, 3});
        MyGraph *const d = Canvas::channel(kDifference, {100, 100, 100});
        c.select(kActual);
        c.log.mark();
        SignalRecord record(c.control);
        if (ten)
            c.control.addPointsSlot();
        else
            c.control.addOnePointSlot();
        QCOMPARE(g->yvalue(), Series(k, 5.0) + Series({5, 6, 8}));
        QCOMPARE(p->yvalue(), Series({1, 2, 3}) + Series(k, 3.0));
        // Three samples before the shift give three differences: 5 - 1, 5 - 2, and 6 - 3 or 5 - 3.
        QCOMPARE(d->yvalue(), Series({4, 3, ten ? 2.0 : 3.0}) + Series(k, 0.0));
        QCOMPARE(Canvas::values(c.curve(kActual)), g->yvalue());
        QCOMPARE(g->xvalue().size(), 3 + k);
        // The partner is hidden, so only the curve itself is shown again.
        QCOMPARE(record.take(), (QStringList{"status 显示曲线：横滚", "replot", "checked"}));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: add graph:横滚, graph index is 0"));
    }
    void aTargetCurveIsShiftedRelativeToItsActual()
    {
        Canvas c;
        MyGraph *const p = Canvas::channel(kActual, {5, 6, 8});
        MyGraph *const g = c.show(kTarget, {1, 2, 3});
        MyGraph *const d = Canvas::channel(kDifference, {100, 100, 100});
        c.select(kTarget);
        c.control.addOnePointSlot();
        QCOMPARE(g->yvalue(), (Series{1, 1, 2, 3}));
        QCOMPARE(p->yvalue(), (Series{5, 6, 8, 8}));
        // Still actual minus target.
        QCOMPARE(d->yvalue(), (Series{4, 5, 6, 0}));
    }
    void aShownPartnerIsShownAgainBeforeTheCurve()
    {
        Canvas c;
        c.show(kActual, {5, 6, 8});
        c.show(kTarget, {1, 2, 3});
        c.show(kOrdinary, {1, 2, 3});
        c.select(kActual);
        c.log.mark();
        SignalRecord record(c.control);
        c.control.addOnePointSlot();
        QCOMPARE(Canvas::values(c.curve(kTarget)), (Series{1, 2, 3, 3}));
        QCOMPARE(Canvas::values(c.curve(kActual)), (Series{5, 5, 6, 8}));
        QCOMPARE(c.curveNames(), (QStringList{kOrdinary, kTarget, kActual}));
        QCOMPARE(record.take(),
                 (QStringList{"replot", "checked", "status 显示曲线：目标横滚", "replot", "checked",
                              "status 显示曲线：横滚", "replot", "checked"}));
        QCOMPARE(c.log.leveledMessages(),
                 (QStringList{"info: delete graph 目标横滚", "info: add graph:目标横滚, graph index is 2",
                              "info: add graph:横滚, graph index is 2"}));
    }
    void aShownDifferenceCurveIsNotRefreshed()
    {
        Canvas c;
        c.show(kActual, {5, 6, 8});
        Canvas::channel(kTarget, {1, 2, 3});
        c.show(kDifference, {100, 100, 100});
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(Canvas::values(c.curve(kDifference)), (Series{100, 100, 100}));
    }
    void otherCurvesAreShiftedAlone_data()
    {
        QTest::addColumn<QString>("label");
        QTest::newRow("difference") << kDifference;
        QTest::newRow("ordinary") << kOrdinary;
    }
    void otherCurvesAreShiftedAlone()
    {
        QFETCH(QString, label);
        Canvas c;
        MyGraph *const actual = Canvas::channel(kActual, {5, 6, 8});
        MyGraph *const target = Canvas::channel(kTarget, {1, 2, 3});
        MyGraph *const g = c.show(label.toUtf8(), {7, 8, 9});
        c.select(label.toUtf8());
        c.control.addOnePointSlot();
        QCOMPARE(g->yvalue(), (Series{7, 7, 8, 9}));
        c.select(label.toUtf8());
        c.control.addPointsSlot();
        QCOMPARE(g->yvalue(), Series(12, 7.0) + Series({8, 9}));
        QCOMPARE(actual->yvalue().size(), 3);
        QCOMPARE(target->yvalue().size(), 3);
    }
    void theCountOfRecalculatedDifferencesHasEightBits_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("recalculated");
        QTest::newRow("300 samples: the first 44") << 300 << 44;
        QTest::newRow("256 samples: none") << 256 << 0;
        QTest::newRow("255 samples: all") << 255 << 255;
    }
    void theCountOfRecalculatedDifferencesHasEightBits()
    {
        QFETCH(int, samples);
        QFETCH(int, recalculated);
        Canvas c;
        c.show(kActual, ramp(samples, 1000));
        Canvas::channel(kTarget, Series(samples, 0.0));
        MyGraph *const d = Canvas::channel(kDifference, Series(samples, -5.0));
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(d->yvalue().size(), samples + 1);
        // Recalculated values are above 999, old values are -5, appended values are 0.
        for (int i = 0; i < recalculated; ++i)
            QCOMPARE(d->yvalue()[i], i == 0 ? 1000.0 : 999.0 + i);
        for (int i = recalculated; i < samples; ++i)
            QCOMPARE(d->yvalue()[i], -5.0);
        QCOMPARE(d->yvalue()[samples], 0.0);
    }
    void anEmptyPartnerIsFilledWithZeros()
    {
        Canvas c;
        c.show(kActual, {5, 6, 8});
        MyGraph *const p = Canvas::channel(kTarget, {});
        MyGraph *const d = Canvas::channel(kDifference, {});
        c.select(kActual);
        c.control.addPointsSlot();
        QCOMPARE(p->yvalue(), Series(10, 0.0));
        // 5 - 0 for each sample of the curve.
        QCOMPARE(d->yvalue(), Series(3, 5.0) + Series(7, 0.0));
    }
    void aShorterPartnerLimitsTheDifferences()
    {
        Canvas c;
        c.show(kActual, {5, 6, 8, 9});
        MyGraph *const p = Canvas::channel(kTarget, {1});
        MyGraph *const d = Canvas::channel(kDifference, {70, 71, 72, 73});
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(p->yvalue(), (Series{1, 1}));
        QCOMPARE(d->yvalue(), (Series{4, 4, 72, 73, 0}));
    }
    void aMissingPartnerDoesNotPreventTheShift()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {5, 6});
        MyGraph *const d = Canvas::channel(kDifference, {70, 71});
        g->setTargetName(QStringLiteral("nowhere"));
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(g->yvalue(), (Series{5, 5, 6}));
        QCOMPARE(d->yvalue(), (Series{70, 71, 0}));
        g->setDiffName(QStringLiteral("nowhere"));
        c.select(kActual);
        c.control.addOnePointSlot();
        QCOMPARE(g->yvalue(), (Series{5, 5, 5, 6}));
        QCOMPARE(d->yvalue(), (Series{70, 71, 0}));
    }
    void anEmptyChannelIsNotShifted()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1});
        MyGraph *const p = Canvas::channel(kTarget, {4});
        c.select(kActual);
        g->setYvalue({});
        c.control.addOnePointSlot();
        c.control.addPointsSlot();
        c.control.deleteErrorDataSlot();
        QVERIFY(g->yvalue().isEmpty());
        QCOMPARE(p->yvalue(), (Series{4}));
        QCOMPARE(c.curveNames(), QStringList(kActual));
    }

    // The other canvas, and the pen

    void swappingTogglesThePositionAndEmitsTheChannel()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        const QColor color = g->color();
        c.select(kActual);
        c.log.mark();
        SignalRecord record(c.control);
        c.control.onSwapPosSlot();
        QCOMPARE(record.take(), (QStringList{"replot", "checked", "swap 横滚"}));
        QCOMPARE(g->position(), 1);
        QVERIFY(!g->shown());
        QCOMPARE(c.curveNames(), QStringList(""));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: delete graph 横滚"));
        c.control.myAddGraph(g);
        c.select(kActual);
        c.control.onSwapPosSlot();
        QCOMPARE(g->position(), 0);
        QCOMPARE(g->color(), color);
    }
    void aPenIsSetOnTheCurveAndNotOnItsChannel()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        const QColor color = g->color();
        const QPen other = c.curve(kTarget)->pen();
        c.select(kActual);
        SignalRecord record(c.control);
        const QPen pen(QBrush(QColor(4, 5, 6)), 5, Qt::DotLine);
        c.control.resetGraphSlot(pen);
        QCOMPARE(record.take(), QStringList("replot"));
        QCOMPARE(c.curve(kActual)->pen(), pen);
        QCOMPARE(c.curve(kTarget)->pen(), other);
        QCOMPARE(g->color(), color);
        QCOMPARE(g->width(), 1);
        QCOMPARE(g->style(), int(Qt::SolidLine));
    }
    void theFirstOfSeveralSelectedCurvesIsUsed()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.show(kTarget, {1, 2});
        for (int i = 0; i < 2; ++i)
            c.canvas.graph(i)->setSelection(QCPDataSelection(QCPDataRange(0, 2)));
        c.control.removeSelectedGraphSlot();
        QCOMPARE(c.curveNames(), QStringList(kTarget));
    }
};

QTEST_MAIN(TestMyCustomPlotCurves)
#include "TestMyCustomPlotCurves.moc"
