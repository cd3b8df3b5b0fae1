#pragma once

/**
 * @file
 * Which program this is.
 */

#include <QDateTime>
#include <QString>

/** The version. The build reads it from this line. */
inline constexpr char kVersion[] = "2.3.2";
/** Counts the builds of a version. */
inline constexpr int kBuildCounter = 1;

/** Date and time at which this program was built, in local time. */
QDateTime buildDateTime();

/**
 * Reads the compiler's date and time texts, joined without a separator ("Dec  6 202315:14:20").
 *
 * The compiler pads a one-digit day with a space. The month is English in every system language.
 * @return an invalid QDateTime if the text has another form
 */
QDateTime parseBuildDateTime(QString text);

/** The date in the form that the program shows and passes to the updater: "20231206". */
QString buildDateText(const QDateTime &built);
/** The same with its time: "20231206 15:14:20". */
QString buildDateTimeText(const QDateTime &built);
