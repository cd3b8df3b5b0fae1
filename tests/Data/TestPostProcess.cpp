#include "DataHandler.h"
#include "Fixture.h"
#include "LogFile.h"
#include "PostProcess.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace
{

using Samples = QVector<double>;
using Series = std::vector<double>;

// Labels of the channels that the tests fill.
constexpr char kYear[] = "年";
constexpr char kMonth[] = "月";
constexpr char kDate[] = "日";
constexpr char kHours[] = "时";
constexpr char kMinutes[] = "分";
constexpr char kSeconds[] = "秒";
constexpr char kFlightMode[] = "主飞行模式";
constexpr char kSubMode[] = "子飞行模式";
constexpr char kHomeLng[] = "原点经度";
constexpr char kHomeLat[] = "原点纬度";
constexpr char kSatellites[] = "GPS星数";
constexpr char kLng[] = "经度(Longitude)";
constexpr char kLat[] = "纬度(Latitude)";
constexpr char kHeight[] = "相对高度";
constexpr char kGroundSpeed[] = "地速";
constexpr char kUpSpeed[] = "天向速度";

const QDateTime kOld(QDate(2001, 2, 3), QTime(4, 5, 6));

Samples samples(const char *label)
{
    return findGraph(QString::fromUtf8(label))->yvalue();
}

/** Sets the aircraft's clock to the same value for all samples. */
void setClock(int count, int month, int date, int hours, int minutes, int seconds)
{
    setSamples(kYear, Samples(count, 99.0));
    setSamples(kMonth, Samples(count, month));
    setSamples(kDate, Samples(count, date));
    setSamples(kHours, Samples(count, hours));
    setSamples(kMinutes, Samples(count, minutes));
    setSamples(kSeconds, Samples(count, seconds));
}

void change(const char *label, int index, double value)
{
    Samples changed = samples(label);
    changed[index] = value;
    setSamples(label, changed);
}

/** Longitude in degrees at a distance east of the origin; latAt() is the latitude at a distance north. */
double lngAt(double metres)
{
    return double(originLng) + metres / (10000000.0 * 0.011131884530186653 * longitudeScale);
}

double latAt(double metres)
{
    return double(originLat) + metres / (10000000.0 * 0.011131884530186653);
}

/** Sets the positions of a track in metres of the local frame. */
void setPath(const Samples &east, const Samples &north, const Samples &height, double satellites = 12)
{
    Samples lng, lat;
    for (const double metres : east)
        lng.append(lngAt(metres));
    for (const double metres : north)
        lat.append(latAt(metres));
    setSamples(kLng, lng);
    setSamples(kLat, lat);
    setSamples(kHeight, height);
    setSamples(kSatellites, Samples(east.size(), satellites));
}

void setModes(const Samples &subModes)
{
    setSamples(kFlightMode, Samples(subModes.size(), 1.0));
    setSamples(kSubMode, subModes);
}

/** Equal within one millimetre, enough for float values of a few thousand metres. */
bool nearly(const Series &got, const Samples &wanted)
{
    if (int(got.size()) != wanted.size())
        return false;
    for (int i = 0; i < wanted.size(); ++i) {
        if (std::fabs(got[std::size_t(i)] - wanted[i]) > 0.001)
            return false;
    }
    return true;
}

void setTargets(int count)
{
    int channel = 0;
    for (MyGraph *graph : targetGraphs) {
        Samples values;
        for (int i = 0; i < count; ++i)
            values.append(100.0 * channel + i + 1);
        graph->setYvalue(values);
        ++channel;
    }
}

} // namespace

class TestPostProcess : public QObject
{
    Q_OBJECT

private slots:
    void startTimeIsKeptWithoutAClock();
    void startTimeUsesTheFirstPlausibleSample();
    void startTimeIsReducedByTheIntervalsBeforeTheSample();
    void startTimeWrapsAtMidnightWithoutChangingTheDate();
    void startTimeIgnoresTheYear();
    void startTimeNeedsTheMonthOfTheMiddleSample();
    void startTimeIsKeptWhenNoSampleIsPlausible_data();
    void startTimeIsKeptWhenNoSampleIsPlausible();
    void startTimeSkipsImpossibleClocks_data();
    void startTimeSkipsImpossibleClocks();
    void startTimeIsKeptWithAWarningWhenTheTimeIsInvalid_data();
    void startTimeIsKeptWithAWarningWhenTheTimeIsInvalid();
    void startTimeOfALongLogDoesNotOverflow();
    void startTimeIsInLocalTime();

    void originIsTheTenthHeartbeatFromTheEnd();
    void originComesFromTenHeartbeats();
    void originIsKeptWithFewerThanTenHeartbeats_data();
    void originIsKeptWithFewerThanTenHeartbeats();
    void originIndexUsesTheLengthOfTheLatitude();
    void originWithAShorterLongitudeReadsNothingAfterItsEnd();
    void implausibleOriginIsAccepted();

