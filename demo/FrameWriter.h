#pragma once

#include "DemoRandom.h"
#include "FlightSimulator.h"
#include "FrameRows.h"

#include <array>
#include <cstdint>

namespace demo
{

namespace frame = ostravel::frame;

/** The bytes of one frame, as long as its table reaches. */
class FrameBytes
{
public:
    /** A frame of code with its header and every field zero. */
    FrameBytes(std::uint8_t code, std::uint8_t planeId, std::uint16_t counter);

    /** Write value into its field; beyond what the field can hold it becomes the nearest that it can. */
    void put(const frame::FieldRow &field, double value);

    const char *data() const { return m_bytes.data(); }
    int size() const { return m_size; }

private:
    std::array<char, frame::reach()> m_bytes{};
    int m_size;
};

/**
 * Puts the state of a simulated aircraft into downlink frames, with the noise of its sensors.
 *
 * Fields of a divisor of 1 whose unit the downlink leaves open carry millivolts, centiamperes, kilometres (total
 * voyage), seconds (uptime, fly duration), metres (distances), percent, and PWM microseconds.
 */
class FrameWriter
{
public:
    FrameWriter(std::uint8_t planeId, std::uint64_t seed);

    FrameBytes heartBeat(const FlightState &state);
    FrameBytes controlStatus(const FlightState &state);
    void putClock(FrameBytes &bytes, const FlightState &state) const;
    FrameBytes attitude(const FlightState &state);
    FrameBytes sensor(const FlightState &state);
    FrameBytes target(const FlightState &state);
    FrameBytes payload(const FlightState &state);
    FrameBytes backup(const FlightState &state);

private:
    FrameBytes begin(std::uint8_t code);
    double noisy(double value, double deviation);
    double longitude(Place place) const;
    double latitude(Place place) const;

    DemoRandom m_random;
    std::uint8_t m_planeId;
    std::uint16_t m_counter = 0;
    double m_homeLongitude;
    double m_homeLatitude;
    double m_metresPerLongitude;
    int m_startSecond; // of the day, at sample 0
    double m_temperature = 24.0;
    double m_current = 300.0;
    Place m_gpsDrift;
};

} // namespace demo
