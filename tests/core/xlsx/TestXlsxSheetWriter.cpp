#include "XlsxSheetWriter.h"

#include "WorkbookFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>
#include <memory>

using namespace QXlsx;

namespace
{

using Outcome = XlsxSheetWriter::Outcome;

const QByteArray kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
const QVector<int> kStyles{-1, 3, 0}; // format 0 keeps the style of the cell, the others are styles 3 and 0

/** A sheet as a writer leaves it. */
struct Written {
    Outcome outcome = Outcome::Stopped;
    bool formulaReplaced = false;
    QByteArray xml;
};

} // namespace

class TestXlsxSheetWriter : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void newSheetHoldsTheCells();
    void everyKindOfCellIsWritten();
    void frozenRowsAndWidthsPrecedeTheRows();
    void cellsAreMergedIntoTheirRows();
    void replacedCellKeepsItsStyle();
    void rowsOutOfOrderGetTheirCellsOnce();
    void sharedFormulaOfAReplacedCellLivesOn();
    void dimensionCoversOldAndNew();
    void prefixOfTheSheetIsUsed();
    void prefixThatIsTooLongIsRefused();
    void damagedSheetKeepsWhatCameBefore_data();
    void damagedSheetKeepsWhatCameBefore();
    void cancelledWritingStops();
    void failedOutputStops();

private:
    Written writeNew(const QVector<int> &widths = {}, int frozenRows = 0)
    {
        Written result;
        XlsxOutput output([&result](const char *data, std::size_t size) {
            result.xml.append(data, int(size));
            return true;
        });
        XlsxSheetWriter writer(m_cells, kStyles, output, m_cancelled);
        result.outcome = writer.writeNew("ns", widths, frozenRows);
        output.flush();
        return result;
    }

    /** Merges the cells into a sheet. */
    Written merge(const QByteArray &sheet)
    {
        Written result;
        const QString path = m_dir->filePath("x.zip");
        XlsxZipReader zip;
        if (!writeParts(path, {{"sheet.xml", sheet}}) || !zip.open(path))
            qFatal("no archive for the test");
        const auto part = zip.openPart(0);
        XlsxOutput output([&result](const char *data, std::size_t size) {
            result.xml.append(data, int(size));
            return true;
        });
        XlsxSheetWriter writer(m_cells, kStyles, output, m_cancelled);
        result.outcome = writer.merge(*part, "ns");
        result.formulaReplaced = writer.formulaReplaced();
        output.flush();
        return result;
    }

    /** The sheet around some rows. */
    static QByteArray sheet(const QByteArray &rows)
    {
        return "<worksheet xmlns=\"ns\"><sheetData>" + rows + "</sheetData></worksheet>";
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    XlsxCells m_cells;
    std::function<bool()> m_cancelled;
};

void TestXlsxSheetWriter::newSheetHoldsTheCells()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 1, 1.5, 1);
    m_cells.setNumber(1, 2, -2, 0);
    m_cells.setNumber(3, 28, 1e300, 1);
    const Written written = writeNew();
    QCOMPARE(written.outcome, Outcome::Written);
    QCOMPARE(written.xml,
             kDeclaration
                 + "<worksheet xmlns=\"ns\"><dimension ref=\"A1:AB3\"/><sheetData>"
                   "<row r=\"1\"><c r=\"A1\" s=\"3\"><v>1.5</v></c><c r=\"B1\"><v>-2</v></c></row>"
                   "<row r=\"3\"><c r=\"AB3\" s=\"3\"><v>1e+300</v></c></row></sheetData></worksheet>");
}

void TestXlsxSheetWriter::everyKindOfCellIsWritten()
{
    m_cells = XlsxCells();
    m_cells.setText(1, 1, "a<b", 1);
    m_cells.setText(1, 2, " c", 0);
    m_cells.setBool(1, 3, true, 0);
    m_cells.setBlank(1, 4, 1);
    m_cells.setNumber(1, 5, std::numeric_limits<double>::infinity(), 0);
    m_cells.setNumber(1, 6, std::nan(""), 0);
    QCOMPARE(writeNew().xml,
             kDeclaration
                 + "<worksheet xmlns=\"ns\"><dimension ref=\"A1:F1\"/><sheetData><row r=\"1\">"
                   "<c r=\"A1\" s=\"3\" t=\"inlineStr\"><is><t>a&lt;b</t></is></c>"
                   "<c r=\"B1\" t=\"inlineStr\"><is><t xml:space=\"preserve\"> c</t></is></c>"
                   "<c r=\"C1\" t=\"b\"><v>1</v></c><c r=\"D1\" s=\"3\"/>"
                   "<c r=\"E1\" t=\"e\"><v>#DIV/0!</v></c><c r=\"F1\" t=\"e\"><v>#NUM!</v></c>"
                   "</row></sheetData></worksheet>");
}

