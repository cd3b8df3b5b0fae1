#include "TileLayer.h"

#include "MBTilesFile.h"
#include "TileFolder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

using wmts::TileLayer;

namespace
{

std::unique_ptr<TileLayer> openLayer(const QString &path, std::string *error)
{
    return TileLayer::open(path.toStdString(), "layer", error);
}

QByteArray contentOf(const QString &path)
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

} // namespace

class TestTileLayer : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder.reset(new QTemporaryDir); }
    void everyTileComesFromItsRow();
    void readsTheMetadata();
    void derivesMissingMetadataFromTheTiles();
    void brokenFilesAreReported_data();
    void brokenFilesAreReported();
    void damageAffectsOnlyTheTilesInIt();
    void tilesThatAreNoImagesAreUnreadable();
    void endlessQueryIsAborted();
    void fileIsNotChanged();
    void imageTypes_data();
    void imageTypes();
    void folderServesGoodFilesAndReportsBrokenOnes();
    void cachesOfAllLayersLeaveRoomForTiles();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }

    QScopedPointer<QTemporaryDir> m_folder;
};

void TestTileLayer::everyTileComesFromItsRow()
{
    MBTilesFile::writeWorld(path("w.mbtiles"));
    std::string error;
    const auto layer = openLayer(path("w.mbtiles"), &error);
    QVERIFY2(layer, error.c_str());
    std::string bytes;
    const char *type = nullptr;
    for (int zoom = 0; zoom < 4; ++zoom)
        for (int column = 0; column < 1 << zoom; ++column)
            for (int row = 0; row < 1 << zoom; ++row) {
                QVERIFY(layer->tile(zoom, column, row, &bytes, &type) == TileLayer::Found::Yes);
                QCOMPARE(QByteArray::fromStdString(bytes), pngBytes(zoom, column, row));
                QCOMPARE(QByteArray(type), QByteArray("image/png"));
            }
    QVERIFY(layer->tile(4, 0, 0, &bytes, &type) == TileLayer::Found::No);
}

void TestTileLayer::readsTheMetadata()
{
    {
        MBTilesFile file(path("a.mbtiles"));
        file.makeTables();
        file.addMetadata("name", "郑州");
        file.addMetadata("format", "jpeg");
        file.addMetadata("minzoom", "7");
        file.addMetadata("maxzoom", "9");
        file.addMetadata("bounds", " 113.5, 33.25 ,114,34.75");
        file.addTile(7, 1, 1, "\xff\xd8\xff\xe0");
    }
    std::string error;
    const auto layer = openLayer(path("a.mbtiles"), &error);
    QVERIFY2(layer, error.c_str());
    QCOMPARE(QString::fromStdString(layer->info().title), QString("郑州"));
    QCOMPARE(QString::fromStdString(layer->info().format), QString("jpg"));
    QCOMPARE(layer->info().minZoom, 7);
    QCOMPARE(layer->info().maxZoom, 9);
    QVERIFY((layer->info().bounds == std::array<double, 4>{113.5, 33.25, 114, 34.75}));
}

void TestTileLayer::derivesMissingMetadataFromTheTiles()
{
    {
        // In many files "tiles" is a view over shared images. Some files have no metadata.
        MBTilesFile file(path("a.mbtiles"));
        file.run("CREATE TABLE map (z INTEGER, x INTEGER, y INTEGER, id TEXT)");
        file.run("CREATE TABLE images (id TEXT, data BLOB)");
        file.run(
            "CREATE VIEW tiles AS SELECT z AS zoom_level, x AS tile_column, y AS tile_row, data AS tile_data FROM map "
            "JOIN images ON map.id = images.id");
        file.run("INSERT INTO map VALUES (3, 1, 2, 'a'), (5, 1, 2, 'a')");
        file.insert("INSERT INTO images VALUES ('a', ?)", QVariantList{QByteArray("RIFF\1\0\0\0WEBPVP8 ", 16)});
    }
    std::string error;
    const auto layer = openLayer(path("a.mbtiles"), &error);
    QVERIFY2(layer, error.c_str());
    QCOMPARE(QString::fromStdString(layer->info().title), QString("layer"));
    QCOMPARE(QString::fromStdString(layer->info().format), QString("webp"));
    QCOMPARE(layer->info().minZoom, 3);
    QCOMPARE(layer->info().maxZoom, 5);
    QCOMPARE(layer->info().bounds[0], -180.0);
    QCOMPARE(layer->info().bounds[2], 180.0);
    std::string bytes;
    const char *type = nullptr;
    QVERIFY(layer->tile(3, 1, 5, &bytes, &type) == TileLayer::Found::Yes); // 2 from the south of 8
}

