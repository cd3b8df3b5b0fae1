#pragma once

/**
 * Runs the core's derivations on the channels and globals of the store after a read. Writes the log lines and processes
 * events. Main thread only. See Derivations.h for the exact rules.
 */
namespace postprocess
{

/** Sets startDateTime from the first trusted clock sample, minus the time since sample 0. */
void calStartTime();

/** Sets the origin of the local track frame to the tenth heartbeat from the end. Unchanged with fewer than ten. */
void calOrigin();

/** Metres east or north of the origin, computed in double and rounded to float. */
///@{
float localX(double lng);
float localY(double lat);
///@}

/** Computes the track of the whole flight, from the first sample with enough satellites on, without outliers. */
void calTrack();

/** Computes the track from the start of the last run of the attack sub-mode on. */
void calAttackTrack();

/** Writes actual minus commanded value to the difference channels. Processes events once per sample. */
void calFactors();

/** Appends the flight path angle in degrees to the backup channel. */
void calSpeedAngle();

/** Resizes the target channels to the length of the attitude channels, with zeros or by doubling samples. */
void dataProcess();

} // namespace postprocess
