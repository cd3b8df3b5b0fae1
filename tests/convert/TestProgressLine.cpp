#include "ProgressLine.h"

#include <QTest>

class TestProgressLine : public QObject
{
    Q_OBJECT

private slots:
    void tellsHowFarHowFastAndHowLong();
    void saysNoRateAtFirst();
    void staysInItsColumns();
    void nothingToReadIsDone();
    void clockHasHoursMinutesAndSeconds();
};

// Half of 200 MB in four seconds: 25 MB/s, four more seconds, and one for what is cut.
void TestProgressLine::tellsHowFarHowFastAndHowLong()
{
    ProgressLine line(200'000'000, 8, false);
    line.add(60'000'000);
    line.add(40'000'000);
    line.finishLog();
    QCOMPARE(line.text(4), QString("[###############...............] 1 of 8  50 %  25 MB/s  0:00:05 left"));
}

void TestProgressLine::saysNoRateAtFirst()
{
    ProgressLine line(100, 1, false);
    QCOMPARE(line.text(10), QString("[..............................] 0 of 1  0 %"));
    line.add(50);
    QCOMPARE(line.text(0.1), QString("[###############...............] 0 of 1  50 %"));
}

void TestProgressLine::staysInItsColumns()
{
    ProgressLine line(9'000'000'000'000'000'000, 2'000'000'000, false);
    line.add(8'000'000'000'000'000'000);
    QVERIFY(line.text(0.3).size() <= 79);
}

void TestProgressLine::nothingToReadIsDone()
{
    const ProgressLine line(0, 0, false);
    QCOMPARE(line.text(0), QString("[##############################] 0 of 0  100 %"));
}

void TestProgressLine::clockHasHoursMinutesAndSeconds()
{
    QCOMPARE(clockText(0), QString("0:00:00"));
    QCOMPARE(clockText(3661), QString("1:01:01"));
    QCOMPARE(clockText(100 * 3600), QString("100:00:00"));
}

QTEST_GUILESS_MAIN(TestProgressLine)
#include "TestProgressLine.moc"
