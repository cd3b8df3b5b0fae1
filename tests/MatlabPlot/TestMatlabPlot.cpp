#include "Fixture.h"
#include "LogFile.h"
#include "MatlabPlot.h"
#include "MetaMethods.h"
#include "StandIn.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

namespace
{

// A script that answers each line. It runs "plot" for the line of a plot.
QByteArray engine(const QByteArray &plot)
{
    return "read -r line; echo \"$line\" >> $here/told; echo plot-engine:done\n"
           "while read -r line; do echo \"$line\" >> $here/told; "
        + plot + "; done\necho plot-engine:done";
}

constexpr char kAnswer[] = "echo plot-engine:done";

/** The log messages without the first ones of a worker. */
QStringList after(const LogFile &log, int count)
{
    return log.leveledMessages().mid(count);
}

/** Records a worker's signals in the thread of the test. */
class SignalRecorder : public QObject
{
    Q_OBJECT

public:
    explicit SignalRecorder(const MatlabPlot *plot)
    {
        connect(plot, &MatlabPlot::initFinished, this, &SignalRecorder::finish);
        connect(plot, &MatlabPlot::matlabInitFailedSignal, this, &SignalRecorder::fail);
    }

    /** "finished" or "failed" for each signal, in order. */
    QStringList signalNames() const { return m_signals; }

public slots:
    void finish() { m_signals.append(QStringLiteral("finished")); }
    void fail() { m_signals.append(QStringLiteral("failed")); }

private:
    QStringList m_signals;
};

/** A worker in its own thread, as in the dialog. The engine ends with the thread. */
class Worker
{
public:
    Worker()
        : m_plot(new MatlabPlot(nullptr))
    {
        m_plot->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, m_plot, &QObject::deleteLater);
        m_thread.start();
    }

    ~Worker() { end(); }

    void end()
    {
        m_thread.requestInterruption();
        MatlabPlot::handOver();
        m_thread.quit();
        m_thread.wait();
    }

    // Calls slots by name. A functor would pass data through Qt's queue, whose locks the thread sanitizer does not see.
    /** Calls a slot in the worker's thread and waits until it returns. */
    void call(const char *slot) { QMetaObject::invokeMethod(m_plot, slot, Qt::BlockingQueuedConnection); }
    void post(const char *slot) { QMetaObject::invokeMethod(m_plot, slot, Qt::QueuedConnection); }

    MatlabPlot *plot() const { return m_plot; }
    QThread &thread() { return m_thread; }

private:
    MatlabPlot *m_plot;
    QThread m_thread;
};

} // namespace

/** Tests MatlabPlot with a fake GNU Octave in PATH. */
class TestMatlabPlot : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalsAndSlotsInOrder();
    void constructionIsLogged();
    void engineThatAnswersFinishesTheInitialisation();
    void engineIsStartedInTheFolderOfTheTrackFiles();
    void folderWithSpecialCharactersIsUsed_data();
    void folderWithSpecialCharactersIsUsed();
    void engineThatDoesNotAnswerFailsTheInitialisation_data();
    void engineThatDoesNotAnswerFailsTheInitialisation();
    void missingPlotFunctionFailsTheInitialisation();
    void plotsPassEightScalars();
    void failureOfAPlotIsLoggedWithItsMessage();
    void engineCrashInAPlotIsLoggedWithItsLastOutput();
    void closedEngineInputIsReportedAndKeepsTheSignalHandler();
    void largeOutputOnStandardErrorDoesNotBlock();
    void otherTextOnStandardOutputIsIgnored();
    void initialisationStopsWhenInterrupted();
    void idleEngineEndsWithItsThread();
    void engineThatIgnoresTheEndOfItsInputIsKilled();
    void engineWithWindowsKeepsRunning();
    void runningPlotCompletesAfterTheEnd();
    void messagesAfterClosingTheLogAreIgnored();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestMatlabPlot::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(
        ownMethods(MatlabPlot::staticMetaObject),
        (QStringList{"signal initFinished()", "signal matlabInitFailedSignal()", "slot init()", "slot plotHeightSlot()",
                     "slot plotXYSlot()", "slot plotXYZSlot()", "slot plotAttackSlot()"}));
}

