#pragma once

#include "Flight.h"
#include "FrameDecoder.h"
#include "ReadOptions.h"

namespace ostravel
{

/**
 * Makes a Flight of lines, one after another.
 *
 * Neither copied nor moved, since its decoder refers to its series. One builder on one thread; any number of builders
 * at the same time. Does not throw.
 */
class FlightBuilder
{
public:
    /** @param options read while lines are added and in finish(); tasks and progress are the source's and not looked at
     */
    explicit FlightBuilder(const ReadOptions &options);
    FlightBuilder(const FlightBuilder &) = delete;
    FlightBuilder &operator=(const FlightBuilder &) = delete;

    /** See FrameDecoder::reserveForLog. */
    void reserveForLog(qint64 bytes) { m_decoder.reserveForLog(bytes); }

    /** Decodes and counts one line of hexadecimal text. Every line of a source counts, an empty one too. */
    template <typename Text>
    FrameKind add(const Text &line)
    {
        const FrameKind kind = m_decoder.decode(line);
        m_parts.counts.add(kind);
        return kind;
    }

    /**
     * Evens the series, derives what follows from them and gives the flight. The builder is empty after it.
     *
     * @param brokenOff why there were no more lines, when that was not the end of the source
     */
    Flight finish(std::optional<ReadError> brokenOff = std::nullopt);

private:
    Flight::Parts m_parts;
    SeriesRefs m_series;
    FrameDecoder m_decoder;
    std::optional<QDateTime> m_startTime;
};

} // namespace ostravel