    void localFrameIsInMetres();
    void localFrameComputesInDoubleAndReturnsFloat();

    void trackIsEmptyWithoutPositions();
    void trackStartsWithElevenSatellites();
    void trackStartsAtZeroWithoutSatellites();
    void trackRepeatsThePreviousPointAtALateralJump();
    void trackKeepsAJumpOfUpToAThousandMetres();
    void trackComparesWithTheCorrectedPoint();
    void trackAxesAreCorrectedIndependently();
    void trackHeightsAreCorrected_data();
    void trackHeightsAreCorrected();
    void trackReplacesThePreviousTrack();

    void attackTrackIsEmptyWithoutData_data();
    void attackTrackIsEmptyWithoutData();
    void attackTrackStartsAtTheLastRunOfSubMode26_data();
    void attackTrackStartsAtTheLastRunOfSubMode26();
    void attackTrackIsEmptyWhenTheRunStartsAfterThePositions();
    void attackTrackReadsNothingAfterTheSubModes();
    void attackTrackEndsAtTheShorterSeries();
    void attackTrackKeepsJumpsOfUpToTenThousandMetres();
    void attackTrackHeightsAreCorrected_data();
    void attackTrackHeightsAreCorrected();

    void differencesAreActualMinusTarget();
    void differencesAfterTheLastTargetKeepTheActualValue();
    void differencesEndAtTheLastAttitudeSample();
    void differenceOfYawDoesNotWrap();
    void differencesRunTheEventLoopOncePerIndex();
    void differencesLogTheirStart();
    void differencesLeaveTheActualChannelsUnchanged();
    void differencesReplaceThePreviousOnes();

    void speedAngleIsTheArctangentInDegrees();
    void speedAngleKeepsItsValueAtZeroSpeed();
    void speedAngleEndsAtTheLastSpeedSample();
    void speedAngleIsAppended();

    void dataProcessFitsTargetsToTheLengthOfAttitude_data();
    void dataProcessFitsTargetsToTheLengthOfAttitude();
    void handlerMembersForwardToTheDerivations();
};

void TestPostProcess::startTimeIsKeptWithoutAClock()
{
    const Fixture fixture;
    startDateTime = kOld;
    const LogFile log;
    postprocess::calStartTime();
    QCOMPARE(startDateTime, kOld);
    QVERIFY(log.messages().isEmpty());
}

void TestPostProcess::startTimeUsesTheFirstPlausibleSample()
{
    const Fixture fixture;
    setClock(200, 7, 4, 10, 11, 12);
    for (int i = 0; i < 40; ++i)
        change(kMonth, i, 255.0);
    postprocess::calStartTime();
    // The time of sample 40 minus 40 * 200 ms.
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(10, 11, 4)));
}

void TestPostProcess::startTimeIsReducedByTheIntervalsBeforeTheSample()
{
    const Fixture fixture;
    setClock(200, 7, 4, 10, 11, 12);
    for (int i = 0; i < 40; ++i)
        change(kHours, i, 25.0);
    sampleInterval = 55;
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(10, 11, 9, 800)));
}

void TestPostProcess::startTimeWrapsAtMidnightWithoutChangingTheDate()
{
    const Fixture fixture;
    setClock(100, 7, 4, 1, 0, 5);
    for (int i = 0; i < 50; ++i)
        change(kMinutes, i, 61.0);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(0, 59, 55)));

    for (int i = 50; i < 100; ++i)
        change(kHours, i, 0.0);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(23, 59, 55)));
}

void TestPostProcess::startTimeIgnoresTheYear()
{
    const Fixture fixture;
    setClock(3, 12, 31, 23, 59, 59);
    setSamples(kYear, {255.0, -3.0, 24.0});
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 12, 31), QTime(23, 59, 59)));
}

void TestPostProcess::startTimeNeedsTheMonthOfTheMiddleSample()
{
    const Fixture fixture;
    // Seven samples: the middle sample has index 3.
    setClock(7, 1, 4, 10, 0, 0);
    change(kMonth, 2, 8.0);
    change(kMonth, 3, 8.0);
    change(kMonth, 4, 9.0);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 8, 4), QTime(9, 59, 59, 600)));

    // Six samples: the middle sample also has index 3.
    setClock(6, 1, 4, 10, 0, 0);
    change(kMonth, 3, 8.0);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 8, 4), QTime(9, 59, 59, 400)));
}

