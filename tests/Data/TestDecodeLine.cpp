#include "DataHandler.h"
#include "FieldTables.h"
#include "Fixture.h"
#include "FrameText.h"
#include "LogFile.h"
#include "ReferenceDecoder.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <random>

namespace
{

struct Gate {
    int code;
    int threshold; // minimum length in bytes is one more
};

constexpr Gate kGates[] = {{0x01, 16}, {0x02, 65}, {0x03, 48}, {0x04, 77}, {0x05, 33}, {0x41, 34}};

constexpr int kBadLineLimit = 64 * 1024;

QVector<double> samples(const char *name)
{
    for (const ExpectedField &field : expectedFields()) {
        if (field.name == QLatin1String(name))
            return findGraph(field.label)->yvalue();
    }
    qFatal("no channel %s", name);
    return {};
}

/** Lengths of the groups 0x02, 0x53, 0x03, 0x04, 0x05. Checks that all channels of a group have the same length. */
QVector<int> lengths()
{
    QVector<int> result;
    for (const int code : {0x02, 0x53, 0x03, 0x04, 0x05}) {
        const ChannelGroup *group = channelGroup(quint8(code));
        for (const MyGraph *graph : *group) {
            if (graph->yvalue().size() != group->length())
                return {};
        }
        result.append(group->length());
    }
    return result;
}

int totalSampleCount()
{
    int count = 0;
    for (const ChannelGroup &group : channelGroups()) {
        for (const MyGraph *graph : group)
            count += graph->yvalue().size();
    }
    return count;
}

/** Frame with a valid header and random payload. */
FrameText randomFrame(int code, int length, std::mt19937 &random, int plane = 1)
{
    FrameText frame(code, plane);
    frame.resize(length);
    for (int byte = 5; byte <= length; ++byte)
        frame.put(byte, 1, qint64(random() & 0xFF));
    return frame;
}

void compareWithReference(const ReferenceDecoder &reference)
{
    for (auto code = reference.fields.begin(); code != reference.fields.end(); ++code) {
        for (int row = 0; row < code->size(); ++row) {
            const ExpectedField &field = code->at(row);
            const QVector<double> &got = std::as_const(*findGraph(field.label)).yvalue();
            QVERIFY2(got == reference.channels[code.key()][row], qPrintable(field.name));
        }
    }
}

} // namespace

class TestDecodeLine : public QObject
{
    Q_OBJECT

private slots:
    void countersAreInitiallyZero();
    void metaObjectHasTheSignalsAndTheSlotInOrder();
    void runsTheEventLoopBeforeEveryLine_data();
    void runsTheEventLoopBeforeEveryLine();
    void reportsProgressBeforeAnyCheck_data();
    void reportsProgressBeforeAnyCheck();
    void progressIsTruncatedTo32Bits();
    void wrongHeaderIsCountedAndLogged_data();
    void wrongHeaderIsCountedAndLogged();
    void wrongHeaderAddsNoSampleAndSkipsTheRepair();
    void shortLineIsAWrongHeaderBeforeThePlaneFilter_data();
    void shortLineIsAWrongHeaderBeforeThePlaneFilter();
    void badLineOf64KibIsLoggedCompletely();
    void longerBadLineIsLoggedTruncatedWithItsLength();
    void bracesInABadLineAreLoggedUnchanged();
    void controlCharactersOfABadLineAreLoggedEscaped_data();
    void controlCharactersOfABadLineAreLoggedEscaped();
    void validLineLogsNothing();
    void decodesEveryFieldOfItsTable_data();
    void decodesEveryFieldOfItsTable();
    void decodesMinimumAndMaximumFieldValues();
    void deviceStateSetsTheEquipmentChannels_data();
    void deviceStateSetsTheEquipmentChannels();
    void frameAtItsThresholdRepeatsTheLastSamples_data();
    void frameAtItsThresholdRepeatsTheLastSamples();
    void frameAboveItsThresholdReadsMissingBytesAsZero_data();
    void frameAboveItsThresholdReadsMissingBytesAsZero();
    void shortFrameOnEmptyChannelsGivesZeros_data();
    void shortFrameOnEmptyChannelsGivesZeros();
    void bytesOfThePreviousLineAreNotUsed();
    void backupFrameHasNoMinimumLength_data();
    void backupFrameHasNoMinimumLength();
    void otherCodesAddNoSample_data();
    void otherCodesAddNoSample();
    void unknownCodeStillRepairs();
    void bytesFiveAndSixAreIgnored();
    void bytesAfterTheFieldsAreIgnored_data();
    void bytesAfterTheFieldsAreIgnored();
    void blanksBetweenBytesAreIgnored();
    void filterSkipsOtherPlanesWithoutLogging();
    void filterCountsFramesOfItsPlaneWithAnyCode_data();
    void filterCountsFramesOfItsPlaneWithAnyCode();
    void filterComparesUnsigned();
    void withoutFilterNothingIsSelected();
    void countersWrapAt65536();
    void errorAndSelectedCountersWrapAt65536();
    void repeatLastCopiesOrStartsWithZero();
    void threeAttitudeFramesExtendTheOtherGroups();
    void repairExtendsSensorsShorterThanTargets();
    void repairExtendsTargetsTwoShorterThanSensors();
    void repairExtendsControlStatusAndEquipmentShorterThanSensors();
    void repairExtendsSensorsTwoShorterThanControlStatus();
    void repairExtendsAttitudeShorterThanControlStatus();
    void repairDoesNotExtendEquipmentToAttitude();
    void repairIgnoresALeadOfOne();
    void repairIgnoresHeartBeatAndPayload();
    void evenTailExtendsTheChainFromTheTop();
    void evenTailExtendsByOneSampleOnly();
    void evenTailLeavesEqualLengthsUnchanged();
    void randomFlightsMatchTheReferenceDecoder_data();
    void randomFlightsMatchTheReferenceDecoder();
};

