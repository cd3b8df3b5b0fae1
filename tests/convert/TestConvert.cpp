#include "ChannelNames.h"
#include "Converter.h"
#include "DemoFlight.h"
#include "ExportFormats.h"
#include "FrameText.h"
#include "ReadFlight.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <memory>

using namespace ostravel;

namespace
{

/** The columns of a table by their heads. */
QMap<QByteArray, QList<QByteArray>> columnsOf(const QByteArray &csv)
{
    QList<QByteArray> lines = csv.split('\n');
    const QList<QByteArray> heads = lines.takeFirst().split(',');
    QMap<QByteArray, QList<QByteArray>> columns;
    for (const QByteArray &line : lines) {
        const QList<QByteArray> cells = line.split(',');
        for (int i = 0; i < heads.size() && i < cells.size() && cells.size() == heads.size(); ++i)
            columns[heads[i]].append(cells[i]);
    }
    return columns;
}

/** Whether a table holds a flight bit for bit. @return the first channel that differs */
QString differenceOf(const QByteArray &csv, const Flight &flight)
{
    const auto columns = columnsOf(csv);
    for (const frame::ChannelId &channel : frame::allChannels()) {
        const QString name = frame::rowOfChannel(channel).name;
        const Series &samples = flight.samples(channel.code, channel.row);
        const QList<QByteArray> cells = columns.value(name.toLatin1());
        for (int i = 0; i < cells.size(); ++i) {
            const double value = std::strtod(cells[i].constData(), nullptr);
            if (cells[i].isEmpty() != (i >= samples.size())
                || (i < samples.size() && std::memcmp(&value, &samples[i], sizeof value) != 0))
                return name;
        }
        if (cells.size() < samples.size())
            return name;
    }
    return {};
}

Flight flightOf(const QString &path, const ReadOptions &options = {})
{
    auto result = readFlight(path, options);
    if (!std::holds_alternative<Flight>(result))
        qFatal("%s", qPrintable(std::get<ReadError>(result).message));
    return std::get<Flight>(result);
}

demo::DemoOptions minutes(int count)
{
    demo::DemoOptions options;
    options.minutes = count;
    return options;
}

} // namespace

