#include "Fixture.h"
#include "LogFile.h"
#include "MatlabLibrary.h"
#include "MatlabPlot.h"

#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <cstring>

/** Tests MatlabPlot with a fake MATLAB library beside the test program. */
class TestMatlabRuntime : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        qunsetenv("STANDIN_RUNTIME");
        m_fixture.reset();
    }

    void loadedLibraryFinishesTheInitialisation();
    void libraryThatDoesNotStartFailsTheInitialisation();
    void plotsPassEightScalars();
    void libraryGetsThePlotFolderAndTheWorkingDirectoryIsUnchanged();
    void libraryGetsPlotFoldersWithSpecialCharacters();
    void failureOfAPlotIsLoggedWithItsMessage();
    void failureOfAScalarIsLogged_data();
    void failureOfAScalarIsLogged();
    void withoutTheLibraryTheInitialisationFails();
    void missingLibraryIsNamedInTheLog();

private:
    static int alive()
    {
        QLibrary runtime(QCoreApplication::applicationDirPath() + "/mclmcrrt9_10");
        const auto count = reinterpret_cast<int (*)()>(runtime.resolve("standInAlive"));
        return count ? count() : -1;
    }

    /** The folder that the fake library recorded, as 16-bit characters on Windows. */
    static QString recordedFolder(const QString &name)
    {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QByteArray bytes = file.readAll();
        if (QSysInfo::productType() != QLatin1String("windows"))
            return QFile::decodeName(bytes);
        QString folder(bytes.size() / 2, Qt::Uninitialized);
        std::memcpy(folder.data(), bytes.constData(), std::size_t(folder.size()) * 2);
        return QDir::fromNativeSeparators(folder);
    }

    std::unique_ptr<Fixture> m_fixture;
};

void TestMatlabRuntime::loadedLibraryFinishesTheInitialisation()
{
    MatlabPlot plot(nullptr);
    const QSignalSpy finished(&plot, &MatlabPlot::initFinished);
    const QSignalSpy failed(&plot, &MatlabPlot::matlabInitFailedSignal);
    const LogFile log;
    plot.init();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(failed.count(), 0);
    QCOMPARE(log.leveledMessages().last(), QStringLiteral("info: I initialize libdisplayInitialize!\n"));
}

void TestMatlabRuntime::libraryThatDoesNotStartFailsTheInitialisation()
{
    qputenv("STANDIN_RUNTIME", "no start");
    MatlabPlot plot(nullptr);
    const QSignalSpy finished(&plot, &MatlabPlot::initFinished);
    const QSignalSpy failed(&plot, &MatlabPlot::matlabInitFailedSignal);
    const LogFile log;
    plot.init();
    QCOMPARE(finished.count(), 0);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(log.leveledMessages().last(), QStringLiteral("error: Could not initialize libdisplayInitialize!"));
}

void TestMatlabRuntime::plotsPassEightScalars()
{
    MatlabPlot plot(nullptr);
    plot.init();
    const LogFile log;
    plot.plotHeightSlot();
    plot.plotXYSlot();
    plot.plotXYZSlot();
    plot.plotAttackSlot();
    QCOMPARE(log.messages(), QStringList());
    QFile file("plots.txt");
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(),
             QByteArray("1 1 1 1 0 1 1 0 \n"
                        "1 1 1 0 0 1 1 0 \n"
                        "1 1 1 2 0 1 1 0 \n"
                        "1 1 1 2 0 1 1 1 \n"));
    QCOMPARE(alive(), 0);
}

void TestMatlabRuntime::libraryGetsThePlotFolderAndTheWorkingDirectoryIsUnchanged()
{
    MatlabPlot plot(nullptr);
    plot.init();
    plot.plotXYSlot();
    QCOMPARE(recordedFolder("folder.txt"), AppConfig::getInstance().plotDir());
    QCOMPARE(QFileInfo(QDir::currentPath()).canonicalFilePath(), QFileInfo(m_fixture->dir()).canonicalFilePath());
}

