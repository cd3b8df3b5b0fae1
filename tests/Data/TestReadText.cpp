#include "DataHandler.h"
#include "DebugOutput.h"
#include "Fifo.h"
#include "Fixture.h"
#include "FrameText.h"
#include "LocaleCodec.h"
#include "LogFile.h"
#include "OrdinaryUser.h"
#include "ReadRecorder.h"
#include "TxtOperator.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <QTextCodec>

#include <stdexcept>

namespace
{

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** A short flight with all inputs of the derivations: clock, twelve heartbeats, positions, targets. */
QStringList shortFlight()
{
    QStringList lines;
    for (int i = 0; i < 12; ++i) {
        lines << FrameText(0x01).set("HBS_Lng", 114.0 + i * 0.001).set("HBS_Lat", 34.0).text()
              << FrameText(0x03)
                     .set("PGS_GPS_SatelliteCount", 12)
                     .set("PGS_GPS_Lng", 114.01)
                     .set("PGS_GPS_Lat", 34.0 + i * 0.0001)
                     .set("PGS_GPS_Relative_Height", 50)
                     .set("PGS_Roll", 10)
                     .set("PGS_GroundSpeed", 20)
                     .set("PGS_UpSkySpeed", 20)
                     .text()
              << FrameText(0x02)
                     .set("FSS_Month", 7)
                     .set("FSS_Date", 4)
                     .set("FSS_Hours", 10)
                     .set("FSS_Minutes", 11)
                     .set("FSS_Seconds", 12)
                     .set("FSS_SubFlightMode", i >= 6 ? 26 : 5)
                     .text()
              << FrameText(0x04).text() << FrameText(0x05).set("FTP_TargetRoll", 4).text();
    }
    return lines;
}

} // namespace

class TestReadText : public QObject
{
    Q_OBJECT

private slots:
    void emptyPathIsOnlyReported();
    void suffixIsWrittenToTheDebugOutput_data();
    void suffixIsWrittenToTheDebugOutput();
    void readOfATextLogHasTheExpectedSteps();
    void messagesAreEnglishWithoutTheCatalogue();
    void readWithThePlaneFilterLogsItsPlane();
    void otherSuffixesFinishWithZerosWithoutOpeningAFile_data();
    void otherSuffixesFinishWithZerosWithoutOpeningAFile();
    void finalTotalIsTruncatedTo32Bits();
    void suffixStartsAfterTheLastDot();
    void missingFileFinishesTwiceWithZeros();
    void folderNamedAsALogFinishesTwiceWithZeros();
    void fileThatIsNotRegularFinishesTwiceWithZeros_data();
    void fileThatIsNotRegularFinishesTwiceWithZeros();
    void linkedLogIsRead();
    void unreadableFileFinishesTwiceWithZeros();
    void fileDeletedAtTheStartIsReported();
    void countersStartAtZero();
    void readySignalComesBeforeTheCountersAreReset();
    void failedOpenFinishesWithZerosDespiteOldCounts();
    void frameCountIsTruncatedTo16Bits();
    void derivationsRunBetweenTheirProgressSteps();
    void startTimeOfTheUserIsKept();
    void exceptionInTheDifferencesIsLoggedAndTheReadContinues();
    void trackFilesAreWrittenAndReplaced();
    void attackTrackIsWrittenLast();
    void trackFilesThatCannotBeWrittenAreReportedTwice();
    void emptyLogLeavesTwoEmptyTrackFiles();
    void damagedFilesAreCounted_data();
    void damagedFilesAreCounted();
    void utf16LogWithByteOrderMarkIsDecoded();
    void randomBytesAreCountedAsErrors();
    void lineOf200MegabytesUsesLimitedMemory_data();
    void lineOf200MegabytesUsesLimitedMemory();
    void logTruncatedDuringTheReadIsReported_data();
    void logTruncatedDuringTheReadIsReported();
    void readErrorIsReported();
    void fileIsClosedAfterTheRead();
    void decodeDataReturnsTrue();
};

