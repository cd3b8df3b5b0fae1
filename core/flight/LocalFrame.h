#pragma once

namespace ostravel
{

/**
 * The flat east-north coordinate system of the tracks, in metres around the origin of a flight. No state, safe from any
 * thread.
 */
struct LocalFrame {
    /** Origin that is used until a flight has one of its own, in degrees. */
    ///@{
    static constexpr float kInitialLatitude = 33.947071F;
    static constexpr float kInitialLongitude = 113.91378F;
    ///@}

    /** Position of the origin, in degrees. */
    ///@{
    float latitude;
    float longitude;
    ///@}
    /** Length of a degree of longitude relative to a degree of latitude, 0.01 to 1; see longitude_scale(). */
    double scale;

    /** The frame around a position in degrees. */
    static LocalFrame at(float latitude, float longitude);
    /** The frame around the initial origin. */
    static LocalFrame initial() { return at(kInitialLatitude, kInitialLongitude); }

    /** Metres east of the origin, computed in double and rounded to float. @param degrees longitude */
    float x(double degrees) const;
    /** Metres north of the origin, computed in double and rounded to float. @param degrees latitude */
    float y(double degrees) const;
};

} // namespace ostravel
