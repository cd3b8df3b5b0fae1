#include "QXlsx.h"

#include "OrdinaryUser.h"
#include "WorkbookFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

using QXlsx::Document;
using QXlsx::Format;

namespace
{

quint64 bits(double value)
{
    quint64 result;
    std::memcpy(&result, &value, sizeof result);
    return result;
}

/** So many numbers that a save writes many blocks and calls the cancel function several times. */
void fill(Document &document)
{
    for (int row = 1; row <= 30000; ++row)
        for (int column = 1; column <= 10; ++column)
            document.write(row, column, row * 0.37 + column);
}

} // namespace

class TestQXlsx : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void everyFiniteNumberReadsBackBitForBit();
    void nonFiniteNumbersAreErrors();
    void textsAreReadBack_data();
    void textsAreReadBack();
    void valuesKeepTheirKind();
    void overlongTextIsCut();
    void documentWithoutSheetsHasSheet1();
    void addedSheetIsSelected();
    void addingASheetTwiceChangesNothing();
    void unsafeNameIsFoundAgain();
    void sheetWithoutANameIsNumbered();
    void unknownSheetIsNotSelected();
    void sheetsKeepTheirCells();
    void rowsAfterTheLastAreLeftOutAndCounted();
    void columnsAndRowsOutsideAreLeftOut();
    void formatsAreComparedByValue();
    void saveReplacesTheFile();
    void sameCellsGiveTheSameBytes();
    void documentCanBeSavedAgain();
    void cancelledSaveLeavesTheOlderFile();
    void killedSaveLeavesTheOlderFile();
    void fullDiskLeavesTheOlderFile();
    void fullDiskIsReportedWithItsReason_data();
    void fullDiskIsReportedWithItsReason();
    void readOnlyFolderLeavesTheOlderFile();
    void folderIsNotReplaced();
    void missingFolderIsAnError();
    void unusualFileNamesAreWritten_data();
    void unusualFileNamesAreWritten();

private:
    QString path(const QString &name = QStringLiteral("book.xlsx")) const { return m_dir->filePath(name); }
    QStringList files() const { return QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestQXlsx::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void TestQXlsx::cleanup()
{
    m_dir.reset();
}

void TestQXlsx::everyFiniteNumberReadsBackBitForBit()
{
    constexpr int kCount = 100000;
    constexpr int kColumns = 50;
    std::vector<double> values{0.0,
                               -0.0,
                               0.1,
                               1.0 / 3,
                               std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::lowest(),
                               std::numeric_limits<double>::min(),
                               std::numeric_limits<double>::denorm_min(),
                               -std::numeric_limits<double>::denorm_min(),
                               9007199254740993.0,
                               113.91378};
    std::mt19937_64 random(1);
    while (values.size() < kCount) {
        const quint64 pattern = random();
        double value;
        std::memcpy(&value, &pattern, sizeof value);
        if (std::isfinite(value))
            values.push_back(value);
    }
    {
        Document document;
        for (int i = 0; i < kCount; ++i)
            QVERIFY(document.write(1 + i / kColumns, 1 + i % kColumns, values[static_cast<std::size_t>(i)]));
        QVERIFY(document.saveAs(path()));
    }
    const Document document(path());
    for (int i = 0; i < kCount; ++i) {
        const QVariant cell = document.read(1 + i / kColumns, 1 + i % kColumns);
        QCOMPARE(cell.type(), QVariant::Double);
        QCOMPARE(bits(cell.toDouble()), bits(values[static_cast<std::size_t>(i)]));
    }
}

void TestQXlsx::nonFiniteNumbersAreErrors()
{
    Document document;
    document.write(1, 1, std::numeric_limits<double>::infinity());
    document.write(2, 1, -std::numeric_limits<double>::infinity());
    document.write(3, 1, std::numeric_limits<double>::quiet_NaN());
    QVERIFY(document.saveAs(path()));
    const QByteArray sheet = readParts(path()).value("xl/worksheets/sheet1.xml");
    QVERIFY(sheet.contains("<c r=\"A1\" t=\"e\"><v>#DIV/0!</v></c>"));
    QVERIFY(sheet.contains("<c r=\"A2\" t=\"e\"><v>#DIV/0!</v></c>"));
    QVERIFY(sheet.contains("<c r=\"A3\" t=\"e\"><v>#NUM!</v></c>"));
    const Document loaded(path());
    for (const Document *one : {static_cast<const Document *>(&document), &loaded}) {
        QCOMPARE(one->read(1, 1).toDouble(), std::numeric_limits<double>::infinity());
        QCOMPARE(one->read(2, 1).toDouble(), std::numeric_limits<double>::infinity());
        QCOMPARE(one->read(3, 1).type(), QVariant::Double);
        QVERIFY(std::isnan(one->read(3, 1).toDouble()));
    }
}

void TestQXlsx::textsAreReadBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Chinese") << "滚转角(度)";
    QTest::newRow("empty") << "";
    QTest::newRow("markup") << "<a href=\"b\">&amp;'</a>]]>";
    QTest::newRow("blanks around") << "  a  b  ";
    QTest::newRow("only blanks") << " \t\n ";
    QTest::newRow("line ends") << "a\r\nb\rc\n";
    QTest::newRow("control characters") << QString::fromLatin1("\0\1\x1f\x7f\x9f", 5);
    QTest::newRow("looks escaped") << "_x0041_ _x005F_x0041_";
    QTest::newRow("halves of a pair") << QString(QChar(0xde00)) + QChar(0xd83d);
    QTest::newRow("beyond the first plane") << QString::fromUtf8("\xf0\x9f\x98\x80");
    QTest::newRow("looks like a formula") << "=1+1";
    QTest::newRow("looks like a number") << "1e5";
    QTest::newRow("longest") << QString(32767, QLatin1Char('\1'));
}