void TestReadText::emptyPathIsOnlyReported()
{
    const Fixture fixture;
    DataHandler handler;
    ReadRecorder recorder(handler);
    const DebugOutput debug;
    handler.readDataSlot(QString());
    QCOMPARE(recorder.events(), QStringList{"status file is empty"});
    QVERIFY(debug.entries().isEmpty());
    QVERIFY(!QFileInfo::exists(fixture.applicationPath("myPlot/data.txt")));
}

void TestReadText::suffixIsWrittenToTheDebugOutput_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("suffix");
    QTest::newRow("txt") << QStringLiteral("flight.txt") << QStringLiteral("txt");
    QTest::newRow("other") << QStringLiteral("flight.sqlite") << QStringLiteral("sqlite");
    QTest::newRow("none") << QStringLiteral("flight") << QString();
}

void TestReadText::suffixIsWrittenToTheDebugOutput()
{
    const Fixture fixture;
    QFETCH(QString, name);
    QFETCH(QString, suffix);
    writeLines(fixture.path(name), {});
    DataHandler handler;
    const DebugOutput debug;
    handler.readDataSlot(fixture.path(name));
    QCOMPARE(debug.entries().size(), 1);
    QCOMPARE(debug.entries().first().type, QtDebugMsg);
    // QDebug may put quotes around a string.
    QCOMPARE(debug.texts().first().remove('"').trimmed(), suffix);
}

void TestReadText::readOfATextLogHasTheExpectedSteps()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    // The text has 25 + 13 + 51 bytes; the frames have 12, 0 and 25 bytes.
    writeLines(path, {FrameText(0x52).text(), "recor:: zzzz", FrameText(0x06).resize(25).text()});
    QCOMPARE(QFileInfo(path).size(), qint64(89));
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QCOMPARE(recorder.events(),
             (QStringList{"ready", "process 1 89", "info: start decode data", "status 开始解析数据", "process -28 89",
                          // "recor" contains the digits e and c.
                          "process -27 89", "info: error data :recor:: zzzz", "process -2 89",
                          "status 文件解析成功,处理数据..."}
              + endOfRead(89, 3, 1)));
    QCOMPARE(handler.total(), qint64(89));
    QCOMPARE(handler.processed(), qint64(38));
}

void TestReadText::messagesAreEnglishWithoutTheCatalogue()
{
    const Fixture fixture(Fixture::Catalogue::Missing);
    writeLines(fixture.path("flight.txt"), {});
    DataHandler handler;
    const QSignalSpy spy(&handler, &DataHandler::statusFeedbackSignal);
    handler.readDataSlot(fixture.path("flight.txt"));
    handler.readDataSlot(fixture.path("missing.txt"));
    QStringList texts;
    for (const QList<QVariant> &arguments : spy)
        texts.append(arguments.first().toString());
    QCOMPARE(texts,
             (QStringList{"start decoding data", "decode sucess, handling data...", "data handing finished",
                          "open file failed", "file open failed", "data handing finished"}));
}

void TestReadText::readWithThePlaneFilterLogsItsPlane()
{
    const Fixture fixture;
    selectedPlaneEnabled = true;
    selectedPlaneId = 3;
    writeLines(fixture.path("flight.txt"),
               {FrameText(0x52, 3).text(), FrameText(0x52, 4).text(), FrameText(0x06, 3).text(), "x"});
    const int total = int(QFileInfo(fixture.path("flight.txt")).size());
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(fixture.path("flight.txt"));
    const QStringList end = endOfRead(total, 4, 1, 2, 3);
    QCOMPARE(recorder.events().mid(recorder.events().size() - end.size()), end);
}

