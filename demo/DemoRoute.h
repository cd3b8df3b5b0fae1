#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace demo
{

/** Which planned route. */
struct RouteOptions {
    int waypoints = 60;
    quint64 seed = 1;
};

/** Longest route that can be made, about 100 MB of text. */
inline constexpr int kMostWaypoints = 1000000;

/**
 * A planned route as the bytes of a route file (JSON): lanes flown back and forth over a field near the origin of the
 * demo flights, 230 to 440 m a leg.
 *
 * The same options give the same bytes on every platform and in every run. About 110 bytes a waypoint. Any thread.
 */
QByteArray makeRoute(const RouteOptions &options);

/** Write makeRoute(options); the file is replaced only when complete. */
bool writeRoute(const QString &path, const RouteOptions &options, QString *error = nullptr);

} // namespace demo
