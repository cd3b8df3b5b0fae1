#pragma once

#include "FlightBuilder.h"
#include "ReadFlight.h"
#include "SourceEnd.h"

#include <QString>
#include <functional>

/**
 * @file
 * What the readers of all log formats share. The table of the formats is in ReadFlight.cpp.
 */

namespace ostravel
{

/** A kind of file that readFlight reads. */
struct LogFormat {
    const char *suffix; ///< of the file, without the point, in lower case
    const char *description; ///< English phrase with an article, for messages
    /** Reads a whole file; see readFlight. */
    ReadResult (*read)(const QString &path, const ReadOptions &options);
};

/** The error of a flight that cannot be read: "The flight PATH WHAT.". */
ReadError readError(ReadError::Code code, const QString &path, const QString &what);

/** The error of a read that the caller cancelled. */
ReadError readCancelled(const QString &path);

/** The flight of a source that has ended, or the error when it was cancelled. @param path for messages */
ReadResult finishedFlight(FlightBuilder &builder, const SourceEnd &end, const QString &path);

/** Calls the caller's progress function at the start, at the end and every 1000 lines. */
class ReadProgress
{
public:
    explicit ReadProgress(const ReadOptions &options)
        : m_tell(options.progress)
    {
    }

    /** Reports before the first line and after the last. @return false to cancel */
    bool tell(qint64 done, qint64 total) const { return !m_tell || m_tell(done, total); }

    /** Call after each line. @param done returns the amount done; called only when it is reported */
    template <typename Done>
    bool line(const Done &done, qint64 total)
    {
        constexpr int kLinesBetween = 1000;
        if (!m_tell || ++m_lines % kLinesBetween != 0)
            return true;
        return m_tell(done(), total);
    }

private:
    const std::function<bool(qint64, qint64)> &m_tell;
    qint64 m_lines = 0;
};

} // namespace ostravel
