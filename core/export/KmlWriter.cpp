#include "KmlWriter.h"

#include "TrackLines.h"

namespace ostravel
{

namespace
{

constexpr int kPasses = 2; // times, then places

char *putPlace(char *to, const TrackPoint &point, char separator)
{
    to = putDegrees(to, point.longitude);
    *to++ = separator;
    to = putDegrees(to, point.latitude);
    *to++ = separator;
    return putHeight(to, point.height);
}

void writeTrack(TrackOutput &output, const TrackLine &line)
{
    output.append(QByteArrayLiteral("<gx:Track><altitudeMode>relativeToGround</altitudeMode>\n"));
    output.forEachPoint(line, [&output](char *to, const TrackPoint &point, bool) {
        return putText(output.clock()->put(putText(to, "<when>"), point.ms), "Z</when>\n");
    });
    output.forEachPoint(line, [](char *to, const TrackPoint &point, bool) {
        return putText(putPlace(putText(to, "<gx:coord>"), point, ' '), "</gx:coord>\n");
    });
    output.append(QByteArrayLiteral("</gx:Track>"));
}

void writeLine(TrackOutput &output, const TrackLine &line)
{
    output.append(QByteArrayLiteral("<LineString><altitudeMode>relativeToGround</altitudeMode><coordinates>\n"));
    output.forEachPoint(
        line, [](char *to, const TrackPoint &point, bool) { return putText(putPlace(to, point, ','), "\n"); });
    output.append(QByteArrayLiteral("</coordinates></LineString>"));
}

void writeDocument(TrackOutput &output)
{
    output.append(QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<kml xmlns=\"http://www.opengis.net/kml/2.2\" "
                                    "xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n<Document>\n"));
    for (const TrackLine &line : output.lines()) {
        output.append("<Placemark><name>" + xmlText(line.name) + "</name>\n");
        if (output.clock() != nullptr)
            writeTrack(output, line);
        else
            writeLine(output, line);
        output.append(QByteArrayLiteral("</Placemark>\n"));
    }
    output.append(QByteArrayLiteral("</Document>\n</kml>\n"));
}

} // namespace

std::optional<ExportError> writeKml(const Flight &flight, const QString &path, const ExportOptions &options)
{
    return writeTrackFile(flight, path, options, kPasses, &writeDocument);
}

} // namespace ostravel
