#include "DemoFlight.h"
#include "ReadFlight.h"
#include "ostravel.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

using ostravel::Flight;

namespace
{

struct Free {
    void operator()(ostravel_flight *flight) const { ostravel_free(flight); }
    void operator()(ostravel_task_list *tasks) const { ostravel_free_tasks(tasks); }
};
using Handle = std::unique_ptr<ostravel_flight, Free>;

bool sameBits(const double *a, const double *b, std::size_t length)
{
    return length == 0 || std::memcmp(a, b, length * sizeof(double)) == 0;
}

bool sameTrack(const ostravel_flight *handle, int kind, const ostravel::Track &expected)
{
    ostravel_track track{};
    return ostravel_flight_track(handle, kind, &track) == OSTRAVEL_OK && track.length == expected.x.size()
        && sameBits(track.east, expected.x.data(), track.length)
        && sameBits(track.north, expected.y.data(), track.length)
        && sameBits(track.up, expected.z.data(), track.length);
}

/** The first channel that differs from the core's; empty when none does. */
QString differingChannel(const ostravel_flight *handle, const Flight &flight)
{
    for (int i = 0; i < ostravel_channel_count(); ++i) {
        ostravel_channel_info info{};
        ostravel_channel(i, &info);
        const ostravel::Series &expected = flight.samples(static_cast<std::uint8_t>(info.function_code), info.row);
        std::size_t length = 0;
        const double *const samples = ostravel_samples(handle, i, &length);
        if (length != static_cast<std::size_t>(expected.size()) || !sameBits(samples, expected.constData(), length))
            return QString::fromUtf8(info.name);
    }
    return {};
}

void compare(const ostravel_flight *handle, const Flight &flight)
{
    QVERIFY(handle != nullptr);
    QCOMPARE(ostravel_channel_count(), 143);
    QCOMPARE(differingChannel(handle, flight), QString());
    QVERIFY(sameTrack(handle, OSTRAVEL_WHOLE_TRACK, flight.track()));
    QVERIFY(sameTrack(handle, OSTRAVEL_ATTACK_TRACK, flight.attackTrack()));
    ostravel_origin origin{};
    ostravel_flight_origin(handle, &origin);
    QVERIFY(origin.latitude == double(flight.origin().latitude) && origin.scale == flight.origin().scale
            && origin.longitude == double(flight.origin().longitude));
    ostravel_report report{};
    ostravel_flight_report(handle, &report);
    QCOMPARE(report.lines, flight.counts().lines);
    QCOMPARE(report.bad_headers, flight.counts().badHeaders);
    QCOMPARE(report.gaps_filled, flight.counts().gapsFilled);
    QCOMPARE(report.broken_off, flight.brokenOff().has_value() ? OSTRAVEL_BROKEN_OFF : OSTRAVEL_OK);
    std::int64_t start = 0;
    QCOMPARE(ostravel_start(handle, &start), flight.startTime().isNull() ? 0 : 1);
    if (!flight.startTime().isNull()) {
        const QDateTime clock = QDateTime::fromSecsSinceEpoch(start, Qt::UTC);
        QCOMPARE(clock.date(), flight.startTime().date());
        QCOMPARE(clock.time(), flight.startTime().time());
    }
}

void zeroPageInTheMiddle(const QString &path)
{
    constexpr int kPage = 4096;
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek(file.size() / kPage / 2 * kPage));
    QCOMPARE(file.write(QByteArray(kPage, '\0')), qint64(kPage));
}

} // namespace

/** The C interface gives what the core gives. There is no application object here, as in most hosts. */
class TestCApi : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFlightHasTheBitsOfTheCore_data();
    void everyFlightHasTheBitsOfTheCore();
    void flightsAreReadOnManyThreadsAtOnce();
    void tasksAreListed();
    void chosenTasksAreRead();
    void progressIsToldAndCancels();
    void longErrorEndsWithAWholeCharacter();
    void everyFormatIsWritten_data();
    void everyFormatIsWritten();
    void unknownFormatIsNamed();
    void exportToAMissingFolderFails();
    void pathThatIsNotUtf8IsRefused();
    void startOutsideTheCalendarIsRefused_data();
    void startOutsideTheCalendarIsRefused();

