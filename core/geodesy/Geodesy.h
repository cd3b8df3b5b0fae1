#pragma once

#include <cstdint>

/**
 * @file
 * Positions on the earth, and vectors in a plane.
 *
 * Distances and directions are those of the shortest line on the WGS84 ellipsoid. A longitude may lie outside
 * [-180, 180]; a position with a latitude beyond +-90 degrees is invalid. No function throws. Safe from any thread.
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
 * Integer part of a scaled coordinate.
 *
 * @param scaled a coordinate in degrees times 10000000
 * @return the value truncated toward zero; INT32_MIN for NaN and for values that do not fit 32 bits
 */
std::int32_t truncatedToLocationUnit(double scaled);

/** @return metres between two positions; NaN when one of them is invalid. About 1 microsecond. */
float get_distance(Location from, Location to);

/**
 * Initial bearing from one position to another.
 *
 * @return hundredths of a degree, clockwise from true north, 0 to 35999; 0 for equal points and invalid positions
 */
std::int32_t get_bearing_cd(Location from, Location to);

/**
 * Offset from one position to another: the distance, resolved along the initial bearing.
 *
 * @return metres north and east; location_offset with these leads from the first position to the second. NaN when one
 *         of the positions is invalid
 */
Vector2 location_diff(Location from, Location to);

/**
 * Moves a position by metres to the north and to the east.
 *
 * The new longitude is in [-180, 180]. Both fields become INT32_MIN when the position is invalid or an offset is not
 * finite.
 */
void location_offset(Location *location, float north, float east);

/**
 * Length of a degree of longitude relative to a degree of latitude: the cosine of the position's latitude.
 *
 * @return 0.01 to 1; the minimum prevents a division by zero at a pole
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
/** @return the angle between two vectors in degrees, 0 to 180; 0 when one of them has length 0 */
float Vector2Angle(Vector2 a, Vector2 b);

} // namespace ostravel
