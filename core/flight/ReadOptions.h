#pragma once

#include <QDateTime>
#include <QMap>
#include <QVector>
#include <cstdint>
#include <functional>
#include <optional>

namespace ostravel
{

/** Milliseconds between two samples of a group for which nothing else is set. */
inline constexpr int kDefaultPeriodMs = 200;

/** What a reader of a flight may choose. Default: everything, as the recorder wrote it. */
struct ReadOptions {
    /** Only this plane's frames; nothing: those of all planes. */
    std::optional<std::uint8_t> planeId;
    /** Of a database: the tasks to read, as one flight; empty: all. A text log has none. */
    QVector<std::uint8_t> tasks;
    /** Time of sample 0 instead of the aircraft's own clock. */
    std::optional<QDateTime> startTime;
    /** Milliseconds between two samples of a group, by function code; kDefaultPeriodMs where it is missing. */
    QMap<std::uint8_t, int> periodsMs;
    /**
     * Called now and then on the reading thread with what is done of the whole: bytes of a text log, records of a
     * database. Returning false cancels the read. Must not throw.
     */
    std::function<bool(qint64 done, qint64 total)> progress;
};

} // namespace ostravel