private:
    QString path(const char *name) const { return m_folder.filePath(QString::fromUtf8(name)); }
    Handle read(const char *name, const ostravel_read_options *options = nullptr, ostravel_error *error = nullptr)
    {
        return Handle(ostravel_read(path(name).toUtf8().constData(), options, error));
    }

    QTemporaryDir m_folder;
};

void TestCApi::initTestCase()
{
    QVERIFY(QCoreApplication::instance() == nullptr);
    demo::DemoOptions options;
    options.minutes = 5;
    QVERIFY(demo::writeTextLog(path("飞行.txt"), options));
    QVERIFY(demo::writeDamagedLog(path("damaged.txt"), options));
    options.minutes = 2;
    QVERIFY(demo::writeDatabase(path("任务.db"), demo::demoTasks(options)));
    options.minutes = 5;
    QVERIFY(demo::writeDatabase(path("damaged.db"), {demo::DemoTask{1, "task", 0, options}}));
    zeroPageInTheMiddle(path("damaged.db"));
    QFile empty(path("empty.txt"));
    QVERIFY(empty.open(QIODevice::WriteOnly));
}

void TestCApi::everyFlightHasTheBitsOfTheCore_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"飞行.txt", "damaged.txt", "任务.db", "damaged.db", "empty.txt"})
        QTest::newRow(name) << QByteArray(name);
}

void TestCApi::everyFlightHasTheBitsOfTheCore()
{
    QFETCH(QByteArray, name);
    const Handle handle = read(name.constData());
    const auto expected = ostravel::readFlight(path(name.constData()));
    compare(handle.get(), std::get<Flight>(expected));
}

