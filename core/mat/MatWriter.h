#pragma once

#include "ExportFormat.h"

namespace ostravel
{

/**
 * Writes a flight as a MATLAB file, level 5, not compressed: what MATLAB and GNU Octave load.
 *
 * One struct for each group with a chosen channel, under frame::groupName(): "time" (serial date numbers of the clock
 * of the start time, NaN without one), "seconds" (since sample 0), then the channels under their names, all of them
 * columns. Then "track" and "attack_track" with x, y and z in metres, "origin" with latitude and longitude in degrees,
 * and "start", the time of sample 0 as text, which is empty without one.
 */
std::optional<ExportError> writeMat(const Flight &flight, const QString &path, const ExportOptions &options = {});

/** The row of the table of formats, which exportFormats() does not have. */
const ExportFormat &matFormat();

} // namespace ostravel
