#include "OrdinaryUser.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

const QStringList kStartLines{
    "info: ====================================", "info: =============== start ==============",
    "info: ===================================="};

/** The program in a separate process without a screen. The destructor kills it if it still runs. */
class Program : public QProcess
{
public:
    Program(const QString &path, const QString &workingDirectory, bool ordinary = false)
        : m_ordinary(ordinary)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        setProcessEnvironment(environment);
        setWorkingDirectory(workingDirectory);
        setProcessChannelMode(QProcess::MergedChannels);
        start(path, QStringList());
    }

    ~Program() override
    {
        kill();
        waitForFinished();
    }

protected:
    void setupChildProcess() override
    {
        constexpr uid_t kNobody = 65534;
        if (m_ordinary && geteuid() == 0
            && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
            _exit(101);
    }

private:
    bool m_ordinary;
};

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestProcess : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void firstStartInAnEmptyFolder();
    void configStaysBesideTheExecutableAndTheLogWithTheUser();
    void themeComesFromTheConfig_data();
    void themeComesFromTheConfig();
    void fontAndMetaTypeAreSetUp();
    void consoleLineHasTheLibrarysPattern();
    void killedProcessKeepsTheConfig();
    void brokenConfigDoesNotStopTheStart_data();
    void brokenConfigDoesNotStopTheStart();
    void unreadableConfigDoesNotStopTheStart();
    void folderWithoutWriteAccessDoesNotStopTheStart();
    void workingDirectoryWithoutWriteAccessEndsTheStart();
    void secondCopyRunsBesideTheFirst();
    void argumentsAreNotRead();
    void missingStyleSheetAndCatalogueDoNotStopTheStart();

private:
    QString dir(const QString &name) const { return m_root->filePath(name); }
    QString logOf(const QString &workingDirectory) const { return dir(workingDirectory) + "/logs/log.txt"; }
    QStringList linesOf(const QString &workingDirectory) const
    {
        QStringList result;
        static const QRegularExpression line(R"(\[(\w+)\] \[\S+ \d+\] <[^>]*> (.*)$)");
        for (const QByteArray &text : content(logOf(workingDirectory)).split('\n')) {
            const auto match = line.match(QString::fromUtf8(text).trimmed());
            if (match.hasMatch())
                result.append(match.captured(1) + ": " + match.captured(2));
        }
        return result;
    }
    bool started(const QString &workingDirectory) const
    {
        const QStringList lines = linesOf(workingDirectory);
        const int at = lines.indexOf(kStartLines[1]);
        return at > 0 && lines.mid(at - 1, 3) == kStartLines;
    }
    QByteArrayList report() const;

    std::unique_ptr<QTemporaryDir> m_root;
    QString m_program;
};

void TestProcess::init()
{
    m_root = std::make_unique<QTemporaryDir>();
    QVERIFY(m_root->isValid());
    QVERIFY(letOthersRead(m_root->path()));
    for (const char *name : {"app", "work"}) {
        QVERIFY(QDir().mkdir(dir(name)));
        QVERIFY(letOthersRead(dir(name)));
    }
    m_program = dir("app/Ostravel");
    QVERIFY(QFile::copy(QStringLiteral(OSTRAVEL_PROGRAM), m_program));
    QVERIFY(letOthersRead(m_program));
}

void TestProcess::cleanup()
{
    m_root.reset();
}

/** The state that the program printed when its event loop started; empty if it printed nothing. */
QByteArrayList TestProcess::report() const
{
    const QString path = dir("app/ReportingProgram");
    if (!QFile::copy(QStringLiteral(REPORTING_PROGRAM), path) || !letOthersRead(path))
        return {};
    Program program(path, dir("work"));
    QByteArray printed;
    const auto done = [&] { return (printed += program.readAll()).contains("report: end\n") && started("work"); };
    if (!QTest::qWaitFor(done, 60000))
        return {};
    return printed.split('\n');
}

void TestProcess::firstStartInAnEmptyFolder()
{
    Program program(m_program, dir("app"));
    QTRY_VERIFY_WITH_TIMEOUT(started("app"), 60000);
    QVERIFY(QFileInfo(dir("app/myPlot")).isDir());
    QVERIFY(QFileInfo(dir("app/config.ini")).isFile());
    QCOMPARE(content(dir("app/config.ini")), QByteArray());
    const QStringList lines = linesOf("app");
    QCOMPARE(lines.mid(0, 4 + kStartLines.size()),
             (QStringList{"info: read config.ini", "warning: config.ini donot exist, create config.ini",
                          "info: init global data", "info: switchTheme"}
              + kStartLines));
    QCOMPARE(program.state(), QProcess::Running);

    // The entry of the process is named as the compiler names it.
    QVERIFY(QString::fromUtf8(content(logOf("app")))
                .contains(QRegularExpression(R"(\[main\.cpp \d+\] <q?[mM]ain> =+ start)")));
}

void TestProcess::configStaysBesideTheExecutableAndTheLogWithTheUser()
{
    Program program(m_program, dir("work"));
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(QDir(dir("work")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"logs"});
    QCOMPARE(QDir(dir("app")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase),
             (QStringList{"config.ini", "myPlot", "Ostravel"}));
}

void TestProcess::themeComesFromTheConfig_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<QByteArray>("style");
    QTest::newRow("light") << QByteArray("[Global]\ntheme=lightTheme\n") << QByteArray("light");
    QTest::newRow("dark") << QByteArray("[Global]\ntheme=darkTheme\n") << QByteArray("dark");
    QTest::newRow("none") << QByteArray() << QByteArray("dark");
}

