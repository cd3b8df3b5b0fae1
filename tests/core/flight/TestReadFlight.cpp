#include "DemoFlight.h"
#include "Fifo.h"
#include "FrameText.h"
#include "ReadDatabase.h"
#include "ReadFlight.h"
#include "UnfinishedDatabase.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cstring>
#include <thread>

using namespace ostravel;

namespace
{

using Result = ReadResult;

constexpr int kPage = 4096;

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** Creates a database by executing the statements. */
void makeDatabase(const QString &path, const QStringList &statements)
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "writer");
        database.setDatabaseName(path);
        if (!database.open())
            qFatal("cannot write %s", qPrintable(path));
        for (const QString &statement : statements) {
            QSqlQuery query(database);
            if (!query.exec(statement))
                qFatal("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
        }
        database.close();
    }
    QSqlDatabase::removeDatabase("writer");
}

const QStringList kTables{"create table t_fly_task (id integer, name text, ctime integer)",
                          "create table t_fly_record (id integer primary key, task_id integer, frame)"};

QString backup(int value)
{
    return FrameText(0x52).put(11, 2, value).text();
}

QStringList taskOf(int id, const QVector<int> &values)
{
    QStringList statements{QString("insert into t_fly_task values (%1, 'task', 1000)").arg(id)};
    for (const int value : values)
        statements << QString("insert into t_fly_record (task_id, frame) values (%1, '%2')").arg(id).arg(backup(value));
    return statements;
}

/** Values of the backup frames. A flight without attitude samples gets no derived values after them. */
Series backups(const Result &result)
{
    const auto *const flight = std::get_if<Flight>(&result);
    return flight ? flight->samples(frame::kBackup, 0) : Series({-12345.0});
}

int codeOf(const Result &result)
{
    const auto *const error = std::get_if<ReadError>(&result);
    return error ? int(error->code) : -1;
}

bool sameBits(const Series &a, const Series &b)
{
    return a.size() == b.size()
        && std::memcmp(a.constData(), b.constData(), std::size_t(a.size()) * sizeof(double)) == 0;
}

bool sameFlight(const Flight &a, const Flight &b)
{
    bool same = a.startTime() == b.startTime() && a.origin().latitude == b.origin().latitude
        && a.track().x == b.track().x && a.attackTrack().z == b.attackTrack().z && a.counts().lines == b.counts().lines;
    for (const frame::Layout &layout : frame::kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row)
            same = same && sameBits(a.samples(layout.code, row), b.samples(layout.code, row));
    }
    return same;
}

} // namespace

Q_DECLARE_METATYPE(ostravel::ReadError::Code)

class TestReadFlight : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void readsATextLog();
    void emptyLogGivesAFlightWithoutSamples();
    void unknownSuffixIsAnError_data();
    void unknownSuffixIsAnError();
    void unopenableFileIsAnError_data();
    void unopenableFileIsAnError();
    void pipeIsNotOpened_data();
    void pipeIsNotOpened();
    void fileWithoutFlightsIsAnError_data();
    void fileWithoutFlightsIsAnError();
    void tasksOfADatabaseAreListed();
    void readsAllTasksOfADatabase();
    void readsTheChosenTasks();
    void missingTaskIsAnError();
    void onlyThePlaneOfTheOptionsIsRead();
    void progressRunsFromZeroToTotal_data();
    void progressRunsFromZeroToTotal();
    void progressCallbackCancels_data();
    void progressCallbackCancels();
    void copyOfAnUnfinishedDatabaseIsCancelled();
    void damagedPageKeepsTheRecordsBeforeIt();
    void damagedListOfTasksBreaksTheReadOff();
    void removesItsConnectionAndLeavesTheFilesUnchanged();
    void readsInsideAProgressCallback();
    void eightThreadsReadAtOnce();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestReadFlight::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestReadFlight::readsATextLog()
{
    writeLines(path("flight.txt"), QStringList(oneCycle()) << "no frame" << backup(-7) << QString());
    const Result result = readFlight(path("flight.txt"));
    const Flight &flight = std::get<Flight>(result);
    QCOMPARE(flight.counts().lines, qint64(7));
    QCOMPARE(flight.counts().badHeaders, qint64(2));
    QCOMPARE(flight.samples(frame::kSensor, 33), Series({0.0}));
    QCOMPARE(flight.samples(frame::kBackup, 0), Series({-7.0, 0.0})); // plus the derived angle of the attitude sample
    QVERIFY(!flight.brokenOff().has_value());
}

