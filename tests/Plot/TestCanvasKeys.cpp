#include "AppConfig.h"
#include "Canvas.h"
#include "CanvasKeys.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

#include <cmath>
#include <ctime>
#include <limits>

namespace
{

constexpr char kCurve[] = "气压高度";
constexpr char kOther[] = "地速";
constexpr double kStep = 0.2; // seconds between two samples

/** A visible canvas with key handling and focus. */
class KeyCanvas : public Canvas
{
public:
    KeyCanvas()
    {
        canvas.show();
        if (!QTest::qWaitForWindowExposed(&canvas))
            qFatal("the canvas does not appear");
        canvas.activateWindow();
        canvas.setFocus();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&canvas, key, modifiers);
    }

    /** Moves the crosshair to a sample of the selected curve with the mouse. */
    void point(int index) { moveTo({canvas.xAxis->coordToPixel(kStart + index * kStep), 100}); }

    /** Index of the sample at the crosshair. */
    int sample() const { return int(std::lround((control.tracer()->position->key() - kStart) / kStep)); }

    CanvasKeys keys{&control};
};

/** Samples that differ from their neighbours. */
QVector<double> zigzag(int count)
{
    QVector<double> samples(count);
    for (int i = 0; i < count; ++i)
        samples[i] = (i % 2 != 0 ? 1.0 : -1.0) * (i % 7);
    return samples;
}

} // namespace

