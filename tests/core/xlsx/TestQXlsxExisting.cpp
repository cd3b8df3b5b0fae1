#include "QXlsx.h"

#include "OrdinaryUser.h"
#include "WorkbookFiles.h"
#include "XlsxSheetWriter.h"
#include "XlsxStyles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

using QXlsx::Document;
using QXlsx::Format;

namespace
{

constexpr char kSheetPart[] = "xl/worksheets/sheet1.xml";

/** Attributes a0="", a1="" and so on. A reader accepts 1000 in an element. */
QByteArray emptyAttributes(int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += " a" + QByteArray::number(i) + "=\"\"";
    return result;
}

Format thin()
{
    Format format;
    format.setBorderStyle(Format::BorderThin);
    format.setHorizontalAlignment(Format::AlignHCenter);
    return format;
}

} // namespace

/** Existing workbooks, including those of other programs and damaged ones. */
class TestQXlsxExisting : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void valuesOfOtherProgramsAreRead();
    void saveWithoutWritesKeepsEveryPart();
    void unwrittenPartsKeepTheirBytes();
    void unwrittenCellsAreKept_data();
    void unwrittenCellsAreKept();
    void emptyFormatKeepsTheFormat();
    void dimensionGrows();
    void prefixOfTheSheetIsKept();
    void everyCellOfAPrefixedSheetHasRoom();
    void sheetWithALongPrefixIsUnchanged();
    void sharedFormulasSurviveTheirFirstCell();
    void overlongSharedFormulaIsReplacedByItsValues();
    void calcChainIsDroppedWithAReplacedFormula();
    void calcChainIsKeptWithoutAReplacedFormula();
    void orderOfThePartsDoesNotMatter_data();
    void orderOfThePartsDoesNotMatter();
    void firstPartKeepsItsName();
    void stylesDoNotGrowByRepeatedExports();
    void styleSheetThatCannotBeReadIsKept();
    void sheetIsAddedAfterTheOthers();
    void sheetWithoutCellsIsNotSelected();
    void secondSheetOfTheSamePartIsNotSelected();
    void thousandSheetsAreWritten();
    void otherFileIsReplaced_data();
    void otherFileIsReplaced();
    void everyTruncationIsSurvived();
    void zipBombIsReplaced();
    void highlyCompressedWorkbookIsAccepted();
    void damagedSheetKeepsWhatCanBeRead_data();
    void damagedSheetKeepsWhatCanBeRead();
    void oversizedTextCountsAsDamage();
    void hugeSheetsTakeLittleMemory();
    void damagedUnwrittenPartStopsTheSave();
    void identifiersOfSheetsStayInTheirRange_data();
    void identifiersOfSheetsStayInTheirRange();
    void relationThatOnlyTheWorkbookKnowsIsNotTaken();
    void contentOfNoWorkbookIsRefusedQuickly_data();
    void contentOfNoWorkbookIsRefusedQuickly();
    void selectedSheetStaysWhenItsWorkbookIsReplaced();
    void lastSheetIsSelectedWhenTheSelectedOneIsLost();
    void addedSheetTakesNoPartOfASheetThatIsMissing();
    void mostAttributesAndSheetsAreAccepted();
    void cancelledSaveLeavesTheOldFileOrAWholeOne();
    void largeListsAreCancelled_data();
    void largeListsAreCancelled();

private:
    QString path() const { return m_dir->filePath(QStringLiteral("book.xlsx")); }
    QByteArray sheet() const { return readParts(path()).value(kSheetPart); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestQXlsxExisting::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestQXlsxExisting::cleanup()
{
    m_dir.reset();
}

void TestQXlsxExisting::valuesOfOtherProgramsAreRead()
{
    QVERIFY(writeParts(path(),
                       foreignWorkbook(sheetXml(
                           "<row r=\"2\"><c r=\"B2\" t=\"s\"><v>0</v></c><c t=\"s\"><v>1</v></c>"
                           "<c t=\"s\"><v>2</v></c><c t=\"b\"><v>1</v></c></row>"
                           "<row><c><v> 1E2 </v></c><c r=\"D3\" s=\"1\"><v>45000</v></c></row>"
                           "<row><c><f>1+1</f><v>2</v></c><c t=\"str\"><f>A1</f><v>t</v></c><c><f>NOW()</f></c>"
                           "<c t=\"e\"><v>#REF!</v></c><c t=\"e\"><f>1/0</f><v>#DIV/0!</v></c>"
                           "<c t=\"e\"><v>#NUM!</v></c><c t=\"inlineStr\"><is><r><t>a</t></r><r><t>b</t></r></is></c>"
                           "<c><v>no number</v></c></row>"))));
    Document document(path());
    QCOMPARE(document.sheetNames(), QStringList({"Plan & Ist", "Other"}));
    QVERIFY(!document.read(2, 1).isValid());
    QCOMPARE(document.read(2, 2), QVariant(QStringLiteral("plain")));
    QCOMPARE(document.read(2, 3), QVariant(QStringLiteral("two runs\r")));
    QCOMPARE(document.read(2, 4), QVariant(QString())); // a text that the file does not have
    QCOMPARE(document.read(2, 5), QVariant(true));
    QCOMPARE(document.read(3, 1), QVariant(100.0));
    QCOMPARE(document.read(3, 4), QVariant(45000.0));
    QCOMPARE(document.read(4, 1), QVariant(2.0));
    QCOMPARE(document.read(4, 2), QVariant(QStringLiteral("t")));
    QCOMPARE(document.read(4, 3), QVariant(QStringLiteral("=NOW()")));
    QCOMPARE(document.read(4, 4), QVariant(QStringLiteral("#REF!")));
    QVERIFY(std::isinf(document.read(4, 5).toDouble()));
    QVERIFY(std::isnan(document.read(4, 6).toDouble()));
    QCOMPARE(document.read(4, 7), QVariant(QStringLiteral("ab")));
    QCOMPARE(document.read(4, 8), QVariant(QStringLiteral("no number")));
    QVERIFY(document.selectSheet(QStringLiteral("other")));
    QCOMPARE(document.read(1, 1), QVariant(5.0));
    QCOMPARE(document.takeWarnings(), QStringList());
}

void TestQXlsxExisting::saveWithoutWritesKeepsEveryPart()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row><c><v>1</v></c></row>"))));
    const auto before = readParts(path());
    Document document(path());
    QVERIFY(document.saveAs(path()));
    QCOMPARE(readParts(path()), before);
}