void TestMatlabPlot::constructionIsLogged()
{
    const LogFile log;
    const MatlabPlot plot(nullptr);
    QCOMPARE(log.leveledMessages(), QStringList{"info: matlabplot constructor"});
}

void TestMatlabPlot::engineThatAnswersFinishesTheInitialisation()
{
    StandIn standIn;
    standIn.program("octave", engine(kAnswer));
    Worker worker;
    const SignalRecorder recorder(worker.plot());
    const LogFile log;
    worker.call("init");
    QTRY_COMPARE(recorder.signalNames(), QStringList{"finished"});
    const QStringList lines = log.leveledMessages();
    QCOMPARE(lines.size(), 2);
    const QRegularExpression first(QStringLiteral("^info: matlabplot thread id is ([0-9]+)$"));
    const qulonglong id = first.match(lines[0]).captured(1).toULongLong();
    QVERIFY2(id != 0, qPrintable(lines[0]));
    QVERIFY(id != reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QCOMPARE(lines[1], QStringLiteral("info: I initialize libdisplayInitialize!\n"));
}

void TestMatlabPlot::engineIsStartedInTheFolderOfTheTrackFiles()
{
    StandIn standIn;
    standIn.program("octave", "pwd > $here/folder; ls /proc/$$/fd > $here/open\n" + engine(kAnswer));
    Worker worker;
    worker.call("init");
    QCOMPARE(standIn.text("folder"), QFile::encodeName(AppConfig::getInstance().plotDir()) + '\n');
    // Descriptors from 10 on belong to the shell. The process must not inherit the log file.
    for (const QByteArray &descriptor : standIn.text("open").simplified().split(' '))
        QVERIFY2(descriptor.toInt() <= 2 || descriptor.toInt() >= 10, descriptor.constData());
}

void TestMatlabPlot::folderWithSpecialCharactersIsUsed_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks, Chinese, a single quote") << "飞行 数据 o'neil";
    QTest::newRow("colon, dollar, star, double quote") << "a:b $HOME * \"c\"";
}

void TestMatlabPlot::folderWithSpecialCharactersIsUsed()
{
    QFETCH(QString, name);
    const QString folder = m_fixture->path(name);
    QVERIFY(QDir().mkpath(folder + "/myPlot"));
    const QString copy = folder + "/TestMatlabPlot";
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
    StandIn standIn;
    standIn.program("octave", "pwd > $here/folder\n" + engine(kAnswer));
    QProcess child;
    child.start(copy, {"--draw"});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(standIn.text("folder"), QFile::encodeName(folder) + "/myPlot\n");
    QCOMPARE(standIn.text("told").count("myMatlabPlot(int32(1), "), 1);
}

void TestMatlabPlot::engineThatDoesNotAnswerFailsTheInitialisation_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("absent") << QByteArray();
    QTest::newRow("ends immediately") << QByteArray("exit 3");
    QTest::newRow("crashes with a message") << QByteArray("echo 'libGL is missing' >&2; exit 1");
    QTest::newRow("dies after reading") << QByteArray("read -r line");
    QTest::newRow("prints something else") << QByteArray("read -r line; echo ready");
}

void TestMatlabPlot::engineThatDoesNotAnswerFailsTheInitialisation()
{
    QFETCH(QByteArray, script);
    StandIn standIn(StandIn::Path::Only);
    if (!script.isEmpty())
        standIn.program("octave", script);
    Worker worker;
    const SignalRecorder recorder(worker.plot());
    const LogFile log;
    worker.call("init");
    QTRY_COMPARE(recorder.signalNames(), QStringList{"failed"});
    QCOMPARE(after(log, 1), QStringList{"error: Could not initialize libdisplayInitialize!"});
    QTRY_VERIFY(standIn.processes().isEmpty());
    // A later plot request fails with a log message.
    worker.call("plotHeightSlot");
    QCOMPARE(after(log, 2), QStringList{"error: matlab plotHeight mwException:GNU Octave does not run"});
}

