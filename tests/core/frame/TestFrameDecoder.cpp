#include "FrameDecoder.h"
#include "FrameText.h"
#include "ReferenceDecoder.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace ostravel;

namespace
{

Series &series(SeriesArray &all, const char *channel)
{
    SeriesRefs refs(all);
    for (const frame::Layout &layout : frame::kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row) {
            if (qstrcmp(layout.rows[row].name, channel) == 0)
                return refs.at(layout.code, row);
        }
    }
    qFatal("no channel %s", channel);
    return all[0];
}

int totalSampleCount(const SeriesArray &all)
{
    int count = 0;
    for (const Series &samples : all)
        count += samples.size();
    return count;
}

/** Lengths of the groups 0x02, 0x53, 0x03, 0x04 and 0x05. */
QVector<int> lengths(SeriesArray &all)
{
    const SeriesRefs refs(all);
    return {refs.length<frame::kControlStatus>(), refs.length<frame::kEquipment>(), refs.length<frame::kAttitude>(),
            refs.length<frame::kSensor>(), refs.length<frame::kTarget>()};
}

} // namespace

Q_DECLARE_METATYPE(ostravel::FrameKind)

class TestFrameDecoder : public QObject
{
    Q_OBJECT

private slots:
    void returnsTheKindOfALine_data();
    void returnsTheKindOfALine();
    void keepsAllPlanesWithoutAFilter();
    void badHeadersAndOtherPlanesLeaveTheSeriesUnchanged();
    void appendsToTheGivenSeries();
    void textAndBytesGiveTheSameResult_data();
    void textAndBytesGiveTheSameResult();
    void deviceStateGivesTheEquipmentBits();
    void decodesSignedAndUnsignedFields();
    void frameAtItsGateRepeatsTheLastSamples_data();
    void frameAtItsGateRepeatsTheLastSamples();
    void unknownCodeRunsTheRepair();
    void threeAttitudeFramesExtendTheOtherGroups();
    void seriesCanBeReplacedBetweenTwoFrames();
    void reservesAtMostTenHours_data();
    void reservesAtMostTenHours();
    void reservesMoreWhenTheReservationIsFull_data();
    void reservesMoreWhenTheReservationIsFull();
    void randomFramesMatchTheReferenceDecoder_data();
    void randomFramesMatchTheReferenceDecoder();
};

void TestFrameDecoder::returnsTheKindOfALine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<ostravel::FrameKind>("kind");
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x52}) {
        QTest::addRow("whole frame of 0x%02x", code) << FrameText(code, 3).text() << FrameKind::Decoded;
        QTest::addRow("four bytes of 0x%02x", code) << FrameText(code, 3).resize(4).text() << FrameKind::Decoded;
        QTest::addRow("other plane of 0x%02x", code) << FrameText(code, 4).text() << FrameKind::OtherPlane;
    }
    for (const int code : {0x00, 0x06, 0x10, 0x51, 0x53, 0xFF})
        QTest::addRow("0x%02x brings no sample", code) << FrameText(code, 3).text() << FrameKind::UnknownCode;
    QTest::newRow("unknown code of another plane") << FrameText(0x06, 4).text() << FrameKind::OtherPlane;
    QTest::newRow("empty") << QString() << FrameKind::BadHeader;
    QTest::newRow("no digits") << QStringLiteral("xyz") << FrameKind::BadHeader;
    QTest::newRow("header alone") << QStringLiteral("AAEC") << FrameKind::BadHeader;
    QTest::newRow("three bytes") << QStringLiteral("AAEC03") << FrameKind::BadHeader;
    QTest::newRow("wrong first byte") << QStringLiteral("ABEC0303") << FrameKind::BadHeader;
    QTest::newRow("wrong second byte") << QStringLiteral("AAED0303") << FrameKind::BadHeader;
    QTest::newRow("wrong header of another plane") << QStringLiteral("AAED0403") << FrameKind::BadHeader;
}

void TestFrameDecoder::returnsTheKindOfALine()
{
    QFETCH(QString, line);
    QFETCH(ostravel::FrameKind, kind);
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    decoder.setPlaneId(3);
    QCOMPARE(int(decoder.decode(line)), int(kind));
}

