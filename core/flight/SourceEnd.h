#pragma once

#include <QString>
#include <QtGlobal>

namespace ostravel
{

/** How a source of lines ended. */
struct SourceEnd {
    /** The taker of the lines wanted no more. */
    bool cancelled = false;
    /** Bytes of a text log or records of a database that were read. */
    qint64 done = 0;
    /** Bytes or records that there are, as far as that is known. */
    qint64 total = 0;
    /** Why the source gave no more lines; empty at its true end and when it was cancelled. */
    QString reason;
};

} // namespace ostravel
