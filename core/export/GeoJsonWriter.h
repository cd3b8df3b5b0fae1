#pragma once

#include "ExportFormat.h"

namespace ostravel
{

/**
 * Writes the flown track as GeoJSON (RFC 7946): a collection of LineString features, the attack leg as one of its own;
 * see trackLines(). The third coordinate is the height of the track, above the place of the start. The property
 * "coordTimes" has the time of each point in UTC, and is missing without a start time. A line of one point is none in
 * this format and is left out.
 */
std::optional<ExportError> writeGeoJson(const Flight &flight, const QString &path, const ExportOptions &options = {});

} // namespace ostravel
