#include "Fixture.h"
#include "LogFile.h"
#include "Logging.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

namespace
{

constexpr qint64 kMaxBytes = 5242880;

/** Collects the output of the console logger, in addition to the console. */
class ConsoleCopy
{
public:
    ConsoleCopy()
        : m_sink(std::make_shared<spdlog::sinks::ostream_sink_mt>(m_text))
    {
        m_sink->set_pattern("%l|%s|%#|%!|%v");
        m_logger->sinks().push_back(m_sink);
    }

    ~ConsoleCopy()
    {
        // The logger outlives this object and still writes.
        auto &sinks = m_logger->sinks();
        sinks.erase(std::remove(sinks.begin(), sinks.end(), m_sink), sinks.end());
    }

    /** The line end of the platform. */
    QStringList lines() const
    {
        return QString::fromStdString(m_text.str()).remove('\r').split('\n', Qt::SkipEmptyParts);
    }

private:
    std::ostringstream m_text;
    std::shared_ptr<spdlog::logger> m_logger = spdlog::get("console");
    std::shared_ptr<spdlog::sinks::ostream_sink_mt> m_sink;
};

/** Records the calls of its logger. */
class Recorder : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit Recorder(
        std::function<void()> logged, std::function<void()> flushed = [] {})
        : m_logged(std::move(logged))
        , m_flushed(std::move(flushed))
    {
    }

protected:
    void sink_it_(const spdlog::details::log_msg &) override { m_logged(); }
    void flush_() override { m_flushed(); }

private:
    std::function<void()> m_logged;
    std::function<void()> m_flushed;
};

void logFromHere()
{
    logToBoth(info, "from a function of its own");
}

qint64 sizeOf(const QString &name)
{
    return QFileInfo(name).size();
}

} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void fileLineHasThePattern();
    void timeStampIsLocalTime();
    void sourceLocationIsThatOfTheStatement();
    void bothLoggersWriteTheSameSourceLocation();
    void consoleComesBeforeTheFile();
    void everyLevelGoesThroughBoth_data();
    void everyLevelGoesThroughBoth();
    void argumentsAreFormatted();
    void textsOfQtAreUtf8();
    void bracesInArgumentsAreNotFormatted();
    void loggersAreSetUpAsDescribed();
    void debugPassesAndTraceDoesNot();
    void lineEndIsThatOfThePlatform();
    void folderIsMadeUnderTheWorkingDirectory();
    void fileIsContinuedByTheNextStart();
    void warningsReachTheDiskAtOnce();
    void infoReachesTheDiskWithinSeconds();
    void flushComesEveryThreeSeconds();
    void fileRotatesAtFiveMebibytesAndKeepsThree();
    void largeFileIsNotRotatedAtTheStart();
    void errorHandlerReportsOnTheConsole();
    void errorHandlerWithoutConsoleDoesNothing();
    void failureInsideALoggerGoesToTheErrorHandler();
    void closingLogsAMessageAndDropsAllLoggers();
    void workerMayLogAfterClosing();
    void workerMayLogDuringClosing();
    void unopenableFileThrows();
};

void TestLogging::fileLineHasThePattern()
{
    const Fixture fixture;
    LogFile log;
    logToBoth(info, "a message");
    QCOMPARE(log.lines().size(), 1);
    const LogLine line = log.lines().first();
    QCOMPARE(line.level, QStringLiteral("info"));
    QCOMPARE(line.file, QStringLiteral("TestLogging.cpp"));
    QCOMPARE(line.message, QStringLiteral("a message"));
    QFile file("logs/log.txt");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> raw = file.readAll().trimmed().split('\n');
    QCOMPARE(QString::fromUtf8(raw.last().trimmed()),
             QStringLiteral("[%1] [info] [TestLogging.cpp %2] <%3> a message")
                 .arg(line.time)
                 .arg(line.line)
                 .arg(line.function));
}

void TestLogging::timeStampIsLocalTime()
{
    const Fixture fixture;
    LogFile log;
    const QDateTime before = QDateTime::currentDateTime();
    logToBoth(info, "now");
    const QDateTime after = QDateTime::currentDateTime();
    const QDateTime stamp = QDateTime::fromString(log.lines().first().time, "yyyy-MM-dd hh:mm:ss.zzz");
    QVERIFY(stamp.isValid());
    QVERIFY(stamp >= before && stamp <= after);
}

