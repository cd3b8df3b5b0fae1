#pragma once

#include <QString>
#include <QVector>

class MyGraph;

/**
 * The arithmetic behind the canvases, free of any widget. A null channel counts as an empty one throughout, and nothing
 * is read past the end of a series. Main thread, since the channels are.
 */
namespace curvemath
{

/** Label of a channel whose values are read out as words. */
///@{
extern const QString kMainFlightModeLabel;
extern const QString kSubFlightModeLabel;
///@}

/** Keys in seconds since the epoch: key i is i * step + start, with intervalMs / 1000.0 as step. O(count). */
QVector<double> timeKeys(int count, qint64 startSecond, int intervalMs);

/**
 * Replaces isolated spikes by a neighbour's value, in one forward pass and in place: a value already replaced is what
 * its right neighbour is compared with. A spike is more than ten times its neighbours. Fewer than two samples stay as
 * they are. O(samples).
 */
void removeSpikes(QVector<double> &samples);

/** Moves a series later in time: its first sample is repeated count times at the front. Empty stays empty. */
void repeatFirst(QVector<double> &samples, int count);

/** Repeats the last sample, or 0.0 in an empty series, count times at the end. */
void repeatLast(QVector<double> &samples, int count);

/** Appends 0.0 count times. */
void appendZeros(QVector<double> &samples, int count);

/**
 * Writes minuend - subtrahend into the leading differences, as many as samples is modulo 256; the differences behind
 * them stay as they stood. Stops at the end of the shortest series.
 */
void recalculateDifferences(QVector<double> &differences, const QVector<double> &minuend,
                            const QVector<double> &subtrahend, int samples);

/**
 * Seconds from the sample at index until the actual series reaches what the target is at index.
 *
 * -2.0 when the target has no such sample, -1.0 when the series never gets there. O(samples).
 */
double risingTime(const MyGraph *actual, const MyGraph *target, int index);

/**
 * Signed area between actual and target, in value units times seconds, over the five samples before index, the sample
 * itself and the four after it, cut at the ends of the shorter series.
 */
double area(const MyGraph *actual, const MyGraph *target, int index);

/** actual - target at index; -1.0 where either has no such sample. */
double deviation(const MyGraph *actual, const MyGraph *target, int index);

/**
 * First position of exactly this key, or -1.
 *
 * @param keys as timeKeys makes them. O(log n) where they ascend, O(n) where they do not.
 */
int indexOfKey(const QVector<double> &keys, double key);

/** Local date and time of a key, "yyyy-MM-dd hh:mm:ss", from the low 32 bits of its whole seconds. */
QString dateTimeText(double key);

/** The words for a flight mode; empty where the value, truncated toward zero, has none. */
///@{
QString mainFlightModeText(double value);
QString subFlightModeText(double value);
///@}

} // namespace curvemath
