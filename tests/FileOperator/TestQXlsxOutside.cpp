#include "QXlsx.h"

#include "ExcelOperator.h"
#include "ExportNames.h"
#include "Fixture.h"
#include "WorkbookFiles.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

using QXlsx::Document;
using QXlsx::Format;

namespace
{

constexpr char kPython[] = "/usr/bin/python3";
constexpr char kOffice[] = "/usr/bin/libreoffice";
constexpr char kCsv[] = "csv:Text - txt - csv (StarCalc):44,34,76,1,,0,true"; // commas, UTF-8, texts in quotes
constexpr int kPatience = 240000; // ms; the first start of an office suite on a busy machine is slow

/** A workbook of another program, with content that an export must not change. */
constexpr char kMakeSample[] = R"py(
import datetime, importlib.util, openpyxl, struct, zlib
from openpyxl.styles import Font
book = openpyxl.Workbook()
sheet = book.active
sheet.title = '0x01-HeartBeat'
sheet['A1'] = 'old title'
sheet['A2'] = 1.5
sheet['C1'] = 'kept'
sheet['C1'].font = Font(bold=True)
sheet['D2'] = '=A2*2'
sheet['E1'] = datetime.datetime(2024, 2, 29, 12)
sheet.merge_cells('F1:G3')
sheet.column_dimensions['C'].width = 33
other = book.create_sheet('Auswertung')
other['A1'] = "=SUM('0x01-HeartBeat'!A2:A9)"
if importlib.util.find_spec('PIL'):
    from openpyxl.drawing.image import Image
    def chunk(kind, data):
        return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))
    open('dot.png', 'wb').write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', 1, 1, 8, 0, 0, 0, 0))
        + chunk(b'IDAT', zlib.compress(b'\0\x80')) + chunk(b'IEND', b''))
    sheet.add_image(Image('dot.png'), 'H1')
book.save('book.xlsx')
)py";

constexpr char kLookAtOurs[] = R"py(
import openpyxl, warnings
warnings.simplefilter('error')
book = openpyxl.load_workbook('book.xlsx')
assert book.sheetnames == ['0x01-HeartBeat', 'empty & last'], book.sheetnames
sheet = book['0x01-HeartBeat']
values = [sheet.cell(row, 1).value for row in range(1, 7)]
assert values == ['滚转角 <&>', 113.91378, 0.30000000000000004, 5e-324, '#DIV/0!', '#NUM!'], values
assert [sheet.cell(5, 1).data_type, sheet.cell(6, 1).data_type] == ['e', 'e']
assert sheet['B7'].value is True and sheet['B8'].value == ' two\nlines ', (sheet['B7'].value, sheet['B8'].value)
assert sheet.dimensions == 'A1:B8', sheet.dimensions
assert book['empty & last'].max_row == 1 and book['empty & last']['A1'].value is None
title, number = sheet['A1'], sheet['A2']
assert title.font.sz == 12 and title.font.color.rgb == 'FF000000', title.font
assert title.fill.fill_type == 'solid' and title.fill.fgColor.rgb == 'FFC0C0C0', title.fill
assert number.fill.fill_type is None and number.font.sz == 11 and number.number_format == 'General'
for cell in (title, number):
    assert cell.alignment.horizontal == 'center'
    assert all(getattr(cell.border, side).style == 'thin' for side in ('left', 'right', 'top', 'bottom'))
assert sheet['B7'].border.left.style is None and sheet['B7'].alignment.horizontal in (None, 'general')
)py";

constexpr char kLookAfterExport[] = R"py(
import datetime, openpyxl, warnings
warnings.simplefilter('error')
book = openpyxl.load_workbook('book.xlsx')
assert book.sheetnames == ['0x01-HeartBeat', 'Auswertung', '0x02-ControlSystemStatus'], book.sheetnames
sheet = book['0x01-HeartBeat']
assert [sheet.cell(row, 1).value for row in range(1, 6)] == ['时间', 20, 30, 40, 50]
assert sheet['A1'].fill.fgColor.rgb == 'FFC0C0C0' and sheet['A2'].border.top.style == 'thin'
assert sheet['C1'].value == 'kept' and sheet['C1'].font.b and not sheet['A1'].font.b
assert sheet['D2'].value == '=A2*2'
assert sheet['E1'].value == datetime.datetime(2024, 2, 29, 12), sheet['E1'].value
assert [str(one) for one in sheet.merged_cells.ranges] == ['F1:G3']
assert sheet.column_dimensions['C'].width == 33
assert book['Auswertung']['A1'].value == "=SUM('0x01-HeartBeat'!A2:A9)"
assert book['0x02-ControlSystemStatus']['A1'].value == '滚转角'
)py";

