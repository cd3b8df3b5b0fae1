// Opens an MBTiles file with arbitrary bytes. It is either a layer or rejected with an error message. The metadata must
// be within the limits, and tiles must be images within the maximum size.

#include "FuzzTarget.h"
#include "TileAddress.h"
#include "TileLayer.h"
#include "WorkbookFiles.h"

#include <QFile>
#include <QTemporaryDir>

using wmts::LayerInfo;
using wmts::TileLayer;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("layer.mbtiles"));
    const QByteArray content(reinterpret_cast<const char *>(data), static_cast<int>(size));
    require(writeFile(path, content));
    std::string error;
    {
        const std::unique_ptr<TileLayer> layer = TileLayer::open(path.toStdString(), "layer", &error);
        require(layer || !error.empty());
        if (layer) {
            const LayerInfo &info = layer->info();
            require(info.name == "layer" && !info.title.empty());
            require(info.format == "png" || info.format == "jpg" || info.format == "webp");
            require(info.minZoom >= 0 && info.minZoom <= info.maxZoom && info.maxZoom <= wmts::kMaxZoom);
            require(info.bounds[0] < info.bounds[2] && info.bounds[1] < info.bounds[3]);
            for (int zoom = info.minZoom; zoom <= std::min(info.maxZoom, info.minZoom + 2); ++zoom) {
                std::string bytes;
                const char *type = nullptr;
                if (layer->tile(zoom, 0, 0, &bytes, &type) == TileLayer::Found::Yes)
                    require(type && type == wmts::imageType(bytes.data(), bytes.size())
                            && bytes.size() <= wmts::kMaxTileBytes);
            }
        }
    }
    require(fileContent(path) == content);
    for (const char *const suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
    return 0;
}