void TestReadFlight::emptyLogGivesAFlightWithoutSamples()
{
    write(path("flight.txt"), {});
    const Result result = readFlight(path("flight.txt"));
    QCOMPARE(std::get<Flight>(result).counts().lines, qint64(0));
    QVERIFY(sameFlight(std::get<Flight>(result), Flight()));
}

void TestReadFlight::unknownSuffixIsAnError_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"flight.TXT", "flight.sqlite", "flight.DB", "flight", "flight.txt.bak", ".."})
        QTest::newRow(name) << name;
}

void TestReadFlight::unknownSuffixIsAnError()
{
    QFETCH(QString, name);
    if (name != "..")
        write(path(name), backup(1).toLatin1());
    const Result result = readFlight(path(name));
    QCOMPARE(codeOf(result), int(ReadError::Code::UnknownSuffix));
    QVERIFY(std::get<ReadError>(result).message.contains(path(name)));
}

void TestReadFlight::unopenableFileIsAnError_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"missing.txt", "missing.db", "folder.txt", "folder.db", "nowhere/flight.txt"})
        QTest::newRow(name) << name;
}

void TestReadFlight::unopenableFileIsAnError()
{
    QFETCH(QString, name);
    if (name.startsWith("folder"))
        QVERIFY(QDir(m_dir->path()).mkdir(name));
    const Result result = readFlight(path(name));
    QCOMPARE(codeOf(result), int(ReadError::Code::CannotOpen));
    const QString message = std::get<ReadError>(result).message;
    QVERIFY2(message.contains(path(name)) && message.endsWith('.'), qPrintable(message));
    if (name.startsWith("missing"))
        QVERIFY(!QFile::exists(path(name))); // SQLite would create an empty database
}

void TestReadFlight::pipeIsNotOpened_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"pipe.txt", "pipe.db"})
        QTest::newRow(name) << name;
}

void TestReadFlight::pipeIsNotOpened()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its reader");
    QFETCH(QString, name);
    const Fifo fifo(path(name));
    QVERIFY(fifo.isValid());
    QCOMPARE(codeOf(readFlight(path(name))), int(ReadError::Code::CannotOpen));
    QVERIFY(!fifo.wasOpened());
}

void TestReadFlight::fileWithoutFlightsIsAnError_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("statements");
    QTest::addColumn<ostravel::ReadError::Code>("code");
    QTest::newRow("no database") << QByteArray(10000, 'x') << QStringList() << ReadError::Code::NotADatabase;
    QTest::newRow("empty file") << QByteArray() << QStringList() << ReadError::Code::NotADatabase;
    QTest::newRow("other tables") << QByteArray() << QStringList("create table other (id integer)")
                                  << ReadError::Code::NotADatabase;
    QTest::newRow("view of that name") << QByteArray()
                                       << QStringList(
                                              "create view t_fly_task as select 1 as id, 'a' as name, 2 as ctime")
                                       << ReadError::Code::NotADatabase;
    QTest::newRow("tasks without a table of records")
        << QByteArray() << QStringList{kTables.first(), "insert into t_fly_task values (1, 'task', 1000)"}
        << ReadError::Code::NotADatabase;
    QTest::newRow("tasks with a view of records")
        << QByteArray()
        << QStringList{kTables.first(), "insert into t_fly_task values (1, 'task', 1000)",
                       "create view t_fly_record as select 1 as task_id, 'AAEC' as frame"}
        << ReadError::Code::NotADatabase;
    QTest::newRow("no task") << QByteArray() << kTables << ReadError::Code::NoTask;
}

void TestReadFlight::fileWithoutFlightsIsAnError()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, statements);
    QFETCH(ostravel::ReadError::Code, code);
    write(path("flight.db"), bytes);
    if (!statements.isEmpty())
        makeDatabase(path("flight.db"), statements);
    QCOMPARE(codeOf(readFlight(path("flight.db"))), int(code));
}