void TestXlsxSheetWriter::frozenRowsAndWidthsPrecedeTheRows()
{
    m_cells = XlsxCells();
    QCOMPARE(writeNew({0, 12, 0, 9}, 1).xml,
             kDeclaration
                 + "<worksheet xmlns=\"ns\"><sheetViews><sheetView workbookViewId=\"0\">"
                   "<pane ySplit=\"1\" topLeftCell=\"A2\" activePane=\"bottomLeft\" state=\"frozen\"/>"
                   "<selection pane=\"bottomLeft\"/></sheetView></sheetViews>"
                   "<cols><col min=\"1\" max=\"1\" width=\"12\" customWidth=\"1\"/>"
                   "<col min=\"3\" max=\"3\" width=\"9\" customWidth=\"1\"/></cols>"
                   "<sheetData/></worksheet>");
    // A list of columns must not be empty.
    QCOMPARE(writeNew({0, 0, 0}).xml, kDeclaration + "<worksheet xmlns=\"ns\"><sheetData/></worksheet>");
}

void TestXlsxSheetWriter::cellsAreMergedIntoTheirRows()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 1, 10, 1);
    m_cells.setNumber(2, 2, 20, 1);
    m_cells.setNumber(2, 4, 40, 1);
    m_cells.setNumber(5, 1, 50, 1);
    const Written written
        = merge(sheet("<row r=\"2\" spans=\"1:3\" ht=\"20\"><c r=\"A2\"><v>1</v></c><c r=\"C2\"><v>3</v></c></row>"
                      "<row r=\"4\"><c r=\"A4\" t=\"s\"><v>0</v></c></row>"));
    QCOMPARE(written.outcome, Outcome::Written);
    QVERIFY(!written.formulaReplaced);
    QCOMPARE(written.xml,
             kDeclaration
                 + sheet("<row r=\"1\"><c r=\"A1\" s=\"3\"><v>10</v></c></row>"
                         "<row r=\"2\" ht=\"20\"><c r=\"A2\"><v>1</v></c><c r=\"B2\" s=\"3\"><v>20</v></c>"
                         "<c r=\"C2\"><v>3</v></c><c r=\"D2\" s=\"3\"><v>40</v></c></row>"
                         "<row r=\"4\"><c r=\"A4\" t=\"s\"><v>0</v></c></row>"
                         "<row r=\"5\"><c r=\"A5\" s=\"3\"><v>50</v></c></row>"));
}

void TestXlsxSheetWriter::replacedCellKeepsItsStyle()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 1, 10, 0); // no format of its own
    m_cells.setNumber(1, 2, 20, 1);
    m_cells.setNumber(1, 3, 30, 2);
    m_cells.setText(1, 4, QStringLiteral("t"), 2);
    QCOMPARE(merge(sheet("<row r=\"1\"><c r=\"A1\" s=\"7\"><v>1</v></c><c r=\"B1\" s=\"7\"><v>2</v></c>"
                         "<c r=\"C1\" s=\"7\"><v>3</v></c><c r=\"D1\" s=\"7\"><v>4</v></c></row>"))
                 .xml,
             kDeclaration
                 + sheet("<row r=\"1\"><c r=\"A1\" s=\"7\"><v>10</v></c><c r=\"B1\" s=\"3\"><v>20</v></c>"
                         "<c r=\"C1\"><v>30</v></c><c r=\"D1\" t=\"inlineStr\"><is><t>t</t></is></c></row>"));
}

void TestXlsxSheetWriter::rowsOutOfOrderGetTheirCellsOnce()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 2, 10, 1);
    m_cells.setNumber(2, 2, 20, 1);
    const QByteArray xml = merge(sheet("<row r=\"2\"><c r=\"A2\"><v>1</v></c></row>"
                                       "<row r=\"1\"><c r=\"A1\"><v>2</v></c></row>"
                                       "<row r=\"2\"><c r=\"C2\"><v>3</v></c></row>"))
                               .xml;
    QCOMPARE(xml.count("<v>10</v>"), 1);
    QCOMPARE(xml.count("<v>20</v>"), 1);
    for (const char *kept : {"<v>1</v>", "<v>2</v>", "<v>3</v>"})
        QCOMPARE(xml.count(kept), 1);
}

