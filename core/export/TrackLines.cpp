#include "TrackLines.h"

#include "ExactNumber.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>

namespace ostravel
{

namespace
{

constexpr int kLng = frame::rowOf(frame::kAttitude, "PGS_GPS_Lng");
constexpr int kLat = frame::rowOf(frame::kAttitude, "PGS_GPS_Lat");
constexpr int kFlightMode = frame::rowOf(frame::kControlStatus, "FSS_FlightMode");

bool isPlace(double longitude, double latitude)
{
    constexpr double kMaxLongitude = 180;
    constexpr double kMaxLatitude = 90;
    return std::abs(longitude) <= kMaxLongitude && std::abs(latitude) <= kMaxLatitude;
}

/** The points of a track that begins at an attitude sample. */
QVector<TrackPoint> pointsOf(const Flight &flight, const Track &track, int first)
{
    const Series &lng = flight.samples(frame::kAttitude, kLng);
    const Series &lat = flight.samples(frame::kAttitude, kLat);
    const int period = flight.periodMs(frame::kAttitude);
    QVector<TrackPoint> points;
    points.reserve(static_cast<int>(track.x.size()));
    double longitude = 0;
    double latitude = 0;
    for (std::size_t i = 0; i < track.x.size(); ++i) {
        const int sample = first + static_cast<int>(i);
        // A coordinate that the track does not take over is a jump, for which it repeats the one before.
        if (i == 0 || static_cast<double>(flight.origin().x(lng.at(sample))) == track.x[i])
            longitude = lng.at(sample);
        if (i == 0 || static_cast<double>(flight.origin().y(lat.at(sample))) == track.y[i])
            latitude = lat.at(sample);
        if (isPlace(longitude, latitude))
            points.append({longitude, latitude, track.z[i], qint64{sample} * period});
    }
    return points;
}

} // namespace

QVector<TrackLine> trackLines(const Flight &flight, const QString &name)
{
    QVector<TrackLine> lines;
    // Both tracks end with their last sample, so their lengths tell where they begin.
    const int positions = flight.samples(frame::kAttitude, kLng).size();
    const int first = positions - static_cast<int>(flight.track().x.size());
    lines.append({name, pointsOf(flight, flight.track(), first)});

    const int modes = std::min(positions, flight.samples(frame::kControlStatus, kFlightMode).size());
    const int attack = modes - static_cast<int>(flight.attackTrack().x.size());
    // Without a run of the attack mode the leg is the whole flight, which is there already.
    if (attack > 0)
        lines.append({name + QStringLiteral(" (attack leg)"), pointsOf(flight, flight.attackTrack(), attack)});
    lines.erase(std::remove_if(lines.begin(), lines.end(), [](const TrackLine &line) { return line.points.isEmpty(); }),
                lines.end());
    return lines;
}

std::optional<ExportError> writeTrackFile(const Flight &flight, const QString &path, const ExportOptions &options,
                                          int passes, const std::function<void(TrackOutput &)> &write)
{
    const QString name = options.title.isEmpty() ? QFileInfo(path).completeBaseName() : options.title;
    const QVector<TrackLine> lines = trackLines(flight, name);
    if (lines.isEmpty())
        return exportError(ExportError::Code::NothingToWrite, path, QStringLiteral("the flight has no positions"));
    ReplacedFile file(path);
    if (std::optional<ExportError> error = file.open())
        return error;
    qint64 total = 0;
    for (const TrackLine &line : lines)
        total += qint64{line.points.size()} * passes;
    ExportProgress progress(options, total);
    const QDateTime start = momentOf(flight.startTime());
    ClockText clock(start);
    TrackOutput output(lines, start.isValid() ? &clock : nullptr, file.output(), progress);
    write(output);
    return file.finish(output.isCancelled() || !progress.ask());
}

char *putText(char *to, const char *text)
{
    while (*text != '\0')
        *to++ = *text++;
    return to;
}

char *putDegrees(char *to, double degrees)
{
    constexpr double kUnits = 1e7;
    return putExact(to, degrees, kUnits);
}

char *putHeight(char *to, double metres)
{
    constexpr double kUnits = 100;
    return putExact(to, metres, kUnits);
}

QByteArray xmlText(const QString &text)
{
    QString plain = text;
    for (QChar &character : plain) {
        if (character < QLatin1Char(' '))
            character = QLatin1Char(' ');
    }
    return plain.toHtmlEscaped().toUtf8();
}

} // namespace ostravel
