#include "XlsxXmlGuard.h"

#include <QTest>

using QXlsx::XlsxXmlGuard;

namespace
{

QByteArray attributes(int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += " a" + QByteArray::number(i) + "='b=\">='";
    return result;
}

QByteArray utf16(const QByteArray &ascii, bool bigEndian, bool mark)
{
    QByteArray result;
    const auto append = [&](char low, char high) {
        result.append(bigEndian ? high : low);
        result.append(bigEndian ? low : high);
    };
    if (mark)
        append('\xff', '\xfe');
    for (const char one : ascii)
        append(one, '\0');
    return result;
}

} // namespace

class TestXlsxXmlGuard : public QObject
{
    Q_OBJECT

private slots:
    void acceptsPartsOfWorkbooks_data();
    void acceptsPartsOfWorkbooks();
    void stopsBeforeWhatNoWorkbookContains_data();
    void stopsBeforeWhatNoWorkbookContains();
};

void TestXlsxXmlGuard::acceptsPartsOfWorkbooks_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray most = "<a" + attributes(1000) + "/>";
    QTest::newRow("as many attributes as may be") << most;
    QTest::newRow("that in each of many elements") << "<r>" + most.repeated(5) + "</r>";
    QTest::newRow("signs in texts") << "<r>" + QByteArray("a=\"b\" = ' ").repeated(3000) + "</r>";
    QTest::newRow("signs in a value") << "<r a=\"" + QByteArray("=").repeated(3000) + "\"/>";
    QTest::newRow("signs in a comment") << "<r><!-- <a" + QByteArray("=- >").repeated(3000) + "--></r>";
    QTest::newRow("two dashes in a comment") << "<r><!-- -- <a" + QByteArray("=").repeated(3000) + "--></r>";
    QTest::newRow("two brackets in character data")
        << "<r><![CDATA[ ]] <a" + QByteArray("=").repeated(3000) + "]]></r>";
    QTest::newRow("comment that ends in three dashes") << "<r><!-- ' ---><a" + attributes(900) + "/></r>";
    QTest::newRow("signs in character data") << "<r><![CDATA[<a" + QByteArray("=]>").repeated(3000) + "]]></r>";
    QTest::newRow("encoding in an instruction")
        << QByteArray("<?xml version=\"1.0\"?><r><?a encoding=\"UTF-16\"?></r>");
    QTest::newRow("question mark in an instruction") << "<r><?a ? <a" + QByteArray("=").repeated(3000) + "?></r>";
    QTest::newRow("signs in an instruction") << "<?a " + QByteArray("=>").repeated(3000) + "?><r/>";
    for (const char *encoding : {"UTF-8", "utf-8", "US-ASCII", "ISO-8859-1", "windows-1252"})
        QTest::newRow(encoding) << "<?xml version=\"1.0\" encoding=\"" + QByteArray(encoding) + "\"?>" + most;
    QTest::newRow("with a byte order mark") << "\xef\xbb\xbf<?xml version='1.0' encoding = 'UTF-8' ?>" + most;
    const QByteArray wide = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + most;
    QTest::newRow("UTF-16, little endian") << utf16(wide, false, true);
    QTest::newRow("UTF-16, big endian") << utf16(wide, true, true);
    QTest::newRow("UTF-16, little endian, without a mark") << utf16(wide, false, false);
    QTest::newRow("UTF-16, big endian, without a mark") << utf16(wide, true, false);
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no XML") << QByteArray(5000, '=');
}

void TestXlsxXmlGuard::acceptsPartsOfWorkbooks()
{
    QFETCH(QByteArray, bytes);
    // The result does not depend on how the bytes are cut into pieces.
    for (const int piece : {bytes.size(), 4096, 7, 1}) {
        XlsxXmlGuard guard;
        int place = 0;
        // The first piece decides on the encoding; a reader asks for at least 4 bytes.
        for (int size = qMin(qMax(piece, 4), bytes.size()); place < bytes.size();
             place += size, size = qMin(piece, bytes.size() - place))
            QCOMPARE(guard.accept(bytes.constData() + place, std::size_t(size)), std::size_t(size));
        QCOMPARE(guard.refusal(), QString());
    }
}

