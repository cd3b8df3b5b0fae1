#include "Geodesy.h"

#include <QTest>

#include <cmath>
#include <limits>

using namespace ostravel;

class TestGeodesy : public QObject
{
    Q_OBJECT

private slots:
    void longitudeScaleIsTheCosineRoundedOnceToFloat_data();
    void longitudeScaleIsTheCosineRoundedOnceToFloat();
    void longitudeScaleIsNeverBelowOneHundredth_data();
    void longitudeScaleIsNeverBelowOneHundredth();
    void longitudeScaleIgnoresTheLongitude();
    void truncatesTowardZero_data();
    void truncatesTowardZero();
    void outOfRangeValueBecomesTheMinimumInteger_data();
    void outOfRangeValueBecomesTheMinimumInteger();
};

void TestGeodesy::longitudeScaleIsTheCosineRoundedOnceToFloat_data()
{
    QTest::addColumn<int>("latitude");
    QTest::addColumn<double>("cosine");

    // Cosines from a table, not from std::cos, with more digits than a float has.
    QTest::newRow("equator") << 0 << 1.0;
    QTest::newRow("30 degrees north") << 300000000 << 0.86602540378443865;
    QTest::newRow("30 degrees south") << -300000000 << 0.86602540378443865;
    QTest::newRow("45 degrees") << 450000000 << 0.70710678118654752;
    QTest::newRow("60 degrees") << 600000000 << 0.5;
    QTest::newRow("75 degrees") << 750000000 << 0.25881904510252076;
    QTest::newRow("89 degrees") << 890000000 << 0.017452406437283512;
}

void TestGeodesy::longitudeScaleIsTheCosineRoundedOnceToFloat()
{
    QFETCH(int, latitude);
    QFETCH(double, cosine);
    const float expected = static_cast<float>(cosine);
    const float scale = longitude_scale({latitude, 1139137800});
    QVERIFY2(scale == expected,
             qPrintable(QString("%1 instead of %2").arg(double(scale), 0, 'g', 12).arg(double(expected), 0, 'g', 12)));
}

void TestGeodesy::longitudeScaleIsNeverBelowOneHundredth_data()
{
    QTest::addColumn<int>("latitude");
    QTest::newRow("north pole") << 900000000;
    QTest::newRow("south pole") << -900000000;
    QTest::newRow("89.5 degrees, where the cosine is 0.0087") << 895000000;
    QTest::newRow("180 degrees, where the cosine is -1") << 1800000000;
    QTest::newRow("smallest integer") << std::numeric_limits<int>::min();
    QTest::newRow("largest integer") << std::numeric_limits<int>::max();
}

void TestGeodesy::longitudeScaleIsNeverBelowOneHundredth()
{
    QFETCH(int, latitude);
    // cos(±214.7°) is -0.82.
    QVERIFY(longitude_scale({latitude, 0}) == 0.01f);
}

void TestGeodesy::longitudeScaleIgnoresTheLongitude()
{
    const float atGreenwich = longitude_scale({339470710, 0});
    QVERIFY(longitude_scale({339470710, 1139137800}) == atGreenwich);
    QVERIFY(longitude_scale({339470710, std::numeric_limits<int>::min()}) == atGreenwich);
}

void TestGeodesy::truncatesTowardZero_data()
{
    QTest::addColumn<double>("scaled");
    QTest::addColumn<int>("whole");
    QTest::newRow("zero") << 0.0 << 0;
    QTest::newRow("minus zero") << -0.0 << 0;
    QTest::newRow("fraction above") << 1.999 << 1;
    QTest::newRow("fraction below") << -1.999 << -1;
    QTest::newRow("below one") << -0.5 << 0;
    QTest::newRow("a latitude") << 339470710.9 << 339470710;
    QTest::newRow("largest") << 2147483647.0 << 2147483647;
    QTest::newRow("largest and a fraction") << 2147483647.75 << 2147483647;
    QTest::newRow("smallest") << -2147483648.0 << std::numeric_limits<int>::min();
    QTest::newRow("smallest and a fraction") << -2147483648.75 << std::numeric_limits<int>::min();
}

void TestGeodesy::truncatesTowardZero()
{
    QFETCH(double, scaled);
    QFETCH(int, whole);
    QCOMPARE(truncatedToLocationUnit(scaled), whole);
}

void TestGeodesy::outOfRangeValueBecomesTheMinimumInteger_data()
{
    QTest::addColumn<double>("scaled");
    QTest::newRow("one above the largest") << 2147483648.0;
    QTest::newRow("one below the smallest") << -2147483649.0;
    QTest::newRow("twice 180 degrees") << 3600000000.0;
    QTest::newRow("1e300") << 1e300;
    QTest::newRow("-1e300") << -1e300;
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity();
    QTest::newRow("minus infinity") << -std::numeric_limits<double>::infinity();
    QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN();
}

void TestGeodesy::outOfRangeValueBecomesTheMinimumInteger()
{
    QFETCH(double, scaled);
    QCOMPARE(truncatedToLocationUnit(scaled), std::numeric_limits<std::int32_t>::min());
}

QTEST_GUILESS_MAIN(TestGeodesy)
#include "TestGeodesy.moc"
