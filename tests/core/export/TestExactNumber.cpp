#include "ExactNumber.h"

#include "FrameRows.h"

#include <QTest>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <string>

using namespace ostravel;

namespace
{

std::string textOf(double value, double divisor)
{
    char text[kExactNumberRoom];
    return {text, putExact(text, value, divisor)};
}

bool readsBack(double value, double divisor)
{
    const std::string text = textOf(value, divisor);
    const double back = std::strtod(text.c_str(), nullptr); // a second method: the C library's own reader
    return std::memcmp(&back, &value, sizeof back) == 0;
}

/** Digits without zeros at both ends; what two notations of one number have in common. */
std::string digitsOf(std::string text)
{
    text = text.substr(0, text.find('e'));
    std::string digits;
    for (const char c : text) {
        if (c >= '0' && c <= '9')
            digits += c;
    }
    digits.erase(0, digits.find_first_not_of('0'));
    digits.erase(digits.find_last_not_of('0') + 1);
    return digits;
}

/** The fewest digits that there are, from the standard library. */
std::string fewestDigits(double value)
{
    char text[64];
    return digitsOf({text, std::to_chars(text, text + sizeof text, value).ptr});
}

std::set<double> divisors()
{
    std::set<double> all;
    for (const frame::Layout &layout : frame::kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row)
            all.insert(layout.rows[row].divisor);
    }
    return all;
}

} // namespace

class TestExactNumber : public QObject
{
    Q_OBJECT

private slots:
    void textIsTheShortestInPlainDecimals_data();
    void textIsTheShortestInPlainDecimals();
    void everySixteenBitFieldReadsBack();
    void randomFieldsOfFourBytesReadBack();
    void wholeNumbersOfUpToFifteenDigitsReadBack();
    void anyDoubleReadsBack();
    void textFitsItsRoom();
};

void TestExactNumber::textIsTheShortestInPlainDecimals_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("divisor");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](double value, double divisor, const char *text) {
        QTest::addRow("%s over %g", text, divisor) << value << divisor << QByteArray(text);
    };
    row(0, 1, "0");
    row(7, 1, "7");
    row(42, 1, "42");
    row(65535, 1, "65535");
    row(-100000, 1, "-100000");
    row(4294967295.0, 1, "4294967295");
    // At the sizes where the way of writing changes: eight digits, and fifteen.
    row(99999999, 1, "99999999");
    row(100000000, 1, "100000000");
    row(100000001, 1, "100000001");
    row(9999999900000000.0 / 100, 1, "99999999000000");
    row(999999999999999.0, 1, "999999999999999");
    row(9999999.9, 10, "9999999.9");
    row(10000000.1, 10, "10000000.1");
    row(-9.9999999, 1e7, "-9.9999999");
    row(10.0000001, 1e7, "10.0000001");
    row(9007199.2547409, 1e7, "9007199.2547409");
    row(12345678901.5, 10, "12345678901.5");
    row(0.1, 10, "0.1");
    row(-12.5, 10, "-12.5");
    row(3, 10, "3");
    row(0.05, 100, "0.05");
    row(0.5, 100, "0.5");
    row(-327.68, 100, "-327.68");
    row(90, 100, "90");
    row(0.001, 1000, "0.001");
    row(1.02, 1000, "1.02");
    row(113.91378, 1e7, "113.91378");
    row(0.0000001, 1e7, "0.0000001");
    row(-179.9999999, 1e7, "-179.9999999");
    row(120, 1e7, "120");
    // No whole number over the divisor: the digits of the value itself.
    row(0.1, 1, "0.1");
    row(1.23 - 4.56, 100, "-3.3299999999999996");
    row(-0.0, 100, "-0");
    row(1e300, 100, "1e+300");
    row(0.25, 7, "0.25");
    row(std::numeric_limits<double>::infinity(), 1, "inf");
    row(std::numeric_limits<double>::quiet_NaN(), 1, "nan");
}

void TestExactNumber::textIsTheShortestInPlainDecimals()
{
    QFETCH(double, value);
    QFETCH(double, divisor);
    QFETCH(QByteArray, text);
    QCOMPARE(QByteArray::fromStdString(textOf(value, divisor)), text);
}

void TestExactNumber::everySixteenBitFieldReadsBack()
{
    QCOMPARE(divisors(), (std::set<double>{1, 10, 100, 1000, 1e7}));
    for (const double divisor : divisors()) {
        for (int raw = std::numeric_limits<std::int16_t>::min(); raw <= std::numeric_limits<std::uint16_t>::max();
             ++raw) {
            const double value = raw / divisor;
            if (!readsBack(value, divisor) || digitsOf(textOf(value, divisor)) != fewestDigits(value))
                QFAIL(qPrintable(QString("%1 / %2").arg(raw).arg(divisor)));
        }
    }
}

void TestExactNumber::randomFieldsOfFourBytesReadBack()
{
    constexpr int kTimes = 50'000;
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same numbers every time
    for (const double divisor : divisors()) {
        for (int i = 0; i < kTimes; ++i) {
            const auto raw = static_cast<std::uint32_t>(random() >> (random() % 32));
            for (const double value : {static_cast<std::int32_t>(raw) / divisor, raw / divisor}) {
                if (!readsBack(value, divisor) || digitsOf(textOf(value, divisor)) != fewestDigits(value))
                    QFAIL(qPrintable(QString("%1 / %2").arg(raw).arg(divisor)));
            }
        }
    }
}

void TestExactNumber::wholeNumbersOfUpToFifteenDigitsReadBack()
{
    constexpr int kTimes = 50'000;
    std::mt19937_64 random(1); // NOLINT(cert-msc51-cpp): the same numbers every time
    for (const double divisor : divisors()) {
        for (int i = 0; i < kTimes; ++i) {
            const std::uint64_t raw = (random() >> random() % 64) % 1'000'000'000'000'000U;
            const double value = static_cast<double>(raw) / divisor;
            if (!readsBack(value, divisor) || digitsOf(textOf(value, divisor)) != fewestDigits(value))
                QFAIL(qPrintable(QString("%1 / %2").arg(raw).arg(divisor)));
        }
    }
}

void TestExactNumber::anyDoubleReadsBack()
{
    constexpr int kTimes = 50'000;
    std::mt19937_64 random(1); // NOLINT(cert-msc51-cpp): the same numbers every time
    for (int i = 0; i < kTimes; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value) && !readsBack(value, 100))
            QFAIL(qPrintable(QString::number(bits, 16)));
    }
}

void TestExactNumber::textFitsItsRoom()
{
    for (const double value :
         {-std::numeric_limits<double>::min(), -std::numeric_limits<double>::max(),
          -std::numeric_limits<double>::denorm_min(), -2.2250738585072014e-308, -999999999999999.0}) {
        for (const double divisor : {1.0, 1e7}) {
            char text[kExactNumberRoom + 8];
            std::memset(text, '#', sizeof text);
            QVERIFY(putExact(text, value, divisor) <= text + kExactNumberRoom);
            QCOMPARE(text[kExactNumberRoom], '#');
        }
    }
}

QTEST_GUILESS_MAIN(TestExactNumber)
#include "TestExactNumber.moc"