void TestReadFlight::tasksOfADatabaseAreListed()
{
    demo::DemoOptions demoOptions;
    demoOptions.minutes = 1;
    const QVector<demo::DemoTask> expected = demo::demoTasks(demoOptions);
    QVERIFY(demo::writeDatabase(path("flight.db"), expected));
    const auto result = readFlightTasks(path("flight.db"));
    const auto *const tasks = std::get_if<QVector<FlightTask>>(&result);
    QVERIFY(tasks != nullptr);
    QCOMPARE(tasks->size(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(int(tasks->at(i).id), expected.at(i).id % 256);
        QCOMPARE(tasks->at(i).name, expected.at(i).name);
        QCOMPARE(qint64(tasks->at(i).createdMs), expected.at(i).created);
    }
    const auto missing = readFlightTasks(path("missing.db"));
    QCOMPARE(std::get<ReadError>(missing).code, ReadError::Code::CannotOpen);
    const auto other = readFlightTasks(path("flight.txt"));
    QCOMPARE(std::get<ReadError>(other).code, ReadError::Code::UnknownSuffix);
}

void TestReadFlight::readsAllTasksOfADatabase()
{
    makeDatabase(path("flight.db"), kTables + taskOf(3, {1, 2}) + taskOf(7, {3}));
    const Result result = readFlight(path("flight.db"));
    QCOMPARE(backups(result), Series({1.0, 2.0, 3.0}));
    QCOMPARE(std::get<Flight>(result).counts().lines, qint64(3));
}

void TestReadFlight::readsTheChosenTasks()
{
    makeDatabase(path("flight.db"), kTables + taskOf(3, {1, 2}) + taskOf(7, {3}) + taskOf(9, {4}));
    ReadOptions options;
    options.tasks = {9, 3};
    Series sorted = backups(readFlight(path("flight.db"), options)); // the database defines the order
    std::sort(sorted.begin(), sorted.end());
    QCOMPARE(sorted, Series({1.0, 2.0, 4.0}));
    options.tasks = {7, 7};
    QCOMPARE(backups(readFlight(path("flight.db"), options)), Series({3.0}));
}

void TestReadFlight::missingTaskIsAnError()
{
    makeDatabase(path("flight.db"), kTables + taskOf(3, {1, 2}));
    ReadOptions options;
    options.tasks = {3, 4};
    const Result result = readFlight(path("flight.db"), options);
    QCOMPARE(codeOf(result), int(ReadError::Code::NoTask));
    QVERIFY(std::get<ReadError>(result).message.contains("task 4"));
}

void TestReadFlight::onlyThePlaneOfTheOptionsIsRead()
{
    writeLines(path("flight.txt"),
               {FrameText(0x52, 1).put(11, 2, 10).text(), FrameText(0x52, 2).put(11, 2, 20).text()});
    ReadOptions options;
    options.planeId = std::uint8_t(2);
    const Result result = readFlight(path("flight.txt"), options);
    QCOMPARE(backups(result), Series({20.0}));
    QCOMPARE(std::get<Flight>(result).counts().otherPlanes, qint64(1));
}

void TestReadFlight::progressRunsFromZeroToTotal_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("total");
    const qint64 frames = 2 * 300 * 6;
    QTest::newRow("text log, in bytes") << "flight.txt" << qint64(0);
    QTest::newRow("database, in records") << "flight.db" << frames;
}

void TestReadFlight::progressRunsFromZeroToTotal()
{
    QFETCH(QString, name);
    QFETCH(qint64, total);
    demo::DemoOptions demoOptions;
    demoOptions.minutes = 2;
    QVERIFY(demo::writeTextLog(path("flight.txt"), demoOptions));
    QVERIFY(demo::writeDatabase(path("flight.db"), {demo::DemoTask{1, "task", 0, demoOptions}}));
    if (total == 0)
        total = QFileInfo(path(name)).size();
    QVector<qint64> told;
    bool sameTotal = true;
    ReadOptions options;
    options.progress = [&](qint64 done, qint64 of) {
        told.append(done);
        sameTotal = sameTotal && of == total;
        return true;
    };
    QCOMPARE(codeOf(readFlight(path(name), options)), -1);
    QVERIFY(sameTotal);
    QCOMPARE(told.first(), qint64(0));
    QCOMPARE(told.last(), total);
    QVERIFY(told.size() >= 4);
    QVERIFY(std::is_sorted(told.begin(), told.end()));
}