void TestQXlsxExisting::unwrittenPartsKeepTheirBytes()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row><c><v>1</v></c></row>"))));
    auto before = readParts(path());
    {
        // Closed before the next save: Windows does not replace an open file.
        Document document(path());
        QVERIFY(document.write(1, 1, 2.0));
        QVERIFY(document.saveAs(path()));
    }
    auto after = readParts(path());
    QVERIFY(before.take(kSheetPart) != after.take(kSheetPart));
    QCOMPARE(after, before);

    Document formatted(path());
    QVERIFY(formatted.write(1, 1, 3.0, thin()));
    formatted.addSheet(QStringLiteral("added"));
    QVERIFY(formatted.saveAs(path()));
    after = readParts(path());
    for (const char *part : {"xl/worksheets/sheet7.xml", "xl/calcChain.xml", "xl/sharedStrings.xml", "_rels/.rels",
                             "xl/media/picture.png"})
        QCOMPARE(after.value(part), before.value(part));
    QCOMPARE(after.size(), before.size() + 2); // the sheet that was taken out above and the one added
}

void TestQXlsxExisting::unwrittenCellsAreKept_data()
{
    QTest::addColumn<QByteArray>("rows");
    QTest::addColumn<QByteArray>("expected"); // with 9 written to B2
    const QByteArray b2("<c r=\"B2\"><v>9</v></c>");
    QTest::newRow("no rows") << QByteArray() << "<row r=\"2\">" + b2 + "</row>";
    QTest::newRow("rows around") << QByteArray("<row r=\"1\" ht=\"30\"/><row r=\"5\"><c r=\"A5\"><v>1</v></c></row>")
                                 << "<row r=\"1\" ht=\"30\"/><row r=\"2\">" + b2
            + "</row><row r=\"5\"><c r=\"A5\"><v>1</v></c></row>";
    QTest::newRow("cells around") << QByteArray(
        "<row r=\"2\" spans=\"1:1\" s=\"2\" customFormat=\"1\"><c r=\"A2\" s=\"2\" t=\"s\"><v>0</v></c>"
        "<c r=\"C2\"><f>A1&lt;2</f><v>1</v></c></row>")
                                  << "<row r=\"2\" s=\"2\" customFormat=\"1\"><c r=\"A2\" s=\"2\" t=\"s\"><v>0</v></c>"
            + b2 + "<c r=\"C2\"><f>A1&lt;2</f><v>1</v></c></row>";
    QTest::newRow("cells without names") << QByteArray(
        "<row/><row><c><v>1</v></c><c t=\"b\"><v>1</v></c><c><v>3</v></c></row><row><c/></row>")
                                         << "<row r=\"1\"/><row r=\"2\"><c r=\"A2\"><v>1</v></c>" + b2
            + "<c r=\"C2\"><v>3</v></c></row><row r=\"3\"><c r=\"A3\"/></row>";
    QTest::newRow("cells out of order") << QByteArray("<row r=\"2\"><c r=\"C2\"><v>3</v></c><c r=\"B2\"><v>2</v></c>"
                                                      "<c r=\"A2\"><v>1</v></c></row>")
                                        << "<row r=\"2\">" + b2
            + "<c r=\"C2\"><v>3</v></c><c r=\"A2\"><v>1</v></c></row>";
    QTest::newRow("rows out of order") << QByteArray("<row r=\"3\"/><row r=\"2\"><c r=\"B2\"><v>2</v></c></row>")
                                       << "<row r=\"2\">" + b2 + "</row><row r=\"3\"/><row r=\"2\"/>";
    QTest::newRow("a row twice") << QByteArray(
        "<row r=\"2\"><c r=\"A2\"><v>1</v></c></row><row r=\"2\"><c r=\"B2\"><v>2</v></c></row>")
                                 << "<row r=\"2\"><c r=\"A2\"><v>1</v></c>" + b2 + "</row><row r=\"2\"/>";
    QTest::newRow("a comment and raw text")
        << QByteArray("<!-- a - b --><row r=\"2\"><c r=\"A2\" t=\"str\"><v><![CDATA[<&]]></v></c></row>")
        << "<!-- a - b --><row r=\"2\"><c r=\"A2\" t=\"str\"><v>&lt;&amp;</v></c>" + b2 + "</row>";
}

void TestQXlsxExisting::unwrittenCellsAreKept()
{
    QFETCH(QByteArray, rows);
    QFETCH(QByteArray, expected);
    const QByteArray before("<sheetPr><tabColor rgb=\"FFFF0000\"/></sheetPr>"
                            "<cols><col min=\"1\" max=\"2\" width=\"25.5\" customWidth=\"1\"/></cols>");
    const QByteArray after("<autoFilter ref=\"A1:C3\"/><mergeCells count=\"1\"><mergeCell ref=\"A5:B6\"/></mergeCells>"
                           "<dataValidations count=\"1\"><dataValidation sqref=\"A1\"><formula1>\"a,b\"</formula1>"
                           "</dataValidation></dataValidations>");
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml(rows, before, after))));
    Document document(path());
    QVERIFY(document.write(2, 2, 9.0));
    QVERIFY(document.saveAs(path()));
    QCOMPARE(sheet(),
             "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n" + sheetXml(expected, before, after));
}

