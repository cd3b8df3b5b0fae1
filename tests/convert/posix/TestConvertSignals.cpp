#include "Converter.h"
#include "DemoFlight.h"
#include "OrdinaryUser.h"

#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <pty.h>
#include <sys/wait.h>

/** What the converter does about signals, rights, terminals and locales. */
class TestConvertSignals : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void interruptLeavesNoHalfWrittenFile_data();
    void interruptLeavesNoHalfWrittenFile();
    void interruptStopsTheFlightAtHand();
    void ignoredInterruptStaysIgnored();
    void reportThatNobodyReadsStopsNothing();
    void folderWithoutRightsIsAFailure();
    void namesAreKeptWithoutALocale();
    void terminalShowsABar();
    void linkToAFolderIsNotFollowed();
    void pipeInTheWayIsAFailure();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    void writeLog(const QString &name, int minutes) const
    {
        demo::DemoOptions options;
        options.minutes = minutes;
        QDir().mkpath(QFileInfo(path(name)).path());
        QVERIFY(demo::writeTextLog(path(name), options));
    }
    bool hasUnfinished() const
    {
        const QStringList names = treeOf(m_dir->path());
        return std::any_of(names.begin(), names.end(), [](const QString &name) { return name.contains("unfinished"); });
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestConvertSignals::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestConvertSignals::interruptLeavesNoHalfWrittenFile_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("format");
    QTest::newRow("SIGINT, csv") << SIGINT << "csv";
    QTest::newRow("SIGTERM, xlsx") << SIGTERM << "xlsx";
    QTest::newRow("SIGINT, txt") << SIGINT << "txt";
    QTest::newRow("SIGHUP, mat") << SIGHUP << "mat";
}

void TestConvertSignals::interruptLeavesNoHalfWrittenFile()
{
    QFETCH(int, signal);
    QFETCH(QString, format);
    writeLog("logs/0.txt", 120);
    for (int i = 1; i < 40; ++i)
        QVERIFY(::link(QFile::encodeName(path("logs/0.txt")).constData(),
                       QFile::encodeName(path(QString("logs/%1.txt").arg(i))).constData())
                == 0);
    QProcess process;
    process.start(QStringLiteral(CONVERT_PROGRAM), {"-j", "2", "-f", format, "-o", path("out"), path("logs")});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(hasUnfinished(), kConverterLimitMs);
    QCOMPARE(::kill(pid_t(process.processId()), signal), 0);
    QVERIFY(process.waitForFinished(kConverterLimitMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().endsWith("ostravel-convert: interrupted\n"));
    QVERIFY(!hasUnfinished());
    // Whatever took its name before is complete: as large as any other.
    QSet<qint64> sizes;
    for (const QString &name : QDir(path("out")).entryList({"*." + format}))
        sizes.insert(QFileInfo(path("out/" + name)).size());
    QVERIFY(sizes.size() <= 1);
    QVERIFY(QDir(path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size() < 40);
}

void TestConvertSignals::interruptStopsTheFlightAtHand()
{
    writeLog("a.txt", 120);
    QProcess process;
    process.start(QStringLiteral(CONVERT_PROGRAM), {"-f", "xlsx", path("a.txt")});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(hasUnfinished(), kConverterLimitMs);
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished(kConverterLimitMs));
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardOutput().contains("216000 frames"));
    QCOMPARE(treeOf(m_dir->path()), QStringList{"a.txt"});
}

void TestConvertSignals::ignoredInterruptStaysIgnored()
{
    writeLog("a.txt", 60);
    QProcess process;
    process.start(
        "/bin/sh",
        {"-c", "trap '' HUP; exec \"$@\"", "sh", QStringLiteral(CONVERT_PROGRAM), "-f", "xlsx", path("a.txt")});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(hasUnfinished(), kConverterLimitMs);
    ::kill(pid_t(process.processId()), SIGHUP);
    QVERIFY(process.waitForFinished(kConverterLimitMs));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(QFile::exists(path("a.xlsx")));
}

void TestConvertSignals::reportThatNobodyReadsStopsNothing()
{
    for (int i = 0; i < 5; ++i)
        writeLog(QString("logs/%1.txt").arg(i), 1);
    QProcess process;
    process.start("/bin/sh", {"-c", "\"$@\" | true", "sh", QStringLiteral(CONVERT_PROGRAM), "-j", "1", path("logs")});
    QVERIFY(process.waitForFinished(kConverterLimitMs));
    QCOMPARE(QDir(path("logs")).entryList({"*.csv"}).size(), 5);
    QVERIFY(!hasUnfinished());
}

