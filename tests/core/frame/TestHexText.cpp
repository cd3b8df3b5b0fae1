#include "HexText.h"

#include <QByteArray>
#include <QTest>

#include <random>
#include <vector>

using ostravel::decodeHex;

namespace
{

template <typename Text>
QByteArray decodedAs(const Text &text)
{
    std::vector<std::uint8_t> bytes(std::size_t(text.size()) + 1, 0xA5);
    const qint64 length = decodeHex(text, bytes.data(), int(bytes.size()));
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(length));
}

/** Decodes the text from UTF-16 and from Latin-1 into a large enough buffer. The results must be equal. */
QByteArray decoded(const QString &text)
{
    const QByteArray latin1 = text.toLatin1();
    const QByteArray narrow = decodedAs(QLatin1String(latin1.constData(), latin1.size()));
    const QByteArray wide = decodedAs(text);
    return narrow == wide ? wide : "Latin-1 gives " + narrow.toHex() + " and UTF-16 " + wide.toHex();
}

QByteArray decodedByQt(const QString &text)
{
    return QByteArray::fromHex(text.toLatin1());
}

} // namespace

class TestHexText : public QObject
{
    Q_OBJECT

private slots:
    void readsDigits_data();
    void readsDigits();
    void agreesWithQtOnRandomText_data();
    void agreesWithQtOnRandomText();
    void agreesWithQtOnEveryCharacter();
    void fillsTheRestWithZeros();
    void writesNothingAfterTheBuffer_data();
    void writesNothingAfterTheBuffer();
    void countsBytesBeyondTheBuffer();
    void acceptsAnEmptyBuffer();
    void readsALineOf200MegabytesInPlace();
};

void TestHexText::readsDigits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("lower case") << QStringLiteral("aaec01ff") << QByteArray("\xAA\xEC\x01\xFF");
    QTest::newRow("upper case") << QStringLiteral("AAEC01FF") << QByteArray("\xAA\xEC\x01\xFF");
    QTest::newRow("mixed case") << QStringLiteral("aAEc01fF") << QByteArray("\xAA\xEC\x01\xFF");
    QTest::newRow("blanks between the pairs") << QStringLiteral("AA EC 01 FF") << QByteArray("\xAA\xEC\x01\xFF");
    QTest::newRow("blanks inside a pair") << QStringLiteral("A AE C01F F") << QByteArray("\xAA\xEC\x01\xFF");
    QTest::newRow("one digit") << QStringLiteral("7") << QByteArray("\x07");
    QTest::newRow("three digits pair from the end") << QStringLiteral("abc") << QByteArray("\x0A\xBC");
    QTest::newRow("three digits among others") << QStringLiteral("-a-b-c-") << QByteArray("\x0A\xBC");
    QTest::newRow("words") << QStringLiteral("hello world") << QByteArray("\xED");
    QTest::newRow("no digit at all") << QStringLiteral("xyz, !?") << QByteArray();
    QTest::newRow("prefix") << QStringLiteral("0xAA") << QByteArray("\x00\xAA", 2);
    QTest::newRow("digits of full width are no digits") << QStringLiteral("１２Ａ１") << QByteArray();
    // The low byte of U+0141 is 'A', so a truncated character would look like a digit.
    QTest::newRow("letters beyond Latin-1") << QStringLiteral("\u0141\u0131A1") << QByteArray("\xA1");
    QTest::newRow("neighbours of the digit ranges") << QStringLiteral("/:@G`g1") << QByteArray("\x01");
    QTest::newRow("null characters") << QString(QChar(0)) + QStringLiteral("1") + QChar(0) + QStringLiteral("2")
                                     << QByteArray("\x12");
}

void TestHexText::readsDigits()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, bytes);
    QCOMPARE(decoded(text), bytes);
    QCOMPARE(decodedByQt(text), bytes);
}

void TestHexText::agreesWithQtOnRandomText_data()
{
    QTest::addColumn<QString>("alphabet");
    QTest::newRow("digits alone") << QStringLiteral("0123456789abcdefABCDEF");
    QTest::newRow("digits and blanks") << QStringLiteral("0123456789abcdef   \t\r");
    QTest::newRow("one odd character among many digits") << QStringLiteral("0123456789abcdef0123456789ABCDEFg");
    QTest::newRow("mostly others") << QStringLiteral("01fg /:@`G\u0141\u0131\u00E9\u20AC\uFF11\U0001F600");
}

