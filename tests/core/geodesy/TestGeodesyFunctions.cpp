#include "Geodesy.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <random>

using namespace ostravel;

Q_DECLARE_METATYPE(Location)
Q_DECLARE_METATYPE(Vector2)

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadians = kPi / 180.0;
constexpr double kRadius = 6378137.0; // WGS84 semi-major axis in metres, and flattening
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr int kPairs = 100000;
constexpr std::int32_t kMinInt = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMaxInt = std::numeric_limits<std::int32_t>::max();

Location at(double latitude, double longitude)
{
    return {std::int32_t(std::lround(latitude * 1e7)), std::int32_t(std::lround(longitude * 1e7))};
}

struct Line {
    double metres;
    double azimuth; // degrees, 0 to 360
};

/** The geodesic by Vincenty's iteration (1975). The program uses another method. */
Line vincenty(Location from, Location to)
{
    const double f = kFlattening;
    const double b = kRadius * (1 - f);
    const double u1 = std::atan((1 - f) * std::tan(from.latitude / 1e7 * kRadians));
    const double u2 = std::atan((1 - f) * std::tan(to.latitude / 1e7 * kRadians));
    const double l = std::remainder((double(to.longitude) - double(from.longitude)) / 1e7, 360.0) * kRadians;
    double lambda = l;
    double sinSigma = 0, cosSigma = 0, sigma = 0, cosSqAlpha = 0, cos2SigmaM = 0;
    for (int i = 0; i < 100; ++i) {
        const double p = std::cos(u2) * std::sin(lambda);
        const double q = std::cos(u1) * std::sin(u2) - std::sin(u1) * std::cos(u2) * std::cos(lambda);
        sinSigma = std::hypot(p, q);
        cosSigma = std::sin(u1) * std::sin(u2) + std::cos(u1) * std::cos(u2) * std::cos(lambda);
        sigma = std::atan2(sinSigma, cosSigma);
        const double sinAlpha = std::cos(u1) * std::cos(u2) * std::sin(lambda) / sinSigma;
        cosSqAlpha = 1 - sinAlpha * sinAlpha;
        cos2SigmaM = cosSqAlpha > 0 ? cosSigma - 2 * std::sin(u1) * std::sin(u2) / cosSqAlpha : 0;
        const double c = f / 16 * cosSqAlpha * (4 + f * (4 - 3 * cosSqAlpha));
        const double before = lambda;
        lambda = l
            + (1 - c) * f * sinAlpha
                * (sigma + c * sinSigma * (cos2SigmaM + c * cosSigma * (2 * cos2SigmaM * cos2SigmaM - 1)));
        if (std::abs(lambda - before) < 1e-13)
            break;
    }
    const double uSq = cosSqAlpha * (kRadius * kRadius - b * b) / (b * b);
    const double a = 1 + uSq / 16384 * (4096 + uSq * (-768 + uSq * (320 - 175 * uSq)));
    const double c = uSq / 1024 * (256 + uSq * (-128 + uSq * (74 - 47 * uSq)));
    const double delta = c * sinSigma
        * (cos2SigmaM
           + c / 4
               * (cosSigma * (2 * cos2SigmaM * cos2SigmaM - 1)
                  - c / 6 * cos2SigmaM * (4 * sinSigma * sinSigma - 3) * (4 * cos2SigmaM * cos2SigmaM - 3)));
    double azimuth = std::atan2(std::cos(u2) * std::sin(lambda),
                                std::cos(u1) * std::sin(u2) - std::sin(u1) * std::cos(u2) * std::cos(lambda))
        / kRadians;
    if (azimuth < 0)
        azimuth += 360;
    return {b * a * (sigma - delta), azimuth};
}

/** Length of the meridian arc from the equator in metres, by Simpson's rule over the radius of curvature. */
double meridianArc(double latitude)
{
    const double e2 = kFlattening * (2 - kFlattening);
    const auto radius = [e2](double degrees) {
        const double s = std::sin(degrees * kRadians);
        return kRadius * (1 - e2) / std::pow(1 - e2 * s * s, 1.5);
    };
    constexpr int kSteps = 2000;
    const double step = latitude / kSteps;
    double sum = radius(0) + radius(latitude);
    for (int i = 1; i < kSteps; ++i)
        sum += radius(i * step) * (i % 2 ? 4 : 2);
    return sum * step * kRadians / 3;
}

