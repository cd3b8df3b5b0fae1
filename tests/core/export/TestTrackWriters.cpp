#include "GeoJsonWriter.h"
#include "GpxWriter.h"
#include "KmlWriter.h"
#include "SampleFlight.h"
#include "TrackLines.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <memory>

using namespace ostravel;

namespace
{

using Write = std::optional<ExportError> (*)(const Flight &, const QString &, const ExportOptions &);

Series &seriesOf(Flight::Parts &parts, std::uint8_t code, const char *name)
{
    return parts.series[std::size_t(frame::firstRowOf(code) + frame::rowOf(code, name))];
}

/** A flight of four points around its origin, the last two of them the attack leg. */
Flight::Parts attackParts()
{
    Flight::Parts parts;
    parts.origin = LocalFrame::at(34.0F, 114.0F);
    parts.startTime = QDateTime(QDate(2023, 7, 18), QTime(1, 0, 0), Qt::UTC);
    seriesOf(parts, frame::kAttitude, "PGS_GPS_Lng") = {114.0, 114.0000001, 114.5, 114.001};
    seriesOf(parts, frame::kAttitude, "PGS_GPS_Lat") = {34.0, 34.001, 34.002, 34.0025};
    seriesOf(parts, frame::kAttitude, "PGS_GPS_Relative_Height") = {10.0, 20.5, 30.25, 40.0};
    seriesOf(parts, frame::kAttitude, "PGS_GPS_SatelliteCount") = {12, 12, 12, 12};
    seriesOf(parts, frame::kControlStatus, "FSS_FlightMode") = {1, 1, 1, 1};
    seriesOf(parts, frame::kControlStatus, "FSS_SubFlightMode") = {0, 0, 26, 26};
    const SeriesRefs refs(parts.series);
    parts.track = makeTrack(refs, parts.origin);
    parts.attackTrack = makeAttackTrack(refs, parts.origin);
    return parts;
}

const QByteArray kGpx
    = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<gpx version=\"1.1\" creator=\"Ostravel\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n"
      "<trk><name>a &lt;&amp;&gt; 飞</name><trkseg>\n"
      "<trkpt lat=\"34\" lon=\"114\"><ele>10</ele><time>2023-07-18T01:00:00.000Z</time></trkpt>\n"
      "<trkpt lat=\"34.001\" lon=\"114.0000001\"><ele>20.5</ele><time>2023-07-18T01:00:00.200Z</time></trkpt>\n"
      "<trkpt lat=\"34.002\" lon=\"114.0000001\"><ele>30.25</ele><time>2023-07-18T01:00:00.400Z</time></trkpt>\n"
      "<trkpt lat=\"34.0025\" lon=\"114.001\"><ele>40</ele><time>2023-07-18T01:00:00.600Z</time></trkpt>\n"
      "</trkseg></trk>\n"
      "<trk><name>a &lt;&amp;&gt; 飞 (attack leg)</name><trkseg>\n"
      "<trkpt lat=\"34.002\" lon=\"114.5\"><ele>30.25</ele><time>2023-07-18T01:00:00.400Z</time></trkpt>\n"
      "<trkpt lat=\"34.0025\" lon=\"114.5\"><ele>40</ele><time>2023-07-18T01:00:00.600Z</time></trkpt>\n"
      "</trkseg></trk>\n"
      "</gpx>\n";

const QByteArray kKml
    = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<kml xmlns=\"http://www.opengis.net/kml/2.2\" xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n"
      "<Document>\n"
      "<Placemark><name>f</name>\n"
      "<gx:Track><altitudeMode>relativeToGround</altitudeMode>\n"
      "<when>2023-07-18T01:00:00.000Z</when>\n"
      "<when>2023-07-18T01:00:00.200Z</when>\n"
      "<gx:coord>114 34 10</gx:coord>\n"
      "<gx:coord>114.0000001 34.001 20.5</gx:coord>\n"
      "</gx:Track></Placemark>\n"
      "</Document>\n"
      "</kml>\n";

const QByteArray kKmlWithoutTimes
    = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<kml xmlns=\"http://www.opengis.net/kml/2.2\" xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n"
      "<Document>\n"
      "<Placemark><name>f</name>\n"
      "<LineString><altitudeMode>relativeToGround</altitudeMode><coordinates>\n"
      "114,34,10\n"
      "114.0000001,34.001,20.5\n"
      "</coordinates></LineString></Placemark>\n"
      "</Document>\n"
      "</kml>\n";

const QByteArray kGeoJson = "{\"type\":\"FeatureCollection\",\"features\":[\n"
                            "{\"type\":\"Feature\",\"properties\":{\"name\":\"f\",\"coordTimes\":[\n"
                            "\"2023-07-18T01:00:00.000Z\",\n"
                            "\"2023-07-18T01:00:00.200Z\"]},\"geometry\":{\"type\":\"LineString\",\"coordinates\":[\n"
                            "[114,34,10],\n"
                            "[114.0000001,34.001,20.5]]}}\n"
                            "]}\n";

/** The first two points, without an attack: its leg is the whole flight then. */
Flight::Parts plainParts()
{
    Flight::Parts parts = attackParts();
    for (const char *const name : {"PGS_GPS_Lng", "PGS_GPS_Lat", "PGS_GPS_Relative_Height", "PGS_GPS_SatelliteCount"})
        seriesOf(parts, frame::kAttitude, name).resize(2);
    seriesOf(parts, frame::kControlStatus, "FSS_SubFlightMode") = {0, 0, 0, 0};
    const SeriesRefs refs(parts.series);
    parts.track = makeTrack(refs, parts.origin);
    parts.attackTrack = makeAttackTrack(refs, parts.origin);
    return parts;
}

} // namespace