constexpr char kLookAfterOffice[] = R"py(
import openpyxl
book = openpyxl.load_workbook('book.xlsx')
sheet = book['0x01-HeartBeat']
assert [sheet.cell(row, 1).value for row in range(1, 6)] == ['时间', 20, 30, 40, 50]
assert sheet['D2'].value == '=A2*2' and sheet['C1'].font.b
assert [str(one) for one in sheet.merged_cells.ranges] == ['F1:G3']
assert abs(sheet.column_dimensions['C'].width - 33) < 1, sheet.column_dimensions['C'].width
)py";

/** Titles are frozen, and columns of new sheets fit what programs show: at most 11 digits of a number. */
constexpr char kLookAtSheets[] = R"py(
import openpyxl, sys, unicodedata
book = openpyxl.load_workbook(sys.argv[1])
has_panes = '--no-panes' not in sys.argv
old = [one for one in sys.argv[2:] if one != '--no-panes']
for sheet in book:
    if sheet.title in old:
        continue
    assert sheet.freeze_panes == ('A2' if has_panes else None), (sheet.title, sheet.freeze_panes)
    widths = {column: one.width for one in sheet.column_dimensions.values() for column in range(one.min, one.max + 1)}
    for column in range(1, sheet.max_column + 1):
        width = widths[column]
        head = str(sheet.cell(1, column).value)
        columns = sum(2 if unicodedata.east_asian_width(one) in 'WF' else 1 for one in head)
        assert width >= columns * 12 / 11, (sheet.title, head, width)
        needed = columns
        for row in range(2, sheet.max_row + 1):
            value = sheet.cell(row, column).value
            if isinstance(value, (int, float)):
                shown = '%.10g' % value if abs(value) < 1e10 else '%.5E' % value
                assert width > len(shown), (sheet.title, head, shown, width)
                needed = max(needed, len(shown))
        assert width < max(13, needed * 4 / 3 + 4), (sheet.title, head, needed, width)
for title in old:
    sheet = book[title]
    assert sheet.freeze_panes is None, (title, sheet.freeze_panes)
    assert abs(sheet.column_dimensions['C'].width - 33) < 1, (title, sheet.column_dimensions['C'].width)
    assert set(sheet.column_dimensions) == {'C'}, (title, list(sheet.column_dimensions))
)py";

Format titleFormat()
{
    Format format;
    format.setFontColor(Qt::black);
    format.setFontSize(12);
    format.setBorderStyle(Format::BorderThin);
    format.setPatternBackgroundColor(Qt::lightGray);
    format.setFillPattern(Format::PatternSolid);
    format.setHorizontalAlignment(Format::AlignHCenter);
    return format;
}

Format numberFormat()
{
    Format format;
    format.setBorderStyle(Format::BorderThin);
    format.setHorizontalAlignment(Format::AlignHCenter);
    return format;
}

} // namespace

/** Reads our workbooks with other programs and theirs with our library. */
class TestQXlsxOutside : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void openpyxlSeesValuesAndLooks();
    void officeSeesValuesAndErrors();
    void workbookOfOpenpyxlSurvivesAnExport();
    void workbookOfOfficeSurvivesAnExport();
    void newSheetsHaveFrozenTitlesAndFittingColumns();
    void existingSheetsKeepTheirWidthsAndPanes();
    void routeWorkbookHasFittingColumns();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    bool run(const QString &program, const QStringList &arguments);
    bool hasOpenpyxl();
    bool runScript(const char *script, const QStringList &arguments = {});
    bool convert(const QString &file, const QString &filter);
    void writeSample();

    std::unique_ptr<QTemporaryDir> m_dir;
    QByteArray m_output;
};

void TestQXlsxOutside::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

bool TestQXlsxOutside::run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(m_dir->path());
    process.start(program, arguments);
    const bool done
        = process.waitForFinished(kPatience) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    m_output = process.readAllStandardOutput();
    if (!done)
        qWarning("%s", process.readAllStandardError().constData());
    return done;
}

bool TestQXlsxOutside::hasOpenpyxl()
{
    return QFile::exists(QLatin1String(kPython))
        && QProcess::execute(QLatin1String(kPython), {QStringLiteral("-c"), QStringLiteral("import openpyxl")}) == 0;
}

bool TestQXlsxOutside::runScript(const char *script, const QStringList &arguments)
{
    return run(QLatin1String(kPython), QStringList{QStringLiteral("-c"), QString::fromUtf8(script)} + arguments);
}