void TestQXlsxExisting::emptyFormatKeepsTheFormat()
{
    QVERIFY(writeParts(path(),
                       foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"A1\" s=\"1\"><v>1</v></c>"
                                                "<c r=\"B1\" s=\"2\"><v>2</v></c><c r=\"C1\" s=\"2\"/></row>"))));
    Document document(path());
    document.write(1, 1, 5.0);
    document.write(1, 2, "t", thin());
    document.write(1, 3, QVariant());
    QVERIFY(document.saveAs(path()));
    QVERIFY2(sheet().contains("<row r=\"1\"><c r=\"A1\" s=\"1\"><v>5</v></c>"
                              "<c r=\"B1\" s=\"3\" t=\"inlineStr\"><is><t>t</t></is></c><c r=\"C1\" s=\"2\"/></row>"),
             sheet().constData());
}

void TestQXlsxExisting::dimensionGrows()
{
    QVERIFY(
        writeParts(path(), foreignWorkbook(sheetXml("<row r=\"3\"><c r=\"B3\"/></row>", "<dimension ref=\"B3\"/>"))));
    Document document(path());
    document.write(7, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    QVERIFY2(sheet().contains("<dimension ref=\"A3:B7\"/>"), sheet().constData());
}

void TestQXlsxExisting::prefixOfTheSheetIsKept()
{
    QVERIFY(
        writeParts(path(),
                   foreignWorkbook("<x:worksheet xmlns:x=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
                                   "<x:sheetData><x:row r=\"1\"><x:c r=\"A1\"><x:v>1</x:v></x:c></x:row></x:sheetData>"
                                   "</x:worksheet>")));
    Document document(path());
    document.write(1, 2, 5.0);
    document.write(2, 1, "t");
    QVERIFY(document.saveAs(path()));
    QVERIFY2(sheet().contains("<x:row r=\"1\"><x:c r=\"A1\"><x:v>1</x:v></x:c><x:c r=\"B1\"><x:v>5</x:v></x:c></x:row>"
                              "<x:row r=\"2\"><x:c r=\"A2\" t=\"inlineStr\"><x:is><x:t>t</x:t></x:is></x:c></x:row>"),
             sheet().constData());
    QCOMPARE(Document(path()).read(1, 1), QVariant(1.0));
}

/** Several blocks of output, of cells with the longest names. */
void TestQXlsxExisting::everyCellOfAPrefixedSheetHasRoom()
{
    const QByteArray prefix(QXlsx::XlsxCellWriter::kMaxPrefix - 1, 'p');
    QVERIFY(writeParts(path(),
                       foreignWorkbook('<' + prefix + ":worksheet xmlns:" + prefix
                                       + "=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><" + prefix
                                       + ":sheetData></" + prefix + ":sheetData></" + prefix + ":worksheet>")));
    constexpr int kRows = 1000;
    constexpr double kLong = -1.2345678901234567e-300;
    Document document(path());
    for (int row = 1; row <= kRows; ++row)
        for (int column = Document::kLastColumn - 2; column <= Document::kLastColumn; ++column)
            document.write(row, column, kLong, thin());
    QVERIFY(document.saveAs(path()));
    QCOMPARE(sheet().count('<' + prefix + ":c "), 3 * kRows);
    QCOMPARE(sheet().count("</" + prefix + ":v></" + prefix + ":c>"), 3 * kRows);
    QCOMPARE(Document(path()).read(kRows, Document::kLastColumn), QVariant(kLong));
}

void TestQXlsxExisting::sheetWithALongPrefixIsUnchanged()
{
    const QByteArray prefix(QXlsx::XlsxCellWriter::kMaxPrefix, 'p');
    QVERIFY(writeParts(path(),
                       foreignWorkbook('<' + prefix + ":worksheet xmlns:" + prefix
                                       + "=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><" + prefix
                                       + ":sheetData/></" + prefix + ":worksheet>")));
    const QByteArray before = fileContent(path());
    Document document(path());
    for (int row = 1; row <= 3000; ++row)
        document.write(row, 1, double(row));
    QVERIFY(!document.saveAs(path()));
    const QStringList warnings = document.takeWarnings();
    QVERIFY2(warnings.value(0).startsWith("sheet Plan & Ist of "), qPrintable(warnings.join('\n')));
    QCOMPARE(fileContent(path()), before);
}

void TestQXlsxExisting::sharedFormulasSurviveTheirFirstCell()
{
    QVERIFY(writeParts(
        path(),
        foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"B1\"><f t=\"shared\" ref=\"B1:B3\" si=\"0\">A1*$C$1</f>"
                                 "<v>1</v></c></row><row r=\"2\"><c r=\"B2\"><f t=\"shared\" si=\"0\"/><v>2</v></c>"
                                 "<c r=\"C2\"><f t=\"shared\" si=\"1\"/><v>2</v></c></row>"))));
    Document document(path());
    document.write(1, 2, 5.0);
    QVERIFY(document.saveAs(path()));
    QVERIFY2(sheet().contains("<c r=\"B1\"><v>5</v></c></row><row r=\"2\"><c r=\"B2\"><f>A2*$C$1</f><v>2</v></c>"
                              "<c r=\"C2\"><f t=\"shared\" si=\"1\"/><v>2</v></c>"),
             sheet().constData());
}

void TestQXlsxExisting::overlongSharedFormulaIsReplacedByItsValues()
{
    // The format's limit is 8,192 characters: "A1+" 2,730 times, and "A1" or "A10" behind them.
    const QByteArray sum = QByteArray("A1+").repeated(2730);
    for (const auto &[last, kept] : {std::pair<QByteArray, bool>{"A1", true}, {"A10", false}}) {
        QVERIFY(writeParts(path(),
                           foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"B1\"><f t=\"shared\" si=\"0\">" + sum + last
                                                    + "</f><v>1</v></c></row><row r=\"2\"><c r=\"B2\">"
                                                      "<f t=\"shared\" si=\"0\"/><v>2</v></c></row>"))));
        Document document(path());
        document.write(1, 2, 5.0);
        QVERIFY(document.saveAs(path()));
        QCOMPARE(sheet().contains("<c r=\"B2\"><f>A2+A2+"), kept);
        QCOMPARE(sheet().contains("<c r=\"B2\"><v>2</v></c>"), !kept);
    }
}