void TestReadText::otherSuffixesFinishWithZerosWithoutOpeningAFile_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"flight.TXT", "flight.Txt", "flight.DB", "flight.sqlite", "flight.txt.bak", "flight",
                             "flight.txt ", "flight.", "flight.db3"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestReadText::otherSuffixesFinishWithZerosWithoutOpeningAFile()
{
    const Fixture fixture;
    QFETCH(QString, name);
    writeLines(fixture.path(name), {FrameText(0x52).text()});
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(fixture.path(name));
    QCOMPARE(recorder.events(), endOfRead(0, 0, 0));
    QVERIFY(!handler.fileOperator());
    QVERIFY(QFileInfo::exists(fixture.applicationPath("myPlot/data.txt")));
}

void TestReadText::finalTotalIsTruncatedTo32Bits()
{
    const Fixture fixture;
    DataHandler handler;
    handler.setTotal((qint64(7) << 32) + 9);
    ReadRecorder recorder(handler);
    handler.readDataSlot(fixture.path("flight.sqlite"));
    QCOMPARE(recorder.events().filter("process"),
             (QStringList{"process -21 9", "process -11 9", "process -1 9", "process 9 9"}));
}

void TestReadText::suffixStartsAfterTheLastDot()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.db.txt"), {FrameText(0x52).text()});
    DataHandler handler;
    handler.readDataSlot(fixture.path("flight.db.txt"));
    QCOMPARE(int(handler.frameTotal()), 1);
}

void TestReadText::missingFileFinishesTwiceWithZeros()
{
    const Fixture fixture;
    const QString path = fixture.path("missing.txt");
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QCOMPARE(recorder.events(),
             (QStringList{"ready", "process 1 0", "status 打开文件失败", "status 文件打开失败", "process 0 0",
                          "finished 0 0 0", "warning: open file error:" + path}
              + endOfRead(0, 0, 0)));
    QVERIFY(!QFileInfo::exists(path));
}

void TestReadText::folderNamedAsALogFinishesTwiceWithZeros()
{
    const Fixture fixture;
    const QString path = fixture.path("x.txt");
    QVERIFY(QDir().mkdir(path));
    const int total = int(QFileInfo(path).size());
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QCOMPARE(
        recorder.events(),
        (QStringList{"ready", QStringLiteral("process 1 %1").arg(total), "status 打开文件失败", "status 文件打开失败",
                     QStringLiteral("process 0 %1").arg(total), "finished 0 0 0", "warning: open file error:" + path}
         + endOfRead(total, 0, 0)));
}

void TestReadText::fileThatIsNotRegularFinishesTwiceWithZeros_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("pipe") << QString();
    QTest::newRow("link to a pipe") << "pipe";
    QTest::newRow("link to a device") << "/dev/null";
}

void TestReadText::fileThatIsNotRegularFinishesTwiceWithZeros()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its reader");
    const Fixture fixture;
    QFETCH(QString, target);
    const QString path = fixture.path("flight.txt");
    const Fifo fifo(target.isEmpty() ? path : fixture.path("pipe"));
    QVERIFY(fifo.isValid());
    if (!target.isEmpty())
        QVERIFY(QFile::link(QDir(fixture.dir()).absoluteFilePath(target), path));
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QVERIFY(!fifo.wasOpened());
    QCOMPARE(recorder.events(),
             (QStringList{"ready", "process 1 0", "status 打开文件失败", "status 文件打开失败", "process 0 0",
                          "finished 0 0 0", "warning: open file error:" + path}
              + endOfRead(0, 0, 0)));
}

void TestReadText::linkedLogIsRead()
{
    if (!hasFifos())
        QSKIP("QFile::link() makes a shortcut, which needs a name of its own");
    const Fixture fixture;
    writeLines(fixture.path("original"), {FrameText(0x52).text()});
    QVERIFY(QFile::link(fixture.path("original"), fixture.path("flight.txt")));
    DataHandler handler;
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(handler.total(), QFileInfo(fixture.path("original")).size());
}

