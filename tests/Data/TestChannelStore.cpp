#include "ChannelStore.h"
#include "DataHandler.h"
#include "DebugOutput.h"
#include "FieldTables.h"
#include "Fixture.h"
#include "LogFile.h"

#include <QSet>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>

#include <spdlog/sinks/base_sink.h>

namespace
{

// Values of the globals before the first test.
struct Initial {
    bool selectedPlaneEnabled;
    quint8 selectedPlaneId;
    bool startTimeFromUser;
    QDateTime startDateTime;
    int sampleInterval;
    bool dataRead;
    float originLat;
    float originLng;
    double longitudeScale;
    bool tracksEmpty;
    QColor defaultColor;
    QColor targetColor;
};

/** A log sink that calls a function for each message. */
class CallbackSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit CallbackSink(std::function<void()> callback)
        : m_callback(std::move(callback))
    {
    }

protected:
    void sink_it_(const spdlog::details::log_msg &) override { m_callback(); }
    void flush_() override { }

private:
    std::function<void()> m_callback;
};

MyGraph *channel(int code, int row)
{
    switch (code) {
    case 0x01:
        return heartBeatGraphs[row];
    case 0x02:
        return controlStatusGraphs[row];
    case 0x03:
        return attitudeGraphs[row];
    case 0x04:
        return sensorGraphs[row];
    case 0x05:
        return targetGraphs[row];
    case 0x41:
        return payloadGraphs[row];
    case 0x51:
        return differenceGraphs[row];
    case 0x52:
        return row == 0 ? backupGraph : nullptr;
    case 0x53:
        return equipmentGraphs[row];
    default:
        return nullptr;
    }
}

} // namespace

class TestChannelStore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void globalsHaveTheirInitialValues();
    void arraysHaveAnElementForEveryRow();
    void everyChannelIsAtTheIndexOfItsRow();
    void newChannelsStoreTheSelectedPlane();
    void initLogsItsMessage();
    void clearLogsItsMessageAndDeletesEveryChannel();
    void clearLogsItsMessageBeforeDeletion();
    void clearLeavesStalePointersUntilInit();
    void clearSkipsNullChannels();
    void initEmptiesChannelsAndKeepsTheStartTime();
    void decodeResetsPerChannelSettings();
    void createGraphReturnsNullForAnUnknownCode();
    void createGraphDoesNotChangeTheStore();
    void findGraphFindsEveryChannel();
    void findGraphReturnsNullForAnUnknownLabel_data();
    void findGraphReturnsNullForAnUnknownLabel();
    void findGraphByCodeSearchesOnlyItsGroup();
    void findGraphByCodeUses0x10ForEquipment();
    void findGraphByCodeReportsUnknownCodes_data();
    void findGraphByCodeReportsUnknownCodes();
    void staticMembersOfTheHandlerForwardToTheStore();

private:
    Initial m_initial;
    QDateTime m_started;
};

void TestChannelStore::initTestCase()
{
    m_started = QDateTime::currentDateTime();
    m_initial = {selectedPlaneEnabled,
                 selectedPlaneId,
                 startTimeFromUser,
                 startDateTime,
                 sampleInterval,
                 dataRead,
                 originLat,
                 originLng,
                 longitudeScale,
                 trackX.empty() && trackY.empty() && trackZ.empty() && attackTrackX.empty() && attackTrackY.empty()
                     && attackTrackZ.empty(),
                 defaultColor,
                 targetColor};
}

void TestChannelStore::globalsHaveTheirInitialValues()
{
    QCOMPARE(m_initial.selectedPlaneEnabled, false);
    QCOMPARE(int(m_initial.selectedPlaneId), 0);
    QCOMPARE(m_initial.startTimeFromUser, false);
    QCOMPARE(m_initial.sampleInterval, 200);
    QCOMPARE(m_initial.dataRead, false);
    QVERIFY(m_initial.originLat == 33.947071f);
    QVERIFY(m_initial.originLng == 113.91378f);
    QVERIFY(m_initial.tracksEmpty);
    QCOMPARE(m_initial.defaultColor, QColor(0, 0, 0));
    QCOMPARE(m_initial.targetColor, QColor(255, 0, 0));

    // cos(33.9470710°), the initial latitude truncated to 1e-7 degrees.
    QVERIFY(std::abs(m_initial.longitudeScale - 0.82955379) < 1e-7);
    QVERIFY(m_initial.longitudeScale == double(float(m_initial.longitudeScale)));

    // The start time is the program's start, shortly before this test.
    QVERIFY(m_initial.startDateTime.isValid());
    QCOMPARE(m_initial.startDateTime.timeSpec(), Qt::LocalTime);
    QVERIFY(m_initial.startDateTime <= m_started);
    QVERIFY(m_initial.startDateTime.secsTo(m_started) < 60);
}

