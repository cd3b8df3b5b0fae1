#include "ExportNames.h"
#include "Fifo.h"
#include "Fixture.h"
#include "LogFile.h"
#include "OrdinaryUser.h"
#include "TxtOperator.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>
#include <QTextCodec>
#include <QTextStream>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

/** What a file of these channels holds, written by the stream whose format it is. */
QByteArray streamed(MyGraph **channels, int count)
{
    QByteArray bytes;
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    for (int i = 0; i < count; ++i)
        stream << channels[i]->graphName() << "\t";
    for (int row = 0; row < channels[0]->yvalue().size(); ++row) {
        stream << "\n";
        for (int i = 0; i < count; ++i)
            stream << channels[i]->yvalue().at(row) << "\t";
    }
    stream.flush();
    return bytes;
}

} // namespace

class TestTxtExport : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void folderHasNineFiles();
    void folderIsNamedWithoutTheSuffix_data();
    void folderIsNamedWithoutTheSuffix();
    void everyFileIsWhatAStreamWrites();
    void bytesOfASmallFile();
    void backupFileHoldsTheFirstEquipmentChannel();
    void emptyGroupHasItsHeaderOnly();
    void nothingReadGivesHeaders();
    void specialNumbersAreThoseOfAStream();
    void randomNumbersAreThoseOfAStream();
    void headerIsInTheCodecOfTheLocale();
    void columnsAreCounted();
    void longerFileKeepsItsTail();
    void folderIsNotCleared();
    void shorterChannelLeavesItsFieldsEmpty();
    void longerChannelIsCutAtTheFirst();
    void givenGroupsAreWrittenInsteadOfTheStore();
    void namesOfChannelsAreThoseOfNow();
    void folderThatCannotBeMadeIsLogged_data();
    void folderThatCannotBeMadeIsLogged();
    void folderInAReadOnlyFolderIsLogged();
    void onlyOneLevelOfFoldersIsMade();
    void fileThatCannotBeOpenedIsLoggedAndTheOthersAreWritten();
    void pipeIsLoggedAndTheOthersAreWritten();
    void readOnlyFileIsLoggedAndStays();
    void fullDiskIsLogged();
    void veryLongPathIsLogged();
    void cancelFlagEndsTheExport();

private:
    QString path(const char *name) const { return m_fixture->path(QString::fromUtf8(name)); }
    QByteArray exported(const char *stem) const { return content(path("x-export/") + stem + ".txt"); }

    std::unique_ptr<Fixture> m_fixture;
};

void TestTxtExport::folderHasNineFiles()
{
    fillStore(2);
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QStringList names;
    for (const ExpectedGroup &group : expectedGroups())
        names.append(group.name + ".txt");
    QCOMPARE(QDir(path("x-export")).entryList(QDir::Files | QDir::Hidden, QDir::Name), names);
    QVERIFY(!QFileInfo::exists(path("x-export.txt")));
}

void TestTxtExport::folderIsNamedWithoutTheSuffix_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("folder");
    QTest::newRow("plain") << "flight-export.txt"
                           << "flight-export";
    QTest::newRow("Chinese and blanks") << "飞行 一-export.txt"
                                        << "飞行 一-export";
}

void TestTxtExport::folderIsNamedWithoutTheSuffix()
{
    QFETCH(QString, target);
    QFETCH(QString, folder);
    TxtOperator().writeTxtSlot(m_fixture->path(target));
    QVERIFY(QFileInfo(m_fixture->path(folder)).isDir());
    QCOMPARE(QDir(m_fixture->path(folder)).count(), 9u + 2u); // and the two dots
}

void TestTxtExport::everyFileIsWhatAStreamWrites()
{
    // More than a block's worth in the wider groups.
    fillStore(3000);
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    for (const ExpectedGroup &group : expectedGroups())
        QVERIFY2(exported(group.name.toLatin1()) == streamed(group.channels, group.count), qPrintable(group.name));
}