void TestMatlabRuntime::libraryGetsPlotFoldersWithSpecialCharacters()
{
    const QString folder = m_fixture->path(QStringLiteral("飞行 Ω o'neil"));
    QVERIFY(QDir().mkpath(folder));
    const QDir own(QCoreApplication::applicationDirPath());
    for (const QFileInfo &file : own.entryInfoList(QDir::Files))
        QVERIFY(QFile::copy(file.filePath(), folder + '/' + file.fileName()));
    QProcess child;
    child.start(folder + '/' + QFileInfo(QCoreApplication::applicationFilePath()).fileName(), {"--alone"});
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("not failed"));
    QCOMPARE(recordedFolder("folder.txt"), folder + "/myPlot");
}

void TestMatlabRuntime::failureOfAPlotIsLoggedWithItsMessage()
{
    qputenv("STANDIN_RUNTIME", "no plot");
    MatlabPlot plot(nullptr);
    plot.init();
    const LogFile log;
    plot.plotXYZSlot();
    plot.plotXYSlot();
    plot.plotHeightSlot();
    plot.plotAttackSlot();
    QCOMPARE(log.leveledMessages(),
             (QStringList{"error: matlab plotXYZ mwException:Undefined function 'plot3'",
                          "error: matlab plotXY mwException:Undefined function 'plot3'",
                          "error: matlab plotHeight mwException:Undefined function 'plot3'",
                          "error: matlab plot attack mwException:Undefined function 'plot3'"}));
    QCOMPARE(alive(), 0);
}

void TestMatlabRuntime::failureOfAScalarIsLogged_data()
{
    QTest::addColumn<QByteArray>("word");
    QTest::addColumn<QString>("message");
    QTest::newRow("with an error") << QByteArray("no scalar, with an error") << "out of scalars";
    QTest::newRow("without") << QByteArray("no scalar") << "the MATLAB library made no scalar";
}

void TestMatlabRuntime::failureOfAScalarIsLogged()
{
    QFETCH(QByteArray, word);
    QFETCH(QString, message);
    MatlabPlot plot(nullptr);
    plot.init();
    qputenv("STANDIN_RUNTIME", word);
    const LogFile log;
    plot.plotHeightSlot();
    QCOMPARE(log.leveledMessages(), QStringList{"error: matlab plotHeight mwException:" + message});
    QCOMPARE(alive(), 0);
}

void TestMatlabRuntime::withoutTheLibraryTheInitialisationFails()
{
    // Each process searches the library only once, so this test starts a new process in a folder without the library.
    const QString program = QCoreApplication::applicationFilePath();
    const QString copy = m_fixture->path(QFileInfo(program).fileName());
    QVERIFY(QFile::copy(program, copy));
    QProcess child;
    child.start(copy, {"--alone"});
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("failed, matlabInitFailedSignal"));
}

void TestMatlabRuntime::missingLibraryIsNamedInTheLog()
{
    const QString program = QCoreApplication::applicationFilePath();
    const QString copy = m_fixture->path(QFileInfo(program).fileName());
    QVERIFY(QFile::copy(program, copy));
    QProcess child;
    child.start(copy, {"--complain"});
    QVERIFY(child.waitForFinished(60000));
    const QByteArray output = child.readAllStandardOutput();
    QCOMPARE(output.count("matlab library not loaded: "), 1);
    QVERIFY2(output.contains("mclmcrrt9_10"), output);
    // The only error message is that of the failed start.
    QCOMPARE(output.count("[error]"), 1);
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "--complain") == 0) {
        MatlabPlot plot(nullptr);
        plot.init();
        return 0;
    }
    if (argc == 2 && qstrcmp(argv[1], "--alone") == 0) {
        spdlog::set_level(spdlog::level::off);
        MatlabPlot plot(nullptr);
        const QSignalSpy failed(&plot, &MatlabPlot::matlabInitFailedSignal);
        plot.init();
        plot.plotHeightSlot();
        std::printf("%s\n", failed.count() == 1 ? "failed, matlabInitFailedSignal" : "not failed");
        return 0;
    }
    TestMatlabRuntime test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestMatlabRuntime.moc"
