#pragma once

#include "Derivations.h"
#include "FrameCounts.h"
#include "LocalFrame.h"
#include "ReadError.h"
#include "SeriesRefs.h"

#include <QDateTime>
#include <QMap>
#include <cstdint>
#include <optional>

namespace ostravel
{

/**
 * One recorded flight: the samples of 143 channels and the values derived from them.
 *
 * Copies share the samples; moving is cheap. Const functions may be called from several threads at once. Does not
 * throw.
 */
class Flight
{
public:
    /** The data of a flight, as FlightBuilder assembles it. */
    struct Parts {
        SeriesArray series; ///< samples of all channels
        QDateTime startTime; ///< of sample 0; null when unknown
        QMap<std::uint8_t, int> periodsMs; ///< by function code, where it is not kDefaultPeriodMs
        LocalFrame origin = LocalFrame::initial(); ///< frame of the tracks
        Track track; ///< the whole flight
        Track attackTrack; ///< the last leg
        FrameCounts counts; ///< lines by kind
        std::optional<ReadError> brokenOff; ///< why the source ended early
    };

    /** An empty flight. */
    Flight() = default;
    /** Takes over the parts. */
    explicit Flight(Parts parts);

    /**
     * The samples of a channel in its unit, ordered by time.
     *
     * @param functionCode code of the channel's frames, such as frame::kAttitude
     * @param row row of the channel in its table, from 0, such as frame::rowOf(frame::kAttitude, "PGS_Roll")
     * @return an empty series for a channel that does not exist. The channels of one function code have equal length.
     *         After a damaged log the equipment series may be shorter than the control status series
     */
    const Series &samples(std::uint8_t functionCode, int row) const;

    /** Local time of sample 0; null when neither the options nor the aircraft's clock gave one. */
    const QDateTime &startTime() const { return m_parts.startTime; }
    /** Milliseconds between two samples of a function code. */
    int periodMs(std::uint8_t functionCode) const;
    /** Time of a sample (index from 0) in seconds since the epoch: the start time in whole seconds (0 when null) plus
     * the sample's offset. */
    double timeOf(std::uint8_t functionCode, int sample) const;

    /** The frame of the tracks. Its origin is LocalFrame::initial() when fewer than ten heartbeats were read. */
    const LocalFrame &origin() const { return m_parts.origin; }
    /** The flown track; empty without positions. */
    const Track &track() const { return m_parts.track; }
    /** The last leg of the track; see makeAttackTrack. */
    const Track &attackTrack() const { return m_parts.attackTrack; }
    /** Counts of the source's lines by kind. */
    const FrameCounts &counts() const { return m_parts.counts; }
    /** Why the source ended early; std::nullopt when it was read to its end. The flight holds all that was read. */
    const std::optional<ReadError> &brokenOff() const { return m_parts.brokenOff; }

private:
    Parts m_parts;
};

} // namespace ostravel
