#pragma once

#include <cstdint>

/**
 * @file
 * Positions on the earth, and vectors in a plane.
 *
 * Distances and directions are those of the shortest line on the WGS84 ellipsoid. A longitude may lie outside
 * [-180, 180]; a latitude beyond 90 degrees is no position. Nothing here throws; all of it is safe from any thread.
 */

namespace ostravel
{

/** A position on the earth: latitude, then longitude, each in degrees times 10000000. */
struct Location {
    /** North of the equator. */
    std::int32_t latitude;
    /** East of Greenwich. */
    std::int32_t longitude;
};

/** Two components. As an offset on the earth, x is metres to the north and y metres to the east. */
struct Vector2 {
    /** First component. */
    float x;
    /** Second component. */
    float y;
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

/** @return metres between two positions; not-a-number when one of them is none. About 1 microsecond. */
float get_distance(Location from, Location to);

/**
 * Direction in which the way from one position to another sets out.
 *
 * @return hundredths of a degree, clockwise from true north, 0 to 35999; 0 for equal points and for what is no position
 */
std::int32_t get_bearing_cd(Location from, Location to);

/**
 * Offset from one position to another: the length of the way, split by the direction in which it sets out.
 *
 * @return metres north and east, by which location_offset leads from the first position to the second; not-a-number
 *         when one of them is none
 */
Vector2 location_diff(Location from, Location to);

/**
 * Moves a position by metres to the north and to the east.
 *
 * The longitude ends in [-180, 180]. Both fields become INT32_MIN when the position is none or an offset is not finite.
 */
void location_offset(Location *location, float north, float east);

/**
 * Factor by which a difference of longitude is scaled at the latitude of a position, so that it has the length of an
 * equal difference of latitude: the cosine of the latitude.
 *
 * @return at most 1; never below 0.01, so that nobody divides by zero at a pole
 */
float longitude_scale(Location location);

/** @return a + b */
Vector2 Vector2Add(Vector2 a, Vector2 b);
/** @return a - b */
Vector2 Vector2Sub(Vector2 a, Vector2 b);
/** @return a.x * b.x + a.y * b.y */
float Vector2MulDot(Vector2 a, Vector2 b);
/** @return a.x * b.y - a.y * b.x, positive when b lies to the left of a (x to the right, y up) */
float Vector2MulCross(Vector2 a, Vector2 b);
/** @return the angle between two vectors in degrees, 0 to 180; 0 when one of them has no length */
float Vector2Angle(Vector2 a, Vector2 b);

} // namespace ostravel
