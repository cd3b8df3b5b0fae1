// Opens an MBTiles file. After a first byte 'G', the input controls a generator of schemas, rows and damage; otherwise
// it is the content of the file. The file is either a layer or rejected with an error message. The metadata must be
// within the limits, and tiles must be images within the maximum size. In ordinary tables every image must be found.

#include "FuzzTarget.h"
#include "GeneratedTiles.h"
#include "TileAddress.h"
#include "TileLayer.h"
#include "WorkbookFiles.h"

#include <QFile>
#include <QTemporaryDir>

using wmts::LayerInfo;
using wmts::TileLayer;

namespace
{

bool isServed(const QByteArray &data)
{
    return wmts::imageType(data.constData(), static_cast<std::size_t>(data.size())) != nullptr
        && data.size() <= static_cast<int>(wmts::kMaxTileBytes);
}

void checkInfo(const LayerInfo &info)
{
    require(info.name == "layer" && !info.title.empty());
    require(info.format == "png" || info.format == "jpg" || info.format == "webp");
    require(info.minZoom >= 0 && info.minZoom <= info.maxZoom && info.maxZoom <= wmts::kMaxZoom);
    require(info.bounds[0] < info.bounds[2] && info.bounds[1] < info.bounds[3]);
}

TileLayer::Found checkTile(TileLayer &layer, int zoom, qint64 column, qint64 row, std::string *bytes)
{
    const char *type = nullptr;
    const TileLayer::Found found = layer.tile(zoom, column, row, bytes, &type);
    if (found == TileLayer::Found::Yes)
        require(type && type == wmts::imageType(bytes->data(), bytes->size()) && bytes->size() <= wmts::kMaxTileBytes);
    return found;
}

void checkGenerated(TileLayer &layer, const GeneratedTiles &generated)
{
    for (auto tile = generated.tiles.cbegin(); tile != generated.tiles.cend(); ++tile) {
        const TileKey &key = tile.key();
        if (key.zoom < 0 || key.zoom > wmts::kMaxZoom)
            continue;
        std::string bytes;
        const TileLayer::Found found
            = checkTile(layer, key.zoom, key.column, wmts::flippedRow(key.zoom, key.row), &bytes);
        require(found == (isServed(tile.value()) ? TileLayer::Found::Yes : TileLayer::Found::Unreadable));
        require(found != TileLayer::Found::Yes || QByteArray::fromStdString(bytes) == tile.value());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("layer.mbtiles"));
    const bool isGenerated = size > 0 && data[0] == 'G';
    GeneratedTiles generated;
    generated.ordinary = false;
    if (isGenerated)
        generated = generateTiles(path, Choices(data + 1, size - 1));
    else
        require(writeFile(path, QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size))));
    const QByteArray content = fileContent(path);
    std::string error;
    {
        const std::unique_ptr<TileLayer> layer = TileLayer::open(path.toStdString(), "layer", &error);
        require(layer || !error.empty());
        if (layer) {
            const LayerInfo &info = layer->info();
            checkInfo(info);
            std::string bytes;
            for (int zoom = info.minZoom; zoom <= std::min(info.maxZoom, info.minZoom + 2); ++zoom)
                checkTile(*layer, zoom, 0, 0, &bytes);
            if (generated.ordinary)
                checkGenerated(*layer, generated);
        }
    }
    require(fileContent(path) == content);
    for (const char *const suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
    return 0;
}