/** Random pairs of positions with a given approximate maximum distance in metres. */
class RandomPairs
{
public:
    explicit RandomPairs(double maxMetres)
        : m_maxMetres(maxMetres)
    {
    }

    Location from()
    {
        // Uniform distribution on the sphere.
        return at(std::asin(m_unit(m_random)) / kRadians, 180.0 * m_unit(m_random));
    }

    /** A point near another one. The sphere's radius keeps the distance below the maximum. */
    Location near(Location from)
    {
        const double angle = m_maxMetres * std::abs(m_unit(m_random)) / 6400000.0;
        const double azimuth = kPi * m_unit(m_random);
        const double lat1 = from.latitude / 1e7 * kRadians;
        const double lat2
            = std::asin(std::sin(lat1) * std::cos(angle) + std::cos(lat1) * std::sin(angle) * std::cos(azimuth));
        const double lon2 = from.longitude / 1e7 * kRadians
            + std::atan2(std::sin(azimuth) * std::sin(angle) * std::cos(lat1),
                         std::cos(angle) - std::sin(lat1) * std::sin(lat2));
        return at(lat2 / kRadians, std::remainder(lon2 / kRadians, 360.0));
    }

private:
    std::mt19937 m_random{72};
    std::uniform_real_distribution<double> m_unit{-1.0, 1.0};
    double m_maxMetres;
};

QString text(Location location)
{
    return QStringLiteral("%1 %2").arg(location.latitude).arg(location.longitude);
}

} // namespace

class TestGeodesyFunctions : public QObject
{
    Q_OBJECT

private slots:
    void recordsAreEightBytesInFieldOrder();
    void matchesPublishedGeodesics_data();
    void matchesPublishedGeodesics();
    void measuresAlongTheEquatorAndTheMeridian();
    void distanceAndBearingAgreeWithVincenty();
    void distanceIsTheSameBothWays();
    void bearingIsClockwiseFromNorth_data();
    void bearingIsClockwiseFromNorth();
    void bearingRoundsToNearestAndWrapsToZero();
    void bearingIsBetween0And35999();
    void equalPointsHaveNoDistanceBearingOrOffset_data();
    void equalPointsHaveNoDistanceBearingOrOffset();
    void offsetIsTheLengthSplitByTheBearing();
    void offsetByTheDifferenceReachesTheTarget();
    void offsetByTheDifferenceReachesTheTargetAtEdges_data();
    void offsetByTheDifferenceReachesTheTargetAtEdges();
    void offsetAppliesNorthBeforeEast();
    void zeroOffsetKeepsThePosition_data();
    void zeroOffsetKeepsThePosition();
    void offsetWrapsAtTheAntimeridian();
    void offsetCrossesThePole();
    void longitudeBeyond180DegreesWraps();
    void latitudeBeyondThePoleIsInvalid_data();
    void latitudeBeyondThePoleIsInvalid();
    void nonFiniteOffsetGivesAnInvalidPosition_data();
    void nonFiniteOffsetGivesAnInvalidPosition();
    void hugeOffsetStaysOnTheEarth();
    void sumAndDifference();
    void productsFollowTheirFormulas_data();
    void productsFollowTheirFormulas();
    void productsAreRoundedOnce();
    void angleIsInUnsignedDegrees_data();
    void angleIsInUnsignedDegrees();
    void angleAgreesWithTheDirectionsOfRandomVectors();
};

void TestGeodesyFunctions::recordsAreEightBytesInFieldOrder()
{
    QCOMPARE(sizeof(Location), std::size_t(8));
    QCOMPARE(offsetof(Location, latitude), std::size_t(0));
    QCOMPARE(offsetof(Location, longitude), std::size_t(4));
    QCOMPARE(sizeof(Vector2), std::size_t(8));
    QCOMPARE(offsetof(Vector2, x), std::size_t(0));
    QCOMPARE(offsetof(Vector2, y), std::size_t(4));
}