void TestReadText::unreadableFileFinishesTwiceWithZeros()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, {FrameText(0x52).text()});
    QVERIFY(letNobodyRead(path));
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(fixture.letOthersWriteTracks());
    const QStringList expected = QStringList{"ready",
                                             "process 1 25",
                                             "status 打开文件失败",
                                             "status 文件打开失败",
                                             "process 0 25",
                                             "finished 0 0 0",
                                             "warning: open file error:" + path}
        + endOfRead(25, 0, 0);
    const int code = asOrdinaryUser([&] {
        DataHandler handler;
        ReadRecorder recorder(handler);
        handler.readDataSlot(path);
        return recorder.events() == expected ? 0 : 1;
    });
    QCOMPARE(code, 0);
}

void TestReadText::fileDeletedAtTheStartIsReported()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, {FrameText(0x52).text()});
    DataHandler handler;
    connect(&handler, &DataHandler::doHandleReady, &handler, [&] { QVERIFY(QFile::remove(path)); });
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QCOMPARE(recorder.events().filter("finished"), (QStringList{"finished 0 0 0", "finished 0 0 0"}));
    QVERIFY(recorder.events().contains("warning: open file error:" + path));
}

void TestReadText::countersStartAtZero()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.txt"), {FrameText(0x52).text(), "x"});
    DataHandler handler;
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    for (int i = 0; i < 5; ++i) {
        handler.decodeLine(FrameText(0x52).text());
        handler.decodeLine("x");
    }
    handler.setTotal(999);
    const QSignalSpy spy(&handler, &DataHandler::readDataFinishedSinal);
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first(),
             (QList<QVariant>{QVariant::fromValue(ushort(2)), QVariant::fromValue(ushort(1)),
                              QVariant::fromValue(ushort(1))}));
    QCOMPARE(handler.processed(), qint64(12));
    QCOMPARE(handler.total(), qint64(27));
}

void TestReadText::readySignalComesBeforeTheCountersAreReset()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.txt"), {FrameText(0x52).text()});
    DataHandler handler;
    handler.decodeLine("x");
    handler.setTotal(999);
    int ready = 0;
    connect(&handler, &DataHandler::doHandleReady, &handler, [&] {
        ++ready;
        QCOMPARE(handler.total(), qint64(999));
        QCOMPARE(int(handler.frameTotal()), 1);
        QCOMPARE(int(handler.frameError()), 1);
    });
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(ready, 1);
    QCOMPARE(handler.total(), qint64(25));
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), 0);
}

void TestReadText::failedOpenFinishesWithZerosDespiteOldCounts()
{
    const Fixture fixture;
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    DataHandler handler;
    bool counted = false;
    connect(&handler, &DataHandler::process, &handler, [&] {
        if (counted)
            return;
        counted = true;
        handler.decodeLine(FrameText(0x52, 1).text());
        handler.decodeLine("x");
    });
    ReadRecorder recorder(handler);
    handler.readDataSlot(fixture.path("missing.txt"));
    QCOMPARE(recorder.events().filter("finished"), (QStringList{"finished 0 0 0", "finished 2 1 1"}));
}

void TestReadText::frameCountIsTruncatedTo16Bits()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeBytes(path, (FrameText(0x52).text() + '\n').toLatin1().repeated(70000));
    DataHandler handler;
    const QSignalSpy finished(&handler, &DataHandler::readDataFinishedSinal);
    const LogFile log;
    handler.readDataSlot(path);
    // 70000 - 65536
    QCOMPARE(finished.count(), 1);
    QCOMPARE(int(finished.first().at(0).value<ushort>()), 4464);
    QCOMPARE(int(finished.first().at(1).value<ushort>()), 0);
    QCOMPARE(log.leveledMessages().filter("total frame"), QStringList{"info: total frame cnt is 4464"});
}

