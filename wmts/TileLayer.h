#pragma once

#include "Load.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace wmts
{

/** The metadata of a layer. */
struct LayerInfo {
    std::string name; // The file name without its suffix.
    std::string title; // From the metadata; else the name.
    std::string format; // png, jpg or webp
    int minZoom = 0;
    int maxZoom = 0;
    std::array<double, 4> bounds{}; // west, south, east, north in degrees
};

/** Maximum size of a tile; real tiles have a tenth of it. */
inline constexpr std::size_t kMaxTileBytes = 2U << 20;

/** Maximum size of the page cache of each layer. The system caches files, too. */
inline constexpr std::size_t kCacheBytes = 128U << 10;

/** Media type of an image, from its first bytes. Null if it is not PNG, JPEG or WebP. */
const char *imageType(const void *bytes, std::size_t size);

/** One MBTiles file, opened read-only. */
class TileLayer
{
public:
    enum class Found { Yes, No, Unreadable, TooBusy };

    /**
     * @param name plain text, see isPlainText()
     * @return null when the file cannot be served; error is one sentence then
     */
    static std::unique_ptr<TileLayer> open(const std::filesystem::path &path, const std::string &name,
                                           std::string *error);
    ~TileLayer();
    TileLayer(const TileLayer &) = delete;
    TileLayer &operator=(const TileLayer &) = delete;

    const LayerInfo &info() const { return m_info; }

    /**
     * Reads one tile. Rows count from the north.
     *
     * Takes two seconds at most, after the earlier requests to this layer have ended: they wait for each other. A tile
     * is Unreadable if it is too large, is no image, is in a damaged part of the file, or the service ends meanwhile.
     * Any thread.
     *
     * @param type media type; a constant string
     * @param load may be null; when too many bytes are being sent, the tile is TooBusy and is not copied
     * @param held gets the bytes of the tile; null only without a load
     */
    Found tile(int zoom, std::int64_t column, std::int64_t row, std::string *bytes, const char **type,
               Load *load = nullptr, BytesBeingSent *held = nullptr);

private:
    TileLayer() = default;

    bool prepare(const std::filesystem::path &path, std::string *error);
    bool readInfo(std::string *error);
    std::string metadata(const char *key);
    void readBounds();
    bool readZoom();
    void startClock();
    static int pastDeadline(void *layer);

    LayerInfo m_info;
    std::mutex m_mutex;
    sqlite3 *m_database = nullptr;
    sqlite3_stmt *m_select = nullptr;
    std::chrono::steady_clock::time_point m_deadline;
    const Load *m_load = nullptr; // Of the current request.
};

} // namespace wmts
