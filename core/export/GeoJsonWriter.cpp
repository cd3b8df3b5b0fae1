#include "GeoJsonWriter.h"

#include "TrackLines.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace ostravel
{

namespace
{

constexpr int kPasses = 2; // times, then places
constexpr int kMinPoints = 2;

QByteArray jsonText(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

void writeFeature(TrackOutput &output, const TrackLine &line)
{
    output.append("{\"type\":\"Feature\",\"properties\":{\"name\":" + jsonText(line.name));
    if (output.clock() != nullptr) {
        output.append(QByteArrayLiteral(",\"coordTimes\":[\n"));
        output.forEachPoint(line, [&output](char *to, const TrackPoint &point, bool isFirst) {
            to = putText(to, isFirst ? "\"" : ",\n\"");
            return putText(output.clock()->put(to, point.ms), "Z\"");
        });
        output.append(QByteArrayLiteral("]"));
    }
    output.append(QByteArrayLiteral("},\"geometry\":{\"type\":\"LineString\",\"coordinates\":[\n"));
    output.forEachPoint(line, [](char *to, const TrackPoint &point, bool isFirst) {
        to = putDegrees(putText(to, isFirst ? "[" : ",\n["), point.longitude);
        to = putDegrees(putText(to, ","), point.latitude);
        to = putHeight(putText(to, ","), point.height);
        return putText(to, "]");
    });
    output.append(QByteArrayLiteral("]}}"));
}

void writeDocument(TrackOutput &output)
{
    output.append(QByteArrayLiteral("{\"type\":\"FeatureCollection\",\"features\":["));
    bool isFirst = true;
    for (const TrackLine &line : output.lines()) {
        if (line.points.size() < kMinPoints)
            continue;
        output.append(isFirst ? QByteArrayLiteral("\n") : QByteArrayLiteral(",\n"));
        writeFeature(output, line);
        isFirst = false;
    }
    output.append(QByteArrayLiteral("\n]}\n"));
}

} // namespace

std::optional<ExportError> writeGeoJson(const Flight &flight, const QString &path, const ExportOptions &options)
{
    return writeTrackFile(flight, path, options, kPasses, &writeDocument);
}

} // namespace ostravel
