#include "LogFile.h"
#include "ModalAnswer.h"
#include "Release.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QProcess>
#include <QRegularExpression>

#include <csignal>

namespace
{

constexpr int kLimit = 60000;

/** Puts a folder first in PATH. The destructor restores PATH. */
class SearchPath
{
public:
    explicit SearchPath(const QString &folder)
        : m_before(qgetenv("PATH"))
    {
        qputenv("PATH", QFile::encodeName(folder));
    }
    ~SearchPath() { qputenv("PATH", m_before); }
    SearchPath(const SearchPath &) = delete;
    SearchPath &operator=(const SearchPath &) = delete;

private:
    QByteArray m_before;
};

} // namespace

class TestMainWindowUpdate : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<WindowFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void updaterGetsItsFourArgumentsAndTheProgramQuits();
    void programQuitsWithoutTheUpdater();
    void missingUpdaterIsLoggedWithItsName();
    void updaterKeepsRunningAfterTheWindowIsDeleted();
    void processIsCreatedOnFirstUseAndKept();

private:
    /** Writes a shell script named updater.exe in a new folder. Returns the folder. */
    QString makeUpdater(const QByteArray &script)
    {
        const QString folder = m_fixture->path(QStringLiteral("programs"));
        if (!QDir().mkpath(folder))
            qFatal("no folder %s", qPrintable(folder));
        QFile file(folder + QStringLiteral("/updater.exe"));
        if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::ExeOwner))
            qFatal("no %s", qPrintable(file.fileName()));
        file.write("#!/bin/sh\n" + script);
        return folder;
    }

    /** Triggers the action in the event loop. Returns the exit code of the loop, or 99 if it does not end. */
    int runAction()
    {
        QTimer::singleShot(0, &m_fixture->window(), [this] { m_fixture->entry("menuHelp", "更新(D)")->trigger(); });
        QTimer::singleShot(kLimit, &m_fixture->window(), [] { QCoreApplication::exit(99); });
        return QApplication::exec();
    }

    QStringList recorded(const QString &name)
    {
        QFile file(m_fixture->path(name));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    std::unique_ptr<WindowFixture> m_fixture;
};

void TestMainWindowUpdate::updaterGetsItsFourArgumentsAndTheProgramQuits()
{
    const QString record = m_fixture->path(QStringLiteral("arguments"));
    const SearchPath path(makeUpdater("printf '%s\\n' \"$#\" \"$@\" > '" + QFile::encodeName(record) + ".part'\n"
                                      + "/bin/mv '" + QFile::encodeName(record) + ".part' '" + QFile::encodeName(record)
                                      + "'\n"));
    ModalAnswer answer; // fails if the quit question is shown
    QCOMPARE(runAction(), 0);
    QVERIFY(answer.allAnswered());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), kLimit);
    QVERIFY(buildDateTime().isValid());
    const QString date = buildDateText(buildDateTime());
    // No application name is set, so Qt uses the name of the executable.
    QCOMPARE(recorded(QStringLiteral("arguments")), QStringList({"4", "TestMainWindowUpdate", "2.3.2", date, "1"}));
}

void TestMainWindowUpdate::programQuitsWithoutTheUpdater()
{
    const SearchPath path(m_fixture->path(QStringLiteral("nothing here")));
    ModalAnswer answer;
    QCOMPARE(runAction(), 0);
    QVERIFY(answer.allAnswered());
    QCOMPARE(m_fixture->window().updaterProcess()->error(), QProcess::FailedToStart);
}

void TestMainWindowUpdate::missingUpdaterIsLoggedWithItsName()
{
    const SearchPath path(m_fixture->path(QStringLiteral("nothing here")));
    ModalAnswer answer;
    const LogFile log;
    QCOMPARE(runAction(), 0);
    const QStringList lines = log.leveledMessages().filter(QStringLiteral("updater.exe"));
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines[0].startsWith(QStringLiteral("error: updater.exe does not start: ")), qPrintable(lines[0]));
}

void TestMainWindowUpdate::updaterKeepsRunningAfterTheWindowIsDeleted()
{
    const QString record = m_fixture->path(QStringLiteral("pid"));
    // Runs longer than the test, which kills it at the end.
    const SearchPath path(makeUpdater("echo $$ > '" + QFile::encodeName(record) + "'\nexec /bin/sleep 600\n"));
    QCOMPARE(runAction(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(recorded(QStringLiteral("pid")).size(), 1, kLimit);
    const qint64 pid = m_fixture->window().updaterProcess()->processId();
    QCOMPARE(recorded(QStringLiteral("pid")).constFirst().toLongLong(), pid);
    QPointer<QProcess> process = m_fixture->window().updaterProcess();
    m_fixture->closeWindow();
    QVERIFY(process);
    QCOMPARE(process->state(), QProcess::Running);
    QCOMPARE(::kill(pid_t(pid), 0), 0);
    process->kill();
    QVERIFY(process->waitForFinished(kLimit));
    delete process;
}

void TestMainWindowUpdate::processIsCreatedOnFirstUseAndKept()
{
    QVERIFY(!m_fixture->window().updaterProcess());
    const SearchPath path(m_fixture->path(QStringLiteral("nothing here")));
    QCOMPARE(runAction(), 0);
    const QPointer<QProcess> process = m_fixture->window().updaterProcess();
    QVERIFY(process);
    QVERIFY(!process->parent());
    QCOMPARE(process->program(), QStringLiteral("updater.exe"));
    QCOMPARE(runAction(), 0);
    QCOMPARE(m_fixture->window().updaterProcess(), process.data());
    // A process that is not running is deleted with the window.
    m_fixture->closeWindow();
    QVERIFY(process.isNull());
}

QTEST_MAIN(TestMainWindowUpdate)
#include "TestMainWindowUpdate.moc"