void TestDecodeLine::countersAreInitiallyZero()
{
    const DataHandler handler;
    QVERIFY(!handler.fileOperator());
    QCOMPARE(handler.total(), qint64(0));
    QCOMPARE(handler.processed(), qint64(0));
    QCOMPARE(int(handler.frameTotal()), 0);
    QCOMPARE(int(handler.frameError()), 0);
    QCOMPARE(int(handler.frameSelectedId()), 0);
}

void TestDecodeLine::metaObjectHasTheSignalsAndTheSlotInOrder()
{
    const QMetaObject &meta = DataHandler::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        QStringList parameters;
        for (int j = 0; j < method.parameterCount(); ++j)
            parameters.append(method.parameterTypes()[j] + ' ' + method.parameterNames()[j]);
        methods.append((method.methodType() == QMetaMethod::Signal ? "signal " : "slot ")
                       + QString::fromLatin1(method.name()) + '(' + parameters.join(", ") + ')');
    }
    QCOMPARE(methods,
             (QStringList{"signal statusFeedbackSignal(QString _sMessage)", "signal doHandleReady()",
                          "signal process(int now, int total)",
                          "signal readDataFinishedSinal(ushort frameTotal, ushort frameError, ushort "
                          "frameSelectedId)",
                          "slot readDataSlot(QString filePath)"}));
}

void TestDecodeLine::runsTheEventLoopBeforeEveryLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("good") << FrameText(0x03).text();
    QTest::newRow("wrong header") << QStringLiteral("hello");
    QTest::newRow("empty") << QString();
    QTest::newRow("of another plane") << FrameText(0x03, 2).text();
}

void TestDecodeLine::runsTheEventLoopBeforeEveryLine()
{
    const Fixture fixture;
    QFETCH(QString, line);
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    DataHandler handler;
    QSignalSpy spy(&handler, &DataHandler::process);
    int seenTotal = -1;
    int seenSignals = -1;
    QMetaObject::invokeMethod(
        &handler,
        [&] {
            seenTotal = handler.frameTotal();
            seenSignals = spy.count();
        },
        Qt::QueuedConnection);
    handler.decodeLine(line);
    QCOMPARE(seenTotal, 0);
    QCOMPARE(seenSignals, 0);
}

void TestDecodeLine::reportsProgressBeforeAnyCheck_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("now");
    QTest::newRow("good") << FrameText(0x03).text() << 10;
    QTest::newRow("longer than the fields") << FrameText(0x03).resize(100).text() << 60;
    QTest::newRow("wrong header") << QStringLiteral("BBEC0103") << -36;
    QTest::newRow("of another plane") << FrameText(0x01, 2).text() << -22;
    QTest::newRow("empty") << QString() << -40;
    QTest::newRow("odd number of digits") << QStringLiteral("AAE") << -38;
}

void TestDecodeLine::reportsProgressBeforeAnyCheck()
{
    const Fixture fixture;
    QFETCH(QString, line);
    QFETCH(int, now);
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    DataHandler handler;
    handler.setTotal(12345);
    int calls = 0;
    connect(&handler, &DataHandler::process, &handler, [&](int gotNow, int gotTotal) {
        ++calls;
        QCOMPARE(gotNow, now);
        QCOMPARE(gotTotal, 12345);
        QCOMPARE(int(handler.frameTotal()), 1);
        QCOMPARE(int(handler.frameError()), 0);
        QCOMPARE(int(handler.frameSelectedId()), 0);
        QCOMPARE(totalSampleCount(), 0);
    });
    handler.decodeLine(line);
    QCOMPARE(calls, 1);
    QCOMPARE(handler.processed(), qint64(now) + 40);

    // The next line increments it.
    handler.disconnect();
    const QSignalSpy spy(&handler, &DataHandler::process);
    handler.decodeLine(QStringLiteral("00"));
    QCOMPARE(spy.first(), (QList<QVariant>{now + 1, 12345}));
}

void TestDecodeLine::progressIsTruncatedTo32Bits()
{
    const Fixture fixture;
    DataHandler handler;
    handler.setTotal((qint64(7) << 32) + 9);
    const QSignalSpy spy(&handler, &DataHandler::process);
    handler.decodeLine(QString());
    handler.setTotal((qint64(1) << 32) - 2);
    handler.decodeLine(QString());
    QCOMPARE(spy.at(0), (QList<QVariant>{-40, 9}));
    QCOMPARE(spy.at(1), (QList<QVariant>{-40, -2}));
}

