#include "AppConfig.h"
#include "Canvas.h"
#include "FlightModes.h"
#include "MyCustomPlot.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <climits>
#include <cmath>
#include <ctime>
#include <limits>

using Series = QVector<double>;

namespace
{

constexpr char kActual[] = "横滚";
constexpr char kTarget[] = "目标横滚";
constexpr char kDifference[] = "横滚差值";
constexpr char kOrdinary[] = "气压高度";
constexpr char kMainMode[] = "主飞行模式";
constexpr char kSubMode[] = "子飞行模式";

/** Canvas::kStart as local date and time in UTC+8. */
constexpr char kStartText[] = "2023-11-15 06:13:20";

/** Moves the mouse pointer to the sample with this index; the interval is 200 ms. */
void moveToSample(Canvas &c, int index)
{
    c.moveTo({c.canvas.xAxis->coordToPixel(Canvas::kStart + index * 0.2), 100});
}

QString tip()
{
    return QToolTip::text();
}

/** Shows and selects a curve, and returns the tip of one of its samples. */
QString readOut(Canvas &c, const char *label, int index)
{
    c.select(label);
    c.canvas.graph()->rescaleAxes();
    c.canvas.replot();
    moveToSample(c, index);
    return tip();
}

/** Shows an actual channel and sets its target in the store. */
void setRoll(Canvas &c, const Series &actual, const Series &target)
{
    AppConfig::getInstance().setShowFactor(true);
    Canvas::channel(kTarget, target);
    c.show(kActual, actual);
}

QString factorText(const QString &firstLine, const QString &deviation, const QString &area, const QString &rise)
{
    return firstLine + QStringLiteral("\n偏       差: ") + deviation + QStringLiteral("\n面       积: ") + area
        + QStringLiteral("\n上升时间: ") + rise;
}

} // namespace

