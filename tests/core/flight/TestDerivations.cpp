#include "Derivations.h"

#include <QTest>

#include <cmath>

using namespace ostravel;

namespace
{

/** Series of a flight, accessed by channel name. */
struct Channels {
    SeriesArray all;
    SeriesRefs refs;

    Channels()
        : refs(all)
    {
    }
    Channels(const Channels &) = delete;

    Series &operator[](const char *channel)
    {
        for (const frame::Layout &layout : frame::kLayouts) {
            for (int row = 0; row < layout.rowCount; ++row) {
                if (qstrcmp(layout.rows[row].name, channel) == 0)
                    return refs.at(layout.code, row);
            }
        }
        qFatal("no channel %s", channel);
        return all[0];
    }

    void setClock(int count, int month, int date, int hours, int minutes, int seconds)
    {
        (*this)["FSS_Year"] = Series(count, 99.0);
        (*this)["FSS_Month"] = Series(count, month);
        (*this)["FSS_Date"] = Series(count, date);
        (*this)["FSS_Hours"] = Series(count, hours);
        (*this)["FSS_Minutes"] = Series(count, minutes);
        (*this)["FSS_Seconds"] = Series(count, seconds);
    }

    /** Sets positions by metres east of the initial origin, all at the origin's latitude. */
    void setPath(const Series &east, const Series &height, double satellites = 12)
    {
        const LocalFrame frame = LocalFrame::initial();
        Series &lng = (*this)["PGS_GPS_Lng"];
        for (const double metres : east)
            lng.append(double(frame.longitude) + metres / (1e7 * 0.011131884530186653 * frame.scale));
        (*this)["PGS_GPS_Lat"] = Series(east.size(), double(frame.latitude));
        (*this)["PGS_GPS_Relative_Height"] = height;
        (*this)["PGS_GPS_SatelliteCount"] = Series(east.size(), satellites);
    }

    void setSubModes(const Series &modes)
    {
        (*this)["FSS_FlightMode"] = Series(modes.size(), 1.0);
        (*this)["FSS_SubFlightMode"] = modes;
    }
};

/** Rounds to metres, enough to distinguish a new point from a repeated one. */
QVector<int> metres(const std::vector<double> &values)
{
    QVector<int> rounded;
    for (const double value : values)
        rounded.append(int(std::lround(value)));
    return rounded;
}

} // namespace

class TestDerivations : public QObject
{
    Q_OBJECT

private slots:
    void startTimeIsThatOfSampleZero();
    void startTimeSkipsSamplesFromBeforeTheClockWasSet();
    void startTimeWrapsAtMidnightAndKeepsTheDate();
    void startTimeUsesTheInterval();
    void noPlausibleSampleGivesNoStartTime_data();
    void noPlausibleSampleGivesNoStartTime();
    void invalidTimeReturnsItsSampleIndex_data();
    void invalidTimeReturnsItsSampleIndex();
    void originIsTheTenthHeartbeatFromTheEnd();
    void noOriginWithFewerThanTenHeartbeats();
    void localFrameScalesLongitudeByTheCosine();
    void trackStartsAtTheFirstFix();
    void trackWithFewSatellitesStartsAtZero();
    void initialFrameIsAtTheInitialOrigin();
    void jumpRepeatsThePreviousPoint();
    void jumpToTheNorthRepeatsThePreviousPoint();
    void heightsAreLimited();
    void attackTrackStartsAtTheLastRun_data();
    void attackTrackStartsAtTheLastRun();
    void differencesAreActualMinusTarget();
    void differencesShareTheActualSamplesWithoutTargets();
    void speedAngleKeepsItsValueAtZeroSpeed();
    void fitTargetsMatchesTheAttitudeLength_data();
    void fitTargetsMatchesTheAttitudeLength();
    void emptySeriesGiveEmptyResults();
};

void TestDerivations::startTimeIsThatOfSampleZero()
{
    Channels channels;
    channels.setClock(100, 7, 15, 1, 0, 5);
    for (int i = 0; i < 50; ++i)
        channels["FSS_Hours"][i] = 25;
    const ClockReading clock = readClock(channels.refs, 200);
    QCOMPARE(clock.sample, 50);
    QCOMPARE(clock.start, QDateTime(QDate(2023, 7, 15), QTime(0, 59, 55)));
}