void TestFrameDecoder::keepsAllPlanesWithoutAFilter()
{
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    QVERIFY(!decoder.planeId().has_value());
    QCOMPARE(int(decoder.decode(FrameText(0x01, 0).text())), int(FrameKind::Decoded));
    QCOMPARE(int(decoder.decode(FrameText(0x01, 255).text())), int(FrameKind::Decoded));
    QCOMPARE(series(all, "HBS_Lng").size(), 2);
}

void TestFrameDecoder::badHeadersAndOtherPlanesLeaveTheSeriesUnchanged()
{
    SeriesArray all;
    // The repair step would extend the other groups.
    SeriesRefs refs(all);
    for (int row = 0; row < 18; ++row)
        refs.at(frame::kAttitude, row) = {1.0, 2.0, 3.0, 4.0};
    const SeriesArray before = all;
    FrameDecoder decoder(refs);
    decoder.setPlaneId(3);
    decoder.decode(QString());
    decoder.decode(QStringLiteral("ABEC0303"));
    decoder.decode(FrameText(0x03, 4).text());
    QVERIFY(all == before);
}

void TestFrameDecoder::appendsToTheGivenSeries()
{
    SeriesArray first;
    SeriesArray second;
    const SeriesRefs firstRefs(first);
    const SeriesRefs secondRefs(second);
    FrameDecoder one(firstRefs);
    FrameDecoder other(secondRefs);
    one.decode(FrameText(0x03).set("PGS_Roll", 12.34).text());
    other.decode(FrameText(0x03).set("PGS_Roll", -5.5).text());
    one.decode(FrameText(0x03).set("PGS_Roll", 1).text());
    QCOMPARE(series(first, "PGS_Roll"), Series({12.34, 1.0}));
    QCOMPARE(series(second, "PGS_Roll"), Series({-5.5}));
}

void TestFrameDecoder::textAndBytesGiveTheSameResult_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("whole") << FrameText(0x41).set("PI_Lock_Lng", 113.5).set("PI_Lock_Yaw", 359.99).bytes();
    QTest::newRow("one byte short") << FrameText(0x41).set("PI_Lock_Yaw", 359.99).resize(35).bytes();
    QTest::newRow("longer than any table") << FrameText(0x04).set("SS_RC1", 1500).resize(200).bytes();
    QTest::newRow("nothing") << QByteArray();
}

void TestFrameDecoder::textAndBytesGiveTheSameResult()
{
    QFETCH(QByteArray, bytes);
    const QByteArray hex = bytes.toHex();
    SeriesArray text;
    SeriesArray latin1;
    SeriesArray raw;
    const SeriesRefs textRefs(text);
    const SeriesRefs latin1Refs(latin1);
    const SeriesRefs rawRefs(raw);
    const auto kind = FrameDecoder(textRefs).decode(QString::fromLatin1(hex));
    QCOMPARE(int(FrameDecoder(latin1Refs).decode(QLatin1String(hex))), int(kind));
    QCOMPARE(int(FrameDecoder(rawRefs).decode(reinterpret_cast<const std::uint8_t *>(bytes.constData()), bytes.size())),
             int(kind));
    QVERIFY(text == latin1);
    QVERIFY(text == raw);
    QCOMPARE(totalSampleCount(text) > 0, !bytes.isEmpty());
}

void TestFrameDecoder::deviceStateGivesTheEquipmentBits()
{
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    decoder.decode(FrameText(0x02).put(7, 2, 0x8005).text());
    QCOMPARE(series(all, "FSS_DeviceState"), Series({32773.0}));
    for (const frame::FieldRow &row : frame::kEquipmentRows) {
        const bool set = row.index == 1 || row.index == 3 || row.index == 16;
        QCOMPARE(series(all, row.name), Series({set ? 1.0 : 0.0}));
    }
}

