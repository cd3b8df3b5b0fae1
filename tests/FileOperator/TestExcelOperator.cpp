#include "ExcelOperator.h"
#include "ExportNames.h"
#include "Fixture.h"
#include "LocaleCodec.h"
#include "LogFile.h"
#include "OrdinaryUser.h"
#include "WorkbookFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

QStringList sheetNamesOfAnExport()
{
    QStringList names;
    for (const ExpectedGroup &group : expectedGroups()) {
        if (!group.textOnly)
            names.append(group.name);
    }
    return names;
}

bool sameBits(const QVariant &cell, double value)
{
    const double found = cell.toDouble();
    return cell.type() == QVariant::Double && std::memcmp(&found, &value, sizeof value) == 0;
}

} // namespace

class TestExcelOperator : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void hasNoSignalsOrSlots();
    void titleRowIsTextAndNumberRowIsNumbers();
    void rowsTakeOnlyTheFirstCells();
    void rowsOfAnOperatorAreItsOwnWorkbook();
    void savingStartsFromAnEmptyWorkbook();
    void failedSaveIsLogged();
    void exportHasEightSheets();
    void everySheetHasLabelsAndSamples();
    void samplesKeepEveryBit();
    void backupChannelIsInNoSheet();
    void emptyGroupHasItsHeaderOnly();
    void infinityAndNotANumberAreErrors();
    void existingWorkbookIsWrittenOver();
    void fileThatIsNoWorkbookIsReplaced();
    void shorterChannelLeavesItsCells();
    void oneSheetCanBeWritten();
    void sheetOfThatNameIsWrittenOver();
    void sheetWithoutCellsIsLeftAlone();
    void givenGroupsAreWrittenInsteadOfTheStore();
    void rowsAfterTheLastAreLeftOutAndLogged();
    void cancelledExportWritesNothing();
    void failedExportLeavesTheOldWorkbook_data();
    void failedExportLeavesTheOldWorkbook();
    void readOnlyFolderLeavesTheOldWorkbook();
    void readOnlyFolderIsLoggedWithItsReason();
    void fullDiskIsLoggedWithItsReason();
    void unusableFileIsRenamed_data();
    void unusableFileIsRenamed();
    void fileWithAChineseNameIsSetAsideInEveryLocale();
    void takenNamesAreSkipped();
    void unreadableWorkbookIsRenamed();
    void linkedFileIsSetAsideWhereItLies();
    void pipeIsNotWaitedFor();
    void fileThatCannotBeRenamedIsAnError();
    void workbookWithADamagedSheetIsRenamed();
    void savingRowsReplacesAWorkbookAndRenamesOtherFiles();
    void cancelLeavesOtherFilesUnchanged();
    void formatsAreThoseOfTitlesAndNumbers_data();
    void formatsAreThoseOfTitlesAndNumbers();

private:
    QString path(const char *name) const { return m_fixture->path(QString::fromUtf8(name)); }

    std::unique_ptr<Fixture> m_fixture;
};

void TestExcelOperator::hasNoSignalsOrSlots()
{
    QCOMPARE(ExcelOperator::staticMetaObject.methodCount(), QObject::staticMetaObject.methodCount());
    QCOMPARE(QByteArray(ExcelOperator::staticMetaObject.className()), QByteArray("ExcelOperator"));
}

void TestExcelOperator::titleRowIsTextAndNumberRowIsNumbers()
{
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeTitleRow(1, 3, {"id", 5, 2.5});
    excelOperator.writeNumberRow(4, 3, {1, "2.5", "no number"});
    QVERIFY(excelOperator.save(path("rows.xlsx")));
    const QXlsx::Document document(path("rows.xlsx"));
    QCOMPARE(document.read(1, 1), QVariant("id"));
    QCOMPARE(document.read(1, 2), QVariant("5"));
    QCOMPARE(document.read(1, 3), QVariant("2.5"));
    QCOMPARE(document.read(4, 1), QVariant(1.0));
    QCOMPARE(document.read(4, 2), QVariant(2.5));
    QCOMPARE(document.read(4, 3), QVariant(0.0));
    QVERIFY(!document.read(2, 1).isValid());
}