void TestDerivations::startTimeSkipsSamplesFromBeforeTheClockWasSet()
{
    Channels channels;
    channels.setClock(100, 7, 15, 10, 30, 0);
    for (int i = 0; i < 40; ++i)
        channels["FSS_Month"][i] = i < 20 ? 255 : 1; // 1 is a valid month but differs from the middle sample
    const ClockReading clock = readClock(channels.refs, 200);
    QCOMPARE(clock.sample, 40);
    QCOMPARE(clock.start, QDateTime(QDate(2023, 7, 15), QTime(10, 29, 52)));
}

void TestDerivations::startTimeWrapsAtMidnightAndKeepsTheDate()
{
    Channels channels;
    channels.setClock(20, 12, 31, 0, 0, 1);
    for (int i = 0; i < 10; ++i)
        channels["FSS_Date"][i] = 32;
    QCOMPARE(readClock(channels.refs, 200).start, QDateTime(QDate(2023, 12, 31), QTime(23, 59, 59)));
}

void TestDerivations::startTimeUsesTheInterval()
{
    Channels channels;
    channels.setClock(20, 5, 6, 12, 0, 0);
    for (int i = 0; i < 10; ++i)
        channels["FSS_Minutes"][i] = 61;
    QCOMPARE(readClock(channels.refs, 1000).start, QDateTime(QDate(2023, 5, 6), QTime(11, 59, 50)));
}

void TestDerivations::noPlausibleSampleGivesNoStartTime_data()
{
    QTest::addColumn<QString>("channel");
    QTest::addColumn<double>("value");
    QTest::newRow("month") << "FSS_Month" << 13.0;
    QTest::newRow("date") << "FSS_Date" << 32.0;
    QTest::newRow("hours") << "FSS_Hours" << 25.0;
    QTest::newRow("minutes") << "FSS_Minutes" << 61.0;
    QTest::newRow("seconds") << "FSS_Seconds" << 61.0;
}

void TestDerivations::noPlausibleSampleGivesNoStartTime()
{
    QFETCH(QString, channel);
    QFETCH(double, value);
    Channels channels;
    channels.setClock(5, 5, 6, 7, 8, 9);
    QVERIFY(readClock(channels.refs, 200).start.isValid());
    channels[channel.toLatin1().constData()].fill(value);
    const ClockReading clock = readClock(channels.refs, 200);
    QCOMPARE(clock.sample, -1);
    QVERIFY(clock.start.isNull());
}

void TestDerivations::invalidTimeReturnsItsSampleIndex_data()
{
    QTest::addColumn<QString>("channel");
    QTest::addColumn<double>("value");
    QTest::newRow("24 hours") << "FSS_Hours" << 24.0;
    QTest::newRow("60 minutes") << "FSS_Minutes" << 60.0;
    QTest::newRow("60 seconds") << "FSS_Seconds" << 60.0;
    QTest::newRow("month 0") << "FSS_Month" << 0.0;
    QTest::newRow("date 0") << "FSS_Date" << 0.0;
}

void TestDerivations::invalidTimeReturnsItsSampleIndex()
{
    QFETCH(QString, channel);
    QFETCH(double, value);
    Channels channels;
    channels.setClock(5, 5, 6, 7, 8, 9);
    channels[channel.toLatin1().constData()].fill(value);
    const ClockReading clock = readClock(channels.refs, 200);
    QCOMPARE(clock.sample, 0);
    QVERIFY(clock.start.isNull());
}

void TestDerivations::originIsTheTenthHeartbeatFromTheEnd()
{
    Channels channels;
    for (int i = 0; i < 12; ++i) {
        channels["HBS_Lat"].append(60.0 + i);
        channels["HBS_Lng"].append(100.0 + i);
    }
    const std::optional<LocalFrame> origin = findOrigin(channels.refs);
    QVERIFY(origin.has_value());
    QCOMPARE(origin->latitude, 62.0F);
    QCOMPARE(origin->longitude, 102.0F);
    QVERIFY(std::abs(origin->scale - 0.46947156278589) < 1e-7); // cos(62°)
}

void TestDerivations::noOriginWithFewerThanTenHeartbeats()
{
    Channels channels;
    channels["HBS_Lat"] = Series(9, 60.0);
    channels["HBS_Lng"] = Series(10, 100.0);
    QVERIFY(!findOrigin(channels.refs).has_value()); // the latitude series sets the index
    channels["HBS_Lat"].append(60.0);
    QVERIFY(findOrigin(channels.refs).has_value());
}

