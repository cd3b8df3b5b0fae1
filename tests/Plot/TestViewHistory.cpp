#include "Fixture.h"
#include "ViewHistory.h"

#include <QSignalSpy>
#include <QTest>

namespace
{

/** Two canvases with one curve each, and their history. The time axes are not linked. */
class TwoCanvases
{
public:
    explicit TwoCanvases(bool withCurves = true)
    {
        for (QCustomPlot *canvas : {&first, &second}) {
            canvas->resize(400, 200);
            canvas->addGraph();
            if (withCurves)
                canvas->graph()->setData({0, 1}, {0, 1});
            canvas->xAxis->setRange(0, 1);
            canvas->yAxis->setRange(-1, 1);
        }
        history = std::make_unique<ViewHistory>(QVector<QCustomPlot *>{&first, &second}, nullptr);
    }

    /** Waits until the current view is recorded at this position. */
    void waitFor(int position) { QTRY_COMPARE(history->position(), position); }

    QVector<QCPRange> ranges() const
    {
        return {first.xAxis->range(), first.yAxis->range(), second.xAxis->range(), second.yAxis->range()};
    }

    Fixture fixture;
    QCustomPlot first;
    QCustomPlot second;
    std::unique_ptr<ViewHistory> history;
};

} // namespace

class TestViewHistory : public QObject
{
    Q_OBJECT

private slots:
    void backAndForwardRestoreTheAxesOfAllCanvases()
    {
        TwoCanvases c;
        const QVector<QCPRange> start = c.ranges();
        c.first.xAxis->setRange(5, 6);
        c.second.xAxis->setRange(5, 6);
        c.first.yAxis->setRange(10, 20);
        const QVector<QCPRange> zoomed = c.ranges();
        c.waitFor(1);
        c.second.yAxis->setRange(-7, 7);
        const QVector<QCPRange> last = c.ranges();
        c.waitFor(2);

        c.history->goBack();
        QVERIFY(c.ranges() == zoomed);
        c.history->goBack();
        QVERIFY(c.ranges() == start);
        c.history->goBack();
        QVERIFY(c.ranges() == start);
        c.history->goForward();
        QVERIFY(c.ranges() == zoomed);
        c.history->goForward();
        QVERIFY(c.ranges() == last);
        c.history->goForward();
        QVERIFY(c.ranges() == last);
        QCOMPARE(c.history->count(), 3);
    }
    void oneMovementIsOneStep()
    {
        TwoCanvases c;
        for (int i = 1; i <= 50; ++i)
            c.first.xAxis->setRange(i, i + 1);
        c.waitFor(1);
        c.history->goBack();
        QCOMPARE(c.first.xAxis->range().lower, 0.0);
        QCOMPARE(c.history->count(), 2);
    }
    void goingBackRecordsThePendingViewFirst()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        c.history->goBack();
        QCOMPARE(c.first.xAxis->range().lower, 0.0);
        c.history->goForward();
        QCOMPARE(c.first.xAxis->range().lower, 5.0);
    }
    void goingBackRecordsNothing()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        QSignalSpy settled(c.history->findChild<QTimer *>(), &QTimer::timeout);
        c.history->goBack();
        QVERIFY(settled.wait());
        QCOMPARE(c.history->count(), 2);
        c.history->goForward();
        QCOMPARE(c.first.xAxis->range().lower, 5.0);
    }
    void aNewViewRemovesTheForwardViews()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        c.history->goBack();
        c.first.xAxis->setRange(8, 9);
        c.history->goForward();
        QCOMPARE(c.first.xAxis->range().lower, 8.0);
        c.history->goBack();
        QCOMPARE(c.first.xAxis->range().lower, 0.0);
    }
    void aClearedHistoryHasNoBackOrForwardViews()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        c.waitFor(1);
        c.first.xAxis->setRange(7, 8);
        c.waitFor(2);
        c.history->goBack();
        c.first.xAxis->setRange(20, 21); // not recorded yet
        c.history->clear();
        QCOMPARE(c.history->count(), 1);
        c.history->goBack();
        QCOMPARE(c.first.xAxis->range().lower, 20.0);
        c.history->goForward();
        QCOMPARE(c.first.xAxis->range().lower, 20.0);
        c.first.xAxis->setRange(5, 6);
        c.waitFor(1);
    }
    void returningToTheSameViewIsNoStep()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        c.waitFor(1);
        c.first.xAxis->setRange(7, 8);
        c.first.xAxis->setRange(5, 6);
        c.history->goForward(); // records the current view immediately
        QCOMPARE(c.history->count(), 2);
    }
    void theViewOfEmptyCanvasesIsNotRecorded()
    {
        TwoCanvases c(false);
        c.first.xAxis->setRange(0, 2);
        c.history->goForward();
        c.first.graph()->setData({100, 200}, {3, 4});
        c.first.xAxis->setRange(100, 200);
        c.history->goForward();
        c.first.xAxis->setRange(120, 130);
        c.history->goBack();
        QVERIFY(c.first.xAxis->range() == QCPRange(100, 200));
        c.history->goBack();
        QVERIFY(c.first.xAxis->range() == QCPRange(100, 200));
    }
    void aSlowDragIsOneStep()
    {
        TwoCanvases c;
        c.first.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.first));
        QTest::mousePress(&c.first, Qt::LeftButton, {}, QPoint(200, 100));
        c.first.xAxis->setRange(1, 2);
        QSignalSpy settled(c.history->findChild<QTimer *>(), &QTimer::timeout);
        QVERIFY(settled.wait());
        QCOMPARE(c.history->position(), 0);
        c.first.xAxis->setRange(2, 3);
        QTest::mouseRelease(&c.first, Qt::LeftButton, {}, QPoint(200, 100));
        c.waitFor(1);
        c.history->goBack();
        QCOMPARE(c.first.xAxis->range().lower, 0.0);
    }
    void theOldestViewsAreRemoved()
    {
        TwoCanvases c;
        for (int i = 1; i <= ViewHistory::kMaxViews + 5; ++i) {
            c.first.xAxis->setRange(i, i + 1);
            c.history->goForward();
        }
        QCOMPARE(c.history->count(), ViewHistory::kMaxViews);
        for (int i = 0; i < ViewHistory::kMaxViews + 5; ++i)
            c.history->goBack();
        // The last 200 of the views 0 to 205 remain.
        QCOMPARE(c.first.xAxis->range().lower, 6.0);
    }
    void goingBackRepaintsTheCanvases()
    {
        TwoCanvases c;
        c.first.xAxis->setRange(5, 6);
        c.waitFor(1);
        int painted = 0;
        for (QCustomPlot *canvas : {&c.first, &c.second})
            connect(canvas, &QCustomPlot::afterReplot, this, [&painted] { ++painted; });
        c.history->goBack();
        QTRY_COMPARE(painted, 2);
    }
};

QTEST_MAIN(TestViewHistory)
#include "TestViewHistory.moc"