void TestDecodeLine::wrongHeaderIsCountedAndLogged_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("first byte") << QStringLiteral("ABEC0103") + QString(100, '0');
    QTest::newRow("second byte") << QStringLiteral("AAED0103") + QString(100, '0');
    QTest::newRow("bytes swapped") << QStringLiteral("ECAA0103") + QString(100, '0');
    QTest::newRow("one digit too many shifts the pairs") << QStringLiteral("0AAEC0103") + QString(100, '0');
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << QStringLiteral("   ");
    QTest::newRow("text") << QStringLiteral("2023-12-16 15:14:20 recorder started");
    QTest::newRow("Chinese text") << QStringLiteral("记录开始");
}

void TestDecodeLine::wrongHeaderIsCountedAndLogged()
{
    const Fixture fixture;
    QFETCH(QString, line);
    DataHandler handler;
    const LogFile log;
    QCOMPARE(handler.decodeLine(line), false);
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), 1);
    QCOMPARE(int(handler.frameSelectedId()), 0);
    QCOMPARE(log.leveledMessages(), QStringList{"info: error data :" + line});
}

void TestDecodeLine::wrongHeaderAddsNoSampleAndSkipsTheRepair()
{
    const Fixture fixture;
    DataHandler handler;
    // Attitude leads by two samples, so a valid frame would trigger the repair.
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({1.0, 2.0});
    const int before = totalSampleCount();
    handler.decodeLine(QStringLiteral("BBEC0103"));
    QCOMPARE(totalSampleCount(), before);
}

void TestDecodeLine::shortLineIsAWrongHeaderBeforeThePlaneFilter_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("one byte") << QStringLiteral("AA");
    QTest::newRow("the header alone") << QStringLiteral("AAEC");
    QTest::newRow("the selected plane without a code") << QStringLiteral("AAEC05");
    QTest::newRow("another plane without a code") << QStringLiteral("AAEC06");
}

void TestDecodeLine::shortLineIsAWrongHeaderBeforeThePlaneFilter()
{
    const Fixture fixture;
    QFETCH(QString, line);
    selectedPlaneEnabled = true;
    selectedPlaneId = 5;
    DataHandler handler;
    const LogFile log;
    QCOMPARE(handler.decodeLine(line), false);
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), 1);
    QCOMPARE(int(handler.frameSelectedId()), 0);
    QCOMPARE(log.messages(), QStringList{"error data :" + line});
}

void TestDecodeLine::badLineOf64KibIsLoggedCompletely()
{
    const Fixture fixture;
    DataHandler handler;
    const LogFile log;
    const QString line = QString(kBadLineLimit - 1, 'x') + 'y';
    QCOMPARE(handler.decodeLine(line), false);
    QCOMPARE(log.messages(), QStringList{"error data :" + line});
}

void TestDecodeLine::longerBadLineIsLoggedTruncatedWithItsLength()
{
    const Fixture fixture;
    DataHandler handler;
    const LogFile log;
    QCOMPARE(handler.decodeLine(QString(3000017, 'x')), false);
    QCOMPARE(log.messages().size(), 1);
    const QString message = log.messages().first();
    QVERIFY(message.startsWith("error data :xxxx"));
    QVERIFY2(message.contains("3000017"), qPrintable(message.right(100)));
    const int kept = message.count('x');
    QVERIFY2(kept > 1000 && kept <= kBadLineLimit, qPrintable(QString::number(kept)));
    QVERIFY(message.size() < kBadLineLimit + 200);
    // The limit is one of bytes.
    handler.decodeLine(QString(kBadLineLimit / 2, QChar(0x98DE)));
    QVERIFY(log.messages().last().endsWith(QStringLiteral("飞... (%1 characters)").arg(kBadLineLimit / 2)));
    QCOMPARE(log.messages().last().count(QChar(0x98DE)), kBadLineLimit / 3);
    // A place marker in the line is logged unchanged.
    handler.decodeLine(QStringLiteral("%1%2").repeated(100000));
    QVERIFY(log.messages().last().startsWith("error data :%1%2%1%2"));
    QVERIFY2(log.messages().last().endsWith("%1%2... (400000 characters)"),
             qPrintable(log.messages().last().right(60)));
}

void TestDecodeLine::bracesInABadLineAreLoggedUnchanged()
{
    const Fixture fixture;
    DataHandler handler;
    const LogFile log;
    handler.decodeLine(QStringLiteral("{} {0} {:d} %s %1"));
    QCOMPARE(log.leveledMessages(), QStringList{"info: error data :{} {0} {:d} %s %1"});
}