void TestLogging::sourceLocationIsThatOfTheStatement()
{
    const Fixture fixture;
    LogFile log;
    const int line = __LINE__ + 1;
    logToBoth(info, "here");
    logFromHere();
    QCOMPARE(log.lines().at(0).line, line);
    QCOMPARE(log.lines().at(0).function, QStringLiteral("sourceLocationIsThatOfTheStatement"));
    QCOMPARE(log.lines().at(1).function, QStringLiteral("logFromHere"));
    QVERIFY(log.lines().at(1).line < line);
}

void TestLogging::bothLoggersWriteTheSameSourceLocation()
{
    const Fixture fixture;
    LogFile log;
    const ConsoleCopy console;
    logToBoth(warn, "number {}", 7);
    const LogLine line = log.lines().first();
    QCOMPARE(console.lines().size(), 1);
    QStringList parts = console.lines().first().split('|');
    // The default pattern's source is a path or a name, as the compiler gave it.
    parts[1] = QFileInfo(parts[1]).fileName();
    QCOMPARE(parts, (QStringList{line.level, line.file, QString::number(line.line), line.function, line.message}));
}

void TestLogging::consoleComesBeforeTheFile()
{
    QStringList order; // the loggers write to it until the fixture closes them
    const Fixture fixture;
    for (const char *name : {"file_logger", "console"})
        spdlog::get(name)->sinks().push_back(std::make_shared<Recorder>([&order, name] { order.append(name); }));
    logToBoth(info, "one");
    logToBoth(error, "two");
    QCOMPARE(order, (QStringList{"console", "file_logger", "console", "file_logger"}));
}

void TestLogging::everyLevelGoesThroughBoth_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("name");
    QTest::newRow("info") << 0 << "info";
    QTest::newRow("warn") << 1 << "warning";
    QTest::newRow("error") << 2 << "error";
}

void TestLogging::everyLevelGoesThroughBoth()
{
    const Fixture fixture;
    QFETCH(int, level);
    QFETCH(QString, name);
    LogFile log;
    const ConsoleCopy console;
    if (level == 0)
        logToBoth(info, "text");
    else if (level == 1)
        logToBoth(warn, "text");
    else
        logToBoth(error, "text");
    QCOMPARE(log.leveledMessages(), QStringList{name + ": text"});
    QCOMPARE(console.lines().size(), 1);
    QVERIFY(console.lines().first().startsWith(name + '|'));
}

void TestLogging::argumentsAreFormatted()
{
    const Fixture fixture;
    LogFile log;
    logToBoth(info, "{} of {}: {:.2f} {}", 3, quint16(65535), 1.5, "text");
    // An argument that the format has no place for leaves no trace.
    logToBoth(error, "words alone:", "unused");
    QCOMPARE(log.messages(), (QStringList{"3 of 65535: 1.50 text", "words alone:"}));
}

void TestLogging::textsOfQtAreUtf8()
{
    const Fixture fixture;
    LogFile log;
    logToBoth(info, "{}|{}", QStringLiteral("曲线 é"), QString());
    QCOMPARE(log.messages(), QStringList{"曲线 é|"});
}

void TestLogging::bracesInArgumentsAreNotFormatted()
{
    const Fixture fixture;
    LogFile log;
    logToBoth(info, "{}", QStringLiteral("{} {0}"));
    QCOMPARE(log.messages(), QStringList{"{} {0}"});
}

void TestLogging::loggersAreSetUpAsDescribed()
{
    const Fixture fixture;
    const auto file = spdlog::get("file_logger");
    const auto console = spdlog::get("console");
    QVERIFY(file);
    QVERIFY(console);
    QCOMPARE(spdlog::default_logger(), console);
    QCOMPARE(file->level(), spdlog::level::debug);
    QCOMPARE(console->level(), spdlog::level::debug);
    QCOMPARE(file->flush_level(), spdlog::level::warn);
    QCOMPARE(console->flush_level(), spdlog::level::off);
    QCOMPARE(int(file->sinks().size()), 1);
    QCOMPARE(int(console->sinks().size()), 1);
    const auto sink = std::dynamic_pointer_cast<spdlog::sinks::rotating_file_sink_mt>(file->sinks().front());
    QVERIFY(sink);
    QCOMPARE(QString::fromStdString(sink->filename()), QStringLiteral("logs/log.txt"));
    QVERIFY(std::dynamic_pointer_cast<spdlog::sinks::stdout_color_sink_mt>(console->sinks().front()));
    // The registry's default for loggers to come.
    const auto later = spdlog::stdout_color_mt("later");
    QCOMPARE(later->level(), spdlog::level::debug);
}

