#include "OctaveProcess.h"
#include "StandIn.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

/** Tests one engine process with a fake GNU Octave in PATH. The last test uses the real GNU Octave. */
class TestOctaveProcess : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsEvaluatedBeforeTheStart();
    void startNeedsAProgramThatAnswers_data();
    void startNeedsAProgramThatAnswers();
    void linesAreAnsweredInOrder();
    void endedEngineFailsEachFurtherLine();
    void programOfTheEngineIsPassedCompletely();
    void realOctaveEvaluatesAndReportsFailures();
};

void TestOctaveProcess::nothingIsEvaluatedBeforeTheStart()
{
    OctaveProcess octave;
    QCOMPARE(octave.evaluate("1"), std::optional<std::string>("GNU Octave does not run"));
}

void TestOctaveProcess::startNeedsAProgramThatAnswers_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("starts");
    QTest::newRow("answers") << QByteArray("read -r line; echo plot-engine:done; cat > /dev/null") << true;
    QTest::newRow("reports a failure") << QByteArray("read -r line; echo 'plot-engine:failed no file'; cat > /dev/null")
                                       << false;
    QTest::newRow("ends") << QByteArray("exit 0") << false;
    QTest::newRow("is not there") << QByteArray() << false;
}

void TestOctaveProcess::startNeedsAProgramThatAnswers()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, starts);
    StandIn standIn(StandIn::Path::Only);
    if (!script.isEmpty())
        standIn.program("octave", script);
    const QTemporaryDir folder;
    {
        OctaveProcess octave;
        QCOMPARE(octave.start(folder.path()), starts);
    }
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestOctaveProcess::linesAreAnsweredInOrder()
{
    StandIn standIn;
    standIn.program("octave",
                    "read -r line; echo plot-engine:done\n"
                    "while read -r line; do case $line in bad*) echo \"plot-engine:failed $line\";; "
                    "*) echo noise; echo plot-engine:done;; esac; done; echo plot-engine:done");
    const QTemporaryDir folder;
    OctaveProcess octave;
    QVERIFY(octave.start(folder.path()));
    QCOMPARE(octave.evaluate("good 1"), std::optional<std::string>());
    QCOMPARE(octave.evaluate("bad 2"), std::optional<std::string>("bad 2"));
    QCOMPARE(octave.evaluate("good 3"), std::optional<std::string>());
}

void TestOctaveProcess::endedEngineFailsEachFurtherLine()
{
    StandIn standIn;
    standIn.program("octave", "read -r line; echo plot-engine:done\nread -r line; echo 'the last word' >&2; exit 1");
    const QTemporaryDir folder;
    OctaveProcess octave;
    QVERIFY(octave.start(folder.path()));
    QCOMPARE(octave.evaluate("1"), std::optional<std::string>("GNU Octave ended or did not answer: the last word"));
    QCOMPARE(octave.evaluate("1"), std::optional<std::string>("GNU Octave does not run"));
}

void TestOctaveProcess::programOfTheEngineIsPassedCompletely()
{
    StandIn standIn;
    standIn.program("octave",
                    "for word; do :; done; printf %s \"$word\" > $here/loop\n"
                    "read -r line; echo plot-engine:done; cat > /dev/null");
    const QTemporaryDir folder;
    OctaveProcess octave;
    QVERIFY(octave.start(folder.path()));
    QFile file(QStringLiteral(OSTRAVEL_OCTAVE_LOOP));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(standIn.text("loop"), file.readAll());
}

void TestOctaveProcess::realOctaveEvaluatesAndReportsFailures()
{
    if (QStandardPaths::findExecutable("octave").isEmpty())
        QSKIP("GNU Octave is not installed");
    const QTemporaryDir folder;
    QFile function(folder.filePath("myMatlabPlot.m"));
    QVERIFY(function.open(QIODevice::WriteOnly));
    function.write("function myMatlabPlot(varargin)\nend\n");
    function.close();
    qputenv("OSTRAVEL_PLOT_FOLDER", "/somebody/else");
    OctaveProcess octave;
    const bool started = octave.start(folder.path());
    qunsetenv("OSTRAVEL_PLOT_FOLDER");
    QVERIFY(started);
    QCOMPARE(octave.evaluate("myMatlabPlot(int32(1))"), std::optional<std::string>());
    QCOMPARE(octave.evaluate("error('two\\nlines')"), std::optional<std::string>("two\\nlines"));
    QCOMPARE(octave.evaluate("error(\"two\\nlines\")"), std::optional<std::string>("two lines"));
    // The folder of the track files replaces the value in the environment.
    QCOMPARE(octave.evaluate("f = fopen('said', 'w'); fputs(f, getenv('OSTRAVEL_PLOT_FOLDER')); fclose(f);"),
             std::optional<std::string>());
    QFile said(folder.filePath("said"));
    QVERIFY(said.open(QIODevice::ReadOnly));
    QCOMPARE(QFileInfo(QFile::decodeName(said.readAll())).canonicalFilePath(),
             QFileInfo(folder.path()).canonicalFilePath());
}

QTEST_GUILESS_MAIN(TestOctaveProcess)
#include "TestOctaveProcess.moc"
