#include "Fifo.h"
#include "Fixture.h"
#include "LogFile.h"
#include "OrdinaryUser.h"
#include "TxtOperator.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTest>
#include <QTextStream>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>

namespace
{

const QByteArray kLineEnd(QSysInfo::kernelType() == QLatin1String("winnt") ? "\r\n" : "\n");

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QStringList texts(const QSignalSpy &spy)
{
    QStringList result;
    for (const QList<QVariant> &arguments : spy)
        result.append(arguments.first().toString());
    return result;
}

} // namespace

class TestTxtOperator : public QObject
{
    Q_OBJECT

private slots:
    void startsWithoutAName();
    void opensAsText();
    void emptyNameIsReported_data();
    void emptyNameIsReported();
    void failedOpenIsReported_data();
    void failedOpenIsReported();
    void closeReturnsTrue();
    void closingAClosedFileReturnsTrue();
    void exceptionAtClosingIsReported();
    void trackHasThreeColumnsSeparatedByTabs();
    void trackNumbersAreThoseOfAStream();
    void emptyTrackIsAFileOfZeroBytes();
    void trackReplacesALongerFile();
    void lengthOfTheFirstSeriesCounts();
    void longTrackIsWrittenWhole();
    void trackWithoutAFolderIsReported();
    void trackOntoAFolderIsReported();
    void trackOntoAProtectedFileLeavesItAsItWas();
    void trackOntoANonRegularFileIsReported_data();
    void trackOntoANonRegularFileIsReported();
    void trackMessageIsNotTranslated();
    void trackThatTheDiskCannotHoldIsLogged_data();
    void trackThatTheDiskCannotHoldIsLogged();
};

void TestTxtOperator::startsWithoutAName()
{
    TxtOperator txtOperator;
    QVERIFY(txtOperator.fileName().isEmpty());
    QVERIFY(!txtOperator.file().isOpen());
}

void TestTxtOperator::opensAsText()
{
    const Fixture fixture;
    write(fixture.path("log.txt"), "AA\r\nEC\n");
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    txtOperator.setFileName(fixture.path("log.txt"));
    QVERIFY(txtOperator.openFile(QIODevice::ReadOnly));
    QVERIFY(txtOperator.file().isOpen());
    QVERIFY(txtOperator.file().isTextModeEnabled());
    QVERIFY(!txtOperator.file().isWritable());
    QCOMPARE(txtOperator.file().readAll(), QByteArray("AA\nEC\n"));
    QCOMPARE(spy.count(), 0);
}

void TestTxtOperator::emptyNameIsReported_data()
{
    QTest::addColumn<bool>("catalogue");
    QTest::addColumn<QString>("message");
    QTest::newRow("Chinese") << true << QStringLiteral("文件名为空");
    QTest::newRow("without the catalogue") << false << QStringLiteral("file name is empty");
}

void TestTxtOperator::emptyNameIsReported()
{
    QFETCH(bool, catalogue);
    QFETCH(QString, message);
    const Fixture fixture(catalogue ? Fixture::Catalogue::Installed : Fixture::Catalogue::Missing);
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(!txtOperator.openFile(QIODevice::ReadOnly));
    QCOMPARE(texts(spy), QStringList{message});
    QVERIFY(!txtOperator.file().isOpen());
}

void TestTxtOperator::failedOpenIsReported_data()
{
    QTest::addColumn<bool>("catalogue");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QString>("message");
    QTest::newRow("no such file, Chinese") << true << false << QStringLiteral("打开文件失败");
    QTest::newRow("a folder, Chinese") << true << true << QStringLiteral("打开文件失败");
    QTest::newRow("no such file, without the catalogue") << false << false << QStringLiteral("open file failed");
}

void TestTxtOperator::failedOpenIsReported()
{
    QFETCH(bool, catalogue);
    QFETCH(bool, folder);
    QFETCH(QString, message);
    const Fixture fixture(catalogue ? Fixture::Catalogue::Installed : Fixture::Catalogue::Missing);
    const QString path = fixture.path("x.txt");
    if (folder)
        QVERIFY(QDir().mkdir(path));
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    txtOperator.setFileName(path);
    QVERIFY(!txtOperator.openFile(QIODevice::ReadOnly));
    QCOMPARE(texts(spy), QStringList{message});
    QVERIFY(!txtOperator.file().isOpen());
}