void TestQXlsx::textsAreReadBack()
{
    QFETCH(QString, text);
    {
        Document document;
        QVERIFY(document.write(2, 3, text));
        QCOMPARE(document.read(2, 3), QVariant(text));
        QVERIFY(document.saveAs(path()));
    }
    QCOMPARE(Document(path()).read(2, 3), QVariant(text));
}

void TestQXlsx::valuesKeepTheirKind()
{
    {
        Document document;
        QVERIFY(document.write(1, 1, QVariant(true)));
        QVERIFY(document.write(1, 2, QVariant(-7)));
        QVERIFY(document.write(1, 3, QVariant(2.5f)));
        QVERIFY(document.write(1, 4, QVariant(QStringLiteral("t"))));
        QVERIFY(document.write(1, 5, QVariant()));
        QVERIFY(document.write(1, 6, "utf-8 时"));
        QVERIFY(document.write(1, 7, QVariant(QByteArray("bytes"))));
        QVERIFY(document.saveAs(path()));
    }
    const Document document(path());
    QCOMPARE(document.read(1, 1), QVariant(true));
    QCOMPARE(document.read(1, 2), QVariant(-7.0));
    QCOMPARE(document.read(1, 3), QVariant(2.5));
    QCOMPARE(document.read(1, 4), QVariant(QStringLiteral("t")));
    QVERIFY(!document.read(1, 5).isValid());
    QCOMPARE(document.read(1, 6), QVariant(QStringLiteral("utf-8 时")));
    QCOMPARE(document.read(1, 7), QVariant(QStringLiteral("bytes")));
    QVERIFY(!document.read(1, 8).isValid());
    QVERIFY(!document.read(0, 1).isValid());
    QVERIFY(!document.read(1, -1).isValid());
}

void TestQXlsx::overlongTextIsCut()
{
    Document document;
    QVERIFY(document.write(1, 1, QString(40000, QLatin1Char('a'))));
    QCOMPARE(document.read(1, 1).toString().size(), 32767);
    QCOMPARE(document.takeWarnings(),
             QStringList("the text in row 1, column 1 of sheet Sheet1 is cut to 32767 of 40000 characters"));
    QCOMPARE(document.takeWarnings(), QStringList());
    // Not between the two halves of a character.
    const QString start(32766, QLatin1Char('a'));
    QVERIFY(document.write(1, 1, start + QString::fromUtf8("🛩") + "b"));
    QCOMPARE(document.read(1, 1).toString(), start);
}

void TestQXlsx::documentWithoutSheetsHasSheet1()
{
    Document document;
    QCOMPARE(document.sheetNames(), QStringList());
    QVERIFY(!document.read(1, 1).isValid());
    QVERIFY(document.saveAs(path()));
    QCOMPARE(Document(path()).sheetNames(), QStringList("Sheet1"));

    Document written;
    QVERIFY(written.write(1, 1, 1.0));
    QCOMPARE(written.sheetNames(), QStringList("Sheet1"));
}

