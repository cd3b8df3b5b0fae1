#pragma once

/**
 * @file
 * Which program this is.
 */

#include <QDateTime>
#include <QString>

/** The one place of the version; the build takes it from this line. */
inline constexpr char kVersion[] = "2.3.2";
/** Counts the builds of a version. */
inline constexpr int kBuildCounter = 1;

/** Date and time at which this program was built, in local time. */
QDateTime buildDateTime();

/**
 * Reads the compiler's date and time texts, joined without a separator ("Dec  6 202315:14:20").
 *
 * The compiler pads a one-digit day with a blank; an English locale is used whatever the system's language.
 * @return an invalid QDateTime when the text is of another form
 */
QDateTime parseBuildDateTime(QString text);

/** A build's date as the program shows and hands it over: "20231206". */
QString buildDateText(const QDateTime &built);
/** The same with its time: "20231206 15:14:20". */
QString buildDateTimeText(const QDateTime &built);