void TestMatlabPlot::missingPlotFunctionFailsTheInitialisation()
{
    StandIn standIn;
    standIn.program("octave",
                    "read -r line; echo \"$line\" > $here/told\n"
                    "echo 'plot-engine:failed myMatlabPlot.m is missing'; cat > /dev/null");
    Worker worker;
    const SignalRecorder recorder(worker.plot());
    worker.call("init");
    QTRY_COMPARE(recorder.signalNames(), QStringList{"failed"});
    QCOMPARE(standIn.text("told"),
             QByteArray("if exist('myMatlabPlot', 'file') ~= 2, error('myMatlabPlot.m is missing'), end\n"));
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestMatlabPlot::plotsPassEightScalars()
{
    StandIn standIn;
    standIn.program("octave", engine(kAnswer));
    Worker worker;
    worker.call("init");
    const LogFile log;
    for (const char *slot : {"plotHeightSlot", "plotXYSlot", "plotXYZSlot", "plotAttackSlot"})
        worker.call(slot);
    QCOMPARE(log.messages(), QStringList());
    QCOMPARE(standIn.text("told").split('\n').mid(1).join('\n'),
             QByteArray("myMatlabPlot(int32(1), int32(1), int32(1), int32(1), int32(0), int32(1), int32(1), int32(0))\n"
                        "myMatlabPlot(int32(1), int32(1), int32(1), int32(0), int32(0), int32(1), int32(1), int32(0))\n"
                        "myMatlabPlot(int32(1), int32(1), int32(1), int32(2), int32(0), int32(1), int32(1), int32(0))\n"
                        "myMatlabPlot(int32(1), int32(1), int32(1), int32(2), int32(0), int32(1), int32(1), "
                        "int32(1))\n"));
}

void TestMatlabPlot::failureOfAPlotIsLoggedWithItsMessage()
{
    StandIn standIn;
    standIn.program("octave", engine("echo \"plot-engine:failed 'plot3' undefined {}\""));
    Worker worker;
    worker.call("init");
    const LogFile log;
    for (const char *slot : {"plotXYZSlot", "plotXYSlot", "plotHeightSlot", "plotAttackSlot"})
        worker.call(slot);
    QCOMPARE(log.leveledMessages(),
             (QStringList{"error: matlab plotXYZ mwException:'plot3' undefined {}",
                          "error: matlab plotXY mwException:'plot3' undefined {}",
                          "error: matlab plotHeight mwException:'plot3' undefined {}",
                          "error: matlab plot attack mwException:'plot3' undefined {}"}));
}

void TestMatlabPlot::engineCrashInAPlotIsLoggedWithItsLastOutput()
{
    StandIn standIn;
    standIn.program("octave", engine("echo 'X error of failed request' >&2; kill -9 $$"));
    Worker worker;
    worker.call("init");
    const LogFile log;
    worker.call("plotXYSlot");
    worker.call("plotXYSlot");
    QCOMPARE(log.leveledMessages(),
             (QStringList{"error: matlab plotXY mwException:GNU Octave ended or did not answer: "
                          "X error of failed request",
                          "error: matlab plotXY mwException:GNU Octave does not run"}));
}

void TestMatlabPlot::closedEngineInputIsReportedAndKeepsTheSignalHandler()
{
    StandIn standIn;
    standIn.program("octave", "read -r line; exec <&-; echo plot-engine:done; exec sleep 1000");
    // The default action of a new process; QProcess ignores the signal after its first write.
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    Worker worker;
    worker.call("init");
    const LogFile log;
    worker.call("plotXYSlot");
    QCOMPARE(log.messages(), QStringList{"matlab plotXY mwException:GNU Octave ended or did not answer"});
    const auto after = std::signal(SIGPIPE, before);
    QVERIFY(after == SIG_DFL);
}

void TestMatlabPlot::largeOutputOnStandardErrorDoesNotBlock()
{
    StandIn standIn;
    standIn.program("octave", engine("head -c 1048576 /dev/zero | tr '\\0' 'w' >&2; echo plot-engine:done"));
    Worker worker;
    worker.call("init");
    const LogFile log;
    worker.call("plotXYSlot");
    worker.call("plotHeightSlot");
    QCOMPARE(log.messages(), QStringList());
    QCOMPARE(standIn.text("told").count("myMatlabPlot("), 2);
}

void TestMatlabPlot::otherTextOnStandardOutputIsIgnored()
{
    StandIn standIn;
    standIn.program("octave",
                    engine("echo 'ans = plot-engine:done'; sleep 0.3; head -c 3000000 /dev/zero; echo; "
                           "echo plot-engine:failed late"));
    Worker worker;
    worker.call("init");
    const LogFile log;
    worker.call("plotHeightSlot");
    QCOMPARE(log.messages(), QStringList{"matlab plotHeight mwException:late"});
}

void TestMatlabPlot::initialisationStopsWhenInterrupted()
{
    StandIn standIn;
    standIn.program("octave", "echo up > $here/up; trap '' TERM HUP; while :; do sleep 1000; done");
    const LogFile log;
    Worker worker;
    const SignalRecorder recorder(worker.plot());
    worker.post("init");
    QTRY_COMPARE(standIn.text("up"), QByteArray("up\n"));
    QElapsedTimer timer;
    timer.start();
    worker.end();
    QVERIFY(timer.elapsed() < 5000);
    QTRY_VERIFY(standIn.processes().isEmpty());
    // Closing the dialog is not a failure, so no signal is emitted.
    QCoreApplication::processEvents();
    QCOMPARE(recorder.signalNames(), QStringList());
    QCOMPARE(log.leveledMessages().filter("error"), QStringList());
    QVERIFY(log.messages().last().startsWith("matlabplot thread id is "));
}

void TestMatlabPlot::idleEngineEndsWithItsThread()
{
    StandIn standIn;
    standIn.program("octave", engine(kAnswer));
    Worker worker;
    worker.call("init");
    QVERIFY(!standIn.processes().isEmpty());
    worker.end();
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestMatlabPlot::engineThatIgnoresTheEndOfItsInputIsKilled()
{
    StandIn standIn;
    standIn.program("octave", "read -r line; echo plot-engine:done; trap '' TERM HUP; while :; do sleep 1000; done");
    Worker worker;
    worker.call("init");
    worker.end();
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestMatlabPlot::engineWithWindowsKeepsRunning()
{
    StandIn standIn;
    standIn.program("octave",
                    engine(kAnswer) + "\n" + QByteArray(kUntilGo)
                        + "; echo noise; echo $$ > $here/left; exec sleep 1000");
    {
        Worker worker;
        worker.call("init");
    }
    // The reader of its output is already closed.
    QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    QTRY_VERIFY(standIn.text("left").endsWith('\n'));
    const int remaining = standIn.text("left").trimmed().toInt();
    QVERIFY(remaining > 1);
    QCOMPARE(::kill(remaining, 0), 0);
    ::kill(remaining, SIGKILL);
}

void TestMatlabPlot::runningPlotCompletesAfterTheEnd()
{
    StandIn standIn;
    standIn.program("octave",
                    engine("echo begun > $here/begun; " + QByteArray(kUntilGo)
                           + "; echo yes > $here/drawn; echo plot-engine:done"));
    const LogFile log;
    {
        Worker worker;
        worker.call("init");
        worker.post("plotXYSlot");
        QTRY_COMPARE(standIn.text("begun"), QByteArray("begun\n"));
        QVERIFY(standIn.text("drawn").isEmpty());
        QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    }
    QCOMPARE(standIn.text("drawn"), QByteArray("yes\n"));
    QVERIFY(log.leveledMessages().filter("error").isEmpty());
}

void TestMatlabPlot::messagesAfterClosingTheLogAreIgnored()
{
    StandIn standIn;
    standIn.program("octave", engine("echo plot-engine:failed late"));
    Worker worker;
    worker.call("init");
    const LogFile log;
    closeLogger();
    worker.call("plotXYSlot");
    QCOMPARE(standIn.text("told").count("myMatlabPlot("), 1);
    QCOMPARE(log.messages(), QStringList{"close logger"});
}

/** Runs in a copy of the program in another folder: draws once. The exit code says whether the engine started. */
static int draw(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    spdlog::drop_all(); // the log of this process is not needed
    Worker worker;
    const SignalRecorder recorder(worker.plot());
    worker.call("init");
    worker.call("plotHeightSlot");
    QCoreApplication::processEvents();
    return recorder.signalNames() == QStringList{"finished"} ? 0 : 1;
}

int main(int argc, char *argv[])
{
    if (argc == 2 && qstrcmp(argv[1], "--draw") == 0)
        return draw(argc, argv);
    QCoreApplication application(argc, argv);
    TestMatlabPlot test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestMatlabPlot.moc"