void TestReadFlight::progressCallbackCancels_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("calls");
    for (const char *name : {"flight.txt", "flight.db"}) {
        for (const int calls : {1, 2, 3})
            QTest::addRow("%s at call %d", name, calls) << name << calls;
    }
}

void TestReadFlight::progressCallbackCancels()
{
    QFETCH(QString, name);
    QFETCH(int, calls);
    demo::DemoOptions demoOptions;
    demoOptions.minutes = 2;
    QVERIFY(demo::writeTextLog(path("flight.txt"), demoOptions));
    QVERIFY(demo::writeDatabase(path("flight.db"), {demo::DemoTask{1, "task", 0, demoOptions}}));
    int told = 0;
    ReadOptions options;
    options.progress = [&told, calls](qint64, qint64) { return ++told < calls; };
    const Result result = readFlight(path(name), options);
    QCOMPARE(codeOf(result), int(ReadError::Code::Cancelled));
}

void TestReadFlight::copyOfAnUnfinishedDatabaseIsCancelled()
{
    QVERIFY(QDir(m_dir->path()).mkdir("tmp"));
    const QByteArray temporaryBefore = qgetenv("TMPDIR");
    QVERIFY(writeUnfinishedDatabase(path("left.db"), path("live.db")));
    QVERIFY(QFileInfo(path("left.db")).size() > 4 << 20);

    // On Windows the copy goes to another folder, where it is not looked at.
    qputenv("TMPDIR", QFile::encodeName(path("tmp")));
    qint64 copied = 0;
    int told = 0;
    ReadOptions options;
    options.progress = [&](qint64, qint64) {
        ++told;
        QDirIterator files(path("tmp"), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            copied += QFileInfo(files.next()).size();
        return false;
    };
    const Result result = readFlight(path("left.db"), options);
    if (temporaryBefore.isNull())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", temporaryBefore);
    QCOMPARE(codeOf(result), int(ReadError::Code::Cancelled));
    QCOMPARE(told, 1);
    QVERIFY2(copied <= 1 << 20, qPrintable(QString::number(copied)));
    QVERIFY(QDir(path("tmp")).isEmpty());
}

void TestReadFlight::damagedPageKeepsTheRecordsBeforeIt()
{
    constexpr int kFrames = 2000;
    QVector<int> values;
    for (int i = 0; i < kFrames; ++i)
        values.append(i);
    makeDatabase(path("flight.db"),
                 QStringList(QString("pragma page_size = %1").arg(kPage)) + kTables + QStringList("begin")
                     + taskOf(5, values) + QStringList("commit"));
    QByteArray bytes = content(path("flight.db"));
    const int damaged = bytes.indexOf(backup(kFrames / 2).toUtf8()) / kPage;
    bytes.replace(damaged * kPage, kPage, QByteArray(kPage, '\0'));
    write(path("flight.db"), bytes);

    const Result result = readFlight(path("flight.db"));
    const Flight &flight = std::get<Flight>(result);
    QVERIFY(flight.brokenOff().has_value());
    QCOMPARE(int(flight.brokenOff()->code), int(ReadError::Code::BrokenOff));
    const Series &read = flight.samples(frame::kBackup, 0);
    QVERIFY(read.size() > 100 && read.size() < kFrames / 2 + 1);
    for (int i = 0; i < read.size(); ++i)
        QCOMPARE(read[i], double(i));
    QCOMPARE(content(path("flight.db")), bytes);
}

void TestReadFlight::damagedListOfTasksBreaksTheReadOff()
{
    constexpr int kTasks = 200;
    QStringList statements{QString("pragma page_size = %1").arg(kPage)};
    statements << kTables << "begin";
    for (int id = 1; id <= kTasks; ++id)
        statements << QString("insert into t_fly_task values (%1, 'task %1 %2', 1000)").arg(id).arg("", 100, '.');
    statements << QString("insert into t_fly_record (task_id, frame) values (1, '%1')").arg(backup(1)) << "commit";
    makeDatabase(path("flight.db"), statements);
    QByteArray bytes = content(path("flight.db"));
    const int damaged = bytes.indexOf("task 150 ") / kPage;
    bytes.replace(damaged * kPage, kPage, QByteArray(kPage, '\0'));
    write(path("flight.db"), bytes);

    const Result all = readFlight(path("flight.db"));
    QCOMPARE(backups(all), Series({1.0}));
    QVERIFY(std::get<Flight>(all).brokenOff().has_value());
    // A read of tasks that are in the list is complete.
    ReadOptions options;
    options.tasks = {1};
    const Result chosen = readFlight(path("flight.db"), options);
    QCOMPARE(backups(chosen), Series({1.0}));
    QVERIFY(!std::get<Flight>(chosen).brokenOff().has_value());
}

void TestReadFlight::removesItsConnectionAndLeavesTheFilesUnchanged()
{
    makeDatabase(path("flight.db"), kTables + taskOf(3, {1, 2}));
    const QByteArray before = content(path("flight.db"));
    QCOMPARE(codeOf(readFlight(path("flight.db"))), -1);
    QCOMPARE(codeOf(readFlight(path("missing.db"))), int(ReadError::Code::CannotOpen));
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
    QCOMPARE(content(path("flight.db")), before);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden), QStringList("flight.db"));
}

