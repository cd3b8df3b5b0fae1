#include "ChannelStore.h"
#include "CurveMath.h"
#include "FlightModes.h"
#include "FrameTable.h"
#include "MyGraph.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTest>
#include <climits>
#include <cmath>
#include <ctime>
#include <limits>

using Series = QVector<double>;

namespace
{

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/** A channel whose first sample is at second 100. */
MyGraph channel(const Series &samples, int interval = 500)
{
    MyGraph graph(QStringLiteral("channel"), 0, 0x03);
    graph.setInterval(interval);
    graph.setYvalue(samples);
    Series keys;
    for (int i = 0; i < samples.size(); ++i)
        keys.append(100.0 + i * (interval / 1000.0));
    graph.setXvalue(keys);
    return graph;
}

/** 1, 2, 3 up to count. */
Series counting(int count)
{
    Series series;
    for (int i = 1; i <= count; ++i)
        series.append(i);
    return series;
}

/** Compares bit by bit, but all NaN values are equal. */
bool same(const Series &a, const Series &b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && !(std::isnan(a[i]) && std::isnan(b[i])))
            return false;
    }
    return true;
}

} // namespace

class TestCurveMath : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // UTC+8 as a POSIX rule, which needs no time zone file.
        qputenv("TZ", "CST-8");
        tzset();
    }

    void keysStartAtAWholeSecondAndIncreaseByTheInterval()
    {
        QVERIFY(
            same(curvemath::timeKeys(4, 1700000000, 200), {1700000000.0, 1700000000.2, 1700000000.4, 1700000000.6}));
    }
    void keysAreProductsNotSums()
    {
        // Adding 0.1 ten times gives one ulp less than 1; the product is exact.
        QVERIFY(curvemath::timeKeys(11, 0, 100)[10] == 1.0);
    }
    void keysStandStillAtAnIntervalOfZero() { QVERIFY(same(curvemath::timeKeys(3, 50, 0), {50.0, 50.0, 50.0})); }
    void keysDescendAtANegativeInterval() { QVERIFY(same(curvemath::timeKeys(3, 50, -1000), {50.0, 49.0, 48.0})); }
    void noSamplesHaveNoKeys() { QVERIFY(curvemath::timeKeys(0, 50, 200).isEmpty()); }

    void spikes_data()
    {
        QTest::addColumn<Series>("samples");
        QTest::addColumn<Series>("expected");
        const auto row = [](const char *name, const Series &samples, const Series &expected) {
            QTest::newRow(name) << samples << expected;
        };
        row("spike between two samples takes the left one", {1, 50, 2}, {1, 1, 2});
        row("spike of the first sample needs its one neighbour only", {50, 2, 1}, {2, 2, 1});
        row("spike of the last sample needs its one neighbour only", {1, 2, 50}, {1, 2, 2});
        row("ten times a neighbour is no spike", {1, 10, 1}, {1, 10, 1});
        row("more than ten times a neighbour is one", {1, 10.5, 1}, {1, 1, 1});
        row("the sign does not matter", {1, -50, 1}, {1, 1, 1});
        row("a step is no spike", {1, 50, 50, 50}, {1, 50, 50, 50});
        row("two neighbouring spikes of like size survive", {1, 50, 60, 1}, {1, 50, 60, 1});
        row("two neighbouring spikes of unlike size do not", {1, 900, 50, 1, 1}, {1, 1, 1, 1, 1});
        row("a replaced value is what the right neighbour is compared with", {1, 200, 15, 1}, {1, 1, 1, 1});
        row("a replaced first sample makes no spike of the second", {900, 80, 9}, {80, 80, 9});
        row("a sample between zeros is a spike", {0, 5, 0}, {0, 0, 0});
        row("a first sample beside a zero is a spike", {5, 0, 0}, {0, 0, 0});
        row("zero divided by zero is none", {0, 0, 0}, {0, 0, 0});
        row("a value that is not a number is none and makes none", {1, kNaN, 50}, {1, kNaN, 50});
        row("an infinite sample is one", {1, kInfinity, 1}, {1, 1, 1});
        row("infinity divided by infinity is none", {kInfinity, kInfinity, kInfinity},
            {kInfinity, kInfinity, kInfinity});
        row("two samples: the first is judged first", {50, 1}, {1, 1});
        row("two samples: then the last", {1, 50}, {1, 1});
        row("one sample stays", {50}, {50});
        row("no sample stays none", {}, {});
    }
    void spikes()
    {
        QFETCH(Series, samples);
        QFETCH(Series, expected);
        curvemath::removeSpikes(samples);
        QVERIFY(same(samples, expected));
    }

    void theFirstSampleIsRepeatedAtTheBeginning()
    {
        Series series{7, 8};
        curvemath::repeatFirst(series, 3);
        QVERIFY(same(series, {7, 7, 7, 7, 8}));
    }
    void anEmptySeriesHasNoFirstSampleToRepeat()
    {
        Series series;
        curvemath::repeatFirst(series, 3);
        QVERIFY(series.isEmpty());
    }
    void theLastSampleIsRepeatedAtTheEnd()
    {
        Series series{7, 8};
        curvemath::repeatLast(series, 2);
        QVERIFY(same(series, {7, 8, 8, 8}));
    }
    void theLastSampleOfAnEmptySeriesIsZero()
    {
        Series series;
        curvemath::repeatLast(series, 2);
        QVERIFY(same(series, {0, 0}));
    }
    void zerosAreAppended()
    {
        Series series{7};
        curvemath::appendZeros(series, 2);
        QVERIFY(same(series, {7, 0, 0}));
    }

    void recalculatedDifferences_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("recalculated");
        QTest::newRow("none") << 0 << 0;
        QTest::newRow("few are all") << 20 << 20;
        QTest::newRow("255 are all") << 255 << 255;
        QTest::newRow("256 wraps to 0") << 256 << 0;
        QTest::newRow("300 are 44") << 300 << 44;
        QTest::newRow("512 wraps to 0") << 512 << 0;
    }
    void recalculatedDifferences()
    {
        QFETCH(int, samples);
        QFETCH(int, recalculated);
        Series differences(600, 99.0);
        curvemath::recalculateDifferences(differences, Series(600, 5.0), Series(600, 2.0), samples);
        QCOMPARE(differences.count(3.0), recalculated);
        QCOMPARE(differences.count(99.0), 600 - recalculated);
        QCOMPARE(differences.indexOf(99.0), recalculated);
    }
    void differencesStopAtTheShortestSeries()
    {
        Series differences(4, 99.0);
        curvemath::recalculateDifferences(differences, {5, 5, 5}, {2, 2}, 100);
        QVERIFY(same(differences, {3, 3, 99, 99}));
        curvemath::recalculateDifferences(differences, {7}, {2, 2}, 100);
        QVERIFY(same(differences, {5, 3, 99, 99}));
        Series none;
        curvemath::recalculateDifferences(none, {5, 5}, {2, 2}, 100);
        QVERIFY(none.isEmpty());
    }

    void riseTimes_data()
    {
        QTest::addColumn<Series>("actual");
        QTest::addColumn<Series>("target");
        QTest::addColumn<int>("index");
        QTest::addColumn<double>("expected");
        const auto row = [](const char *name, const Series &actual, const Series &target, int index, double expected) {
            QTest::newRow(name) << actual << target << index << expected;
        };
        const Series rising{0, 1, 2, 3, 4, 5};
        const Series three(6, 3.0);
        // One sample every 0.5 s.
        row("rising: strictly above the goal, so not at 3 but at 4", rising, three, 0, 2.0);
        row("rising from the second sample", rising, three, 1, 1.5);
        row("equal takes no time", rising, three, 3, 0.0);
        row("falling: reached where no longer above", {5, 4, 3, 2}, {3, 3, 3, 3}, 0, 1.0);
        row("falling and never down", rising, three, 5, -1.0);
        row("rising and never above", {0, 1, 3, 3}, {3, 3, 3, 3}, 0, -1.0);
        row("what lies before the sample does not count", {9, 0, 1}, {3, 3, 3}, 1, -1.0);
        row("the goal is the target of that sample, not of a later one", {0, 2, 4}, {1, 9, 9}, 0, 0.5);
        row("target shorter than the index", rising, {3, 3}, 2, -2.0);
        row("target longer than the actual series", {0, 1}, three, 4, -1.0);
        row("no target samples", rising, {}, 0, -2.0);
        row("no actual samples", {}, three, 0, -1.0);
        row("index before the start", rising, three, -1, -2.0);
        row("smallest index", rising, three, INT_MIN, -2.0);
        row("largest index", rising, three, INT_MAX, -2.0);
        row("a goal that is not a number: nothing is above it", rising, Series(6, kNaN), 2, 0.0);
    }
    void riseTimes()
    {
        QFETCH(Series, actual);
        QFETCH(Series, target);
        QFETCH(int, index);
        QFETCH(double, expected);
        const MyGraph g = channel(actual);
        const MyGraph t = channel(target);
        QVERIFY(curvemath::risingTime(&g, &t, index) == expected);
    }
    void riseTimeWithANullTargetIsInvalid()
    {
        const MyGraph g = channel({1, 2});
        QVERIFY(curvemath::risingTime(&g, nullptr, 0) == -2.0);
        QVERIFY(curvemath::risingTime(nullptr, &g, 0) == -1.0);
    }
    void riseTimeOfAChannelWithoutKeysIsInvalid()
    {
        MyGraph g = channel({0, 1, 2});
        g.setXvalue({});
        const MyGraph t = channel({1, 1, 1});
        QVERIFY(curvemath::risingTime(&g, &t, 0) == -1.0);
    }
    void aMillionSamplesBelowTheTargetAreFast()
    {
        const MyGraph g = channel(Series(1000000, 0.0));
        const MyGraph t = channel(Series(1000000, 1.0));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(curvemath::risingTime(&g, &t, 0) == -1.0);
        // Ten times the target; a sanitizer multiplies it again.
        QVERIFY2(timer.elapsed() < 200, qPrintable(QString::number(timer.elapsed())));
    }

    void areas_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("goals");
        QTest::addColumn<int>("index");
        QTest::addColumn<double>("sum");
        // Sample i is i + 1 and the target is always 0, so the area is the sum of the window's samples times 0.5 s.
        QTest::newRow("first sample: window from it to four after it") << 12 << 12 << 0 << 15.0; // 1..5
        QTest::newRow("third sample: two before it, seven in all") << 12 << 12 << 2 << 28.0; // 1..7
        QTest::newRow("in the middle: ten samples") << 12 << 12 << 6 << 65.0; // 2..11
        QTest::newRow("last sample: it and five before it") << 12 << 12 << 11 << 57.0; // 7..12
        QTest::newRow("cut at the end of a shorter target") << 12 << 8 << 6 << 35.0; // 2..8
        QTest::newRow("cut at the end of a longer target") << 8 << 12 << 6 << 35.0; // 2..8
        QTest::newRow("just after the end: the rest of the five before") << 10 << 10 << 12 << 27.0; // 8..10
        QTest::newRow("far after the end") << 10 << 10 << 20 << 0.0;
        QTest::newRow("one sample") << 1 << 1 << 0 << 1.0;
        QTest::newRow("no samples") << 0 << 5 << 0 << 0.0;
        QTest::newRow("no target samples") << 5 << 0 << 0 << 0.0;
        QTest::newRow("smallest index") << 5 << 5 << INT_MIN << 0.0;
        QTest::newRow("largest index") << 5 << 5 << INT_MAX << 0.0;
    }
    void areas()
    {
        QFETCH(int, samples);
        QFETCH(int, goals);
        QFETCH(int, index);
        QFETCH(double, sum);
        const MyGraph g = channel(counting(samples));
        const MyGraph t = channel(Series(goals, 0.0));
        QCOMPARE(curvemath::area(&g, &t, index), sum * 0.5);
    }
    void areaUnderTheTargetIsNegative()
    {
        const MyGraph g = channel({1, 2, 3}, 200);
        const MyGraph t = channel({4, 4, 5}, 200);
        // (-3 - 2 - 2) * 0.2
        QCOMPARE(curvemath::area(&g, &t, 1), -1.4);
    }
    void areaUsesTheIntervalOfTheActualChannel()
    {
        const MyGraph g = channel({2, 2}, 1000);
        const MyGraph t = channel({1, 1}, 200);
        QCOMPARE(curvemath::area(&g, &t, 0), 2.0);
    }
    void areaWithoutAPartnerIsZero()
    {
        const MyGraph g = channel({1, 2});
        QVERIFY(curvemath::area(&g, nullptr, 0) == 0.0);
        QVERIFY(curvemath::area(nullptr, &g, 0) == 0.0);
    }

    void deviationIsActualMinusTarget()
    {
        const MyGraph g = channel({1, 2, 3});
        const MyGraph t = channel({5, 7});
        QVERIFY(curvemath::deviation(&g, &t, 1) == -5.0);
    }
    void deviationWithoutASampleIsMinusOne()
    {
        const MyGraph g = channel({1, 2, 3});
        const MyGraph t = channel({5, 7});
        QVERIFY(curvemath::deviation(&g, &t, 2) == -1.0);
        QVERIFY(curvemath::deviation(&t, &g, 2) == -1.0);
        QVERIFY(curvemath::deviation(&g, &t, -1) == -1.0);
        QVERIFY(curvemath::deviation(&g, nullptr, 0) == -1.0);
        QVERIFY(curvemath::deviation(nullptr, &t, 0) == -1.0);
    }

    void aKeyIsFoundInAscendingAndDescendingKeys_data()
    {
        QTest::addColumn<int>("interval");
        QTest::newRow("ascending") << 200;
        QTest::newRow("standing still") << 0;
        QTest::newRow("descending") << -200;
    }
    void aKeyIsFoundInAscendingAndDescendingKeys()
    {
        QFETCH(int, interval);
        const Series keys = curvemath::timeKeys(1000, 1700000000, interval);
        for (int i = 0; i < keys.size(); ++i) {
            // The first of equal keys is found.
            QCOMPARE(curvemath::indexOfKey(keys, keys[i]), interval == 0 ? 0 : i);
        }
    }
    void keysMustMatchExactly()
    {
        const Series keys{1.0, 2.0, 3.0};
        QCOMPARE(curvemath::indexOfKey(keys, std::nextafter(2.0, 3.0)), -1);
        QCOMPARE(curvemath::indexOfKey(keys, std::nextafter(2.0, 1.0)), -1);
        QCOMPARE(curvemath::indexOfKey(keys, 0.0), -1);
        QCOMPARE(curvemath::indexOfKey(keys, 4.0), -1);
        QCOMPARE(curvemath::indexOfKey(keys, kNaN), -1);
        QCOMPARE(curvemath::indexOfKey({}, 1.0), -1);
        QCOMPARE(curvemath::indexOfKey({5.0}, 5.0), 0);
    }

    void dateTimes_data()
    {
        QTest::addColumn<double>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("local time") << 1700000000.0 << "2023-11-15 06:13:20";
        QTest::newRow("fractions are cut off") << 1700000000.999 << "2023-11-15 06:13:20";
        QTest::newRow("cut toward zero from below") << -0.9 << "1970-01-01 08:00:00";
        QTest::newRow("below zero the low 32 bits") << -1.0 << "2106-02-07 14:28:15";
        QTest::newRow("the last of 32 bits") << 4294967295.0 << "2106-02-07 14:28:15";
        QTest::newRow("beyond 32 bits the low 32") << 4294967301.0 << "1970-01-01 08:00:05";
        QTest::newRow("beyond 64 bits") << 1e30 << "1970-01-01 08:00:00";
        QTest::newRow("below 64 bits") << -1e30 << "1970-01-01 08:00:00";
        QTest::newRow("not a number") << kNaN << "1970-01-01 08:00:00";
        QTest::newRow("infinite") << kInfinity << "1970-01-01 08:00:00";
    }
    void dateTimes()
    {
        QFETCH(double, key);
        QFETCH(QString, expected);
        QCOMPARE(curvemath::dateTimeText(key), expected);
    }

    void theModeChannelsHaveTheLabelsOfTheFieldTables()
    {
        QCOMPARE(curvemath::kMainFlightModeLabel, QStringLiteral("主飞行模式"));
        QCOMPARE(curvemath::kSubFlightModeLabel, QStringLiteral("子飞行模式"));
        initData();
        QVERIFY(findGraphByCode(curvemath::kMainFlightModeLabel, 0x02) != nullptr);
        QVERIFY(findGraphByCode(curvemath::kSubFlightModeLabel, 0x02) != nullptr);
        clearData();
    }
    void onlyKnownModesHaveATextAndEachHasItsOwn()
    {
        const QMap<int, QString> mainModes = mainFlightModes();
        const QMap<int, QString> subModes = subFlightModes();
        QCOMPARE(mainModes.size(), 5);
        QCOMPARE(subModes.size(), 33);
        for (int value = -100; value <= 400; ++value) {
            QCOMPARE(curvemath::mainFlightModeText(value), mainModes.value(value));
            QCOMPARE(curvemath::subFlightModeText(value), subModes.value(value));
        }
    }
    void aModeIsTruncatedTowardZero()
    {
        QCOMPARE(curvemath::mainFlightModeText(3.99), QStringLiteral("保护模式"));
        QCOMPARE(curvemath::mainFlightModeText(0.99), QString());
        QCOMPARE(curvemath::mainFlightModeText(-1.5), QString());
    }
    void aModeOutsideTheIntegerRangeHasNoText()
    {
        for (const double value : {kNaN, kInfinity, -kInfinity, 1e9, 4294967299.0, 1e300, -1e300}) {
            QCOMPARE(curvemath::mainFlightModeText(value), QString());
            QCOMPARE(curvemath::subFlightModeText(value), QString());
        }
    }
};

QTEST_GUILESS_MAIN(TestCurveMath)
#include "TestCurveMath.moc"