class TestCanvasKeys : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "CST-8");
        tzset();
    }
    void cleanup() { QToolTip::hideText(); }

    void leftAndRightMoveTheCrosshairSampleBySample()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        c.select(kCurve);
        c.point(20);
        QCOMPARE(c.sample(), 20);
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 21);
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 22);
        c.press(Qt::Key_Left);
        QCOMPARE(c.sample(), 21);
        QVERIFY(c.control.tracer()->visible());
        QVERIFY(c.control.tracer()->graph() == c.curve(kCurve));
    }
    void shiftMovesTenSamplesAndStopsAtTheEnds()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        c.select(kCurve);
        c.point(15);
        c.press(Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(c.sample(), 25);
        c.press(Qt::Key_Left, Qt::ShiftModifier);
        c.press(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(c.sample(), 5);
        c.press(Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(c.sample(), 0);
        c.press(Qt::Key_Left);
        QCOMPARE(c.sample(), 0);
        c.press(Qt::Key_End);
        c.press(Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(c.sample(), 39);
    }
    void controlMovesToTheNextSampleWithADifferentValue()
    {
        KeyCanvas c;
        c.show(kCurve, {1, 1, 1, 2, 2, 2, 2, 1, 1});
        c.select(kCurve);
        c.point(1);
        c.press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(c.sample(), 3);
        c.press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(c.sample(), 7);
        // No different value follows.
        c.press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(c.sample(), 7);
        c.press(Qt::Key_Left, Qt::ControlModifier);
        QCOMPARE(c.sample(), 6);
        c.press(Qt::Key_Left, Qt::ControlModifier);
        QCOMPARE(c.sample(), 2);
        c.press(Qt::Key_Left, Qt::ControlModifier);
        QCOMPARE(c.sample(), 2);
    }
    void controlMovesToTheFirstSampleToo()
    {
        KeyCanvas c;
        c.show(kCurve, {1, 2, 2, 2});
        c.select(kCurve);
        c.point(2);
        c.press(Qt::Key_Left, Qt::ControlModifier);
        QCOMPARE(c.sample(), 0);
    }
    void nanSamplesCountAsEqualValues()
    {
        KeyCanvas c;
        const double nan = std::numeric_limits<double>::quiet_NaN();
        c.show(kCurve, {1, nan, nan, nan, 3});
        c.select(kCurve);
        c.point(0);
        c.press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(c.sample(), 1);
        c.press(Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(c.sample(), 4);
    }
    void homeAndEndMoveToTheFirstAndLastSample()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        c.select(kCurve);
        c.point(20);
        c.press(Qt::Key_End);
        QCOMPARE(c.sample(), 39);
        c.press(Qt::Key_Home);
        QCOMPARE(c.sample(), 0);
    }
    void keypadKeysWorkToo()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        c.select(kCurve);
        c.point(20);
        c.press(Qt::Key_Right, Qt::KeypadModifier);
        QCOMPARE(c.sample(), 21);
        c.press(Qt::Key_Home, Qt::KeypadModifier);
        QCOMPARE(c.sample(), 0);
    }
    void theReadOutEqualsThatOfTheMouse_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("ordinary") << kCurve;
        QTest::newRow("factors") << "横滚";
        QTest::newRow("flight mode") << "主飞行模式";
    }
    void theReadOutEqualsThatOfTheMouse()
    {
        QFETCH(QString, name);
        const QByteArray label = name.toUtf8();
        KeyCanvas c;
        AppConfig::getInstance().setShowFactor(true);
        Canvas::channel("目标横滚", {5, 4, 3, 2, 1});
        c.show(label.constData(), {1, 2, 3, 4, 5});
        c.select(label.constData());
        c.point(2);
        const QString third = QToolTip::text();
        c.point(3);
        const QString fourth = QToolTip::text();
        QVERIFY(!third.isEmpty() && third != fourth);
        c.press(Qt::Key_Left);
        QCOMPARE(QToolTip::text(), third);
        c.press(Qt::Key_Right);
        QCOMPARE(QToolTip::text(), fourth);
    }
    void theReadOutShowsTimeAndValue()
    {
        KeyCanvas c;
        c.show(kCurve, {1, 2, 3, 4, 5, 6.5});
        c.select(kCurve);
        c.press(Qt::Key_End);
        // Five intervals of 200 ms after 06:13:20.
        QCOMPARE(QToolTip::text(), QStringLiteral("(2023-11-15 06:13:21,  6.5)"));
    }
    void theReadOutIsBesideTheCrosshair()
    {
        KeyCanvas c;
        c.show(kCurve, QVector<double>(40, 3.0));
        c.select(kCurve);
        const auto tip = [] {
            for (QWidget *widget : QApplication::topLevelWidgets()) {
                if (widget->isVisible() && widget->inherits("QTipLabel"))
                    return widget->x();
            }
            return -1;
        };
        c.press(Qt::Key_Home);
        const int atStart = tip();
        QVERIFY(atStart >= 0);
        // The text does not change within one second, but the tip still moves.
        c.press(Qt::Key_Right);
        c.press(Qt::Key_Right);
        c.press(Qt::Key_Right);
        const double pixels
            = c.canvas.xAxis->coordToPixel(c.kStart + 3 * kStep) - c.canvas.xAxis->coordToPixel(c.kStart);
        QVERIFY(pixels > 10);
        QVERIFY2(std::abs(tip() - atStart - pixels) <= 2, qPrintable(QString::number(tip() - atStart)));
    }
    void theCrosshairIsDrawnAtTheSampleOfTheKey()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        c.select(kCurve);
        c.point(0);
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.press(Qt::Key_Right);
        QTRY_VERIFY(replots.count() > 0);
        const int column = qRound(c.canvas.xAxis->coordToPixel(c.kStart + kStep));
        const QImage image = c.canvas.grab().toImage();
        const QRect rect = c.canvas.axisRect()->rect();
        // Antialiasing may spread the line over two columns.
        int red = 0;
        for (int y = rect.top(); y < rect.bottom(); ++y) {
            const QColor left = image.pixelColor(column - 1, y);
            const QColor right = image.pixelColor(column, y);
            red += qMax(left.red() - left.green(), right.red() - right.green()) > 60;
        }
        QVERIFY2(red > rect.height() / 2, qPrintable(QString::number(red)));
    }
    void withoutASelectedCurveTheCrosshairKeysDoNothing()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(40));
        const QCPRange range = c.canvas.xAxis->range();
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End})
            c.press(key);
        QVERIFY(!c.control.tracer()->visible());
        QCOMPARE(QToolTip::text(), QString());
        QVERIFY(c.canvas.xAxis->range() == range);
    }
    void keysOnACurveWithoutSamplesDoNothing()
    {
        KeyCanvas c;
        c.show(kCurve, {});
        c.curve(kCurve)->setSelection(QCPDataSelection(QCPDataRange(0, 1)));
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End, Qt::Key_A})
            c.press(key);
        QVERIFY(!c.control.tracer()->visible());
    }
    void theFirstKeyAfterAClickStartsAtTheClick()
    {
        KeyCanvas c;
        c.show(kCurve, QVector<double>(41, 2.0));
        c.canvas.replot();
        // The click selects the curve. There is no crosshair yet, because the mouse has not moved.
        const QPoint at(qRound(c.canvas.xAxis->coordToPixel(c.kStart + 30 * kStep)),
                        qRound(c.canvas.yAxis->coordToPixel(2)));
        QTest::mouseClick(&c.canvas, Qt::LeftButton, {}, at);
        QVERIFY(c.curve(kCurve)->selected());
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 31);
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 32);
    }
    void withoutACrosshairTheKeysStartInTheMiddleOfTheView()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(101));
        c.select(kCurve);
        c.canvas.xAxis->setRange(c.kStart + 20 * kStep, c.kStart + 60 * kStep);
        c.press(Qt::Key_Left);
        QCOMPARE(c.sample(), 39);
    }
    void selectingAnotherCurveKeepsTheTimeOfTheCrosshair()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(41));
        c.show(kOther, QVector<double>(41, 5.0));
        c.select(kCurve);
        c.point(30);
        c.select(kOther);
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 31);
        QVERIFY(c.control.tracer()->graph() == c.curve(kOther));
    }
    void deletedPointsAreSkipped()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(41));
        c.select(kCurve);
        c.point(10);
        c.control.removeSelectedPointSlot();
        c.point(9);
        c.press(Qt::Key_Right);
        QCOMPARE(c.sample(), 11);
    }
    void theViewFollowsACrosshairThatLeavesIt()
    {
        KeyCanvas c;
        c.show(kCurve, zigzag(101));
        c.select(kCurve);
        c.canvas.xAxis->setRange(c.kStart + 20 * kStep, c.kStart + 40 * kStep);
        c.canvas.yAxis->setRange(-10, 10);
        c.canvas.replot();
        c.point(39);
        c.press(Qt::Key_Right);
        c.press(Qt::Key_Left);
        QCOMPARE(c.canvas.xAxis->range().lower, c.kStart + 20 * kStep); // the crosshair is still inside the view
        c.press(Qt::Key_Right, Qt::ShiftModifier);
        QCOMPARE(c.sample(), 49);
        const QCPRange range = c.canvas.xAxis->range();
        QVERIFY(range.contains(c.kStart + 49 * kStep));
        QVERIFY(std::abs(range.size() - 20 * kStep) < 1e-6);
        QVERIFY(std::abs(range.center() - (c.kStart + 49 * kStep)) < 1e-6);
        QVERIFY(c.canvas.yAxis->range() == QCPRange(-10, 10));
    }
    void theViewAlsoFollowsVertically()
    {
        KeyCanvas c;
        c.show(kCurve, {0, 0, 50, 0});
        c.select(kCurve);
        c.canvas.yAxis->setRange(-4, 4);
        c.canvas.replot();
        c.point(1);
        c.press(Qt::Key_Right);
        QVERIFY(c.canvas.yAxis->range() == QCPRange(46, 54));
    }
    void keyAFitsBothAxesToAllCurves()
    {
        KeyCanvas c;
        c.show(kCurve, {-3, 2, 2});
        c.show(kOther, {1, 1, 1, 1, 40});
        c.canvas.xAxis->setRange(0, 1);
        c.press(Qt::Key_A);
        QVERIFY(c.canvas.xAxis->range() == QCPRange(c.kStart, c.kStart + 4 * kStep));
        QVERIFY(c.canvas.yAxis->range() == QCPRange(-3, 40));
    }
    void keyAOnAnEmptyCanvasChangesNothing()
    {
        KeyCanvas c;
        c.press(Qt::Key_A);
        QVERIFY(c.canvas.xAxis->range() == QCPRange(0, 1));
        QVERIFY(c.canvas.yAxis->range() == QCPRange(-1, 1));
    }
    void keysForBothCanvasesAreEmitted()
    {
        KeyCanvas c;
        QSignalSpy back(&c.keys, &CanvasKeys::backRequested);
        QSignalSpy forward(&c.keys, &CanvasKeys::forwardRequested);
        QSignalSpy copy(&c.keys, &CanvasKeys::copyRequested);
        QSignalSpy save(&c.keys, &CanvasKeys::saveRequested);
        const auto counts = [&] { return QVector<int>{back.count(), forward.count(), copy.count(), save.count()}; };
        c.press(Qt::Key_Backspace);
        QCOMPARE(counts(), (QVector<int>{1, 0, 0, 0}));
        c.press(Qt::Key_Backspace, Qt::ShiftModifier);
        QCOMPARE(counts(), (QVector<int>{1, 1, 0, 0}));
        c.press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(counts(), (QVector<int>{1, 1, 1, 0}));
        c.press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(counts(), (QVector<int>{1, 1, 1, 1}));
        // Similar keys without a function.
        c.press(Qt::Key_C);
        c.press(Qt::Key_S, Qt::ControlModifier);
        c.press(Qt::Key_Backspace, Qt::ControlModifier);
        c.press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(counts(), (QVector<int>{1, 1, 1, 1}));
    }
    void otherKeysAreIgnored()
    {
        KeyCanvas c;
        for (const Qt::Key key : {Qt::Key_O, Qt::Key_Tab, Qt::Key_Up, Qt::Key_F1}) {
            QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
            QVERIFY(!c.keys.eventFilter(&c.canvas, &event));
        }
        QKeyEvent altLeft(QEvent::KeyPress, Qt::Key_Left, Qt::AltModifier);
        QVERIFY(!c.keys.eventFilter(&c.canvas, &altLeft));
        QKeyEvent controlA(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
        QVERIFY(!c.keys.eventFilter(&c.canvas, &controlA));
    }
    void aClickGivesTheCanvasTheFocus()
    {
        KeyCanvas c;
        QVERIFY(c.canvas.focusPolicy() & Qt::ClickFocus);
    }
    void keysOnAMillionSamplesTakeAtMostTwoReplots_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("next sample") << Qt::Key_Right << Qt::KeyboardModifiers(Qt::NoModifier);
        QTest::newRow("over a constant series") << Qt::Key_Right << Qt::KeyboardModifiers(Qt::ControlModifier);
        QTest::newRow("fit") << Qt::Key_A << Qt::KeyboardModifiers(Qt::NoModifier);
    }
    void keysOnAMillionSamplesTakeAtMostTwoReplots()
    {
        QFETCH(Qt::Key, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        KeyCanvas c;
        QVector<double> samples(1000000, 4.0);
        samples.last() = 5.0;
        c.show(kCurve, samples);
        c.select(kCurve);
        c.press(Qt::Key_Home);
        QCoreApplication::processEvents();
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        QElapsedTimer timer;
        timer.start();
        c.canvas.replot();
        const qint64 replot = timer.nsecsElapsed();
        replots.clear();
        timer.restart();
        c.press(key, modifiers);
        QTRY_VERIFY(replots.count() > 0);
        const qint64 answer = timer.nsecsElapsed();
        QVERIFY2(replots.count() <= 2, qPrintable(QString::number(replots.count())));
        qInfo("key %.2f ms, replot %.2f ms", double(answer) / 1e6, double(replot) / 1e6);
        // The target is the time of two replots; the limit is ten times that.
        QVERIFY2(answer < 10 * 2 * replot, qPrintable(QString::number(double(answer) / double(replot))));
    }
};

QTEST_MAIN(TestCanvasKeys)
#include "TestCanvasKeys.moc"