void TestReadFlight::readsInsideAProgressCallback()
{
    demo::DemoOptions demoOptions;
    demoOptions.minutes = 2;
    QVERIFY(demo::writeDatabase(path("long.db"), {demo::DemoTask{1, "task", 0, demoOptions}}));
    makeDatabase(path("short.db"), kTables + taskOf(3, {1, 2}));
    ReadOptions options;
    QVector<Series> inner;
    options.progress = [&](qint64 done, qint64) {
        if (done > 0 && inner.isEmpty())
            inner.append(backups(readFlight(path("short.db"))));
        return true;
    };
    const Result outer = readFlight(path("long.db"), options);
    QCOMPARE(inner, QVector<Series>({Series({1.0, 2.0})}));
    QCOMPARE(std::get<Flight>(outer).counts().lines, qint64(2 * 300 * demo::kFramesPerSample));
    QVERIFY(sameFlight(std::get<Flight>(outer), std::get<Flight>(readFlight(path("long.db")))));
}

void TestReadFlight::eightThreadsReadAtOnce()
{
    constexpr int kThreads = 8;
    // Two threads read each of four flights: two logs, one of them damaged, and two databases.
    QStringList paths;
    for (int i = 0; i < kThreads / 2; ++i) {
        demo::DemoOptions options;
        options.minutes = 3;
        options.seed = quint64(20 + i);
        const QString file = path(QString("flight%1.%2").arg(i).arg(i < 2 ? "txt" : "db"));
        const bool made = i == 0 ? demo::writeTextLog(file, options)
            : i == 1             ? demo::writeDamagedLog(file, options)
                                 : demo::writeDatabase(file, {demo::DemoTask{1, "task", 0, options}});
        QVERIFY(made);
        paths << file << file;
    }
    std::array<Result, kThreads> results;
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            Result *const result = &results[std::size_t(i)];
            const QString file = paths[i];
            threads.emplace_back([result, file] { *result = readFlight(file); });
        }
        for (std::thread &thread : threads)
            thread.join();
    }
    for (int i = 0; i < kThreads; ++i) {
        const Result alone = readFlight(paths[i]);
        QCOMPARE(codeOf(results[std::size_t(i)]), -1);
        const Flight &flight = std::get<Flight>(results[std::size_t(i)]);
        QVERIFY(flight.samples(frame::kAttitude, 0).size() > 500);
        QVERIFY(sameFlight(flight, std::get<Flight>(alone)));
    }
}

QTEST_GUILESS_MAIN(TestReadFlight)
#include "TestReadFlight.moc"