void TestQXlsx::addedSheetIsSelected()
{
    Document document;
    QVERIFY(document.addSheet(QStringLiteral("a")));
    QVERIFY(document.addSheet(QStringLiteral("b")));
    document.write(1, 1, 5.0);
    QVERIFY(document.selectSheet(QStringLiteral("a")));
    QVERIFY(!document.read(1, 1).isValid());
    QCOMPARE(document.sheetNames(), QStringList({"a", "b"}));
}

void TestQXlsx::addingASheetTwiceChangesNothing()
{
    Document document;
    QVERIFY(document.addSheet(QStringLiteral("a")));
    document.write(1, 1, 5.0);
    QVERIFY(document.addSheet(QStringLiteral("b")));
    QVERIFY(!document.addSheet(QStringLiteral("a")));
    QVERIFY(!document.addSheet(QStringLiteral("A")));
    QVERIFY(!document.read(1, 1).isValid()); // still on b
    QVERIFY(document.selectSheet(QStringLiteral("A")));
    QCOMPARE(document.read(1, 1), QVariant(5.0));
    QCOMPARE(document.sheetNames(), QStringList({"a", "b"}));
}

void TestQXlsx::unsafeNameIsFoundAgain()
{
    const QString name = QStringLiteral("roll/pitch [deg] and some more letters");
    Document document;
    QVERIFY(document.addSheet(name));
    QVERIFY(!document.addSheet(name));
    QVERIFY(document.selectSheet(name));
    QCOMPARE(document.sheetNames(), QStringList(QStringLiteral("roll pitch  deg  and some more ")));
    QVERIFY(document.addSheet(QStringLiteral("_x0041_ & <b>")));
    QVERIFY(document.saveAs(path()));
    QCOMPARE(Document(path()).sheetNames(), document.sheetNames());
}

void TestQXlsx::sheetWithoutANameIsNumbered()
{
    Document document;
    QVERIFY(document.addSheet(QStringLiteral("sheet1")));
    QVERIFY(document.addSheet({}));
    QVERIFY(document.addSheet({}));
    QCOMPARE(document.sheetNames(), QStringList({"sheet1", "Sheet2", "Sheet3"}));
}

void TestQXlsx::unknownSheetIsNotSelected()
{
    Document document;
    QVERIFY(!document.selectSheet(QStringLiteral("a")));
    document.addSheet(QStringLiteral("b"));
    QVERIFY(!document.selectSheet(QStringLiteral("a")));
    document.write(1, 1, 3.0);
    QVERIFY(document.selectSheet(QStringLiteral("b")));
    QCOMPARE(document.read(1, 1), QVariant(3.0));
}

void TestQXlsx::sheetsKeepTheirCells()
{
    {
        Document document;
        for (int sheet = 0; sheet < 8; ++sheet) {
            document.addSheet(QStringLiteral("s%1").arg(sheet));
            document.write(1, 1, QStringLiteral("title"));
            document.write(2, 1, double(sheet));
        }
        QVERIFY(document.saveAs(path()));
    }
    Document document(path());
    for (int sheet = 7; sheet >= 0; --sheet) {
        QVERIFY(document.selectSheet(QStringLiteral("s%1").arg(sheet)));
        QCOMPARE(document.read(2, 1), QVariant(double(sheet)));
    }
}

void TestQXlsx::rowsAfterTheLastAreLeftOutAndCounted()
{
    Document document;
    document.addSheet(QStringLiteral("long"));
    document.addSheet(QStringLiteral("short"));
    document.write(1, 1, 1.0);
    document.selectSheet(QStringLiteral("long"));
    QVERIFY(document.write(1048576, 1, 1.0));
    for (int row : {1048577, 1048579, 1048578})
        for (int column : {1, 2})
            QVERIFY(!document.write(row, column, QVariant(1.0)));
    QVERIFY(!document.write(std::numeric_limits<int>::max(), 3, QStringLiteral("x")));
    QVERIFY(document.saveAs(path()));
    QCOMPARE(document.takeWarnings(),
             QStringList(QStringLiteral("4 rows of sheet long are left out of %1: a sheet ends "
                                        "at row 1048576")
                             .arg(path())));
    Document loaded(path());
    QCOMPARE(loaded.read(1048576, 1), QVariant(1.0));
}

void TestQXlsx::columnsAndRowsOutsideAreLeftOut()
{
    Document document;
    QVERIFY(document.write(1, 16384, 1.0));
    QVERIFY(!document.write(1, 16385, 1.0));
    QVERIFY(!document.write(1, 0, 1.0));
    QVERIFY(!document.write(0, 1, 1.0));
    QVERIFY(!document.write(-5, 1, "x"));
    QVERIFY(!document.write(std::numeric_limits<int>::min(), 1, QVariant()));
    QVERIFY(!document.write(1048577, 0, 1.0));
    QVERIFY(document.saveAs(path()));
    QCOMPARE(document.takeWarnings(), QStringList());
    QCOMPARE(Document(path()).read(1, 16384), QVariant(1.0));
}