void TestExcelOperator::rowsTakeOnlyTheFirstCells()
{
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeTitleRow(1, 2, {"a", "b", "c"});
    // The count is larger than the list.
    excelOperator.writeNumberRow(2, 9, {1, 2});
    QVERIFY(excelOperator.save(path("rows.xlsx")));
    const QXlsx::Document document(path("rows.xlsx"));
    QCOMPARE(document.read(1, 2), QVariant("b"));
    QVERIFY(!document.read(1, 3).isValid());
    QCOMPARE(document.read(2, 2), QVariant(2.0));
    QVERIFY(!document.read(2, 3).isValid());
}

void TestExcelOperator::rowsOfAnOperatorAreItsOwnWorkbook()
{
    fillStore(1);
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeTitleRow(1, 1, {"id"});
    QVERIFY(excelOperator.writeExcel(path("export.xlsx")));
    QVERIFY(excelOperator.save(path("rows.xlsx")));
    QCOMPARE(QXlsx::Document(path("rows.xlsx")).sheetNames(), QStringList{"Sheet1"});
    QCOMPARE(QXlsx::Document(path("export.xlsx")).sheetNames(), sheetNamesOfAnExport());
}

void TestExcelOperator::savingStartsFromAnEmptyWorkbook()
{
    ExcelOperator first(nullptr);
    first.writeNumberRow(9, 1, {9});
    QVERIFY(first.save(path("rows.xlsx")));
    ExcelOperator second(nullptr);
    second.writeNumberRow(1, 1, {1});
    QVERIFY(second.save(path("rows.xlsx")));
    QVERIFY(!QXlsx::Document(path("rows.xlsx")).read(9, 1).isValid());
}

void TestExcelOperator::failedSaveIsLogged()
{
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeNumberRow(1, 1, {1});
    const LogFile log;
    QVERIFY(!excelOperator.save(path("missing/rows.xlsx")));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().level, QStringLiteral("warning"));
    QVERIFY(log.messages().first().startsWith(path("missing/rows.xlsx") + " cannot be written: "));
}

void TestExcelOperator::exportHasEightSheets()
{
    fillStore(1);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QCOMPARE(QXlsx::Document(path("x.xlsx")).sheetNames(), sheetNamesOfAnExport());
    QCOMPARE(sheetNamesOfAnExport().size(), 8);
}

void TestExcelOperator::everySheetHasLabelsAndSamples()
{
    fillStore(25);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    int columns = 0;
    for (const ExpectedGroup &group : expectedGroups()) {
        if (group.textOnly)
            continue;
        QVERIFY(document.selectSheet(group.name));
        for (int c = 0; c < group.count; ++c) {
            QCOMPARE(document.read(1, c + 1), QVariant(group.channels[c]->graphName()));
            for (int r = 0; r < 25; ++r)
                QVERIFY(sameBits(document.read(r + 2, c + 1), group.channels[c]->yvalue().at(r)));
            QVERIFY(!document.read(27, c + 1).isValid());
            ++columns;
        }
        QVERIFY(!document.read(1, group.count + 1).isValid());
    }
    QCOMPARE(columns, 142);
}

void TestExcelOperator::samplesKeepEveryBit()
{
    const QVector<double> samples{0.1,
                                  1.0 / 3.0,
                                  -113.9137801234567,
                                  1e-300,
                                  std::numeric_limits<double>::denorm_min(),
                                  std::numeric_limits<double>::max(),
                                  9007199254740993.0,
                                  123456789012345680.0};
    for (MyGraph *channel : heartBeatGraphs)
        channel->setYvalue(samples);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    document.selectSheet("0x01-HeartBeat");
    for (int i = 0; i < samples.size(); ++i)
        QVERIFY2(sameBits(document.read(i + 2, 5), samples[i]), qPrintable(QString::number(samples[i])));
}

void TestExcelOperator::backupChannelIsInNoSheet()
{
    fillStore(1);
    backupGraph->setYvalue({424242});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    for (const QString &name : document.sheetNames()) {
        QVERIFY(document.selectSheet(name));
        for (int c = 1; c <= 40; ++c) {
            QVERIFY(document.read(1, c).toString() != backupGraph->graphName());
            QVERIFY(document.read(2, c) != QVariant(424242.0));
        }
    }
}

void TestExcelOperator::emptyGroupHasItsHeaderOnly()
{
    fillStore(2);
    for (MyGraph *channel : payloadGraphs)
        channel->setYvalue({});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    QVERIFY(document.selectSheet("0x41-PayloadInfo"));
    QCOMPARE(document.read(1, 14), QVariant(payloadGraphs[13]->graphName()));
    QVERIFY(!document.read(2, 1).isValid());
    QVERIFY(document.selectSheet("0x51-Difference"));
    QVERIFY(document.read(3, 5).isValid());
}

