#pragma once

#include <QString>

namespace ostravel
{

/** Why a flight could not be read, or only in part. */
struct ReadError {
    /** Kind of failure. */
    enum class Code {
        UnknownSuffix, ///< neither a text log (txt) nor a flight database (db)
        CannotOpen, ///< missing, not a regular file, or not readable
        NotADatabase, ///< a database without the tables of flights
        NoTask, ///< a database without tasks, or without a requested task
        BrokenOff, ///< reading stopped before the end of the source
        Cancelled, ///< the caller's progress function returned false
    };

    /** For branches and tests. */
    Code code;
    /** One English sentence for the user, with the path and the system's error text. */
    QString message;
};

} // namespace ostravel
