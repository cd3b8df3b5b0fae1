#include "XlsxStyles.h"

#include <QTest>
#include <QXmlStreamReader>

using QXlsx::Format;
using QXlsx::XlsxStyles;

namespace
{

const QByteArray kSpace = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

/** The children of the root: their names with the attribute count and how many children they really have. */
QStringList sections(const QByteArray &xml)
{
    QStringList result;
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    while (reader.readNextStartElement()) {
        const QString name = reader.name().toString();
        const QString stated = reader.attributes().value("count").toString();
        int count = 0;
        while (reader.readNextStartElement()) {
            ++count;
            reader.skipCurrentElement();
        }
        result.append(name + ' ' + stated + ' ' + QString::number(count));
    }
    return reader.hasError() ? QStringList{reader.errorString()} : result;
}

Format centred()
{
    Format format;
    format.setHorizontalAlignment(Format::AlignHCenter);
    return format;
}

} // namespace

class TestXlsxStyles : public QObject
{
    Q_OBJECT

private slots:
    void plainSheetIsKeptWhenNothingIsAdded();
    void equalFormatsShareANumber();
    void everyPartOfALookIsWritten();
    void prefixOfTheSheetIsUsed();
    void missingSectionsAreAddedInTheirOrder();
    void entryThatTheSheetHasIsUsed();
    void otherPartStaysAsItIs_data();
    void otherPartStaysAsItIs();
    void cancelledReadingGivesNoNumbers();
};

void TestXlsxStyles::plainSheetIsKeptWhenNothingIsAdded()
{
    XlsxStyles styles(XlsxStyles::plain());
    QVERIFY(styles.isValid());
    QCOMPARE(styles.index(Format()), 0);
    QCOMPARE(styles.xml(), XlsxStyles::plain());
}

void TestXlsxStyles::equalFormatsShareANumber()
{
    XlsxStyles styles(XlsxStyles::plain());
    Format large;
    large.setFontSize(20);
    QCOMPARE(styles.index(centred()), 1);
    QCOMPARE(styles.index(large), 2);
    QCOMPARE(styles.index(centred()), 1);
    QCOMPARE(styles.index(large), 2);
    QCOMPARE(
        sections(styles.xml()),
        QStringList({"fonts 2 2", "fills 2 2", "borders 1 1", "cellStyleXfs 1 1", "cellXfs 3 3", "cellStyles 1 1"}));
    // Added once more to the result, nothing is new.
    XlsxStyles again(styles.xml());
    QCOMPARE(again.index(large), 2);
    QCOMPARE(again.xml(), styles.xml());
}

void TestXlsxStyles::everyPartOfALookIsWritten()
{
    Format format = centred();
    format.setFontColor(Qt::black);
    format.setFontSize(12);
    format.setBorderStyle(Format::BorderThin);
    format.setPatternBackgroundColor(QXlsx::Color(0xC0C0C0));
    format.setFillPattern(Format::PatternSolid);
    XlsxStyles styles(XlsxStyles::plain());
    QCOMPARE(styles.index(format), 1);
    const QByteArray xml = styles.xml();
    for (const char *piece :
         {"<font><sz val=\"12\"/><color rgb=\"FF000000\"/>", "<fgColor rgb=\"FFC0C0C0\"/>", "<left style=\"thin\">",
          "<right style=\"thin\">", "<top style=\"thin\">", "<bottom style=\"thin\">",
          "fontId=\"1\" fillId=\"2\" borderId=\"1\"", "<alignment horizontal=\"center\"/>"})
        QVERIFY2(xml.contains(piece), piece);
}

void TestXlsxStyles::prefixOfTheSheetIsUsed()
{
    XlsxStyles styles("<x:styleSheet xmlns:x=\"" + kSpace
                      + "\"><x:cellXfs count=\"1\"><x:xf/></x:cellXfs></x:styleSheet>");
    QVERIFY(styles.isValid());
    QCOMPARE(styles.index(centred()), 1);
    const QByteArray xml = styles.xml();
    QVERIFY2(xml.contains("<x:alignment horizontal=\"center\"/></x:xf></x:cellXfs>"), xml.constData());
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement)
            QCOMPARE(reader.namespaceUri().toUtf8(), kSpace);
    }
    QVERIFY(!reader.hasError());
}

void TestXlsxStyles::missingSectionsAreAddedInTheirOrder()
{
    XlsxStyles styles("<styleSheet xmlns=\"" + kSpace + "\"><numFmts/><cellStyles/><extLst/></styleSheet>");
    Format format = centred();
    format.setFontSize(20);
    QVERIFY(styles.index(format) > 0);
    QStringList names;
    for (const QString &section : sections(styles.xml()))
        names.append(section.section(' ', 0, 0));
    // The order of the format's schema.
    QCOMPARE(names, QStringList({"numFmts", "fonts", "fills", "borders", "cellXfs", "cellStyles", "extLst"}));
}

void TestXlsxStyles::entryThatTheSheetHasIsUsed()
{
    const QByteArray entry = "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" "
                             "applyAlignment=\"1\"><alignment horizontal=\"center\"/></xf>";
    const QByteArray xml = "<styleSheet xmlns=\"" + kSpace
        + "\"><fonts count=\"1\"><font/></fonts><fills count=\"1\"><fill/></fills><borders count=\"1\"><border/>"
          "</borders><cellXfs count=\"3\"><xf/><xf/>"
        + entry + "</cellXfs></styleSheet>";
    XlsxStyles styles(xml);
    QCOMPARE(styles.index(centred()), 2);
    QCOMPARE(styles.xml(), xml);
}

void TestXlsxStyles::otherPartStaysAsItIs_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("another root") << QByteArray("<workbook/>");
    QTest::newRow("broken off") << XlsxStyles::plain().left(300);
    QTest::newRow("no XML") << QByteArray("styles");
}

void TestXlsxStyles::otherPartStaysAsItIs()
{
    QFETCH(QByteArray, xml);
    XlsxStyles styles(xml);
    QVERIFY(!styles.isValid());
    QCOMPARE(styles.index(centred()), -1);
    QCOMPARE(styles.xml(), xml);
}

void TestXlsxStyles::cancelledReadingGivesNoNumbers()
{
    XlsxStyles styles(XlsxStyles::plain(), [] { return true; });
    QVERIFY(!styles.isValid());
    QCOMPARE(styles.index(centred()), -1);
}

QTEST_GUILESS_MAIN(TestXlsxStyles)
#include "TestXlsxStyles.moc"