void TestDerivations::localFrameScalesLongitudeByTheCosine()
{
    const LocalFrame frame = LocalFrame::at(60.0F, 100.0F);
    // One degree is 111318.84530186653 m; cos(60°) is 0.5.
    QCOMPARE(frame.y(61.0), 111318.84530186653F);
    QCOMPARE(frame.x(99.0), -55659.422650933265F);
    QCOMPARE(frame.x(100.0), 0.0F);
}

void TestDerivations::trackStartsAtTheFirstFix()
{
    Channels channels;
    channels.setPath({0, 10, 20, 30}, {1, 2, 3, 4});
    channels["PGS_GPS_SatelliteCount"] = {9, 10, 11, 4};
    const Track track = makeTrack(channels.refs, LocalFrame::initial());
    QCOMPARE(metres(track.x), QVector<int>({20, 30}));
    QCOMPARE(metres(track.y), QVector<int>({0, 0}));
    QCOMPARE(track.z, std::vector<double>({3, 4}));
}

void TestDerivations::trackWithFewSatellitesStartsAtZero()
{
    Channels channels;
    channels.setPath({0, 10, 20}, {1, 2, 3}, 10);
    QCOMPARE(metres(makeTrack(channels.refs, LocalFrame::initial()).x), QVector<int>({0, 10, 20}));
}

void TestDerivations::initialFrameIsAtTheInitialOrigin()
{
    QCOMPARE(LocalFrame::initial().latitude, 33.947071F);
    QCOMPARE(LocalFrame::initial().longitude, 113.91378F);
}

void TestDerivations::jumpRepeatsThePreviousPoint()
{
    Channels channels;
    channels.setPath({0, 1500, 900, 12000, 11000}, {0, 0, 0, 0, 0});
    channels.setSubModes({1, 1, 1, 1, 1});
    QCOMPARE(metres(makeTrack(channels.refs, LocalFrame::initial()).x), QVector<int>({0, 0, 900, 900, 900}));
    QCOMPARE(metres(makeAttackTrack(channels.refs, LocalFrame::initial()).x), QVector<int>({0, 1500, 900, 900, 900}));
}

void TestDerivations::jumpToTheNorthRepeatsThePreviousPoint()
{
    Channels channels;
    channels.setPath({0, 0, 0, 0, 0}, {0, 0, 0, 0, 0});
    const double start = double(LocalFrame::initial().latitude);
    Series &lat = channels["PGS_GPS_Lat"];
    lat.clear();
    for (const double metres : {900, 1800, 3000, 2700, 1600})
        lat.append(start + metres / (1e7 * 0.011131884530186653));
    QCOMPARE(metres(makeTrack(channels.refs, LocalFrame::initial()).y), QVector<int>({900, 1800, 1800, 2700, 2700}));
}

void TestDerivations::heightsAreLimited()
{
    Channels channels;
    channels.setPath(Series(6, 0.0), {1200, 950, 1001, 849, -100, 800});
    // The first height is limited to 1000; 1001 is above the maximum; 849 differs from 950 by more than 100.
    QCOMPARE(makeTrack(channels.refs, LocalFrame::initial()).z, std::vector<double>({1000, 950, 950, 950, 950, 950}));
}

void TestDerivations::attackTrackStartsAtTheLastRun_data()
{
    using Metres = QVector<int>;
    QTest::addColumn<Series>("modes");
    QTest::addColumn<Metres>("east");
    QTest::newRow("last of two runs") << Series({1, 26, 1, 26, 26}) << Metres({30, 40});
    QTest::newRow("no run") << Series({1, 2, 3, 4, 5}) << Metres({0, 10, 20, 30, 40});
    QTest::newRow("from sample 0 on") << Series({26, 26, 26, 26, 26}) << Metres({0, 10, 20, 30, 40});
    QTest::newRow("starts after the last position") << Series({1, 1, 1, 1, 1, 26}) << Metres();
    QTest::newRow("fewer modes than positions") << Series({1, 26, 26}) << Metres({10, 20});
    QTest::newRow("no modes") << Series() << Metres();
}

void TestDerivations::attackTrackStartsAtTheLastRun()
{
    QFETCH(Series, modes);
    QFETCH(QVector<int>, east);
    Channels channels;
    channels.setPath({0, 10, 20, 30, 40}, Series(5, 0.0));
    channels.setSubModes(modes);
    QCOMPARE(metres(makeAttackTrack(channels.refs, LocalFrame::initial()).x), east);
}

