#include "TileAddress.h"

#include <array>
#include <charconv>

namespace wmts
{

std::optional<std::int64_t> wholeNumber(std::string_view text)
{
    // from_chars() accepts a minus sign.
    if (text.empty() || text.front() < '0' || text.front() > '9')
        return std::nullopt;
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool isInWorld(int zoom, std::int64_t column, std::int64_t row)
{
    if (zoom < 0 || zoom > kMaxZoom)
        return false;
    const std::int64_t side = std::int64_t{1} << zoom;
    return column >= 0 && column < side && row >= 0 && row < side;
}

std::optional<TileAddress> parseTilePath(std::string_view path)
{
    if (path.empty() || path.front() != '/')
        return std::nullopt;
    path.remove_prefix(1);
    std::array<std::string_view, 4> parts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::size_t slash = path.find('/');
        if ((slash == std::string_view::npos) != (i + 1 == parts.size()))
            return std::nullopt;
        parts[i] = path.substr(0, slash);
        path.remove_prefix(i + 1 == parts.size() ? path.size() : slash + 1);
    }
    const auto zoom = wholeNumber(parts[1]);
    const auto column = wholeNumber(parts[2]);
    const auto row = wholeNumber(parts[3]);
    if (parts[0].empty() || !zoom || *zoom > kMaxZoom || !column || !row
        || !isInWorld(static_cast<int>(*zoom), *column, *row))
        return std::nullopt;
    return TileAddress{std::string(parts[0]), static_cast<int>(*zoom), *column, *row};
}

std::int64_t flippedRow(int zoom, std::int64_t row)
{
    return (std::int64_t{1} << zoom) - 1 - row;
}

} // namespace wmts
