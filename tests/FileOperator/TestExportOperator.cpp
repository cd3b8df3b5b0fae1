#include "DataHandler.h"
#include "DemoFlight.h"
#include "ExportNames.h"
#include "ExportOperator.h"
#include "Fixture.h"
#include "LogFile.h"
#include "MetaMethods.h"
#include "QXlsx.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>
#include <QTextStream>

#include <memory>

namespace
{

constexpr int kWait = 1200000; // ms; ten million cells under a sanitizer on a busy machine

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** Counts the reports of an export on the thread of the test, where the window hears them too. */
class Reports : public QObject
{
    Q_OBJECT

public:
    explicit Reports(const ExportOperator &exportOperator)
    {
        connect(&exportOperator, &ExportOperator::writeExcelFinished, this, &Reports::add);
    }

    /** Waits for the first report. */
    bool arrived()
    {
        return QTest::qWaitFor([this] { return m_count > 0; }, kWait);
    }
    int count() const { return m_count; }

public slots:
    void add() { ++m_count; }

private:
    int m_count = 0;
};

/** Starts an export as the window does and waits for its report. */
bool run(ExportOperator &exportOperator)
{
    Reports reports(exportOperator);
    exportOperator.start(QThread::InheritPriority);
    const bool reported = reports.arrived();
    const bool ended = exportOperator.wait(kWait);
    QCoreApplication::processEvents();
    return reported && ended && reports.count() == 1;
}

} // namespace

class TestExportOperator : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void isAThreadWithOneSignal();
    void startsAsTextWithoutAPath();
    void writesAWorkbook();
    void writesText();
    void withoutGroupsTheStoreIsWritten();
    void failureIsReportedAsFinished_data();
    void failureIsReportedAsFinished();
    void finishIsReportedOnTheReceiversThread();
    void terminateAfterTheReportIsSafe();
    void readDuringAnExportDoesNotChangeIt_data();
    void readDuringAnExportDoesNotChangeIt();
    void cancelledExportKeepsTheOldWorkbook();
    void cancelBeforeTheStartWritesNothing();
    void deletingARunningExportStopsIt();
    void exportOfTenMillionCellsSurvivesANewRead();

private:
    QString path(const char *name) const { return m_fixture->path(QString::fromUtf8(name)); }

    std::unique_ptr<Fixture> m_fixture;
};

void TestExportOperator::isAThreadWithOneSignal()
{
    QCOMPARE(ownMethods(ExportOperator::staticMetaObject), QStringList{"signal writeExcelFinished()"});
    QVERIFY(ExportOperator::staticMetaObject.inherits(&QThread::staticMetaObject));
}

void TestExportOperator::startsAsTextWithoutAPath()
{
    ExportOperator exportOperator;
    QVERIFY(exportOperator.filePath().isEmpty());
    QVERIFY(!exportOperator.isExcel());
    exportOperator.setExcel(true);
    exportOperator.setFilePath(path("x.xlsx"));
    QVERIFY(exportOperator.isExcel());
    QCOMPARE(exportOperator.filePath(), path("x.xlsx"));
}

void TestExportOperator::writesAWorkbook()
{
    fillStore(5);
    ExportOperator exportOperator;
    exportOperator.setExcel(true);
    exportOperator.setFilePath(path("x.xlsx"));
    exportOperator.setGroups(exportGroups());
    QVERIFY(run(exportOperator));
    QXlsx::Document document(path("x.xlsx"));
    QVERIFY(document.selectSheet("0x04-SensorValue"));
    QCOMPARE(document.read(6, 34), QVariant(sensorGraphs[33]->yvalue().at(4)));
}

void TestExportOperator::writesText()
{
    fillStore(5);
    ExportOperator exportOperator;
    exportOperator.setFilePath(path("x-export.txt"));
    exportOperator.setGroups(exportGroups());
    QVERIFY(run(exportOperator));
    QCOMPARE(QDir(path("x-export")).entryList(QDir::Files).size(), 9);
    QVERIFY(!QFileInfo::exists(path("x.xlsx")));
}

void TestExportOperator::withoutGroupsTheStoreIsWritten()
{
    fillStore(2);
    ExportOperator exportOperator;
    exportOperator.setFilePath(path("x-export.txt"));
    QVERIFY(run(exportOperator));
    QCOMPARE(content(path("x-export/0x51-Difference.txt")).count('\n'), 2);
}

void TestExportOperator::failureIsReportedAsFinished_data()
{
    QTest::addColumn<bool>("excel");
    QTest::newRow("workbook") << true;
    QTest::newRow("text") << false;
}

void TestExportOperator::failureIsReportedAsFinished()
{
    QFETCH(bool, excel);
    fillStore(2);
    ExportOperator exportOperator;
    exportOperator.setExcel(excel);
    exportOperator.setFilePath(path("missing/x.xlsx"));
    exportOperator.setGroups(exportGroups());
    QVERIFY(run(exportOperator));
    QVERIFY(!QFileInfo::exists(path("missing")));
}

void TestExportOperator::finishIsReportedOnTheReceiversThread()
{
    ExportOperator exportOperator;
    exportOperator.setFilePath(path("x-export.txt"));
    exportOperator.setGroups(exportGroups());
    QThread *told = nullptr;
    connect(&exportOperator, &ExportOperator::writeExcelFinished, this, [&told] { told = QThread::currentThread(); });
    exportOperator.start(QThread::InheritPriority);
    QTRY_COMPARE(told, QThread::currentThread());
    QVERIFY(exportOperator.wait(kWait));
}