void TestHexText::agreesWithQtOnRandomText()
{
    QFETCH(QString, alphabet);
    std::mt19937 random(20231216);
    std::uniform_int_distribution<int> length(0, 200);
    std::uniform_int_distribution<int> letter(0, alphabet.size() - 1);
    for (int round = 0; round < 20000; ++round) {
        QString text;
        for (int i = length(random); i > 0; --i)
            text += alphabet[letter(random)];
        const QByteArray expected = decodedByQt(text);
        QVERIFY2(decoded(text) == expected, qPrintable(text));

        // The same text with a 40-byte buffer.
        std::uint8_t bytes[40];
        const qint64 whole = decodeHex(text, bytes, int(sizeof bytes));
        QCOMPARE(int(whole), expected.size());
        const QByteArray first = expected.left(int(sizeof bytes)).leftJustified(int(sizeof bytes), '\0');
        QVERIFY2(QByteArray(reinterpret_cast<const char *>(bytes), int(sizeof bytes)) == first, qPrintable(text));
    }
}

void TestHexText::agreesWithQtOnEveryCharacter()
{
    for (int code = 0; code <= 0xFFFF; ++code) {
        const QString text = QStringLiteral("1") + QChar(code) + QStringLiteral("2");
        QVERIFY2(decoded(text) == decodedByQt(text), qPrintable(QString::number(code, 16)));
    }
}

void TestHexText::fillsTheRestWithZeros()
{
    for (const char *text : {"", "AB", "A B", "xx", "A"}) {
        std::uint8_t bytes[8];
        std::fill(std::begin(bytes), std::end(bytes), std::uint8_t(0xA5));
        const qint64 length = decodeHex(QString::fromLatin1(text), bytes, 8);
        for (int i = int(length); i < 8; ++i)
            QCOMPARE(int(bytes[i]), 0);
    }
}

void TestHexText::writesNothingAfterTheBuffer_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("digits alone") << QString(40, QLatin1Char('1'));
    QTest::newRow("odd digits") << QString(41, QLatin1Char('1'));
    QTest::newRow("with blanks") << QStringLiteral("11 ").repeated(20);
    QTest::newRow("exactly as many") << QString(8, QLatin1Char('1'));
    QTest::newRow("one too many") << QString(9, QLatin1Char('1'));
}

void TestHexText::writesNothingAfterTheBuffer()
{
    QFETCH(QString, text);
    std::uint8_t bytes[8];
    std::fill(std::begin(bytes), std::end(bytes), std::uint8_t(0xA5));
    decodeHex(text, bytes, 4);
    for (int i = 4; i < 8; ++i)
        QCOMPARE(int(bytes[i]), 0xA5);
    QCOMPARE(int(bytes[3]), 0x11);
}

void TestHexText::countsBytesBeyondTheBuffer()
{
    std::uint8_t bytes[2];
    QCOMPARE(decodeHex(QStringLiteral("0102030405"), bytes, 2), qint64(5));
    QCOMPARE(decodeHex(QStringLiteral("01 02 03 04 05"), bytes, 2), qint64(5));
    // Nine digits are paired from the end: 1 02 03 04 05.
    QCOMPARE(decodeHex(QStringLiteral("102030405"), bytes, 2), qint64(5));
    QCOMPARE(int(bytes[0]), 0x01);
    QCOMPARE(int(bytes[1]), 0x02);
}

void TestHexText::acceptsAnEmptyBuffer()
{
    std::uint8_t untouched = 0xA5;
    QCOMPARE(decodeHex(QStringLiteral("010203"), &untouched, 0), qint64(3));
    QCOMPARE(int(untouched), 0xA5);
}

void TestHexText::readsALineOf200MegabytesInPlace()
{
    const QString text(200 * 1000 * 1000, QLatin1Char('7'));
    std::uint8_t bytes[78];
    QCOMPARE(decodeHex(text, bytes, int(sizeof bytes)), qint64(100) * 1000 * 1000);
    QCOMPARE(int(bytes[77]), 0x77);
}

QTEST_GUILESS_MAIN(TestHexText)
#include "TestHexText.moc"
