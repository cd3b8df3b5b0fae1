#include "GroupPeriods.h"

#include <QTest>

using namespace ostravel;

class TestGroupPeriods : public QObject
{
    Q_OBJECT

private slots:
    void differenceAndEquipmentFollowTheControlStatus();
    void groupHasItsOwnPeriod_data();
    void groupHasItsOwnPeriod();
    void codeWithoutAPeriodIsRefused_data();
    void codeWithoutAPeriodIsRefused();
};

void TestGroupPeriods::differenceAndEquipmentFollowTheControlStatus()
{
    QMap<std::uint8_t, int> periods{{0x51, 7}};
    QVERIFY(setGroupPeriod(periods, 0x02, 1000));
    QCOMPARE(periods, (QMap<std::uint8_t, int>{{0x02, 1000}, {0x51, 1000}, {0x53, 1000}}));
}

void TestGroupPeriods::groupHasItsOwnPeriod_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x01, 0x03, 0x04, 0x05, 0x41})
        QTest::addRow("0x%02x", code) << code;
}

void TestGroupPeriods::groupHasItsOwnPeriod()
{
    QFETCH(int, code);
    QMap<std::uint8_t, int> periods;
    QVERIFY(setGroupPeriod(periods, std::uint8_t(code), 50));
    QCOMPARE(periods, (QMap<std::uint8_t, int>{{std::uint8_t(code), 50}}));
}

void TestGroupPeriods::codeWithoutAPeriodIsRefused_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x00, 0x06, 0x51, 0x52, 0x53, 0xFF})
        QTest::addRow("0x%02x", code) << code;
}

void TestGroupPeriods::codeWithoutAPeriodIsRefused()
{
    QFETCH(int, code);
    QMap<std::uint8_t, int> periods;
    QVERIFY(!setGroupPeriod(periods, std::uint8_t(code), 50));
    QVERIFY(periods.isEmpty());
}

QTEST_GUILESS_MAIN(TestGroupPeriods)
#include "TestGroupPeriods.moc"