void TestFrameDecoder::decodesSignedAndUnsignedFields()
{
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    decoder.decode(FrameText(0x03).put(7, 2, 0xFFFF).put(11, 2, 0xFFFF).text());
    decoder.decode(FrameText(0x01).put(13, 4, 0xFFFFFFFF).text());
    decoder.decode(FrameText(0x02).put(18, 4, 0xFFFFFFFF).text());
    QCOMPARE(series(all, "PGS_Roll").first(), -0.01);
    QCOMPARE(series(all, "PGS_Yaw").first(), 655.35);
    QCOMPARE(series(all, "HBS_Lat").first(), -0.0000001);
    QCOMPARE(series(all, "FSS_PowerUptime").last(), 4294967295.0);
}

void TestFrameDecoder::frameAtItsGateRepeatsTheLastSamples_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("gate");
    QTest::addColumn<QString>("channel");
    QTest::newRow("0x01") << 0x01 << 16 << "HBS_AircraftType";
    QTest::newRow("0x02") << 0x02 << 65 << "FSS_ControlLoadFactor";
    QTest::newRow("0x02, equipment") << 0x02 << 65 << "DS_Top";
    QTest::newRow("0x03") << 0x03 << 48 << "PGS_GPS_State";
    QTest::newRow("0x04") << 0x04 << 77 << "SS_RC1";
    QTest::newRow("0x05") << 0x05 << 33 << "FTP_TargetPoint_ID";
    QTest::newRow("0x41") << 0x41 << 34 << "PI_StateReport";
}

void TestFrameDecoder::frameAtItsGateRepeatsTheLastSamples()
{
    QFETCH(int, code);
    QFETCH(int, gate);
    QFETCH(QString, channel);
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    FrameText ones(code);
    for (int byte = 7; byte <= ones.bytes().size(); ++byte)
        ones.put(byte, 1, 1);
    const FrameText zeros(code);
    decoder.decode(FrameText(zeros).resize(gate).text());
    decoder.decode(ones.text());
    decoder.decode(FrameText(zeros).resize(gate).text());
    decoder.decode(FrameText(zeros).resize(gate + 1).text());
    const Series &got = series(all, channel.toLatin1().constData());
    const double one = channel.startsWith("SS_RC") ? 257.0 : 1.0; // two bytes, each 1
    QCOMPARE(got, Series({0.0, one, one, 0.0}));
}

void TestFrameDecoder::unknownCodeRunsTheRepair()
{
    SeriesArray all;
    SeriesRefs refs(all);
    for (int row = 0; row < 13; ++row)
        refs.at(frame::kTarget, row) = {7.0};
    FrameDecoder decoder(refs);
    QCOMPARE(int(decoder.decode(FrameText(0x06).text())), int(FrameKind::UnknownCode));
    // Sensors are extended to the targets, control status and equipment to the sensors, attitude to control status.
    QCOMPARE(lengths(all), QVector<int>({1, 1, 1, 1, 1}));
    QCOMPARE(series(all, "SS_RC1"), Series({0.0}));
    QCOMPARE(series(all, "FTP_TargetYaw"), Series({7.0}));
}

void TestFrameDecoder::threeAttitudeFramesExtendTheOtherGroups()
{
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    for (int i = 0; i < 3; ++i)
        decoder.decode(FrameText(0x03).text());
    QCOMPARE(lengths(all), QVector<int>({2, 0, 3, 0, 0}));
    decoder.evenTail();
    QCOMPARE(lengths(all), QVector<int>({3, 1, 3, 1, 1}));
}

void TestFrameDecoder::seriesCanBeReplacedBetweenTwoFrames()
{
    SeriesArray first;
    SeriesArray second;
    SeriesRefs refs(first);
    FrameDecoder decoder(refs);
    decoder.decode(FrameText(0x01).set("HBS_Version", 1.5).text());
    refs = SeriesRefs(second);
    decoder.decode(FrameText(0x01).set("HBS_Version", 2.5).text());
    QCOMPARE(series(first, "HBS_Version"), Series({1.5}));
    QCOMPARE(series(second, "HBS_Version"), Series({2.5}));
}

