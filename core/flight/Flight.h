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
 * One recorded flight: the samples of 143 channels and what is derived from them.
 *
 * A value. Copies share the samples; moving costs no sample either. Constant functions are safe from any number of
 * threads at once. Does not throw.
 */
class Flight
{
public:
    /** What a flight consists of, as FlightBuilder puts it together. */
    struct Parts {
        SeriesArray series; ///< samples of all channels
        QDateTime startTime; ///< of sample 0; null for none
        QMap<std::uint8_t, int> periodsMs; ///< by function code, where it is not kDefaultPeriodMs
        LocalFrame origin = LocalFrame::initial(); ///< frame of the tracks
        Track track; ///< the whole flight
        Track attackTrack; ///< the last leg
        FrameCounts counts; ///< what the lines were
        std::optional<ReadError> brokenOff; ///< why the source ended early
    };

    /** A flight without a sample. */
    Flight() = default;
    /** A flight of its parts, which are moved. */
    explicit Flight(Parts parts);

    /**
     * The samples of a channel in its unit, ordered by time.
     *
     * @param functionCode code of the channel's frames, such as frame::kAttitude
     * @param row row of the channel in its table, from 0, such as frame::rowOf(frame::kAttitude, "PGS_Roll")
     * @return an empty series for a channel that does not exist. The channels of one group have equal length, but for
     *         the equipment, which may be shorter than the control status after a damaged log
     */
    const Series &samples(std::uint8_t functionCode, int row) const;

    /** Local time of sample 0; null when neither the options nor the aircraft's clock gave one. */
    const QDateTime &startTime() const { return m_parts.startTime; }
    /** Milliseconds between two samples of a function code. */
    int periodMs(std::uint8_t functionCode) const;
    /** Seconds since the epoch of a sample, counted from 0: whole seconds of the start time, 0 without one, plus its
     * age. */
    double timeOf(std::uint8_t functionCode, int sample) const;

    /** The frame of the tracks; around the initial origin when fewer than ten heartbeats were read. */
    const LocalFrame &origin() const { return m_parts.origin; }
    /** The flown track; empty without positions. */
    const Track &track() const { return m_parts.track; }
    /** The last leg of the track; see makeAttackTrack. */
    const Track &attackTrack() const { return m_parts.attackTrack; }
    /** What the lines of the source were. */
    const FrameCounts &counts() const { return m_parts.counts; }
    /** Why the source ended early; nothing when it was read to its end. What was read before is in the flight. */
    const std::optional<ReadError> &brokenOff() const { return m_parts.brokenOff; }

private:
    Parts m_parts;
};

} // namespace ostravel