Q_DECLARE_METATYPE(Write)

class TestTrackWriters : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void gpxHasTheTrackAndTheAttackLeg();
    void kmlHasTimesAndPlaces();
    void kmlWithoutAStartIsALine();
    void geoJsonHasTimesAndPlaces();
    void geoJsonIsJson();
    void timesAreThoseOfThePeriod();
    void trackBeginsAtItsFirstFix();
    void placesOutsideTheEarthAreLeftOut();
    void placesAtTheEndOfTheRangeStay_data();
    void placesAtTheEndOfTheRangeStay();
    void flightWithoutPositionsIsAnError_data();
    void flightWithoutPositionsIsAnError();
    void progressEndsAtItsTotal_data();
    void progressEndsAtItsTotal();
    void cancelledExportLeavesNothing_data();
    void cancelledExportLeavesNothing();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    static void formats();

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestTrackWriters::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
}

void TestTrackWriters::formats()
{
    QTest::addColumn<Write>("write");
    QTest::newRow("gpx") << Write(&writeGpx);
    QTest::newRow("kml") << Write(&writeKml);
    QTest::newRow("geojson") << Write(&writeGeoJson);
}

// The third point jumps by half a degree, 46 km: the track repeats the longitude before it. The attack leg, where a
// jump counts from 10 km on, begins with it, and the point behind it jumps back.
void TestTrackWriters::gpxHasTheTrackAndTheAttackLeg()
{
    ExportOptions options;
    options.title = "a <&> 飞";
    QVERIFY(!writeGpx(Flight(attackParts()), path("x.gpx"), options));
    QCOMPARE(content(path("x.gpx")), kGpx);
}

void TestTrackWriters::kmlHasTimesAndPlaces()
{
    QVERIFY(!writeKml(Flight(plainParts()), path("f.kml")));
    QCOMPARE(content(path("f.kml")), kKml);
    QXmlStreamReader reader(content(path("f.kml")));
    while (!reader.atEnd())
        reader.readNext();
    QVERIFY(!reader.hasError());
}

void TestTrackWriters::kmlWithoutAStartIsALine()
{
    Flight::Parts parts = plainParts();
    parts.startTime = QDateTime();
    QVERIFY(!writeKml(Flight(parts), path("f.kml")));
    QCOMPARE(content(path("f.kml")), kKmlWithoutTimes);
}

void TestTrackWriters::geoJsonHasTimesAndPlaces()
{
    QVERIFY(!writeGeoJson(Flight(plainParts()), path("f.geojson")));
    QCOMPARE(content(path("f.geojson")), kGeoJson);
}

void TestTrackWriters::geoJsonIsJson()
{
    ExportOptions options;
    options.title = "\"\\\n飞";
    QVERIFY(!writeGeoJson(Flight(attackParts()), path("f.geojson"), options));
    const QJsonArray features = QJsonDocument::fromJson(content(path("f.geojson"))).object()["features"].toArray();
    QCOMPARE(features.size(), 2);
    QCOMPARE(features[0].toObject()["properties"].toObject()["name"].toString(), options.title);
    const QJsonObject attack = features[1].toObject();
    QCOMPARE(attack["geometry"].toObject()["coordinates"].toArray().size(), 2);
    QCOMPARE(attack["properties"].toObject()["coordTimes"].toArray()[0].toString(),
             QString("2023-07-18T01:00:00.400Z"));

    Flight::Parts parts = plainParts();
    parts.startTime = QDateTime();
    QVERIFY(!writeGeoJson(Flight(parts), path("f.geojson")));
    const QJsonObject document = QJsonDocument::fromJson(content(path("f.geojson"))).object();
    QVERIFY(!document["features"].toArray()[0].toObject()["properties"].toObject().contains("coordTimes"));
}

