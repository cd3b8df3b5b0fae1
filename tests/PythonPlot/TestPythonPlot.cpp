#include "Fixture.h"
#include "LogFile.h"
#include "MetaMethods.h"
#include "PlotShell.h"
#include "PythonPlot.h"
#include "StandIn.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTest>
#include <QTextCodec>

#include <algorithm>
#include <stdexcept>

namespace
{

using Slot = void (PythonPlot::*)();

struct Kind {
    const char *name;
    Slot slot;
    const char *failure;
};

const Kind kKinds[] = {
    {"Height", &PythonPlot::plotHeightSlot, "error: pyplot height error:no pipe"},
    {"XY", &PythonPlot::plotXYSlot, "error: pyplot xy error:no pipe"},
    {"XYZ", &PythonPlot::plotXYZSlot, "error: pyplot XYZ error:no pipe"},
    {"Attack", &PythonPlot::plotAttackSlot, "error: pyplot attack error"},
    {"Demo1", &PythonPlot::pythonPlotDemo, "error: pyplot demo error"},
};

// Records its input in a separate file for each process.
constexpr char kRecorder[] = "exec cat > $here/shell.$$";

/** The recorded input of all shells, sorted. */
QStringList shellInputs(const StandIn &standIn)
{
    QStringList result;
    for (const QString &file : standIn.files(QStringLiteral("shell.*")))
        result.append(QString::fromUtf8(standIn.text(file)));
    result.sort();
    return result;
}

QString changeFolderLine()
{
    return QStringLiteral("cd ") + QCoreApplication::applicationDirPath() + QStringLiteral("/myPlot\n");
}

void writeScript(const QByteArray &script)
{
    QFile file(AppConfig::getInstance().plotDir() + QStringLiteral("/pythonPlot.py"));
    if (!file.open(QIODevice::WriteOnly) || file.write(script) < 0)
        qFatal("no script");
}

/** Creates the folder with the interpreter search, like the build does beside the program. */
void createShellFolder()
{
    const QString target = AppConfig::getInstance().plotDir() + QStringLiteral("/shell");
    QDir().mkpath(target);
    for (const char *name : {"python", "plot_runner.py"}) {
        if (!QFile::copy(QStringLiteral(OSTRAVEL_PLOT_SCRIPTS "/shell/") + QLatin1String(name),
                         target + QLatin1Char('/') + QLatin1String(name)))
            qFatal("no %s", name);
    }
}

class Throwing : public PythonPlot
{
public:
    using PythonPlot::PythonPlot;

protected:
    void writeLine(QProcess &, const QByteArray &) override { throw std::runtime_error("no pipe"); }
};

} // namespace

class TestPythonPlot : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSlotsInOrder();
    void initDoesNothingAndSucceeds();
    void shellNameIsThatOfThePlatform();
    void pathIsQuotedOnlyWhenNeeded_data();
    void pathIsQuotedOnlyWhenNeeded();
    void firstCallWritesFolderAndCommand_data();
    void firstCallWritesFolderAndCommand();
    void laterCallsWriteOnlyTheCommand();
    void eachKindHasItsOwnShell();
    void shellsEndWithThePlotterAndCanStartAgain();
    void standardErrorIsLogged();
    void standardOutputIsIgnored();
    void missingScriptIsLogged();
    void missingPythonIsLogged();
    void missingShellIsIgnored();
    void writeFailureIsLogged_data();
    void writeFailureIsLogged();
    void hangingShellIsKilledImmediately();
    void shellThatReadsNothingIsKilledImmediately();
    void interpreterWithMatplotlibIsFoundAfterOthers();
    void pythonWithoutMatplotlibIsLogged();
    void runningScriptCompletesAfterTheEnd();
    void scriptWithoutAWindowEndsAfterItsTimeLimit();
    void folderWithSpecialCharactersIsUsed_data();
    void folderWithSpecialCharactersIsUsed();
    void folderOfTheDemoUsesTheLocalEncoding();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestPythonPlot::declaresItsSlotsInOrder()
{
    QCOMPARE(ownMethods(PythonPlot::staticMetaObject),
             (QStringList{"slot plotHeightSlot()", "slot plotXYSlot()", "slot plotXYZSlot()", "slot plotAttackSlot()",
                          "slot pythonPlotDemo()"}));
}

void TestPythonPlot::initDoesNothingAndSucceeds()
{
    StandIn standIn;
    standIn.program("sh", kRecorder);
    PythonPlot plot(nullptr);
    QVERIFY(plot.init());
    QVERIFY(standIn.processes().isEmpty());
}

void TestPythonPlot::shellNameIsThatOfThePlatform()
{
    QCOMPARE(plotshell::program(), QStringLiteral("sh"));
}

