#include "Release.h"

#include <QLocale>
#include <QTest>

class TestRelease : public QObject
{
    Q_OBJECT

private slots:
    void releaseValuesAreTheirLiterals();
    void readsTheDateTextOfTheCompiler_data();
    void readsTheDateTextOfTheCompiler();
    void otherTextsAreInvalid_data();
    void otherTextsAreInvalid();
    void readsEnglishMonthsInEveryLocale();
    void textsHaveTwoDigitsForEachPart_data();
    void textsHaveTwoDigitsForEachPart();
    void buildDateIsInThePast();
};

void TestRelease::releaseValuesAreTheirLiterals()
{
    QCOMPARE(QString::fromLatin1(kVersion), QStringLiteral("2.3.2"));
    QCOMPARE(kBuildCounter, 1);
}

void TestRelease::readsTheDateTextOfTheCompiler_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("time");
    QTest::newRow("two digits") << "Dec 16 202315:14:20" << QDateTime({2023, 12, 16}, {15, 14, 20});
    QTest::newRow("one digit, padded with a blank") << "Dec  6 202315:14:20" << QDateTime({2023, 12, 6}, {15, 14, 20});
    const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 1; month <= 12; ++month)
        QTest::newRow(months[month - 1]) << QString("%1  1 202600:00:00").arg(months[month - 1])
                                         << QDateTime(QDate(2026, month, 1), QTime(0, 0));
}

void TestRelease::readsTheDateTextOfTheCompiler()
{
    QFETCH(QString, text);
    QFETCH(QDateTime, time);
    QCOMPARE(parseBuildDateTime(text), time);
    QCOMPARE(parseBuildDateTime(text).toString("dd"), QString("%1").arg(time.date().day(), 2, 10, QLatin1Char('0')));
}

void TestRelease::otherTextsAreInvalid_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("date unknown to the compiler") << "??? ?? ??????:??:??";
    QTest::newRow("date alone") << "Dec 16 2023";
    QTest::newRow("no such day") << "Feb 30 202315:14:20";
}

void TestRelease::otherTextsAreInvalid()
{
    QFETCH(QString, text);
    QVERIFY(!parseBuildDateTime(text).isValid());
}

void TestRelease::readsEnglishMonthsInEveryLocale()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    const QDateTime parsed = parseBuildDateTime("Oct  6 202315:14:20");
    const QDateTime built = buildDateTime();
    QLocale::setDefault(before);
    QCOMPARE(parsed, QDateTime({2023, 10, 6}, {15, 14, 20}));
    QVERIFY(built.isValid());
}

void TestRelease::textsHaveTwoDigitsForEachPart_data()
{
    QTest::addColumn<QDateTime>("built");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("dateTime");
    QTest::newRow("16 December") << QDateTime({2023, 12, 16}, {15, 14, 20}) << "20231216"
                                 << "20231216 15:14:20";
    QTest::newRow("6th of a month") << QDateTime({2023, 12, 6}, {15, 14, 20}) << "20231206"
                                    << "20231206 15:14:20";
    QTest::newRow("one digit everywhere") << QDateTime({2024, 1, 2}, {3, 4, 5}) << "20240102"
                                          << "20240102 03:04:05";
    // Noon and after it, on a clock of 24 hours.
    QTest::newRow("one past noon") << QDateTime({2024, 11, 30}, {13, 59, 0}) << "20241130"
                                   << "20241130 13:59:00";
}

void TestRelease::textsHaveTwoDigitsForEachPart()
{
    QFETCH(QDateTime, built);
    QTEST(buildDateText(built), "date");
    QTEST(buildDateTimeText(built), "dateTime");
}

void TestRelease::buildDateIsInThePast()
{
    const QDateTime built = buildDateTime();
    QVERIFY(built.isValid());
    QVERIFY(built.date().year() >= 2023);
    QVERIFY(built <= QDateTime::currentDateTime());
}

QTEST_GUILESS_MAIN(TestRelease)
#include "TestRelease.moc"
