#pragma once

#include <QString>

namespace ostravel
{

/** Why a flight could not be read, or not to its end. */
struct ReadError {
    /** What kind of failure it was. */
    enum class Code {
        UnknownSuffix, ///< neither a text log (txt) nor a flight database (db)
        CannotOpen, ///< missing, no regular file, or not readable
        NotADatabase, ///< a database without the tables of flights
        NoTask, ///< a database without a task, or without the tasks that are asked for
        BrokenOff, ///< reading stopped before the end of the source
        Cancelled, ///< the caller's progress function said so
    };

    /** For branches and tests. */
    Code code;
    /** One English sentence for a person, with the path and what the system says. */
    QString message;
};

} // namespace ostravel