void TestTxtOperator::closeReturnsTrue()
{
    const Fixture fixture;
    write(fixture.path("log.txt"), "AA\n");
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    txtOperator.setFileName(fixture.path("log.txt"));
    QVERIFY(txtOperator.openFile(QIODevice::ReadOnly));
    QVERIFY(txtOperator.closeFile());
    QVERIFY(!txtOperator.file().isOpen());
    QCOMPARE(spy.count(), 0);
}

void TestTxtOperator::closingAClosedFileReturnsTrue()
{
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(txtOperator.closeFile());
    QCOMPARE(spy.count(), 0);
}

void TestTxtOperator::exceptionAtClosingIsReported()
{
    const Fixture fixture;
    write(fixture.path("log.txt"), "AA\n");
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    txtOperator.setFileName(fixture.path("log.txt"));
    QVERIFY(txtOperator.openFile(QIODevice::ReadOnly));
    const auto connection
        = connect(&txtOperator.file(), &QIODevice::aboutToClose, this, [] { throw std::runtime_error("close"); });
    const bool result = txtOperator.closeFile();
    disconnect(connection);
    QVERIFY(result);
    QCOMPARE(texts(spy), QStringList{QStringLiteral("关闭文件时发生异常")});
}

void TestTxtOperator::trackHasThreeColumnsSeparatedByTabs()
{
    const Fixture fixture;
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), {1.0, -2.5}, {0.0, 3.0}, {100.0, 1e-7}));
    QCOMPARE(content(fixture.path("t.txt")), QByteArray("1\t0\t100") + kLineEnd + "-2.5\t3\t1e-07" + kLineEnd);
    QCOMPARE(spy.count(), 0);
}

void TestTxtOperator::trackNumbersAreThoseOfAStream()
{
    const Fixture fixture;
    TxtOperator txtOperator;
    const double infinity = std::numeric_limits<double>::infinity();
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), {1234567.8, 123456.0, -0.0}, {113.91378, 0.0001, infinity},
                                   {0.00001, 123456.5, std::nan("")}));
    QCOMPARE(content(fixture.path("t.txt")),
             QByteArray("1.23457e+06\t113.914\t1e-05") + kLineEnd + "123456\t0.0001\t123457" + kLineEnd + "0\tinf\tnan"
                 + kLineEnd);
}

void TestTxtOperator::emptyTrackIsAFileOfZeroBytes()
{
    const Fixture fixture;
    TxtOperator txtOperator;
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), {}, {}, {}));
    QVERIFY(QFileInfo::exists(fixture.path("t.txt")));
    QCOMPARE(QFileInfo(fixture.path("t.txt")).size(), qint64(0));
}

void TestTxtOperator::trackReplacesALongerFile()
{
    const Fixture fixture;
    write(fixture.path("t.txt"), QByteArray(100000, 'x'));
    TxtOperator txtOperator;
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), {1.0}, {2.0}, {3.0}));
    QCOMPARE(content(fixture.path("t.txt")), QByteArray("1\t2\t3") + kLineEnd);
}

void TestTxtOperator::lengthOfTheFirstSeriesCounts()
{
    const Fixture fixture;
    TxtOperator txtOperator;
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), {1.0}, {2.0, 8.0}, {3.0, 9.0, 10.0}));
    QCOMPARE(content(fixture.path("t.txt")), QByteArray("1\t2\t3") + kLineEnd);
}

void TestTxtOperator::longTrackIsWrittenWhole()
{
    const Fixture fixture;
    std::mt19937 random(18);
    std::uniform_real_distribution<double> metres(-50000.0, 50000.0);
    std::vector<double> a, b, c;
    QByteArray expected;
    QTextStream stream(&expected);
    for (int i = 0; i < 50000; ++i) {
        a.push_back(double(float(metres(random))));
        b.push_back(double(float(metres(random))));
        c.push_back(std::round(metres(random)) / 100.0);
        stream << a.back() << '\t' << b.back() << '\t' << c.back() << QString::fromLatin1(kLineEnd);
    }
    stream.flush();
    TxtOperator txtOperator;
    QVERIFY(txtOperator.writeTrack(fixture.path("t.txt"), a, b, c));
    QVERIFY(content(fixture.path("t.txt")) == expected);
}