void TestQXlsxExisting::calcChainIsDroppedWithAReplacedFormula()
{
    // Programs that find a cell without a formula in that list offer to repair the file.
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"B1\"><f>A1</f><v>1</v></c></row>"))));
    Document document(path());
    document.write(1, 2, 5.0);
    QVERIFY(document.saveAs(path()));
    const auto parts = readParts(path());
    QVERIFY(!parts.contains("xl/calcChain.xml"));
    QVERIFY(!parts.value("[Content_Types].xml").contains("calcChain"));
    QVERIFY(!parts.value("xl/_rels/workbook.xml.rels").contains("calcChain"));
    QVERIFY(parts.value("xl/_rels/workbook.xml.rels").contains("sharedStrings"));
    QCOMPARE(Document(path()).sheetNames(), QStringList({"Plan & Ist", "Other"}));
}

void TestQXlsxExisting::calcChainIsKeptWithoutAReplacedFormula()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"B1\"><f>A1</f><v>1</v></c></row>"))));
    Document document(path());
    document.write(1, 1, 5.0);
    document.addSheet(QStringLiteral("added"));
    QVERIFY(document.saveAs(path()));
    QVERIFY(readParts(path()).contains("xl/calcChain.xml"));
    QVERIFY(readParts(path()).value("[Content_Types].xml").contains("calcChain"));
    QCOMPARE(Document(path()).sheetNames(), QStringList({"Plan & Ist", "Other", "added"}));
}

void TestQXlsxExisting::orderOfThePartsDoesNotMatter_data()
{
    QTest::addColumn<QByteArray>("first");
    for (const char *part : {"xl/calcChain.xml", "xl/styles.xml", "xl/workbook.xml", "xl/_rels/workbook.xml.rels",
                             "xl/worksheets/sheet1.xml", "xl/sharedStrings.xml"})
        QTest::newRow(part) << QByteArray(part);
}

void TestQXlsxExisting::orderOfThePartsDoesNotMatter()
{
    QFETCH(QByteArray, first);
    const auto saved = [this](const Parts &parts) {
        if (!writeParts(path(), parts))
            return false;
        Document document(path());
        document.write(1, 1, 5.0, thin());
        document.addSheet(QStringLiteral("added"));
        document.write(1, 1, 6.0);
        return document.saveAs(path());
    };
    Parts parts = foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"B1\"><f>A1</f><v>1</v></c></row>"));
    QVERIFY(saved(parts));
    const auto expected = readParts(path());
    // Each part is packed by itself, so another size would mean that one is there twice.
    const qint64 size = QFileInfo(path()).size();

    const auto place = std::find_if(parts.begin(), parts.end(), [&](const auto &part) { return part.first == first; });
    QVERIFY(place != parts.end());
    std::rotate(parts.begin(), place, place + 1);
    QVERIFY(saved(parts));
    QCOMPARE(readParts(path()), expected);
    QCOMPARE(QFileInfo(path()).size(), size);
}

void TestQXlsxExisting::firstPartKeepsItsName()
{
    // The lists refer to parts without regard to upper and lower case.
    Parts parts = foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"A1\"><v>1</v></c></row>"));
    const auto place
        = std::find_if(parts.begin(), parts.end(), [](const auto &part) { return part.first == kSheetPart; });
    place->first = "xl/worksheets/SHEET1.xml";
    std::rotate(parts.begin(), place, place + 1);
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    document.write(1, 2, 5.0);
    QVERIFY(document.saveAs(path()));
    QVERIFY(readParts(path()).value("xl/worksheets/SHEET1.xml").contains("<c r=\"B1\"><v>5</v></c>"));
    QVERIFY(!readParts(path()).contains(kSheetPart));
}

void TestQXlsxExisting::stylesDoNotGrowByRepeatedExports()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml({}))));
    QByteArray styles;
    for (int run = 0; run < 3; ++run) {
        Document document(path());
        document.write(1, 1, 5.0, thin());
        QVERIFY(document.saveAs(path()));
        const QByteArray now = readParts(path()).value("xl/styles.xml");
        if (run > 0)
            QCOMPARE(now, styles);
        styles = now;
    }
    // Missing sections are added in the order of the schema, and begin with the entry of cells without a format.
    QVERIFY2(styles.contains("<fonts count=\"1\"><font><sz val=\"10\"/><name val=\"Arial\"/></font></fonts>"
                             "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
                             "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
                             "<borders count=\"2\"><border/><border><left style=\"thin\">"),
             styles.constData());
    QVERIFY2(styles.contains("<cellXfs count=\"4\"><xf/>"), styles.constData());
}

void TestQXlsxExisting::styleSheetThatCannotBeReadIsKept()
{
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &part : parts)
        if (part.first == "xl/styles.xml")
            part.second = "<styleSheet><fonts>";
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    document.write(1, 1, 5.0, thin());
    QVERIFY(document.saveAs(path()));
    QCOMPARE(readParts(path()).value("xl/styles.xml"), QByteArray("<styleSheet><fonts>"));
    QVERIFY(sheet().contains("<c r=\"A1\"><v>5</v></c>"));
    QCOMPARE(document.takeWarnings(),
             QStringList(QStringLiteral("the style sheet of %1 cannot be read: new cells get no format").arg(path())));
}

void TestQXlsxExisting::sheetIsAddedAfterTheOthers()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml({}))));
    Document document(path());
    QVERIFY(!document.addSheet(QStringLiteral("OTHER")));
    QVERIFY(document.addSheet(QStringLiteral("a<b")));
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    const auto parts = readParts(path());
    // The next free ones: part 2, since 1 and 7 are taken; identifier 10 after 9; relation 6 after 5.
    QVERIFY(parts.contains("xl/worksheets/sheet2.xml"));
    QVERIFY2(parts.value("xl/workbook.xml")
                 .contains("<x:sheet xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" "
                           "name=\"a&lt;b\" sheetId=\"10\" r:id=\"rId6\"/></x:sheets>"),
             parts.value("xl/workbook.xml").constData());
    Document loaded(path());
    QCOMPARE(loaded.sheetNames(), QStringList({"Plan & Ist", "Other", "a<b"}));
    QVERIFY(loaded.selectSheet(QStringLiteral("a<b")));
    QCOMPARE(loaded.read(1, 1), QVariant(5.0));
}

