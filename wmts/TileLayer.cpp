#include "TileLayer.h"

#include "Text.h"
#include "TileAddress.h"

#include <charconv>
#include <cmath>
#include <sqlite3.h>

namespace wmts
{

namespace
{

// "tiles" may be a view, whose query could run forever.
constexpr std::chrono::seconds kMaxTime{2};
constexpr int kStepsBetweenLooks = 5000;
constexpr double kMercatorEnd = 85.05112877980659; // latitude where the square world map ends

/** Finalizes a statement at the end of its scope. */
class Statement
{
public:
    Statement(sqlite3 *database, const char *text)
    {
        if (sqlite3_prepare_v2(database, text, -1, &m_statement, nullptr) != SQLITE_OK)
            m_statement = nullptr;
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    operator sqlite3_stmt *() const { return m_statement; }

private:
    sqlite3_stmt *m_statement = nullptr;
};

std::string_view formatOf(const char *type)
{
    const std::string_view name = type;
    return name == "image/jpeg" ? "jpg" : name.substr(name.find('/') + 1);
}

bool readNumber(std::string_view *text, double *value)
{
    while (!text->empty() && (text->front() == ' ' || text->front() == ','))
        text->remove_prefix(1);
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), *value);
    if (error != std::errc() || !std::isfinite(*value))
        return false;
    text->remove_prefix(static_cast<std::size_t>(end - text->data()));
    return true;
}

} // namespace

const char *imageType(const void *bytes, std::size_t size)
{
    const std::string_view content(static_cast<const char *>(bytes), size);
    if (content.substr(0, 8) == "\x89PNG\r\n\x1a\n")
        return "image/png";
    if (content.substr(0, 3) == "\xff\xd8\xff")
        return "image/jpeg";
    if (content.substr(0, 4) == "RIFF" && content.size() >= 12 && content.substr(8, 4) == "WEBP")
        return "image/webp";
    return nullptr;
}

std::unique_ptr<TileLayer> TileLayer::open(const std::filesystem::path &path, const std::string &name,
                                           std::string *error)
{
    std::unique_ptr<TileLayer> layer(new TileLayer);
    layer->m_info.name = name;
    if (!layer->prepare(path, error) || !layer->readInfo(error))
        return nullptr;
    return layer;
}

TileLayer::~TileLayer()
{
    sqlite3_finalize(m_select);
    sqlite3_close(m_database);
}

bool TileLayer::prepare(const std::filesystem::path &path, std::string *error)
{
    const int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(path.u8string().c_str(), &m_database, flags, nullptr) != SQLITE_OK) {
        *error = m_database ? sqlite3_errmsg(m_database) : "out of memory";
        return false;
    }
    sqlite3_busy_timeout(m_database, 500);
    sqlite3_progress_handler(m_database, kStepsBetweenLooks, &TileLayer::pastDeadline, this);
    // The file is untrusted: its schema must not call functions, and must not attach other files.
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_limit(m_database, SQLITE_LIMIT_ATTACHED, 0);
    // The limit covers a whole row: the tile and some room for its other columns.
    sqlite3_limit(m_database, SQLITE_LIMIT_LENGTH, static_cast<int>(kMaxTileBytes + 65536));
    startClock();
    const std::string settings
        = "PRAGMA cache_size=-" + std::to_string(kCacheBytes >> 10) + "; PRAGMA mmap_size=0; PRAGMA temp_store=MEMORY";
    sqlite3_exec(m_database, settings.c_str(), nullptr, nullptr, nullptr);
    const char *const text = "SELECT tile_data FROM tiles WHERE zoom_level=?1 AND tile_column=?2 AND tile_row=?3";
    if (sqlite3_prepare_v2(m_database, text, -1, &m_select, nullptr) != SQLITE_OK) {
        *error = sqlite3_errmsg(m_database);
        return false;
    }
    return true;
}

bool TileLayer::readInfo(std::string *error)
{
    startClock();
    const Statement first(m_database, "SELECT tile_data FROM tiles LIMIT 1");
    const int step = sqlite3_step(first);
    if (step != SQLITE_ROW) {
        *error = step == SQLITE_DONE ? "there is no tile in it" : sqlite3_errmsg(m_database);
        return false;
    }
    const void *const bytes = sqlite3_column_blob(first, 0);
    const char *const type = imageType(bytes, static_cast<std::size_t>(sqlite3_column_bytes(first, 0)));
    if (!type) {
        *error = "its tiles are not PNG, JPEG or WebP images";
        return false;
    }
    // The first tile is more reliable than the metadata, which may say "jpeg" or nothing.
    m_info.format = formatOf(type);
    m_info.title = metadata("name");
    if (m_info.title.empty())
        m_info.title = m_info.name;
    readBounds();
    if (!readZoom()) {
        *error = sqlite3_errmsg(m_database);
        return false;
    }
    return true;
}