void TestReadText::derivationsRunBetweenTheirProgressSteps()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, shortFlight());
    const int total = int(QFileInfo(path).size());
    const QDateTime before(QDate(2001, 1, 1), QTime(1, 2, 3));
    const QDateTime start(QDate(2023, 7, 4), QTime(10, 11, 12));
    startDateTime = before;
    trackX = {-1.0};
    const QString data = fixture.applicationPath("myPlot/data.txt");
    const QString attack = fixture.applicationPath("myPlot/data_attack.txt");

    DataHandler handler;
    QList<int> steps;
    // Checked inside the slot, because later steps change the state.
    connect(&handler, &DataHandler::process, &handler, [&](int now, int) {
        if (now < total - 30 || now == 1)
            return;
        steps.append(now - total);
        QCOMPARE(startDateTime == start, now > total - 30);
        QCOMPARE(startDateTime == before, now == total - 30);
        // The tenth heartbeat from the end is the third.
        QCOMPARE(originLng == float(114.002), now > total - 30);
        QCOMPARE(trackX.size() == 12, now > total - 20);
        QCOMPARE(attackTrackX.size() == 6, now > total - 20);
        QCOMPARE(QFileInfo::exists(data), now > total - 20);
        QCOMPARE(QFileInfo::exists(attack), now > total - 20);
        QCOMPARE(differenceGraphs[1]->yvalue().isEmpty(), now < total);
        QCOMPARE(backupGraph->yvalue().isEmpty(), now < total);
    });
    handler.readDataSlot(path);
    QCOMPARE(steps, (QList<int>{-30, -20, -10, 0}));
    QCOMPARE(differenceGraphs[1]->yvalue(), QVector<double>(12, 6.0));
    QCOMPARE(backupGraph->yvalue().size(), 12);
    QCOMPARE(backupGraph->yvalue().first(), 45.0);
}

void TestReadText::startTimeOfTheUserIsKept()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.txt"), shortFlight());
    const QDateTime chosen(QDate(2019, 5, 6), QTime(7, 8, 9));
    startTimeFromUser = true;
    startDateTime = chosen;
    DataHandler handler;
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(startDateTime, chosen);
    QCOMPARE(startTimeFromUser, true);
}

void TestReadText::exceptionInTheDifferencesIsLoggedAndTheReadContinues()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, shortFlight());
    const int total = int(QFileInfo(path).size());
    DataHandler handler;
    ReadRecorder recorder(handler);
    connect(&handler, &DataHandler::process, &handler, [&](int now, int) {
        if (now == total - 10)
            QMetaObject::invokeMethod(
                &handler, [] { throw std::runtime_error("inside the event loop"); }, Qt::QueuedConnection);
    });
    handler.readDataSlot(path);
    QStringList end = endOfRead(total, 60, 0);
    end.insert(end.indexOf("info: start cal factors") + 1, "warning: when cal factor, data count is not equal");
    QCOMPARE(recorder.events().mid(recorder.events().size() - end.size()), end);
    QCOMPARE(backupGraph->yvalue().size(), 12);
}

void TestReadText::trackFilesAreWrittenAndReplaced()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    const QString data = fixture.applicationPath("myPlot/data.txt");
    const QString attack = fixture.applicationPath("myPlot/data_attack.txt");
    writeBytes(data, QByteArray(100000, 'x'));
    writeBytes(attack, QByteArray(100000, 'x'));
    writeLines(path, shortFlight());
    DataHandler handler;
    handler.readDataSlot(path);
    QCOMPARE(content(data).count('\n'), 12);
    QCOMPARE(content(attack).count('\n'), 6);
    QVERIFY(!content(data).contains('x') && !content(attack).contains('x'));
    QVERIFY(content(data).endsWith(content(attack)));
    QCOMPARE(content(data).split('\n').first().split('\t').size(), 3);
    QCOMPARE(content(data).split('\n').first().trimmed().split('\t').last(), QByteArray("50"));
}

void TestReadText::attackTrackIsWrittenLast()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, shortFlight());
    // Both tracks use the same file, so the file contains the track that is written last.
    AppConfig &config = AppConfig::getInstance();
    config.getAttackDataPath() = config.getDataPath();
    DataHandler handler;
    handler.readDataSlot(path);
    QCOMPARE(int(trackX.size()), 12);
    QCOMPARE(int(attackTrackX.size()), 6);
    QCOMPARE(content(config.getDataPath()).count('\n'), 6);
}