void TestFrameDecoder::reservesAtMostTenHours_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("samples");
    QTest::newRow("nothing") << qint64(0) << 0;
    // One frame of each recorded code: 18 + 67 + 50 + 78 + 34 + 36 bytes, so 566 digits and six line breaks.
    QTest::newRow("ten rounds") << qint64(5720) << 10;
    QTest::newRow("a terabyte") << qint64(1'000'000'000'000) << 200'000;
}

void TestFrameDecoder::reservesAtMostTenHours()
{
    QFETCH(qint64, bytes);
    QFETCH(int, samples);
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder(refs).reserveForLog(bytes);
    QCOMPARE(totalSampleCount(all), 0);
    for (const char *channel : {"HBS_Lng", "PGS_Roll", "BU_SpeedAngle", "DS_Top"})
        QVERIFY(series(all, channel).capacity() >= samples && series(all, channel).capacity() <= 2 * samples);
    QCOMPARE(series(all, "DF_YawDiff").capacity(), 0);
}

void TestFrameDecoder::reservesMoreWhenTheReservationIsFull_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("samples");
    // 572 bytes for a sample of each series.
    QTest::newRow("less than four times as much is left") << qint64(572) * 300'000 << 300'000;
    QTest::newRow("more than four times as much is left") << qint64(572) * 900'000 << 900'000;
    QTest::newRow("a terabyte") << qint64(1'000'000'000'000) << 800'000;
}

void TestFrameDecoder::reservesMoreWhenTheReservationIsFull()
{
    QFETCH(qint64, bytes);
    QFETCH(int, samples);
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    decoder.reserveForLog(bytes);
    const Frame frame = Frame::fromHex(QStringLiteral("AAEC0103")); // repeats the samples of its group
    for (int i = 1; i < 200'000; ++i)
        decoder.decode(frame);
    QVERIFY(series(all, "HBS_Lng").capacity() < samples);
    decoder.decode(frame);
    for (const char *channel : {"HBS_Lng", "PGS_Roll", "BU_SpeedAngle", "DS_Top"})
        QVERIFY(series(all, channel).capacity() >= samples && series(all, channel).capacity() <= samples + 16);
    QCOMPARE(series(all, "PGS_Roll").size(), 200'000);
}

void TestFrameDecoder::randomFramesMatchTheReferenceDecoder_data()
{
    QTest::addColumn<unsigned>("seed");
    for (unsigned seed = 1; seed <= 6; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void TestFrameDecoder::randomFramesMatchTheReferenceDecoder()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const auto below = [&random](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
    SeriesArray all;
    const SeriesRefs refs(all);
    FrameDecoder decoder(refs);
    ReferenceDecoder reference;
    reference.planeSelected = seed % 2 == 0;
    reference.plane = 1;
    if (reference.planeSelected)
        decoder.setPlaneId(1);

    const int codes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x52, 0x02, 0x03, 0x04, 0x05, 0x51, 0x53, 0x99};
    for (int i = 0; i < 4000; ++i) {
        FrameText text(codes[below(int(std::size(codes)))], below(10) == 0 ? 2 : 1);
        text.resize(below(4) == 0 ? below(90) : 80);
        for (int byte = 5; byte <= text.bytes().size(); ++byte)
            text.put(byte, 1, below(256));
        if (below(50) == 0 && !text.bytes().isEmpty())
            text.put(1, 1, 0);
        const FrameKind kind = decoder.decode(text.text());
        const bool accepted = kind == FrameKind::Decoded || kind == FrameKind::UnknownCode;
        QCOMPARE(accepted, reference.decodeLine(text.text()));
    }
    decoder.evenTail();
    reference.evenTail();
    int compared = 0;
    for (auto code = reference.fields.begin(); code != reference.fields.end(); ++code) {
        for (int row = 0; row < code->size(); ++row) {
            QVERIFY2(refs.at(std::uint8_t(code.key()), row) == reference.channels[code.key()][row],
                     qPrintable(code->at(row).name));
            ++compared;
        }
    }
    QCOMPARE(compared, 143);
    QVERIFY(totalSampleCount(all) > 100'000);
}

QTEST_GUILESS_MAIN(TestFrameDecoder)
#include "TestFrameDecoder.moc"