std::string TileLayer::metadata(const char *key)
{
    startClock();
    const Statement select(m_database, "SELECT value FROM metadata WHERE name=?1");
    if (!select || sqlite3_bind_text(select, 1, key, -1, SQLITE_STATIC) != SQLITE_OK
        || sqlite3_step(select) != SQLITE_ROW)
        return {};
    const auto *const text = reinterpret_cast<const char *>(sqlite3_column_text(select, 0));
    if (!text)
        return {};
    std::string value(text, static_cast<std::size_t>(sqlite3_column_bytes(select, 0)));
    constexpr std::size_t kMaxText = 1000;
    return value.size() <= kMaxText && isPlainText(value) ? value : std::string();
}

void TileLayer::readBounds()
{
    m_info.bounds = {-180.0, -kMercatorEnd, 180.0, kMercatorEnd};
    const std::string text = metadata("bounds");
    std::string_view rest = text;
    std::array<double, 4> bounds{};
    for (double &value : bounds)
        if (!readNumber(&rest, &value))
            return;
    const auto [west, south, east, north] = bounds;
    if (west >= -180.0 && west < east && east <= 180.0 && south >= -90.0 && south < north && north <= 90.0)
        m_info.bounds = bounds;
}

bool TileLayer::readZoom()
{
    const auto least = wholeNumber(metadata("minzoom"));
    const auto most = wholeNumber(metadata("maxzoom"));
    if (least && most && *least <= *most && *most <= kMaxZoom) {
        m_info.minZoom = static_cast<int>(*least);
        m_info.maxZoom = static_cast<int>(*most);
        return true;
    }
    // Two queries: each takes one step in the index. One query for both would read the whole index.
    startClock();
    const Statement select(m_database,
                           "SELECT (SELECT min(zoom_level) FROM tiles), (SELECT max(zoom_level) FROM tiles)");
    if (!select || sqlite3_step(select) != SQLITE_ROW)
        return false;
    m_info.minZoom = std::max(0, std::min(kMaxZoom, sqlite3_column_int(select, 0)));
    m_info.maxZoom = std::max(m_info.minZoom, std::min(kMaxZoom, sqlite3_column_int(select, 1)));
    return true;
}

TileLayer::Found TileLayer::tile(int zoom, std::int64_t column, std::int64_t row, std::string *bytes, const char **type,
                                 Load *load, BytesBeingSent *held)
{
    const std::lock_guard lock(m_mutex);
    // A queue at a slow file would delay the end of the service by two seconds for each request.
    if (load && load->isEnding)
        return Found::Unreadable;
    m_load = load;
    startClock();
    sqlite3_reset(m_select);
    sqlite3_bind_int(m_select, 1, zoom);
    sqlite3_bind_int64(m_select, 2, column);
    sqlite3_bind_int64(m_select, 3, flippedRow(zoom, row));
    Found found = Found::Unreadable;
    const int step = sqlite3_step(m_select);
    if (step == SQLITE_DONE) {
        found = Found::No;
    } else if (step == SQLITE_ROW) {
        const void *const data = sqlite3_column_blob(m_select, 0);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_select, 0));
        *type = data ? imageType(data, size) : nullptr;
        if (*type && size <= kMaxTileBytes && load && !held->take(*load, size)) {
            found = Found::TooBusy;
        } else if (*type && size <= kMaxTileBytes) {
            bytes->assign(static_cast<const char *>(data), size);
            found = Found::Yes;
        }
    }
    // Releases the read lock, so that the file can be replaced between two requests.
    sqlite3_reset(m_select);
    return found;
}

void TileLayer::startClock()
{
    m_deadline = std::chrono::steady_clock::now() + kMaxTime;
}

int TileLayer::pastDeadline(void *layer)
{
    const auto *const self = static_cast<const TileLayer *>(layer);
    const bool isEnding = self->m_load && self->m_load->isEnding;
    return isEnding || std::chrono::steady_clock::now() > self->m_deadline ? 1 : 0;
}

} // namespace wmts