void TestTxtExport::bytesOfASmallFile()
{
    heartBeatGraphs[0]->setYvalue({113.91378, 1234567.0});
    heartBeatGraphs[1]->setYvalue({0.0, -0.5});
    heartBeatGraphs[2]->setYvalue({1.0, 2.0});
    heartBeatGraphs[3]->setYvalue({0.0001, 0.00001});
    heartBeatGraphs[4]->setYvalue({100000.0, 1e100});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(exported("0x01-HeartBeat"),
             QString("飞行器类型\t地面定位状态\t原点经度\t原点纬度\t通信协议版本\t\n"
                     "113.914\t0\t1\t0.0001\t100000\t\n"
                     "1.23457e+06\t-0.5\t2\t1e-05\t1e+100\t")
                 .toLocal8Bit());
}

void TestTxtExport::backupFileHoldsTheFirstEquipmentChannel()
{
    fillStore(4);
    backupGraph->setYvalue({55, 66});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    const QList<QByteArray> backup = exported("0x52-Backup").split('\n');
    const QList<QByteArray> equipment = exported("0x53-EquipmentStatus").split('\n');
    QCOMPARE(backup.first(), QString("陀螺\t").toLocal8Bit());
    QCOMPARE(backup.size(), 5);
    QCOMPARE(equipment.size(), 5);
    for (int i = 0; i < backup.size(); ++i)
        QCOMPARE(backup[i], equipment[i].left(equipment[i].indexOf('\t') + 1));
}

void TestTxtExport::emptyGroupHasItsHeaderOnly()
{
    fillStore(2);
    for (MyGraph *channel : differenceGraphs)
        channel->setYvalue({});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(exported("0x51-Difference"), QString("俯仰差值\t横滚差值\t航向差值\t速度差值\t高度差值\t").toLocal8Bit());
    QCOMPARE(exported("0x41-PayloadInfo").count('\n'), 2);
}

void TestTxtExport::nothingReadGivesHeaders()
{
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    for (const ExpectedGroup &group : expectedGroups()) {
        QCOMPARE(exported(group.name.toLatin1()).count('\n'), 0);
        QCOMPARE(exported(group.name.toLatin1()).count('\t'), group.count);
    }
}

void TestTxtExport::specialNumbersAreThoseOfAStream()
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (MyGraph *channel : heartBeatGraphs)
        channel->setYvalue({-0.0, infinity, -infinity, std::nan(""), -std::nan(""),
                            std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(), 999999.5,
                            0.5, 1234565, 0.0001234565, 999999.4999});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QVERIFY(exported("0x01-HeartBeat") == streamed(heartBeatGraphs, 5));
}

void TestTxtExport::randomNumbersAreThoseOfAStream()
{
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    for (MyGraph *channel : heartBeatGraphs) {
        QVector<double> series;
        for (int i = 0; i < 20000; ++i)
            series.append(mantissa(random) * std::pow(10.0, exponent(random)));
        channel->setYvalue(series);
    }
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QVERIFY(exported("0x01-HeartBeat") == streamed(heartBeatGraphs, 5));
}

void TestTxtExport::headerIsInTheCodecOfTheLocale()
{
    QTextCodec *const before = QTextCodec::codecForLocale();
    for (const char *name : {"GB18030", "ISO-8859-1", "UTF-8"}) {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(name));
        const QByteArray expected = streamed(differenceGraphs, 5);
        QFile::remove(path("x-export/0x51-Difference.txt"));
        TxtOperator().writeTxtSlot(path("x-export.txt"));
        const QByteArray found = exported("0x51-Difference");
        QTextCodec::setCodecForLocale(before);
        QCOMPARE(found, expected);
    }
}

void TestTxtExport::columnsAreCounted()
{
    fillStore(3);
    TxtOperator txtOperator;
    int count = 7;
    txtOperator.writeTxt(path("seven.txt"), &count, sensorGraphs);
    QCOMPARE(content(path("seven.txt")), streamed(sensorGraphs, 7));
    QCOMPARE(count, 7);
}