void TestProcess::themeComesFromTheConfig()
{
    QFETCH(QByteArray, config);
    QFETCH(QByteArray, style);
    QFile file(dir("app/config.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(config);
    file.close();
    const QByteArrayList reported = report();
    QVERIFY2(reported.contains("report: style " + style), reported.join('\n').constData());
    QCOMPARE(linesOf("work").mid(0, 3),
             (QStringList{"info: read config.ini", "info: init global data", "info: switchTheme"}));
}

void TestProcess::fontAndMetaTypeAreSetUp()
{
    const QByteArrayList reported = report();
    QVERIFY2(reported.contains("report: font Microsoft YaHei"), reported.join('\n').constData());
    QVERIFY2(reported.contains("report: list of ids known"), reported.join('\n').constData());
}

void TestProcess::consoleLineHasTheLibrarysPattern()
{
    static const QRegularExpression line(
        R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[console\] \[info\] \[main\.cpp:\d+\] =+ start =+$)",
        QRegularExpression::MultilineOption);
    Program program(m_program, dir("work"));
    QString printed;
    const auto complete = [&] { return (printed += program.readAll()).contains("start =============="); };
    QTRY_VERIFY_WITH_TIMEOUT(complete(), 60000);
    QVERIFY2(line.match(printed).hasMatch(), qPrintable(printed));
}

void TestProcess::killedProcessKeepsTheConfig()
{
    const QByteArray before("[Global]\ntheme=lightTheme\nmine=1\n");
    QFile file(dir("app/config.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(before);
    file.close();
    {
        Program program(m_program, dir("work"));
        QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    }
    QCOMPARE(content(dir("app/config.ini")), before);
    QVERIFY(!linesOf("work").contains("info: write config ini"));
}

void TestProcess::brokenConfigDoesNotStopTheStart_data()
{
    QTest::addColumn<bool>("folder");
    QTest::newRow("garbage") << false;
    QTest::newRow("folder") << true;
}

void TestProcess::brokenConfigDoesNotStopTheStart()
{
    QFETCH(bool, folder);
    if (folder) {
        QVERIFY(QDir().mkdir(dir("app/config.ini")));
    } else {
        QFile file(dir("app/config.ini"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (int i = 0; i < 5000; ++i)
            file.putChar(char(i * 7919 >> 3));
    }
    Program program(m_program, dir("work"));
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(program.state(), QProcess::Running);
}

void TestProcess::unreadableConfigDoesNotStopTheStart()
{
    QFile file(dir("app/config.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Global]\ntheme=lightTheme\n");
    file.close();
    QVERIFY(letNobodyRead(dir("app/config.ini")));
    QVERIFY(letOthersWrite(dir("work")));
    Program program(m_program, dir("work"), true);
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(program.state(), QProcess::Running);
}

void TestProcess::folderWithoutWriteAccessDoesNotStopTheStart()
{
    QVERIFY(letOthersWrite(dir("work")));
    Program program(m_program, dir("work"), true);
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(program.state(), QProcess::Running);
    QCOMPARE(QDir(dir("app")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"Ostravel"});
    QVERIFY(linesOf("work").contains("warning: config.ini donot exist, create config.ini"));
}

void TestProcess::workingDirectoryWithoutWriteAccessEndsTheStart()
{
    Program program(m_program, dir("work"), true);
    QVERIFY(program.waitForFinished(60000));
    QVERIFY(program.exitStatus() == QProcess::CrashExit || program.exitCode() != 0);
    QVERIFY(!QFileInfo::exists(dir("work/logs")));
}

void TestProcess::secondCopyRunsBesideTheFirst()
{
    Program first(m_program, dir("work"));
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    Program second(m_program, dir("work"));
    QTRY_COMPARE_WITH_TIMEOUT(linesOf("work").count(kStartLines[1]), 2, 60000);
    QCOMPARE(first.state(), QProcess::Running);
    QCOMPARE(second.state(), QProcess::Running);
}

void TestProcess::argumentsAreNotRead()
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(dir("work"));
    program.start(m_program, {"--help", "--version", "flight.txt"});
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(program.state(), QProcess::Running);
    program.kill();
    QVERIFY(program.waitForFinished());
    QVERIFY(!linesOf("work").contains("info: start decode data"));
}

void TestProcess::missingStyleSheetAndCatalogueDoNotStopTheStart()
{
    const QString program = dir("app/ProgramWithoutResources");
    QVERIFY(QFile::copy(QStringLiteral(PROGRAM_WITHOUT_RESOURCES), program));
    QVERIFY(letOthersRead(program));
    Program bare(program, dir("work"));
    QTRY_VERIFY_WITH_TIMEOUT(started("work"), 60000);
    QCOMPARE(bare.state(), QProcess::Running);
    QByteArray printed;
    QTRY_VERIFY_WITH_TIMEOUT((printed += bare.readAll()).contains("start ="), 60000);
    // A plain line, once and without the head of a log line; the log says nothing of either.
    QCOMPARE(printed.count("\nUnable to set stylesheet, file not found\n"), 1);
    QCOMPARE(linesOf("work").mid(0, 4),
             (QStringList{"info: read config.ini", "warning: config.ini donot exist, create config.ini",
                          "info: init global data", "info: switchTheme"}));
}

QTEST_GUILESS_MAIN(TestProcess)
#include "TestProcess.moc"
