#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wmts
{

inline constexpr int kMostZoom = 30;

/** One tile of one layer; rows count from the north, as in the addresses of web maps. */
struct TileAddress {
    std::string layer;
    int zoom = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;
};

/** The decimal number that is the whole of text: digits alone, no sign, below 2^31. */
std::optional<std::int64_t> wholeNumber(std::string_view text);

/** Whether the zoom level is one of 0 to kMostZoom and has such a column and row. */
bool isInWorld(int zoom, std::int64_t column, std::int64_t row);

/**
 * Read a decoded request path "/{layer}/{z}/{x}/{y}".
 *
 * Nothing for every other shape and for tiles outside the world. The layer is taken as it stands: it is a name to look
 * up, never a path.
 */
std::optional<TileAddress> parseTilePath(std::string_view path);

/** The row as MBTiles counts it, from the south. Its own inverse. */
std::int64_t flippedRow(int zoom, std::int64_t row);

} // namespace wmts