class TestMyCustomPlotReadOut : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "CST-8");
        tzset();
    }
    void cleanup() { QToolTip::hideText(); }

    // Without a selected curve

    void theTipShowsThePointerPositionWithoutASelection()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.canvas.xAxis->setRange(Canvas::kStart, Canvas::kStart + 1000);
        c.canvas.yAxis->setRange(0, 3141592.65358979);
        c.canvas.replot();
        const QRect rect = c.canvas.axisRect()->rect();
        const int column = rect.left() + rect.width() / 4;
        const int row = rect.bottom() - rect.height() / 3;
        c.moveTo(QPointF(column, row));
        // The pixel position is converted linearly from the left and from the bottom; the value has six digits.
        const qint64 second = Canvas::kStart + qint64(1000.0 * (column - rect.left()) / rect.width());
        const double value = 3141592.65358979 * (rect.bottom() - row) / rect.height();
        const QString date = QDateTime::fromSecsSinceEpoch(second).toString("yyyy-MM-dd hh:mm:ss");
        QCOMPARE(tip(), QStringLiteral("(%1, %2)").arg(date, QString::number(value, 'g', 6)));
        QVERIFY(date.startsWith("2023-11-15 06:1"));
    }
    void theValueHasSixDigitsAfterOneBlank()
    {
        Canvas c;
        c.canvas.xAxis->setRange(Canvas::kStart, Canvas::kStart + 1000);
        // The bottom row is the minimum of the range, the left column its first second.
        const auto readOutCorner = [&c](double lower) {
            c.canvas.yAxis->setRange(lower, 5000);
            c.canvas.replot();
            c.moveTo(c.canvas.axisRect()->rect().bottomLeft());
            return tip();
        };
        QCOMPARE(readOutCorner(1234.56789), QStringLiteral("(2023-11-15 06:13:20, 1234.57)"));
        QCOMPARE(readOutCorner(-12345678), QStringLiteral("(2023-11-15 06:13:20, -1.23457e+07)"));
    }
    void thePointerIsRoundedToWholePixelsHalfUp()
    {
        Canvas c;
        c.canvas.xAxis->setRange(Canvas::kStart, Canvas::kStart + 1000);
        c.canvas.yAxis->setRange(0, c.canvas.axisRect()->height());
        c.canvas.replot();
        // One unit of the value axis is one pixel.
        const QRect rect = c.canvas.axisRect()->rect();
        c.canvas.yAxis->setRange(0, rect.height());
        c.moveTo(QPointF(rect.left() + 0.49, rect.bottom() - 20.5));
        QCOMPARE(tip(), QStringLiteral("(2023-11-15 06:13:20, 20)"));
        c.moveTo(QPointF(rect.left() + 0.49, rect.bottom() - 20.51));
        QCOMPARE(tip(), QStringLiteral("(2023-11-15 06:13:20, 21)"));
    }
    void theCrosshairIsHiddenWithoutASelection()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        c.select(kActual);
        moveToSample(c, 1);
        QVERIFY(c.control.tracer()->visible());
        c.canvas.deselectAll();
        moveToSample(c, 0);
        QVERIFY(!c.control.tracer()->visible());
        // It is hidden and keeps its last sample.
        QVERIFY(c.control.tracer()->graph() == c.curve(kActual));
        QVERIFY(c.control.tracer()->position->key() == Canvas::kStart + 0.2);
    }
    void datesOutOfRangeCanBeReadOut()
    {
        Canvas c;
        const auto readOutCorner = [&c](double first, double last) {
            c.canvas.yAxis->setRange(0, 1);
            c.canvas.xAxis->setRange(first, last);
            c.canvas.replot();
            c.moveTo(c.canvas.axisRect()->rect().bottomLeft());
            return tip();
        };
        // 2^32 + 5 seconds: the low 32 bits are 5.
        QCOMPARE(readOutCorner(4294967301.5, 4294967302.5), QStringLiteral("(1970-01-01 08:00:05, 0)"));
        QCOMPARE(readOutCorner(1e30, 2e30), QStringLiteral("(1970-01-01 08:00:00, 0)"));
    }

    // With a selected curve

    void everyMoveReplotsOnce()
    {
        Canvas c;
        c.show(kActual, {1, 2});
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        moveToSample(c, 0);
        c.select(kActual);
        moveToSample(c, 1);
        QCOMPARE(replots.count(), 2);
    }
    void theCrosshairSnapsToTheNearestSample_data()
    {
        QTest::addColumn<double>("at");
        QTest::addColumn<int>("index");
        QTest::newRow("before the curve") << -50.0 << 0;
        QTest::newRow("nearer to the left") << 1.4 << 1;
        QTest::newRow("in the middle: the later one") << 1.5 << 2;
        QTest::newRow("nearer to the right") << 1.6 << 2;
        QTest::newRow("after the curve") << 50.0 << 3;
    }
    void theCrosshairSnapsToTheNearestSample()
    {
        QFETCH(double, at);
        QFETCH(int, index);
        Canvas c;
        MyGraph *const g = Canvas::channel(kOrdinary, {10, 20, 30, 40});
        g->setInterval(2000);
        c.control.myAddGraph(g);
        c.select(kOrdinary);
        // Ten pixels per second, starting at a whole pixel.
        const QRect rect = c.canvas.axisRect()->rect();
        c.canvas.xAxis->setRange(Canvas::kStart - 20, Canvas::kStart - 20 + rect.width() / 10.0);
        c.moveTo(QPointF(rect.left() + 10 * (20 + 2 * at), 100));
        QVERIFY(c.control.tracer()->visible());
        QVERIFY(c.control.tracer()->graph() == c.curve(kOrdinary));
        QCOMPARE(c.control.tracer()->position->key(), double(Canvas::kStart + 2 * index));
        QCOMPARE(c.control.tracer()->position->value(), 10.0 * (index + 1));
    }
    void anOrdinaryCurveIsReadOutInOneLineWithTwelveDigits()
    {
        Canvas c;
        AppConfig::getInstance().setShowFactor(true);
        c.show(kOrdinary, {1, 1234567.890123456, 3});
        QCOMPARE(readOut(c, kOrdinary, 1), QStringLiteral("(%1,  1234567.89012)").arg(kStartText));
    }
    void theDateIsTakenFromTheSample()
    {
        Canvas c;
        c.show(kOrdinary, Series(11, 4.0));
        QCOMPARE(readOut(c, kOrdinary, 9), QStringLiteral("(2023-11-15 06:13:21,  4)"));
        QCOMPARE(readOut(c, kOrdinary, 10), QStringLiteral("(2023-11-15 06:13:22,  4)"));
    }
    void aTargetCurveIsReadOutInOneLineEvenWithTheFactors()
    {
        Canvas c;
        AppConfig::getInstance().setShowFactor(true);
        c.show(kTarget, {7, 8});
        QCOMPARE(readOut(c, kTarget, 1), QStringLiteral("(%1,  8)").arg(kStartText));
        c.show(kDifference, {7, 9});
        QCOMPARE(readOut(c, kDifference, 1), QStringLiteral("(%1,  9)").arg(kStartText));
    }
    void anActualCurveIsReadOutInOneLineWithoutTheFactors()
    {
        Canvas c;
        setRoll(c, {7, 8}, {1, 2});
        AppConfig::getInstance().setShowFactor(false);
        QCOMPARE(readOut(c, kActual, 1), QStringLiteral("(%1,  8)").arg(kStartText));
    }
    void theFirstOfSeveralSelectedCurvesIsReadOut()
    {
        Canvas c;
        c.show(kOrdinary, {7, 8});
        c.show(kTarget, {70, 80});
        for (int i = 0; i < 2; ++i)
            c.canvas.graph(i)->setSelection(QCPDataSelection(QCPDataRange(0, 2)));
        moveToSample(c, 1);
        QCOMPARE(tip(), QStringLiteral("(%1,  8)").arg(kStartText));
    }
    void aCurveRenamedInTheLegendIsReadOutInOneLine()
    {
        Canvas c;
        setRoll(c, {7, 8}, {1, 2});
        c.curve(kActual)->setName(QStringLiteral("mine"));
        QCOMPARE(readOut(c, "mine", 1), QStringLiteral("(%1,  8)").arg(kStartText));
    }
    void aCurveWithoutSamplesKeepsTheCrosshairPosition()
    {
        Canvas c;
        c.show(kOrdinary, {7, 8});
        QCOMPARE(readOut(c, kOrdinary, 1), QStringLiteral("(%1,  8)").arg(kStartText));
        c.control.removeSelectedPointSlot();
        moveToSample(c, 0);
        c.control.removeSelectedPointSlot();
        QCOMPARE(c.curve(kOrdinary)->dataCount(), 0);
        c.moveTo({500, 120});
        QCOMPARE(tip(), QStringLiteral("(%1,  7)").arg(kStartText));
    }

    // Flight modes

    void theMainFlightModeIsReadOutAsText()
    {
        Canvas c;
        c.show(kMainMode, {1, 3});
        QCOMPARE(readOut(c, kMainMode, 1), QStringLiteral("(%1,  3 保护模式)").arg(kStartText));
    }
    void aSubFlightModeWithoutTextIsShownAsNumberTwice()
    {
        Canvas c;
        c.show(kSubMode, {1, 40});
        QCOMPARE(readOut(c, kSubMode, 1), QStringLiteral("(%1,  40 40)").arg(kStartText));
    }
    void everyModeIsReadOutFromTheTableOfItsChannel()
    {
        const QMap<int, QString> mainModes = mainFlightModes();
        const QMap<int, QString> subModes = subFlightModes();
        Canvas c;
        for (int value = -1; value <= 67; ++value) {
            for (const char *const label : {kMainMode, kSubMode}) {
                c.control.removeAllGraphsSlot();
                c.show(label, Series(2, value));
                const QString number = QString::number(value);
                const QString words = (label == kMainMode ? mainModes : subModes).value(value, number);
                QCOMPARE(readOut(c, label, 1), QStringLiteral("(%1,  %2 %3)").arg(kStartText, number, words));
            }
        }
    }
    void aModeIsTruncatedForItsTextButShownInFull()
    {
        Canvas c;
        c.show(kMainMode, {1, 3.75});
        QCOMPARE(readOut(c, kMainMode, 1), QStringLiteral("(%1,  3.75 保护模式)").arg(kStartText));
    }
    void unknownModesAreShownAsNumberTwice_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("negative") << -3.0 << "-3";
        QTest::newRow("huge") << 1e9 << "1000000000";
        QTest::newRow("beyond twelve digits") << 1e13 << "1e+13";
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << "nan";
    }
    void unknownModesAreShownAsNumberTwice()
    {
        QFETCH(double, value);
        QFETCH(QString, text);
        Canvas c;
        for (const char *const label : {kMainMode, kSubMode}) {
            c.control.removeAllGraphsSlot();
            c.show(label, {1, value});
            QCOMPARE(readOut(c, label, 1), QStringLiteral("(%1,  %2 %2)").arg(kStartText, text));
        }
    }

    // The factors

    void anActualCurveIsReadOutInFourLines()
    {
        Canvas c;
        // At sample 1 the target is 5. Sample 3 is the first above it: a rise time of 0.4 s. The deviation is 2 - 5.
        // The area over all five samples is (-3 - 3 - 1 + 1 + 4) * 0.2.
        setRoll(c, {2, 2, 4, 6, 9}, {5, 5, 5, 5, 5});
        QCOMPARE(readOut(c, kActual, 1), factorText(QStringLiteral("(%1,  2)").arg(kStartText), "-3", "-0.4", "0.4"));
    }
    void theFactorsHaveSixDigitsAndTheValueTwelve()
    {
        Canvas c;
        setRoll(c, {1234567.890123456, 0}, {0, 0});
        // Sample 1 reaches the target 0. The area is 0.2 * 1234567.89...
        QCOMPARE(readOut(c, kActual, 0),
                 factorText(QStringLiteral("(%1,  1234567.89012)").arg(kStartText), "1.23457e+06", "246914", "0.2"));
    }
    void equalValuesHaveARiseTimeOfZero()
    {
        Canvas c;
        setRoll(c, {4, 4, 4}, {4, 4, 4});
        QCOMPARE(readOut(c, kActual, 1), factorText(QStringLiteral("(%1,  4)").arg(kStartText), "0", "0", "0"));
    }
    void anUnreachedTargetHasNoRiseTime()
    {
        Canvas c;
        setRoll(c, {1, 1, 1}, {4, 4, 4});
        QCOMPARE(readOut(c, kActual, 1), factorText(QStringLiteral("(%1,  1)").arg(kStartText), "-3", "-1.8", ""));
    }
    void aTargetWithoutThisSampleShowsMinusOneAndNoRiseTime()
    {
        Canvas c;
        // The window of the area ends with the target, so it has only sample 0: (7 - 2) * 0.2.
        setRoll(c, {7, 8, 9}, {2});
        QCOMPARE(readOut(c, kActual, 2), factorText(QStringLiteral("(%1,  9)").arg(kStartText), "-1", "1", ""));
    }
    void aMissingTargetIsLikeAnEmptyTarget()
    {
        Canvas c;
        setRoll(c, {7, 8, 9}, {1, 2, 3});
        findGraph(kActual)->setTargetName(QStringLiteral("nowhere"));
        QCOMPARE(readOut(c, kActual, 2), factorText(QStringLiteral("(%1,  9)").arg(kStartText), "-1", "0", ""));
    }
    void aSampleWithoutAKeyInTheChannelHasNoFactors()
    {
        Canvas c;
        setRoll(c, {7, 8, 9}, {1, 2, 3});
        findGraph(kActual)->setXvalue({});
        QCOMPARE(readOut(c, kActual, 2), factorText(QStringLiteral("(%1,  9)").arg(kStartText), "", "", ""));
    }
    void theFactorsUseTheCurrentTarget()
    {
        Canvas c;
        setRoll(c, {7, 8, 9}, {1, 1, 1});
        // The difference channel is not used.
        Canvas::channel(kDifference, {100, 100, 100});
        readOut(c, kActual, 2);
        setSamples(kTarget, {9, 9, 9});
        moveToSample(c, 2);
        QCOMPARE(tip(), factorText(QStringLiteral("(%1,  9)").arg(kStartText), "0", "-0.6", "0"));
    }
    void aCurveWithAPeriodOfZeroOrLessIsReadOut_data()
    {
        QTest::addColumn<int>("interval");
        QTest::newRow("zero") << 0;
        QTest::newRow("negative") << -200;
        QTest::newRow("smallest") << INT_MIN;
        QTest::newRow("largest") << INT_MAX;
    }
    void aCurveWithAPeriodOfZeroOrLessIsReadOut()
    {
        QFETCH(int, interval);
        Canvas c;
        AppConfig::getInstance().setShowFactor(true);
        Canvas::channel(kTarget, {5, 5, 5});
        MyGraph *const g = Canvas::channel(kActual, {7, 8, 9});
        g->setInterval(interval);
        c.control.myAddGraph(g);
        c.select(kActual);
        c.canvas.replot();
        const QRect rect = c.canvas.axisRect()->rect();
        c.moveTo(rect.topRight());
        QVERIFY2(tip().count('\n') == 3 && !tip().contains(QStringLiteral("差: \n")), qPrintable(tip()));
    }
    void descendingKeysAreFound()
    {
        Canvas c;
        AppConfig::getInstance().setShowFactor(true);
        Canvas::channel(kTarget, {1, 2, 3});
        MyGraph *const g = Canvas::channel(kActual, {70, 80, 90});
        g->setInterval(-1000);
        c.control.myAddGraph(g);
        c.select(kActual);
        c.canvas.replot();
        // The leftmost point is the last sample. The deviation is 90 - 3, the area of all three (69 + 78 + 87) * -1.
        c.moveTo(c.canvas.axisRect()->rect().topLeft());
        QCOMPARE(tip(), factorText(QStringLiteral("(2023-11-15 06:13:18,  90)"), "87", "-234", ""));
    }
    void readingOutDoesNotDetachASharedSeries()
    {
        Canvas c;
        setRoll(c, {7, 8, 9}, {1, 2, 3});
        const MyGraph *const g = findGraph(kActual);
        const Series values = g->yvalue();
        const Series keys = g->xvalue();
        readOut(c, kActual, 2);
        QVERIFY(g->yvalue().constData() == values.constData());
        QVERIFY(g->xvalue().constData() == keys.constData());
    }
    void theControllerFunctionsGiveTheSameValues()
    {
        Canvas c;
        MyGraph *const g = c.show(kActual, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
        MyGraph *const t = Canvas::channel(kTarget, Series(10, 5.5));
        // The sample is 3 and the target 5.5; 6 is reached three samples later. The window is samples 0 to 6.
        QCOMPARE(c.control.calRisingTime(g, t, 2), g->xvalue()[5] - g->xvalue()[2]);
        QCOMPARE(c.control.calArea(g, t, 2), (28 - 7 * 5.5) * 0.2);
        QCOMPARE(c.control.calRisingTime(g, t, 10), -2.0);
        QCOMPARE(c.control.calRisingTime(g, t, 9), -1.0);
    }
    void theTipIsBesideThePointer()
    {
        Canvas c;
        // Away from the corner of the screen, so that canvas and screen coordinates differ.
        c.canvas.setGeometry(300, 250, 400, 300);
        c.canvas.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.canvas));
        const QPoint pointer = c.canvas.mapToGlobal(QPoint(40, 30));
        QVERIFY(pointer.x() > 250 && pointer.y() > 200);
        c.moveTo(QPointF(40, 30));
        QWidget *tip = nullptr;
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->inherits("QTipLabel"))
                tip = widget;
        }
        QVERIFY(tip);
        const QPoint away = tip->pos() - pointer;
        QVERIFY2(qAbs(away.x()) < 60 && qAbs(away.y()) < 60,
                 qPrintable(QStringLiteral("%1, %2").arg(away.x()).arg(away.y())));
    }
    void theTipUsesTheStyleOfTheCanvas()
    {
        Canvas c;
        c.canvas.setStyleSheet(
            QStringLiteral("QToolTip { background: rgb(1, 200, 3); border: 4px solid rgb(1, 200, 3) }"));
        c.canvas.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.canvas));
        moveToSample(c, 0);
        QWidget *tip = nullptr;
        for (QWidget *const widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->inherits("QTipLabel"))
                tip = widget;
        }
        QVERIFY(tip);
        QCOMPARE(tip->grab().toImage().pixelColor(2, 2), QColor(1, 200, 3));
    }
    void theTipBelongsToTheCanvas()
    {
        Canvas c;
        c.canvas.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.canvas));
        moveToSample(c, 0);
        QVERIFY(QToolTip::isVisible());
        // Leaving the canvas hides the tip, because it belongs to that widget.
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(&c.canvas, &leave);
        QTRY_VERIFY(!QToolTip::isVisible());
    }
};

QTEST_MAIN(TestMyCustomPlotReadOut)
#include "TestMyCustomPlotReadOut.moc"