void TestPostProcess::startTimeIsKeptWhenNoSampleIsPlausible_data()
{
    QTest::addColumn<int>("month");
    QTest::addColumn<int>("date");
    QTest::addColumn<int>("hours");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("seconds");
    QTest::newRow("month") << 13 << 4 << 10 << 11 << 12;
    QTest::newRow("date") << 7 << 32 << 10 << 11 << 12;
    QTest::newRow("hours") << 7 << 4 << 25 << 11 << 12;
    QTest::newRow("minutes") << 7 << 4 << 10 << 61 << 12;
    QTest::newRow("seconds") << 7 << 4 << 10 << 11 << 61;
    QTest::newRow("clock never set") << 255 << 255 << 255 << 255 << 255;
}

void TestPostProcess::startTimeIsKeptWhenNoSampleIsPlausible()
{
    const Fixture fixture;
    QFETCH(int, month);
    QFETCH(int, date);
    QFETCH(int, hours);
    QFETCH(int, minutes);
    QFETCH(int, seconds);
    startDateTime = kOld;
    setClock(5, month, date, hours, minutes, seconds);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, kOld);
}

void TestPostProcess::startTimeSkipsImpossibleClocks_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<double>("impossible");
    QTest::newRow("month") << QString::fromUtf8(kMonth) << 13.0;
    QTest::newRow("date") << QString::fromUtf8(kDate) << 32.0;
    QTest::newRow("hours") << QString::fromUtf8(kHours) << 25.0;
    QTest::newRow("minutes") << QString::fromUtf8(kMinutes) << 61.0;
    QTest::newRow("seconds") << QString::fromUtf8(kSeconds) << 61.0;
    QTest::newRow("month of another log") << QString::fromUtf8(kMonth) << 6.0;
}

void TestPostProcess::startTimeSkipsImpossibleClocks()
{
    const Fixture fixture;
    QFETCH(QString, label);
    QFETCH(double, impossible);
    setClock(9, 7, 4, 10, 11, 12);
    change(label.toUtf8().constData(), 0, impossible);
    change(label.toUtf8().constData(), 1, impossible);
    postprocess::calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(10, 11, 11, 600)));
}

void TestPostProcess::startTimeIsKeptWithAWarningWhenTheTimeIsInvalid_data()
{
    QTest::addColumn<int>("month");
    QTest::addColumn<int>("date");
    QTest::addColumn<int>("hours");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("seconds");
    QTest::newRow("24 hours") << 7 << 4 << 24 << 0 << 0;
    QTest::newRow("60 minutes") << 7 << 4 << 10 << 60 << 0;
    QTest::newRow("60 seconds") << 7 << 4 << 10 << 0 << 60;
    QTest::newRow("month 0") << 0 << 4 << 10 << 0 << 0;
    QTest::newRow("date 0") << 7 << 0 << 10 << 0 << 0;
    QTest::newRow("30 February") << 2 << 30 << 10 << 0 << 0;
    QTest::newRow("29 February, which 2023 lacks") << 2 << 29 << 10 << 0 << 0;
}

void TestPostProcess::startTimeIsKeptWithAWarningWhenTheTimeIsInvalid()
{
    const Fixture fixture;
    QFETCH(int, month);
    QFETCH(int, date);
    QFETCH(int, hours);
    QFETCH(int, minutes);
    QFETCH(int, seconds);
    startDateTime = kOld;
    setClock(5, month, date, hours, minutes, seconds);
    const LogFile log;
    postprocess::calStartTime();
    QCOMPARE(startDateTime, kOld);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().level, QStringLiteral("warning"));
}

void TestPostProcess::startTimeOfALongLogDoesNotOverflow()
{
    const Fixture fixture;
    // 300 samples of 10000 s are 34 days 17:20, whose milliseconds exceed an int.
    sampleInterval = 10000000;
    setClock(700, 7, 4, 10, 0, 0);
    for (int i = 0; i < 300; ++i)
        change(kMonth, i, 255.0);
    postprocess::calStartTime();
    // 10:00 minus 17:20, on the same date.
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(16, 40)));
}

void TestPostProcess::startTimeIsInLocalTime()
{
    const Fixture fixture;
    setClock(1, 7, 4, 10, 11, 12);
    postprocess::calStartTime();
    QCOMPARE(startDateTime.timeSpec(), Qt::LocalTime);
}

void TestPostProcess::originIsTheTenthHeartbeatFromTheEnd()
{
    const Fixture fixture;
    Samples lng, lat;
    for (int i = 0; i < 25; ++i) {
        lng.append(100.0 + i);
        lat.append(30.0 + i);
    }
    setSamples(kHomeLng, lng);
    setSamples(kHomeLat, lat);
    postprocess::calOrigin();
    QVERIFY(originLng == 115.0f);
    QVERIFY(originLat == 45.0f);
    QVERIFY(longitudeScale == double(float(0.70710678118654752)));
}