void TestExcelOperator::infinityAndNotANumberAreErrors()
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (MyGraph *channel : differenceGraphs)
        channel->setYvalue({infinity, -infinity, std::nan("")});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    document.selectSheet("0x51-Difference");
    QVERIFY(std::isinf(document.read(2, 1).toDouble()));
    QVERIFY(std::isinf(document.read(3, 1).toDouble()));
    QVERIFY(std::isnan(document.read(4, 1).toDouble()));
}

void TestExcelOperator::existingWorkbookIsWrittenOver()
{
    fillStore(5);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    {
        QXlsx::Document mine(path("x.xlsx"));
        mine.addSheet("Mine");
        mine.write(1, 1, QStringLiteral("notes"));
        QVERIFY(mine.saveAs(path("x.xlsx")));
    }
    const double oldLast = heartBeatGraphs[0]->yvalue().at(4);
    fillStore(2);
    for (MyGraph *channel : heartBeatGraphs)
        channel->setYvalue({71, 72});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    QCOMPARE(document.sheetNames(), sheetNamesOfAnExport() << "Mine");
    QVERIFY(document.selectSheet("0x01-HeartBeat"));
    QCOMPARE(document.read(2, 1), QVariant(71.0));
    QCOMPARE(document.read(3, 1), QVariant(72.0));
    // Cells after the new data keep their old content.
    QVERIFY(sameBits(document.read(6, 1), oldLast));
    QVERIFY(document.selectSheet("Mine"));
    QCOMPARE(document.read(1, 1), QVariant("notes"));
}

void TestExcelOperator::fileThatIsNoWorkbookIsReplaced()
{
    fillStore(1);
    for (const QByteArray &bytes : {QByteArray("garbage"), QByteArray(), QByteArray("PK\3\4 cut off")}) {
        {
            QFile file(path("x.xlsx"));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(bytes);
        }
        const LogFile log;
        QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().first().level, QStringLiteral("warning"));
        QCOMPARE(QXlsx::Document(path("x.xlsx")).sheetNames(), sheetNamesOfAnExport());
    }
}

void TestExcelOperator::shorterChannelLeavesItsCells()
{
    for (MyGraph *channel : differenceGraphs)
        channel->setYvalue({1.0, 2.0, 3.0});
    differenceGraphs[2]->setYvalue({9.0});
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    document.selectSheet("0x51-Difference");
    QCOMPARE(document.read(2, 3), QVariant(9.0));
    QVERIFY(!document.read(3, 3).isValid());
    QCOMPARE(document.read(4, 4), QVariant(3.0));
}

void TestExcelOperator::oneSheetCanBeWritten()
{
    fillStore(2);
    QXlsx::Document document;
    ExcelOperator(nullptr).writeSheet(document, "Three", sensorGraphs, 3);
    QCOMPARE(document.sheetNames(), QStringList{"Three"});
    QCOMPARE(document.read(1, 3), QVariant(sensorGraphs[2]->graphName()));
    QCOMPARE(document.read(3, 3), QVariant(sensorGraphs[2]->yvalue().at(1)));
    QVERIFY(!document.read(1, 4).isValid());
}

void TestExcelOperator::sheetOfThatNameIsWrittenOver()
{
    fillStore(1);
    QXlsx::Document document;
    document.addSheet("Three");
    document.write(5, 5, 55.0);
    document.addSheet("Other");
    ExcelOperator(nullptr).writeSheet(document, "Three", sensorGraphs, 3);
    QCOMPARE(document.sheetNames(), (QStringList{"Three", "Other"}));
    QVERIFY(document.selectSheet("Three"));
    QCOMPARE(document.read(5, 5), QVariant(55.0));
    QCOMPARE(document.read(2, 1), QVariant(sensorGraphs[0]->yvalue().at(0)));
}