void TestGeodesyFunctions::matchesPublishedGeodesics_data()
{
    QTest::addColumn<Location>("from");
    QTest::addColumn<Location>("to");
    QTest::addColumn<double>("metres");
    QTest::addColumn<int>("hundredths");

    // The example in the manual of the Australian geodetic datum: 54,972.271 m, bearing 306°52'05.37", reverse bearing
    // 127°10'25.07". Its ellipsoid differs from WGS84 by 0.1 mm.
    const Location flindersPeak = at(-37.951033417, 144.424867889);
    const Location buninyong = at(-37.652821139, 143.926495528);
    QTest::newRow("Flinders Peak to Buninyong") << flindersPeak << buninyong << 54972.271 << 30687;
    QTest::newRow("Buninyong to Flinders Peak") << buninyong << flindersPeak << 54972.271 << 12717;
    // Examples from publications on geodesics.
    QTest::newRow("New York to London") << at(40.6, -73.8) << at(51.6, -0.5) << 5551759.400 << 5120;
    QTest::newRow("Wellington to Salamanca") << at(-41.32, 174.81) << at(40.96, -5.50) << 19959679.267 << 16107;
}

void TestGeodesyFunctions::matchesPublishedGeodesics()
{
    QFETCH(Location, from);
    QFETCH(Location, to);
    QFETCH(double, metres);
    QFETCH(int, hundredths);
    // 1e-7 degrees are about one centimetre, and a float has 24 significant bits.
    const double tolerance = 0.012 + metres * 0x1p-24;
    const auto distance = double(get_distance(from, to));
    QVERIFY2(std::abs(distance - metres) <= tolerance, qPrintable(QString::number(distance, 'f', 4)));
    QCOMPARE(get_bearing_cd(from, to), hundredths);
}

void TestGeodesyFunctions::measuresAlongTheEquatorAndTheMeridian()
{
    QVERIFY(get_distance({0, 0}, {0, 10000000}) == float(kRadius * kRadians));
    QVERIFY(get_distance({0, 0}, {0, -900000000}) == float(kRadius * kPi / 2));
    for (const int latitude : {1, 30, 45, 60, 89, 90}) {
        const auto expected = float(meridianArc(latitude));
        QVERIFY(get_distance({0, 1139000000}, {latitude * 10000000, 1139000000}) == expected);
        QVERIFY(get_distance({0, 1139000000}, {-latitude * 10000000, 1139000000}) == expected);
    }
    // Across the pole.
    const auto across = float(2 * (meridianArc(90) - meridianArc(80)));
    QVERIFY(get_distance({800000000, 200000000}, {800000000, -1600000000}) == across);
}

void TestGeodesyFunctions::distanceAndBearingAgreeWithVincenty()
{
    // Distances for which the iteration is accurate to 0.1 mm.
    RandomPairs pairs(5000000.0);
    for (int i = 0; i < kPairs; ++i) {
        const Location from = pairs.from();
        const Location to = pairs.near(from);
        const Line line = vincenty(from, to);
        if (line.metres < 1.0)
            continue;
        const auto distance = double(get_distance(from, to));
        if (std::abs(distance - line.metres) > 0.001 + line.metres * 0x1p-24)
            QFAIL(qPrintable(text(from) + " to " + text(to) + ": " + QString::number(distance, 'f', 4)));
        const double bearing = get_bearing_cd(from, to) / 100.0;
        const double apart = std::remainder(bearing - line.azimuth, 360.0);
        if (std::abs(apart) > 0.005001 + 0.02 / line.metres)
            QFAIL(qPrintable(text(from) + " to " + text(to) + ": " + QString::number(bearing)));
    }
}

void TestGeodesyFunctions::distanceIsTheSameBothWays()
{
    RandomPairs pairs(19000000.0);
    for (int i = 0; i < kPairs; ++i) {
        const Location from = pairs.from();
        const Location to = pairs.from();
        const float there = get_distance(from, to);
        const float back = get_distance(to, from);
        if (!(there >= 0 && there < 20004000) || std::abs(there - back) > there * 0x1p-23f)
            QFAIL(qPrintable(text(from) + " and " + text(to)));
    }
}