void TestTxtOperator::trackWithoutAFolderIsReported()
{
    const Fixture fixture;
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(!txtOperator.writeTrack(fixture.path("missing/t.txt"), {1.0}, {2.0}, {3.0}));
    QCOMPARE(texts(spy), QStringList{QStringLiteral("write data txt failed")});
    QVERIFY(!QFileInfo::exists(fixture.path("missing")));
}

void TestTxtOperator::trackOntoAFolderIsReported()
{
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("t.txt")));
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(!txtOperator.writeTrack(fixture.path("t.txt"), {1.0}, {2.0}, {3.0}));
    QCOMPARE(texts(spy), QStringList{QStringLiteral("write data txt failed")});
}

void TestTxtOperator::trackOntoAProtectedFileLeavesItAsItWas()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    const QString path = fixture.path("t.txt");
    write(path, "old\n");
    QVERIFY(letOthersRead(path));
    // The child needs access to the folders above the file; otherwise it fails for another reason.
    QVERIFY(letOthersRead(fixture.dir()));
    const int code = asOrdinaryUser([&] {
        if (content(path) != "old\n")
            return 1;
        TxtOperator txtOperator;
        const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
        if (txtOperator.writeTrack(path, {1.0}, {2.0}, {3.0}))
            return 2;
        return texts(spy) == QStringList{QStringLiteral("write data txt failed")} ? 0 : 3;
    });
    QCOMPARE(code, 0);
    QCOMPARE(content(path), QByteArray("old\n"));
}

void TestTxtOperator::trackOntoANonRegularFileIsReported_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("pipe") << QString();
    QTest::newRow("link to a pipe") << "pipe";
    QTest::newRow("link to a device") << "/dev/null";
}

void TestTxtOperator::trackOntoANonRegularFileIsReported()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its writer");
    const Fixture fixture;
    QFETCH(QString, target);
    const QString path = fixture.path("data.txt");
    const Fifo fifo(target.isEmpty() ? path : fixture.path("pipe"));
    QVERIFY(fifo.isValid());
    if (!target.isEmpty())
        QVERIFY(QFile::link(QDir(fixture.dir()).absoluteFilePath(target), path));
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(!txtOperator.writeTrack(path, {1.0}, {2.0}, {3.0}));
    QCOMPARE(texts(spy), QStringList{QStringLiteral("write data txt failed")});
    QVERIFY(!fifo.wasOpened());
}

void TestTxtOperator::trackMessageIsNotTranslated()
{
    // The text is the same with and without the catalogue; the tests above have it installed.
    const Fixture fixture(Fixture::Catalogue::Missing);
    TxtOperator txtOperator;
    const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
    QVERIFY(!txtOperator.writeTrack(QString(), {}, {}, {}));
    QCOMPARE(texts(spy), QStringList{QStringLiteral("write data txt failed")});
}

void TestTxtOperator::trackThatTheDiskCannotHoldIsLogged_data()
{
    QTest::addColumn<int>("rows");
    // Lines of six bytes, against a limit of 1 MiB for a file.
    QTest::newRow("full in the middle") << 1000000;
    QTest::newRow("full at the very end") << (1 << 20) / 6 + 1;
}

void TestTxtOperator::trackThatTheDiskCannotHoldIsLogged()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    QFETCH(int, rows);
    const QString path = fixture.path("t.txt");
    const std::vector<double> series(static_cast<std::size_t>(rows), 1.0);
    const LogFile log;
    QVERIFY(letOthersWrite(fixture.dir()));
    const int code = asOrdinaryUser([&] {
        limitFileSize(1 << 20);
        TxtOperator txtOperator;
        const QSignalSpy spy(&txtOperator, &TxtOperator::statusFeedbackSignal);
        // The result depends only on whether the file could be opened.
        if (!txtOperator.writeTrack(path, series, series, series))
            return 1;
        return spy.isEmpty() ? 0 : 2;
    });
    QCOMPARE(code, 0);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.leveledMessages().first().startsWith("error: track file is cut short: "));
    QVERIFY(log.leveledMessages().first().endsWith(QString::fromLocal8Bit(strerror(EFBIG))));
    // What fitted is in the file.
    QVERIFY(QByteArray("1\t1\t1\n").repeated(rows).startsWith(content(path)));
    QVERIFY(QFileInfo(path).size() > 900000);
}

QTEST_GUILESS_MAIN(TestTxtOperator)
#include "TestTxtOperator.moc"
