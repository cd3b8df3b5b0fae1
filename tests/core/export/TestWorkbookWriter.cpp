#include "WorkbookWriter.h"

#include "SampleFlight.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace ostravel;

namespace
{

struct ExpectedSheet {
    const char *name;
    std::uint8_t code;
    int columns;
};

constexpr ExpectedSheet kSheets[] = {
    {"0x01-HeartBeat", 0x01, 5},    {"0x02-ControlSystemStatus", 0x02, 37}, {"0x03-AttitudeAndPositionInfo", 0x03, 18},
    {"0x04-SensorValue", 0x04, 34}, {"0x05-FlightTargetValue", 0x05, 13},   {"0x41-PayloadInfo", 0x41, 14},
    {"0x51-Difference", 0x51, 5},   {"0x53-EquipmentStatus", 0x53, 16}};
constexpr int kColumns = 5 + 37 + 18 + 34 + 13 + 14 + 5 + 16;

int codeOf(const std::optional<ExportError> &error)
{
    return error ? int(error->code) : -1;
}

} // namespace

class TestWorkbookWriter : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void eachSheetHasLabelsAndValues_data();
    void eachSheetHasLabelsAndValues();
    void backupChannelHasNoSheet();
    void existingWorkbookIsWrittenOver();
    void otherFileIsRenamedWithAWarning();
    void rowsThatDoNotFitAreLeftOutWithAWarning();
    void folderThatIsMissingIsAnError();
    void progressRunsFromNothingToAll();
    void cancelledExportKeepsTheOldFile_data();
    void cancelledExportKeepsTheOldFile();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestWorkbookWriter::eachSheetHasLabelsAndValues_data()
{
    QTest::addColumn<int>("samples");
    QTest::newRow("no sample: labels only") << 0;
    QTest::newRow("three samples") << 3;
}

void TestWorkbookWriter::eachSheetHasLabelsAndValues()
{
    QFETCH(int, samples);
    QVERIFY(!writeWorkbook(makeFlight(samples), path("x.xlsx")).has_value());
    QXlsx::Document document(path("x.xlsx"));
    QStringList names;
    for (const ExpectedSheet &sheet : kSheets) {
        names.append(sheet.name);
        QVERIFY(document.selectSheet(sheet.name));
        for (int column = 0; column < sheet.columns; ++column) {
            const std::u16string_view label = frame::layoutOf(sheet.code).rows[column].label;
            QCOMPARE(document.read(1, column + 1), QVariant(QString::fromUtf16(label.data(), int(label.size()))));
            for (int row = 0; row < samples; ++row)
                QCOMPARE(document.read(row + 2, column + 1), QVariant(sampleValue(sheet.code, column, row)));
        }
        QVERIFY(!document.read(1, sheet.columns + 1).isValid());
        QVERIFY(!document.read(samples + 2, 1).isValid());
    }
    QCOMPARE(document.sheetNames(), names);
}

void TestWorkbookWriter::backupChannelHasNoSheet()
{
    QVERIFY(!writeWorkbook(makeFlight(1), path("x.xlsx")).has_value());
    QXlsx::Document document(path("x.xlsx"));
    QVERIFY(!document.selectSheet("0x52-Backup"));
}

void TestWorkbookWriter::existingWorkbookIsWrittenOver()
{
    QVERIFY(!writeWorkbook(makeFlight(4), path("x.xlsx")).has_value());
    Flight::Parts parts = flightParts(1);
    parts.series[0] = {42.0};
    QVERIFY(!writeWorkbook(Flight(parts), path("x.xlsx")).has_value());
    const QXlsx::Document document(path("x.xlsx"));
    QCOMPARE(document.sheetNames().size(), 8);
    QCOMPARE(document.read(2, 1), QVariant(42.0));
    QCOMPARE(document.read(5, 1), QVariant(sampleValue(0x01, 0, 3)));
}

void TestWorkbookWriter::otherFileIsRenamedWithAWarning()
{
    writeFile(path("x.xlsx"), "notes");
    QStringList warnings;
    ExportOptions options;
    options.warn = [&warnings](const QString &warning) { warnings.append(warning); };
    QVERIFY(!writeWorkbook(makeFlight(1), path("x.xlsx"), options).has_value());
    QCOMPARE(content(path("x.xlsx.old")), QByteArray("notes"));
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings[0].startsWith(path("x.xlsx") + " is kept as " + path("x.xlsx.old") + ": "),
             qPrintable(warnings[0]));
    QCOMPARE(QXlsx::Document(path("x.xlsx")).sheetNames().size(), 8);
}

void TestWorkbookWriter::rowsThatDoNotFitAreLeftOutWithAWarning()
{
    Flight::Parts parts;
    parts.series[0] = Series(1048576 + 4, 1.0); // a sheet has 1,048,576 rows, and the labels take one
    QStringList warnings;
    ExportOptions options;
    options.warn = [&warnings](const QString &warning) { warnings.append(warning); };
    QVERIFY(!writeWorkbook(Flight(parts), path("x.xlsx"), options).has_value());
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings[0].contains("5 rows of sheet 0x01-HeartBeat"), qPrintable(warnings[0]));
}

void TestWorkbookWriter::folderThatIsMissingIsAnError()
{
    const std::optional<ExportError> error = writeWorkbook(makeFlight(1), path("missing/x.xlsx"));
    QCOMPARE(codeOf(error), int(ExportError::Code::CannotWrite));
    QVERIFY2(error->message.contains(path("missing/x.xlsx")) && error->message.endsWith('.'),
             qPrintable(error->message));
    QVERIFY(!QFileInfo::exists(path("missing")));
}

void TestWorkbookWriter::progressRunsFromNothingToAll()
{
    constexpr int kSamples = 500;
    QVector<qint64> told;
    ExportOptions options;
    options.progress = [&told](qint64 done, qint64 total) {
        told.append(done);
        return total == kSamples * kColumns;
    };
    QVERIFY(!writeWorkbook(makeFlight(kSamples), path("x.xlsx"), options).has_value());
    QVERIFY(told.size() > 2);
    QCOMPARE(told.first(), qint64(0));
    QCOMPARE(told.last(), qint64(kSamples * kColumns));
    QVERIFY(std::is_sorted(told.begin(), told.end()));
}

void TestWorkbookWriter::cancelledExportKeepsTheOldFile_data()
{
    QTest::addColumn<qint64>("last");
    QTest::newRow("before the first value") << qint64(0);
    QTest::newRow("while the cells are filled") << qint64(30000);
    QTest::newRow("while the file is written") << qint64(500 * kColumns);
}

void TestWorkbookWriter::cancelledExportKeepsTheOldFile()
{
    QFETCH(qint64, last);
    QVERIFY(!writeWorkbook(makeFlight(1), path("x.xlsx")).has_value());
    const QByteArray before = content(path("x.xlsx"));
    ExportOptions options;
    options.progress = [last](qint64 done, qint64) { return done < last; };
    const std::optional<ExportError> error = writeWorkbook(makeFlight(500), path("x.xlsx"), options);
    QCOMPARE(codeOf(error), int(ExportError::Code::Cancelled));
    QVERIFY(error->message.contains(path("x.xlsx")));
    QVERIFY(content(path("x.xlsx")) == before);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden), QStringList{"x.xlsx"});
}

QTEST_GUILESS_MAIN(TestWorkbookWriter)
#include "TestWorkbookWriter.moc"