void TestPostProcess::originComesFromTenHeartbeats()
{
    const Fixture fixture;
    Samples lng(10, 1.0), lat(10, 2.0);
    lng[0] = 116.25;
    lat[0] = 60.0;
    setSamples(kHomeLng, lng);
    setSamples(kHomeLat, lat);
    postprocess::calOrigin();
    QVERIFY(originLng == 116.25f);
    QVERIFY(originLat == 60.0f);
    QVERIFY(longitudeScale == 0.5);
}

void TestPostProcess::originIsKeptWithFewerThanTenHeartbeats_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("none") << 0;
    QTest::newRow("one") << 1;
    QTest::newRow("nine") << 9;
}

void TestPostProcess::originIsKeptWithFewerThanTenHeartbeats()
{
    const Fixture fixture;
    QFETCH(int, count);
    const double scale = longitudeScale;
    setSamples(kHomeLng, Samples(count, 10.0));
    setSamples(kHomeLat, Samples(count, 20.0));
    postprocess::calOrigin();
    QVERIFY(originLng == 113.91378f);
    QVERIFY(originLat == 33.947071f);
    QVERIFY(longitudeScale == scale);
}

void TestPostProcess::originIndexUsesTheLengthOfTheLatitude()
{
    const Fixture fixture;
    Samples lng;
    for (int i = 0; i < 40; ++i)
        lng.append(i);
    setSamples(kHomeLng, lng);
    setSamples(kHomeLat, Samples(13, 30.0));
    postprocess::calOrigin();
    QVERIFY(originLng == 3.0f);
    QVERIFY(originLat == 30.0f);
}

void TestPostProcess::originWithAShorterLongitudeReadsNothingAfterItsEnd()
{
    const Fixture fixture;
    setSamples(kHomeLng, {10.0});
    setSamples(kHomeLat, Samples(20, 30.0));
    postprocess::calOrigin();
    QVERIFY(originLng == 113.91378f || originLng == 10.0f);
}

void TestPostProcess::implausibleOriginIsAccepted()
{
    const Fixture fixture;
    // A frame cannot contain such values, but they must not crash.
    for (const double value : {1e30, -1e30, 214.7483648, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
        setSamples(kHomeLng, Samples(10, value));
        setSamples(kHomeLat, Samples(10, value));
        postprocess::calOrigin();
        if (std::isfinite(value)) {
            QVERIFY(originLng == float(value));
            QVERIFY(originLat == float(value));
        }
        QVERIFY(longitudeScale >= double(0.01f) && longitudeScale <= 1.0);
    }
}

void TestPostProcess::localFrameIsInMetres()
{
    const Fixture fixture;
    originLat = 0.0f;
    originLng = 0.0f;
    longitudeScale = 1.0;
    // One degree of a great circle: the earth's circumference at this radius divided by 360.
    QVERIFY(postprocess::localY(1.0) == float(111318.84530186653));
    QVERIFY(postprocess::localX(1.0) == float(111318.84530186653));
    QVERIFY(postprocess::localX(-1.0) == float(-111318.84530186653));
    QVERIFY(postprocess::localY(0.0) == 0.0f);
    longitudeScale = 0.5;
    QVERIFY(postprocess::localX(1.0) == float(111318.84530186653 / 2));
    QVERIFY(postprocess::localY(1.0) == float(111318.84530186653));
    originLat = 30.0f;
    originLng = 114.0f;
    QVERIFY(postprocess::localX(114.0) == 0.0f);
    QVERIFY(postprocess::localY(31.0) == float(111318.84530186653));
}

void TestPostProcess::localFrameComputesInDoubleAndReturnsFloat()
{
    const Fixture fixture;
    originLng = 113.91378f;
    originLat = 33.947071f;
    longitudeScale = 0.8295537829399109;
    for (int i = 0; i < 1000; ++i) {
        const double lng = 113.91378 + i * 1.37e-5;
        const double lat = 33.947071 - i * 2.11e-5;
        double x = lng - double(113.91378f);
        x = x * 10000000.0;
        x = x * 0.011131884530186653;
        x = x * 0.8295537829399109;
        double y = lat - double(33.947071f);
        y = y * 10000000.0;
        y = y * 0.011131884530186653;
        QVERIFY(postprocess::localX(lng) == float(x));
        QVERIFY(postprocess::localY(lat) == float(y));
    }
}

void TestPostProcess::trackIsEmptyWithoutPositions()
{
    const Fixture fixture;
    trackX = trackY = trackZ = {1.0, 2.0};
    postprocess::calTrack();
    QVERIFY(trackX.empty() && trackY.empty() && trackZ.empty());
}

void TestPostProcess::trackStartsWithElevenSatellites()
{
    const Fixture fixture;
    setPath({0, 1, 2, 3, 4}, {10, 11, 12, 13, 14}, {50, 51, 52, 53, 54}, 5);
    setSamples(kSatellites, {5, 10, 11, 9, 12});
    postprocess::calTrack();
    // Ten satellites are not enough; a later decrease is ignored.
    QVERIFY(nearly(trackX, {2, 3, 4}));
    QVERIFY(nearly(trackY, {12, 13, 14}));
    QVERIFY(trackZ == (Series{52, 53, 54}));
}

void TestPostProcess::trackStartsAtZeroWithoutSatellites()
{
    const Fixture fixture;
    setPath({0, 1, 2}, {10, 11, 12}, {50, 51, 52}, 10);
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {0, 1, 2}));
    QVERIFY(nearly(trackY, {10, 11, 12}));
}