void TestQXlsxExisting::sheetWithoutCellsIsNotSelected()
{
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &part : parts)
        if (part.first == "xl/_rels/workbook.xml.rels")
            part.second.replace("/worksheet\" Target=\"worksheets/sheet7.xml",
                                "/chartsheet\" Target=\"worksheets/sheet7.xml");
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    QVERIFY(!document.selectSheet(QStringLiteral("Other")));
    QVERIFY(!document.addSheet(QStringLiteral("Other")));
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    QCOMPARE(readParts(path()).value("xl/worksheets/sheet7.xml"), parts.at(5).second);
    QVERIFY(sheet().contains("<v>5</v>"));
}

void TestQXlsxExisting::secondSheetOfTheSamePartIsNotSelected()
{
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &part : parts)
        if (part.first == "xl/_rels/workbook.xml.rels")
            part.second.replace("worksheets/sheet7.xml", "/xl/worksheets/Sheet1.xml");
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    QVERIFY(!document.selectSheet(QStringLiteral("Other")));
    QVERIFY(document.selectSheet(QStringLiteral("Plan & Ist")));
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    QVERIFY(sheet().contains("<v>5</v>"));
}

void TestQXlsxExisting::thousandSheetsAreWritten()
{
    {
        Document document;
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(document.addSheet(QStringLiteral("sheet number %1").arg(i)));
            document.write(1, 1, double(i));
        }
        QVERIFY(document.saveAs(path()));
    }
    Document document(path());
    QCOMPARE(document.sheetNames().size(), 1000);
    QVERIFY(document.selectSheet(QStringLiteral("sheet number 567")));
    QCOMPARE(document.read(1, 1), QVariant(567.0));
    document.write(1, 1, 0.5);
    QVERIFY(document.saveAs(path()));
    Document again(path());
    QCOMPARE(again.sheetNames(), document.sheetNames());
    QVERIFY(again.selectSheet(QStringLiteral("sheet number 999")));
    QCOMPARE(again.read(1, 1), QVariant(999.0));
}

void TestQXlsxExisting::otherFileIsReplaced_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Parts>("parts");
    QTest::newRow("empty") << QByteArray("") << Parts();
    QTest::newRow("garbage") << QByteArray("PK\3\4 this only begins like an archive").repeated(100) << Parts();
    QTest::newRow("the end of an archive alone") << QByteArray("PK\5\6").append(QByteArray(18, '\xff')) << Parts();
    QTest::newRow("older format") << QByteArray("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1") + QByteArray(4096, '\0') << Parts();
    QTest::newRow("archive of something else") << QByteArray() << Parts{{"a.txt", "a"}};
    const Parts whole = foreignWorkbook(sheetXml({}));
    for (int i = 0; i < 4; ++i) {
        Parts without = whole;
        without.remove(i);
        QTest::addRow("without %s", whole.at(i).first.constData()) << QByteArray() << without;
        Parts broken = whole;
        broken[i].second = "<a><b></a>";
        if (i > 0)
            QTest::addRow("broken %s", whole.at(i).first.constData()) << QByteArray() << broken;
    }
    Parts declared = whole;
    declared[2].second.prepend("<!DOCTYPE a [<!ENTITY b \"b\">]>");
    declared[2].second.replace("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", "");
    QTest::newRow("with a document type") << QByteArray() << declared;
    Parts deep = whole;
    deep[2].second = QByteArray("<workbook>") + QByteArray("<a>").repeated(1000000);
    QTest::newRow("nested a million deep") << QByteArray() << deep;
}

void TestQXlsxExisting::otherFileIsReplaced()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Parts, parts);
    QVERIFY(parts.isEmpty() ? writeFile(path(), bytes) : writeParts(path(), parts));
    Document document(path());
    QCOMPARE(document.sheetNames(), QStringList());
    const QStringList warnings = document.takeWarnings();
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings.first().startsWith(QStringLiteral("%1 is no workbook").arg(path())),
             qPrintable(warnings.first()));
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    Document loaded(path());
    QCOMPARE(loaded.sheetNames(), QStringList("Sheet1"));
    QCOMPARE(loaded.read(1, 1), QVariant(5.0));
    QCOMPARE(document.takeWarnings() + loaded.takeWarnings(), QStringList());
}

void TestQXlsxExisting::everyTruncationIsSurvived()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row><c><v>1</v></c></row>"))));
    const QByteArray whole = fileContent(path());
    for (int size = 0; size < whole.size(); size += 1 + size / 60) {
        QVERIFY(writeFile(path(), whole.left(size)));
        Document document(path());
        QCOMPARE(document.sheetNames(), QStringList());
        document.write(1, 1, 5.0);
        QVERIFY(document.saveAs(path()));
        QCOMPARE(Document(path()).read(1, 1), QVariant(5.0));
    }
}

void TestQXlsxExisting::zipBombIsReplaced()
{
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QXlsx::XlsxZipWriter zip(file);
        for (const auto &[name, bytes] : foreignWorkbook(sheetXml({})))
            QVERIFY(zip.add(name, bytes));
        const QByteArray blanks(1 << 20, ' ');
        QVERIFY(zip.begin("xl/bomb.xml", false));
        for (int i = 0; i < 1025; ++i)
            QVERIFY(zip.write(blanks.constData(), static_cast<std::size_t>(blanks.size())));
        QVERIFY(zip.end() && zip.finish());
    }
    QVERIFY(QFileInfo(path()).size() * 100 < qint64(1) << 30);
    Document document(path());
    QCOMPARE(document.sheetNames(), QStringList());
    const QStringList warnings = document.takeWarnings();
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings.first().contains(QLatin1String("unpacks to")), qPrintable(warnings.first()));
}

