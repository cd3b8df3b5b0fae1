#pragma once

#include "Conversion.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

/** What all logs of a run came to. */
struct RunTotals {
    int done = 0; ///< converted or checked
    int kept = 0; ///< all outputs existed
    int skipped = 0; ///< found in a folder, and no flight
    int failed = 0;
    int interrupted = 0; ///< begun and given up, or not begun
    qint64 bytes = 0; ///< of the logs that were read
    double seconds = 0;

    void add(const FlightReport &report, qint64 logBytes);
};

/** A line for standard output. */
///@{
QByteArray reportLine(const FlightReport &report);
QByteArray totalsLine(const RunTotals &totals);
///@}

/** The same for machines; the keys are documented in the manual page. */
///@{
QJsonObject reportObject(const FlightReport &report);
QJsonObject totalsObject(const RunTotals &totals);
///@}

/** An object as one line. */
QByteArray jsonLine(const QJsonObject &object);

/** Puts a whole text on standard output or standard error, in UTF-8. One thread at a time. */
///@{
void printOut(const QByteArray &text);
void printError(const QString &sentence);
///@}

/**
 * Whether a part of the standard output is lost, as on a full disk; says so on standard error. Nothing is lost when its
 * reader has ended, as "head" does.
 */
bool isOutputLost();
