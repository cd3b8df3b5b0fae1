#pragma once

#include "ExportFormat.h"

namespace ostravel
{

/**
 * Writes the flown track as KML 2.2, the attack leg as a placemark of its own; see trackLines(). With a start time each
 * is a gx:Track with times in UTC, without one a plain line. Heights are relative to the ground, as those of the track
 * count from the place of the start.
 */
std::optional<ExportError> writeKml(const Flight &flight, const QString &path, const ExportOptions &options = {});

} // namespace ostravel
