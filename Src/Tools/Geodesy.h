#pragma once

#include <cstdint>

/** A position on the earth: latitude, then longitude, each in degrees times 10000000. */
struct Location {
    std::int32_t latitude;
    std::int32_t longitude;
};

/** Degrees times 10000000, the unit of a Location. */
inline constexpr double kLocationUnitsPerDegree = 10000000.0;

/**
 * Whole part of a scaled coordinate.
 *
 * @param scaled a coordinate in degrees times 10000000
 * @return the value truncated toward zero; INT32_MIN for what does not fit 32 bits or is no number
 */
std::int32_t truncatedToLocationUnit(double scaled);

/**
 * Factor by which a difference of longitude is scaled at the latitude of a position, so that it has the length of an
 * equal difference of latitude: the cosine of the latitude.
 *
 * @return at most 1; never below 0.01, so that nobody divides by zero at a pole
 */
float longitude_scale(Location location);
