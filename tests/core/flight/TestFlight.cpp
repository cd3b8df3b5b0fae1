#include "FlightBuilder.h"
#include "FrameText.h"

#include <QTest>

#include <type_traits>
#include <utility>

using namespace ostravel;

static_assert(std::is_nothrow_move_constructible_v<Series>);
static_assert(std::is_move_constructible_v<Flight> && std::is_copy_constructible_v<Flight>);

class TestFlight : public QObject
{
    Q_OBJECT

private slots:
    void isInitiallyEmpty();
    void unknownChannelIsEmpty_data();
    void unknownChannelIsEmpty();
    void holdsTheSamplesOfItsLines();
    void seriesAreExtendedAndDerived();
    void countsBeyond16Bits();
    void gapsAreCountedOnceASample();
    void movesAndCopiesWithoutCopyingSamples();
    void startTimeOfTheOptionsTakesPrecedence();
    void timeAxisUsesThePeriods();
    void originNeedsTenHeartbeats();
    void storesTheErrorThatEndedTheRead();
};

namespace
{

const Series &roll(const Flight &flight)
{
    return flight.samples(frame::kAttitude, frame::rowOf(frame::kAttitude, "PGS_Roll"));
}

/** Adds one cycle; its clock is 10:30 on 15 July. */
void addCycle(FlightBuilder &builder, double rollAngle)
{
    builder.add(FrameText(0x03).set("PGS_Roll", rollAngle).text());
    builder.add(
        FrameText(0x02).set("FSS_Month", 7).set("FSS_Date", 15).set("FSS_Hours", 10).set("FSS_Minutes", 30).text());
    builder.add(FrameText(0x04).text());
    builder.add(FrameText(0x05).set("FTP_TargetRoll", 1).text());
}

} // namespace

void TestFlight::isInitiallyEmpty()
{
    const Flight flight;
    for (const frame::Layout &layout : frame::kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row)
            QVERIFY(flight.samples(layout.code, row).isEmpty());
    }
    QVERIFY(flight.startTime().isNull());
    QCOMPARE(flight.counts().lines, qint64(0));
    QVERIFY(flight.track().x.empty());
    QVERIFY(flight.attackTrack().x.empty());
    QVERIFY(!flight.brokenOff().has_value());
    QCOMPARE(flight.origin().latitude, 33.947071F);
    QCOMPARE(flight.origin().longitude, 113.91378F);
}

void TestFlight::unknownChannelIsEmpty_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("row");
    QTest::newRow("unknown code") << 0x06 << 0;
    QTest::newRow("row before the first") << 0x03 << -1;
    QTest::newRow("row after the last one") << 0x03 << 18;
    QTest::newRow("large row number") << 0x53 << 1000;
}

void TestFlight::unknownChannelIsEmpty()
{
    QFETCH(int, code);
    QFETCH(int, row);
    FlightBuilder builder({});
    for (const QString &line : oneCycle())
        builder.add(line);
    const Flight flight = builder.finish();
    QVERIFY(flight.samples(std::uint8_t(code), row).isEmpty());
    QVERIFY(!roll(flight).isEmpty());
}

void TestFlight::holdsTheSamplesOfItsLines()
{
    FlightBuilder builder({});
    addCycle(builder, 12.34);
    addCycle(builder, -5);
    builder.add(QStringLiteral("no frame"));
    builder.add(QString());
    builder.add(FrameText(0x06).text());
    const Flight flight = builder.finish();
    QCOMPARE(roll(flight), Series({12.34, -5.0}));
    QCOMPARE(flight.counts().lines, qint64(11));
    QCOMPARE(flight.counts().badHeaders, qint64(2));
    QCOMPARE(flight.counts().unknownCodes, qint64(1));
    QCOMPARE(flight.counts().otherPlanes, qint64(0));
    QCOMPARE(flight.counts().accepted(), qint64(9));
}

void TestFlight::seriesAreExtendedAndDerived()
{
    FlightBuilder builder({});
    addCycle(builder, 3);
    builder.add(FrameText(0x03).set("PGS_Roll", 4).set("PGS_GroundSpeed", 2).set("PGS_UpSkySpeed", 2).text());
    const Flight flight = builder.finish();
    for (const std::uint8_t code : {frame::kControlStatus, frame::kSensor, frame::kTarget, frame::kEquipment})
        QCOMPARE(flight.samples(code, 0).size(), 2);
    QCOMPARE(flight.samples(frame::kDifference, 1), Series({2.0, 3.0})); // the last target is repeated
    QCOMPARE(flight.samples(frame::kBackup, 0), Series({0.0, 45.0}));
    QCOMPARE(flight.track().x.size(), std::size_t(2));
    QCOMPARE(flight.startTime(), QDateTime(QDate(2023, 7, 15), QTime(10, 30)));
}