void TestChannelStore::arraysHaveAnElementForEveryRow()
{
    QCOMPARE(int(std::size(heartBeatGraphs)), 5);
    QCOMPARE(int(std::size(controlStatusGraphs)), 37);
    QCOMPARE(int(std::size(attitudeGraphs)), 18);
    QCOMPARE(int(std::size(sensorGraphs)), 34);
    QCOMPARE(int(std::size(targetGraphs)), 13);
    QCOMPARE(int(std::size(payloadGraphs)), 14);
    QCOMPARE(int(std::size(differenceGraphs)), 5);
    QCOMPARE(int(std::size(equipmentGraphs)), 16);
}

void TestChannelStore::everyChannelIsAtTheIndexOfItsRow()
{
    const Fixture fixture;
    QSet<MyGraph *> different;
    for (const ExpectedField &field : expectedFields()) {
        const MyGraph *graph = channel(field.code, field.number - 1);
        QVERIFY2(graph, qPrintable(field.name));
        QCOMPARE(graph->graphName(), field.label);
        QCOMPARE(int(graph->functionCode()), field.code);
        QVERIFY(graph->yvalue().isEmpty());
        QVERIFY(graph->xvalue().isEmpty());
        different.insert(const_cast<MyGraph *>(graph));
    }
    QCOMPARE(different.size(), 143);
}

void TestChannelStore::newChannelsStoreTheSelectedPlane()
{
    const Fixture fixture;
    selectedPlaneId = 77;
    QCOMPARE(int(attitudeGraphs[0]->planeId()), 0);
    Fixture::renewStore();
    for (const ExpectedField &field : expectedFields())
        QCOMPARE(int(channel(field.code, field.number - 1)->planeId()), 77);
}

void TestChannelStore::initLogsItsMessage()
{
    const Fixture fixture;
    clearData();
    const LogFile log;
    initData();
    QCOMPARE(log.leveledMessages(), QStringList{"info: init global data"});
}

void TestChannelStore::clearLogsItsMessageAndDeletesEveryChannel()
{
    const Fixture fixture;
    // All channels share this vector. It is detached only after every channel is deleted.
    QVector<double> samples(3, 1.0);
    for (const ExpectedField &field : expectedFields())
        channel(field.code, field.number - 1)->setYvalue(samples);
    const LogFile log;
    clearData();
    const QStringList messages = log.leveledMessages();
    const bool detached = samples.isDetached();
    initData();
    QCOMPARE(messages, QStringList{"info: clear data;"});
    QVERIFY(detached);
}

void TestChannelStore::clearLogsItsMessageBeforeDeletion()
{
    const Fixture fixture;
    // Each channel shares one vector with this list. A vector is detached after its channel is deleted.
    QVector<QVector<double>> samples;
    for (const ExpectedField &field : expectedFields()) {
        samples.append(QVector<double>(3, 1.0));
        channel(field.code, field.number - 1)->setYvalue(samples.last());
    }
    const auto held = [&samples] {
        return std::count_if(samples.cbegin(), samples.cend(),
                             [](const QVector<double> &one) { return !one.isDetached(); });
    };
    QVector<qint64> heldAtMessages;
    const auto sink = std::make_shared<CallbackSink>([&] { heldAtMessages.append(held()); });
    const std::shared_ptr<spdlog::logger> console = spdlog::default_logger();
    spdlog::set_default_logger(std::make_shared<spdlog::logger>("sink", sink));
    clearData();
    spdlog::set_default_logger(console);
    const qint64 left = held();
    initData();
    QCOMPARE(heldAtMessages, QVector<qint64>{143});
    QCOMPARE(left, qint64(0));
}

void TestChannelStore::clearLeavesStalePointersUntilInit()
{
    const Fixture fixture;
    QVector<const void *> before;
    for (const ExpectedField &field : expectedFields())
        before.append(channel(field.code, field.number - 1));
    clearData();
    QVector<const void *> after;
    for (const ExpectedField &field : expectedFields())
        after.append(channel(field.code, field.number - 1));
    initData();
    // Compares addresses only; the objects are deleted.
    QCOMPARE(after, before);
    QVERIFY(attitudeGraphs[0]->yvalue().isEmpty());
}

void TestChannelStore::clearSkipsNullChannels()
{
    const Fixture fixture;
    delete backupGraph;
    backupGraph = nullptr;
    delete attitudeGraphs[17];
    attitudeGraphs[17] = nullptr;
    clearData();
    initData();
    QVERIFY(backupGraph);
    QVERIFY(attitudeGraphs[17]);
}

void TestChannelStore::initEmptiesChannelsAndKeepsTheStartTime()
{
    const Fixture fixture;
    const QDateTime start(QDate(2023, 7, 4), QTime(10, 11, 12));
    startDateTime = start;
    for (const ExpectedField &field : expectedFields()) {
        channel(field.code, field.number - 1)->setYvalue({1.0});
        channel(field.code, field.number - 1)->setXvalue({2.0});
    }
    Fixture::renewStore();
    for (const ExpectedField &field : expectedFields()) {
        QVERIFY(channel(field.code, field.number - 1)->yvalue().isEmpty());
        QVERIFY(channel(field.code, field.number - 1)->xvalue().isEmpty());
    }
    QCOMPARE(startDateTime, start);
}