void TestTileLayer::brokenFilesAreReported_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *const kind :
         {"empty", "text", "no tables", "no tiles", "vector tiles", "other columns", "first page only", "missing"})
        QTest::newRow(kind) << QString(kind);
}

void TestTileLayer::brokenFilesAreReported()
{
    QFETCH(QString, kind);
    const QString file = path("a.mbtiles");
    if (kind == "empty")
        write(file, {});
    if (kind == "text")
        write(file, QByteArray("no database at all ").repeated(1000));
    if (kind == "no tables")
        MBTilesFile(file).run("CREATE TABLE other (a TEXT)");
    if (kind == "no tiles")
        MBTilesFile(file).makeTables();
    if (kind == "vector tiles") {
        MBTilesFile tiles(file);
        tiles.makeTables();
        tiles.addTile(0, 0, 0, "\x1f\x8b\x08");
    }
    if (kind == "other columns")
        MBTilesFile(file).run("CREATE TABLE tiles (z INTEGER, x INTEGER, y INTEGER, data BLOB)");
    if (kind == "first page only") {
        MBTilesFile::writeWorld(file);
        write(file, contentOf(file).left(4096));
    }
    std::string error;
    QVERIFY(!openLayer(file, &error));
    QVERIFY(!error.empty());
}

void TestTileLayer::damageAffectsOnlyTheTilesInIt()
{
    const QString file = path("a.mbtiles");
    {
        MBTilesFile tiles(file);
        tiles.makeTables();
        tiles.addMetadata("minzoom", "1");
        tiles.addMetadata("maxzoom", "2");
        tiles.run("CREATE UNIQUE INDEX i ON tiles (zoom_level, tile_column, tile_row)");
        tiles.addTile(1, 0, 0, pngBytes(1, 0, 1));
        for (int column = 0; column < 4; ++column)
            tiles.addTile(2, column, 0, pngBytes(2, column, 3) + QByteArray(100000, 'x'));
    }
    const QByteArray whole = contentOf(file);
    write(file, whole.left(whole.size() * 3 / 4));
    std::string error;
    const auto layer = openLayer(file, &error);
    if (!layer) // newer SQLite sees the missing end at once, which is as good
        return;
    std::string bytes;
    const char *type = nullptr;
    QVERIFY(layer->tile(1, 0, 1, &bytes, &type) == TileLayer::Found::Yes);
    QVERIFY(layer->tile(2, 3, 3, &bytes, &type) == TileLayer::Found::Unreadable);
}

void TestTileLayer::tilesThatAreNoImagesAreUnreadable()
{
    const QString file = path("a.mbtiles");
    {
        MBTilesFile tiles(file);
        tiles.makeTables();
        tiles.addTile(3, 0, 7, pngBytes(3, 0, 0));
        tiles.addTile(3, 1, 7, "<script>alert(1)</script>");
        tiles.addTile(3, 2, 7, {});
        tiles.addTile(3, 3, 7, pngBytes(3, 3, 0) + QByteArray(int(wmts::kMaxTileBytes) - 13, 'x'));
        tiles.addTile(3, 4, 7, pngBytes(3, 4, 0) + QByteArray(int(wmts::kMaxTileBytes) - 12, 'x'));
        tiles.addTile(3, 5, 7, pngBytes(3, 5, 0) + QByteArray(20000000, 'x'));
        tiles.run("INSERT INTO tiles VALUES (3, 6, 7, NULL)");
        tiles.run("INSERT INTO tiles VALUES (3, 7, 7, 'text')");
    }
    std::string error;
    const auto layer = openLayer(file, &error);
    QVERIFY2(layer, error.c_str());
    const bool good[] = {true, false, false, true, false, false, false, false};
    std::string bytes;
    const char *type = nullptr;
    for (int column = 0; column < 8; ++column)
        QCOMPARE(layer->tile(3, column, 0, &bytes, &type) == TileLayer::Found::Yes, good[column]);
    QVERIFY(layer->tile(3, 4, 0, &bytes, &type) == TileLayer::Found::Unreadable);
}

void TestTileLayer::endlessQueryIsAborted()
{
    const QString file = path("a.mbtiles");
    {
        MBTilesFile tiles(file);
        tiles.run("CREATE VIEW tiles AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
                  "SELECT 1 AS zoom_level, 0 AS tile_column, 0 AS tile_row, x'00' AS tile_data FROM n WHERE i < 0");
    }
    QElapsedTimer timer;
    timer.start();
    std::string error;
    QVERIFY(!openLayer(file, &error));
    QCOMPARE(QByteArray::fromStdString(error), QByteArray("interrupted"));
    QVERIFY(timer.elapsed() < 20000);
}