void TestXlsxSheetWriter::sharedFormulaOfAReplacedCellLivesOn()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 2, 10, 0);
    const Written written
        = merge(sheet("<row r=\"1\"><c r=\"B1\"><f t=\"shared\" ref=\"B1:B2\" si=\"0\">A1*2</f><v>2</v></c></row>"
                      "<row r=\"2\"><c r=\"B2\"><f t=\"shared\" si=\"0\"/><v>4</v></c></row>"));
    QVERIFY(written.formulaReplaced);
    QCOMPARE(written.xml,
             kDeclaration
                 + sheet("<row r=\"1\"><c r=\"B1\"><v>10</v></c></row>"
                         "<row r=\"2\"><c r=\"B2\"><f>A2*2</f><v>4</v></c></row>"));
}

void TestXlsxSheetWriter::dimensionCoversOldAndNew()
{
    m_cells = XlsxCells();
    m_cells.setNumber(2, 5, 10, 1);
    const QByteArray xml = merge("<worksheet xmlns=\"ns\"><dimension ref=\"B3:C9\"/><sheetData/></worksheet>").xml;
    QVERIFY2(xml.contains("<dimension ref=\"B2:E9\"/>"), xml.constData());
}

void TestXlsxSheetWriter::prefixOfTheSheetIsUsed()
{
    m_cells = XlsxCells();
    m_cells.setText(1, 1, "a", 1);
    QCOMPARE(merge("<x:worksheet xmlns:x=\"ns\"><x:sheetData/></x:worksheet>").xml,
             kDeclaration
                 + "<x:worksheet xmlns:x=\"ns\"><x:sheetData><x:row r=\"1\"><x:c r=\"A1\" s=\"3\" t=\"inlineStr\">"
                   "<x:is><x:t>a</x:t></x:is></x:c></x:row></x:sheetData></x:worksheet>");
}

void TestXlsxSheetWriter::prefixThatIsTooLongIsRefused()
{
    const QByteArray prefix(XlsxCellWriter::kMaxPrefix, 'p');
    QCOMPARE(merge('<' + prefix + ":worksheet xmlns:" + prefix + "=\"ns\"/>").outcome, Outcome::Refused);
}

void TestXlsxSheetWriter::damagedSheetKeepsWhatCameBefore_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("in a cell") << QByteArray("<row r=\"2\"><c r=\"A2\"><v>7</v></c><c r=\"C2\"><v>8");
    QTest::newRow("between rows") << QByteArray("<row r=\"2\"><c r=\"A2\"><v>7</v></c></row>");
    QTest::newRow("by a wrong end") << QByteArray("<row r=\"2\"><c r=\"A2\"><v>7</v></c></sheet>");
}

void TestXlsxSheetWriter::damagedSheetKeepsWhatCameBefore()
{
    QFETCH(QByteArray, end);
    m_cells = XlsxCells();
    m_cells.setNumber(2, 4, 40, 1);
    m_cells.setNumber(9, 1, 90, 1);
    const Written written
        = merge("<worksheet xmlns=\"ns\"><sheetData><row r=\"1\"><c r=\"A1\"><v>6</v></c></row>" + end);
    QCOMPARE(written.outcome, Outcome::Damaged);
    QXmlStreamReader reader(written.xml);
    while (!reader.atEnd())
        reader.readNext();
    QVERIFY2(!reader.hasError(), written.xml.constData());
    for (const char *kept : {"<v>6</v>", "<v>7</v>", "<v>40</v>", "<v>90</v>"})
        QCOMPARE(written.xml.count(kept), 1);
}

void TestXlsxSheetWriter::cancelledWritingStops()
{
    m_cells = XlsxCells();
    m_cells.setNumber(1, 1, 1, 1);
    m_cancelled = [] { return true; };
    QCOMPARE(writeNew().outcome, Outcome::Stopped);
    QCOMPARE(merge(sheet("<row r=\"2\"/>")).outcome, Outcome::Stopped);
    m_cancelled = {};
    QCOMPARE(writeNew().outcome, Outcome::Written);
}

void TestXlsxSheetWriter::failedOutputStops()
{
    m_cells = XlsxCells();
    for (int row = 1; row <= 10000; ++row)
        m_cells.setNumber(row, 1, row, 1);
    XlsxOutput output([](const char *, std::size_t) { return false; });
    XlsxSheetWriter writer(m_cells, kStyles, output, m_cancelled);
    QCOMPARE(writer.writeNew("ns"), Outcome::Stopped);
}

QTEST_GUILESS_MAIN(TestXlsxSheetWriter)
#include "TestXlsxSheetWriter.moc"