void TestPythonPlot::pathIsQuotedOnlyWhenNeeded_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("quoted");
    QTest::newRow("plain") << "/opt/Ostravel_2.3-x/myPlot"
                           << "/opt/Ostravel_2.3-x/myPlot";
    QTest::newRow("blank") << "/opt/my plots"
                           << "'/opt/my plots'";
    QTest::newRow("Chinese") << "/opt/飞行"
                             << "'/opt/飞行'";
    QTest::newRow("single quote") << "/opt/o'neil"
                                  << "'/opt/o'\\''neil'";
    QTest::newRow("dollar") << "/opt/$HOME"
                            << "'/opt/$HOME'";
    QTest::newRow("line break at the end") << "/opt\n"
                                           << "'/opt\n'";
}

void TestPythonPlot::pathIsQuotedOnlyWhenNeeded()
{
    QFETCH(QString, path);
    QTEST(plotshell::quoted(path), "quoted");
}

void TestPythonPlot::firstCallWritesFolderAndCommand_data()
{
    QTest::addColumn<int>("kind");
    for (int i = 0; i < 5; ++i)
        QTest::newRow(kKinds[i].name) << i;
}

void TestPythonPlot::firstCallWritesFolderAndCommand()
{
    QFETCH(int, kind);
    StandIn standIn;
    standIn.program("sh", kRecorder);
    PythonPlot plot(nullptr);
    const auto &which = kKinds[kind];
    (plot.*which.slot)();
    const QString command = QStringLiteral("python pythonPlot.py %1\n").arg(QLatin1String(which.name));
    QTRY_COMPARE(shellInputs(standIn), QStringList{changeFolderLine() + command});
}

void TestPythonPlot::laterCallsWriteOnlyTheCommand()
{
    StandIn standIn;
    standIn.program("sh", kRecorder);
    PythonPlot plot(nullptr);
    for (int i = 0; i < 3; ++i)
        plot.plotXYSlot();
    const QString command = QStringLiteral("python pythonPlot.py XY\n");
    QTRY_COMPARE(shellInputs(standIn), QStringList{changeFolderLine() + command + command + command});
}

void TestPythonPlot::eachKindHasItsOwnShell()
{
    StandIn standIn;
    standIn.program("sh", kRecorder);
    PythonPlot plot(nullptr);
    QStringList expected;
    for (const Kind &kind : kKinds) {
        (plot.*kind.slot)();
        expected.append(changeFolderLine() + QStringLiteral("python pythonPlot.py %1\n").arg(QLatin1String(kind.name)));
    }
    expected.sort();
    QTRY_COMPARE(shellInputs(standIn), expected);
}

void TestPythonPlot::shellsEndWithThePlotterAndCanStartAgain()
{
    StandIn standIn;
    standIn.program("sh", "echo $$ >> $here/started; exec sleep 1000.$$");
    for (int opened = 1; opened <= 2; ++opened) {
        PythonPlot plot(nullptr);
        plot.plotHeightSlot();
        plot.pythonPlotDemo();
        QTRY_COMPARE(standIn.text("started").count('\n'), 2 * opened);
    }
    for (const QByteArray &id : standIn.text("started").simplified().split(' '))
        QVERIFY2(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(id.toInt())), id.constData());
}

void TestPythonPlot::standardErrorIsLogged()
{
    StandIn standIn;
    standIn.program("sh", "echo 'no such plot {}' >&2; exec cat > /dev/null");
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotXYZSlot();
    // The message includes the line break that the shell wrote.
    QTRY_COMPARE(log.leveledMessages(), QStringList{"error: pyplot error:no such plot {}\n"});
}

void TestPythonPlot::standardOutputIsIgnored()
{
    StandIn standIn;
    standIn.program("sh", "target=$(readlink /proc/$$/fd/1); echo $target > $here/output; exec cat > /dev/null");
    PythonPlot plot(nullptr);
    plot.plotXYZSlot();
    QTRY_COMPARE(standIn.text("output"), QByteArray("/dev/null\n"));
}

void TestPythonPlot::missingScriptIsLogged()
{
    createShellFolder();
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotHeightSlot();
    QTRY_VERIFY_WITH_TIMEOUT(log.leveledMessages().join('\n').contains("can't open file 'pythonPlot.py'"), 30000);
    QVERIFY(log.leveledMessages().first().startsWith("error: pyplot error:"));
}

void TestPythonPlot::missingPythonIsLogged()
{
    StandIn standIn(StandIn::Path::Only);
    QVERIFY(QFile::link("/bin/sh", standIn.path("sh")));
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotHeightSlot();
    QTRY_VERIFY(log.leveledMessages().join('\n').contains("python: not found"));
    QVERIFY(log.leveledMessages().first().startsWith("error: pyplot error:"));
}

