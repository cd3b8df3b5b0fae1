#include "AlignedMargins.h"
#include "Canvas.h"

#include <QSignalSpy>
#include <QTest>
#include <cmath>

namespace
{

QFont points(int size)
{
    QFont font;
    font.setPointSize(size);
    return font;
}

/** Two canvases with a common time range, one above the other as in the window. */
class TwoCanvases : public Canvas
{
public:
    TwoCanvases()
    {
        second.initCustomPlot(&below);
        canvas.resize(900, 420);
        below.resize(900, 150);
        AlignedMargins::join(&canvas, &below);
        for (QCustomPlot *const plot : {&canvas, &below}) {
            plot->show();
            if (!QTest::qWaitForWindowExposed(plot))
                qFatal("the canvas does not appear");
            plot->xAxis->setRange(kStart, kStart + 600);
            plot->replot();
        }
        connectRanges(canvas, below);
        connectRanges(below, canvas);
    }

    /** Describes the difference; empty if both canvases show each time in the same pixel column. */
    QString difference() const
    {
        const QRect a = canvas.axisRect()->rect();
        const QRect b = below.axisRect()->rect();
        if (a.left() != b.left() || a.right() != b.right())
            return QStringLiteral("%1 to %2 above, %3 to %4 below")
                .arg(a.left())
                .arg(a.right())
                .arg(b.left())
                .arg(b.right());
        const QCPRange range = canvas.xAxis->range();
        for (const double part : {0.0, 0.1, 0.7, 1.0}) {
            const double time = range.lower + part * range.size();
            const double above = canvas.xAxis->coordToPixel(time);
            const double under = below.xAxis->coordToPixel(time);
            if (above != under)
                return QStringLiteral("%1 at %2 and %3").arg(time).arg(above).arg(under);
        }
        return {};
    }

    void setFont(MyCustomPlot &controller, int size)
    {
        controller.plot()->yAxis->setSelectedParts(QCPAxis::spAxis | QCPAxis::spTickLabels);
        controller.resetAxisSizeSlot(points(size));
        controller.plot()->deselectAll();
    }

    QCustomPlot below;
    MyCustomPlot second{nullptr};

private:
    static void connectRanges(QCustomPlot &from, QCustomPlot &to)
    {
        QObject::connect(from.xAxis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged), &to,
                         [&to](const QCPRange &range) {
                             to.xAxis->setRange(range);
                             to.replot();
                         });
    }
};

} // namespace

class TestAlignedMargins : public QObject
{
    Q_OBJECT

private slots:
    void equalTimesAreInTheSameColumn_data()
    {
        QTest::addColumn<double>("ratio");
        QTest::addColumn<int>("size");
        for (const double ratio : {1.0, 2.0}) {
            for (const int size : {6, 8, 11, 20, 40})
                QTest::addRow("%d points at scale %g", size, ratio) << ratio << size;
        }
    }
    void equalTimesAreInTheSameColumn()
    {
        QFETCH(double, ratio);
        QFETCH(int, size);
        TwoCanvases c;
        c.canvas.setBufferDevicePixelRatio(ratio);
        c.below.setBufferDevicePixelRatio(ratio);
        for (MyCustomPlot *const controller : {&c.control, &c.second}) {
            c.setFont(*controller, size);
            QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        }
        int widest = 0;
        int narrowest = c.canvas.width();
        for (QCustomPlot *const changed : {&c.canvas, &c.below}) {
            for (int exponent = -6; exponent <= 9; ++exponent) {
                const double value = 1.2345 * std::pow(10.0, exponent);
                for (const QCPRange &range : {QCPRange(-value, value), QCPRange(value, value * 1.001)}) {
                    // The test replots only the canvas whose range changed.
                    changed->yAxis->setRange(range);
                    changed->replot();
                    QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
                    widest = qMax(widest, c.canvas.axisRect()->left());
                    narrowest = qMin(narrowest, c.canvas.axisRect()->left());
                }
            }
        }
        // The margins fit the current labels, not the widest possible ones.
        QVERIFY(widest > narrowest);
    }
    void canvasesStayAlignedWithOtherThemesSizesAndCurves()
    {
        TwoCanvases c;
        c.show("横滚", {-12345, 0, 12345});
        QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        c.second.myAddGraph(Canvas::channel("横滚差值", {1e-3, 1.5e-3}));
        QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        for (const MyThemes theme : {lightTheme, darkTheme}) {
            c.control.switchThemeSlot(theme);
            QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        }
        for (const QSize &size : {QSize(700, 90), QSize(1500, 500), QSize(420, 200)}) {
            c.canvas.resize(size);
            c.below.resize(size.width(), size.height() / 2);
            QTRY_COMPARE(c.below.viewport().width(), size.width());
            QTRY_COMPARE(c.canvas.viewport().width(), size.width());
            QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        }
        c.control.removeAllGraphsSlot();
        QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
    }
    void anUnmovedCanvasIsNotReplotted()
    {
        TwoCanvases c;
        c.canvas.yAxis->setRange(0, 10);
        c.below.yAxis->setRange(0, 100000);
        c.canvas.replot();
        c.below.replot();
        QSignalSpy above(&c.canvas, &QCustomPlot::afterReplot);
        QSignalSpy under(&c.below, &QCustomPlot::afterReplot);
        // The labels are narrower than those of the canvas below, so nothing moves.
        c.canvas.yAxis->setRange(0, 100);
        c.canvas.replot();
        QCoreApplication::processEvents();
        QCOMPARE(above.count(), 1);
        QCOMPARE(under.count(), 0);
        // The linked time ranges replot each canvas once; the margins add no replot.
        c.canvas.xAxis->setRange(Canvas::kStart + 100, Canvas::kStart + 500);
        QCoreApplication::processEvents();
        QCOMPARE(above.count(), 2);
        QCOMPARE(under.count(), 1);
        // Wider labels move the canvas below once.
        c.canvas.yAxis->setRange(123456.1, 123456.2);
        c.canvas.replot();
        QCoreApplication::processEvents();
        QCOMPARE(above.count(), 3);
        QCOMPARE(under.count(), 2);
    }
    void bothCanBeChangedBeforeOneIsReplotted()
    {
        TwoCanvases c;
        c.canvas.yAxis->setRange(0, 1000);
        c.below.yAxis->setRange(123456.1, 123456.2);
        c.canvas.replot();
        c.below.replot();
        QVERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
        // The first canvas moves the second, whose wider labels then move the first one in the event loop.
        c.canvas.yAxis->setRange(12345, 54321);
        c.below.yAxis->setRange(1234567.1, 1234567.2);
        c.canvas.replot();
        QTRY_VERIFY2(c.difference().isEmpty(), qPrintable(c.difference()));
    }
    void oneCanvasCanBeDeletedFirst()
    {
        Fixture fixture;
        QCustomPlot remaining;
        auto deleted = std::make_unique<QCustomPlot>();
        MyCustomPlot control(nullptr);
        control.initCustomPlot(&remaining);
        AlignedMargins::join(deleted.get(), &remaining);
        deleted->replot();
        deleted.reset();
        remaining.yAxis->setRange(0, 1e6);
        remaining.replot();
        QVERIFY(remaining.axisRect()->left() > 0);
    }
};

QTEST_MAIN(TestAlignedMargins)
#include "TestAlignedMargins.moc"
