#pragma once

#include "Arguments.h"
#include "FrameCounts.h"
#include "LogSearch.h"

#include <QDateTime>
#include <QStringList>
#include <functional>

/** What became of one log. */
struct FlightReport {
    /** The worst that happened. */
    enum class Outcome {
        Converted, ///< all outputs are written, or exist and are left alone
        Checked, ///< read, as was asked for
        Kept, ///< not read, since all outputs exist
        NoFlight, ///< found in a folder, and no flight; nothing is wrong with that
        Failed, ///< not or not completely read, or an output is missing
        Interrupted, ///< by the user
    };

    QString path;
    Outcome outcome = Outcome::Failed;
    bool wasRead = false; ///< the fields below tell of a flight
    ostravel::FrameCounts counts;
    qint64 samples = 0; ///< of all channels
    QDateTime start; ///< of sample 0; null for none
    qint64 spanMs = 0; ///< from sample 0 to the end of the last one
    double seconds = 0; ///< that it took
    QStringList written; ///< outputs
    QStringList kept; ///< outputs that existed and are left alone
    QStringList warnings; ///< one sentence each
    QStringList errors; ///< one sentence each
};

/**
 * Reads one log and writes its outputs. The flight is gone when this returns.
 *
 * @param progress called now and then with the share that is done, from 0 to 1; returning false interrupts. Must not
 *        throw
 */
FlightReport convertLog(const LogFile &log, const Arguments &arguments,
                        const std::function<bool(double done)> &progress);
