#pragma once

#include <QString>
#include <QtGlobal>

namespace ostravel
{

/** How a source of lines ended. */
struct SourceEnd {
    /** Whether the callback cancelled the read. */
    bool cancelled = false;
    /** Bytes of a text log or records of a database that were read. */
    qint64 done = 0;
    /** Bytes or records in total, as far as known. */
    qint64 total = 0;
    /** Error that ended the read; empty at the normal end and when cancelled. */
    QString reason;
};

} // namespace ostravel