void TestExcelOperator::sheetWithoutCellsIsLeftAlone()
{
    // A chart sheet has the name of the second group.
    Parts parts = foreignWorkbook(sheetXml({}));
    for (auto &[name, bytes] : parts) {
        if (name == "xl/workbook.xml")
            bytes.replace("\"Other\"", "\"0x02-ControlSystemStatus\"");
        if (name == "xl/_rels/workbook.xml.rels")
            bytes.replace("/worksheet\" Target=\"worksheets/sheet7.xml",
                          "/chartsheet\" Target=\"worksheets/sheet7.xml");
    }
    QVERIFY(writeParts(path("x.xlsx"), parts));
    const QByteArray chart = readParts(path("x.xlsx")).value("xl/worksheets/sheet7.xml");
    fillStore(2);
    const LogFile log;
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QCOMPARE(log.leveledMessages(),
             QStringList{"error: 0x02-ControlSystemStatus is left out: the sheet of that name holds no cells"});
    QCOMPARE(readParts(path("x.xlsx")).value("xl/worksheets/sheet7.xml"), chart);
    QXlsx::Document document(path("x.xlsx"));
    // The sheet before it keeps its five columns, and the sheets after it are complete.
    QVERIFY(document.selectSheet("0x01-HeartBeat"));
    for (int c = 0; c < 5; ++c) {
        QCOMPARE(document.read(1, c + 1), QVariant(heartBeatGraphs[c]->graphName()));
        QVERIFY(sameBits(document.read(3, c + 1), heartBeatGraphs[c]->yvalue().at(1)));
    }
    QVERIFY(!document.read(1, 6).isValid());
    QVERIFY(document.selectSheet("0x53-EquipmentStatus"));
    QVERIFY(sameBits(document.read(3, 16), equipmentGraphs[15]->yvalue().at(1)));
    QVERIFY(document.selectSheet("Plan & Ist"));
    QVERIFY(!document.read(1, 1).isValid());
}

void TestExcelOperator::givenGroupsAreWrittenInsteadOfTheStore()
{
    fillStore(3);
    const double sample = equipmentGraphs[15]->yvalue().at(2);
    ExcelOperator excelOperator(nullptr);
    excelOperator.setGroups(exportGroups());
    Fixture::renewStore();
    QVERIFY(excelOperator.writeExcel(path("x.xlsx")));
    QXlsx::Document document(path("x.xlsx"));
    document.selectSheet("0x53-EquipmentStatus");
    QVERIFY(sameBits(document.read(4, 16), sample));
}

void TestExcelOperator::rowsAfterTheLastAreLeftOutAndLogged()
{
    // A sheet has 1048576 rows, one of them the header's.
    QVector<double> samples(1048576 + 4, 1.0);
    samples[1048574] = 2.0;
    ExcelOperator excelOperator(nullptr);
    QVector<ExportGroup> groups(1);
    groups[0].name = QStringLiteral("Long");
    groups[0].labels = QStringList{"a"};
    groups[0].samples = {samples};
    excelOperator.setGroups(groups);
    const LogFile log;
    QVERIFY(excelOperator.writeExcel(path("x.xlsx")));
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.messages().first().contains(QLatin1String("5 rows of sheet Long")),
             qPrintable(log.messages().first()));
    const QXlsx::Document document(path("x.xlsx"));
    QCOMPARE(document.read(1048576, 1), QVariant(2.0));
}

void TestExcelOperator::cancelledExportWritesNothing()
{
    fillStore(10);
    const std::atomic<bool> cancelled{true};
    ExcelOperator excelOperator(nullptr);
    excelOperator.setCancelFlag(&cancelled);
    QVERIFY(!excelOperator.writeExcel(path("x.xlsx")));
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void TestExcelOperator::failedExportLeavesTheOldWorkbook_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("folder is missing") << "missing/x.xlsx";
    QTest::newRow("a folder has the name") << "folder.xlsx";
    QTest::newRow("very long name") << QString(4000, QLatin1Char('x')) + ".xlsx";
}

