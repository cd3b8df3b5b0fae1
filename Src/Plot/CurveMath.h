#pragma once

#include <QString>
#include <QVector>

class MyGraph;

/**
 * The calculations of the canvases, without widgets. A null channel counts as empty, and no function reads outside a
 * series. Main thread only, like the channels.
 */
namespace curvemath
{

/** Labels of the channels whose values the read-out shows as words. */
///@{
extern const QString kMainFlightModeLabel;
extern const QString kSubFlightModeLabel;
///@}

/** Time keys in seconds since the epoch: key i is i * (intervalMs / 1000.0) + startSecond. O(count). */
QVector<double> timeKeys(int count, qint64 startSecond, int intervalMs);

/**
 * Replaces isolated spikes by a neighbour's value. A spike is more than ten times its neighbours. Works in place in one
 * forward pass, so each sample is compared with the corrected previous one. Does nothing for fewer than two samples.
 * O(samples).
 */
void removeSpikes(QVector<double> &samples);

/** Delays a series: inserts its first sample count times at the front. Does nothing for an empty series. */
void repeatFirst(QVector<double> &samples, int count);

/** Appends the last sample, or 0.0 in an empty series, count times. */
void repeatLast(QVector<double> &samples, int count);

/** Appends 0.0 count times. */
void appendZeros(QVector<double> &samples, int count);

/**
 * Writes minuend - subtrahend to the first (samples modulo 256) differences; later ones are not changed. Stops at the
 * end of the shortest series.
 */
void recalculateDifferences(QVector<double> &differences, const QVector<double> &minuend,
                            const QVector<double> &subtrahend, int samples);

/**
 * Seconds from the sample at index until the actual series reaches the target's value at index.
 *
 * @return -2.0 when the target has no sample at index, -1.0 when the value is never reached. O(samples).
 */
double risingTime(const MyGraph *actual, const MyGraph *target, int index);

/**
 * Signed area between actual and target in value units times seconds, over the samples [index - 5, index + 5), limited
 * to the shorter series.
 */
double area(const MyGraph *actual, const MyGraph *target, int index);

/** actual - target at index; -1.0 when either has no sample at index. */
double deviation(const MyGraph *actual, const MyGraph *target, int index);

/**
 * Index of the first key that equals key exactly, or -1.
 *
 * @param keys from timeKeys(). O(log n) when ascending, otherwise O(n).
 */
int indexOfKey(const QVector<double> &keys, double key);

/** Local date and time of a key as "yyyy-MM-dd hh:mm:ss". Uses the low 32 bits of the whole seconds. */
QString dateTimeText(double key);

/** Name of a flight mode; empty for an unknown value. The value is truncated toward zero. */
///@{
QString mainFlightModeText(double value);
QString subFlightModeText(double value);
///@}

} // namespace curvemath
