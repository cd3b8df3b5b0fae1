#include "FigureArea.h"

#include <QTest>

class TestFigureArea : public QObject
{
    Q_OBJECT

private slots:
    void largestSideOfTheDialogIsTaken_data();
    void largestSideOfTheDialogIsTaken();
};

void TestFigureArea::largestSideOfTheDialogIsTaken_data()
{
    QTest::addColumn<QRect>("dialog");
    QTest::addColumn<QRect>("area");
    // On a screen of 1366 by 768 whose lowest 40 rows a task bar has.
    QTest::newRow("at the left edge") << QRect(0, 150, 407, 458) << QRect(407, 0, 959, 728);
    QTest::newRow("at the right edge") << QRect(959, 150, 407, 458) << QRect(0, 0, 959, 728);
    QTest::newRow("right of the middle") << QRect(600, 150, 407, 458) << QRect(0, 0, 600, 728);
    QTest::newRow("at the top, wide") << QRect(0, 0, 1366, 200) << QRect(0, 200, 1366, 528);
    QTest::newRow("at the bottom, wide") << QRect(0, 528, 1366, 200) << QRect(0, 0, 1366, 528);
    QTest::newRow("half outside") << QRect(-200, 150, 407, 458) << QRect(207, 0, 1159, 728);
    QTest::newRow("on another screen") << QRect(2000, 150, 407, 458) << QRect(0, 0, 1366, 728);
}

void TestFigureArea::largestSideOfTheDialogIsTaken()
{
    QFETCH(QRect, dialog);
    QTEST(figureArea(dialog, QRect(0, 0, 1366, 728)), "area");
}

QTEST_GUILESS_MAIN(TestFigureArea)
#include "TestFigureArea.moc"