void TestExcelOperator::failedExportLeavesTheOldWorkbook()
{
    QFETCH(QString, target);
    fillStore(2);
    QVERIFY(QDir().mkdir(path("folder.xlsx")));
    const LogFile log;
    QVERIFY(!ExcelOperator(nullptr).writeExcel(m_fixture->path(target)));
    const QString last = log.leveledMessages().value(log.lines().size() - 1);
    QVERIFY2(last.startsWith("warning: " + m_fixture->path(target)) && last.contains(" written: "), qPrintable(last));
    QVERIFY(QDir(path("folder.xlsx")).isEmpty());
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void TestExcelOperator::readOnlyFolderLeavesTheOldWorkbook()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(2);
    QVERIFY(QDir().mkdir(path("locked")));
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("locked/x.xlsx")));
    const QByteArray before = content(path("locked/x.xlsx"));
    QVERIFY(letOthersRead(path("locked")));
    QVERIFY(letOthersRead(path("locked/x.xlsx")));
    QVERIFY(letOthersRead(m_fixture->dir()));
    fillStore(3);
    const QString target = path("locked/x.xlsx");
    QCOMPARE(asOrdinaryUser([&target] { return ExcelOperator(nullptr).writeExcel(target) ? 1 : 0; }), 0);
    QVERIFY(content(path("locked/x.xlsx")) == before);
    QCOMPARE(QDir(path("locked")).entryList(QDir::Files | QDir::Hidden), QStringList{"x.xlsx"});
}

void TestExcelOperator::readOnlyFolderIsLoggedWithItsReason()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(2);
    QVERIFY(QDir().mkdir(path("locked")));
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("locked/x.xlsx")));
    QVERIFY(letOthersRead(path("locked")));
    // The workbook itself is writable.
    QVERIFY(letOthersWrite(path("locked/x.xlsx")));
    QVERIFY(letOthersRead(m_fixture->dir()));
    const QByteArray before = content(path("locked/x.xlsx"));
    const QStringList expected{"warning: " + path("locked/x.xlsx") + " cannot be written: Permission denied"};
    QCOMPARE(asOrdinaryUser([&] {
                 const LogFile log;
                 return !ExcelOperator(nullptr).writeExcel(path("locked/x.xlsx")) && log.leveledMessages() == expected
                     ? 0
                     : 1;
             }),
             0);
    QVERIFY(content(path("locked/x.xlsx")) == before);
}

void TestExcelOperator::fullDiskIsLoggedWithItsReason()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(2000);
    QVERIFY(letOthersWrite(m_fixture->dir()));
    const QStringList expected{"warning: " + path("x.xlsx") + " is not written: File too large"};
    QCOMPARE(asOrdinaryUser([&] {
                 limitFileSize(300000);
                 const LogFile log;
                 const bool written = ExcelOperator(nullptr).writeExcel(path("x.xlsx"));
                 return !written && log.leveledMessages() == expected ? 0 : 1;
             }),
             0);
    QVERIFY(!QFileInfo::exists(path("x.xlsx")));
}

void TestExcelOperator::unusableFileIsRenamed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const auto bytesOf = [this](const Parts &parts) {
        return writeParts(path("made.xlsx"), parts) ? content(path("made.xlsx")) : QByteArray();
    };
    const auto changed = [](QByteArray bytes, int offset, const QByteArray &value) {
        // In each entry of the directory.
        for (int entry = bytes.indexOf("PK\1\2"); entry >= 0; entry = bytes.indexOf("PK\1\2", entry + 1))
            bytes.replace(entry + offset, value.size(), value);
        return bytes;
    };
    const auto with = [](Parts parts, int index, const QByteArray &before, const QByteArray &after) {
        parts[index].second.replace(before, after);
        return parts;
    };
    init();
    const Parts whole = foreignWorkbook(sheetXml({}));
    const QByteArray good = bytesOf(whole);
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("garbage") << QByteArray("a text that somebody calls a workbook");
    QTest::newRow("protected by a password") << QByteArray("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1") + QByteArray(4096, '\0');
    QTest::newRow("encrypted parts") << changed(good, 8, QByteArray("\1\0", 2));
    QTest::newRow("parts packed with bzip2") << changed(good, 10, QByteArray("\14\0", 2));
    QTest::newRow("damaged directory") << changed(good, 0, "XXXX");
    QTest::newRow("part with a long name") << bytesOf(Parts(whole) << Parts{{QByteArray(1024, 'n'), "x"}});
    QByteArray sheets;
    for (int i = 1; i <= 9999; ++i)
        sheets += "<x:sheet name=\"s" + QByteArray::number(i) + "\" sheetId=\"" + QByteArray::number(i + 10) + "\"/>";
    QTest::newRow("10001 sheets") << bytesOf(with(whole, 2, "</x:sheets>", sheets + "</x:sheets>"));
    QByteArray attributes;
    for (int i = 0; i < 1001; ++i)
        attributes += " a" + QByteArray::number(i) + "=\"\"";
    QTest::newRow("list with 1001 attributes") << bytesOf(with(whole, 2, "<x:sheets", "<x:sheets" + attributes));
    QTest::newRow("style with 1001 attributes") << bytesOf(with(whole, 8, "<font>", "<font" + attributes + '>'));
    const Parts named = with(whole, 2, "Plan &amp; Ist", "0x01-HeartBeat");
    QTest::newRow("row with 1001 attributes")
        << bytesOf(with(named, 4, "<sheetData>", "<sheetData><row" + attributes + "/>"));
    QByteArray wide("\xff\xfe", 2);
    const QString row = QString::fromUtf8(sheetXml("<row" + attributes + "/>"));
    wide += QByteArray(reinterpret_cast<const char *>(row.utf16()), row.size() * 2);
    QTest::newRow("row with 1001 attributes in UTF-16") << bytesOf(with(named, 4, named.at(4).second, wide));
    QTest::newRow("relations of another namespace")
        << bytesOf(with(whole, 3, "package/2006/relationships", "package/2007/relationships"));
    cleanup();
}