/** The converter as a user runs it. */
class TestConvert : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void csvHasTheBitsOfTheFlight_data();
    void csvHasTheBitsOfTheFlight();
    void chosenTasksBecomeOneFlight();
    void allFormatsAtOnce();
    void workbookAndTextAreThoseOfTheProgram();
    void foldersAreSearchedAndKeepTheirPlaces();
    void filesOfTextExportsAreNoLogs();
    void sameFileIsConvertedOnce();
    void logsThatDifferBySuffixKeepIt();
    void outputsOfOneNameAreWrongUse();
    void existingOutputIsLeftAlone();
    void existingTableOfAGroupIsLeftAlone();
    void overwriteReplaces();
    void overwriteKeepsStrangersInATextFolder();
    void planeIsFiltered();
    void startAndPeriodsMakeTheTimes();
    void controlStatusPeriodTakesItsFollowersAlong();
    void channelsAndLabelsAreChosen();
    void checkReportsAndWritesNothing();
    void reportLineTellsWhatIsInALog();
    void jsonIsOneObjectALine();
    void listShowsTasksGroupsAndChannels();
    void listAsJson();
    void helpFitsATerminal();
    void manualPageAndCompletionHaveEveryOption();
    void versionIsThatOfTheProgram();
    void logThatCannotBeReadStopsNoOther();
    void noFlightInAFolderIsNoFailure();
    void folderWithoutALogIsAFailure();
    void flightWithoutPositionsHasNoTrack();
    void outputFolderThatIsAFileIsAFailure();
    void wrongUse_data();
    void wrongUse();
    void manyJobsGiveTheSameFiles();
    void longLogIsCountedInFullAndRowsAfterTheLastOfASheetAreReported();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    void writeLog(const QString &name, int length = 1) const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QVERIFY(demo::writeTextLog(path(name), minutes(length)));
    }
    ConverterRun run(const QStringList &arguments) const { return runConverter(arguments, m_dir->path()); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestConvert::init()
{
    m_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/飞行 数据-XXXXXX");
    QVERIFY(m_dir->isValid());
}

void TestConvert::csvHasTheBitsOfTheFlight_data()
{
    QTest::addColumn<QString>("name");
    for (const char *const name : {"flight.txt", "damaged.txt", "航班 一.db"})
        QTest::newRow(name) << name;
}

void TestConvert::csvHasTheBitsOfTheFlight()
{
    QFETCH(QString, name);
    demo::DemoOptions options = minutes(2);
    options.backupFrames = true;
    const bool made = name.endsWith("db") ? demo::writeDatabase(path(name), demo::demoTasks(options))
        : name == "damaged.txt"           ? demo::writeDamagedLog(path(name), options)
                                          : demo::writeTextLog(path(name), options);
    QVERIFY(made);
    const ConverterRun result = run({name});
    QVERIFY2(result.status == 0 && result.error.isEmpty(), qPrintable(result.error));
    const QByteArray csv = bytesOf(path(QFileInfo(name).completeBaseName() + ".csv"));
    QCOMPARE(differenceOf(csv, flightOf(path(name))), QString());
    QCOMPARE(treeOf(m_dir->path()).size(), 2);
}

void TestConvert::chosenTasksBecomeOneFlight()
{
    QVERIFY(demo::writeDatabase(path("a.db"), demo::demoTasks(minutes(1))));
    for (const QString &tasks : {QString("12,3"), QString("all")}) {
        const ConverterRun result = run({"--overwrite", "--tasks", tasks, "a.db"});
        QVERIFY2(result.status == 0, qPrintable(result.error));
        ReadOptions options;
        if (tasks != "all")
            options.tasks = {12, 3};
        QCOMPARE(differenceOf(bytesOf(path("a.csv")), flightOf(path("a.db"), options)), QString());
    }
    const ConverterRun missing = run({"--overwrite", "--tasks", "99", "a.db"});
    QCOMPARE(missing.status, 1);
    QVERIFY(missing.error.contains("has no task 99"));
}

void TestConvert::allFormatsAtOnce()
{
    writeLog("a.b.txt");
    const ConverterRun result = run({"-f", "csv,xlsx", "-f", "txt,kml,gpx,geojson,mat", "a.b.txt"});
    QVERIFY2(result.status == 0 && result.error.isEmpty(), qPrintable(result.error));
    const QStringList names = QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QStringList expected{"a.b-export", "a.b.csv", "a.b.geojson", "a.b.gpx",
                         "a.b.kml",    "a.b.mat", "a.b.txt",     "a.b.xlsx"};
    QCOMPARE(names, expected);
    QCOMPARE(QDir(path("a.b-export")).entryList(QDir::Files).size(), 9);
    // A folder has a size of its own on some systems only.
    for (const QFileInfo &file : QDir(m_dir->path()).entryInfoList(QDir::Files))
        QVERIFY2(file.size() > 100, qPrintable(file.fileName()));
}

void TestConvert::workbookAndTextAreThoseOfTheProgram()
{
    writeLog("a.txt");
    QCOMPARE(run({"-f", "xlsx,txt", "a.txt"}).status, 0);
    const Flight flight = flightOf(path("a.txt"));
    QVERIFY(!findExportFormat("xlsx")->write(flight, path("own.xlsx"), {}));
    QVERIFY(!findExportFormat("txt")->write(flight, path("own-export"), {}));
    QCOMPARE(bytesOf(path("a.xlsx")), bytesOf(path("own.xlsx")));
    for (const QString &name : QDir(path("own-export")).entryList(QDir::Files))
        QCOMPARE(bytesOf(path("a-export/" + name)), bytesOf(path("own-export/" + name)));
}

void TestConvert::foldersAreSearchedAndKeepTheirPlaces()
{
    writeLog("记录/a.txt");
    writeLog("记录/七月 18/b.txt");
    putBytes(path("记录/notes.md"), "no log");
    const ConverterRun result = run({"-f", "gpx", "-o", "out/deeper", "记录"});
    QVERIFY2(result.status == 0, qPrintable(result.error));
    QCOMPARE(treeOf(path("out")), QStringList({"deeper", "deeper/a.gpx", "deeper/七月 18", "deeper/七月 18/b.gpx"}));
    QCOMPARE(run({"-f", "gpx", "记录"}).status, 0);
    QVERIFY(QFile::exists(path("记录/七月 18/b.gpx")) && QFile::exists(path("记录/a.gpx")));
}

void TestConvert::filesOfTextExportsAreNoLogs()
{
    writeLog("logs/a.txt");
    QCOMPARE(run({"-f", "txt", "logs"}).status, 0);
    const ConverterRun again = run({"-f", "csv", "--json", "logs"});
    QCOMPARE(again.status, 0);
    QCOMPARE(again.objects().size(), 2); // one flight and the total
}

void TestConvert::sameFileIsConvertedOnce()
{
    writeLog("logs/a.txt");
    const ConverterRun result = run({"--json", "logs/a.txt", "logs", path("logs/a.txt")});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.objects().size(), 2);
}

