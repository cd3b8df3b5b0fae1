#include "DemoMath.h"

#include <cmath>

namespace demo
{

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr double kRootOfThree = 1.73205080756887729353;
constexpr double kTangentOf15 = 0.26794919243112270647;

// The arc tangent in degrees of a number from 0 to 1.
double arcTangentOfUnit(double z)
{
    double shift = 0.0;
    if (z > kTangentOf15) {
        z = (z * kRootOfThree - 1.0) / (kRootOfThree + z);
        shift = 30.0;
    }
    const double square = z * z;
    double sum = 0.0;
    for (int k = 15; k >= 1; k -= 2)
        sum = 1.0 / k - square * sum;
    return shift + sum * z * (180.0 / kPi);
}

} // namespace

double wrap360(double degrees)
{
    const double wrapped = degrees - 360.0 * std::floor(degrees / 360.0);
    return wrapped >= 360.0 ? 0.0 : wrapped;
}

double wrap180(double degrees)
{
    return wrap360(degrees + 180.0) - 180.0;
}

double sine(double degrees)
{
    double folded = wrap180(degrees);
    if (folded > 90.0)
        folded = 180.0 - folded;
    else if (folded < -90.0)
        folded = -180.0 - folded;
    const double x = folded * (kPi / 180.0);
    const double square = x * x;
    double sum = 1.0;
    for (int k = 16; k >= 2; k -= 2)
        sum = 1.0 - sum * square / (k * (k + 1));
    return x * sum;
}

double cosine(double degrees)
{
    return sine(degrees + 90.0);
}

double tangent(double degrees)
{
    return sine(degrees) / cosine(degrees);
}

double arcTangent(double y, double x)
{
    const double width = std::fabs(x);
    const double height = std::fabs(y);
    if (width == 0.0 && height == 0.0)
        return 0.0;
    double angle = height <= width ? arcTangentOfUnit(height / width) : 90.0 - arcTangentOfUnit(width / height);
    if (x < 0.0)
        angle = 180.0 - angle;
    return y < 0.0 ? -angle : angle;
}

double bearing(double east, double north)
{
    return wrap360(arcTangent(east, north));
}

double length(double east, double north)
{
    return std::sqrt(east * east + north * north);
}

} // namespace demo
