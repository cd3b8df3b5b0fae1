#pragma once

#include <QDateTime>
#include <QMap>
#include <QVector>
#include <cstdint>
#include <functional>
#include <optional>

namespace ostravel
{

/** Default interval between two samples of a group, in milliseconds. */
inline constexpr int kDefaultPeriodMs = 200;

/** Options of readFlight(). The default reads everything. */
struct ReadOptions {
    /** Read only this plane's frames; std::nullopt for all planes. */
    std::optional<std::uint8_t> planeId;
    /** Tasks of a database to read as one flight; empty for all. Ignored for a text log. */
    QVector<std::uint8_t> tasks;
    /** Time of sample 0; replaces the aircraft's clock. */
    std::optional<QDateTime> startTime;
    /** Milliseconds between two samples of a group, by function code. Default: kDefaultPeriodMs. */
    QMap<std::uint8_t, int> periodsMs;
    /**
     * Called regularly on the reading thread with the progress: bytes of a text log or records of a database; 0 of 0
     * while a database is copied. Returning false cancels the read. Must not throw.
     */
    std::function<bool(qint64 done, qint64 total)> progress;
};

} // namespace ostravel