void TestTrackWriters::timesAreThoseOfThePeriod()
{
    Flight::Parts parts = plainParts();
    parts.periodsMs = {{frame::kAttitude, 1500}};
    QVERIFY(!writeGpx(Flight(parts), path("f.gpx")));
    QVERIFY(content(path("f.gpx")).contains("<time>2023-07-18T01:00:01.500Z</time>"));
}

void TestTrackWriters::trackBeginsAtItsFirstFix()
{
    Flight::Parts parts = attackParts();
    seriesOf(parts, frame::kAttitude, "PGS_GPS_SatelliteCount") = {5, 10, 11, 5};
    parts.track = makeTrack(SeriesRefs(parts.series), parts.origin);
    const QVector<TrackLine> lines = trackLines(Flight(parts), "f");
    QCOMPARE(lines[0].points.size(), 2);
    QCOMPARE(lines[0].points[0].ms, qint64(400));
    QCOMPARE(lines[0].points[0].longitude, 114.5);
}

void TestTrackWriters::placesOutsideTheEarthAreLeftOut()
{
    Flight::Parts parts = plainParts();
    seriesOf(parts, frame::kAttitude, "PGS_GPS_Lat")[0] = 90.5;
    parts.track = makeTrack(SeriesRefs(parts.series), parts.origin);
    const QVector<TrackLine> lines = trackLines(Flight(parts), "f");
    // The second point is a jump away from the first, and repeats its latitude.
    QVERIFY(lines.isEmpty());
}

void TestTrackWriters::placesAtTheEndOfTheRangeStay_data()
{
    QTest::addColumn<double>("longitude");
    QTest::addColumn<double>("latitude");
    QTest::newRow("east") << 180.0 << 10.0;
    QTest::newRow("west") << -180.0 << 10.0;
    QTest::newRow("north pole") << 10.0 << 90.0;
    QTest::newRow("south pole") << 10.0 << -90.0;
}

void TestTrackWriters::placesAtTheEndOfTheRangeStay()
{
    QFETCH(double, longitude);
    QFETCH(double, latitude);
    Flight::Parts parts = plainParts();
    parts.origin = LocalFrame::at(static_cast<float>(latitude), static_cast<float>(longitude));
    Series &lng = seriesOf(parts, frame::kAttitude, "PGS_GPS_Lng");
    lng.fill(longitude);
    seriesOf(parts, frame::kAttitude, "PGS_GPS_Lat").fill(latitude);
    parts.track = makeTrack(SeriesRefs(parts.series), parts.origin);
    const QVector<TrackLine> lines = trackLines(Flight(parts), "f");
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].points.size(), lng.size());
    QCOMPARE(lines[0].points[0].longitude, longitude);
    QCOMPARE(lines[0].points[0].latitude, latitude);
}

void TestTrackWriters::flightWithoutPositionsIsAnError_data()
{
    formats();
}

void TestTrackWriters::flightWithoutPositionsIsAnError()
{
    QFETCH(Write, write);
    const auto error = write(Flight(), path("f"), {});
    QVERIFY(error && error->code == ExportError::Code::NothingToWrite);
    QVERIFY(!QFile::exists(path("f")));
}

void TestTrackWriters::progressEndsAtItsTotal_data()
{
    formats();
}

void TestTrackWriters::progressEndsAtItsTotal()
{
    QFETCH(Write, write);
    qint64 last = -1;
    qint64 lastTotal = 0;
    ExportOptions options;
    options.progress = [&](qint64 done, qint64 total) {
        last = done;
        lastTotal = total;
        return true;
    };
    QVERIFY(!write(Flight(attackParts()), path("f"), options));
    QVERIFY(lastTotal > 0);
    QCOMPARE(last, lastTotal);
}

void TestTrackWriters::cancelledExportLeavesNothing_data()
{
    formats();
}

void TestTrackWriters::cancelledExportLeavesNothing()
{
    QFETCH(Write, write);
    ExportOptions options;
    options.progress = [](qint64, qint64) { return false; };
    const auto error = write(Flight(attackParts()), path("f"), options);
    QVERIFY(error && error->code == ExportError::Code::Cancelled);
    QVERIFY(QDir(m_dir->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

QTEST_GUILESS_MAIN(TestTrackWriters)
#include "TestTrackWriters.moc"
