#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace wmts
{

inline constexpr int kMaxZoom = 30;

/** One tile of one layer; rows count from the north, as in the addresses of web maps. */
struct TileAddress {
    std::string layer;
    int zoom = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;
};

/** The text as a number below 2^31. Nothing unless the whole text is decimal digits. */
std::optional<std::int64_t> wholeNumber(std::string_view text);

/** Whether the zoom level is from 0 to kMaxZoom and has this column and row. */
bool isInWorld(int zoom, std::int64_t column, std::int64_t row);

/**
 * Parses a decoded request path "/{layer}/{z}/{x}/{y}".
 *
 * Returns nothing for a path of another shape or a tile outside the world. The layer may be any text: it is a name to
 * look up, not a path.
 */
std::optional<TileAddress> parseTilePath(std::string_view path);

/** Converts a row between the count from the north and that of MBTiles, from the south. */
std::int64_t flippedRow(int zoom, std::int64_t row);

} // namespace wmts