void TestDecodeLine::controlCharactersOfABadLineAreLoggedEscaped_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("logged");
    QTest::newRow("sequence for a terminal") << QStringLiteral("a\x1B[31mred\x07") << R"(a\x1b[31mred\x07)";
    QTest::newRow("line ends") << QStringLiteral("a\r\nb") << R"(a\x0d\x0ab)";
    QTest::newRow("null") << QString(QChar(0)) << R"(\x00)";
    QTest::newRow("last of them") << QString(QChar(0x1F)) + ' ' << R"(\x1f )";
    QTest::newRow("delete") << "~" + QString(QChar(0x7F)) << R"(~\x7f)";
    QTest::newRow("those of Latin-1") << QString(QChar(0x80)) + QChar(0x9B) + QChar(0x9F) << R"(\x80\x9b\x9f)";
    QTest::newRow("tab and the characters around") << QStringLiteral("\t ~\u00A0飞\\x1b") << "\t ~\u00A0飞\\x1b";
    QTest::newRow("at the truncation of a long line") << QString(kBadLineLimit - 1, 'x')
            + "\x1By" << QString(kBadLineLimit - 1, 'x') + R"(\x1b... (65537 characters))";
}

void TestDecodeLine::controlCharactersOfABadLineAreLoggedEscaped()
{
    const Fixture fixture;
    QFETCH(QString, line);
    QFETCH(QString, logged);
    DataHandler handler;
    const LogFile log;
    handler.decodeLine(line);
    QCOMPARE(log.messages(), QStringList{"error data :" + logged});
}

void TestDecodeLine::validLineLogsNothing()
{
    const Fixture fixture;
    DataHandler handler;
    const LogFile log;
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x51, 0x52, 0x53, 0x06})
        QCOMPARE(handler.decodeLine(FrameText(code).text()), true);
    handler.decodeLine(QStringLiteral("AAEC0103"));
    QVERIFY(log.messages().isEmpty());
    QCOMPARE(int(handler.frameTotal()), 11);
    QCOMPARE(int(handler.frameError()), 0);
}

void TestDecodeLine::decodesEveryFieldOfItsTable_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x52})
        QTest::addRow("0x%02x", code) << code;
}

void TestDecodeLine::decodesEveryFieldOfItsTable()
{
    QFETCH(int, code);
    std::mt19937 random(quint32(code) + 1);
    for (int round = 0; round < 200; ++round) {
        const Fixture fixture;
        DataHandler handler;
        ReferenceDecoder reference;
        const QString line = randomFrame(code, FrameText::wholeLength(code), random).text();
        QCOMPARE(handler.decodeLine(line), true);
        reference.decodeLine(line);
        QCOMPARE(reference.channels[code][0].size(), 1);
        compareWithReference(reference);
        if (QTest::currentTestFailed())
            return;
    }
}

void TestDecodeLine::decodesMinimumAndMaximumFieldValues()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x01).put(13, 4, 0xFFFFFFFF).text());
    handler.decodeLine(FrameText(0x02).put(18, 4, 0xFFFFFFFF).text());
    handler.decodeLine(FrameText(0x03).put(7, 2, 0xFFFF).put(11, 2, 0xFFFF).text());
    handler.decodeLine(FrameText(0x05).put(33, 1, 0xFE).text());
    QCOMPARE(samples("HBS_Lat"), (QVector<double>{-0.0000001}));
    QCOMPARE(samples("FSS_PowerUptime"), (QVector<double>{4294967295.0}));
    QCOMPARE(samples("PGS_Roll").last(), -0.01);
    QCOMPARE(samples("PGS_Yaw").last(), 655.35);
    QCOMPARE(samples("FTP_HoverMode").last(), -2.0);
}

void TestDecodeLine::deviceStateSetsTheEquipmentChannels_data()
{
    QTest::addColumn<int>("word");
    QTest::newRow("none") << 0;
    QTest::newRow("gyroscope and compass") << 0x0005;
    QTest::newRow("all") << 0xFFFF;
    for (int bit = 0; bit < 16; ++bit)
        QTest::addRow("bit %d", bit) << (1 << bit);
}

void TestDecodeLine::deviceStateSetsTheEquipmentChannels()
{
    const Fixture fixture;
    QFETCH(int, word);
    DataHandler handler;
    handler.decodeLine(FrameText(0x02).put(7, 2, word).text());
    const char *const names[] = {
        "DS_Top",     "DS_Unprotected", "DS_MagneticCompass", "DS_Barometer",   "DS_AirspeedMeter", "DS_GPS",
        "DS_SBUS",    "DS_DataLink",    "DS_Voltage",         "DS_OutsideTube", "DS_HighDrop",      "DS_ThrottleLocked",
        "DS_Posture", "DS_InertialNav", "DS_Power",           "DS_Payload"};
    for (int bit = 0; bit < 16; ++bit)
        QCOMPARE(samples(names[bit]), (QVector<double>{(word >> bit) % 2 == 1 ? 1.0 : 0.0}));
    QCOMPARE(samples("FSS_DeviceState"), (QVector<double>{double(word)}));
}

void TestDecodeLine::frameAtItsThresholdRepeatsTheLastSamples_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("threshold");
    for (const Gate &gate : kGates)
        QTest::addRow("0x%02x", gate.code) << gate.code << gate.threshold;
}

