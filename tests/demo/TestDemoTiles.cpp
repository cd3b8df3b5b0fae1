#include "DemoTiles.h"

#include "FlightSimulator.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtMath>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace
{

constexpr double kMetresPerDegree = 111319.5;

/** Column and row, from the north, of the tile that a place lies in. */
QPoint tileAt(int zoom, double longitude, double latitude)
{
    const double phi = qDegreesToRadians(latitude);
    const double side = std::pow(2.0, zoom);
    const double y = (1.0 - std::log(std::tan(phi) + 1.0 / std::cos(phi)) / qDegreesToRadians(180.0)) / 2.0;
    return {int(std::floor((longitude + 180.0) / 360.0 * side)), int(std::floor(y * side))};
}

/** Colours of pixels along a line of a picture. */
QVector<QRgb> columnOf(const QImage &image, int x)
{
    QVector<QRgb> colours;
    for (int y = 0; y < image.height(); ++y)
        colours.append(image.pixel(x, y));
    return colours;
}

} // namespace

class TestDemoTiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void everyTileIsASmallPicture();
    void longestFlightsStayOnTheMap();
    void gridLinesAreAtTheirDegrees();
    void fileStaysSmall();
    void programReplacesAnOldFileOnlyWhenItCanWrite();

private:
    QTemporaryDir m_folder;
    QString m_file;
};

void TestDemoTiles::initTestCase()
{
    m_file = m_folder.filePath("demo.mbtiles");
    QString error;
    QVERIFY2(demo::writeTiles(m_file, &error), qPrintable(error));
    QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), QStringList("demo.mbtiles"));
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "tiles");
    database.setDatabaseName(m_file);
    QVERIFY(database.open());
}

void TestDemoTiles::cleanupTestCase()
{
    QSqlDatabase::database("tiles").close();
    QSqlDatabase::removeDatabase("tiles");
}

void TestDemoTiles::everyTileIsASmallPicture()
{
    QSqlQuery query("SELECT tile_data FROM tiles", QSqlDatabase::database("tiles"));
    int count = 0;
    while (query.next()) {
        const QImage image = QImage::fromData(query.value(0).toByteArray(), "PNG");
        QCOMPARE(image.size(), QSize(256, 256));
        ++count;
    }
    QVERIFY(count > 100);
}

void TestDemoTiles::longestFlightsStayOnTheMap()
{
    double east = 0;
    double north = 0;
    for (const quint64 seed : {1, 2, 3}) {
        demo::FlightSimulator flight(120 * demo::kSamplesPerMinute, seed);
        for (int sample = 0; sample < 120 * demo::kSamplesPerMinute; ++sample) {
            const demo::FlightState &state = flight.next();
            east = std::max(east, std::fabs(state.place.east));
            north = std::max(north, std::fabs(state.place.north));
        }
    }
    QVERIFY(east > 1000 && north > 1000);
    // Launch sites lie between 113.9 and 113.93 degrees east, 33.98 and 34.01 degrees north.
    const double eastDegrees = east / (kMetresPerDegree * std::cos(qDegreesToRadians(34.01)));
    const double northDegrees = north / kMetresPerDegree;
    QSqlQuery query(QSqlDatabase::database("tiles"));
    for (int zoom = demo::kMinTileZoom; zoom <= 14; ++zoom) {
        const QPoint first = tileAt(zoom, 113.9 - eastDegrees, 34.01 + northDegrees);
        const QPoint last = tileAt(zoom, 113.93 + eastDegrees, 33.98 - northDegrees);
        for (int column = first.x(); column <= last.x(); ++column)
            for (int row = first.y(); row <= last.y(); ++row) {
                query.exec(
                    QStringLiteral("SELECT count(*) FROM tiles WHERE zoom_level=%1 AND tile_column=%2 AND tile_row=%3")
                        .arg(zoom)
                        .arg(column)
                        .arg((1 << zoom) - 1 - row));
                QVERIFY(query.next());
                QCOMPARE(query.value(0).toInt(), 1);
            }
    }
}

void TestDemoTiles::gridLinesAreAtTheirDegrees()
{
    // Level 13 has a line every 0.02 degrees. A line is one colour from edge to edge, which no relief is.
    const QPoint tile = tileAt(13, 113.92, 33.99);
    const QImage image = QImage::fromData(demo::makeTile(13, tile.x(), tile.y()), "PNG");
    const double x = ((113.92 + 180.0) / 360.0 * 8192 - tile.x()) * 256;
    int lines = 0;
    for (int column = 0; column < 256; ++column) {
        const QVector<QRgb> colours = columnOf(image, column);
        const QRgb grid = qRgb(96, 124, 168);
        if (std::count(colours.begin(), colours.end(), grid) < 200)
            continue;
        ++lines;
        // 0.02 degrees of 360 are 116.5 pixels of 8192 * 256.
        const double steps = (column + 0.5 - x) / 116.508;
        QVERIFY2(std::fabs(steps - std::round(steps)) < 0.01, qPrintable(QString::number(column)));
    }
    QVERIFY(lines == 2 || lines == 3);
}

void TestDemoTiles::fileStaysSmall()
{
    QVERIFY(QFileInfo(m_file).size() > 200000);
    QVERIFY(QFileInfo(m_file).size() < 2000000);
}

void TestDemoTiles::programReplacesAnOldFileOnlyWhenItCanWrite()
{
    QProcess program;
    program.start(DEMO_PROGRAM, {"tiles", m_folder.filePath("none/demo.mbtiles")});
    QVERIFY(program.waitForFinished(60000));
    QCOMPARE(program.exitCode(), 1);
    QVERIFY(program.readAllStandardError().startsWith("ostravel-demo: cannot write "));

    const QString old = m_folder.filePath("old.mbtiles");
    QFile file(old);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("old");
    file.close();
    program.start(DEMO_PROGRAM, {"tiles", old});
    QVERIFY(program.waitForFinished(120000));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(QFileInfo(old).size(), QFileInfo(m_file).size());
}

QTEST_GUILESS_MAIN(TestDemoTiles)
#include "TestDemoTiles.moc"
