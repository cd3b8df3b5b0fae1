#pragma once

/**
 * Angles in degrees from additions, multiplications, divisions and square roots alone.
 *
 * The mathematical functions of the standard library differ in their last bits from platform to platform, and a demo
 * flight must be the same bytes everywhere. Good to about 1e-10, which no field of a frame can show. O(1), any thread.
 */
namespace demo
{

/** Into [0, 360). */
double wrap360(double degrees);
/** Into [-180, 180). */
double wrap180(double degrees);
double sine(double degrees);
double cosine(double degrees);
double tangent(double degrees);
/** Degrees in [-180, 180]; 0 for (0, 0). */
double arcTangent(double y, double x);
/** Compass bearing of the vector (east, north), degrees in [0, 360); 0 for the null vector. */
double bearing(double east, double north);
double length(double east, double north);

} // namespace demo
