#pragma once

#include <QByteArray>
#include <QString>

namespace demo
{

inline constexpr int kLeastTileZoom = 6;
inline constexpr int kMostTileZoom = 15;
inline constexpr int kTilePixels = 256;

/**
 * One map tile as a PNG: invented relief with contour lines every 25 m, under a grid of latitudes and longitudes with
 * their degrees.
 *
 * Pictures of neighbours fit, labels across their edges too. Not a map of any real ground. Any thread, a few
 * milliseconds.
 *
 * @param zoom   kLeastTileZoom to kMostTileZoom
 * @param column from the west, of the square world map of Web Mercator
 * @param row    from the north
 */
QByteArray makeTile(int zoom, int column, int row);

/**
 * Write an MBTiles file (SQLite) with the tiles around the origin of the demo flights, so that the longest of them
 * stays on the map; about 2 MB, a few seconds.
 *
 * Replaces the file only when complete. Needs an application object, for Qt's database drivers.
 */
bool writeTiles(const QString &path, QString *error = nullptr);

} // namespace demo
