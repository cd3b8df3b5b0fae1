#include "DemoRoute.h"

#include "DemoRandom.h"

#include <QSaveFile>

namespace demo
{

namespace
{

constexpr double kFirstLongitude = 113.91378;
constexpr double kFirstLatitude = 33.947071;
constexpr int kLegsOfALane = 20;
constexpr double kLegDegrees = 0.003; // of longitude, about 280 m here
constexpr double kLaneDegrees = 0.0035; // of latitude, about 390 m
constexpr int kLanes = 200; // then the next field, a little higher

} // namespace

QByteArray makeRoute(const RouteOptions &options)
{
    constexpr int kBytesAWaypoint = 128;
    DemoRandom random(options.seed);
    QByteArray text;
    text.reserve(options.waypoints * kBytesAWaypoint);
    text.append("{\n  \"name\": \"demo\",\n  \"cartographic\": [");
    for (int i = 0; i < options.waypoints; ++i) {
        const int lane = i / (kLegsOfALane + 1);
        const int leg = i % (kLegsOfALane + 1);
        const int along = lane % 2 == 0 ? leg : kLegsOfALane - leg;
        const double longitude = kFirstLongitude + along * kLegDegrees + random.uniform(-2e-4, 2e-4);
        const double latitude = kFirstLatitude + lane % kLanes * kLaneDegrees + random.uniform(-2e-4, 2e-4);
        const int height = 500 + lane / kLanes * 10 + random.below(20);
        const bool turns = leg == 0 || leg == kLegsOfALane;
        // In a route file the coordinates are strings and the other values are numbers.
        text.append(i == 0 ? "\n" : ",\n");
        text.append("    {\"longitude\": \"").append(QByteArray::number(longitude, 'f', 7));
        text.append("\", \"latitude\": \"").append(QByteArray::number(latitude, 'f', 7));
        text.append("\", \"height\": ").append(QByteArray::number(height));
        text.append(", \"radius\": ").append(turns ? "120" : "0");
        text.append(", \"speed\": ").append(turns ? "22.5" : "27.5").append("}");
    }
    text.append("\n  ]\n}\n");
    return text;
}

bool writeRoute(const QString &path, const RouteOptions &options, QString *error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(makeRoute(options));
        if (file.commit())
            return true;
    }
    if (error)
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
    return false;
}

} // namespace demo