void TestConvertSignals::folderWithoutRightsIsAFailure()
{
    writeLog("logs/a.txt", 1);
    // A copy, because the build may lie in a folder that other users cannot enter.
    const QString program = path("converter");
    QVERIFY(QFile::copy(QStringLiteral(CONVERT_PROGRAM), program));
    for (const QString &each : {m_dir->path(), program, path("logs"), path("logs/a.txt")})
        QVERIFY(letOthersRead(each));
    const int code = asOrdinaryUser([this, &program] {
        const ConverterRun run = runConverter({"-f", "csv,mat,txt", path("logs/a.txt")}, {},
                                              QProcessEnvironment::systemEnvironment(), program);
        if (run.status != 1)
            return 1;
        return run.error.contains(path("logs") + " cannot be written: ") ? 0 : 2;
    });
    QCOMPARE(code, 0);
    QCOMPARE(treeOf(path("logs")), QStringList{"a.txt"});
}

void TestConvertSignals::namesAreKeptWithoutALocale()
{
    writeLog("记录/航班.txt", 1);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *const name : {"LANG", "LC_ALL", "LC_CTYPE"})
        environment.remove(name);
    for (const char *const locale : {"", "C", "POSIX"}) {
        if (*locale != '\0')
            environment.insert("LC_ALL", locale);
        const ConverterRun run = runConverter({"--overwrite", "-f", "csv,mat,gpx", "记录/航班.txt", "-o", "出"},
                                              m_dir->path(), environment);
        QVERIFY2(run.status == 0, qPrintable(run.error));
        QCOMPARE(treeOf(path("出")), QStringList({"航班.csv", "航班.gpx", "航班.mat"}));
        QVERIFY(run.out.startsWith("记录/航班.txt: "));
        QVERIFY(bytesOf(path("出/航班.gpx")).contains("<name>航班</name>"));
    }
}

void TestConvertSignals::terminalShowsABar()
{
    writeLog("a.txt", 120);
    int master = -1;
    const pid_t child = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (child == 0) {
        const QByteArray log = QFile::encodeName(path("a.txt"));
        ::setenv("TERM", "xterm", 1);
        ::execl(CONVERT_PROGRAM, CONVERT_PROGRAM, "-f", "xlsx", log.constData(), nullptr);
        ::_exit(99);
    }
    QByteArray shown;
    std::array<char, 4096> bytes{};
    for (ssize_t got = 1; got > 0;) {
        got = ::read(master, bytes.data(), bytes.size());
        shown.append(bytes.data(), int(std::max<ssize_t>(got, 0)));
    }
    int state = 0;
    QCOMPARE(::waitpid(child, &state, 0), child);
    ::close(master);
    QCOMPARE(WEXITSTATUS(state), 0);
    const QString text = QString::fromUtf8(shown);
    QVERIFY2(text.contains(QRegularExpression(R"(\r\[#*\.*\] 0 of 1  \d+ %  \d+ MB/s  \d:\d\d:\d\d left *)")),
             qPrintable(text));
    // It is gone when the report comes.
    QVERIFY2(text.contains(QRegularExpression("\r +\r[^\r\n]*a\\.txt: 216000 frames")), qPrintable(text.right(400)));
}

void TestConvertSignals::linkToAFolderIsNotFollowed()
{
    writeLog("logs/a.txt", 1);
    QVERIFY(QFile::link(path("logs"), path("logs/again")));
    const ConverterRun run = runConverter({"--check", "--json", path("logs")});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.objects().size(), 2);
}

void TestConvertSignals::pipeInTheWayIsAFailure()
{
    writeLog("a.txt", 1);
    QCOMPARE(::mkfifo(QFile::encodeName(path("b.txt")).constData(), 0600), 0);
    const ConverterRun run = runConverter({path("b.txt"), path("a.txt")});
    QCOMPARE(run.status, 1);
    QVERIFY(run.error.contains("is no regular file"));
    QVERIFY(QFile::exists(path("a.csv")));
}

QTEST_GUILESS_MAIN(TestConvertSignals)
#include "TestConvertSignals.moc"