void TestChannelStore::decodeResetsPerChannelSettings()
{
    const Fixture fixture;
    attitudeGraphs[0]->setInterval(40);
    attitudeGraphs[0]->setPosition(1);
    attitudeGraphs[0]->setWidth(5);
    attitudeGraphs[0]->setShown(true);
    Fixture::renewStore();
    QCOMPARE(attitudeGraphs[0]->interval(), 200);
    QCOMPARE(attitudeGraphs[0]->position(), 0);
    QCOMPARE(attitudeGraphs[0]->width(), 1);
    QCOMPARE(attitudeGraphs[0]->shown(), false);
}

void TestChannelStore::createGraphReturnsNullForAnUnknownCode()
{
    const Fixture fixture;
    for (const int code : {0x00, 0x06, 0x10, 0x54, 0x103})
        QVERIFY(!createGraph(quint16(code), 0));
}

void TestChannelStore::createGraphDoesNotChangeTheStore()
{
    const Fixture fixture;
    MyGraph *const inStore = attitudeGraphs[2];
    selectedPlaneId = 12;
    const std::unique_ptr<MyGraph> graph(createGraph(0x03, 2));
    QVERIFY(graph);
    QVERIFY(graph.get() != inStore);
    QCOMPARE(graph->graphName(), QStringLiteral("航向"));
    QCOMPARE(int(graph->planeId()), 12);
    QCOMPARE(int(graph->functionCode()), 0x03);
    QCOMPARE(attitudeGraphs[2], inStore);
    const std::unique_ptr<MyGraph> another(DataHandler::createGraph(0x03, 2));
    QVERIFY(another && another.get() != inStore && another.get() != graph.get());
    QCOMPARE(another->graphName(), QStringLiteral("航向"));
}

void TestChannelStore::findGraphFindsEveryChannel()
{
    const Fixture fixture;
    for (const ExpectedField &field : expectedFields())
        QCOMPARE(findGraph(field.label), channel(field.code, field.number - 1));
}

void TestChannelStore::findGraphReturnsNullForAnUnknownLabel_data()
{
    QTest::addColumn<QString>("label");
    QTest::newRow("empty") << QString();
    QTest::newRow("name instead of label") << QStringLiteral("PGS_Roll");
    QTest::newRow("source text") << QStringLiteral("Roll");
    QTest::newRow("trailing blank") << QStringLiteral("横滚 ");
    QTest::newRow("beginning of a label") << QStringLiteral("横");
}

void TestChannelStore::findGraphReturnsNullForAnUnknownLabel()
{
    const Fixture fixture;
    QFETCH(QString, label);
    QVERIFY(!findGraph(label));
}

void TestChannelStore::findGraphByCodeSearchesOnlyItsGroup()
{
    const Fixture fixture;
    const DebugOutput debug;
    const int codes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x51, 0x52, 0x53};
    for (const ExpectedField &field : expectedFields()) {
        for (const int code : codes) {
            MyGraph *const expected = code == field.code ? channel(field.code, field.number - 1) : nullptr;
            QCOMPARE(findGraphByCode(field.label, quint8(code)), expected);
        }
    }
    QVERIFY(debug.entries().isEmpty());
}

void TestChannelStore::findGraphByCodeUses0x10ForEquipment()
{
    const Fixture fixture;
    const DebugOutput debug;
    QCOMPARE(findGraphByCode(QStringLiteral("陀螺"), 0x10), equipmentGraphs[0]);
    QCOMPARE(findGraphByCode(QStringLiteral("载荷"), 0x10), equipmentGraphs[15]);
    QVERIFY(!findGraphByCode(QStringLiteral("横滚"), 0x10));
    QVERIFY(debug.entries().isEmpty());
}

void TestChannelStore::findGraphByCodeReportsUnknownCodes_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x00, 0x06, 0x11, 0x42, 0x50, 0x54, 0xFF})
        QTest::addRow("0x%02x", code) << code;
}

void TestChannelStore::findGraphByCodeReportsUnknownCodes()
{
    const Fixture fixture;
    QFETCH(int, code);
    const DebugOutput debug;
    QVERIFY(!findGraphByCode(QStringLiteral("横滚"), quint8(code)));
    QCOMPARE(debug.entries().size(), 1);
    QCOMPARE(debug.entries().first().type, QtInfoMsg);
    QCOMPARE(debug.entries().first().text, QStringLiteral("功能码错误"));
}

void TestChannelStore::staticMembersOfTheHandlerForwardToTheStore()
{
    const Fixture fixture;
    MyGraph *const before = heartBeatGraphs[0];
    before->setWidth(9);
    const LogFile log;
    DataHandler::clearData();
    DataHandler::initData();
    QCOMPARE(log.leveledMessages(), (QStringList{"info: clear data;", "info: init global data"}));
    QCOMPARE(heartBeatGraphs[0]->width(), 1);
    const std::unique_ptr<MyGraph> graph(DataHandler::createGraph(0x01, 4));
    QCOMPARE(graph->graphName(), QStringLiteral("通信协议版本"));
    QVERIFY(!DataHandler::createGraph(0x06, 0));
}

QTEST_GUILESS_MAIN(TestChannelStore)
#include "TestChannelStore.moc"