void TestTxtExport::longerFileKeepsItsTail()
{
    for (MyGraph *channel : heartBeatGraphs)
        channel->setYvalue({1.0, 2.0, 3.0});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    const QByteArray first = exported("0x01-HeartBeat");
    for (MyGraph *channel : heartBeatGraphs)
        channel->setYvalue({7.0});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    const QByteArray start = streamed(heartBeatGraphs, 5);
    QCOMPARE(exported("0x01-HeartBeat"), start + first.mid(start.size()));
}

void TestTxtExport::folderIsNotCleared()
{
    QVERIFY(QDir().mkdir(path("x-export")));
    write(path("x-export/notes.txt"), "mine");
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(exported("notes"), QByteArray("mine"));
}

void TestTxtExport::shorterChannelLeavesItsFieldsEmpty()
{
    // As after points of one channel were deleted.
    for (MyGraph *channel : differenceGraphs)
        channel->setYvalue({1.0, 2.0, 3.0});
    differenceGraphs[2]->setYvalue({9.0});
    differenceGraphs[4]->setYvalue({});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(exported("0x51-Difference").split('\n').mid(1),
             (QList<QByteArray>{"1\t1\t9\t1\t\t", "2\t2\t\t2\t\t", "3\t3\t\t3\t\t"}));
}

void TestTxtExport::longerChannelIsCutAtTheFirst()
{
    for (MyGraph *channel : differenceGraphs)
        channel->setYvalue({1.0, 2.0, 3.0});
    differenceGraphs[0]->setYvalue({9.0});
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(exported("0x51-Difference").split('\n').mid(1), (QList<QByteArray>{"9\t1\t1\t1\t1\t"}));
}

void TestTxtExport::givenGroupsAreWrittenInsteadOfTheStore()
{
    fillStore(50);
    QMap<QString, QByteArray> expected;
    for (const ExpectedGroup &group : expectedGroups())
        expected[group.name] = streamed(group.channels, group.count);
    TxtOperator txtOperator;
    txtOperator.setGroups(exportGroups());
    Fixture::renewStore();
    setSamples("陀螺", {1, 2, 3});
    txtOperator.writeTxtSlot(path("x-export.txt"));
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QVERIFY2(exported(it.key().toLatin1()) == it.value(), qPrintable(it.key()));
}

void TestTxtExport::namesOfChannelsAreThoseOfNow()
{
    heartBeatGraphs[3]->setGraphName("renamed");
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QVERIFY(exported("0x01-HeartBeat").contains("\trenamed\t"));
}

void TestTxtExport::folderThatCannotBeMadeIsLogged_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("a file has the name") << "taken-export.txt";
    QTest::newRow("below a file") << "taken-export/x-export.txt";
}

void TestTxtExport::folderThatCannotBeMadeIsLogged()
{
    QFETCH(QString, target);
    write(path("taken-export"), "a file");
    const LogFile log;
    TxtOperator().writeTxtSlot(m_fixture->path(target));
    QCOMPARE(log.leveledMessages(), QStringList{"error: mkdir failed"});
    QCOMPARE(log.lines().first().function, QStringLiteral("writeTxtSlot"));
    QCOMPARE(content(path("taken-export")), QByteArray("a file"));
}

void TestTxtExport::folderInAReadOnlyFolderIsLogged()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(QDir().mkdir(path("locked")));
    QVERIFY(letOthersRead(path("locked")));
    QVERIFY(letOthersRead(m_fixture->dir()));
    const QString target = path("locked/x-export.txt");
    const LogFile log;
    QCOMPARE(asOrdinaryUser([&target] {
                 TxtOperator().writeTxtSlot(target);
                 spdlog::default_logger()->flush();
                 spdlog::get("file_logger")->flush();
                 return 0;
             }),
             0);
    QCOMPARE(log.leveledMessages(), QStringList{"error: mkdir failed"});
    QVERIFY(QDir(path("locked")).isEmpty());
}

void TestTxtExport::onlyOneLevelOfFoldersIsMade()
{
    const LogFile log;
    TxtOperator().writeTxtSlot(path("missing/x-export.txt"));
    QCOMPARE(log.leveledMessages(), QStringList{"error: mkdir failed"});
    QVERIFY(!QFileInfo::exists(path("missing")));
}