void TestGeodesyFunctions::bearingIsClockwiseFromNorth_data()
{
    QTest::addColumn<Location>("to");
    QTest::addColumn<int>("hundredths");
    QTest::newRow("north") << at(1, 0) << 0;
    QTest::newRow("east") << at(0, 1) << 9000;
    QTest::newRow("south") << at(-1, 0) << 18000;
    QTest::newRow("west") << at(0, -1) << 27000;
    QTest::newRow("north pole") << at(90, 77) << 0;
    QTest::newRow("south pole") << at(-90, 77) << 18000;
}

void TestGeodesyFunctions::bearingIsClockwiseFromNorth()
{
    QFETCH(Location, to);
    QFETCH(int, hundredths);
    QCOMPARE(get_bearing_cd({0, 0}, to), hundredths);
}

void TestGeodesyFunctions::bearingRoundsToNearestAndWrapsToZero()
{
    // Near the equator the earth is flat enough; a degree of latitude is 0.99330562 degrees of longitude.
    const auto bearing = [](int north, int east) { return get_bearing_cd({0, 0}, {north, east}); };
    // Hundredths of a degree: 100 * atan(east / (0.993306 * 100000)) for 100000 units north.
    QCOMPARE(bearing(100000, 8), 0); // 0.4614
    QCOMPARE(bearing(100000, 9), 1); // 0.5191
    QCOMPARE(bearing(100000, -8), 0); // 35999.54
    QCOMPARE(bearing(100000, -9), 35999); // 35999.48
}

void TestGeodesyFunctions::bearingIsBetween0And35999()
{
    RandomPairs pairs(200000.0);
    for (int i = 0; i < kPairs; ++i) {
        const Location from = pairs.from();
        const std::int32_t bearing = get_bearing_cd(from, i % 2 ? pairs.near(from) : pairs.from());
        if (bearing < 0 || bearing > 35999)
            QFAIL(qPrintable(QString::number(bearing)));
    }
}

void TestGeodesyFunctions::equalPointsHaveNoDistanceBearingOrOffset_data()
{
    QTest::addColumn<Location>("from");
    QTest::addColumn<Location>("to");
    for (const Location location : {at(0, 0), at(29.5, 106.25), at(-33.9, -70.1), at(90, 0), at(-90, 12), at(10, 180)})
        QTest::newRow(qPrintable(text(location))) << location << location;
    QTest::newRow("a pole by two longitudes") << at(90, 10) << at(90, -120);
    QTest::newRow("the antimeridian from both sides") << at(10, 180) << at(10, -180);
    QTest::newRow("smallest longitude") << Location{0, kMinInt} << Location{0, kMinInt};
}

void TestGeodesyFunctions::equalPointsHaveNoDistanceBearingOrOffset()
{
    QFETCH(Location, from);
    QFETCH(Location, to);
    QVERIFY(get_distance(from, to) == 0.0f);
    QCOMPARE(get_bearing_cd(from, to), 0);
    const Vector2 diff = location_diff(from, to);
    QVERIFY(diff.x == 0.0f && diff.y == 0.0f);
    // Negative zero would be displayed with its sign.
    QVERIFY(!std::signbit(diff.x) && !std::signbit(diff.y));
}

void TestGeodesyFunctions::offsetIsTheLengthSplitByTheBearing()
{
    RandomPairs pairs(200000.0);
    for (int i = 0; i < kPairs; ++i) {
        const Location from = pairs.from();
        const Location to = pairs.near(from);
        const Vector2 diff = location_diff(from, to);
        const Line line = vincenty(from, to);
        if (line.metres < 1.0)
            continue;
        const double north = line.metres * std::cos(line.azimuth * kRadians);
        const double east = line.metres * std::sin(line.azimuth * kRadians);
        if (std::abs(double(diff.x) - north) > 0.02 || std::abs(double(diff.y) - east) > 0.02)
            QFAIL(qPrintable(text(from) + " to " + text(to)));
    }
}

void TestGeodesyFunctions::offsetByTheDifferenceReachesTheTarget()
{
    RandomPairs pairs(200000.0);
    for (int i = 0; i < kPairs; ++i) {
        Location from = pairs.from();
        const Location to = pairs.near(from);
        const Location start = from;
        const Vector2 diff = location_diff(from, to);
        location_offset(&from, diff.x, diff.y);
        if (!(get_distance(from, to) <= 0.05f))
            QFAIL(qPrintable(text(start) + " to " + text(to) + " ended at " + text(from)));
    }
}

