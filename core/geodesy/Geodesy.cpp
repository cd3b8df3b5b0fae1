#include "Geodesy.h"

#include <GeographicLib/Geodesic.hpp>
#include <algorithm>
#include <cmath>
#include <limits>

namespace ostravel
{

namespace
{

using GeographicLib::Geodesic;
using GeographicLib::Math;

constexpr double kMaxLatitude = 90.0 * kLocationUnitsPerDegree;
constexpr std::int32_t kInvalidCoordinate = std::numeric_limits<std::int32_t>::min();

bool isPosition(Location location)
{
    return std::abs(static_cast<double>(location.latitude)) <= kMaxLatitude;
}

double degrees(std::int32_t coordinate)
{
    return coordinate / kLocationUnitsPerDegree;
}

std::int32_t roundedToLocationUnit(double degrees)
{
    return static_cast<std::int32_t>(std::lround(degrees * kLocationUnitsPerDegree));
}

struct Leg {
    double metres; // NaN when an end is an invalid position
    double azimuth; // degrees clockwise from north at the start, -180 to 180
};

Leg legBetween(Location from, Location to)
{
    if (!isPosition(from) || !isPosition(to))
        return {std::numeric_limits<double>::quiet_NaN(), 0.0};
    Leg leg{};
    double azimuthAtEnd = 0.0;
    Geodesic::WGS84().Inverse(degrees(from.latitude), degrees(from.longitude), degrees(to.latitude),
                              degrees(to.longitude), leg.metres, leg.azimuth, azimuthAtEnd);
    return leg;
}

// A double holds the product of two floats exactly, so the sums below are rounded only once.
double dot(Vector2 a, Vector2 b)
{
    return static_cast<double>(a.x) * static_cast<double>(b.x) + static_cast<double>(a.y) * static_cast<double>(b.y);
}

double cross(Vector2 a, Vector2 b)
{
    return static_cast<double>(a.x) * static_cast<double>(b.y) - static_cast<double>(a.y) * static_cast<double>(b.x);
}

} // namespace

std::int32_t truncatedToLocationUnit(double scaled)
{
    constexpr double kTooLow = -2147483649.0;
    constexpr double kTooHigh = 2147483648.0;
    if (!(scaled > kTooLow && scaled < kTooHigh))
        return kInvalidCoordinate;
    return static_cast<std::int32_t>(scaled);
}

float get_distance(Location from, Location to)
{
    return static_cast<float>(legBetween(from, to).metres);
}

std::int32_t get_bearing_cd(Location from, Location to)
{
    constexpr std::int32_t kFullCircle = 36000;
    const Leg leg = legBetween(from, to);
    // Equal points have no bearing, whatever the library returns. NaN (invalid position) has none either.
    if (!(leg.metres > 0.0))
        return 0;
    const auto hundredths = static_cast<std::int32_t>(std::lround(leg.azimuth * 100.0));
    return (hundredths + kFullCircle) % kFullCircle;
}

Vector2 location_diff(Location from, Location to)
{
    const Leg leg = legBetween(from, to);
    double east = 0.0;
    double north = 0.0;
    Math::sincosd(leg.azimuth, east, north);
    // Adding 0.0 turns -0.0 into 0.0; the sign would be displayed.
    return {static_cast<float>(leg.metres * north + 0.0), static_cast<float>(leg.metres * east + 0.0)};
}

void location_offset(Location *location, float north, float east)
{
    if (!isPosition(*location) || !std::isfinite(north) || !std::isfinite(east)) {
        *location = {kInvalidCoordinate, kInvalidCoordinate};
        return;
    }
    const auto metresNorth = static_cast<double>(north);
    const auto metresEast = static_cast<double>(east);
    double latitude = 0.0;
    double longitude = 0.0;
    Geodesic::WGS84().Direct(degrees(location->latitude), degrees(location->longitude),
                             Math::atan2d(metresEast, metresNorth), std::hypot(metresNorth, metresEast), latitude,
                             longitude);
    *location = {roundedToLocationUnit(latitude), roundedToLocationUnit(longitude)};
}

float longitude_scale(Location location)
{
    constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
    constexpr float kMinScale = 0.01F;
    return std::max(static_cast<float>(std::cos(degrees(location.latitude) * kRadiansPerDegree)), kMinScale);
}

Vector2 Vector2Add(Vector2 a, Vector2 b)
{
    return {a.x + b.x, a.y + b.y};
}

Vector2 Vector2Sub(Vector2 a, Vector2 b)
{
    return {a.x - b.x, a.y - b.y};
}

float Vector2MulDot(Vector2 a, Vector2 b)
{
    return static_cast<float>(dot(a, b));
}

float Vector2MulCross(Vector2 a, Vector2 b)
{
    return static_cast<float>(cross(a, b));
}

float Vector2Angle(Vector2 a, Vector2 b)
{
    if ((a.x == 0.0F && a.y == 0.0F) || (b.x == 0.0F && b.y == 0.0F))
        return 0.0F;
    constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;
    // The arc cosine would lose half the digits near 0 and 180 degrees.
    return static_cast<float>(std::atan2(std::abs(cross(a, b)), dot(a, b)) * kDegreesPerRadian);
}

} // namespace ostravel