void TestDecodeLine::frameAtItsThresholdRepeatsTheLastSamples()
{
    const Fixture fixture;
    QFETCH(int, code);
    QFETCH(int, threshold);
    DataHandler handler;
    std::mt19937 random(5);
    handler.decodeLine(randomFrame(code, FrameText::wholeLength(code), random).text());
    for (const int length : {threshold, threshold - 1, 6, 4})
        QCOMPARE(handler.decodeLine(randomFrame(code, length, random).text()), true);
    for (const int group : {code, code == 0x02 ? 0x53 : code}) {
        for (const MyGraph *graph : *channelGroup(quint8(group))) {
            QCOMPARE(graph->yvalue().size(), 5);
            QCOMPARE(graph->yvalue(), QVector<double>(5, graph->yvalue().first()));
        }
    }
    QCOMPARE(int(handler.frameTotal()), 5);
    QCOMPARE(int(handler.frameError()), 0);
}

void TestDecodeLine::frameAboveItsThresholdReadsMissingBytesAsZero_data()
{
    frameAtItsThresholdRepeatsTheLastSamples_data();
}

void TestDecodeLine::frameAboveItsThresholdReadsMissingBytesAsZero()
{
    const Fixture fixture;
    QFETCH(int, code);
    QFETCH(int, threshold);
    DataHandler handler;
    FrameText frame(code);
    frame.resize(threshold + 1);
    for (int byte = 7; byte <= threshold + 1; ++byte)
        frame.put(byte, 1, 0x01);
    handler.decodeLine(frame.text());
    for (const ExpectedField &field : expectedFields()) {
        if (field.code != code)
            continue;
        double raw = 0;
        for (int byte = field.byte; byte < field.byte + field.width; ++byte)
            raw = raw * 256 + (byte <= threshold + 1 ? 1 : 0);
        QCOMPARE(findGraph(field.label)->yvalue(), (QVector<double>{raw / field.divisor}));
    }
}

void TestDecodeLine::shortFrameOnEmptyChannelsGivesZeros_data()
{
    frameAtItsThresholdRepeatsTheLastSamples_data();
}

void TestDecodeLine::shortFrameOnEmptyChannelsGivesZeros()
{
    const Fixture fixture;
    QFETCH(int, code);
    QFETCH(int, threshold);
    DataHandler handler;
    FrameText frame(code);
    frame.resize(threshold);
    for (int byte = 7; byte <= threshold; ++byte)
        frame.put(byte, 1, 0xFF);
    handler.decodeLine(frame.text());
    for (const int group : {code, code == 0x02 ? 0x53 : code}) {
        for (const MyGraph *graph : *channelGroup(quint8(group)))
            QCOMPARE(graph->yvalue(), (QVector<double>{0.0}));
    }
}

void TestDecodeLine::bytesOfThePreviousLineAreNotUsed()
{
    const Fixture fixture;
    DataHandler handler;
    FrameText whole(0x01);
    for (int byte = 7; byte <= 18; ++byte)
        whole.put(byte, 1, 0xFF);
    handler.decodeLine(whole.text());
    handler.decodeLine(FrameText(0x01).put(17, 1, 0x04).resize(17).text());
    QCOMPARE(samples("HBS_Version"), (QVector<double>{65.535, 1.024}));
}

void TestDecodeLine::backupFrameHasNoMinimumLength_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<double>("value");
    QTest::newRow("whole") << 12 << -2.0;
    QTest::newRow("longer") << 40 << -2.0;
    QTest::newRow("half the field") << 11 << -256.0;
    QTest::newRow("before the field") << 10 << 0.0;
    QTest::newRow("header alone") << 4 << 0.0;
}

void TestDecodeLine::backupFrameHasNoMinimumLength()
{
    const Fixture fixture;
    QFETCH(int, length);
    QFETCH(double, value);
    DataHandler handler;
    handler.decodeLine(FrameText(0x52).put(11, 2, 7).text());
    QCOMPARE(handler.decodeLine(FrameText(0x52).put(11, 2, -2).resize(length).text()), true);
    QCOMPARE(samples("BU_SpeedAngle"), (QVector<double>{7.0, value}));
}

void TestDecodeLine::otherCodesAddNoSample_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x00, 0x06, 0x10, 0x40, 0x42, 0x51, 0x53, 0x81, 0xFF})
        QTest::addRow("0x%02x", code) << code;
}

void TestDecodeLine::otherCodesAddNoSample()
{
    const Fixture fixture;
    QFETCH(int, code);
    DataHandler handler;
    FrameText frame(code);
    frame.resize(90);
    QCOMPARE(handler.decodeLine(frame.text()), true);
    QCOMPARE(totalSampleCount(), 0);
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), 0);
}

void TestDecodeLine::unknownCodeStillRepairs()
{
    const Fixture fixture;
    DataHandler handler;
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({4.0});
    handler.decodeLine(FrameText(0x06).text());
    // Sensors are extended to targets, control status and equipment to sensors, attitude to control status.
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 1, 1}));
}

void TestDecodeLine::bytesFiveAndSixAreIgnored()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x52).put(5, 2, 0x1234).put(11, 2, 5).text());
    handler.decodeLine(FrameText(0x52).put(5, 2, 0xFFFF).put(11, 2, 5).text());
    QCOMPARE(samples("BU_SpeedAngle"), (QVector<double>{5.0, 5.0}));
}

