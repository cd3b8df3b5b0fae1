#include "GpxWriter.h"

#include "TrackLines.h"

namespace ostravel
{

namespace
{

void writeDocument(TrackOutput &output)
{
    output.append(QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<gpx version=\"1.1\" creator=\"Ostravel\" "
                                    "xmlns=\"http://www.topografix.com/GPX/1/1\">\n"));
    for (const TrackLine &line : output.lines()) {
        output.append("<trk><name>" + xmlText(line.name) + "</name><trkseg>\n");
        output.forEachPoint(line, [&output](char *to, const TrackPoint &point, bool) {
            to = putDegrees(putText(to, "<trkpt lat=\""), point.latitude);
            to = putDegrees(putText(to, "\" lon=\""), point.longitude);
            to = putHeight(putText(to, "\"><ele>"), point.height);
            to = putText(to, "</ele>");
            if (output.clock() != nullptr)
                to = putText(output.clock()->put(putText(to, "<time>"), point.ms), "Z</time>");
            return putText(to, "</trkpt>\n");
        });
        output.append(QByteArrayLiteral("</trkseg></trk>\n"));
    }
    output.append(QByteArrayLiteral("</gpx>\n"));
}

} // namespace

std::optional<ExportError> writeGpx(const Flight &flight, const QString &path, const ExportOptions &options)
{
    return writeTrackFile(flight, path, options, 1, &writeDocument);
}

} // namespace ostravel
