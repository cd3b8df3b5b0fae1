// Reading and converting without a window: a two-hour log against its bytes, csv against std::to_chars, two jobs
// against one, and the memory of many flights.

#include "Bench.h"
#include "CsvWriter.h"
#include "DemoFlight.h"
#include "ReadFlight.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace ostravel;

namespace
{

constexpr double kReadTarget = 5;
constexpr double kCsvTarget = 0.6;
constexpr double kJobsTarget = 0.55;
constexpr double kMemoryTarget = 1.5;
constexpr int kMinutes = 120;
constexpr int kLogsForJobs = 40;
constexpr int kLogsForMemory = 200;
constexpr int kMinNumberRoom = 32;
constexpr char kHold[] = "--hold";

[[noreturn]] void fail(const char *what)
{
    std::printf("bench_convert: %s\n", what);
    std::exit(1);
}

/** The file as a whole, and its line ends. */
qint64 countLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        fail("the log cannot be read");
    const QByteArray text = file.readAll();
    qint64 lines = 0;
    const char *const end = text.constData() + text.size();
    for (const char *at = text.constData();
         (at = static_cast<const char *>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) != nullptr; ++at)
        ++lines;
    return lines;
}

Flight flightOf(const QString &path)
{
    auto result = readFlight(path);
    if (!std::holds_alternative<Flight>(result))
        fail("the log cannot be read");
    return std::move(std::get<Flight>(result));
}

/** The numbers of a flight and nothing else, row by row. */
void writeNumbers(const Flight &flight, const QString &path)
{
    std::vector<const Series *> columns;
    int rows = 0;
    for (const frame::ChannelId &channel : frame::allChannels()) {
        columns.push_back(&flight.samples(channel.code, channel.row));
        rows = std::max(rows, columns.back()->size());
    }
    const std::size_t room = static_cast<std::size_t>(rows) * columns.size() * kMinNumberRoom;
    const std::unique_ptr<char[]> text(new char[room]); // not touched before it is written to
    char *to = text.get();
    for (int row = 0; row < rows; ++row) {
        for (const Series *const column : columns) {
            if (row < column->size())
                to = std::to_chars(to, to + kMinNumberRoom, column->at(row)).ptr;
            *to++ = ',';
        }
        to[-1] = '\n';
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(text.get(), to - text.get()) < 0)
        fail("the numbers cannot be written");
}

void convert(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(CONVERT_PROGRAM), arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0)
        fail(process.readAllStandardError().constData());
}

/** Runs a program and gives the most memory that it had at a time, in MiB. */
double peakOf(const QString &program, const QStringList &arguments)
{
    constexpr double kKiloPerMega = 1024;
    std::vector<QByteArray> words{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        words.push_back(QFile::encodeName(argument));
    std::vector<char *> pointers;
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
        ::execv(pointers[0], pointers.data());
        ::_exit(1);
    }
    int state = 0;
    rusage usage{};
    if (::wait4(child, &state, 0, &usage) != child || state != 0)
        fail("a program that is measured failed");
    return static_cast<double>(usage.ru_maxrss) / kKiloPerMega;
}

/** More names for a log, in a folder of their own. */
QString makeLogs(const QTemporaryDir &folder, const QString &log, int count)
{
    const QString logs = folder.filePath(QString::number(count));
    QDir().mkdir(logs);
    for (int i = 0; i < count; ++i) {
        const QString name = logs + QStringLiteral("/flight%1.txt").arg(i);
        if (::link(QFile::encodeName(log).constData(), QFile::encodeName(name).constData()) != 0)
            fail("the logs cannot be made");
    }
    return logs;
}

void measureJobs(const QTemporaryDir &folder, const QString &log)
{
    const QString logs = makeLogs(folder, log, kLogsForJobs);
    const QString out = folder.filePath(QStringLiteral("out"));
    const auto run = [&](int jobs) {
        convert(QStringList{QStringLiteral("--overwrite"), QStringLiteral("-j"), QString::number(jobs),
                            QStringLiteral("-o"), out, logs});
    };
    run(2); // the files are in memory from here on
    constexpr int kRounds = 3;
    bench::Figures figures{bench::milliseconds([&] { run(1); }), bench::milliseconds([&] { run(2); })};
    for (int i = 1; i < kRounds; ++i) {
        figures.floor = std::min(figures.floor, bench::milliseconds([&] { run(1); }));
        figures.measured = std::min(figures.measured, bench::milliseconds([&] { run(2); }));
    }
    bench::printRow("csv of 40 two-hour logs, two jobs against one", figures, kJobsTarget);
    QDir(out).removeRecursively();
}

void measureMemory(const QTemporaryDir &folder, const QString &log)
{
    const QString logs = makeLogs(folder, log, kLogsForMemory);
    const bench::Figures figures{
        peakOf(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kHold), log, log}),
        peakOf(QStringLiteral(CONVERT_PROGRAM),
               {QStringLiteral("-j"), QStringLiteral("2"), QStringLiteral("--channels"), QStringLiteral("@attitude"),
                QStringLiteral("-o"), folder.filePath(QStringLiteral("many")), logs})};
    bench::printRow("peak memory of 200 flights by two jobs, against two flights", figures, kMemoryTarget, "MiB");
}

/** In a process of its own: flights side by side in memory. */
int holdFlights(const QStringList &paths)
{
    std::vector<Flight> flights;
    for (const QString &path : paths)
        flights.push_back(flightOf(path));
    return flights.empty() ? 1 : 0;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == QLatin1String(kHold))
        return holdFlights(QCoreApplication::arguments().mid(2));
    const QTemporaryDir folder;
    const QString log = folder.filePath(QStringLiteral("flight.txt"));
    demo::DemoOptions options;
    options.minutes = kMinutes;
    if (!demo::writeTextLog(log, options))
        fail("the log cannot be made");

    qint64 lines = 0;
    bench::printRow("readFlight of a 2-hour log",
                    bench::bestOfSeven([&] { lines = countLines(log); }, [&] { flightOf(log); }), kReadTarget);
    const Flight flight = flightOf(log);
    if (flight.counts().lines != lines)
        fail("the lines differ");

    const QString numbers = folder.filePath(QStringLiteral("numbers.txt"));
    const QString csv = folder.filePath(QStringLiteral("flight.csv"));
    bench::printRow("csv of a 2-hour flight",
                    bench::bestOfSeven([&] { writeNumbers(flight, numbers); }, [&] { writeCsv(flight, csv); }),
                    kCsvTarget);
    measureJobs(folder, log);
    measureMemory(folder, log);
    return 0;
}