void TestGeodesyFunctions::offsetByTheDifferenceReachesTheTargetAtEdges_data()
{
    QTest::addColumn<Location>("from");
    QTest::addColumn<Location>("to");
    QTest::newRow("from the north pole") << at(90, 0) << at(89, 45);
    QTest::newRow("from the north pole at another longitude") << at(90, 130) << at(88.5, -45);
    QTest::newRow("to the south pole") << at(-89, 20) << at(-90, 0);
    QTest::newRow("over the pole") << at(89.5, 20) << at(89.6, -160);
    QTest::newRow("over the antimeridian eastward") << at(33, 179.5) << at(33.2, -179.9);
    QTest::newRow("over the antimeridian westward") << at(-33, -179.5) << at(-33.2, 179.9);
    QTest::newRow("over the equator") << at(0.3, 100) << at(-0.4, 101);
}

void TestGeodesyFunctions::offsetByTheDifferenceReachesTheTargetAtEdges()
{
    QFETCH(Location, from);
    QFETCH(Location, to);
    QVERIFY(get_distance(from, to) > 10000.0f);
    const Vector2 diff = location_diff(from, to);
    location_offset(&from, diff.x, diff.y);
    QVERIFY2(get_distance(from, to) <= 0.05f, qPrintable(text(from)));
}

void TestGeodesyFunctions::offsetAppliesNorthBeforeEast()
{
    Location north = at(0, 100);
    location_offset(&north, float(meridianArc(1)), 0);
    QCOMPARE(north.longitude, 1000000000);
    QVERIFY2(std::abs(north.latitude - 10000000) <= 1, qPrintable(text(north)));
    Location east = at(0, 100);
    location_offset(&east, 0, float(kRadius * kRadians));
    QCOMPARE(east.latitude, 0);
    QVERIFY2(std::abs(east.longitude - 1010000000) <= 1, qPrintable(text(east)));
    Location southWest = at(0, 100);
    location_offset(&southWest, -1000, -2000);
    // Here a degree of latitude is 110,574.3 m and a degree of longitude 111,319.5 m.
    QVERIFY2(std::abs(southWest.latitude + 90437) <= 1, qPrintable(text(southWest)));
    QVERIFY2(std::abs(southWest.longitude - (1000000000 - 179663)) <= 1, qPrintable(text(southWest)));
}

void TestGeodesyFunctions::zeroOffsetKeepsThePosition_data()
{
    QTest::addColumn<Location>("location");
    for (const Location location :
         {at(0, 0), at(29.5, 106.25), at(-33.9470711, -113.9137801), at(10, 180), at(10, -180), at(0, 0.0000001)})
        QTest::newRow(qPrintable(text(location))) << location;
}

void TestGeodesyFunctions::zeroOffsetKeepsThePosition()
{
    QFETCH(Location, location);
    Location moved = location;
    location_offset(&moved, 0, -0.0f);
    QCOMPARE(moved.latitude, location.latitude);
    QVERIFY(std::remainder(double(moved.longitude) - double(location.longitude), 3600000000.0) == 0);
}

void TestGeodesyFunctions::offsetWrapsAtTheAntimeridian()
{
    // 1113.194908 m are 0.01 degrees on the equator.
    Location location = at(0, 179.995);
    location_offset(&location, 0, 1113.194908f);
    QCOMPARE(text(location), text(at(0, -179.995)));
    location_offset(&location, 0, -1113.194908f);
    QCOMPARE(text(location), text(at(0, 179.995)));
    // An input longitude beyond 180 degrees is normalized.
    Location beyond = at(0, 200);
    location_offset(&beyond, 0, 0);
    QCOMPARE(text(beyond), text(at(0, -160)));
}

void TestGeodesyFunctions::offsetCrossesThePole()
{
    Location location = at(89.9, 30);
    location_offset(&location, float(2 * (meridianArc(90) - meridianArc(89.9))), 0);
    QVERIFY2(std::abs(location.latitude - 899000000) <= 1, qPrintable(text(location)));
    QVERIFY2(std::abs(location.longitude + 1500000000) <= 100, qPrintable(text(location)));
}

