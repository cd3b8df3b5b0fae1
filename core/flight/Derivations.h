#pragma once

#include "LocalFrame.h"
#include "SeriesRefs.h"

#include <QDateTime>
#include <optional>
#include <vector>

/**
 * @file
 * What follows from the samples when all frames of a flight are decoded. Functions over the series and a few settings:
 * no state, no log, nothing thrown. Safe from any thread that owns the series. Linear in the samples.
 */

namespace ostravel
{

/** Points of a flight in its local frame: metres east, metres north, metres up. The three have equal length. */
struct Track {
    std::vector<double> x; ///< metres east
    std::vector<double> y; ///< metres north
    std::vector<double> z; ///< metres up
};

/** What the aircraft's clock says about a flight. */
struct ClockReading {
    /** First sample whose clock may be trusted; -1 when there is none. */
    int sample = -1;
    /** Local time of sample 0. Null when no sample may be trusted, or when the one that may is no valid time of day. */
    QDateTime start;
};

/**
 * Takes the start time from the first trustworthy clock sample, wound back to sample 0.
 *
 * A sample is trusted when its fields could be a clock and its month is that of the middle of the log. Its year is not
 * read: the start lies in 2023. The winding back wraps at midnight and leaves the date alone.
 *
 * @param intervalMs milliseconds between two clock samples
 */
ClockReading readClock(const SeriesRefs &series, int intervalMs);

/** The frame around the tenth heartbeat from the end; nothing with fewer than ten. */
std::optional<LocalFrame> findOrigin(const SeriesRefs &series);

/**
 * The whole flight, from the first sample with more than ten satellites on; from sample 0 when there is none.
 *
 * A point that jumps by more than 1000 m sideways or 100 m in height, or that is higher or lower than 1000 m, repeats
 * the one before it. Empty without positions.
 */
Track makeTrack(const SeriesRefs &series, const LocalFrame &frame);

/**
 * The last leg: the points from the start of the final run of sub-mode 26 on. A sideways jump counts from 10000 m here.
 *
 * The whole flight when there is no such run; empty without positions or flight modes, and when the run starts behind
 * the last position.
 */
Track makeAttackTrack(const SeriesRefs &series, const LocalFrame &frame);

/**
 * Fills the five difference series, actual minus commanded value. Yaw has no wrap at 360 degrees.
 *
 * Where there is no commanded value the actual value stands. The series then have the length of the attitude series.
 */
void makeDifferences(const SeriesRefs &series);

/** makeDifferences() in steps, for a caller that does something between two samples. */
///@{
/** Gives the difference series the actual values. @return number of samples that have a commanded value */
int beginDifferences(const SeriesRefs &series);
/** Subtracts the commanded values of one sample, counted from 0. */
void subtractTargets(const SeriesRefs &series, int sample);
///@}

/**
 * Appends the flight path angle in degrees to the backup series, behind what is in it.
 *
 * One value for each sample of the ground speed. Where the speed is 0 the angle before it stands, at first 0.0.
 */
void appendSpeedAngles(const SeriesRefs &series);

/**
 * Brings the target series to the length of the attitude series: zeros are appended, or each sample is doubled when
 * there are about half as many. Much shorter series stay as they are, longer ones are cut.
 *
 * @return false when the lengths were equal already
 */
bool fitTargets(const SeriesRefs &series);

} // namespace ostravel
