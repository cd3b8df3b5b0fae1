#include "FlightBuilder.h"

#include <utility>

namespace ostravel
{

FlightBuilder::FlightBuilder(const ReadOptions &options)
    : m_series(m_parts.series)
    , m_decoder(m_series)
    , m_startTime(options.startTime)
{
    m_parts.periodsMs = options.periodsMs;
    m_decoder.setPlaneId(options.planeId);
}

Flight FlightBuilder::finish(std::optional<ReadError> brokenOff)
{
    m_decoder.evenTail();
    m_parts.counts.gapsFilled = m_decoder.gapsFilled();
    m_parts.brokenOff = std::move(brokenOff);
    // Uses the period of the clock's own group, so that the clock sample gets exactly the time that it holds.
    const int clockPeriod = m_parts.periodsMs.value(frame::kControlStatus, kDefaultPeriodMs);
    m_parts.startTime = m_startTime.has_value() ? *m_startTime : readClock(m_series, clockPeriod).start;
    m_parts.origin = findOrigin(m_series).value_or(LocalFrame::initial());
    m_parts.track = makeTrack(m_series, m_parts.origin);
    m_parts.attackTrack = makeAttackTrack(m_series, m_parts.origin);
    makeDifferences(m_series);
    appendSpeedAngles(m_series);
    return Flight(std::exchange(m_parts, Flight::Parts()));
}

} // namespace ostravel