void TestLogging::debugPassesAndTraceDoesNot()
{
    const Fixture fixture;
    LogFile log;
    spdlog::get("file_logger")->debug("passes");
    spdlog::get("file_logger")->trace("does not");
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.leveledMessages().size(), 1);
}

void TestLogging::lineEndIsThatOfThePlatform()
{
    const Fixture fixture;
    logToBoth(warn, "a message");
    QFile file("logs/log.txt");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray lineEnd = QSysInfo::kernelType() == QLatin1String("winnt") ? "\r\n" : "\n";
    QVERIFY(file.readAll().endsWith("a message" + lineEnd));
}

void TestLogging::folderIsMadeUnderTheWorkingDirectory()
{
    const Fixture fixture;
    QVERIFY(QFileInfo(fixture.path("logs/log.txt")).isFile());
    QVERIFY(!QFileInfo::exists(fixture.applicationPath("logs")));
}

void TestLogging::fileIsContinuedByTheNextStart()
{
    const Fixture fixture;
    logToBoth(info, "first run");
    closeLogger();
    openLogger();
    logToBoth(info, "second run");
    spdlog::get("file_logger")->flush();
    QFile file("logs/log.txt");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY(text.contains("first run") && text.contains("close logger") && text.contains("second run"));
    QCOMPARE(QDir("logs").entryList(QDir::Files), QStringList{"log.txt"});
}

void TestLogging::warningsReachTheDiskAtOnce()
{
    const Fixture fixture;
    const auto onDisk = [] {
        QFile file("logs/log.txt");
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    logToBoth(warn, "warned");
    QVERIFY(onDisk().contains("warned"));
    logToBoth(error, "failed");
    QVERIFY(onDisk().contains("failed"));
}

void TestLogging::infoReachesTheDiskWithinSeconds()
{
    const Fixture fixture;
    logToBoth(info, "an ordinary step");
    // No explicit flush: the library's thread flushes every three seconds.
    const auto onDisk = [] {
        QFile file("logs/log.txt");
        return file.open(QIODevice::ReadOnly) && file.readAll().contains("an ordinary step");
    };
    QTRY_VERIFY_WITH_TIMEOUT(onDisk(), 30000);
}

void TestLogging::flushComesEveryThreeSeconds()
{
    using Clock = std::chrono::steady_clock;
    std::mutex mutex;
    std::vector<Clock::time_point> flushes;
    const Fixture fixture;
    // A logger of its own: the library's thread goes over all of them.
    spdlog::register_logger(
        std::make_shared<spdlog::logger>("watched",
                                         std::make_shared<Recorder>([] {},
                                                                    [&] {
                                                                        const std::lock_guard<std::mutex> lock(mutex);
                                                                        flushes.push_back(Clock::now());
                                                                    })));
    // A machine under load makes some of the gaps longer, so one of the right length is enough.
    const auto threeSecondsApart = [&] {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto wanted = [](Clock::time_point before, Clock::time_point after) {
            const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(after - before).count();
            return gap > 2500 && gap < 3500;
        };
        return std::adjacent_find(flushes.begin(), flushes.end(), wanted) != flushes.end();
    };
    QTRY_VERIFY_WITH_TIMEOUT(threeSecondsApart(), 60000);
}

void TestLogging::fileRotatesAtFiveMebibytesAndKeepsThree()
{
    const Fixture fixture;
    const auto logger = spdlog::get("file_logger");
    const std::string block(100000, 'x');
    // The prefix and the line end of each entry stay below 200 bytes; 27 MB fill five files.
    for (int i = 0; i < 270; ++i)
        logger->log(spdlog::source_loc{}, spdlog::level::info, "{:06} {}", i, block);
    logger->flush();
    QCOMPARE(QDir("logs").entryList(QDir::Files, QDir::Name),
             (QStringList{"log.1.txt", "log.2.txt", "log.3.txt", "log.txt"}));
    for (const char *name : {"logs/log.1.txt", "logs/log.2.txt", "logs/log.3.txt"}) {
        QVERIFY(sizeOf(name) <= kMaxBytes);
        // Full: the entry that did not fit any more went to the next file.
        QVERIFY(sizeOf(name) > kMaxBytes - 100300);
    }
    QVERIFY(sizeOf("logs/log.txt") <= kMaxBytes);

    const auto firstNumber = [](const char *name) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            return -1;
        const QByteArray line = file.readLine();
        return line.mid(line.indexOf("> ") + 2, 6).toInt();
    };
    const int live = firstNumber("logs/log.txt");
    const int newest = firstNumber("logs/log.1.txt");
    const int middle = firstNumber("logs/log.2.txt");
    const int oldest = firstNumber("logs/log.3.txt");
    QVERIFY(oldest > 0 && oldest < middle && middle < newest && newest < live);
}

