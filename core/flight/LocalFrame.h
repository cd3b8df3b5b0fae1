#pragma once

namespace ostravel
{

/**
 * The flat east-north frame around the origin of a flight, in metres, in which the tracks lie. A value; no state, safe
 * from any thread.
 */
struct LocalFrame {
    /** Origin of the first flight of a process, until a flight gives one of its own; degrees. */
    ///@{
    static constexpr float kInitialLatitude = 33.947071F;
    static constexpr float kInitialLongitude = 113.91378F;
    ///@}

    /** Of the origin, in degrees. */
    ///@{
    float latitude;
    float longitude;
    ///@}
    /** Length of a difference of longitude beside that of an equal difference of latitude: 0.01 to 1. */
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
