#include "FigureArea.h"

#include <QTest>

class TestFigureArea : public QObject
{
    Q_OBJECT

private slots:
    void areaIsTheLargestSideOfTheDialog_data();
    void areaIsTheLargestSideOfTheDialog();
    void screenOriginIsNotScaled_data();
    void screenOriginIsNotScaled();
};

void TestFigureArea::areaIsTheLargestSideOfTheDialog_data()
{
    QTest::addColumn<QRect>("dialog");
    QTest::addColumn<QRect>("area");
    // The screen has 1366x768 pixels; a task bar covers the lowest 40 rows.
    QTest::newRow("at the left edge") << QRect(0, 150, 407, 458) << QRect(407, 0, 959, 728);
    QTest::newRow("at the right edge") << QRect(959, 150, 407, 458) << QRect(0, 0, 959, 728);
    QTest::newRow("right of the middle") << QRect(600, 150, 407, 458) << QRect(0, 0, 600, 728);
    QTest::newRow("at the top, wide") << QRect(0, 0, 1366, 200) << QRect(0, 200, 1366, 528);
    QTest::newRow("at the bottom, wide") << QRect(0, 528, 1366, 200) << QRect(0, 0, 1366, 528);
    QTest::newRow("half outside") << QRect(-200, 150, 407, 458) << QRect(207, 0, 1159, 728);
    QTest::newRow("on another screen") << QRect(2000, 150, 407, 458) << QRect(0, 0, 1366, 728);
}

void TestFigureArea::areaIsTheLargestSideOfTheDialog()
{
    QFETCH(QRect, dialog);
    QTEST(figureArea(dialog, QRect(0, 0, 1366, 728)), "area");
}

void TestFigureArea::screenOriginIsNotScaled_data()
{
    QTest::addColumn<QRect>("area");
    QTest::addColumn<QPoint>("origin");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QRect>("pixels");
    QTest::newRow("first screen") << QRect(407, 10, 959, 728) << QPoint(0, 0) << 2.0 << QRect(814, 20, 1918, 1456);
    QTest::newRow("to the right") << QRect(2327, 0, 500, 700) << QPoint(1920, 0) << 2.0 << QRect(2734, 0, 1000, 1400);
    QTest::newRow("to the left") << QRect(-1500, 0, 500, 700) << QPoint(-1920, 0) << 1.5 << QRect(-1290, 0, 750, 1050);
    QTest::newRow("without a scale") << QRect(2327, 5, 500, 700) << QPoint(1920, 0) << 1.0 << QRect(2327, 5, 500, 700);
}

void TestFigureArea::screenOriginIsNotScaled()
{
    QFETCH(QRect, area);
    QFETCH(QPoint, origin);
    QFETCH(qreal, scale);
    QTEST(nativePixels(area, origin, scale), "pixels");
}

QTEST_GUILESS_MAIN(TestFigureArea)
#include "TestFigureArea.moc"