bool TestQXlsxOutside::convert(const QString &file, const QString &filter)
{
    return run(QLatin1String(kOffice),
               {QStringLiteral("-env:UserInstallation=file://") + path(QStringLiteral("profile")),
                QStringLiteral("--headless"), QStringLiteral("--convert-to"), filter, QStringLiteral("--outdir"),
                path(QStringLiteral("converted")), file});
}

/** An export over the sample. */
void TestQXlsxOutside::writeSample()
{
    Document document(path(QStringLiteral("book.xlsx")));
    document.addSheet(QStringLiteral("0x01-HeartBeat"));
    QVERIFY(document.selectSheet(QStringLiteral("0x01-HeartBeat")));
    document.write(1, 1, QStringLiteral("时间"), titleFormat());
    for (int row = 2; row <= 5; ++row)
        document.write(row, 1, row * 10.0, numberFormat());
    document.addSheet(QStringLiteral("0x02-ControlSystemStatus"));
    document.write(1, 1, QStringLiteral("滚转角"), titleFormat());
    QVERIFY(document.saveAs(path(QStringLiteral("book.xlsx"))));
}

void TestQXlsxOutside::openpyxlSeesValuesAndLooks()
{
    if (!hasOpenpyxl())
        QSKIP("openpyxl is not installed");
    Document document;
    document.addSheet(QStringLiteral("0x01-HeartBeat"));
    document.write(1, 1, QStringLiteral("滚转角 <&>"), titleFormat());
    document.write(2, 1, 113.91378, numberFormat());
    document.write(3, 1, 0.1 + 0.2, numberFormat());
    document.write(4, 1, std::numeric_limits<double>::denorm_min(), numberFormat());
    document.write(5, 1, std::numeric_limits<double>::infinity(), numberFormat());
    document.write(6, 1, std::numeric_limits<double>::quiet_NaN(), numberFormat());
    document.write(7, 2, QVariant(true));
    document.write(8, 2, QStringLiteral(" two\nlines "));
    document.addSheet(QStringLiteral("empty & last"));
    QVERIFY(document.saveAs(path(QStringLiteral("book.xlsx"))));
    QVERIFY(runScript(kLookAtOurs));
}

void TestQXlsxOutside::officeSeesValuesAndErrors()
{
    if (!QFile::exists(QLatin1String(kOffice)))
        QSKIP("LibreOffice is not installed");
    Document document;
    document.addSheet(QStringLiteral("0x01-HeartBeat"));
    document.write(1, 1, QStringLiteral("滚转角"), titleFormat());
    document.write(1, 2, QStringLiteral("_x0041_ <&>"), titleFormat());
    document.write(2, 1, 113.91378, numberFormat());
    document.write(2, 2, std::numeric_limits<double>::infinity(), numberFormat());
    document.write(3, 1, -0.5, numberFormat());
    document.write(3, 2, std::numeric_limits<double>::quiet_NaN(), numberFormat());
    document.write(4, 1, QVariant(true));
    document.write(4, 2, QStringLiteral("=1+1"));
    QVERIFY(document.saveAs(path(QStringLiteral("book.xlsx"))));
    QVERIFY(convert(path(QStringLiteral("book.xlsx")), QLatin1String(kCsv)));
    QCOMPARE(QString::fromUtf8(fileContent(path(QStringLiteral("converted/book.csv")))),
             QStringLiteral("\"滚转角\",\"_x0041_ <&>\"\n113.91378,\"#DIV/0!\"\n-0.5,\"#NUM!\"\nTRUE,\"=1+1\"\n"));
}

void TestQXlsxOutside::workbookOfOpenpyxlSurvivesAnExport()
{
    if (!hasOpenpyxl())
        QSKIP("openpyxl is not installed");
    QVERIFY(runScript(kMakeSample));
    {
        Document document(path(QStringLiteral("book.xlsx")));
        QCOMPARE(document.read(1, 1), QVariant(QStringLiteral("old title")));
        QCOMPARE(document.read(2, 1), QVariant(1.5));
        QCOMPARE(document.read(2, 4), QVariant(QStringLiteral("=A2*2")));
        QCOMPARE(document.read(1, 5), QVariant(45351.5)); // days since the end of 1899
    }
    const auto before = readParts(path(QStringLiteral("book.xlsx")));
    writeSample();
    const auto after = readParts(path(QStringLiteral("book.xlsx")));
    const QList<QByteArray> changing{"xl/worksheets/sheet1.xml", "xl/styles.xml", "xl/workbook.xml",
                                     "xl/_rels/workbook.xml.rels", "[Content_Types].xml"};
    for (auto part = before.cbegin(); part != before.cend(); ++part)
        if (!changing.contains(part.key()))
            QCOMPARE(after.value(part.key()), part.value());
    QVERIFY(runScript(kLookAfterExport));
}