void TestQXlsxExisting::highlyCompressedWorkbookIsAccepted()
{
    Parts parts = foreignWorkbook(sheetXml("<row><c><v>1</v></c></row>"));
    parts.append({"xl/large.bin", QByteArray(50 << 20, ' ')});
    QVERIFY(writeParts(path(), parts));
    QVERIFY(QFileInfo(path()).size() * 100 < 50 << 20);
    QCOMPARE(Document(path()).read(1, 1), QVariant(1.0));
}

void TestQXlsxExisting::damagedSheetKeepsWhatCanBeRead_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("expected"); // with 9 written to B2 and to A9, without the declaration
    const QByteArray b2("<c r=\"B2\"><v>9</v></c>");
    const QByteArray rest("<row r=\"9\"><c r=\"A9\"><v>9</v></c></row>");
    const QByteArray start
        = QByteArray(sheetXml({})).replace("<sheetData></sheetData></worksheet>", "<cols><col min=\"1\"/></cols>");
    const QByteArray fresh = sheetXml("<row r=\"2\">" + b2 + "</row>" + rest, "<dimension ref=\"A2:B9\"/>");
    QTest::newRow("no XML") << QByteArray("nothing") << fresh;
    QTest::newRow("no sheet") << QByteArray("<chartsheet/>") << fresh;
    QTest::newRow("in front of the rows")
        << start + "<sheetPr" << start + "<sheetData><row r=\"2\">" + b2 + "</row>" + rest + "</sheetData></worksheet>";
    QTest::newRow("between the rows") << start + "<sheetData><row r=\"1\"/><row"
                                      << start + "<sheetData><row r=\"1\"/><row r=\"2\">" + b2 + "</row>" + rest
            + "</sheetData></worksheet>";
    QTest::newRow("in a row that is written") << start + "<sheetData><row r=\"2\"><c r=\"A2\"><v>1</v>"
                                              << start + "<sheetData><row r=\"2\"><c r=\"A2\"><v>1</v></c>" + b2
            + "</row>" + rest + "</sheetData></worksheet>";
    QTest::newRow("in a cell that is replaced")
        << start + "<sheetData><row r=\"2\"><c r=\"B2\"><v>1</v>"
        << start + "<sheetData><row r=\"2\">" + b2 + "</row>" + rest + "</sheetData></worksheet>";
    QTest::newRow("behind the rows") << start + "<sheetData/><mergeCells><mergeCell ref=\"A1:B2\"/>"
                                     << start + "<sheetData><row r=\"2\">" + b2 + "</row>" + rest
            + "</sheetData><mergeCells><mergeCell ref=\"A1:B2\"/></mergeCells></worksheet>";
    QTest::newRow("nested beyond measure") << start + "<sheetData><row r=\"1\">" + QByteArray("<a>").repeated(1000)
                                           << start + "<sheetData><row r=\"1\">" + QByteArray("<a>").repeated(196)
            + "<a/>" + QByteArray("</a>").repeated(196) + "</row><row r=\"2\">" + b2 + "</row>" + rest
            + "</sheetData></worksheet>";
}

void TestQXlsxExisting::damagedSheetKeepsWhatCanBeRead()
{
    QFETCH(QByteArray, xml);
    QFETCH(QByteArray, expected);
    QVERIFY(writeParts(path(), foreignWorkbook(xml)));
    Document document(path());
    document.write(2, 2, 9.0);
    document.write(9, 1, 9.0);
    QVERIFY(document.saveAs(path()));
    QCOMPARE(sheet(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n" + expected);
    QCOMPARE(
        document.takeWarnings(),
        QStringList(QStringLiteral("sheet Plan & Ist of %1 is damaged: what can be read of it is kept").arg(path())));
}

void TestQXlsxExisting::oversizedTextCountsAsDamage()
{
    // A few kilobytes that would become gigabytes in memory: no cell has a text of this size.
    QVERIFY(writeParts(path(),
                       foreignWorkbook(sheetXml("<row r=\"1\"><c r=\"A1\" t=\"str\"><v>" + QByteArray(60 << 20, 'a')
                                                + "</v></c></row>"))));
    Document document(path());
    QVERIFY(!document.read(2, 1).isValid());
    document.write(2, 1, 9.0);
    QVERIFY(document.saveAs(path()));
    QVERIFY(sheet().size() < 1000);
    QVERIFY(sheet().contains("<row r=\"2\"><c r=\"A2\"><v>9</v></c></row>"));
    QCOMPARE(document.takeWarnings().size(), 1);
}

void TestQXlsxExisting::hugeSheetsTakeLittleMemory()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer has memory of its own");
#endif
    // Two sheets of 35 MB each: one is written over and one is copied. Neither is held in memory as a whole.
    constexpr int kRows = 400000;
    QByteArray rows;
    rows.reserve(kRows * 100);
    for (int row = 1; row <= kRows; ++row) {
        const QByteArray number = QByteArray::number(row);
        rows += "<row r=\"" + number + "\"><c r=\"A" + number + "\"><v>1.25</v></c><c r=\"B" + number
            + "\" t=\"str\"><v>plain</v></c></row>";
    }
    Parts parts = foreignWorkbook(sheetXml(rows));
    for (auto &[name, bytes] : parts)
        if (name == "xl/worksheets/sheet7.xml")
            bytes = sheetXml(rows);
    const int unpacked = rows.size();
    rows.clear();
    QVERIFY(unpacked > 35000000);
    QVERIFY(writeParts(path(), parts));
    parts.clear();
    QVERIFY(letOthersWrite(m_dir->path()));
    QVERIFY(letOthersWrite(path()));
    const int code = asOrdinaryUser([this, unpacked] {
        const qint64 before = peakOfMemory();
        {
            Document document(path());
            document.write(1, 1, 9.0);
            document.write(kRows + 1, 2, 9.0);
            if (!document.saveAs(path()))
                return 1;
        }
        const qint64 grown = peakOfMemory() - before;
        std::printf("two sheets of %d MB took %lld MB\n", unpacked / 1000000, static_cast<long long>(grown / 1000000));
        return grown < 15000000 ? 0 : 2;
    });
    QCOMPARE(code, 0);
    Document document(path());
    QCOMPARE(document.read(1, 1), QVariant(9.0));
    QCOMPARE(document.read(kRows, 2), QVariant(QStringLiteral("plain")));
    QCOMPARE(document.read(kRows + 1, 2), QVariant(9.0));
}

void TestQXlsxExisting::damagedUnwrittenPartStopsTheSave()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml({}))));
    QByteArray bytes = fileContent(path());
    const int name = bytes.indexOf("xl/media/picture.png");
    QVERIFY(name > 30);
    bytes[name - 30] = 'X'; // the mark in front of the part
    QVERIFY(writeFile(path(), bytes));
    Document document(path());
    document.write(1, 1, 5.0);
    QVERIFY(!document.saveAs(path()));
    QCOMPARE(fileContent(path()), bytes);
    QCOMPARE(document.takeWarnings().first(),
             QStringLiteral("part xl/media/picture.png of %1 is damaged and cannot be "
                            "carried over")
                 .arg(path()));
}