void TestExcelOperator::fileWithAChineseNameIsSetAsideInEveryLocale()
{
    const OtherLocaleCodec locale;
    const QTemporaryDir dir; // its files have names of this locale, so it goes before the locale does
    fillStore(1);
    const QString target = dir.filePath(QStringLiteral("飞行.xlsx"));
    QVERIFY(writeFile(target, "no workbook"));
    QVERIFY(ExcelOperator(nullptr).writeExcel(target));
    QCOMPARE(content(target + ".old"), QByteArray("no workbook"));
    QCOMPARE(QXlsx::Document(target).sheetNames(), sheetNamesOfAnExport());
}

void TestExcelOperator::unusableFileIsRenamed()
{
    QFETCH(QByteArray, bytes);
    fillStore(1);
    QVERIFY(writeFile(path("x.xlsx"), bytes));
    const LogFile log;
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QVERIFY(content(path("x.xlsx.old")) == bytes);
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), (QStringList{"x.xlsx", "x.xlsx.old"}));
    {
        QXlsx::Document document(path("x.xlsx"));
        QCOMPARE(document.sheetNames(), sheetNamesOfAnExport());
        QVERIFY(document.selectSheet("0x53-EquipmentStatus"));
        QVERIFY(sameBits(document.read(2, 16), equipmentGraphs[15]->yvalue().at(0)));
    }
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().level, QStringLiteral("warning"));
    const QString start = path("x.xlsx") + " is kept as " + path("x.xlsx.old") + ": ";
    QVERIFY2(log.messages().first().startsWith(start) && log.messages().first().size() > start.size() + 5,
             qPrintable(log.messages().first()));
    // The next export finds our own workbook and writes over it.
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), (QStringList{"x.xlsx", "x.xlsx.old"}));
}

void TestExcelOperator::takenNamesAreSkipped()
{
    fillStore(1);
    QVERIFY(writeFile(path("x.xlsx"), "third"));
    QVERIFY(writeFile(path("x.xlsx.old"), "first"));
    QVERIFY(writeFile(path("x.xlsx.old2"), "second"));
    const LogFile log;
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QCOMPARE(content(path("x.xlsx.old")), QByteArray("first"));
    QCOMPARE(content(path("x.xlsx.old2")), QByteArray("second"));
    QCOMPARE(content(path("x.xlsx.old3")), QByteArray("third"));
    QVERIFY(log.messages().value(0).contains(" is kept as " + path("x.xlsx.old3") + ": "));
}

void TestExcelOperator::unreadableWorkbookIsRenamed()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(1);
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    const QByteArray before = content(path("x.xlsx"));
    QVERIFY(letNobodyRead(path("x.xlsx")));
    QVERIFY(letOthersWrite(m_fixture->dir()));
    fillStore(3);
    const QString start = "warning: " + path("x.xlsx") + " is kept as " + path("x.xlsx.old") + ": ";
    QCOMPARE(asOrdinaryUser([&] {
                 const LogFile log;
                 if (!ExcelOperator(nullptr).writeExcel(path("x.xlsx")))
                     return 1;
                 const QStringList messages = log.leveledMessages();
                 return messages.size() == 1 && messages.first().startsWith(start)
                         && messages.first().endsWith("Permission denied")
                     ? 0
                     : 2;
             }),
             0);
    QVERIFY(content(path("x.xlsx.old")) == before);
    QVERIFY(QFileInfo(path("x.xlsx")).permissions() & QFileDevice::ReadOwner);
    QXlsx::Document document(path("x.xlsx"));
    QVERIFY(document.selectSheet("0x01-HeartBeat"));
    QVERIFY(document.read(4, 5).isValid());
}