void TestDecodeLine::bytesAfterTheFieldsAreIgnored_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("one byte more") << 51;
    QTest::newRow("79 bytes, more than any table reaches") << 79;
    QTest::newRow("a million bytes") << 1000000;
}

void TestDecodeLine::bytesAfterTheFieldsAreIgnored()
{
    const Fixture fixture;
    QFETCH(int, length);
    DataHandler handler;
    const LogFile log;
    FrameText frame(0x03);
    frame.set("PGS_Roll", -12.34).set("PGS_AssitHeight", 6553.5).resize(length).put(length, 1, 0xEE);
    QCOMPARE(handler.decodeLine(frame.text()), true);
    QCOMPARE(samples("PGS_Roll"), (QVector<double>{-12.34}));
    QCOMPARE(samples("PGS_AssitHeight"), (QVector<double>{6553.5}));
    QCOMPARE(handler.processed(), qint64(length));
    QVERIFY(log.messages().isEmpty());
}

void TestDecodeLine::blanksBetweenBytesAreIgnored()
{
    const Fixture fixture;
    DataHandler handler;
    std::mt19937 random(3);
    const FrameText frame = randomFrame(0x04, 78, random);
    handler.decodeLine(frame.text());
    handler.decodeLine(frame.spacedText());
    handler.decodeLine("  " + frame.spacedText().replace(' ', "\t ") + '\r');
    for (const MyGraph *graph : sensorGraphs)
        QCOMPARE(graph->yvalue(), QVector<double>(3, graph->yvalue().first()));
    QCOMPARE(int(handler.frameError()), 0);
    QCOMPARE(handler.processed(), qint64(3 * 78));
}

void TestDecodeLine::filterSkipsOtherPlanesWithoutLogging()
{
    const Fixture fixture;
    selectedPlaneEnabled = true;
    selectedPlaneId = 3;
    DataHandler handler;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue({1.0, 2.0});
    const int before = totalSampleCount();
    const LogFile log;
    QCOMPARE(handler.decodeLine(FrameText(0x03, 4).text()), false);
    QCOMPARE(totalSampleCount(), before);
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), 0);
    QCOMPARE(int(handler.frameSelectedId()), 0);
    QVERIFY(log.messages().isEmpty());
}

void TestDecodeLine::filterCountsFramesOfItsPlaneWithAnyCode_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x51, 0x52, 0x53, 0x06, 0xFF})
        QTest::addRow("0x%02x", code) << code;
}

void TestDecodeLine::filterCountsFramesOfItsPlaneWithAnyCode()
{
    const Fixture fixture;
    QFETCH(int, code);
    selectedPlaneEnabled = true;
    selectedPlaneId = 3;
    DataHandler handler;
    QCOMPARE(handler.decodeLine(FrameText(code, 3).text()), true);
    QCOMPARE(handler.decodeLine(FrameText(code, 3).resize(4).text()), true);
    QCOMPARE(handler.decodeLine(FrameText(code, 4).text()), false);
    QCOMPARE(int(handler.frameTotal()), 3);
    QCOMPARE(int(handler.frameSelectedId()), 2);
    QCOMPARE(int(handler.frameError()), 0);
}

void TestDecodeLine::filterComparesUnsigned()
{
    const Fixture fixture;
    selectedPlaneEnabled = true;
    selectedPlaneId = 200;
    DataHandler handler;
    QCOMPARE(handler.decodeLine(FrameText(0x52, 200).text()), true);
    QCOMPARE(handler.decodeLine(FrameText(0x52, 72).text()), false);
    QCOMPARE(int(handler.frameSelectedId()), 1);
}

void TestDecodeLine::withoutFilterNothingIsSelected()
{
    const Fixture fixture;
    selectedPlaneId = 3;
    DataHandler handler;
    QCOMPARE(handler.decodeLine(FrameText(0x03, 3).text()), true);
    QCOMPARE(handler.decodeLine(FrameText(0x03, 9).text()), true);
    QCOMPARE(int(handler.frameSelectedId()), 0);
    QCOMPARE(samples("PGS_Roll").size(), 2);
}

void TestDecodeLine::countersWrapAt65536()
{
    const Fixture fixture;
    DataHandler handler;
    const QString line = FrameText(0x52).text();
    for (int i = 0; i < 70000; ++i)
        handler.decodeLine(line);
    QCOMPARE(int(handler.frameTotal()), 4464);
    QCOMPARE(samples("BU_SpeedAngle").size(), 70000);
    QCOMPARE(handler.processed(), qint64(70000) * 12);
}

void TestDecodeLine::errorAndSelectedCountersWrapAt65536()
{
    const Fixture fixture;
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    DataHandler handler;
    const QString good = FrameText(0x06).text();
    for (int i = 0; i < 65537; ++i) {
        handler.decodeLine(good);
        handler.decodeLine(QStringLiteral("x"));
    }
    QCOMPARE(int(handler.frameSelectedId()), 1);
    QCOMPARE(int(handler.frameError()), 1);
    QCOMPARE(int(handler.frameTotal()), 2);
}