void TestQXlsx::formatsAreComparedByValue()
{
    Format format;
    QVERIFY(format.isEmpty());
    format.setFontColor(Qt::black);
    QVERIFY(!format.isEmpty());
    format.setFontSize(12);
    format.setBorderStyle(Format::BorderThin);
    format.setPatternBackgroundColor(Qt::lightGray);
    format.setFillPattern(Format::PatternSolid);
    format.setHorizontalAlignment(Format::AlignHCenter);
    QCOMPARE(format.fontColor(), QColor(Qt::black));
    QCOMPARE(format.fontSize(), 12);
    QCOMPARE(format.borderStyle(), Format::BorderThin);
    QCOMPARE(format.patternBackgroundColor().name(), QStringLiteral("#c0c0c0"));
    QCOMPARE(format.fillPattern(), Format::PatternSolid);
    QCOMPARE(format.horizontalAlignment(), Format::AlignHCenter);
    Format other = format;
    QVERIFY(other == format);
    other.setFontColor({});
    QVERIFY(other != format);
    QVERIFY(!other.fontColor().isValid());
}

void TestQXlsx::saveReplacesTheFile()
{
    QVERIFY(writeFile(path(), "older"));
    Document document;
    document.addSheet(QStringLiteral("new"));
    QVERIFY(document.saveAs(path()));
    QCOMPARE(files(), QStringList("book.xlsx"));
    QCOMPARE(Document(path()).sheetNames(), QStringList("new"));
}

void TestQXlsx::sameCellsGiveTheSameBytes()
{
    for (const char *name : {"a.xlsx", "b.xlsx"}) {
        Document document;
        document.write(1, 1, 0.1);
        QVERIFY(document.saveAs(path(QLatin1String(name))));
    }
    QCOMPARE(fileContent(path(QStringLiteral("a.xlsx"))), fileContent(path(QStringLiteral("b.xlsx"))));
}

void TestQXlsx::documentCanBeSavedAgain()
{
    {
        Document document;
        document.write(1, 1, 1.0);
        QVERIFY(document.saveAs(path()));
    }
    Document document(path());
    document.write(2, 1, 2.0);
    document.addSheet(QStringLiteral("added"));
    document.write(1, 1, 10.0);
    QVERIFY(document.saveAs(path()));
    document.write(1, 2, 11.0);
    document.addSheet(QStringLiteral("more"));
    QVERIFY(document.saveAs(path()));
    const QString elsewhere = path(QStringLiteral("copy.xlsx"));
    QVERIFY(document.saveAs(elsewhere));
    for (const QString &file : {path(), elsewhere}) {
        Document loaded(file);
        QCOMPARE(loaded.sheetNames(), QStringList({"Sheet1", "added", "more"}));
        QCOMPARE(loaded.read(1, 1), QVariant(1.0));
        QCOMPARE(loaded.read(2, 1), QVariant(2.0));
        QVERIFY(loaded.selectSheet(QStringLiteral("added")));
        QCOMPARE(loaded.read(1, 1), QVariant(10.0));
        QCOMPARE(loaded.read(1, 2), QVariant(11.0));
    }
}

void TestQXlsx::cancelledSaveLeavesTheOlderFile()
{
    QVERIFY(writeFile(path(), "older"));
    Document document;
    fill(document);
    int asked = 0;
    document.setCancelled([&asked] { return ++asked == 2; });
    QVERIFY(!document.saveAs(path()));
    QCOMPARE(fileContent(path()), QByteArray("older"));
    QCOMPARE(files(), QStringList("book.xlsx"));
    document.setCancelled({});
    QVERIFY(document.saveAs(path()));
    QCOMPARE(Document(path()).read(30000, 10), QVariant(30000 * 0.37 + 10));
}

void TestQXlsx::killedSaveLeavesTheOlderFile()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(writeFile(path(), "older"));
    const bool killed = killedAtMark([this](const std::function<void()> &mark) {
        Document document;
        fill(document);
        int asked = 0;
        document.setCancelled([&] {
            if (++asked == 3)
                mark(); // half of the cells are written
            return false;
        });
        document.saveAs(path());
    });
    QVERIFY(killed);
    QCOMPARE(fileContent(path()), QByteArray("older"));
}