void TestReadText::trackFilesThatCannotBeWrittenAreReportedTwice()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    writeLines(path, {FrameText(0x52).text()});
    QVERIFY(QDir(fixture.applicationPath("myPlot")).removeRecursively());
    for (const QString &name : {path, fixture.path("flight.sqlite")}) {
        Fixture::renewStore();
        DataHandler handler;
        ReadRecorder recorder(handler);
        handler.readDataSlot(name);
        const QStringList events = recorder.events();
        QCOMPARE(events.count("status write data txt failed"), 2);
        const int total = int(handler.total());
        QVERIFY(events.indexOf("status write data txt failed")
                > events.indexOf(QStringLiteral("process %1 %2").arg(total - 20).arg(total)));
        QVERIFY(events.lastIndexOf("status write data txt failed")
                < events.indexOf(QStringLiteral("process %1 %2").arg(total - 10).arg(total)));
        QVERIFY(events.last().startsWith("finished"));
    }
}

void TestReadText::emptyLogLeavesTwoEmptyTrackFiles()
{
    const Fixture fixture;
    writeBytes(fixture.applicationPath("myPlot/data.txt"), "old");
    writeLines(fixture.path("flight.txt"), {});
    const float lat = originLat;
    const float lng = originLng;
    const double scale = longitudeScale;
    const QDateTime start = startDateTime;
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(recorder.events(),
             (QStringList{"ready", "process 1 0", "info: start decode data", "status 开始解析数据",
                          "status 文件解析成功,处理数据..."}
              + endOfRead(0, 0, 0)));
    QVERIFY(QFileInfo::exists(fixture.applicationPath("myPlot/data_attack.txt")));
    QCOMPARE(content(fixture.applicationPath("myPlot/data.txt")), QByteArray());
    QCOMPARE(content(fixture.applicationPath("myPlot/data_attack.txt")), QByteArray());
    QVERIFY(originLat == lat && originLng == lng && longitudeScale == scale);
    QCOMPARE(startDateTime, start);
}

void TestReadText::damagedFilesAreCounted_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("wrong");
    QTest::addColumn<int>("backups"); // samples of BU_SpeedAngle; 0x52 frames are the valid frames

    const QByteArray good = FrameText(0x52).text().toLatin1();
    QTest::newRow("CR LF line ends") << good + "\r\n" + good + "\r\n" << 2 << 0 << 2;
    QTest::newRow("mixed line ends") << good + "\n" + good + "\r\n" + good << 3 << 0 << 3;
    QTest::newRow("no line break after the last line") << good + "\n" + good << 2 << 0 << 2;
    QTest::newRow("truncated last line") << good + "\nAAEC01" << 2 << 1 << 1;
    QTest::newRow("last line truncated inside its fields") << good + "\n" + good.left(20) << 2 << 0 << 2;
    QTest::newRow("blank lines") << QByteArray("\n\n\n\n\n") << 5 << 5 << 0;
    QTest::newRow("blank lines with CR LF") << QByteArray("\r\n\r\n\r\n") << 3 << 3 << 0;
    QTest::newRow("blank lines between") << good + "\n\n" + good + "\n\n" << 4 << 2 << 2;
    QTest::newRow("no line ends at all: one frame") << good + good + good << 1 << 0 << 1;
    QTest::newRow("UTF-8 with a mark") << QByteArray("\xEF\xBB\xBF") + good + "\n" + good + "\n" << 2 << 0 << 2;
    QTest::newRow("text") << QByteArray("hello\nworld\n") << 2 << 2 << 0;
    QTest::newRow("Chinese text between") << good + "\n" + QByteArray("记录\n") + good + "\n" << 3 << 1 << 2;
    QTest::newRow("bytes that are no text") << good + QByteArray("\n\xFF\xFE\x80\x00\x01\n", 7) + good + "\n"
                                            << 3 << 1 << 2;
    QTest::newRow("null bytes between the digits") << QByteArray("AA\0EC\0\1\0", 8) + good.mid(4) + "\n" << 1 << 0 << 1;
    QTest::newRow("one byte") << QByteArray("A") << 1 << 1 << 0;
    QTest::newRow("one line end") << QByteArray("\n") << 1 << 1 << 0;
}

