#pragma once

#include "ExportFormat.h"

namespace ostravel
{

/**
 * Writes the flown track as GPX 1.1, the attack leg as a track of its own; see trackLines(). Elevations are the heights
 * of the track, above the place of the start. Times are in UTC, and left out without a start time.
 */
std::optional<ExportError> writeGpx(const Flight &flight, const QString &path, const ExportOptions &options = {});

} // namespace ostravel