void TestDerivations::differencesAreActualMinusTarget()
{
    Channels channels;
    const struct {
        const char *difference, *actual, *target;
    } triads[] = {
        {"DF_PitchDiff", "PGS_Pitch", "FTP_TargetPitch"},
        {"DF_RollDiff", "PGS_Roll", "FTP_TargetRoll"},
        {"DF_YawDiff", "PGS_Yaw", "FTP_TargetYaw"},
        {"DF_SpeedDiff", "PGS_IndicateAirSpeed", "FTP_TargetSpeed"},
        {"DF_HeightDiff", "PGS_GPS_Relative_Height", "FTP_TargetPoint_Height"},
    };
    channels["FTP_TargetPoint_Group"] = {0, 0};
    double base = 1;
    for (const auto &triad : triads) {
        channels[triad.actual] = {base, 10 * base, 100 * base};
        channels[triad.target] = {350, 0.5};
        base += 1;
    }
    makeDifferences(channels.refs);
    base = 1;
    for (const auto &triad : triads) {
        QCOMPARE(channels[triad.difference], Series({base - 350, 10 * base - 0.5, 100 * base}));
        QCOMPARE(channels[triad.actual], Series({base, 10 * base, 100 * base}));
        base += 1;
    }
}

void TestDerivations::differencesShareTheActualSamplesWithoutTargets()
{
    Channels channels;
    channels["PGS_Roll"] = {1, 2, 3};
    QCOMPARE(beginDifferences(channels.refs), 0);
    QVERIFY(channels["DF_RollDiff"].isSharedWith(channels["PGS_Roll"]));
}

void TestDerivations::speedAngleKeepsItsValueAtZeroSpeed()
{
    Channels channels;
    channels["BU_SpeedAngle"] = {7};
    channels["PGS_GroundSpeed"] = {0, 2, 0, -1};
    channels["PGS_UpSkySpeed"] = {5, 2, 9, 0};
    appendSpeedAngles(channels.refs);
    const Series &angles = channels["BU_SpeedAngle"];
    QCOMPARE(angles.size(), 5);
    QCOMPARE(angles[0], 7.0);
    QCOMPARE(angles[1], 0.0);
    QCOMPARE(angles[2], 45.0);
    QCOMPARE(angles[3], 45.0);
    QCOMPARE(std::abs(angles[4]), 0.0);
}

void TestDerivations::fitTargetsMatchesTheAttitudeLength_data()
{
    QTest::addColumn<int>("targets");
    QTest::addColumn<int>("attitudes");
    QTest::addColumn<Series>("expected");
    QTest::newRow("equal") << 2 << 2 << Series({1, 2});
    QTest::newRow("few missing") << 2 << 4 << Series({1, 2, 0, 0});
    QTest::newRow("much shorter") << 2 << 15 << Series({1, 2});
    QTest::newRow("about half") << 3 << 14 << Series({1, 1, 2, 2, 3, 3, 0, 0, 0, 0, 0, 0, 0, 0});
    QTest::newRow("longer") << 3 << 1 << Series({1});
}

void TestDerivations::fitTargetsMatchesTheAttitudeLength()
{
    QFETCH(int, targets);
    QFETCH(int, attitudes);
    QFETCH(Series, expected);
    Channels channels;
    for (int row = 0; row < 13; ++row) {
        for (int i = 1; i <= targets; ++i)
            channels.refs.at(frame::kTarget, row).append(i);
    }
    channels["PGS_Roll"] = Series(attitudes, 0.0);
    QCOMPARE(fitTargets(channels.refs), targets != attitudes);
    for (int row = 0; row < 13; ++row)
        QCOMPARE(channels.refs.at(frame::kTarget, row), expected);
}

void TestDerivations::emptySeriesGiveEmptyResults()
{
    Channels channels;
    QCOMPARE(readClock(channels.refs, 200).sample, -1);
    QVERIFY(!findOrigin(channels.refs).has_value());
    QVERIFY(makeTrack(channels.refs, LocalFrame::initial()).x.empty());
    QVERIFY(makeAttackTrack(channels.refs, LocalFrame::initial()).x.empty());
    makeDifferences(channels.refs);
    appendSpeedAngles(channels.refs);
    QVERIFY(!fitTargets(channels.refs));
    for (const Series &samples : channels.all)
        QVERIFY(samples.isEmpty());
}

QTEST_GUILESS_MAIN(TestDerivations)
#include "TestDerivations.moc"