void TestQXlsxExisting::identifiersOfSheetsStayInTheirRange_data()
{
    QTest::addColumn<QByteArray>("last");
    QTest::addColumn<QList<int>>("added"); // beside 4
    QTest::newRow("beyond all") << QByteArray("4294967295") << QList<int>{1, 2, 3, 5};
    QTest::newRow("the last that opens") << QByteArray("65534") << QList<int>{1, 2, 3, 5};
    QTest::newRow("room for one more") << QByteArray("65533") << QList<int>{65534, 1, 2, 3};
    QTest::newRow("an ordinary one") << QByteArray("9") << QList<int>{10, 11, 12, 13};
}

void TestQXlsxExisting::identifiersOfSheetsStayInTheirRange()
{
    QFETCH(QByteArray, last);
    QFETCH(QList<int>, added);
    Parts parts = foreignWorkbook(sheetXml({}));
    parts[2].second.replace("sheetId=\"9\"", "sheetId=\"" + last + '"');
    QVERIFY(writeParts(path(), parts));
    {
        Document document(path());
        for (int i = 0; i < added.size(); ++i)
            QVERIFY(document.addSheet(QStringLiteral("new %1").arg(i)));
        QVERIFY(document.saveAs(path()));
    }
    const QByteArray workbook = readParts(path()).value("xl/workbook.xml");
    for (int i = 0; i < added.size(); ++i)
        QVERIFY2(workbook.contains("name=\"new " + QByteArray::number(i) + "\" sheetId=\""
                                   + QByteArray::number(added.at(i)) + '"'),
                 workbook.constData());
}

void TestQXlsxExisting::relationThatOnlyTheWorkbookKnowsIsNotTaken()
{
    // A sheet whose relation was lost, and a list of something else with the next relation that is free.
    Parts parts = foreignWorkbook(sheetXml({}));
    parts[2].second.replace("</x:sheets>",
                            "<x:sheet name=\"lost\" sheetId=\"10\" q:id=\"rId6\"/></x:sheets>"
                            "<x:externalReferences><x:externalReference q:id=\"rId7\"/></x:externalReferences>");
    QVERIFY(writeParts(path(), parts));
    {
        Document document(path());
        QVERIFY(document.addSheet(QStringLiteral("added")));
        document.write(1, 1, 5.0);
        QVERIFY(document.saveAs(path()));
    }
    Document document(path());
    QCOMPARE(document.sheetNames(), QStringList({"Plan & Ist", "Other", "lost", "added"}));
    QVERIFY(!document.selectSheet(QStringLiteral("lost")));
    QVERIFY(document.selectSheet(QStringLiteral("added")));
    QCOMPARE(document.read(1, 1), QVariant(5.0));
    QVERIFY(!readParts(path()).value("xl/_rels/workbook.xml.rels").contains("\"rId7\""));
}

void TestQXlsxExisting::contentOfNoWorkbookIsRefusedQuickly_data()
{
    QTest::addColumn<Parts>("parts");
    QTest::newRow("a row of 200000 attributes") << foreignWorkbook(sheetXml("<row" + emptyAttributes(200000) + "/>"));
    QByteArray sheets;
    for (int i = 1; i <= 200000; ++i)
        sheets += "<x:sheet name=\"s" + QByteArray::number(i) + "\" sheetId=\"" + QByteArray::number(i + 10) + "\"/>";
    Parts many = foreignWorkbook(sheetXml({}));
    many[2].second.replace("</x:sheets>", sheets + "</x:sheets>");
    QTest::newRow("200000 sheets") << many;
}

void TestQXlsxExisting::contentOfNoWorkbookIsRefusedQuickly()
{
    QFETCH(Parts, parts);
    QVERIFY(writeParts(path(), parts));
    QElapsedTimer timer;
    timer.start();
    Document document(path());
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    std::printf("%lld ms\n", static_cast<long long>(timer.elapsed()));
    QVERIFY(timer.elapsed() < 10000);
    QCOMPARE(Document(path()).read(1, 1), QVariant(5.0));
}

void TestQXlsxExisting::selectedSheetStaysWhenItsWorkbookIsReplaced()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row" + emptyAttributes(2000) + "/>"))));
    Document document(path());
    document.write(1, 1, 5.0);
    QVERIFY(document.addSheet("added"));
    document.write(1, 1, 6.0);
    QVERIFY(document.selectSheet("Plan & Ist"));
    QVERIFY(document.saveAs(path()));
    document.write(2, 1, 7.0);
    QVERIFY(document.saveAs(path()));
    Document loaded(path());
    QCOMPARE(loaded.sheetNames(), QStringList({"Plan & Ist", "added"}));
    QVERIFY(loaded.selectSheet("Plan & Ist"));
    QCOMPARE(loaded.read(1, 1), QVariant(5.0));
    QCOMPARE(loaded.read(2, 1), QVariant(7.0));
    QVERIFY(loaded.selectSheet("added"));
    QCOMPARE(loaded.read(1, 1), QVariant(6.0));
    QVERIFY(!loaded.read(2, 1).isValid());
}

