#include "Fixture.h"
#include "LogFile.h"
#include "MatlabPlot.h"

#include <QSignalSpy>
#include <QTest>

/** MatlabPlot over a library that exports its plot under MSVC's decorated name only, as a stand-in beside this program.
 */
class TestForeignMatlabRuntime : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        qunsetenv("STANDIN_RUNTIME");
        m_fixture.reset();
    }

    void plotIsFoundUnderTheOtherDecoratedName();
    void exceptionOfTheOtherCompilerIsCaughtAndLogged();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestForeignMatlabRuntime::plotIsFoundUnderTheOtherDecoratedName()
{
    MatlabPlot plot(nullptr);
    const QSignalSpy finished(&plot, &MatlabPlot::initFinished);
    plot.init();
    QCOMPARE(finished.count(), 1);
    const LogFile log;
    plot.plotHeightSlot();
    plot.plotAttackSlot();
    QCOMPARE(log.messages(), QStringList());
    QFile file("plots.txt");
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("1 1 1 1 0 1 1 0 \n1 1 1 2 0 1 1 1 \n"));
}

void TestForeignMatlabRuntime::exceptionOfTheOtherCompilerIsCaughtAndLogged()
{
    MatlabPlot plot(nullptr);
    plot.init();
    qputenv("STANDIN_RUNTIME", "no plot");
    const LogFile log;
    plot.plotXYZSlot();
    qunsetenv("STANDIN_RUNTIME");
    plot.plotXYSlot(); // the program goes on
    QCOMPARE(log.leveledMessages(),
             QStringList{"error: matlab plotXYZ mwException:the library failed; its compiler is another one, so its "
                         "message is lost"});
    QVERIFY(QFile::exists("plots.txt"));
}

QTEST_GUILESS_MAIN(TestForeignMatlabRuntime)
#include "TestForeignMatlabRuntime.moc"