void TestReadText::damagedFilesAreCounted()
{
    const Fixture fixture;
    QFETCH(QByteArray, bytes);
    QFETCH(int, total);
    QFETCH(int, wrong);
    QFETCH(int, backups);
    if (bytes.contains('\xFF') && !localeIsUtf8())
        QSKIP("another codec decodes line breaks as parts of characters");
    writeBytes(fixture.path("flight.txt"), bytes);
    DataHandler handler;
    const QSignalSpy spy(&handler, &DataHandler::readDataFinishedSinal);
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(int(handler.frameTotal()), total);
    QCOMPARE(int(handler.frameError()), wrong);
    QCOMPARE(backupGraph->yvalue().size(), backups);
    QCOMPARE(content(fixture.path("flight.txt")), bytes);
}

void TestReadText::utf16LogWithByteOrderMarkIsDecoded()
{
    const Fixture fixture;
    const QString text = FrameText(0x52).text() + "\r\n" + FrameText(0x52).text() + "\r\nx\r\n";
    writeBytes(fixture.path("flight.txt"), QTextCodec::codecForName("UTF-16")->fromUnicode(text));
    QVERIFY(content(fixture.path("flight.txt")).size() > 2 * text.size());
    DataHandler handler;
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(int(handler.frameTotal()), 3);
    QCOMPARE(int(handler.frameError()), 1);
    QCOMPARE(backupGraph->yvalue().size(), 2);
}

void TestReadText::randomBytesAreCountedAsErrors()
{
    if (!localeIsUtf8())
        QSKIP("another codec decodes line breaks as parts of characters");
    const Fixture fixture;
    QByteArray noise;
    quint32 state = 12345;
    while (noise.size() < 3000000) {
        state = state * 1664525u + 1013904223u;
        noise.append(char(state >> 24));
    }
    writeBytes(fixture.path("flight.txt"), noise);
    DataHandler handler;
    const QSignalSpy spy(&handler, &DataHandler::readDataFinishedSinal);
    handler.readDataSlot(fixture.path("flight.txt"));
    QCOMPARE(spy.count(), 1);
    QVERIFY(int(handler.frameTotal()) > 1000);
    QCOMPARE(handler.frameTotal(), handler.frameError());
}

void TestReadText::lineOf200MegabytesUsesLimitedMemory_data()
{
    QTest::addColumn<QByteArray>("begin");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("of hexadecimal digits") << QByteArray("AAEC0152") << QByteArray();
    // QTextStream then reads the line again from its start, after the reader already has all of it in memory.
    QTest::newRow("with another character at its end") << QByteArray("AAEC0152") << QByteArray("\xC3\xA9");
    QTest::newRow("with another character at its beginning") << QByteArray("\xC3\xA9 AAEC0152") << QByteArray();
}

void TestReadText::lineOf200MegabytesUsesLimitedMemory()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    QFETCH(QByteArray, begin);
    QFETCH(QByteArray, end);
    const QString path = fixture.path("flight.txt");
    constexpr qint64 kBytes = 200 * 1000 * 1000;
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(begin);
        const QByteArray block(1000 * 1000, '7');
        for (int i = 0; i < 200; ++i)
            file.write(block);
        file.write(end);
    }
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(path));
    QVERIFY(fixture.letOthersWriteTracks());
    // In a separate process, so that its peak memory is that of this read.
    const int code = asOrdinaryUser([&] {
        const qint64 before = peakOfMemory();
        DataHandler handler;
        handler.readDataSlot(path);
        const qint64 grown = peakOfMemory() - before;
        std::printf("a line of 200 MB took %lld MB\n", static_cast<long long>(grown / 1000000));
        if (handler.frameTotal() != 1 || handler.frameError() != 0 || handler.processed() != kBytes / 2 + 4)
            return 1;
        if (backupGraph->yvalue() != QVector<double>{double(0x7777)})
            return 2;
        return double(grown) < MEMORY_OVERHEAD * 5.0 * double(kBytes) ? 0 : 3;
    });
    QCOMPARE(code, 0);
}