void TestGeodesyFunctions::longitudeBeyond180DegreesWraps()
{
    QVERIFY(get_distance(at(10, 200), at(10, -160)) == 0.0f);
    QVERIFY(get_distance(at(0, 179.5), at(0, -179.5)) == float(kRadius * kRadians));
    QCOMPARE(get_bearing_cd(at(0, 179.5), at(0, -179.5)), 9000);
    // The integer limits are -214.7483648 and 214.7483647 degrees. Their difference is 429.4967295 - 360 degrees.
    QVERIFY(get_distance({0, kMinInt}, {0, kMaxInt}) == float(kRadius * kRadians * 69.4967295));
}

void TestGeodesyFunctions::latitudeBeyondThePoleIsInvalid_data()
{
    QTest::addColumn<int>("latitude");
    QTest::newRow("a unit beyond the north pole") << 900000001;
    QTest::newRow("a unit beyond the south pole") << -900000001;
    QTest::newRow("100 degrees") << 1000000000;
    QTest::newRow("smallest integer") << kMinInt;
    QTest::newRow("largest integer") << kMaxInt;
}

void TestGeodesyFunctions::latitudeBeyondThePoleIsInvalid()
{
    QFETCH(int, latitude);
    const Location nowhere{latitude, 50000000};
    const Location place = at(30, 110);
    for (const auto &[from, to] : {std::pair(nowhere, place), std::pair(place, nowhere), std::pair(nowhere, nowhere)}) {
        QVERIFY(std::isnan(get_distance(from, to)));
        QCOMPARE(get_bearing_cd(from, to), 0);
        const Vector2 diff = location_diff(from, to);
        QVERIFY(std::isnan(diff.x));
        QVERIFY(std::isnan(diff.y));
    }
    Location moved = nowhere;
    location_offset(&moved, 1, 1);
    QCOMPARE(moved.latitude, kMinInt);
    QCOMPARE(moved.longitude, kMinInt);
}

void TestGeodesyFunctions::nonFiniteOffsetGivesAnInvalidPosition_data()
{
    QTest::addColumn<float>("north");
    QTest::addColumn<float>("east");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    QTest::newRow("north is NaN") << nan << 1.0f;
    QTest::newRow("east is NaN") << 1.0f << nan;
    QTest::newRow("north is infinite") << infinity << 0.0f;
    QTest::newRow("east is infinite") << 0.0f << -infinity;
    QTest::newRow("both") << nan << infinity;
}

void TestGeodesyFunctions::nonFiniteOffsetGivesAnInvalidPosition()
{
    QFETCH(float, north);
    QFETCH(float, east);
    Location location = at(30, 110);
    location_offset(&location, north, east);
    QCOMPARE(location.latitude, kMinInt);
    QCOMPARE(location.longitude, kMinInt);
}

void TestGeodesyFunctions::hugeOffsetStaysOnTheEarth()
{
    for (const float metres : {1e7f, 4e7f, 1e12f, 1e30f, std::numeric_limits<float>::max()}) {
        Location location = at(30, 110);
        location_offset(&location, metres, -metres);
        QVERIFY(std::abs(location.latitude) <= 900000000);
        QVERIFY(std::abs(location.longitude) <= 1800000000);
    }
}

void TestGeodesyFunctions::sumAndDifference()
{
    const Vector2 sum = Vector2Add({1.5f, -2.0f}, {0.25f, 8.0f});
    QVERIFY(sum.x == 1.75f && sum.y == 6.0f);
    const Vector2 difference = Vector2Sub({1.5f, -2.0f}, {0.25f, 8.0f});
    QVERIFY(difference.x == 1.25f && difference.y == -10.0f);
}

void TestGeodesyFunctions::productsFollowTheirFormulas_data()
{
    QTest::addColumn<Vector2>("a");
    QTest::addColumn<Vector2>("b");
    QTest::addColumn<float>("dot");
    QTest::addColumn<float>("cross");
    QTest::newRow("3 4 and 1 2") << Vector2{3, 4} << Vector2{1, 2} << 11.0f << 2.0f;
    QTest::newRow("changed about") << Vector2{1, 2} << Vector2{3, 4} << 11.0f << -2.0f;
    QTest::newRow("axes") << Vector2{1, 0} << Vector2{0, 1} << 0.0f << 1.0f;
    QTest::newRow("parallel") << Vector2{2, -6} << Vector2{-1, 3} << -20.0f << 0.0f;
    QTest::newRow("nothing") << Vector2{0, 0} << Vector2{5, 7} << 0.0f << 0.0f;
}