void TestConvert::logsThatDifferBySuffixKeepIt()
{
    writeLog("a.txt");
    QVERIFY(demo::writeDatabase(path("a.db"), demo::demoTasks(minutes(1))));
    QCOMPARE(run({"."}).status, 0);
    QCOMPARE(QDir(m_dir->path()).entryList({"*.csv"}), QStringList({"a.db.csv", "a.txt.csv"}));
}

void TestConvert::outputsOfOneNameAreWrongUse()
{
    writeLog("one/a.txt");
    writeLog("two/a.txt");
    const ConverterRun result = run({"-o", "out", "one/a.txt", "two/a.txt"});
    QCOMPARE(result.status, 2);
    QVERIFY2(result.error.contains("one/a.txt and two/a.txt"), qPrintable(result.error));
    QVERIFY(!QFile::exists(path("out")));
}

void TestConvert::existingOutputIsLeftAlone()
{
    writeLog("a.txt");
    putBytes(path("a.csv"), "mine");
    const ConverterRun result = run({"-f", "csv,gpx", "--json", "a.txt"});
    QCOMPARE(result.status, 0);
    QCOMPARE(bytesOf(path("a.csv")), QByteArray("mine"));
    const QJsonObject flight = result.objects().value(0);
    QCOMPARE(flight["outcome"].toString(), QString("converted"));
    QCOMPARE(flight["kept"].toArray().size(), 1);
    QVERIFY(flight["written"].toArray()[0].toString().endsWith("/a.gpx"));

    const ConverterRun again = run({"-f", "csv,gpx", "a.txt"});
    QCOMPARE(again.status, 0);
    QCOMPARE(again.out, QString("a.txt: not read, all outputs exist; left alone: a.csv, a.gpx\n"));
}

void TestConvert::existingTableOfAGroupIsLeftAlone()
{
    writeLog("a.txt");
    putBytes(path("a.0x01.csv"), "mine");
    const ConverterRun result = run({"--period", "0x01=1000", "a.txt"});
    QCOMPARE(result.status, 0);
    QVERIFY2(result.out.endsWith(" -> a.csv; left alone: a.0x01.csv\n"), qPrintable(result.out));
    QCOMPARE(bytesOf(path("a.0x01.csv")), QByteArray("mine"));
}

