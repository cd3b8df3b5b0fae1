#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace demo
{

/** Options of a planned route. */
struct RouteOptions {
    int waypoints = 60;
    quint64 seed = 1;
};

/** Maximum length of a route: about 100 MB of text. */
inline constexpr int kMaxWaypoints = 1000000;

/**
 * A planned route as a route file (JSON): parallel lanes over a field near the origin of the demo flights, with legs of
 * 230 to 440 m.
 *
 * The same options give the same bytes on every platform and in every run. About 110 bytes for a waypoint. Any thread.
 */
QByteArray makeRoute(const RouteOptions &options);

/** Writes makeRoute(options). Replaces the file only when complete. */
bool writeRoute(const QString &path, const RouteOptions &options, QString *error = nullptr);

} // namespace demo
