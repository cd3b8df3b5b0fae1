#include "ChannelNames.h"
#include "DemoFlight.h"
#include "MatWriter.h"
#include "OrdinaryUser.h"
#include "ReadFlight.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <memory>

using namespace ostravel;

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

Series &seriesOf(Flight::Parts &parts, std::uint8_t code, const char *name)
{
    return parts.series[std::size_t(frame::firstRowOf(code) + frame::rowOf(code, name))];
}

/** A flight with a known start, two groups and tracks. */
Flight smallFlight()
{
    Flight::Parts parts;
    parts.startTime = QDateTime(QDate(2023, 7, 18), QTime(12, 0, 0));
    parts.periodsMs = {{frame::kHeartBeat, 1000}};
    parts.origin = LocalFrame{34.5F, 113.25F, 1.0};
    parts.track = {{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}};
    seriesOf(parts, frame::kAttitude, "PGS_Roll") = {1.5, -0.25, 0.1};
    seriesOf(parts, frame::kHeartBeat, "HBS_Lng") = {113.91378, 120.0};
    return Flight(parts);
}

#ifdef OCTAVE_PROGRAM
/** What Octave says to a script that finds the file in the variable f. */
QString octave(const QString &file, const QString &script)
{
    QProcess process;
    process.start(OCTAVE_PROGRAM,
                  {"--norc", "--no-history", "--eval", QString("f = '%1'; load(f); %2").arg(file, script)});
    process.waitForFinished(120'000);
    return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
}
#endif

} // namespace

class TestMatWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void octaveLoadsGroupsTracksAndTimes();
    void octaveHasEveryNumberBitForBit();
    void octaveLoadsAFlightWithoutAnything();
    void startInAnHourThatSummerTimeLeavesOutIsWritten();
    void equalFlightsGiveEqualFiles();
    void onlyChosenGroupsAreWritten();
    void progressEndsAtTheNumberOfSamples();
    void fileIsReplacedOnlyWhenComplete();
    void folderThatIsMissingIsAnError();
    void fullDiskIsAnErrorAndKeepsTheOldFile_data();
    void fullDiskIsAnErrorAndKeepsTheOldFile();
    void formatIsThatOfTheTable();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    QStringList files() const { return QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestMatWriter::init()
{
    m_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/航班-XXXXXX");
}

// 18 July 2023 is day 739085: 2022 years of 365 days before the year 2023 of this calendar and 1 for the year 0 itself,
// 490 + 1 leap days up to 2023, and 199 days of the year. Noon is half a day.
void TestMatWriter::octaveLoadsGroupsTracksAndTimes()
{
#ifdef OCTAVE_PROGRAM
    QVERIFY(!writeMat(smallFlight(), path("a.mat")));
    QCOMPARE(octave(path("a.mat"), "disp(strjoin(sort(who)', ' '))").trimmed(),
             QString("attack_track attitude backup control difference equipment f heartbeat origin payload sensor "
                     "start target track"));
    const QString said = octave(
        path("a.mat"),
        "printf('%.17g ', attitude.PGS_Roll, attitude.seconds, heartbeat.HBS_Lng, heartbeat.seconds); disp('');"
        "printf('%s ', datestr(heartbeat.time(2), 31), start, mat2str(size(attitude.time))); disp('');"
        "printf('%.10g ', attitude.time(1), track.x, track.y, track.z, origin.latitude, origin.longitude); disp('');"
        "printf('%d ', isempty(attack_track.x), numel(fieldnames(attitude)), numel(fieldnames(control)));");
    const QStringList lines = said.split('\n');
    QCOMPARE(lines.value(0).trimmed(),
             QString("1.5 -0.25 0.10000000000000001 0 0.20000000000000001 0.40000000000000002 113.91378 120 0 1"));
    QCOMPARE(lines.value(1).trimmed(), QString("2023-07-18 12:00:01 2023-07-18 12:00:00 [3 1]"));
    QCOMPARE(lines.value(2).trimmed(), QString("739085.5 1 2 3 4 5 6 34.5 113.25"));
    QCOMPARE(lines.value(3).trimmed(), QString("1 20 39"));
#else
    QSKIP("GNU Octave is not installed");
#endif
}

void TestMatWriter::octaveHasEveryNumberBitForBit()
{
#ifdef OCTAVE_PROGRAM
    demo::DemoOptions options;
    options.minutes = 2;
    options.backupFrames = true;
    QVERIFY(demo::writeDamagedLog(path("a.txt"), options));
    const auto result = readFlight(path("a.txt"));
    const Flight &flight = std::get<Flight>(result);
    QVERIFY(!writeMat(flight, path("a.mat")));
    // Octave writes all channels of a group, one after another, as bytes.
    QString script = QString("out = fopen('%1', 'w'); ").arg(path("numbers"));
    for (const frame::ChannelId &channel : frame::allChannels())
        script += QString("fwrite(out, %1.%2, 'double'); ")
                      .arg(frame::groupName(channel.code), frame::rowOfChannel(channel).name);
    const QString said = octave(path("a.mat"), script + "fclose(out);");
    QVERIFY2(said.isEmpty(), qPrintable(said));
    const QByteArray bytes = content(path("numbers"));
    int at = 0;
    for (const frame::ChannelId &channel : frame::allChannels()) {
        const Series &samples = flight.samples(channel.code, channel.row);
        const int size = samples.size() * int(sizeof(double));
        QVERIFY(at + size <= bytes.size());
        QVERIFY2(std::memcmp(bytes.constData() + at, samples.constData(), std::size_t(size)) == 0,
                 frame::rowOfChannel(channel).name);
        at += size;
    }
    QCOMPARE(at, bytes.size());
#else
    QSKIP("GNU Octave is not installed");
#endif
}

void TestMatWriter::octaveLoadsAFlightWithoutAnything()
{
#ifdef OCTAVE_PROGRAM
    QVERIFY(!writeMat(Flight(), path("a.mat")));
    QCOMPARE(octave(path("a.mat"), "disp([numel(sensor.SS_RC1), numel(sensor.time), numel(track.x), numel(start)])")
                 .simplified(),
             QString("0 0 0 0"));
#else
    QSKIP("GNU Octave is not installed");
#endif
}

void TestMatWriter::startInAnHourThatSummerTimeLeavesOutIsWritten()
{
    const QByteArray before = qgetenv("TZ");
    qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    Flight::Parts parts;
    parts.startTime = QDateTime(QDate(2024, 3, 31), QTime(2, 30, 0));
    const bool isLeftOut = !parts.startTime.isValid();
    const bool written = !writeMat(Flight(parts), path("a.mat"));
    before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
    if (!isLeftOut)
        QSKIP("The system takes no time zone from TZ");
    QVERIFY(written);
    QVERIFY(content(path("a.mat")).contains("2024-03-31 02:30:00"));
}

void TestMatWriter::equalFlightsGiveEqualFiles()
{
    QVERIFY(!writeMat(smallFlight(), path("a.mat")));
    QVERIFY(!writeMat(smallFlight(), path("b.mat")));
    QVERIFY(content(path("a.mat")).startsWith("MATLAB 5.0 MAT-file, written by Ostravel"));
    QCOMPARE(content(path("a.mat")), content(path("b.mat")));
    QCOMPARE(files(), QStringList({"a.mat", "b.mat"}));
}

void TestMatWriter::onlyChosenGroupsAreWritten()
{
    ExportOptions options;
    options.channels = {{frame::kAttitude, 0}};
    QVERIFY(!writeMat(smallFlight(), path("a.mat"), options));
    const QByteArray bytes = content(path("a.mat"));
    QVERIFY(bytes.contains("attitude") && bytes.contains("PGS_Roll") && bytes.contains("track"));
    QVERIFY(!bytes.contains("heartbeat") && !bytes.contains("PGS_Pitch"));
}

void TestMatWriter::progressEndsAtTheNumberOfSamples()
{
    const Flight flight = smallFlight();
    qint64 samples = 0;
    for (const frame::ChannelId &channel : frame::allChannels())
        samples += flight.samples(channel.code, channel.row).size();
    QVERIFY(samples > 0);
    ExportOptions options;
    qint64 last = -1;
    QVector<qint64> totals;
    options.progress = [&](qint64 done, qint64 total) {
        last = done;
        totals.append(total);
        return true;
    };
    QVERIFY(!writeMat(flight, path("a.mat"), options));
    QCOMPARE(last, samples);
    QCOMPARE(totals, QVector<qint64>(totals.size(), samples));
}

void TestMatWriter::fileIsReplacedOnlyWhenComplete()
{
    QVERIFY(!writeMat(Flight(), path("a.mat")));
    const QByteArray old = content(path("a.mat"));
    ExportOptions options;
    options.progress = [](qint64 done, qint64) { return done == 0; };
    const auto error = writeMat(smallFlight(), path("a.mat"), options);
    QVERIFY(error && error->code == ExportError::Code::Cancelled);
    QCOMPARE(content(path("a.mat")), old);
    QCOMPARE(files(), QStringList{"a.mat"});
    QVERIFY(!writeMat(smallFlight(), path("a.mat")));
    QVERIFY(content(path("a.mat")) != old);
}

void TestMatWriter::folderThatIsMissingIsAnError()
{
    const auto error = writeMat(smallFlight(), path("missing/a.mat"));
    QVERIFY(error && error->code == ExportError::Code::CannotOpen);
    QVERIFY(error->message.startsWith(path("missing/a.mat") + " cannot be written: "));
    QVERIFY(QDir(m_dir->path()).mkdir("b.mat"));
    QVERIFY(writeMat(smallFlight(), path("b.mat")));
}

void TestMatWriter::fullDiskIsAnErrorAndKeepsTheOldFile_data()
{
    QTest::addColumn<unsigned>("room");
    for (const unsigned room : {0U, 1U, 5000U, 100000U, 1000000U, 1140000U})
        QTest::newRow(qPrintable(QString::number(room))) << room;
}

void TestMatWriter::fullDiskIsAnErrorAndKeepsTheOldFile()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process of its own");
    QFETCH(unsigned, room);
    Flight::Parts parts;
    for (Series &series : parts.series) // 143 channels of 8 bytes a sample, and more
        series.fill(1.5, 1000);
    const Flight flight(parts);
    QFile old(path("a.mat"));
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    QVERIFY(letOthersWrite(m_dir->path()));
    QVERIFY(letOthersWrite(path("a.mat")));
    QCOMPARE(asOrdinaryUser([&] {
                 limitFileSize(room);
                 const auto error = writeMat(flight, path("a.mat"));
                 return error && error->code == ExportError::Code::CannotWrite ? 0 : 1;
             }),
             0);
    QCOMPARE(files(), QStringList{"a.mat"});
    QCOMPARE(content(path("a.mat")), QByteArray("old"));
}

void TestMatWriter::formatIsThatOfTheTable()
{
    QVERIFY(!matFormat().write(smallFlight(), path("a") + matFormat().suffix, {}));
    QCOMPARE(files(), QStringList{"a.mat"});
    QVERIFY(matFormat().takesChannels && !matFormat().isFolder);
}

QTEST_GUILESS_MAIN(TestMatWriter)
#include "TestMatWriter.moc"
