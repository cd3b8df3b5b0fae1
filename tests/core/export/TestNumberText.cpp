#include "NumberText.h"

#include <QByteArray>
#include <QTest>
#include <QTextStream>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using ostravel::appendNumber;

namespace
{

QByteArray text(double value)
{
    QByteArray result;
    appendNumber(result, value);
    return result;
}

/** Writes many numbers with one QTextStream. */
class Stream
{
public:
    Stream()
        : m_stream(&m_text)
    {
    }

    QByteArray operator()(double value)
    {
        m_stream << value;
        m_stream.flush();
        const QByteArray result = m_text;
        m_text.resize(0);
        m_stream.seek(0);
        return result;
    }

private:
    QByteArray m_text;
    QTextStream m_stream;
};

double fromBits(quint64 bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

class TestNumberText : public QObject
{
    Q_OBJECT

private slots:
    void writesSixSignificantDigits_data();
    void writesSixSignificantDigits();
    void appendsToExistingText();
    void agreesWithTheStreamOnRandomBits();
    void agreesWithTheStreamOnEveryExponent();
    void agreesWithTheStreamOnTies();
    void agreesWithTheStreamOnTelemetryValues();
    void agreesWithTheStreamAroundPowersOfTen();
};

void TestNumberText::writesSixSignificantDigits_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("expected");

    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();

    QTest::newRow("zero") << 0.0 << QByteArray("0");
    QTest::newRow("minus zero") << -0.0 << QByteArray("0");
    QTest::newRow("one") << 1.0 << QByteArray("1");
    QTest::newRow("minus one") << -1.0 << QByteArray("-1");
    QTest::newRow("a height") << 1234567.8 << QByteArray("1.23457e+06");
    QTest::newRow("a longitude") << 113.91378 << QByteArray("113.914");
    QTest::newRow("six digits stay plain") << 123456.0 << QByteArray("123456");
    QTest::newRow("largest plain") << 999999.0 << QByteArray("999999");
    QTest::newRow("a million") << 1000000.0 << QByteArray("1e+06");
    QTest::newRow("rounded up to a million") << 999999.5 << QByteArray("1e+06");
    QTest::newRow("just below that") << 999999.4999 << QByteArray("999999");
    QTest::newRow("exponent -4 stays plain") << 0.0001 << QByteArray("0.0001");
    QTest::newRow("exponent -5") << 0.00001 << QByteArray("1e-05");
    QTest::newRow("rounded up to exponent -4") << 0.00009999996 << QByteArray("0.0001");
    QTest::newRow("trailing zeros go") << 1.5000001 << QByteArray("1.5");
    QTest::newRow("zeros inside stay") << 100200.0 << QByteArray("100200");
    QTest::newRow("exponent of three digits") << 1e100 << QByteArray("1e+100");
    QTest::newRow("negative exponent of three digits") << -1.5e-200 << QByteArray("-1.5e-200");
    QTest::newRow("largest double") << std::numeric_limits<double>::max() << QByteArray("1.79769e+308");
    QTest::newRow("smallest normal double") << std::numeric_limits<double>::min() << QByteArray("2.22507e-308");
    QTest::newRow("smallest double") << std::numeric_limits<double>::denorm_min() << QByteArray("4.94066e-324");
    QTest::newRow("infinity") << infinity << QByteArray("inf");
    QTest::newRow("minus infinity") << -infinity << QByteArray("-inf");
    QTest::newRow("no number") << nan << QByteArray("nan");
    QTest::newRow("no number with a sign") << -nan << QByteArray("nan");

    // These are ties in the double itself, so no rounding of the source text decides them.
    QTest::newRow("tie above an even digit") << 123456.5 << QByteArray("123457");
    QTest::newRow("tie above an odd digit") << 123457.5 << QByteArray("123458");
    QTest::newRow("negative tie") << -123456.5 << QByteArray("-123457");
    QTest::newRow("tie in the tenths") << 12345.25 << QByteArray("12345.3");
    QTest::newRow("tie in the hundredths") << 1234.125 << QByteArray("1234.13");
    QTest::newRow("tie in a large number") << 1234565.0 << QByteArray("1.23457e+06");
    QTest::newRow("tie that carries over all digits") << 9999995.0 << QByteArray("1e+07");
    // Not a tie: the double next to 2.000005 lies a little below it.
    QTest::newRow("tie of the source text alone") << 2.000005 << QByteArray("2");
    QTest::newRow("half") << 0.5 << QByteArray("0.5");
}

void TestNumberText::writesSixSignificantDigits()
{
    QFETCH(double, value);
    QFETCH(QByteArray, expected);
    QCOMPARE(text(value), expected);
    Stream stream;
    QCOMPARE(stream(value), expected);
}

void TestNumberText::appendsToExistingText()
{
    QByteArray line("x\t");
    appendNumber(line, -0.25);
    line.append('\t');
    appendNumber(line, 7);
    QCOMPARE(line, QByteArray("x\t-0.25\t7"));
}

void TestNumberText::agreesWithTheStreamOnRandomBits()
{
    // Uniform random bits cover all exponents, denormals, infinities and NaN.
    std::mt19937_64 random(2302);
    Stream stream;
    for (int i = 0; i < 1000000; ++i) {
        const double value = fromBits(random());
        const QByteArray expected = stream(value);
        const QByteArray got = text(value);
        QVERIFY2(got == expected, qPrintable(QString::fromLatin1(got + " instead of " + expected)));
    }
}

void TestNumberText::agreesWithTheStreamOnEveryExponent()
{
    std::mt19937_64 random(51);
    Stream stream;
    for (quint64 exponent = 0; exponent < 2048; ++exponent) {
        for (int i = 0; i < 20; ++i) {
            const quint64 mantissa = i == 0 ? 0 : i == 1 ? 0xFFFFFFFFFFFFFULL : random() >> 12;
            for (const quint64 sign : {0ULL, 1ULL}) {
                const double value = fromBits(sign << 63 | exponent << 52 | mantissa);
                QCOMPARE(text(value), stream(value));
            }
        }
    }
}

void TestNumberText::agreesWithTheStreamOnTies()
{
    // m times 10 plus 5, over a power of two that keeps seven digits: exact in a double, and a tie at the seventh.
    std::mt19937 random(7);
    std::uniform_int_distribution<int> sixDigits(100000, 999999);
    Stream stream;
    for (int i = 0; i < 50000; ++i) {
        const double tie = sixDigits(random) * 10.0 + 5.0;
        for (const double value : {tie, -tie, tie * 10.0, tie * 100000.0})
            QCOMPARE(text(value), stream(value));
        const int whole = sixDigits(random);
        for (const double value : {whole + 0.5, whole / 10 + 0.25, whole / 100 + 0.125, whole / 1000 + 0.0625})
            QCOMPARE(text(value), stream(value));
        // The double closest to a decimal fraction with a 5 after six digits, and the doubles next to it.
        for (const double divisor : {1e2, 1e4, 1e6, 1e8, 1e10}) {
            const double near = tie / divisor;
            for (const double value : {near, std::nextafter(near, 0.0), std::nextafter(near, 1e9)})
                QCOMPARE(text(value), stream(value));
        }
    }
}

void TestNumberText::agreesWithTheStreamOnTelemetryValues()
{
    Stream stream;
    for (int raw = -32768; raw <= 32767; ++raw) {
        for (const double divisor : {1.0, 10.0, 100.0, 1000.0})
            QCOMPARE(text(raw / divisor), stream(raw / divisor));
    }
    std::mt19937 random(9);
    std::uniform_int_distribution<int> degrees(-1800000000, 1800000000);
    for (int i = 0; i < 100000; ++i) {
        const double value = degrees(random) / 10000000.0;
        QCOMPARE(text(value), stream(value));
    }
}

void TestNumberText::agreesWithTheStreamAroundPowersOfTen()
{
    Stream stream;
    for (int exponent = -320; exponent <= 308; ++exponent) {
        const double power = QByteArray("1e" + QByteArray::number(exponent)).toDouble();
        double below = power;
        double above = power;
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(text(below), stream(below));
            QCOMPARE(text(above), stream(above));
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, std::numeric_limits<double>::infinity());
        }
        QCOMPARE(text(power * 0.9999995), stream(power * 0.9999995));
        QCOMPARE(text(power * 0.9999994), stream(power * 0.9999994));
    }
}

QTEST_GUILESS_MAIN(TestNumberText)
#include "TestNumberText.moc"