void TestLogging::largeFileIsNotRotatedAtTheStart()
{
    const Fixture fixture;
    closeLogger();
    {
        QFile file("logs/log.txt");
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QByteArray(int(kMaxBytes) - 1000, 'x') + '\n');
    }
    openLogger();
    logToBoth(warn, "continued");
    QCOMPARE(QDir("logs").entryList(QDir::Files), QStringList{"log.txt"});
    QVERIFY(sizeOf("logs/log.txt") > kMaxBytes - 1000);
}

void TestLogging::errorHandlerReportsOnTheConsole()
{
    const Fixture fixture;
    const LogFile log;
    const ConsoleCopy console;
    logLoggerError("disk {} full");
    QCOMPARE(console.lines().size(), 1);
    const QStringList parts = console.lines().first().split('|');
    QCOMPARE(parts.first(), QStringLiteral("error"));
    QCOMPARE(parts.last(), QStringLiteral("*** LOGGER ERROR ***: disk {} full"));
    // Without a source location: neither file nor function.
    QCOMPARE(parts[1], QString());
    QCOMPARE(parts[3], QString());
    QVERIFY(log.lines().isEmpty());
}

void TestLogging::errorHandlerWithoutConsoleDoesNothing()
{
    const Fixture fixture;
    closeLogger();
    logLoggerError("nobody hears this");
    QVERIFY(!spdlog::get("console"));
}

void TestLogging::failureInsideALoggerGoesToTheErrorHandler()
{
    const Fixture fixture;
    const ConsoleCopy console;
    // A format that only fails when it is used.
    spdlog::get("file_logger")->log(spdlog::level::info, fmt::runtime("{:d}"), "text");
    QCOMPARE(console.lines().size(), 1);
    QVERIFY(console.lines().first().contains("*** LOGGER ERROR ***: "));
    LogFile log;
    logToBoth(info, "the flow goes on");
    QCOMPARE(log.messages(), QStringList{"the flow goes on"});
}

void TestLogging::closingLogsAMessageAndDropsAllLoggers()
{
    const Fixture fixture;
    const LogFile log;
    const ConsoleCopy console;
    closeLogger();
    QCOMPARE(log.leveledMessages(), QStringList{"info: close logger"});
    QCOMPARE(console.lines().size(), 1);
    QVERIFY2(console.lines().first().endsWith("|close logger"), qPrintable(console.lines().first()));
    QVERIFY(!spdlog::get("file_logger"));
    QVERIFY(!spdlog::get("console"));
    QVERIFY(!spdlog::default_logger());
}

void TestLogging::workerMayLogAfterClosing()
{
    const Fixture fixture;
    closeLogger();
    const LogFile log;
    std::thread worker([] {
        for (int i = 0; i < 100; ++i)
            logToBoth(error, "late {}", i);
    });
    worker.join();
    QVERIFY(log.lines().isEmpty());
}

void TestLogging::workerMayLogDuringClosing()
{
    const Fixture fixture;
    // Nothing of it is printed.
    spdlog::get("console")->sinks().clear();
    std::atomic<int> written{0};
    std::atomic<bool> stop{false};
    std::thread worker([&] {
        while (!stop) {
            logging::write(spdlog::source_loc{}, spdlog::level::debug, "busy");
            ++written;
        }
    });
    while (written < 1000)
        std::this_thread::yield();
    closeLogger();
    const int before = written;
    while (written < before + 1000)
        std::this_thread::yield();
    stop = true;
    worker.join();
    QVERIFY(!spdlog::get("file_logger"));
}

void TestLogging::unopenableFileThrows()
{
    const Fixture fixture;
    closeLogger();
    QVERIFY(QDir("logs").removeRecursively());
    // A file has the name of the folder.
    QFile file("logs");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY_EXCEPTION_THROWN(AppConfig::getInstance().initLogger(), spdlog::spdlog_ex);
    QVERIFY(!spdlog::get("file_logger"));
}

QTEST_GUILESS_MAIN(TestLogging)
#include "TestLogging.moc"