void TestPythonPlot::missingShellIsIgnored()
{
    StandIn standIn(StandIn::Path::Only);
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotHeightSlot();
    plot.plotHeightSlot();
    QCOMPARE(log.messages(), QStringList());
}

void TestPythonPlot::writeFailureIsLogged_data()
{
    firstCallWritesFolderAndCommand_data();
}

void TestPythonPlot::writeFailureIsLogged()
{
    QFETCH(int, kind);
    const LogFile log;
    Throwing plot(nullptr);
    const auto &which = kKinds[kind];
    (plot.*which.slot)();
    QCOMPARE(log.leveledMessages(), QStringList{which.failure});
}

void TestPythonPlot::hangingShellIsKilledImmediately()
{
    StandIn standIn;
    standIn.program("sh", "trap '' TERM HUP INT; echo up > $here/up; while :; do sleep 1000; done");
    QElapsedTimer timer;
    {
        PythonPlot plot(nullptr);
        plot.plotHeightSlot();
        QTRY_COMPARE(standIn.text("up"), QByteArray("up\n"));
        timer.start();
    }
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestPythonPlot::shellThatReadsNothingIsKilledImmediately()
{
    StandIn standIn;
    standIn.program("sh", "echo up > $here/up; exec sleep 1000");
    QElapsedTimer timer;
    {
        PythonPlot plot(nullptr);
        plot.plotHeightSlot();
        QTRY_COMPARE(standIn.text("up"), QByteArray("up\n"));
        // More lines than a pipe can hold, so the rest stays in the program's buffer.
        for (int i = 0; i < 5000; ++i)
            plot.plotHeightSlot();
        timer.start();
    }
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void TestPythonPlot::interpreterWithMatplotlibIsFoundAfterOthers()
{
    createShellFolder();
    StandIn standIn;
    standIn.program("python", "echo 'no matplotlib' >&2; exit 1");
    standIn.program("python3", "echo 'no matplotlib' >&2; exit 1");
    writeScript("import sys, matplotlib\nopen('" + QFile::encodeName(standIn.path("drawn"))
                + "', 'w').write(' '.join(sys.argv))\n");
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotAttackSlot();
    QTRY_COMPARE_WITH_TIMEOUT(standIn.text("drawn"), QByteArray("pythonPlot.py Attack"), 60000);
    QCOMPARE(log.messages(), QStringList());
}

void TestPythonPlot::pythonWithoutMatplotlibIsLogged()
{
    createShellFolder();
    QVERIFY(QFile::copy(QStringLiteral(OSTRAVEL_PLOT_SCRIPTS "/pythonPlot.py"),
                        AppConfig::getInstance().plotDir() + QStringLiteral("/pythonPlot.py")));
    // The interpreter is always that of the system; this hides the module from it.
    StandIn standIn;
    QFile hiding(standIn.path("sitecustomize.py"));
    QVERIFY(hiding.open(QIODevice::WriteOnly));
    hiding.write("import sys\n"
                 "class Hidden:\n"
                 "    def find_spec(self, name, path=None, target=None):\n"
                 "        if name == 'matplotlib':\n"
                 "            raise ModuleNotFoundError(f\"No module named '{name}'\", name=name)\n"
                 "sys.meta_path.insert(0, Hidden())\n");
    hiding.close();
    qputenv("PYTHONPATH", QFile::encodeName(standIn.path(".")));
    const LogFile log;
    PythonPlot plot(nullptr);
    plot.plotHeightSlot();
    qunsetenv("PYTHONPATH");
    QTRY_VERIFY_WITH_TIMEOUT(log.messages().join('\n').contains("No module named 'matplotlib'"), 60000);
    for (const QString &line : log.leveledMessages())
        QVERIFY2(line.startsWith("error: pyplot error:"), qPrintable(line));
    // The shell keeps running and accepts the next command.
    const int before = log.messages().join('\n').count("No module named 'matplotlib'");
    plot.plotHeightSlot();
    QTRY_COMPARE_WITH_TIMEOUT(log.messages().join('\n').count("No module named 'matplotlib'"), before + 1, 60000);
}

void TestPythonPlot::runningScriptCompletesAfterTheEnd()
{
    createShellFolder();
    StandIn standIn;
    // Runs until the file "go" exists, at most 30 seconds.
    writeScript("import os, time\nos.chdir('" + QFile::encodeName(standIn.path("."))
                + "')\nopen('begun', 'w').close()\nlast = time.monotonic() + 30\n"
                  "while not os.path.exists('go') and time.monotonic() < last:\n    time.sleep(0.05)\n"
                  "open('drawn', 'w').write('yes')\n");
    {
        PythonPlot plot(nullptr);
        plot.plotHeightSlot();
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(standIn.path("begun")), 60000);
    }
    QVERIFY(!QFile::exists(standIn.path("drawn")));
    QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    QTRY_COMPARE_WITH_TIMEOUT(standIn.text("drawn"), QByteArray("yes"), 20000);
}

void TestPythonPlot::scriptWithoutAWindowEndsAfterItsTimeLimit()
{
    createShellFolder();
    StandIn standIn;
    writeScript("import os\nopen('" + QFile::encodeName(standIn.path("id"))
                + "', 'w').write(f'{os.getpid()}\\n')\nwhile True:\n    pass\n");
    QElapsedTimer timer;
    {
        PythonPlot plot(nullptr);
        plot.plotHeightSlot();
        QTRY_VERIFY_WITH_TIMEOUT(standIn.text("id").endsWith('\n'), 60000);
        timer.start();
    }
    QVERIFY(timer.elapsed() < 5000);
    const QString process = QStringLiteral("/proc/%1/cmdline").arg(standIn.text("id").trimmed().toInt());
    const auto runs = [&] {
        QFile file(process);
        return file.open(QIODevice::ReadOnly) && !file.readAll().isEmpty(); // empty for a zombie process
    };
    QVERIFY(runs());
    QTRY_VERIFY_WITH_TIMEOUT(!runs(), 120000);
}

void TestPythonPlot::folderWithSpecialCharactersIsUsed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks, Chinese, a single quote") << "飞行 数据 o'neil";
    QTest::newRow("colon, dollar, star") << "a:b $HOME *";
}