void TestGeodesyFunctions::productsFollowTheirFormulas()
{
    QFETCH(Vector2, a);
    QFETCH(Vector2, b);
    QFETCH(float, dot);
    QFETCH(float, cross);
    QVERIFY(Vector2MulDot(a, b) == dot);
    QVERIFY(Vector2MulCross(a, b) == cross);
}

void TestGeodesyFunctions::productsAreRoundedOnce()
{
    // (1 + u)^2 - 1 with u = 2^-12 is 2^-11 + 2^-24. Rounding the product to float first would lose the 2^-24.
    const float u = 0x1p-12f;
    QVERIFY(Vector2MulDot({1 + u, 1}, {1 + u, -1}) == 0x1p-11f + 0x1p-24f);
    QVERIFY(Vector2MulCross({1 + u, 1}, {1, 1 + u}) == 0x1p-11f + 0x1p-24f);
}

void TestGeodesyFunctions::angleIsInUnsignedDegrees_data()
{
    QTest::addColumn<Vector2>("a");
    QTest::addColumn<Vector2>("b");
    QTest::addColumn<float>("degrees");
    const float root3 = 1.7320508f;
    QTest::newRow("same direction") << Vector2{1, 2} << Vector2{3, 6} << 0.0f;
    QTest::newRow("right angle to the left") << Vector2{1, 0} << Vector2{0, 5} << 90.0f;
    QTest::newRow("right angle to the right") << Vector2{0, 5} << Vector2{1, 0} << 90.0f;
    QTest::newRow("45 degrees") << Vector2{2, 0} << Vector2{7, -7} << 45.0f;
    QTest::newRow("60 degrees") << Vector2{1, 0} << Vector2{1, root3} << 60.0f;
    QTest::newRow("150 degrees") << Vector2{1, 0} << Vector2{-root3, 1} << 150.0f;
    QTest::newRow("opposite") << Vector2{1, 2} << Vector2{-2, -4} << 180.0f;
    QTest::newRow("first without length") << Vector2{0, 0} << Vector2{1, 2} << 0.0f;
    QTest::newRow("second without length") << Vector2{-1, 0} << Vector2{0, -0.0f} << 0.0f;
    QTest::newRow("huge") << Vector2{3e38f, 0} << Vector2{3e38f, 3e38f} << 45.0f;
    QTest::newRow("tiny") << Vector2{1e-40f, 0} << Vector2{0, 1e-40f} << 90.0f;
}

void TestGeodesyFunctions::angleIsInUnsignedDegrees()
{
    QFETCH(Vector2, a);
    QFETCH(Vector2, b);
    QFETCH(float, degrees);
    const float angle = Vector2Angle(a, b);
    QVERIFY2(std::abs(angle - degrees) <= 1e-5f, qPrintable(QString::number(double(angle), 'g', 9)));
}

void TestGeodesyFunctions::angleAgreesWithTheDirectionsOfRandomVectors()
{
    std::mt19937 random(8);
    std::uniform_real_distribution<double> direction(-180.0, 180.0);
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    for (int i = 0; i < kPairs; ++i) {
        const double first = direction(random);
        const double second = direction(random);
        const auto vector = [&](double degrees) {
            const double length = std::pow(10.0, exponent(random));
            return Vector2{float(length * std::cos(degrees * kRadians)), float(length * std::sin(degrees * kRadians))};
        };
        const double expected = std::abs(std::remainder(second - first, 360.0));
        const auto angle = double(Vector2Angle(vector(first), vector(second)));
        if (!(angle >= 0 && angle <= 180) || std::abs(angle - expected) > 2e-5)
            QFAIL(qPrintable(QStringLiteral("%1 and %2: %3").arg(first).arg(second).arg(angle)));
    }
}

QTEST_GUILESS_MAIN(TestGeodesyFunctions)
#include "TestGeodesyFunctions.moc"
