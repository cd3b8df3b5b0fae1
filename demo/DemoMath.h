#pragma once

/**
 * Trigonometry in degrees, computed only by additions, multiplications, divisions and square roots.
 *
 * The functions of the standard library differ in their last bits between platforms, but a demo flight must have the
 * same bytes everywhere. The error is about 1e-10, less than any field of a frame resolves. O(1), any thread.
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