void TestConvert::overwriteReplaces()
{
    writeLog("a.txt");
    putBytes(path("a.csv"), "mine");
    putBytes(path("a.xlsx"), "no workbook");
    const ConverterRun result = run({"-f", "csv,xlsx", "--overwrite", "a.txt"});
    QVERIFY2(result.status == 0 && result.error.isEmpty(), qPrintable(result.error));
    QVERIFY(bytesOf(path("a.csv")).startsWith("time,seconds,"));
    QVERIFY(bytesOf(path("a.xlsx")).startsWith("PK"));
    QCOMPARE(treeOf(m_dir->path()), QStringList({"a.csv", "a.txt", "a.xlsx"}));
}

void TestConvert::overwriteKeepsStrangersInATextFolder()
{
    writeLog("a.txt");
    QVERIFY(QDir(m_dir->path()).mkdir("a-export"));
    putBytes(path("a-export/mine.doc"), "mine");
    putBytes(path("a-export/0x52-Backup.txt"), QByteArray(1 << 20, 'x'));
    QCOMPARE(run({"-f", "txt", "a.txt"}).status, 0);
    QCOMPARE(treeOf(path("a-export")).size(), 2);
    QCOMPARE(run({"-f", "txt", "--overwrite", "a.txt"}).status, 0);
    QCOMPARE(bytesOf(path("a-export/mine.doc")), QByteArray("mine"));
    QVERIFY(!bytesOf(path("a-export/0x52-Backup.txt")).contains('x'));
    QCOMPARE(treeOf(path("a-export")).size(), 10);
}

void TestConvert::planeIsFiltered()
{
    writeLines(path("a.txt"),
               {FrameText(0x03, 1).set("PGS_Roll", 1).text(), FrameText(0x03, 7).set("PGS_Roll", 7).text(),
                FrameText(0x03, 7).set("PGS_Roll", 8).text()});
    const ConverterRun result = run({"--plane", "0x07", "--channels", "PGS_Roll", "a.txt"});
    QCOMPARE(result.status, 0);
    QVERIFY2(result.out.startsWith("a.txt: 2 frames, 0 bad, 1 of other planes, "), qPrintable(result.out));
    QCOMPARE(columnsOf(bytesOf(path("a.csv")))["PGS_Roll"], QList<QByteArray>({"7", "8"}));

    const ConverterRun none = run({"--plane", "9", "--overwrite", "a.txt"});
    QCOMPARE(none.status, 1);
    QVERIFY2(none.error.contains("holds no frame of this plane"), qPrintable(none.error));
}

void TestConvert::startAndPeriodsMakeTheTimes()
{
    writeLog("a.txt");
    const ConverterRun result = run({"--start", "2024-02-29 23:59:59", "--period", "0x01=1500", "--period",
                                     "attitude=100", "--channels", "@heartbeat,PGS_Roll,@0x05", "a.txt"});
    QVERIFY2(result.status == 0, qPrintable(result.error));
    QCOMPARE(QDir(m_dir->path()).entryList({"*.csv"}), QStringList({"a.0x01.csv", "a.0x03.csv", "a.csv"}));
    const auto beat = columnsOf(bytesOf(path("a.0x01.csv")));
    QCOMPARE(beat.size(), 2 + 5);
    QCOMPARE(beat["time"].mid(0, 2), QList<QByteArray>({"2024-02-29T23:59:59.000", "2024-03-01T00:00:00.500"}));
    QCOMPARE(beat["seconds"].mid(0, 3), QList<QByteArray>({"0", "1.5", "3"}));
    QCOMPARE(columnsOf(bytesOf(path("a.0x03.csv")))["seconds"].value(3), QByteArray("0.3"));
    QCOMPARE(columnsOf(bytesOf(path("a.csv")))["seconds"].value(3), QByteArray("0.6"));
    QCOMPARE(columnsOf(bytesOf(path("a.csv"))).size(), 2 + 13);
}