void TestFlight::countsBeyond16Bits()
{
    ReadOptions options;
    options.planeId = std::uint8_t(1);
    FlightBuilder builder(options);
    const QString good = FrameText(0x52, 1).text();
    const QString other = FrameText(0x52, 2).text();
    for (int i = 0; i < 70000; ++i) {
        builder.add(good);
        builder.add(other);
        builder.add(QLatin1String("AB"));
    }
    const Flight flight = builder.finish();
    QCOMPARE(flight.counts().lines, qint64(210000));
    QCOMPARE(flight.counts().badHeaders, qint64(70000));
    QCOMPARE(flight.counts().otherPlanes, qint64(70000));
    QCOMPARE(flight.counts().accepted(), qint64(70000));
    QCOMPARE(flight.samples(frame::kBackup, 0).size(), 70000);
}

// Gaps after each line. A control status that is too short repeats its samples, the equipment with them (1), and the
// attitude follows it (2). The first attitude frame leads by one. After the second it leads by two, and fills the
// control status (3). After the third the control status fills the sensors (4), and the attitude the control status
// (5). At the end the chain is evened by control status with equipment, sensor and target (8).
void TestFlight::gapsAreCountedOnceASample()
{
    FlightBuilder whole({});
    addCycle(whole, 1);
    addCycle(whole, 2);
    QCOMPARE(whole.finish().counts().gapsFilled, qint64(0));

    FlightBuilder broken({});
    broken.add(FrameText(0x02).text().left(20));
    for (int i = 0; i < 3; ++i)
        broken.add(FrameText(0x03).text());
    const Flight flight = broken.finish();
    QCOMPARE(flight.counts().gapsFilled, qint64(8));
    QCOMPARE(flight.samples(frame::kControlStatus, 0).size(), 4);
    QCOMPARE(flight.samples(frame::kEquipment, 0).size(), 2);
}

void TestFlight::movesAndCopiesWithoutCopyingSamples()
{
    FlightBuilder builder({});
    addCycle(builder, 12.34);
    Flight flight = builder.finish();
    const double *const samples = roll(flight).constData();
    const Flight copy = flight;
    QCOMPARE(roll(copy).constData(), samples);
    const Flight moved = std::move(flight);
    QCOMPARE(roll(moved).constData(), samples);
    QCOMPARE(moved.counts().lines, qint64(4));
}

void TestFlight::startTimeOfTheOptionsTakesPrecedence()
{
    ReadOptions options;
    options.startTime = QDateTime(QDate(2020, 2, 3), QTime(4, 5, 6));
    FlightBuilder builder(options);
    addCycle(builder, 1);
    QCOMPARE(builder.finish().startTime(), *options.startTime);
}

void TestFlight::timeAxisUsesThePeriods()
{
    ReadOptions options;
    options.startTime = QDateTime(QDate(1970, 1, 1), QTime(0, 1, 40, 900), Qt::UTC);
    options.periodsMs[frame::kSensor] = 50;
    const Flight flight = FlightBuilder(options).finish();
    QCOMPARE(flight.periodMs(frame::kAttitude), 200);
    QCOMPARE(flight.periodMs(frame::kSensor), 50);
    QCOMPARE(flight.timeOf(frame::kAttitude, 3), 100.6); // the start time's milliseconds are ignored
    QCOMPARE(flight.timeOf(frame::kSensor, 3), 100.15);
    // The milliseconds exceed 32 bits.
    QCOMPARE(flight.timeOf(frame::kAttitude, 100'000'000), 100.0 + 20'000'000.0);
}

void TestFlight::originNeedsTenHeartbeats()
{
    for (const int heartbeats : {9, 10}) {
        FlightBuilder builder({});
        for (int i = 0; i < heartbeats; ++i)
            builder.add(FrameText(0x01).set("HBS_Lat", 60 + i).set("HBS_Lng", 20).text());
        const Flight flight = builder.finish();
        QCOMPARE(flight.origin().latitude, heartbeats < 10 ? LocalFrame::kInitialLatitude : 60.0F);
    }
}

void TestFlight::storesTheErrorThatEndedTheRead()
{
    FlightBuilder builder({});
    addCycle(builder, 2);
    const Flight flight = builder.finish(ReadError{ReadError::Code::BrokenOff, QStringLiteral("The disk is gone.")});
    QVERIFY(flight.brokenOff().has_value());
    QCOMPARE(int(flight.brokenOff()->code), int(ReadError::Code::BrokenOff));
    QCOMPARE(flight.brokenOff()->message, QStringLiteral("The disk is gone."));
    QCOMPARE(roll(flight), Series({2.0}));
}

QTEST_GUILESS_MAIN(TestFlight)
#include "TestFlight.moc"
