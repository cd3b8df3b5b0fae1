#include "Geodesy.h"

#include <algorithm>
#include <cmath>
#include <limits>

std::int32_t truncatedToLocationUnit(double scaled)
{
    constexpr double kBelow = -2147483649.0;
    constexpr double kAbove = 2147483648.0;
    if (!(scaled > kBelow && scaled < kAbove))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(scaled);
}

float longitude_scale(Location location)
{
    constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
    constexpr float kLeast = 0.01F;
    const double degrees = location.latitude / kLocationUnitsPerDegree;
    return std::max(static_cast<float>(std::cos(degrees * kRadiansPerDegree)), kLeast);
}