void TestExportOperator::terminateAfterTheReportIsSafe()
{
    fillStore(1);
    for (int i = 0; i < 50; ++i) {
        auto *const exportOperator = new ExportOperator;
        exportOperator->setFilePath(path("x-export.txt"));
        exportOperator->setGroups(exportGroups());
        Reports reports(*exportOperator);
        exportOperator->start(QThread::InheritPriority);
        QVERIFY(reports.arrived());
        exportOperator->terminate();
        QVERIFY(exportOperator->wait(kWait));
        delete exportOperator;
    }
    QCOMPARE(QDir(path("x-export")).entryList(QDir::Files).size(), 9);
}

void TestExportOperator::readDuringAnExportDoesNotChangeIt_data()
{
    QTest::addColumn<bool>("excel");
    QTest::newRow("workbook") << true;
    QTest::newRow("text") << false;
}

void TestExportOperator::readDuringAnExportDoesNotChangeIt()
{
    QFETCH(bool, excel);
    fillStore(2000);
    const QVector<double> expected = sensorGraphs[33]->yvalue();
    ExportOperator exportOperator;
    exportOperator.setExcel(excel);
    exportOperator.setFilePath(path(excel ? "x.xlsx" : "x-export.txt"));
    exportOperator.setGroups(exportGroups());
    Reports reports(exportOperator);
    exportOperator.start(QThread::InheritPriority);
    // Samples are appended, changed and deleted, and the store is made anew, until the export is over.
    while (!exportOperator.isFinished()) {
        for (const ChannelGroup &group : channelGroups()) {
            for (MyGraph *channel : group) {
                channel->yvalue().append(-1.0);
                channel->yvalue().first() = -1.0;
                channel->yvalue().removeFirst();
            }
        }
        Fixture::renewStore();
    }
    QVERIFY(reports.arrived());
    if (excel) {
        QXlsx::Document document(path("x.xlsx"));
        document.selectSheet("0x04-SensorValue");
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(document.read(i + 2, 34), QVariant(expected[i]));
    } else {
        const QList<QByteArray> lines = content(path("x-export/0x04-SensorValue.txt")).split('\n');
        QCOMPARE(lines.size(), expected.size() + 1);
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(lines[i + 1].split('\t').at(33), QByteArray::number(expected[i], 'g', 6));
    }
}

void TestExportOperator::cancelledExportKeepsTheOldWorkbook()
{
    fillStore(1);
    ExportOperator first;
    first.setExcel(true);
    first.setFilePath(path("x.xlsx"));
    first.setGroups(exportGroups());
    QVERIFY(run(first));
    const QByteArray before = content(path("x.xlsx"));

    fillStore(20000);
    ExportOperator second;
    second.setExcel(true);
    second.setFilePath(path("x.xlsx"));
    second.setGroups(exportGroups());
    Reports reports(second);
    second.start(QThread::InheritPriority);
    second.cancel();
    QVERIFY(second.wait(kWait));
    // The finish is reported all the same.
    QVERIFY(reports.arrived());
    QVERIFY(content(path("x.xlsx")) == before);
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList{"x.xlsx"});
}

void TestExportOperator::cancelBeforeTheStartWritesNothing()
{
    fillStore(10);
    ExportOperator exportOperator;
    exportOperator.setExcel(true);
    exportOperator.setFilePath(path("x.xlsx"));
    exportOperator.setGroups(exportGroups());
    exportOperator.cancel();
    QVERIFY(run(exportOperator));
    QVERIFY(!QFileInfo::exists(path("x.xlsx")));
}

void TestExportOperator::deletingARunningExportStopsIt()
{
    fillStore(20000);
    auto exportOperator = std::make_unique<ExportOperator>();
    exportOperator->setExcel(true);
    exportOperator->setFilePath(path("x.xlsx"));
    exportOperator->setGroups(exportGroups());
    exportOperator->start(QThread::InheritPriority);
    exportOperator.reset();
    QCOMPARE(QDir(m_fixture->dir()).entryList(QDir::Files | QDir::Hidden), QStringList());
}

void TestExportOperator::exportOfTenMillionCellsSurvivesANewRead()
{
    demo::DemoOptions flight;
    flight.samples = 50;
    QVERIFY(demo::writeTextLog(path("meanwhile.txt"), flight));
    constexpr int kSamples = 70000; // times 143 channels
    fillStore(kSamples);
    const double last = equipmentGraphs[15]->yvalue().last();
    for (const bool excel : {true, false}) {
        if (!excel)
            fillStore(kSamples);
        ExportOperator exportOperator;
        exportOperator.setExcel(excel);
        exportOperator.setFilePath(path(excel ? "x.xlsx" : "x-export.txt"));
        exportOperator.setGroups(exportGroups());
        Reports reports(exportOperator);
        exportOperator.start(QThread::InheritPriority);
        // A new read, as the window does it.
        Fixture::renewStore();
        DataHandler().readDataSlot(path("meanwhile.txt"));
        QCOMPARE(channelGroup(0x53)->length(), 50);
        QVERIFY(!exportOperator.isFinished());
        QVERIFY(reports.arrived());
        QVERIFY(exportOperator.wait(kWait));
    }
    QXlsx::Document document(path("x.xlsx"));
    document.selectSheet("0x53-EquipmentStatus");
    QCOMPARE(document.read(kSamples + 1, 16), QVariant(last));
    QVERIFY(!document.read(kSamples + 2, 16).isValid());
    QByteArray text;
    QTextStream(&text) << last;
    QVERIFY(content(path("x-export/0x53-EquipmentStatus.txt")).endsWith('\t' + text + '\t'));
}

QTEST_GUILESS_MAIN(TestExportOperator)
#include "TestExportOperator.moc"
