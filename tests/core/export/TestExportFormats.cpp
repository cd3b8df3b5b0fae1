#include "ExportFormats.h"

#include "DemoFlight.h"
#include "OrdinaryUser.h"
#include "ReadFlight.h"
#include "SampleFlight.h"

#include <QDir>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace ostravel;

namespace
{

/** A flight that has something for every format: samples, a start time, tracks. */
Flight demoFlight(const QString &path)
{
    demo::DemoOptions options;
    options.minutes = 1;
    writeFile(path, demo::makeTextLog(options));
    auto result = readFlight(path);
    if (const auto *const error = std::get_if<ReadError>(&result))
        qFatal("%s", qPrintable(error->message));
    return std::get<Flight>(std::move(result));
}

} // namespace

/** What holds for every row of the table, whatever the format. */
class TestExportFormats : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void namesAndSuffixesAreUnique();
    void formatIsFoundByItsName();
    void targetLiesBesideTheLog_data();
    void targetLiesBesideTheLog();
    void writesTheTargetThatItNames_data() { everyFormat(); }
    void writesTheTargetThatItNames();
    void folderThatIsMissingIsAnError_data() { everyFormat(); }
    void folderThatIsMissingIsAnError();
    void cancelledExportLeavesNoFile_data() { everyFormat(); }
    void cancelledExportLeavesNoFile();
    void fullDiskIsReportedWithItsReason_data();
    void fullDiskIsReportedWithItsReason();

private:
    static void everyFormat();
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestExportFormats::everyFormat()
{
    QTest::addColumn<QString>("name");
    for (const ExportFormat &format : exportFormats())
        QTest::newRow(format.name) << format.name;
}

void TestExportFormats::fullDiskIsReportedWithItsReason_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<unsigned>("room");
    // Text exports write several files; TestTextWriter has their cases.
    for (const char *name : {"csv", "gpx", "kml", "geojson", "xlsx"}) {
        QTest::addRow("%s, no byte fits", name) << name << 0U;
        QTest::addRow("%s, a block fits in part", name) << name << 9001U;
        QTest::addRow("%s, a block does not fit", name) << name << 8192U;
    }
}

void TestExportFormats::fullDiskIsReportedWithItsReason()
{
    QFETCH(QString, name);
    QFETCH(unsigned, room);
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Flight flight = demoFlight(path("flight.txt"));
    QVERIFY(letOthersWrite(m_dir->path()));
    const ExportFormat &format = *findExportFormat(name);
    const QString target = exportPath(format, path("flight.txt"));
    const int code = asOrdinaryUser([&] {
        limitFileSize(room);
        const auto error = format.write(flight, target, {});
        if (!error || error->code != ExportError::Code::CannotWrite)
            return 1;
        return error->message.contains(QLatin1String("File too large")) ? 0 : 2;
    });
    QCOMPARE(code, 0);
    QVERIFY(!QFileInfo::exists(target));
}

void TestExportFormats::namesAndSuffixesAreUnique()
{
    QSet<QString> names;
    QSet<QString> suffixes;
    for (const ExportFormat &format : exportFormats()) {
        names.insert(format.name);
        suffixes.insert(format.suffix);
    }
    QCOMPARE(names.size(), exportFormats().size());
    QCOMPARE(suffixes.size(), exportFormats().size());
}

void TestExportFormats::formatIsFoundByItsName()
{
    for (const ExportFormat &format : exportFormats())
        QCOMPARE(findExportFormat(format.name), &format);
    QVERIFY(!findExportFormat("Text"));
    QVERIFY(!findExportFormat(""));
}

void TestExportFormats::targetLiesBesideTheLog_data()
{
    QTest::addColumn<QString>("log");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("target");
    QTest::newRow("workbook") << "flight.2023.log"
                              << "xlsx"
                              << "flight.xlsx";
    QTest::newRow("text") << "flight.2023.log"
                          << "txt"
                          << "flight-export";
    QTest::newRow("Chinese and spaces") << "飞行 一.txt"
                                        << "xlsx"
                                        << "飞行 一.xlsx";
}

void TestExportFormats::targetLiesBesideTheLog()
{
    QFETCH(QString, log);
    QFETCH(QString, format);
    QFETCH(QString, target);
    QCOMPARE(exportPath(*findExportFormat(format), path(log)), path(target));
}

void TestExportFormats::writesTheTargetThatItNames()
{
    QFETCH(QString, name);
    const ExportFormat &format = *findExportFormat(name);
    const Flight flight = demoFlight(path("flight.txt"));
    const QString target = exportPath(format, path("flight.txt"));
    const std::optional<ExportError> error = format.write(flight, target, {});
    QVERIFY2(!error.has_value(), error ? qPrintable(error->message) : "");
    QCOMPARE(QFileInfo(target).isDir(), format.isFolder);
    QCOMPARE(QFileInfo(target).isFile(), !format.isFolder);
    // Nothing else is left behind.
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).size(), 2);
}

void TestExportFormats::folderThatIsMissingIsAnError()
{
    QFETCH(QString, name);
    const ExportFormat &format = *findExportFormat(name);
    const QString target = path("missing/flight") + format.suffix;
    const std::optional<ExportError> error = format.write(demoFlight(path("flight.txt")), target, {});
    QVERIFY(error.has_value());
    QVERIFY2(error->message.contains(target), qPrintable(error->message));
    QVERIFY(!QFileInfo::exists(path("missing")));
}

void TestExportFormats::cancelledExportLeavesNoFile()
{
    QFETCH(QString, name);
    const ExportFormat &format = *findExportFormat(name);
    const QString target = exportPath(format, path("flight.txt"));
    ExportOptions options;
    options.progress = [](qint64, qint64) { return false; };
    const std::optional<ExportError> error = format.write(demoFlight(path("flight.txt")), target, options);
    QVERIFY(error.has_value() && error->code == ExportError::Code::Cancelled);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
             QStringList{"flight.txt"});
}

QTEST_GUILESS_MAIN(TestExportFormats)
#include "TestExportFormats.moc"