void TestExcelOperator::linkedFileIsSetAsideWhereItLies()
{
    if (!hasOrdinaryUser())
        QSKIP("a link is something else on this system");
    fillStore(1);
    QVERIFY(QDir().mkdir(path("far")));
    QVERIFY(writeFile(path("far/real.xlsx"), "older"));
    QVERIFY(QFile::link(path("far/real.xlsx"), path("x.xlsx")));
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QCOMPARE(content(path("far/real.xlsx.old")), QByteArray("older"));
    QVERIFY(QFileInfo(path("x.xlsx")).isSymLink());
    QCOMPARE(QXlsx::Document(path("far/real.xlsx")).sheetNames(), sheetNamesOfAnExport());
}

void TestExcelOperator::pipeIsNotWaitedFor()
{
    if (!hasOrdinaryUser())
        QSKIP("has no pipes among its files");
    fillStore(1);
    QCOMPARE(QProcess::execute("mkfifo", {path("x.xlsx")}), 0);
    const LogFile log;
    QVERIFY(!ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QVERIFY(log.messages().value(0).startsWith(path("x.xlsx") + " cannot be written: "));
    QVERIFY(QFileInfo::exists(path("x.xlsx")) && !QFileInfo(path("x.xlsx")).isFile());
}

void TestExcelOperator::fileThatCannotBeRenamedIsAnError()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(2);
    QVERIFY(letOthersRead(m_fixture->dir()));
    // In one folder files can be added but not renamed; in the other neither is possible.
    for (const char *folder : {"shared", "locked"}) {
        QVERIFY(QDir().mkdir(path(folder)));
        const QString target = path(folder) + "/x.xlsx";
        QVERIFY(writeFile(target, "older"));
        QVERIFY(letOthersRead(target));
        QVERIFY(QByteArray(folder) == "shared" ? letOthersAdd(path(folder)) : letOthersRead(path(folder)));
        QCOMPARE(asOrdinaryUser([&] {
                     const LogFile log;
                     if (ExcelOperator(nullptr).writeExcel(target))
                         return 1;
                     const QStringList messages = log.leveledMessages();
                     return messages.size() == 1 && messages.first().startsWith("error: " + target) ? 0 : 2;
                 }),
                 0);
        QCOMPARE(content(target), QByteArray("older"));
        QCOMPARE(QDir(path(folder)).entryList(QDir::Files | QDir::Hidden), QStringList{"x.xlsx"});
    }
}

void TestExcelOperator::workbookWithADamagedSheetIsRenamed()
{
    Parts parts = foreignWorkbook("<worksheet><sheetData><row r=\"1\"><c r=\"A1\"><v>1</v></c></row><row");
    parts[2].second.replace("Plan &amp; Ist", "0x01-HeartBeat");
    QVERIFY(writeParts(path("x.xlsx"), parts));
    const QByteArray before = content(path("x.xlsx"));
    fillStore(1);
    const LogFile log;
    QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    QVERIFY(content(path("x.xlsx.old")) == before);
    QVERIFY(log.leveledMessages().value(0).startsWith("warning: " + path("x.xlsx") + " is kept as " + path("x.xlsx.old")
                                                      + ": "));
    QVERIFY(QXlsx::Document(path("x.xlsx")).sheetNames().contains("Other"));
}

void TestExcelOperator::savingRowsReplacesAWorkbookAndRenamesOtherFiles()
{
    for (double number : {1.0, 2.0}) {
        ExcelOperator excelOperator(nullptr);
        excelOperator.writeNumberRow(1, 1, {number});
        QVERIFY(excelOperator.save(path("rows.xlsx")));
        QVERIFY(!QFileInfo::exists(path("rows.xlsx.old")));
        QCOMPARE(QXlsx::Document(path("rows.xlsx")).read(1, 1), QVariant(number));
    }
    QVERIFY(writeFile(path("rows.xlsx"), "older"));
    ExcelOperator excelOperator(nullptr);
    excelOperator.writeNumberRow(1, 1, {3});
    const LogFile log;
    QVERIFY(excelOperator.save(path("rows.xlsx")));
    QCOMPARE(content(path("rows.xlsx.old")), QByteArray("older"));
    QCOMPARE(QXlsx::Document(path("rows.xlsx")).read(1, 1), QVariant(3.0));
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.leveledMessages().first().startsWith("warning: " + path("rows.xlsx") + " is kept as "
                                                     + path("rows.xlsx.old") + ": "));
}