void TestPostProcess::trackRepeatsThePreviousPointAtALateralJump()
{
    const Fixture fixture;
    setPath({0, 1500, 2}, {0, 1, -1500}, {0, 0, 0});
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {0, 0, 2}));
    QVERIFY(nearly(trackY, {0, 1, 1}));
}

void TestPostProcess::trackKeepsAJumpOfUpToAThousandMetres()
{
    const Fixture fixture;
    setPath({0, 999, 0, 1001}, {0, -999, 0, -1001}, {0, 0, 0, 0});
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {0, 999, 0, 0}));
    QVERIFY(nearly(trackY, {0, -999, 0, 0}));
}

void TestPostProcess::trackComparesWithTheCorrectedPoint()
{
    const Fixture fixture;
    // 1500 is replaced by 0. 1600 is 100 away from the raw point but 1600 away from the corrected point.
    setPath({0, 1500, 1600, 900}, {0, 0, 0, 0}, {0, 0, 0, 0});
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {0, 0, 0, 900}));
}

void TestPostProcess::trackAxesAreCorrectedIndependently()
{
    const Fixture fixture;
    setPath({0, 5000, 2}, {0, 7, 8}, {0, 90, 95});
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {0, 0, 2}));
    QVERIFY(nearly(trackY, {0, 7, 8}));
    QVERIFY(trackZ == (Series{0, 90, 95}));
}

void TestPostProcess::trackHeightsAreCorrected_data()
{
    QTest::addColumn<Samples>("heights");
    QTest::addColumn<Samples>("corrected");
    QTest::newRow("steps of a hundred are kept") << Samples{0, 100, 0, -100} << Samples{0, 100, 0, -100};
    QTest::newRow("steps above are not") << Samples{0, 100.5, 50} << Samples{0, 0, 50};
    QTest::newRow("first point above 1000 becomes 1000") << Samples{1200, 1000} << Samples{1000, 1000};
    QTest::newRow("first point of 1000 stays") << Samples{1000} << Samples{1000};
    QTest::newRow("first point far below stays") << Samples{-5000, -4950} << Samples{-5000, -5000};
    QTest::newRow("later point above 1000 repeats") << Samples{950, 1001, 990} << Samples{950, 950, 990};
    QTest::newRow("later point of 1200 repeats") << Samples{500, 1200, 510} << Samples{500, 500, 510};
    QTest::newRow("later point of 1000 stays") << Samples{950, 1000} << Samples{950, 1000};
    QTest::newRow("later point below -1000 repeats") << Samples{-990, -1001} << Samples{-990, -990};
    QTest::newRow("compared with the corrected point") << Samples{0, 150, 220, 90} << Samples{0, 0, 0, 90};
}

void TestPostProcess::trackHeightsAreCorrected()
{
    const Fixture fixture;
    QFETCH(Samples, heights);
    QFETCH(Samples, corrected);
    setPath(Samples(heights.size(), 0.0), Samples(heights.size(), 0.0), heights);
    postprocess::calTrack();
    QCOMPARE(Samples(trackZ.begin(), trackZ.end()), corrected);
    QCOMPARE(int(trackX.size()), heights.size());
}

void TestPostProcess::trackReplacesThePreviousTrack()
{
    const Fixture fixture;
    setPath({0, 1, 2}, {0, 0, 0}, {0, 0, 0});
    postprocess::calTrack();
    setPath({7}, {8}, {9});
    postprocess::calTrack();
    QVERIFY(nearly(trackX, {7}));
    QVERIFY(nearly(trackY, {8}));
    QVERIFY(nearly(trackZ, {9}));
}

void TestPostProcess::attackTrackIsEmptyWithoutData_data()
{
    QTest::addColumn<int>("positions");
    QTest::addColumn<int>("modes");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("only positions") << 3 << 0;
    QTest::newRow("only modes") << 0 << 3;
}

void TestPostProcess::attackTrackIsEmptyWithoutData()
{
    const Fixture fixture;
    QFETCH(int, positions);
    QFETCH(int, modes);
    attackTrackX = attackTrackY = attackTrackZ = {1.0, 2.0};
    setPath(Samples(positions, 0.0), Samples(positions, 0.0), Samples(positions, 0.0));
    setModes(Samples(modes, 26.0));
    postprocess::calAttackTrack();
    QVERIFY(attackTrackX.empty() && attackTrackY.empty() && attackTrackZ.empty());
}