void TestDecodeLine::repeatLastCopiesOrStartsWithZero()
{
    const Fixture fixture;
    DataHandler handler;
    handler.repeatLast(2, sensorGraphs);
    QCOMPARE(sensorGraphs[2]->yvalue(), (QVector<double>{0.0}));
    sensorGraphs[2]->setYvalue({1.0, -3.5});
    handler.repeatLast(2, sensorGraphs);
    QCOMPARE(sensorGraphs[2]->yvalue(), (QVector<double>{1.0, -3.5, -3.5}));
    QVERIFY(sensorGraphs[1]->yvalue().isEmpty());
    QVERIFY(sensorGraphs[3]->yvalue().isEmpty());
    handler.repeatLast(0, &backupGraph);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{0.0}));
}

void TestDecodeLine::threeAttitudeFramesExtendTheOtherGroups()
{
    const Fixture fixture;
    DataHandler handler;
    const QString line = FrameText(0x03).set("PGS_Roll", 1.5).text();
    handler.decodeLine(line);
    QCOMPARE(lengths(), (QVector<int>{0, 0, 1, 0, 0}));
    handler.decodeLine(line);
    QCOMPARE(lengths(), (QVector<int>{1, 0, 2, 0, 0}));
    handler.decodeLine(line);
    QCOMPARE(lengths(), (QVector<int>{2, 0, 3, 0, 0}));
    handler.evenTail();
    QCOMPARE(lengths(), (QVector<int>{3, 1, 3, 1, 1}));
    QCOMPARE(samples("FSS_Year"), QVector<double>(3, 0.0));
}

void TestDecodeLine::repairExtendsSensorsShorterThanTargets()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x05).text());
    // The new sensor sample extends control status, which extends attitude.
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 1, 1}));
}

void TestDecodeLine::repairExtendsTargetsTwoShorterThanSensors()
{
    const Fixture fixture;
    DataHandler handler;
    const QString line = FrameText(0x04).text();
    handler.decodeLine(line);
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 1, 0}));
    handler.decodeLine(line);
    QCOMPARE(lengths(), (QVector<int>{2, 2, 2, 2, 1}));
}

void TestDecodeLine::repairExtendsControlStatusAndEquipmentShorterThanSensors()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x02).put(7, 2, 0xFFFF).set("FSS_Year", 23).text());
    handler.decodeLine(FrameText(0x04).text());
    handler.decodeLine(FrameText(0x04).text());
    QCOMPARE(lengths(), (QVector<int>{2, 2, 2, 2, 1}));
    QCOMPARE(samples("FSS_Year"), (QVector<double>{23.0, 23.0}));
    QCOMPARE(samples("DS_Top"), (QVector<double>{1.0, 1.0}));
}

void TestDecodeLine::repairExtendsSensorsTwoShorterThanControlStatus()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x02).text());
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 0, 0}));
    handler.decodeLine(FrameText(0x02).text());
    QCOMPARE(lengths(), (QVector<int>{2, 2, 2, 1, 0}));
    handler.decodeLine(FrameText(0x02).text());
    // Sensors get two samples only in the second step, so targets are extended with the next frame.
    QCOMPARE(lengths(), (QVector<int>{3, 3, 3, 2, 0}));
    handler.decodeLine(FrameText(0x02).text());
    QCOMPARE(lengths(), (QVector<int>{4, 4, 4, 3, 1}));
}

void TestDecodeLine::repairExtendsAttitudeShorterThanControlStatus()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x03).set("PGS_Roll", 4.25).text());
    handler.decodeLine(FrameText(0x02).text());
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 0, 0}));
    handler.decodeLine(FrameText(0x02).text());
    QCOMPARE(lengths(), (QVector<int>{2, 2, 2, 1, 0}));
    QCOMPARE(samples("PGS_Roll"), (QVector<double>{4.25, 4.25}));
}

void TestDecodeLine::repairDoesNotExtendEquipmentToAttitude()
{
    const Fixture fixture;
    DataHandler handler;
    handler.decodeLine(FrameText(0x02).put(7, 2, 1).set("FSS_Year", 23).text());
    for (int i = 0; i < 3; ++i)
        handler.decodeLine(FrameText(0x03).text());
    // Control status: one sample from the frame, and two repeated ones because attitude led by two samples twice.
    QCOMPARE(lengths(), (QVector<int>{3, 1, 4, 1, 0}));
    QCOMPARE(samples("FSS_Year"), (QVector<double>{23.0, 23.0, 23.0}));
    QCOMPARE(samples("DS_Top"), (QVector<double>{1.0}));
}

void TestDecodeLine::repairIgnoresALeadOfOne()
{
    const Fixture fixture;
    DataHandler handler;
    const auto fill = [](int code, int count) {
        for (MyGraph *graph : *channelGroup(quint8(code)))
            graph->setYvalue(QVector<double>(count, 1.0));
    };
    fill(0x03, 8);
    fill(0x02, 7);
    fill(0x53, 7);
    fill(0x04, 6);
    fill(0x05, 5);
    handler.decodeLine(FrameText(0x06).text());
    QCOMPARE(lengths(), (QVector<int>{7, 7, 8, 6, 5}));
}