void TestPythonPlot::folderWithSpecialCharactersIsUsed()
{
    QFETCH(QString, name);
    const QString folder = m_fixture->path(name);
    QVERIFY(QDir().mkpath(folder + "/myPlot/shell"));
    const QString copy = folder + "/TestPythonPlot";
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    for (const QString file : {"python", "plot_runner.py"})
        QVERIFY(QFile::copy(OSTRAVEL_PLOT_SCRIPTS "/shell/" + file, folder + "/myPlot/shell/" + file));
    QFile script(folder + "/myPlot/pythonPlot.py");
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("import matplotlib, os, sys\nopen('drawn', 'w').write(' '.join(sys.argv))\n");
    script.close();

    QProcess child;
    child.start(copy, {"--draw"});
    QVERIFY(child.waitForStarted());
    QFile drawn(folder + "/myPlot/drawn");
    QTRY_VERIFY_WITH_TIMEOUT(drawn.size() == 20, 60000); // "pythonPlot.py Height"
    child.closeWriteChannel();
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
}

void TestPythonPlot::folderOfTheDemoUsesTheLocalEncoding()
{
    const QString folder = m_fixture->path("飞行");
    QVERIFY(QDir().mkpath(folder + "/myPlot"));
    const QString copy = folder + "/TestPythonPlot";
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    StandIn standIn;
    standIn.program("sh", kRecorder);
    QProcess child;
    child.start(copy, {"--draw-in-gb18030"});
    QVERIFY(child.waitForStarted());
    const auto lines = [this](const QByteArray &name, const QByteArray &kind) {
        return "cd '" + m_fixture->dir().toLatin1() + '/' + name + "/myPlot'\npython pythonPlot.py " + kind + '\n';
    };
    QList<QByteArray> expected{lines("\xB7\xC9\xD0\xD0", "Demo1")};
    for (const char *const kind : {"Height", "XY", "XYZ", "Attack"})
        expected.append(lines("\xE9\xA3\x9E\xE8\xA1\x8C", kind));
    std::sort(expected.begin(), expected.end());
    const auto found = [&standIn] {
        QList<QByteArray> result;
        for (const QString &file : standIn.files(QStringLiteral("shell.*")))
            result.append(standIn.text(file));
        std::sort(result.begin(), result.end());
        return result;
    };
    QTRY_COMPARE_WITH_TIMEOUT(found(), expected, 60000);
    child.closeWriteChannel();
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
}

/**
 * Runs in a copy of the program in another folder: draws once, or each kind if the local 8-bit encoding is not UTF-8.
 * Ends when its standard input is closed.
 */
static int draw(int argc, char *argv[], bool otherCode)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::applicationDirPath(); // Qt caches the path here, decoded with the system's encoding
    if (otherCode)
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("GB18030"));
    PythonPlot plot(nullptr);
    plot.plotHeightSlot();
    if (otherCode) {
        plot.plotXYSlot();
        plot.plotXYZSlot();
        plot.plotAttackSlot();
        plot.pythonPlotDemo();
    }
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

int main(int argc, char *argv[])
{
    if (argc == 2 && qstrncmp(argv[1], "--draw", 6) == 0)
        return draw(argc, argv, qstrcmp(argv[1], "--draw-in-gb18030") == 0);
    QGuiApplication application(argc, argv);
    TestPythonPlot test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestPythonPlot.moc"