void TestCApi::flightsAreReadOnManyThreadsAtOnce()
{
    constexpr std::size_t kThreads = 6;
    std::vector<Handle> handles(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back([this, i, &handles] { handles[i] = read(i % 2 == 0 ? "飞行.txt" : "任务.db"); });
    for (std::thread &thread : threads)
        thread.join();
    const auto log = ostravel::readFlight(path("飞行.txt"));
    const auto database = ostravel::readFlight(path("任务.db"));
    for (std::size_t i = 0; i < kThreads; ++i)
        compare(handles[i].get(), std::get<Flight>(i % 2 == 0 ? log : database));
}

void TestCApi::tasksAreListed()
{
    const std::unique_ptr<ostravel_task_list, Free> tasks(
        ostravel_tasks(path("任务.db").toUtf8().constData(), nullptr));
    QVERIFY(tasks);
    const demo::DemoOptions options;
    const QVector<demo::DemoTask> expected = demo::demoTasks(options);
    ostravel_task_info info{};
    for (std::size_t i = 0; i < std::size_t(expected.size()); ++i) {
        const demo::DemoTask &task = expected.at(int(i));
        QCOMPARE(ostravel_task(tasks.get(), i, &info), int(OSTRAVEL_OK));
        QCOMPARE(info.id, task.id % 256);
        QCOMPARE(QString::fromUtf8(info.name), task.name);
        QCOMPARE(info.created_ms, task.created);
    }
    QCOMPARE(ostravel_task(tasks.get(), std::size_t(expected.size()), &info), int(OSTRAVEL_BAD_ARGUMENT));
}

void TestCApi::chosenTasksAreRead()
{
    const std::uint8_t ids[] = {12, 3};
    ostravel_read_options options;
    ostravel_read_defaults(&options);
    options.tasks = ids;
    options.task_count = 2;
    ostravel::ReadOptions expected;
    expected.tasks = {12, 3};
    const auto flight = ostravel::readFlight(path("任务.db"), expected);
    compare(read("任务.db", &options).get(), std::get<Flight>(flight));

    const std::uint8_t missing = 7;
    options.tasks = &missing;
    options.task_count = 1;
    ostravel_error error;
    QVERIFY(!read("任务.db", &options, &error));
    QCOMPARE(error.code, int(OSTRAVEL_NO_TASK));
    QVERIFY(QByteArray(error.text).contains("no task 7"));
}

void TestCApi::progressIsToldAndCancels()
{
    struct Calls {
        int count = 0;
        qint64 done = -1;
        qint64 total = 0;
        int limit = 0;
    };
    const auto progress = [](std::int64_t done, std::int64_t total, void *user) {
        auto *const calls = static_cast<Calls *>(user);
        ++calls->count;
        calls->done = done;
        calls->total = total;
        return calls->limit == 0 || calls->count < calls->limit ? 1 : 0;
    };
    Calls calls;
    ostravel_read_options options;
    ostravel_read_defaults(&options);
    options.progress = progress;
    options.user = &calls;
    QVERIFY(read("飞行.txt", &options));
    QVERIFY(calls.count > 2);
    QCOMPARE(calls.total, QFile(path("飞行.txt")).size());
    QCOMPARE(calls.done, calls.total);

    calls = Calls();
    calls.limit = 2;
    ostravel_error error;
    QVERIFY(!read("飞行.txt", &options, &error));
    QCOMPARE(error.code, int(OSTRAVEL_CANCELLED));
    QCOMPARE(calls.count, 2);
}

void TestCApi::longErrorEndsWithAWholeCharacter()
{
    // Every length of the part before the Chinese letters, so that the cut falls on every byte of one.
    for (int shift = 0; shift < 3; ++shift) {
        const QString name = QString(shift, 'a') + QString(1000, QChar(0x98DE)) + ".txt";
        ostravel_error error;
        QVERIFY(ostravel_read(name.toUtf8().constData(), nullptr, &error) == nullptr);
        const QString text = QString::fromUtf8(error.text);
        QVERIFY(std::strlen(error.text) > sizeof error.text - 4);
        QVERIFY(!text.contains(QChar::ReplacementCharacter));
        QCOMPARE(text.toUtf8(), QByteArray(error.text));
    }
}

void TestCApi::everyFormatIsWritten_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QByteArray>("begin");
    QTest::newRow("csv") << QByteArray("csv") << QByteArray("time,seconds,HBS_AircraftType,");
    QTest::newRow("mat") << QByteArray("mat") << QByteArray("MATLAB 5.0 MAT-file");
    QTest::newRow("xlsx") << QByteArray("xlsx") << QByteArray("PK\3\4");
    QTest::newRow("kml") << QByteArray("kml") << QByteArray("<?xml");
    QTest::newRow("gpx") << QByteArray("gpx") << QByteArray("<?xml");
    QTest::newRow("geojson") << QByteArray("geojson") << QByteArray("{");
}

void TestCApi::everyFormatIsWritten()
{
    const Handle flight = read("飞行.txt");
    ostravel_error error;
    QFETCH(QByteArray, format);
    QFETCH(QByteArray, begin);
    const QString target = path("target.") + QString::fromUtf8(format);
    QCOMPARE(ostravel_export(flight.get(), format.constData(), target.toUtf8().constData(), 0, &error),
             int(OSTRAVEL_OK));
    QFile file(target);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.read(begin.size()), begin);
}

void TestCApi::unknownFormatIsNamed()
{
    const Handle flight = read("飞行.txt");
    ostravel_error error;
    QCOMPARE(ostravel_export(flight.get(), "docx", path("x").toUtf8().constData(), 0, &error),
             int(OSTRAVEL_UNKNOWN_FORMAT));
    QCOMPARE(error.code, int(OSTRAVEL_UNKNOWN_FORMAT));
    QVERIFY(QByteArray(error.text).contains("docx"));
    QVERIFY(QByteArray(error.text).contains("geojson, mat"));
    QCOMPARE(ostravel_export(nullptr, "xlsx", "x", 0, nullptr), int(OSTRAVEL_BAD_ARGUMENT));
}