void TestTxtExport::fileThatCannotBeOpenedIsLoggedAndTheOthersAreWritten()
{
    fillStore(2);
    QVERIFY(QDir().mkpath(path("x-export/0x02-ControlSystemStatus.txt")));
    const LogFile log;
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(log.leveledMessages(), QStringList{"error: txt file open failed when write"});
    QCOMPARE(log.lines().first().function, QStringLiteral("writeTxt"));
    for (const ExpectedGroup &group : expectedGroups()) {
        if (group.name != QLatin1String("0x02-ControlSystemStatus"))
            QVERIFY2(exported(group.name.toLatin1()) == streamed(group.channels, group.count), qPrintable(group.name));
    }
}

void TestTxtExport::pipeIsLoggedAndTheOthersAreWritten()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its writer");
    fillStore(2);
    QVERIFY(QDir().mkdir(path("x-export")));
    const Fifo fifo(path("x-export/0x01-HeartBeat.txt"));
    QVERIFY(fifo.isValid());
    const LogFile log;
    TxtOperator().writeTxtSlot(path("x-export.txt"));
    QCOMPARE(log.leveledMessages(), QStringList{"error: txt file open failed when write"});
    QCOMPARE(log.lines().first().function, QStringLiteral("writeTxt"));
    QVERIFY(!fifo.wasOpened());
    QCOMPARE(QDir(path("x-export")).entryList(QDir::Files).size(), 8);
}

void TestTxtExport::readOnlyFileIsLoggedAndStays()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    QVERIFY(QDir().mkdir(path("x-export")));
    write(path("x-export/0x01-HeartBeat.txt"), "old");
    QVERIFY(letOthersRead(path("x-export/0x01-HeartBeat.txt")));
    QVERIFY(letOthersWrite(path("x-export")));
    QVERIFY(letOthersRead(m_fixture->dir()));
    const QString target = path("x-export.txt");
    const LogFile log;
    QCOMPARE(asOrdinaryUser([&target] {
                 TxtOperator().writeTxtSlot(target);
                 spdlog::get("file_logger")->flush();
                 return 0;
             }),
             0);
    QCOMPARE(log.leveledMessages(), QStringList{"error: txt file open failed when write"});
    QCOMPARE(exported("0x01-HeartBeat"), QByteArray("old"));
    QCOMPARE(QDir(path("x-export")).entryList(QDir::Files).size(), 9);
}

void TestTxtExport::fullDiskIsLogged()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    fillStore(20000);
    const QString target = path("x-export.txt");
    const LogFile log;
    QCOMPARE(asOrdinaryUser([] { return 0; }), 0);
    QVERIFY(letOthersWrite(m_fixture->dir()));
    QCOMPARE(asOrdinaryUser([&target] {
                 // No file of this process may grow beyond 1 MB: the wide groups do not fit.
                 limitFileSize(1 << 20);
                 TxtOperator().writeTxtSlot(target);
                 spdlog::get("file_logger")->flush();
                 return 0;
             }),
             0);
    QVERIFY(log.messages().size() >= 1);
    QVERIFY(log.messages().first().startsWith(QLatin1String("txt file write failed")));
    // The small ones are whole.
    QVERIFY(exported("0x52-Backup") == streamed(equipmentGraphs, 1));
}

void TestTxtExport::veryLongPathIsLogged()
{
    const LogFile log;
    TxtOperator().writeTxtSlot(m_fixture->path(QString(4000, QLatin1Char('x')) + "-export.txt"));
    QCOMPARE(log.leveledMessages(), QStringList{"error: mkdir failed"});
}

void TestTxtExport::cancelFlagEndsTheExport()
{
    fillStore(1000);
    const std::atomic<bool> cancelled{true};
    TxtOperator txtOperator;
    txtOperator.setCancelFlag(&cancelled);
    txtOperator.writeTxtSlot(path("x-export.txt"));
    QVERIFY(QDir(path("x-export")).isEmpty());
}

QTEST_GUILESS_MAIN(TestTxtExport)
#include "TestTxtExport.moc"
