#include "LocalFrame.h"

#include "Geodesy.h"

namespace ostravel
{

namespace
{

/** Metres of one unit of latitude in a Location. */
constexpr double kMetresPerUnit = 0.011131884530186653;

std::int32_t locationUnits(float degrees)
{
    return truncatedToLocationUnit(static_cast<double>(degrees) * kLocationUnitsPerDegree);
}

} // namespace

LocalFrame LocalFrame::at(float latitude, float longitude)
{
    const Location location{locationUnits(latitude), locationUnits(longitude)};
    return {latitude, longitude, static_cast<double>(longitude_scale(location))};
}

float LocalFrame::x(double degrees) const
{
    return static_cast<float>((degrees - static_cast<double>(longitude)) * kLocationUnitsPerDegree * kMetresPerUnit
                              * scale);
}

float LocalFrame::y(double degrees) const
{
    return static_cast<float>((degrees - static_cast<double>(latitude)) * kLocationUnitsPerDegree * kMetresPerUnit);
}

} // namespace ostravel