void TestXlsxXmlGuard::stopsBeforeWhatNoWorkbookContains_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("before"); // the part ends before this
    QTest::addColumn<bool>("refuses");
    const QByteArray many = attributes(1001);
    const QByteArray last = "='b=\">=' end";
    const auto in = [&](const QByteArray &start) { return start + many + " end/></r>"; };
    QTest::newRow("an attribute too many") << in("<r><a") << last << true;
    QTest::newRow("behind a comment") << in("<r><!-- <b c='--><a") << last << true;
    QTest::newRow("behind an empty comment") << in("<r><!----><a") << last << true;
    QTest::newRow("behind character data") << in("<r><![CDATA[<b c=']]]><a") << last << true;
    QTest::newRow("behind an instruction") << in("<r><?b ='? ?><a") << last << true;
    QTest::newRow("behind a value with signs") << in("<r b='>\"' c=\"'>\"><a") << last << true;
    QTest::newRow("declared by prefixes") << QByteArray(in("<r><a")).replace(" a", " xmlns:a") << last << true;
    QTest::newRow("document type") << QByteArray("<?xml version='1.0'?><!DOCTYPE a []><a/>") << QByteArray("DOCTYPE")
                                   << false;
    const QByteArray wide = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><r><a" + many;
    QTest::newRow("UTF-16, little endian") << utf16(wide, false, true) << utf16("='b=\">='", false, false) << true;
    QTest::newRow("UTF-16, big endian") << utf16(wide, true, true) << utf16("='b=\">='", true, false) << true;
    // Encodings that write markup in other bytes, and encodings that do not fit the bytes.
    for (const char *encoding :
         {"UTF-16", "UTF-32", "UTF-7", "IBM037", "ISO-2022-JP", "Shift_JIS", "GBK", "GB2312", "GB18030", "Big5", ""})
        QTest::newRow(qPrintable(QStringLiteral("declares %1").arg(encoding)))
            << "<?xml version=\"1.0\" encoding=\"" + QByteArray(encoding) + ' ' + "\"?><r/>" << QByteArray("><r/>")
            << true;
    QTest::newRow("encoding without a value") << QByteArray("<?xml encoding?><r/>") << QByteArray("><r/>") << true;
    // The second byte of the character equals a bracket, so the row would look like part of a comment.
    QTest::newRow("GBK with a bracket in a character")
        << "<?xml version=\"1.0\" encoding=\"gbk\"?><r><a><![CDATA[\x81\x5D]><!--]]></a><row" + many + "/></r>"
        << QByteArray("><r><a>") << true;
    QTest::newRow("UTF-16 that declares UTF-8")
        << utf16("<?xml version='1.0' encoding='UTF-8'?><r/>", false, true) << utf16("><r/>", false, false) << true;
    for (const bool bigEndian : {false, true}) {
        const char *const order = bigEndian ? "big endian" : "little endian";
        QTest::newRow(qPrintable(QStringLiteral("UTF-16 without a mark that declares UTF-8, %1").arg(order)))
            << utf16("<?xml version='1.0' encoding='UTF-8'?><r/>", bigEndian, false) << utf16("><r/>", bigEndian, false)
            << true;
        QTest::newRow(qPrintable(QStringLiteral("UTF-16 without a mark behind a comment, %1").arg(order)))
            << utf16(in("<r><!-- <b c='--><a"), bigEndian, false) << utf16(last, bigEndian, false) << true;
    }
    QTest::newRow("UTF-32") << QByteArray("<\0\0\0r\0\0\0", 8) << QByteArray("<") << true;
    QTest::newRow("UTF-32 with a mark") << QByteArray("\xff\xfe\0\0<\0\0\0", 8) << QByteArray("\xff\xfe") << true;
    QTest::newRow("endless declaration") << "<?xml " + QByteArray(5000, ' ') + "?><r/>" << QByteArray("><r/>") << true;
}

void TestXlsxXmlGuard::stopsBeforeWhatNoWorkbookContains()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, before);
    QFETCH(bool, refuses);
    XlsxXmlGuard guard;
    const int place = bytes.lastIndexOf(before);
    QVERIFY(place >= 0);
    const auto accepted = int(guard.accept(bytes.constData(), std::size_t(bytes.size())));
    // In a wide encoding the first half of a character may pass.
    QVERIFY2(accepted == place || accepted == place + 1,
             qPrintable(QStringLiteral("%1 of %2").arg(accepted).arg(place)));
    QCOMPARE(guard.refusal().isEmpty(), !refuses);
    QCOMPARE(guard.accept("<a/>", 4), std::size_t(0));
}

QTEST_APPLESS_MAIN(TestXlsxXmlGuard)
#include "TestXlsxXmlGuard.moc"
