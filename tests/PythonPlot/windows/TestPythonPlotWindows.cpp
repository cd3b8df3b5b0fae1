#include "Fixture.h"
#include "LogFile.h"
#include "PlotShell.h"
#include "PythonPlot.h"

#include <QProcess>
#include <QTest>

namespace
{

using Slot = void (PythonPlot::*)();

/** Puts the fake Python first in PATH, or removes every interpreter from PATH. The destructor restores PATH. */
class CommandPath
{
public:
    enum class Python { StandIn, None };

    explicit CommandPath(Python python)
        : m_before(qgetenv("PATH"))
    {
        const QByteArray system = qgetenv("SystemRoot") + "\\system32";
        const QByteArray standIn = QDir::toNativeSeparators(QStringLiteral(INTERPRETER)).toLocal8Bit();
        qputenv("PATH", python == Python::StandIn ? standIn + ';' + m_before : system);
    }
    ~CommandPath() { qputenv("PATH", m_before); }
    Q_DISABLE_COPY_MOVE(CommandPath)

private:
    QByteArray m_before;
};

/** Writes each line separately, like a console, because the cmd of some systems drops the rest of a write. */
class LineByLine : public PythonPlot
{
public:
    using PythonPlot::PythonPlot;

protected:
    void writeLine(QProcess &process, const QByteArray &line) override
    {
        PythonPlot::writeLine(process, line);
        process.waitForBytesWritten(5000);
    }
};

/** The arguments of each call of the fake Python in the folder of the scripts. */
QByteArrayList recordedCalls()
{
    QFile file(AppConfig::getInstance().plotDir() + QStringLiteral("/asked.txt"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n') : QByteArrayList();
}

/** Clicks until the condition is true, because a slow shell may get two lines at once and drop the second. */
template <typename Condition>
bool clickUntil(PythonPlot &plot, Slot click, Condition condition)
{
    for (int tries = 0; tries < 15; ++tries) {
        (plot.*click)();
        if (QTest::qWaitFor(condition, 2000))
            return true;
    }
    return false;
}

} // namespace

Q_DECLARE_METATYPE(Slot)

/** Tests the track plots with the Windows shell. */
class TestPythonPlotWindows : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<Fixture>();
        m_log = m_fixture->path(QStringLiteral("logs/log.txt"));
        // "cd" in cmd does not change the drive, so the working directory must be on the program's drive.
        QVERIFY(QDir::setCurrent(QCoreApplication::applicationDirPath()));
    }
    void cleanup() { m_fixture.reset(); }

    void shellNameIsThatOfThePlatform();
    void commandRunsInTheFolderOfTheScripts_data();
    void commandRunsInTheFolderOfTheScripts();
    void laterCommandNeedsNoFolder();
    void standardErrorIsLogged();
    void missingPythonIsLogged();

private:
    std::unique_ptr<Fixture> m_fixture;
    QString m_log;
};

void TestPythonPlotWindows::shellNameIsThatOfThePlatform()
{
    QCOMPARE(plotshell::program(), QStringLiteral("cmd"));
    QCOMPARE(plotshell::quoted(QStringLiteral("C:/试飞 1")), QStringLiteral("C:/试飞 1"));
}

void TestPythonPlotWindows::commandRunsInTheFolderOfTheScripts_data()
{
    QTest::addColumn<Slot>("click");
    QTest::addColumn<QByteArray>("argument");
    QTest::newRow("height") << Slot(&PythonPlot::plotHeightSlot) << QByteArray("Height");
    QTest::newRow("2-D") << Slot(&PythonPlot::plotXYSlot) << QByteArray("XY");
    QTest::newRow("3-D") << Slot(&PythonPlot::plotXYZSlot) << QByteArray("XYZ");
    QTest::newRow("attack") << Slot(&PythonPlot::plotAttackSlot) << QByteArray("Attack");
    QTest::newRow("demo") << Slot(&PythonPlot::pythonPlotDemo) << QByteArray("Demo1");
}

void TestPythonPlotWindows::commandRunsInTheFolderOfTheScripts()
{
    QFETCH(Slot, click);
    QFETCH(QByteArray, argument);
    const CommandPath path(CommandPath::Python::StandIn);
    LineByLine plot(nullptr);
    QVERIFY(clickUntil(plot, click, [] { return !recordedCalls().isEmpty(); }));
    QCOMPARE(recordedCalls().first(), "pythonPlot.py " + argument);
    QVERIFY(!QFile::exists(QStringLiteral("asked.txt")));
}

void TestPythonPlotWindows::laterCommandNeedsNoFolder()
{
    const CommandPath path(CommandPath::Python::StandIn);
    LineByLine plot(nullptr);
    QVERIFY(clickUntil(plot, &PythonPlot::plotXYSlot, [] { return !recordedCalls().isEmpty(); }));
    const int before = recordedCalls().size();
    QVERIFY(clickUntil(plot, &PythonPlot::plotXYSlot, [before] { return recordedCalls().size() > before; }));
    QCOMPARE(recordedCalls().last(), QByteArray("pythonPlot.py XY"));
}

void TestPythonPlotWindows::standardErrorIsLogged()
{
    const CommandPath path(CommandPath::Python::StandIn);
    const LogFile log(m_log);
    LineByLine plot(nullptr);
    QVERIFY(clickUntil(plot, &PythonPlot::plotXYZSlot, [&log] { return !log.messages().isEmpty(); }));
    QVERIFY2(log.leveledMessages().first().startsWith("error: pyplot error:nothing drawn {}"),
             qPrintable(log.leveledMessages().first()));
}

void TestPythonPlotWindows::missingPythonIsLogged()
{
    const CommandPath path(CommandPath::Python::None);
    const LogFile log(m_log);
    LineByLine plot(nullptr);
    QVERIFY(clickUntil(plot, &PythonPlot::plotAttackSlot, [&log] { return !log.messages().isEmpty(); }));
    const QString message = log.leveledMessages().first();
    QVERIFY2(message.startsWith("error: pyplot error:") && message.contains("python"), qPrintable(message));
}

QTEST_MAIN(TestPythonPlotWindows)
#include "TestPythonPlotWindows.moc"
