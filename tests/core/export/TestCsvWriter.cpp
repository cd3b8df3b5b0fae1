#include "CsvWriter.h"
#include "DemoFlight.h"
#include "ReadFlight.h"
#include "SampleFlight.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <limits>
#include <memory>

using namespace ostravel;
using frame::ChannelId;

namespace
{

constexpr ChannelId kRoll{frame::kAttitude, frame::rowOf(frame::kAttitude, "PGS_Roll")};
constexpr ChannelId kLng{frame::kAttitude, frame::rowOf(frame::kAttitude, "PGS_GPS_Lng")};
constexpr ChannelId kBeatLng{frame::kHeartBeat, frame::rowOf(frame::kHeartBeat, "HBS_Lng")};
constexpr ChannelId kAngle{frame::kBackup, 0};

Series &seriesOf(Flight::Parts &parts, const ChannelId &channel)
{
    return parts.series[std::size_t(frame::firstRowOf(channel.code) + channel.row)];
}

/** Columns of a table by their heads, as text. */
QMap<QByteArray, QList<QByteArray>> columnsOf(const QByteArray &csv)
{
    QList<QByteArray> lines = csv.split('\n');
    const QList<QByteArray> heads = lines.takeFirst().split(',');
    lines.removeLast(); // behind the last line end
    QMap<QByteArray, QList<QByteArray>> columns;
    for (const QByteArray &line : lines) {
        const QList<QByteArray> cells = line.split(',');
        if (cells.size() != heads.size())
            qFatal("a line of %d cells below %d heads", int(cells.size()), int(heads.size()));
        for (int i = 0; i < heads.size(); ++i)
            columns[heads[i]].append(cells[i]);
    }
    return columns;
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

class TestCsvWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void writesTimesNamesAndNumbers();
    void repeatedNumbersAreComparedByTheirBits();
    void shorterChannelEndsInEmptyCells();
    void timeIsEmptyWithoutAStart();
    void timeInAnHourThatSummerTimeLeavesOutIsWritten();
    void timeRunsOverMidnightAndIgnoresMilliseconds();
    void labelsComeWithAByteOrderMark();
    void groupWithAPeriodOfItsOwnHasATableOfItsOwn();
    void onlyGroupsOfTheirOwnLeaveNoMainTable();
    void flightWithoutASampleIsAHead();
    void everyNumberReadsBackBitForBit_data();
    void everyNumberReadsBackBitForBit();
    void fileIsReplacedOnlyWhenComplete();
    void folderInTheWayIsAnError();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestCsvWriter::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestCsvWriter::writesTimesNamesAndNumbers()
{
    Flight::Parts parts;
    parts.startTime = QDateTime(QDate(2023, 7, 18), QTime(9, 0, 0));
    seriesOf(parts, kRoll) = {1.5, -0.25, -0.25, 0.0};
    seriesOf(parts, kLng) = {113.91378, 113.9137801, 113.9137801, 120.0};
    ExportOptions options;
    options.channels = {kLng, kRoll}; // in the order asked for
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(content(path("a.csv")),
             QByteArray("time,seconds,PGS_GPS_Lng,PGS_Roll\n"
                        "2023-07-18T09:00:00.000,0,113.91378,1.5\n"
                        "2023-07-18T09:00:00.200,0.2,113.9137801,-0.25\n"
                        "2023-07-18T09:00:00.400,0.4,113.9137801,-0.25\n"
                        "2023-07-18T09:00:00.600,0.6,120,0\n"));
}

void TestCsvWriter::repeatedNumbersAreComparedByTheirBits()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Flight::Parts parts;
    seriesOf(parts, kAngle) = {0.0, -0.0, -0.0, 0.0, nan, nan, 0.1 + 0.2};
    ExportOptions options;
    options.channels = {kAngle};
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(columnsOf(content(path("a.csv")))["BU_SpeedAngle"],
             QList<QByteArray>({"0", "-0", "-0", "0", "nan", "nan", "0.30000000000000004"}));
}

void TestCsvWriter::shorterChannelEndsInEmptyCells()
{
    Flight::Parts parts;
    seriesOf(parts, kRoll) = {1.0, 2.0, 3.0};
    seriesOf(parts, kBeatLng) = {4.0};
    ExportOptions options;
    options.channels = {kBeatLng, kRoll, kAngle};
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(content(path("a.csv")),
             QByteArray("time,seconds,HBS_Lng,PGS_Roll,BU_SpeedAngle\n"
                        ",0,4,1,\n"
                        ",0.2,,2,\n"
                        ",0.4,,3,\n"));
}

void TestCsvWriter::timeIsEmptyWithoutAStart()
{
    Flight::Parts parts;
    seriesOf(parts, kRoll) = {1.0};
    ExportOptions options;
    options.channels = {kRoll};
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(content(path("a.csv")), QByteArray("time,seconds,PGS_Roll\n,0,1\n"));
}

void TestCsvWriter::timeInAnHourThatSummerTimeLeavesOutIsWritten()
{
    const QByteArray before = qgetenv("TZ");
    qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    Flight::Parts parts;
    parts.startTime = QDateTime(QDate(2024, 3, 31), QTime(2, 59, 59));
    const bool isLeftOut = !parts.startTime.isValid();
    seriesOf(parts, kRoll) = {1.0, 1.0, 1.0, 1.0, 1.0, 1.0};
    ExportOptions options;
    options.channels = {kRoll};
    const bool written = !writeCsv(Flight(parts), path("a.csv"), options);
    before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
    if (!isLeftOut)
        QSKIP("The system takes no time zone from TZ");
    QVERIFY(written);
    const QList<QByteArray> times = columnsOf(content(path("a.csv")))["time"];
    QCOMPARE(times.first(), QByteArray("2024-03-31T02:59:59.000"));
    QCOMPARE(times.last(), QByteArray("2024-03-31T03:00:00.000"));
}

void TestCsvWriter::timeRunsOverMidnightAndIgnoresMilliseconds()
{
    Flight::Parts parts;
    parts.startTime = QDateTime(QDate(2023, 12, 31), QTime(23, 59, 59, 700));
    seriesOf(parts, kRoll) = {1.0, 1.0, 1.0, 1.0, 1.0, 1.0};
    ExportOptions options;
    options.channels = {kRoll};
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    const auto times = columnsOf(content(path("a.csv"))).value("time");
    QCOMPARE(times.first(), QByteArray("2023-12-31T23:59:59.000"));
    QCOMPARE(times.at(4), QByteArray("2023-12-31T23:59:59.800"));
    QCOMPARE(times.last(), QByteArray("2024-01-01T00:00:00.000"));
}

void TestCsvWriter::labelsComeWithAByteOrderMark()
{
    Flight::Parts parts;
    seriesOf(parts, kRoll) = {1.0};
    ExportOptions options;
    options.channels = {kRoll};
    options.labels = true;
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(content(path("a.csv")), QByteArray("\xEF\xBB\xBFtime,seconds,横滚\n,0,1\n"));
}

void TestCsvWriter::groupWithAPeriodOfItsOwnHasATableOfItsOwn()
{
    Flight::Parts parts;
    parts.periodsMs = {{frame::kHeartBeat, 1000}, {frame::kTarget, 200}};
    seriesOf(parts, kRoll) = {1.0, 2.0};
    seriesOf(parts, kBeatLng) = {3.0, 4.0};
    ExportOptions options;
    options.channels = {kBeatLng, kRoll, {frame::kTarget, 0}};
    QVERIFY(!writeCsv(Flight(parts), path("a.b.csv"), options));
    QCOMPARE(content(path("a.b.csv")), QByteArray("time,seconds,PGS_Roll,FTP_TargetPoint_Group\n,0,1,\n,0.2,2,\n"));
    QCOMPARE(content(path("a.b.0x01.csv")), QByteArray("time,seconds,HBS_Lng\n,0,3\n,1,4\n"));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

void TestCsvWriter::onlyGroupsOfTheirOwnLeaveNoMainTable()
{
    Flight::Parts parts;
    parts.periodsMs = {{frame::kHeartBeat, 1000}};
    seriesOf(parts, kBeatLng) = {3.0};
    ExportOptions options;
    options.channels = {kBeatLng};
    QVERIFY(!writeCsv(Flight(parts), path("a.csv"), options));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{"a.0x01.csv"});
}

void TestCsvWriter::flightWithoutASampleIsAHead()
{
    QVERIFY(!writeCsv(Flight(), path("a.csv")));
    const QByteArray csv = content(path("a.csv"));
    QCOMPARE(csv.count('\n'), 1);
    QCOMPARE(csv.count(','), 144); // two columns of time and 143 channels
    QVERIFY(csv.startsWith("time,seconds,HBS_AircraftType,"));
    QVERIFY(csv.endsWith(",DS_Payload\n"));
}

void TestCsvWriter::everyNumberReadsBackBitForBit_data()
{
    QTest::addColumn<bool>("damaged");
    QTest::newRow("flight") << false;
    QTest::newRow("damaged flight") << true;
}

void TestCsvWriter::everyNumberReadsBackBitForBit()
{
    QFETCH(bool, damaged);
    demo::DemoOptions options;
    options.minutes = 3;
    options.backupFrames = true;
    QVERIFY(damaged ? demo::writeDamagedLog(path("a.txt"), options) : demo::writeTextLog(path("a.txt"), options));
    const auto result = readFlight(path("a.txt"));
    const Flight &flight = std::get<Flight>(result);
    QVERIFY(!writeCsv(flight, path("a.csv")));
    const auto columns = columnsOf(content(path("a.csv")));
    QCOMPARE(columns.size(), 145);
    for (const ChannelId &channel : frame::allChannels()) {
        const Series &samples = flight.samples(channel.code, channel.row);
        const QList<QByteArray> cells = columns.value(frame::rowOfChannel(channel).name);
        QVERIFY(samples.size() > 0 && samples.size() <= cells.size());
        for (int i = 0; i < cells.size(); ++i) {
            const bool good = i < samples.size()
                ? sameBits(std::strtod(cells[i].constData(), nullptr), samples[i]) && !cells[i].isEmpty()
                : cells[i].isEmpty();
            QVERIFY2(good, frame::rowOfChannel(channel).name);
        }
    }
}

void TestCsvWriter::fileIsReplacedOnlyWhenComplete()
{
    writeFile(path("a.csv"), "old");
    ExportOptions options;
    options.progress = [this](qint64 done, qint64) { return done == 0 || content(path("a.csv")) != "old"; };
    const auto error = writeCsv(makeFlight(1000), path("a.csv"), options);
    QVERIFY(error && error->code == ExportError::Code::Cancelled);
    QCOMPARE(content(path("a.csv")), QByteArray("old"));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QVERIFY(!writeCsv(makeFlight(1), path("a.csv")));
    QVERIFY(content(path("a.csv")).startsWith("time,"));
}

void TestCsvWriter::folderInTheWayIsAnError()
{
    QVERIFY(QDir(m_dir->path()).mkdir("a.csv"));
    const auto error = writeCsv(makeFlight(1), path("a.csv"));
    QVERIFY(error && error->code == ExportError::Code::CannotOpen);
    QCOMPARE(error->message, path("a.csv") + " cannot be written: it is no regular file.");
}

QTEST_GUILESS_MAIN(TestCsvWriter)
#include "TestCsvWriter.moc"