void TestConvert::controlStatusPeriodTakesItsFollowersAlong()
{
    writeLog("a.txt");
    QCOMPARE(run({"--period", "0x02=1000", "a.txt"}).status, 0);
    QCOMPARE(run({"--overwrite", "--period", "0x02=86400000", "a.txt"}).status, 0);
    QCOMPARE(QDir(m_dir->path()).entryList({"*.csv"}),
             QStringList({"a.0x02.csv", "a.0x51.csv", "a.0x53.csv", "a.csv"}));
}

void TestConvert::channelsAndLabelsAreChosen()
{
    writeLog("a.txt");
    QCOMPARE(run({"--labels", "--channels", "俯仰,PGS_Roll", "--channels", "@backup,PGS_Pitch", "a.txt"}).status, 0);
    const QByteArray csv = bytesOf(path("a.csv"));
    QCOMPARE(csv.left(csv.indexOf('\n')), QByteArray("\xEF\xBB\xBFtime,seconds,俯仰,横滚,速度角度"));
}

void TestConvert::checkReportsAndWritesNothing()
{
    writeLog("a.txt");
    const ConverterRun result = run({"--check", "a.txt"});
    QCOMPARE(result.status, 0);
    QVERIFY(result.out.startsWith("a.txt: 1800 frames, 0 bad, ")); // 300 samples of 6 frames
    QCOMPARE(treeOf(m_dir->path()), QStringList{"a.txt"});
}

// Three attitude frames alone: the second and the third leave the control status two behind, and one sample fills it
// each time. At the frame of an unknown code the control status is two ahead of the sensors: the third gap. At the end
// the chain is evened, by one sample each: control status, sensor, target. The equipment is extended with it, there.
void TestConvert::reportLineTellsWhatIsInALog()
{
    QStringList lines;
    for (int i = 0; i < 3; ++i)
        lines << FrameText(0x03).text();
    writeLines(path("a.txt"), lines + QStringList{"no frame", "AAEC0177"});
    const int samples = 3 * 18 + 3 * 37 + 16 + 2 * 34 + 13 + 3 * 5 + 3;
    const ConverterRun result = run({"--check", "--start", "2023-07-18 09:00:00", "a.txt"});
    QCOMPARE(result.status, 0);
    const QString expected
        = QString("a.txt: 4 frames, 1 bad, %1 samples, 6 gaps filled, 0:00:00 from 2023-07-18 09:00:00, ").arg(samples);
    QVERIFY2(result.out.startsWith(expected) && result.out.endsWith(" s\n"), qPrintable(result.out));
}

void TestConvert::jsonIsOneObjectALine()
{
    writeLog("logs/a.txt");
    writeLines(path("logs/b.txt"), {"no frame"});
    const ConverterRun result = run({"--json", "-j", "1", "logs", "missing.txt"});
    QCOMPARE(result.status, 1);
    const QVector<QJsonObject> objects = result.objects();
    QCOMPARE(objects.size(), 4);
    const QStringList keys{"bad",     "elapsed", "errors",      "event",    "frames", "gaps",
                           "kept",    "lines",   "otherPlanes", "outcome",  "path",   "samples",
                           "seconds", "start",   "unknown",     "warnings", "written"};
    QCOMPARE(objects[0].keys(), keys);
    QCOMPARE(objects[0]["outcome"].toString(), QString("converted"));
    QCOMPARE(objects[0]["frames"].toInt(), 1800);
    QCOMPARE(objects[0]["seconds"].toDouble(), 60.0);
    QVERIFY(objects[0]["start"].toString().startsWith("2023-"));
    QCOMPARE(objects[1]["outcome"].toString(), QString("no-flight"));
    QCOMPARE(objects[2]["outcome"].toString(), QString("failed"));
    QCOMPARE(objects[2]["errors"].toArray().size(), 1);
    QCOMPARE(objects[3]["event"].toString(), QString("total"));
    QCOMPARE(objects[3].keys(),
             QStringList({"bytes", "done", "elapsed", "event", "failed", "interrupted", "kept", "noFlight"}));
    QCOMPARE(objects[3]["done"].toInt(), 1);
    QCOMPARE(objects[3]["failed"].toInt(), 1);
    QCOMPARE(objects[3]["noFlight"].toInt(), 1);
}