void TestTileLayer::fileIsNotChanged()
{
    const QString file = path("a.mbtiles");
    MBTilesFile::writeWorld(file);
    const QByteArray before = contentOf(file);
    {
        std::string error;
        const auto layer = openLayer(file, &error);
        QVERIFY2(layer, error.c_str());
        std::string bytes;
        const char *type = nullptr;
        layer->tile(1, 1, 1, &bytes, &type);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList("a.mbtiles"));
    }
    QCOMPARE(contentOf(file), before);
}

void TestTileLayer::imageTypes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("type");
    QTest::newRow("PNG") << QByteArray("\x89PNG\r\n\x1a\n\0", 9) << QByteArray("image/png");
    QTest::newRow("half of PNG's mark") << QByteArray("\x89PNG") << QByteArray();
    QTest::newRow("JPEG") << QByteArray("\xff\xd8\xff") << QByteArray("image/jpeg");
    QTest::newRow("WebP") << QByteArray("RIFF1234WEBP") << QByteArray("image/webp");
    QTest::newRow("other RIFF") << QByteArray("RIFF1234WAVE") << QByteArray();
    QTest::newRow("short RIFF") << QByteArray("RIFF1234") << QByteArray();
    QTest::newRow("SVG") << QByteArray("<svg>") << QByteArray();
    QTest::newRow("nothing") << QByteArray() << QByteArray();
}

void TestTileLayer::imageTypes()
{
    QFETCH(QByteArray, bytes);
    QTEST(QByteArray(wmts::imageType(bytes.constData(), std::size_t(bytes.size()))), "type");
}

void TestTileLayer::folderServesGoodFilesAndReportsBrokenOnes()
{
    const QTemporaryDir outside;
    MBTilesFile::writeWorld(outside.filePath("secret.mbtiles"));
    MBTilesFile::writeWorld(path("好的.mbtiles"));
    MBTilesFile::writeWorld(path("b.mbtiles"));
    MBTilesFile::writeWorld(path("other.sqlite"));
    write(path("broken.mbtiles"), "no database");
    QVERIFY(QFile::link(outside.filePath("secret.mbtiles"), path("link.mbtiles")));
    QVERIFY(QFile::link(path("b.mbtiles"), path("inner.mbtiles")));
    QVERIFY(QDir(m_folder->path()).mkdir("folder.mbtiles"));
    // Opening a pipe would block.
    QCOMPARE(::mkfifo(path("pipe.mbtiles").toUtf8().constData(), 0600), 0);
    QByteArrayList lines;
    const wmts::Layers layers = wmts::openLayers(m_folder->path().toStdString(), [&lines](const std::string &line) {
        lines.append(QByteArray::fromStdString(line));
    });
    QByteArrayList names;
    for (const auto &entry : layers)
        names.append(QByteArray::fromStdString(entry.first));
    QCOMPARE(names, (QByteArrayList{"b", "inner", "好的"}));
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.at(0).startsWith("broken.mbtiles is left out: "));
    QCOMPARE(lines.at(1), QByteArray("folder.mbtiles is left out: it is not a file"));
    QCOMPARE(lines.at(2), QByteArray("link.mbtiles is left out: it is a link out of the folder"));
    QCOMPARE(lines.at(3), QByteArray("pipe.mbtiles is left out: it is not a file"));
}

void TestTileLayer::cachesOfAllLayersLeaveRoomForTiles()
{
    constexpr int kTiles = 8;
    const QByteArray image = pngBytes(3, 0, 0) + QByteArray(200000, 'x');
    const QString first = path("0.mbtiles");
    {
        MBTilesFile file(first);
        file.makeTables();
        for (int column = 0; column < kTiles; ++column)
            file.addTile(3, column, 7, image);
    }
    // Links to one file: each is a layer with a cache of its own.
    for (std::size_t i = 1; i < wmts::kMaxLayers; ++i)
        QCOMPARE(::link(first.toUtf8().constData(), path(QString("%1.mbtiles").arg(i)).toUtf8().constData()), 0);
    const wmts::Layers layers = wmts::openLayers(m_folder->path().toStdString(), [](const std::string &) {});
    QCOMPARE(layers.size(), wmts::kMaxLayers);
    int good = 0;
    for (const auto &entry : layers)
        for (int column = 0; column < kTiles; ++column) {
            std::string bytes;
            const char *type = nullptr;
            good += entry.second->tile(3, column, 0, &bytes, &type) == TileLayer::Found::Yes;
        }
    QCOMPARE(good, kTiles * int(wmts::kMaxLayers));
}

QTEST_GUILESS_MAIN(TestTileLayer)
#include "TestTileLayer.moc"