void TestPostProcess::attackTrackStartsAtTheLastRunOfSubMode26_data()
{
    QTest::addColumn<Samples>("modes");
    QTest::addColumn<int>("start");
    QTest::newRow("run to the end") << Samples{5, 5, 26, 26, 26} << 2;
    QTest::newRow("run that ends before") << Samples{5, 26, 26, 5, 5} << 1;
    QTest::newRow("the last of two runs") << Samples{5, 26, 5, 26, 5} << 3;
    QTest::newRow("one sample at the end") << Samples{5, 5, 5, 5, 26} << 4;
    QTest::newRow("26 from the first sample is no run start") << Samples{26, 26, 26, 5, 5} << 0;
    QTest::newRow("26 throughout") << Samples{26, 26, 26, 26, 26} << 0;
    QTest::newRow("never 26: the whole flight") << Samples{5, 5, 5, 5, 5} << 0;
    QTest::newRow("25 and 27 do not match") << Samples{5, 25, 27, 25, 27} << 0;
}

void TestPostProcess::attackTrackStartsAtTheLastRunOfSubMode26()
{
    const Fixture fixture;
    QFETCH(Samples, modes);
    QFETCH(int, start);
    setPath({0, 1, 2, 3, 4}, {10, 11, 12, 13, 14}, {50, 51, 52, 53, 54});
    setModes(modes);
    postprocess::calAttackTrack();
    QVERIFY(nearly(attackTrackX, Samples({0, 1, 2, 3, 4}).mid(start)));
    QVERIFY(nearly(attackTrackY, Samples({10, 11, 12, 13, 14}).mid(start)));
    QVERIFY(nearly(attackTrackZ, Samples({50, 51, 52, 53, 54}).mid(start)));
}

void TestPostProcess::attackTrackIsEmptyWhenTheRunStartsAfterThePositions()
{
    const Fixture fixture;
    attackTrackX = {1.0};
    setPath({0, 1, 2}, {0, 0, 0}, {0, 0, 0});
    // The search starts at sample 3, which only the modes have, and ignores the earlier run.
    setModes({5, 26, 5, 26, 26});
    postprocess::calAttackTrack();
    QVERIFY(attackTrackX.empty() && attackTrackY.empty() && attackTrackZ.empty());
}

void TestPostProcess::attackTrackReadsNothingAfterTheSubModes()
{
    const Fixture fixture;
    setPath({0, 1, 2, 3, 4}, Samples(5, 0.0), Samples(5, 0.0));
    // Three modes, five positions: sample 3 of the modes does not exist and is no match.
    setModes({5, 26, 26});
    postprocess::calAttackTrack();
    QVERIFY(nearly(attackTrackX, {1, 2}));
}

void TestPostProcess::attackTrackEndsAtTheShorterSeries()
{
    const Fixture fixture;
    setPath({0, 1, 2}, Samples(3, 0.0), Samples(3, 0.0));
    setModes({5, 26, 26, 26, 26});
    postprocess::calAttackTrack();
    QVERIFY(nearly(attackTrackX, {1, 2}));
}

void TestPostProcess::attackTrackKeepsJumpsOfUpToTenThousandMetres()
{
    const Fixture fixture;
    setPath({0, 1500, -8400, 1700}, {0, 9990, 0, -10010}, {0, 0, 0, 0});
    setModes({5, 5, 5, 5});
    postprocess::calAttackTrack();
    QVERIFY(nearly(attackTrackX, {0, 1500, -8400, -8400}));
    QVERIFY(nearly(attackTrackY, {0, 9990, 0, 0}));
}

void TestPostProcess::attackTrackHeightsAreCorrected_data()
{
    trackHeightsAreCorrected_data();
}

void TestPostProcess::attackTrackHeightsAreCorrected()
{
    const Fixture fixture;
    QFETCH(Samples, heights);
    QFETCH(Samples, corrected);
    setPath(Samples(heights.size(), 0.0), Samples(heights.size(), 0.0), heights);
    setModes(Samples(heights.size(), 1.0));
    postprocess::calAttackTrack();
    QCOMPARE(Samples(attackTrackZ.begin(), attackTrackZ.end()), corrected);
}

void TestPostProcess::differencesAreActualMinusTarget()
{
    const Fixture fixture;
    setTargets(2);
    setSamples("俯仰", {1, 2});
    setSamples("目标俯仰", {0.5, 5});
    setSamples("横滚", {10, 20});
    setSamples("目标横滚", {3, -4});
    setSamples("航向", {100, 200});
    setSamples("目标航向", {90, 250});
    setSamples("指示空速", {30, 31});
    setSamples("目标速度", {28, 35});
    setSamples("相对高度", {500, 501});
    setSamples("目标高度", {480, 601});
    postprocess::calFactors();
    QCOMPARE(samples("俯仰差值"), (Samples{0.5, -3}));
    QCOMPARE(samples("横滚差值"), (Samples{7, 24}));
    QCOMPARE(samples("航向差值"), (Samples{10, -50}));
    QCOMPARE(samples("速度差值"), (Samples{2, -4}));
    QCOMPARE(samples("高度差值"), (Samples{20, -100}));
}

