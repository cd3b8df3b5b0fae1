#pragma once

#include <QByteArray>
#include <QString>

namespace demo
{

inline constexpr int kMinTileZoom = 6;
inline constexpr int kMaxTileZoom = 15;
inline constexpr int kTilePixels = 256;

/**
 * One map tile as a PNG: an invented relief with contour lines every 25 m and a labelled grid of latitudes and
 * longitudes. Not a map of any real ground.
 *
 * Neighbouring tiles fit together, labels across their edges too. Any thread; takes a few milliseconds.
 *
 * @param zoom   kMinTileZoom to kMaxTileZoom
 * @param column from the west, of the square world map of Web Mercator
 * @param row    from the north
 */
QByteArray makeTile(int zoom, int column, int row);

/**
 * Writes an MBTiles file (SQLite) with the tiles around the origin of the demo flights. Even the longest flight stays
 * on the map. About 2 MB; takes a few seconds.
 *
 * Replaces the file only when complete. Needs an application object, for Qt's database drivers.
 */
bool writeTiles(const QString &path, QString *error = nullptr);

} // namespace demo