void TestConvert::listShowsTasksGroupsAndChannels()
{
    QVERIFY(demo::writeDatabase(path("a.db"), demo::demoTasks(minutes(1))));
    const ConverterRun result = run({"--list", "a.db"});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.out.count("\n  task "), 4);
    QVERIFY(result.out.contains("1800 records"));
    QVERIFY(result.out.contains("\n0x03 @attitude: 18 channels\n"));
    QVERIFY(result.out.contains(QRegularExpression("\n  PGS_Roll +横滚 +deg\n")));
    QVERIFY(result.out.contains(QRegularExpression("\n  FSS_Reserved1 +保留字\n")));
    QCOMPARE(result.lines().size(), 1 + 4 + 9 + 143);
    QCOMPARE(run({"--list"}).lines().size(), 9 + 143);
    QCOMPARE(run({"--list", "missing.db"}).status, 1);
    QVERIFY(!QFile::exists(path("missing.db")));
}

void TestConvert::listAsJson()
{
    QVERIFY(demo::writeDatabase(path("a.db"), demo::demoTasks(minutes(1))));
    const QVector<QJsonObject> objects = run({"--list", "--json", "."}).objects();
    QCOMPARE(objects.size(), 4 + 143);
    QCOMPARE(objects[0].keys(), QStringList({"created", "event", "name", "path", "records", "task"}));
    QCOMPARE(objects[0]["task"].toInt(), 1);
    QCOMPARE(objects[4].keys(), QStringList({"code", "event", "group", "label", "name", "unit"}));
    QVERIFY(objects[4]["unit"].isNull());
    QCOMPARE(objects[6]["unit"].toString(), QString("deg"));
    QCOMPARE(objects[6]["code"].toString(), QString("0x01"));
}

void TestConvert::helpFitsATerminal()
{
    const ConverterRun result = run({"--help"});
    QCOMPARE(result.status, 0);
    QVERIFY(result.error.isEmpty());
    for (const QString &line : result.out.split('\n')) {
        int columns = 0;
        for (const QChar character : line)
            columns += character.unicode() < 0x1100 ? 1 : 2;
        QVERIFY2(columns <= 80, qPrintable(line));
    }
    QVERIFY(result.out.contains("0x52-Backup.txt holds the first equipment"));
}

void TestConvert::manualPageAndCompletionHaveEveryOption()
{
    const QByteArray page = bytesOf(QStringLiteral(SOURCE_DIR "/docs/man/ostravel-convert.1")).replace("\\-", "-");
    const QByteArray completion = bytesOf(QStringLiteral(SOURCE_DIR "/packaging/bash/ostravel-convert.bash"));
    int options = 0;
    for (auto match = QRegularExpression("\n  (?:(-\\w),)?(--[a-z]+)").globalMatch(run({"--help"}).out);
         match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QByteArray name = found.captured(2).toLatin1();
        QVERIFY2(page.contains(name), name.constData());
        QVERIFY2(completion.contains(name), name.constData());
        ++options;
    }
    QCOMPARE(options, 15);
    // The keys of the objects are promised there.
    writeLog("a.txt");
    for (const QStringList &arguments : {QStringList{"--json", "a.txt"}, QStringList{"--json", "--list"}}) {
        for (const QJsonObject &object : run(arguments).objects()) {
            for (const QString &key : object.keys())
                QVERIFY2(page.contains("\n.B " + key.toLatin1() + '\n'), qPrintable(key));
        }
    }
}