void TestPostProcess::differencesAfterTheLastTargetKeepTheActualValue()
{
    const Fixture fixture;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({10, 20, 30, 40});
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({1, 2});
    postprocess::calFactors();
    for (const MyGraph *graph : differenceGraphs)
        QCOMPARE(graph->yvalue(), (Samples{9, 18, 30, 40}));
}

void TestPostProcess::differencesEndAtTheLastAttitudeSample()
{
    const Fixture fixture;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({10, 20});
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({1, 2, 3, 4});
    postprocess::calFactors();
    for (const MyGraph *graph : differenceGraphs)
        QCOMPARE(graph->yvalue(), (Samples{9, 18}));
}

void TestPostProcess::differenceOfYawDoesNotWrap()
{
    const Fixture fixture;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({359.0});
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({1.0});
    postprocess::calFactors();
    QCOMPARE(samples("航向差值"), (Samples{358.0}));
}

void TestPostProcess::differencesRunTheEventLoopOncePerIndex()
{
    const Fixture fixture;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue(Samples(5, 1.0));
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue(Samples(3, 1.0));
    // Each run of the event loop delivers earlier posted events, but not events that are posted during the run.
    int runs = 0;
    QObject receiver;
    std::function<void()> again = [&] {
        ++runs;
        QMetaObject::invokeMethod(&receiver, again, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(&receiver, again, Qt::QueuedConnection);
    postprocess::calFactors();
    QCOMPARE(runs, 3);
}

void TestPostProcess::differencesLogTheirStart()
{
    const Fixture fixture;
    const LogFile log;
    postprocess::calFactors();
    QCOMPARE(log.leveledMessages(), QStringList{"info: start cal factors"});
    for (const MyGraph *graph : differenceGraphs)
        QVERIFY(graph->yvalue().isEmpty());
}

void TestPostProcess::differencesLeaveTheActualChannelsUnchanged()
{
    const Fixture fixture;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({10, 20, 30});
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({1, 2});
    postprocess::calFactors();
    for (const MyGraph *graph : attitudeGraphs)
        QCOMPARE(graph->yvalue(), (Samples{10, 20, 30}));
    for (const MyGraph *graph : targetGraphs)
        QCOMPARE(graph->yvalue(), (Samples{1, 2}));
}

void TestPostProcess::differencesReplaceThePreviousOnes()
{
    const Fixture fixture;
    for (MyGraph *graph : differenceGraphs)
        graph->setYvalue(Samples(10, 77.0));
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({10});
    postprocess::calFactors();
    for (const MyGraph *graph : differenceGraphs)
        QCOMPARE(graph->yvalue(), (Samples{10}));
}

void TestPostProcess::speedAngleIsTheArctangentInDegrees()
{
    const Fixture fixture;
    setSamples(kGroundSpeed, {10, 10, 10, -10, 20});
    setSamples(kUpSpeed, {10, -10, 0, 10, 20 / std::sqrt(3.0)});
    postprocess::calSpeedAngle();
    const Samples angles = samples("速度角度");
    QCOMPARE(angles.size(), 5);
    QCOMPARE(angles[0], 45.0);
    QCOMPARE(angles[1], -45.0);
    QCOMPARE(angles[2], 0.0);
    // Only the quotient matters, so both speeds negated give the same angle.
    QCOMPARE(angles[3], -45.0);
    QVERIFY(std::fabs(angles[4] - 30.0) < 1e-12);
}

void TestPostProcess::speedAngleKeepsItsValueAtZeroSpeed()
{
    const Fixture fixture;
    setSamples(kGroundSpeed, {0, 10, 0, 0, 0.01});
    setSamples(kUpSpeed, {10, 10, -10, 0, -0.01});
    postprocess::calSpeedAngle();
    QCOMPARE(samples("速度角度"), (Samples{0.0, 45.0, 45.0, 45.0, -45.0}));
}

void TestPostProcess::speedAngleEndsAtTheLastSpeedSample()
{
    const Fixture fixture;
    backupGraph->setYvalue({3.0});
    postprocess::calSpeedAngle();
    QCOMPARE(backupGraph->yvalue(), (Samples{3.0}));
}

void TestPostProcess::speedAngleIsAppended()
{
    const Fixture fixture;
    backupGraph->setYvalue({3.0, -7.0});
    setSamples(kGroundSpeed, {0, 1});
    setSamples(kUpSpeed, {1, 1});
    postprocess::calSpeedAngle();
    // The angle starts at zero, not at the last value of the frames.
    QCOMPARE(backupGraph->yvalue(), (Samples{3.0, -7.0, 0.0, 45.0}));
}

void TestPostProcess::dataProcessFitsTargetsToTheLengthOfAttitude_data()
{
    QTest::addColumn<int>("targets");
    QTest::addColumn<int>("attitudes");
    QTest::addColumn<int>("copies"); // repetitions of each sample
    QTest::addColumn<int>("length"); // final length of a target channel; zeros follow its samples
    QTest::addColumn<bool>("finishLogged");

    QTest::newRow("equal") << 20 << 20 << 1 << 20 << false;
    QTest::newRow("both empty") << 0 << 0 << 1 << 0 << false;
    QTest::newRow("one missing") << 20 << 21 << 1 << 21 << true;
    QTest::newRow("nine missing") << 20 << 29 << 1 << 29 << true;
    QTest::newRow("ten missing, less than twice: doubled and cut") << 20 << 30 << 2 << 30 << true;
    QTest::newRow("exactly twice") << 20 << 40 << 2 << 40 << true;
    QTest::newRow("one more than twice: doubled and filled") << 20 << 41 << 2 << 41 << true;
    QTest::newRow("ten more than twice") << 20 << 50 << 2 << 50 << true;
    QTest::newRow("eleven more than twice: unchanged") << 20 << 51 << 1 << 20 << true;
    QTest::newRow("far too few") << 20 << 500 << 1 << 20 << true;
    QTest::newRow("too many: cut") << 20 << 7 << 1 << 7 << true;
    QTest::newRow("no attitude at all") << 20 << 0 << 1 << 0 << true;
    QTest::newRow("no target, nine missing") << 0 << 9 << 1 << 9 << true;
    QTest::newRow("no target, ten missing: doubling nothing") << 0 << 10 << 2 << 10 << true;
    QTest::newRow("no target, eleven missing") << 0 << 11 << 1 << 0 << true;
    QTest::newRow("few targets, nine missing, more than twice: filled, not doubled") << 3 << 12 << 1 << 12 << true;
    QTest::newRow("few targets, more than twice") << 3 << 13 << 2 << 13 << true;
    QTest::newRow("odd length, doubled and cut") << 21 << 41 << 2 << 41 << true;
}

void TestPostProcess::dataProcessFitsTargetsToTheLengthOfAttitude()
{
    const Fixture fixture;
    QFETCH(int, targets);
    QFETCH(int, attitudes);
    QFETCH(int, copies);
    QFETCH(int, length);
    QFETCH(bool, finishLogged);
    setTargets(targets);
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue(Samples(attitudes, 1.0));

    const LogFile log;
    postprocess::dataProcess();
    int channel = 0;
    for (const MyGraph *graph : targetGraphs) {
        Samples expected;
        for (int i = 0; i < length; ++i)
            expected.append(i / copies < targets ? 100.0 * channel + i / copies + 1 : 0.0);
        QCOMPARE(graph->yvalue(), expected);
        ++channel;
    }
    for (const MyGraph *graph : attitudeGraphs)
        QCOMPARE(graph->yvalue().size(), attitudes);
    QStringList messages{"info: start process data"};
    if (finishLogged)
        messages.append("info: process data finished");
    QCOMPARE(log.leveledMessages(), messages);
}

void TestPostProcess::handlerMembersForwardToTheDerivations()
{
    const Fixture fixture;
    DataHandler handler;
    setClock(1, 7, 4, 10, 11, 12);
    handler.calStartTime();
    QCOMPARE(startDateTime, QDateTime(QDate(2023, 7, 4), QTime(10, 11, 12)));
    setSamples(kHomeLng, Samples(10, 100.0));
    setSamples(kHomeLat, Samples(10, 60.0));
    handler.calOrigin();
    QVERIFY(originLat == 60.0f);
    setPath({0, 1}, {0, 1}, {0, 1});
    setModes({5, 26});
    handler.calTrack();
    QCOMPARE(int(trackX.size()), 2);
    handler.calAttackTrack();
    QCOMPARE(int(attackTrackX.size()), 1);
    setSamples("横滚", {4.0});
    handler.calFactors();
    QCOMPARE(samples("横滚差值"), (Samples{4.0}));
    setSamples(kGroundSpeed, {1.0});
    setSamples(kUpSpeed, {1.0});
    handler.calSpeedAngle();
    QCOMPARE(samples("速度角度"), (Samples{45.0}));
    handler.dataProcess();
    QCOMPARE(targetGraphs[0]->yvalue(), (Samples{0.0}));
}

QTEST_GUILESS_MAIN(TestPostProcess)
#include "TestPostProcess.moc"