void TestReadText::logTruncatedDuringTheReadIsReported_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("lineEnd");
    QTest::newRow("plain") << QByteArray() << QByteArray("\n");
    QTest::newRow("CR LF") << QByteArray() << QByteArray("\r\n");
    QTest::newRow("with another character, read by QTextStream") << QByteArray("\xC3\xA9") << QByteArray("\r\n");
}

void TestReadText::logTruncatedDuringTheReadIsReported()
{
    const Fixture fixture;
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, lineEnd);
    const QString path = fixture.path("flight.txt");
    const QByteArray line = FrameText(0x52).text().toLatin1() + lineEnd;
    constexpr int kLines = 40000;
    // At the end of a line, and after the part that the reader has in memory when it decodes the first line.
    const qint64 cut = first.size() + 30000 * line.size();
    writeBytes(path, first + line.repeated(kLines));
    const qint64 whole = QFileInfo(path).size();
    DataHandler handler;
    ReadRecorder recorder(handler);
    const auto connection = connect(&handler, &DataHandler::process, &handler, [&](int now, int) {
        if (now == 1)
            return;
        QFile::resize(path, cut);
    });
    connect(&handler, &DataHandler::process, &handler, [&] {
        if (handler.frameTotal() == 1)
            disconnect(connection);
    });
    handler.readDataSlot(path);
    QCOMPARE(int(handler.frameTotal()), 30000);
    const QStringList events = recorder.events();
    QCOMPARE(events.filter("warning: "),
             QStringList{QString("warning: reading the log broke off at byte %1 of %2: the file became shorter")
                             .arg(cut)
                             .arg(whole)});
    // The remaining steps are those of a successful read.
    QVERIFY(events.contains("status 文件解析成功,处理数据..."));
    QCOMPARE(events.last(), "finished 30000 0 0");
}

void TestReadText::readErrorIsReported()
{
    // A regular file of size 0 that not even root can read.
    const QString broken = "/proc/self/mem";
    if (!hasFifos() || !QFileInfo(broken).isFile())
        QSKIP("needs a file that fails to be read");
    const Fixture fixture;
    const QString path = fixture.path("flight.txt");
    QVERIFY(QFile::link(broken, path));
    DataHandler handler;
    ReadRecorder recorder(handler);
    handler.readDataSlot(path);
    QCOMPARE(recorder.events().filter("warning: "),
             QStringList{"warning: reading the log broke off at byte 0 of 0: Input/output error"});
    QCOMPARE(recorder.events().last(), "finished 0 0 0");
}

void TestReadText::fileIsClosedAfterTheRead()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.txt"), {FrameText(0x52).text()});
    DataHandler handler;
    handler.readDataSlot(fixture.path("flight.txt"));
    QVERIFY(handler.fileOperator());
    QVERIFY(!handler.fileOperator()->parent());
    QVERIFY(!handler.fileOperator()->file().isOpen());
    QCOMPARE(handler.fileOperator()->fileName(), fixture.path("flight.txt"));
}

void TestReadText::decodeDataReturnsTrue()
{
    const Fixture fixture;
    writeLines(fixture.path("flight.txt"), {"x", FrameText(0x03).text()});
    DataHandler handler;
    handler.handleTxt(fixture.path("flight.txt"));
    QVERIFY(handler.fileOperator()->openFile(QIODevice::ReadOnly));
    QCOMPARE(handler.decodeData(), true);
    QCOMPARE(int(handler.frameTotal()), 4);
    // evenTail() runs at the end of both reads.
    QCOMPARE(targetGraphs[0]->yvalue().size(), attitudeGraphs[0]->yvalue().size());
}

int main(int argc, char *argv[])
{
    // One test throws an exception through the event loop; it must not pass through GLib's C code.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication application(argc, argv);
    TestReadText test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestReadText.moc"
