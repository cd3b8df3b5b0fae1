#pragma once

/**
 * The core's derivations, done on the store's channels and globals when all frames of a flight are in it, with the log
 * lines and the event loop of a read. Main thread only.
 */
namespace postprocess
{

/** Takes startDateTime from the first trustworthy clock sample, wound back to sample 0. */
void calStartTime();

/** Sets the origin of the local track frame from the tenth heartbeat from the end. Unchanged with fewer than ten. */
void calOrigin();

/** Metres east or north of the origin, computed in double and rounded to float. */
///@{
float localX(double lng);
float localY(double lat);
///@}

/** The whole flight in the local frame, from the first sample with enough satellites on, glitches suppressed. */
void calTrack();

/** The same points from the start of the final run of the attack sub-mode on. */
void calAttackTrack();

/** Actual minus commanded value, into the difference channels. Runs the event loop once an index. */
void calFactors();

/** Flight path angle in degrees, behind what the backup channel already holds. */
void calSpeedAngle();

/** Brings the target channels to the length of the attitude channels, by zeros or by doubling samples. */
void dataProcess();

} // namespace postprocess