void TestQXlsxOutside::workbookOfOfficeSurvivesAnExport()
{
    if (!hasOpenpyxl() || !QFile::exists(QLatin1String(kOffice)))
        QSKIP("openpyxl or LibreOffice is not installed");
    QVERIFY(runScript(kMakeSample));
    QVERIFY(convert(path(QStringLiteral("book.xlsx")), QStringLiteral("xlsx")));
    QVERIFY(QFile::remove(path(QStringLiteral("book.xlsx"))));
    QVERIFY(QFile::rename(path(QStringLiteral("converted/book.xlsx")), path(QStringLiteral("book.xlsx"))));
    {
        Document document(path(QStringLiteral("book.xlsx")));
        QCOMPARE(document.read(1, 1), QVariant(QStringLiteral("old title")));
        QCOMPARE(document.read(2, 4), QVariant(3.0)); // the result that the office suite worked out
    }
    writeSample();
    QVERIFY(runScript(kLookAfterOffice));
    QVERIFY(convert(path(QStringLiteral("book.xlsx")), QLatin1String(kCsv)));
    const QString csv = QString::fromUtf8(fileContent(path(QStringLiteral("converted/book.csv"))));
    QVERIFY2(csv.startsWith(QStringLiteral("\"时间\",,\"kept\",")), qPrintable(csv));
    QCOMPARE(csv.count(QLatin1Char('\n')), 5);
}

void TestQXlsxOutside::newSheetsHaveFrozenTitlesAndFittingColumns()
{
    if (!hasOpenpyxl())
        QSKIP("openpyxl is not installed");
    const Fixture fixture;
    fillStore(300);
    heartBeatGraphs[0]->setYvalue({1, 2, -3});
    heartBeatGraphs[1]->setYvalue({1, 99999999999.0, 2});
    heartBeatGraphs[2]->setYvalue({1, -113.9137801234567, 2});
    heartBeatGraphs[3]->setYvalue({1e300, -1e-300, 0.1 + 0.2});
    heartBeatGraphs[4]->setYvalue({7, 7, 7});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path(QStringLiteral("book.xlsx"))));
    QVERIFY(runScript(kLookAtSheets, {QStringLiteral("book.xlsx")}));
    if (!QFile::exists(QLatin1String(kOffice)))
        QSKIP("LibreOffice is not installed");
    QVERIFY(convert(path(QStringLiteral("book.xlsx")), QStringLiteral("xlsx")));
    // A conversion without a window drops panes, but it keeps the widths that the office suite read.
    QVERIFY(runScript(kLookAtSheets, {QStringLiteral("converted/book.xlsx"), QStringLiteral("--no-panes")}));
}

void TestQXlsxOutside::existingSheetsKeepTheirWidthsAndPanes()
{
    if (!hasOpenpyxl())
        QSKIP("openpyxl is not installed");
    QVERIFY(runScript(kMakeSample));
    QVERIFY(runScript("import openpyxl\n"
                      "book = openpyxl.load_workbook('book.xlsx')\n"
                      "del book['Auswertung']\n"
                      "book.save('book.xlsx')\n"));
    const Fixture fixture;
    fillStore(3);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path(QStringLiteral("book.xlsx"))));
    QCOMPARE(Document(path(QStringLiteral("book.xlsx"))).sheetNames().size(), 8);
    QVERIFY(runScript(kLookAtSheets, {QStringLiteral("book.xlsx"), QStringLiteral("0x01-HeartBeat")}));
    // The next export finds all sheets there.
    const QByteArray second = readParts(path(QStringLiteral("book.xlsx"))).value("xl/worksheets/sheet2.xml");
    fillStore(3);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path(QStringLiteral("book.xlsx"))));
    QCOMPARE(readParts(path(QStringLiteral("book.xlsx"))).value("xl/worksheets/sheet2.xml"), second);
}

void TestQXlsxOutside::routeWorkbookHasFittingColumns()
{
    if (!hasOpenpyxl())
        QSKIP("openpyxl is not installed");
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeTitleRow(1, 3, {"id", "longitude", "a title of thirty characters.."});
    excelOperator.writeNumberRow(2, 3, {1, 113.9137801, 0});
    QVERIFY(excelOperator.save(path(QStringLiteral("book.xlsx"))));
    QVERIFY(runScript(kLookAtSheets, {QStringLiteral("book.xlsx")}));
}

QTEST_GUILESS_MAIN(TestQXlsxOutside)
#include "TestQXlsxOutside.moc"
