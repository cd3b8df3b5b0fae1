#include "DataHandler.h"
#include "DemoFlight.h"
#include "Fixture.h"
#include "FrameText.h"
#include "Geodesy.h"
#include "ReferenceDecoder.h"

#include <QSignalSpy>
#include <QTest>
#include <QTextStream>
#include <QtMath>

using namespace ostravel;

namespace
{

void compareTrack(const ReferenceDecoder::Track &expected, const std::vector<double> &x, const std::vector<double> &y,
                  const std::vector<double> &z)
{
    QCOMPARE(QVector<double>(x.begin(), x.end()), expected.x);
    QCOMPARE(QVector<double>(y.begin(), y.end()), expected.y);
    QCOMPARE(QVector<double>(z.begin(), z.end()), expected.z);
}

} // namespace

/** Compares flights read by the program with the reference decoder, bit by bit in each channel. */
class TestDemoDecode : public QObject
{
    Q_OBJECT

private slots:
    void everyChannelMatchesTheReferenceDecoder_data();
    void everyChannelMatchesTheReferenceDecoder();
};

void TestDemoDecode::everyChannelMatchesTheReferenceDecoder_data()
{
    QTest::addColumn<int>("minutes");
    QTest::addColumn<quint64>("seed");
    QTest::addColumn<bool>("blanks");
    QTest::addColumn<bool>("backup");
    QTest::addColumn<bool>("damaged");
    QTest::addColumn<bool>("filter");
    QTest::newRow("twenty minutes") << 20 << quint64(1) << false << false << false << false;
    QTest::newRow("with blanks and backup frames") << 5 << quint64(2) << true << true << false << false;
    QTest::newRow("with the plane filter") << 2 << quint64(3) << false << true << false << true;
    QTest::newRow("damaged") << 20 << quint64(4) << false << true << true << false;
    QTest::newRow("damaged, with the plane filter") << 10 << quint64(5) << true << true << true << true;
}

void TestDemoDecode::everyChannelMatchesTheReferenceDecoder()
{
    QFETCH(int, minutes);
    QFETCH(quint64, seed);
    QFETCH(bool, blanks);
    QFETCH(bool, backup);
    QFETCH(bool, damaged);
    QFETCH(bool, filter);
    const Fixture fixture;
    demo::DemoOptions options;
    options.minutes = minutes;
    options.seed = seed;
    options.blanks = blanks;
    options.backupFrames = backup;
    selectedPlaneEnabled = filter;
    selectedPlaneId = options.planeId;

    const QByteArray log = damaged ? demo::makeDamagedLog(options) : demo::makeTextLog(options);
    const QString path = fixture.path("flight.txt");
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(log), qint64(log.size()));
    }
    DataHandler handler;
    const QSignalSpy spy(&handler, &DataHandler::readDataFinishedSinal);
    handler.readDataSlot(path);
    QCOMPARE(spy.count(), 1);

    ReferenceDecoder reference;
    reference.planeSelected = filter;
    reference.plane = options.planeId;
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
        QTextStream stream(&file);
        while (!stream.atEnd())
            reference.decodeLine(stream.readLine());
    }
    reference.evenTail();
    const QDateTime start = reference.startTime(200);
    const ReferenceDecoder::Samples &lat = reference.channel("HBS_Lat");
    const ReferenceDecoder::Samples &lng = reference.channel("HBS_Lng");
    QVERIFY(lat.size() >= 10);
    const float lat0 = float(lat[lat.size() - 10]);
    const float lng0 = float(lng[lat.size() - 10]);
    const double scale
        = double(float(std::cos(qDegreesToRadians(double(qint32(double(lat0) * 10000000.0)) / 10000000.0))));
    const auto track
        = reference.track(reference.trackStart(), reference.channel("PGS_GPS_Lng").size(), lng0, lat0, scale, 1000.0);
    const int from = reference.attackStart();
    const auto attack = from < 0 ? ReferenceDecoder::Track()
                                 : reference.track(from, reference.attackEnd(), lng0, lat0, scale, 10000.0);
    reference.differences();
    reference.speedAngle();

    QCOMPARE(qint64(handler.frameTotal()), reference.lines % 65536);
    QCOMPARE(qint64(handler.frameError()), reference.errors % 65536);
    QCOMPARE(qint64(handler.frameSelectedId()), reference.selected % 65536);
    QCOMPARE(reference.errors > 0, damaged);

    int compared = 0;
    for (auto code = reference.fields.begin(); code != reference.fields.end(); ++code) {
        for (int row = 0; row < code->size(); ++row) {
            const ExpectedField &field = code->at(row);
            const MyGraph *graph = findGraph(field.label);
            QVERIFY2(graph->yvalue() == reference.channels[code.key()][row], qPrintable(field.name));
            QVERIFY2(!graph->yvalue().isEmpty(), qPrintable(field.name));
            ++compared;
        }
    }
    QCOMPARE(compared, 143);

    QVERIFY(start.isValid());
    QCOMPARE(startDateTime, start);
    QVERIFY(originLat == lat0 && originLng == lng0);
    QVERIFY(longitudeScale == scale);
    QVERIFY(track.x.size() > 100);
    QVERIFY(!attack.x.isEmpty());
    compareTrack(track, trackX, trackY, trackZ);
    compareTrack(attack, attackTrackX, attackTrackY, attackTrackZ);
}

QTEST_GUILESS_MAIN(TestDemoDecode)
#include "TestDemoDecode.moc"
