#pragma once

#include "LocalFrame.h"
#include "SeriesRefs.h"

#include <QDateTime>
#include <optional>
#include <vector>

/**
 * @file
 * Values derived from the samples after all frames of a flight are decoded. The functions have no state, do not log and
 * do not throw. Each may run on any thread, if no other thread uses the series meanwhile. Linear in the samples.
 */

namespace ostravel
{

/** Points of a flight in its local frame. The three vectors have equal length. */
struct Track {
    std::vector<double> x; ///< metres east
    std::vector<double> y; ///< metres north
    std::vector<double> z; ///< metres up
};

/** Start time of a flight according to the aircraft's clock. */
struct ClockReading {
    /** Index of the first trusted clock sample; -1 when there is none. */
    int sample = -1;
    /** Local time of sample 0. Null when no sample is trusted, or when the trusted one is not a valid date and time. */
    QDateTime start;
};

/**
 * Computes the start time from the first trusted clock sample: its time minus the time since sample 0.
 *
 * A sample is trusted when its fields are in range and its month equals that of the middle sample of the log. The year
 * is not read: it is always 2023. The subtraction wraps at midnight and does not change the date.
 *
 * @param intervalMs milliseconds between two clock samples
 */
ClockReading readClock(const SeriesRefs &series, int intervalMs);

/** The frame around the position of the tenth heartbeat from the end; std::nullopt with fewer than ten heartbeats. */
std::optional<LocalFrame> findOrigin(const SeriesRefs &series);

/**
 * The track of the whole flight, from the first sample with more than ten satellites on; from sample 0 when there is
 * none.
 *
 * Outliers are replaced by the value of the previous point: x and y that jump by more than 1000 m, z that jumps by more
 * than 100 m or exceeds +-1000 m. Empty without positions.
 */
Track makeTrack(const SeriesRefs &series, const LocalFrame &frame);

/**
 * The track of the last leg: the points from the start of the last run of sub-mode 26 on. Here x and y may jump by up
 * to 10000 m.
 *
 * The whole flight when there is no such run. Empty without positions or flight modes, and when the run starts after
 * the last position.
 */
Track makeAttackTrack(const SeriesRefs &series, const LocalFrame &frame);

/**
 * Fills the five difference series: actual minus commanded value. Yaw differences are not wrapped at 360 degrees.
 *
 * Samples without a commanded value hold the actual value. The series get the length of the attitude series.
 */
void makeDifferences(const SeriesRefs &series);

/** makeDifferences() in steps, for a caller that works between two samples. */
///@{
/** Sets the difference series to the actual values. @return number of samples that have a commanded value */
int beginDifferences(const SeriesRefs &series);
/** Subtracts the commanded values of one sample, counted from 0. */
void subtractTargets(const SeriesRefs &series, int sample);
///@}

/**
 * Appends the flight path angle in degrees to the first backup series.
 *
 * One value per sample of the ground speed. Where the speed is 0, the previous angle is repeated, initially 0.0.
 */
void appendSpeedAngles(const SeriesRefs &series);

/**
 * Resizes the target series to the length of the attitude series. Longer ones are truncated; those up to nine samples
 * shorter get zeros appended. Otherwise each sample is doubled first; series that are too short for that (less than
 * about half the length) are not changed.
 *
 * @return false when the lengths were equal already
 */
bool fitTargets(const SeriesRefs &series);

} // namespace ostravel