void TestConvert::versionIsThatOfTheProgram()
{
    QCOMPARE(run({"--version"}).out, QString("ostravel-convert " OSTRAVEL_VERSION "\n"));
}

void TestConvert::logThatCannotBeReadStopsNoOther()
{
    writeLog("good.txt");
    putBytes(path("bad.db"), "this is no database");
    putBytes(path("words.txt"), "these are\nno frames\n");
    putBytes(path("empty.txt"), "");
    const ConverterRun result = run({"bad.db", "missing.txt", "words.txt", "empty.txt", "flight.log", "good.txt"});
    QCOMPARE(result.status, 1);
    QCOMPARE(result.error.count('\n'), 5);
    for (const char *const name : {"bad.db", "missing.txt", "words.txt", "empty.txt", "flight.log"})
        QVERIFY2(result.error.contains(QString("ostravel-convert: The flight ") + name), qPrintable(result.error));
    QCOMPARE(QDir(m_dir->path()).entryList({"*.csv"}), QStringList{"good.csv"});
    QVERIFY2(result.out.contains("6 logs in ") && result.out.contains("1 done, 5 failed"), qPrintable(result.out));
}

void TestConvert::noFlightInAFolderIsNoFailure()
{
    writeLog("logs/good.txt");
    putBytes(path("logs/Thumbs.db"), "this is no database");
    putBytes(path("logs/words.txt"), "these are\nno frames\n");
    const ConverterRun result = run({"logs"});
    QCOMPARE(result.status, 0);
    QVERIFY2(result.error.isEmpty(), qPrintable(result.error));
    QVERIFY(result.out.contains("words.txt: left out, it is no flight\n"));
    QVERIFY(result.out.contains("1 done, 2 no flight"));
}

void TestConvert::folderWithoutALogIsAFailure()
{
    QVERIFY(QDir(m_dir->path()).mkdir("empty"));
    const ConverterRun result = run({"empty"});
    QCOMPARE(result.status, 1);
    QVERIFY(result.error.contains("The folder empty holds no log"));
}

void TestConvert::flightWithoutPositionsHasNoTrack()
{
    writeLines(path("a.txt"), {FrameText(0x01).text()});
    const ConverterRun result = run({"-f", "gpx,csv", "a.txt"});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.error.endsWith("/a.gpx cannot be written: the flight has no positions.\n"),
             qPrintable(result.error));
    QCOMPARE(treeOf(m_dir->path()), QStringList({"a.csv", "a.txt"}));
}

void TestConvert::outputFolderThatIsAFileIsAFailure()
{
    writeLog("a.txt");
    putBytes(path("file"), "mine");
    const ConverterRun result = run({"-o", "file", "a.txt"});
    QCOMPARE(result.status, 1);
    QVERIFY2(result.error.contains("/file cannot be written"), qPrintable(result.error));
    QCOMPARE(bytesOf(path("file")), QByteArray("mine"));
}