void TestDecodeLine::repairIgnoresHeartBeatAndPayload()
{
    const Fixture fixture;
    DataHandler handler;
    for (int i = 0; i < 5; ++i) {
        handler.decodeLine(FrameText(0x01).text());
        handler.decodeLine(FrameText(0x41).text());
        handler.decodeLine(FrameText(0x52).text());
    }
    handler.evenTail();
    QCOMPARE(lengths(), (QVector<int>{0, 0, 0, 0, 0}));
    QCOMPARE(channelGroup(0x01)->length(), 5);
    QCOMPARE(channelGroup(0x41)->length(), 5);
    QCOMPARE(channelGroup(0x51)->length(), 0);
}

void TestDecodeLine::evenTailExtendsTheChainFromTheTop()
{
    const Fixture fixture;
    DataHandler handler;
    attitudeGraphs[0]->setYvalue({1.0});
    handler.evenTail();
    for (const int code : {0x02, 0x53, 0x04, 0x05}) {
        for (const MyGraph *graph : *channelGroup(quint8(code)))
            QCOMPARE(graph->yvalue(), (QVector<double>{0.0}));
    }
    QCOMPARE(attitudeGraphs[0]->yvalue().size(), 1);
}

void TestDecodeLine::evenTailExtendsByOneSampleOnly()
{
    const Fixture fixture;
    DataHandler handler;
    for (MyGraph *graph : attitudeGraphs)
        graph->setYvalue(QVector<double>(10, 1.0));
    for (MyGraph *graph : controlStatusGraphs)
        graph->setYvalue({1.0, 2.0});
    for (MyGraph *graph : equipmentGraphs)
        graph->setYvalue({0.0, 1.0});
    handler.evenTail();
    QCOMPARE(lengths(), (QVector<int>{3, 3, 10, 1, 1}));
    QCOMPARE(samples("FSS_Year"), (QVector<double>{1.0, 2.0, 2.0}));
    QCOMPARE(samples("DS_Payload"), (QVector<double>{0.0, 1.0, 1.0}));
}

void TestDecodeLine::evenTailLeavesEqualLengthsUnchanged()
{
    const Fixture fixture;
    DataHandler handler;
    for (const QString &line : oneCycle())
        handler.decodeLine(line);
    const QVector<int> before = lengths();
    QCOMPARE(before, (QVector<int>{1, 1, 1, 1, 1}));
    handler.evenTail();
    QCOMPARE(lengths(), before);
    // evenTail() only extends along the chain, so a target group that leads extends no other group.
    for (MyGraph *graph : targetGraphs)
        graph->setYvalue({1.0, 2.0, 3.0});
    handler.evenTail();
    QCOMPARE(lengths(), (QVector<int>{1, 1, 1, 1, 3}));
}

void TestDecodeLine::randomFlightsMatchTheReferenceDecoder_data()
{
    QTest::addColumn<uint>("seed");
    QTest::addColumn<bool>("filter");
    for (uint seed = 1; seed <= 12; ++seed)
        QTest::addRow("flight %u", seed) << seed << (seed % 3 == 0);
}

void TestDecodeLine::randomFlightsMatchTheReferenceDecoder()
{
    const Fixture fixture;
    QFETCH(uint, seed);
    QFETCH(bool, filter);
    selectedPlaneEnabled = filter;
    selectedPlaneId = 2;
    DataHandler handler;
    ReferenceDecoder reference;
    reference.planeSelected = filter;
    reference.plane = 2;
    std::mt19937 random(seed);
    // Some flights have almost no frames of one code, so that the repair runs often.
    const int rare = int(random() % 4) + 2;
    for (int i = 0; i < 2000; ++i) {
        static const int codes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x02, 0x03, 0x04, 0x05, 0x41, 0x51, 0x52, 0x53, 0x77};
        int code = codes[random() % std::size(codes)];
        if (code == rare && random() % 10 != 0)
            code = 0x03;
        int length = FrameText::wholeLength(code) + int(random() % 9) - 4;
        if (random() % 20 == 0)
            length = int(random() % 100);
        FrameText frame = randomFrame(code, std::max(length, 4), random, int(random() % 3) + 1);
        QString line = random() % 2 == 0 ? frame.text() : frame.spacedText();
        if (random() % 25 == 0)
            line.remove(0, int(random() % 9) + 1);
        QCOMPARE(handler.decodeLine(line), reference.decodeLine(line));
    }
    QCOMPARE(int(handler.frameTotal()), 2000);
    QCOMPARE(qint64(handler.frameError()), reference.errors);
    QCOMPARE(qint64(handler.frameSelectedId()), reference.selected);
    QVERIFY(reference.errors > 0);
    compareWithReference(reference);
    handler.evenTail();
    reference.evenTail();
    compareWithReference(reference);
}

QTEST_GUILESS_MAIN(TestDecodeLine)
#include "TestDecodeLine.moc"
