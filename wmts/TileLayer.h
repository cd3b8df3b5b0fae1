#pragma once

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

/** What a layer's file says of itself. */
struct LayerInfo {
    std::string name; // of the file, without its suffix
    std::string title; // of the metadata, else the name
    std::string format; // png, jpg or webp
    int minZoom = 0;
    int maxZoom = 0;
    std::array<double, 4> bounds{}; // west, south, east, north in degrees
};

/** Largest tile that is served; real ones have a tenth of it. */
inline constexpr std::size_t kMostTileBytes = 2U << 20;

/** Media type of an image by its first bytes, nullptr when it is none of PNG, JPEG and WebP. */
const char *imageType(const void *bytes, std::size_t size);

/** One MBTiles file, opened read-only. */
class TileLayer
{
public:
    enum class Found { Yes, No, Unreadable };

    /**
     * @param name plain text, see isPlainText
     * @return nothing when the file cannot serve as a layer; error is then one sentence
     */
    static std::unique_ptr<TileLayer> open(const std::filesystem::path &path, const std::string &name,
                                           std::string *error);
    ~TileLayer();
    TileLayer(const TileLayer &) = delete;
    TileLayer &operator=(const TileLayer &) = delete;

    const LayerInfo &info() const { return m_info; }

    /**
     * Read one tile, its row counted from the north.
     *
     * At most two seconds; a tile that is too large, no image or in a damaged part of the file is Unreadable. Any
     * thread: requests to one layer wait for each other.
     *
     * @param type media type, a constant
     */
    Found tile(int zoom, std::int64_t column, std::int64_t row, std::string *bytes, const char **type);

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
};

} // namespace wmts