void TestExcelOperator::cancelLeavesOtherFilesUnchanged()
{
    fillStore(10);
    QVERIFY(writeFile(path("x.xlsx"), "older"));
    const std::atomic<bool> cancelled{true};
    ExcelOperator excelOperator(nullptr);
    excelOperator.setCancelFlag(&cancelled);
    QVERIFY(!excelOperator.writeExcel(path("x.xlsx")));
    QCOMPARE(content(path("x.xlsx")), QByteArray("older"));
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList{"x.xlsx"});
}

void TestExcelOperator::formatsAreThoseOfTitlesAndNumbers_data()
{
    QTest::addColumn<bool>("isExport");
    QTest::addColumn<bool>("isTitle");
    QTest::newRow("title of an export") << true << true;
    QTest::newRow("number of an export") << true << false;
    QTest::newRow("row of titles") << false << true;
    QTest::newRow("row of numbers") << false << false;
}

void TestExcelOperator::formatsAreThoseOfTitlesAndNumbers()
{
    QFETCH(bool, isExport);
    QFETCH(bool, isTitle);
    if (isExport) {
        fillStore(3);
        QVERIFY(ExcelOperator(nullptr).writeExcel(path("x.xlsx")));
    } else {
        ExcelOperator excelOperator(nullptr);
        excelOperator.writeTitleRow(1, 2, {"a", "b"});
        excelOperator.writeNumberRow(2, 2, {1, 2});
        QVERIFY(excelOperator.save(path("x.xlsx")));
    }
    const auto parts = readParts(path("x.xlsx"));
    const QString styles = QString::fromUtf8(parts.value("xl/styles.xml"));
    const auto entries = [](const QString &xml, const char *list, const char *entry) {
        const QRegularExpression section(QString("<%1[ >].*</%1>").arg(list));
        const QRegularExpression one(QString("<%1(?:/>|[ >].*?(?:/>(?=<%1|</%2>)|</%1>))").arg(entry, list));
        QStringList found;
        for (auto matches = one.globalMatch(section.match(xml).captured()); matches.hasNext();)
            found.append(matches.next().captured());
        return found;
    };
    const auto number = [](const QString &xml, const char *attribute) {
        return QRegularExpression(QString("\\b%1=\"(\\d+)\"").arg(attribute)).match(xml).captured(1).toInt();
    };
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        if (!part.key().startsWith("xl/worksheets/"))
            continue;
        const QString sheet = QString::fromUtf8(part.value());
        const QRegularExpression cell(isTitle ? "<c r=\"[A-Z]+1\"[^>]*>" : "<c r=\"[A-Z]+(?!1\")\\d+\"[^>]*>");
        int cells = 0;
        for (auto matches = cell.globalMatch(sheet); matches.hasNext(); ++cells) {
            const QString xf = entries(styles, "cellXfs", "xf").value(number(matches.next().captured(), "s"));
            QCOMPARE(number(xf, "numFmtId"), 0);
            QVERIFY2(xf.contains("<alignment horizontal=\"center\"/>"), qPrintable(xf));
            const QString border = entries(styles, "borders", "border").value(number(xf, "borderId"));
            for (const char *side : {"left", "right", "top", "bottom"})
                QVERIFY2(border.contains(QString("<%1 style=\"thin\">").arg(side)), qPrintable(border));
            const QString font = entries(styles, "fonts", "font").value(number(xf, "fontId"));
            const QString fill = entries(styles, "fills", "fill").value(number(xf, "fillId"));
            QVERIFY2(font.contains(isTitle ? "<sz val=\"12\"/><color rgb=\"FF000000\"/>" : "<sz val=\"11\"/><name"),
                     qPrintable(font));
            QVERIFY2(
                fill.contains(isTitle ? "patternType=\"solid\"><fgColor rgb=\"FFC0C0C0\"/>" : "patternType=\"none\"/>"),
                qPrintable(fill));
        }
        QVERIFY(cells > 1);
    }
}

QTEST_GUILESS_MAIN(TestExcelOperator)
#include "TestExcelOperator.moc"