void TestConvert::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QStringList &arguments, const char *reason) {
        QTest::newRow(name) << arguments << reason;
    };
    row("nothing", {}, "no log is given");
    row("option", {"--wrong", "a.txt"}, "--wrong");
    row("format", {"-f", "pdf", "a.txt"}, "there is no format \"pdf\"");
    row("empty format", {"-f", "csv,", "a.txt"}, "there is no format \"\"");
    row("jobs", {"-j", "0", "a.txt"}, "--jobs takes");
    row("jobs as a word", {"-j", "two", "a.txt"}, "--jobs takes");
    row("plane", {"--plane", "256", "a.txt"}, "--plane takes");
    row("tasks", {"--tasks", "1,x", "a.txt"}, "--tasks takes");
    row("large task", {"--tasks", "300", "a.txt"}, "--tasks takes");
    row("start", {"--start", "yesterday", "a.txt"}, "--start takes");
    row("31 June", {"--start", "2023-06-31 00:00:00", "a.txt"}, "--start takes");
    row("period", {"--period", "0x01", "a.txt"}, "--period takes");
    row("period of nothing", {"--period", "0x01=0", "a.txt"}, "--period takes");
    row("period of more than a day", {"--period", "0x01=86400001", "a.txt"}, "--period takes");
    row("period of no group", {"--period", "0x77=100", "a.txt"}, "--period takes");
    row("period of a follower", {"--period", "0x51=100", "a.txt"}, "0x51 has no period of its own");
    row("channel", {"--channels", "PGS_Rol", "a.txt"}, "there is no channel \"PGS_Rol\"; did you mean PGS_Roll");
    row("group", {"--channels", "@wings", "a.txt"}, "there is no group \"@wings\"");
    row("channels of a track", {"--channels", "PGS_Roll", "-f", "kml", "a.txt"}, "--channels is for csv and mat");
    row("labels of a workbook", {"--labels", "-f", "xlsx", "a.txt"}, "--labels is for csv");
    row("check and list", {"--check", "--list", "a.txt"}, "two things");
    row("check and format", {"--check", "-f", "csv", "a.txt"}, "write nothing");
    row("list and folder", {"--list", "-o", "x"}, "write nothing");
}

void TestConvert::wrongUse()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    writeLog("a.txt");
    const ConverterRun result = run(arguments);
    QCOMPARE(result.status, 2);
    QVERIFY2(result.error.contains(reason) && result.error.startsWith("ostravel-convert: "), qPrintable(result.error));
    QVERIFY(result.error.contains("--help"));
    QVERIFY(result.out.isEmpty());
    QCOMPARE(treeOf(m_dir->path()), QStringList{"a.txt"});
}

void TestConvert::manyJobsGiveTheSameFiles()
{
    for (int i = 0; i < 12; ++i) {
        demo::DemoOptions options = minutes(1);
        options.seed = quint64(i + 1);
        QDir().mkpath(path("logs"));
        QVERIFY(demo::writeTextLog(path(QString("logs/%1.txt").arg(i)), options));
    }
    QCOMPARE(run({"-f", "csv,geojson,mat", "-j", "1", "-o", "one", "logs"}).status, 0);
    QCOMPARE(run({"-f", "csv,geojson,mat", "-j", "8", "-o", "eight", "logs"}).status, 0);
    const QStringList names = treeOf(path("one"));
    QCOMPARE(names.size(), 12 * 3);
    QCOMPARE(treeOf(path("eight")), names);
    for (const QString &name : names)
        QVERIFY2(bytesOf(path("one/" + name)) == bytesOf(path("eight/" + name)), qPrintable(name));
}

void TestConvert::longLogIsCountedInFullAndRowsAfterTheLastOfASheetAreReported()
{
    // A sheet has 1,048,576 rows, one of them for the labels. The counters of the window have 16 bits, these do not.
    constexpr int kFrames = 1048576 + 4;
    putBytes(path("flight.txt"), QByteArray("AAEC0101\n").repeated(kFrames) + QByteArray("00\n").repeated(66000));
    const ConverterRun result = run({"--json", "-f", "csv,xlsx", "--channels", "@heartbeat", "flight.txt"});
    QVERIFY2(result.status == 0, qPrintable(result.error));
    const QJsonObject report = result.objects().value(0);
    QCOMPARE(report["lines"].toInt(), kFrames + 66000);
    QCOMPARE(report["frames"].toInt(), kFrames);
    QCOMPARE(report["bad"].toInt(), 66000);
    QCOMPARE(report["samples"].toInt(), 5 * kFrames); // in five channels
    QVERIFY2(result.error.contains("5 rows of sheet 0x01-HeartBeat"), qPrintable(result.error));
    QCOMPARE(bytesOf(path("flight.csv")).count('\n'), 1 + kFrames);
}

QTEST_GUILESS_MAIN(TestConvert)
#include "TestConvert.moc"