void TestQXlsxExisting::lastSheetIsSelectedWhenTheSelectedOneIsLost()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml("<row" + emptyAttributes(2000) + "/>"))));
    Document document(path());
    document.write(1, 1, 5.0);
    QVERIFY(document.addSheet("added"));
    document.write(1, 1, 6.0);
    QVERIFY(document.selectSheet("Other")); // not written, so it is not in the new workbook
    QVERIFY(document.saveAs(path()));
    QCOMPARE(document.sheetNames(), QStringList({"Plan & Ist", "added"}));
    QCOMPARE(document.read(1, 1), QVariant(6.0));
}

void TestQXlsxExisting::addedSheetTakesNoPartOfASheetThatIsMissing()
{
    Parts parts = foreignWorkbook(sheetXml({}));
    // The part of sheet "Other" is the first name that is not in the file.
    for (auto &part : parts)
        part.second.replace("worksheets/sheet7.xml", "worksheets/sheet2.xml");
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    QVERIFY(document.addSheet("added"));
    document.write(3, 3, 5.0);
    QVERIFY(document.saveAs(path()));
    Document loaded(path());
    QVERIFY(loaded.selectSheet("added"));
    QCOMPARE(loaded.read(3, 3), QVariant(5.0));
}

void TestQXlsxExisting::mostAttributesAndSheetsAreAccepted()
{
    QByteArray sheets;
    for (int i = 1; i <= 9998; ++i)
        sheets += "<x:sheet name=\"s" + QByteArray::number(i) + "\" sheetId=\"" + QByteArray::number(i + 10) + "\"/>";
    Parts parts = foreignWorkbook(sheetXml("<row r=\"1\"" + emptyAttributes(999) + "/>"));
    parts[2].second.replace("</x:sheets>", sheets + "</x:sheets>");
    QVERIFY(writeParts(path(), parts));
    Document document(path());
    QCOMPARE(document.sheetNames().size(), 10000);
    document.write(1, 1, 5.0);
    QVERIFY(document.saveAs(path()));
    QCOMPARE(document.takeWarnings(), QStringList());
    QVERIFY(sheet().contains(" a998=\"\""));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList("book.xlsx"));
}

void TestQXlsxExisting::cancelledSaveLeavesTheOldFileOrAWholeOne()
{
    QVERIFY(writeParts(path(), foreignWorkbook(sheetXml({}))));
    const QByteArray bytes = fileContent(path());
    int asked = 0;
    const auto save = [&](int cancelAt) {
        asked = 0;
        Document document(path(), [&] { return asked++ >= cancelAt; });
        document.write(1, 1, 5.0, thin());
        return document.saveAs(path());
    };
    QVERIFY(save(std::numeric_limits<int>::max()));
    const int questions = asked;
    const auto whole = readParts(path());
    int cancelled = 0;
    for (int cancelAt = 0; cancelAt < questions; ++cancelAt) {
        QVERIFY(writeFile(path(), bytes));
        if (save(cancelAt)) {
            // The last questions come after the file is replaced.
            QVERIFY2(readParts(path()) == whole, qPrintable(QString::number(cancelAt)));
        } else {
            QVERIFY2(fileContent(path()) == bytes, qPrintable(QString::number(cancelAt)));
            ++cancelled;
        }
    }
    QVERIFY(cancelled > questions / 2);
}

void TestQXlsxExisting::largeListsAreCancelled_data()
{
    QTest::addColumn<int>("part");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("entry");
    QTest::newRow("content types") << 0 << QByteArray("</Types>") << QByteArray("<Override/>");
    QTest::newRow("way to the workbook") << 1 << QByteArray("</Relationships>") << QByteArray("<Relationship/>");
    QTest::newRow("workbook") << 2 << QByteArray("</x:workbook>") << QByteArray("<x:name/>");
    QTest::newRow("relations") << 3 << QByteArray("</Relationships>") << QByteArray("<Relationship/>");
    QTest::newRow("sheet") << 4 << QByteArray("</sheetData>") << QByteArray("<row/>");
    QTest::newRow("carried sheet") << 5 << QByteArray("</sheetData>") << QByteArray("<row/>");
    QTest::newRow("styles") << 8 << QByteArray("</fonts>") << QByteArray("<font/>");
}

void TestQXlsxExisting::largeListsAreCancelled()
{
    QFETCH(int, part);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, entry);
    constexpr int kEntries = 200000;
    Parts parts = foreignWorkbook(sheetXml({}));
    parts[part].second.replace(before, entry.repeated(kEntries) + before);
    QVERIFY(writeParts(path(), parts));
    const QByteArray bytes = fileContent(path());
    // The time between two calls is how long a user who quits has to wait.
    QElapsedTimer timer;
    qint64 last = 0;
    qint64 longest = 0;
    int asked = 0;
    int cancelAt = -1;
    const auto ask = [&] {
        longest = qMax(longest, timer.elapsed() - last);
        last = timer.elapsed();
        return asked++ >= cancelAt && cancelAt >= 0;
    };
    const auto save = [&] {
        timer.start();
        last = 0;
        asked = 0;
        Document document(path(), ask);
        document.addSheet(QStringLiteral("added"));
        document.write(1, 1, 5.0, thin());
        document.selectSheet(QStringLiteral("Plan & Ist"));
        document.write(1, 1, 5.0, thin());
        return document.saveAs(path());
    };
    QVERIFY(save());
    std::printf("%lld ms, of which %lld between two of %d questions\n", static_cast<long long>(timer.elapsed()),
                static_cast<long long>(longest), asked);
    QVERIFY(longest < 1000);
    QVERIFY(asked >= 50);
    // Whenever it is cancelled, the old workbook is kept.
    const int questions = asked;
    for (int i = 0; i < 5; ++i) {
        QVERIFY(writeFile(path(), bytes));
        cancelAt = questions * i / 10;
        QVERIFY(!save());
        QVERIFY(fileContent(path()) == bytes);
    }
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden), QStringList("book.xlsx"));
}

QTEST_GUILESS_MAIN(TestQXlsxExisting)
#include "TestQXlsxExisting.moc"