void TestQXlsx::fullDiskLeavesTheOlderFile()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(writeFile(path(), "older"));
    QVERIFY(letOthersWrite(m_dir->path()));
    QVERIFY(letOthersWrite(path()));
    const int code = asOrdinaryUser([this] {
        limitFileSize(100000);
        Document document;
        fill(document);
        return document.saveAs(path()) ? 1 : 0;
    });
    QCOMPARE(code, 0);
    QCOMPARE(fileContent(path()), QByteArray("older"));
    QCOMPARE(files(), QStringList("book.xlsx"));
}

void TestQXlsx::fullDiskIsReportedWithItsReason_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<unsigned>("room");
    QTest::newRow("a block fits in part") << 30000 << 300000U;
    QTest::newRow("a block does not fit") << 30000 << 262144U;
    QTest::newRow("an odd number of bytes") << 30000 << 100001U;
    QTest::newRow("few bytes") << 30000 << 17U;
    QTest::newRow("no byte") << 1 << 0U;
    QTest::newRow("the last bytes do not fit") << 1 << 2000U;
}

void TestQXlsx::fullDiskIsReportedWithItsReason()
{
    QFETCH(int, rows);
    QFETCH(unsigned, room);
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(letOthersWrite(m_dir->path()));
    const QString expected = path() + QStringLiteral(" is not written: File too large");
    const int code = asOrdinaryUser([&] {
        limitFileSize(room);
        Document document;
        for (int row = 1; row <= rows; ++row)
            for (int column = 1; column <= 10; ++column)
                document.write(row, column, row * 0.37 + column);
        if (document.saveAs(path()))
            return 1;
        const QStringList warnings = document.takeWarnings();
        return warnings.size() == 1 && warnings.first() == expected ? 0 : 2;
    });
    QCOMPARE(code, 0);
    QCOMPARE(files(), QStringList());
}

void TestQXlsx::readOnlyFolderLeavesTheOlderFile()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(writeFile(path(), "older"));
    QVERIFY(letOthersRead(m_dir->path()));
    const int code = asOrdinaryUser([this] {
        Document document;
        document.write(1, 1, 1.0);
        return document.saveAs(path()) || document.saveAs(path(QStringLiteral("new.xlsx"))) ? 1 : 0;
    });
    QCOMPARE(code, 0);
    QCOMPARE(fileContent(path()), QByteArray("older"));
    QCOMPARE(files(), QStringList("book.xlsx"));
}

void TestQXlsx::folderIsNotReplaced()
{
    QVERIFY(QDir(m_dir->path()).mkdir(QStringLiteral("book.xlsx")));
    Document document(path());
    document.write(1, 1, 1.0);
    QVERIFY(!document.saveAs(path()));
    QVERIFY(!document.saveAs({}));
    QVERIFY(QFileInfo(path()).isDir());
    QCOMPARE(files(), QStringList());
}

void TestQXlsx::missingFolderIsAnError()
{
    Document document;
    QVERIFY(!document.saveAs(path(QStringLiteral("none/book.xlsx"))));
    QVERIFY(!QFileInfo::exists(path(QStringLiteral("none"))));
}

void TestQXlsx::unusualFileNamesAreWritten_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("Chinese with blanks") << QStringLiteral("飞行 记录 一.xlsx");
    QTest::newRow("longest name that a file may have") << QString(250, 'a') + QStringLiteral(".xlsx");
    QTest::newRow("longest Chinese name") << QString(83, QChar(0x98de)) + QStringLiteral(".xlsx");
    QString longPath;
    while (longPath.size() < 3900)
        longPath += QString(99, 'd') + QLatin1Char('/');
    QTest::newRow("path of 4000 characters") << longPath + QStringLiteral("book.xlsx");
}

void TestQXlsx::unusualFileNamesAreWritten()
{
    QFETCH(QString, name);
    QVERIFY(QDir().mkpath(QFileInfo(path(name)).path()));
    for (double value : {1.0, 2.0}) {
        Document document(path(name));
        document.write(1, 1, value);
        QVERIFY(document.saveAs(path(name)));
        QCOMPARE(Document(path(name)).read(1, 1), QVariant(value));
        QCOMPARE(QFileInfo(path(name)).dir().entryList(QDir::Files | QDir::Hidden).size(), 1);
    }
}

QTEST_GUILESS_MAIN(TestQXlsx)
#include "TestQXlsx.moc"
