#pragma once

#include "Flight.h"
#include "FlightBuilder.h"
#include "ReadError.h"
#include "ReadOptions.h"
#include "SourceEnd.h"

#include <QString>
#include <variant>

/**
 * @file
 * What the readers of all log formats share. The table of the formats is in ReadFlight.cpp.
 */

namespace ostravel
{

/** A flight, or why there is none. */
using ReadResult = std::variant<Flight, ReadError>;

/** A kind of file that readFlight reads. */
struct LogFormat {
    const char *suffix; ///< of the file, without the point, in lower case
    const char *description; ///< English phrase with an article, for messages
    /** Reads a whole file; see readFlight. */
    ReadResult (*read)(const QString &path, const ReadOptions &options);
};

/** The error of a flight that cannot be read: "The flight PATH WHAT.". */
ReadError readError(ReadError::Code code, const QString &path, const QString &what);

/** The flight of a source that has ended, or the error when it was cancelled. @param path for messages */
ReadResult finishedFlight(FlightBuilder &builder, const SourceEnd &end, const QString &path);

/** Asks the caller now and then whether to go on. */
class ReadProgress
{
public:
    explicit ReadProgress(const ReadOptions &options)
        : m_tell(options.progress)
    {
    }

    /** Before the first line and after the last. @return false to cancel */
    bool tell(qint64 done, qint64 total) const { return !m_tell || m_tell(done, total); }

    /** After each line. @param done gives what is done; asked only when it is told */
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