void TestCApi::exportToAMissingFolderFails()
{
    const Handle flight = read("飞行.txt");
    ostravel_error error;
    QCOMPARE(ostravel_export(flight.get(), "xlsx", path("no/such/folder.xlsx").toUtf8().constData(), 0, &error),
             int(OSTRAVEL_CANNOT_WRITE));
    QVERIFY(QByteArray(error.text).contains("no/such/folder.xlsx"));
}

void TestCApi::pathThatIsNotUtf8IsRefused()
{
    const Handle flight = read("飞行.txt");
    for (const char *const name : {"caf\xe9.txt", "cut\xe9\xa3", "long\xc1\xaf.txt", "half\xed\xa0\x80.txt"}) {
        const QByteArray bad = path("").toUtf8() + '/' + name;
        ostravel_error error;
        QVERIFY(ostravel_read(bad.constData(), nullptr, &error) == nullptr);
        QCOMPARE(error.code, int(OSTRAVEL_BAD_ARGUMENT));
        QVERIFY(QByteArray(error.text).contains("UTF-8"));
        QVERIFY(ostravel_tasks(bad.constData(), &error) == nullptr);
        QCOMPARE(error.code, int(OSTRAVEL_BAD_ARGUMENT));
        const QStringList before = QDir(path("")).entryList();
        QCOMPARE(ostravel_export(flight.get(), "csv", bad.constData(), 0, &error), int(OSTRAVEL_BAD_ARGUMENT));
        QCOMPARE(error.code, int(OSTRAVEL_BAD_ARGUMENT));
        QCOMPARE(QDir(path("")).entryList(), before);
        QCOMPARE(ostravel_export(flight.get(), "odd", bad.constData(), 0, &error), int(OSTRAVEL_BAD_ARGUMENT));
    }
    const QByteArray good = path("飞行\U0001F681.csv").toUtf8();
    QCOMPARE(ostravel_export(flight.get(), "csv", good.constData(), 0, nullptr), int(OSTRAVEL_OK));
    QVERIFY(QFile::exists(path("飞行\U0001F681.csv")));
}

void TestCApi::startOutsideTheCalendarIsRefused_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<bool>("isGood");
    // By the proleptic Gregorian calendar: 719162 days lie between 0001-01-01 and 1970-01-01, 2932897 between
    // 1970-01-01 and 10000-01-01.
    constexpr qint64 kDay = 86400;
    QTest::newRow("smallest number") << std::numeric_limits<qint64>::min() << false;
    QTest::newRow("before the year 1") << -719162 * kDay - 1 << false;
    QTest::newRow("begin of the year 1") << -719162 * kDay << true;
    QTest::newRow("before 1970") << qint64(-1) << true;
    QTest::newRow("end of the year 9999") << 2932897 * kDay - 1 << true;
    QTest::newRow("year 10000") << 2932897 * kDay << false;
    QTest::newRow("greatest number") << std::numeric_limits<qint64>::max() << false;
}

void TestCApi::startOutsideTheCalendarIsRefused()
{
    QFETCH(qint64, seconds);
    QFETCH(bool, isGood);
    ostravel_read_options options;
    ostravel_read_defaults(&options);
    options.has_start = 1;
    options.start_seconds = seconds;
    ostravel_error error;
    const Handle flight = read("飞行.txt", &options, &error);
    QCOMPARE(flight != nullptr, isGood);
    QCOMPARE(error.code, int(isGood ? OSTRAVEL_OK : OSTRAVEL_BAD_ARGUMENT));
    std::int64_t start = 0;
    QCOMPARE(ostravel_start(flight.get(), &start), isGood ? 1 : 0);
    QCOMPARE(qint64(start), isGood ? seconds : 0);
}

QTEST_APPLESS_MAIN(TestCApi)
#include "TestCApi.moc"
