#pragma once

#include "Flight.h"
#include "FrameDecoder.h"
#include "ReadOptions.h"

namespace ostravel
{

/**
 * Builds a Flight from lines, one after another.
 *
 * Not copyable or movable, because its decoder refers to its series. Use one builder from one thread; several builders
 * may work at the same time. Does not throw.
 */
class FlightBuilder
{
public:
    /** @param options the plane filter, periods and start time are copied; tasks and progress are ignored */
    explicit FlightBuilder(const ReadOptions &options);
    FlightBuilder(const FlightBuilder &) = delete;
    FlightBuilder &operator=(const FlightBuilder &) = delete;

    /** See FrameDecoder::reserveForLog. */
    void reserveForLog(qint64 bytes) { m_decoder.reserveForLog(bytes); }

    /** Decodes and counts one line of hexadecimal text. Empty lines count, too. */
    template <typename Text>
    FrameKind add(const Text &line)
    {
        const FrameKind kind = m_decoder.decode(line);
        m_parts.counts.add(kind);
        return kind;
    }

    /**
     * Aligns the series, computes the derived values and returns the flight. The builder is empty afterwards.
     *
     * @param brokenOff why reading stopped before the end of the source; std::nullopt after a complete read
     */
    Flight finish(std::optional<ReadError> brokenOff = std::nullopt);

private:
    Flight::Parts m_parts;
    SeriesRefs m_series;
    FrameDecoder m_decoder;
    std::optional<QDateTime> m_startTime;
};

} // namespace ostravel
