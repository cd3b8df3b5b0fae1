#include "MatWriter.h"

#include "ClockText.h"
#include "FileRename.h"
#include "MatFile.h"
#include "RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>
#include <limits>
#include <vector>

namespace ostravel
{

namespace
{

/** One flight on its way into a file. */
class MatOutput
{
public:
    MatOutput(const Flight &flight, MatFile &file, ExportProgress &progress)
        : m_flight(flight)
        , m_file(file)
        , m_progress(progress)
    {
    }

    bool isCancelled() const { return m_cancelled; }

    void writeGroup(std::uint8_t code, const QVector<frame::ChannelId> &channels);
    void writeTrack(const char *name, const Track &track);
    void writeOrigin();
    void writeStart();

private:
    const Flight &m_flight;
    MatFile &m_file;
    ExportProgress &m_progress;
    bool m_cancelled = false;
};

/** Days since the year 0, as MATLAB counts them. */
double dateNumber(const QDateTime &start)
{
    constexpr qint64 kOfJulianDay = 1721059; // the day before its day 1
    constexpr double kDaySeconds = 86400;
    if (!start.isValid())
        return std::numeric_limits<double>::quiet_NaN();
    return static_cast<double>(start.date().toJulianDay() - kOfJulianDay)
        + QTime(0, 0).secsTo(start.time()) / kDaySeconds;
}

void MatOutput::writeGroup(std::uint8_t code, const QVector<frame::ChannelId> &channels)
{
    constexpr double kMsPerSecond = 1000;
    constexpr double kDaySeconds = 86400;
    int rows = 0;
    for (const frame::ChannelId &channel : channels)
        rows = std::max(rows, m_flight.samples(code, channel.row).size());
    std::vector<double> times(static_cast<std::size_t>(rows));
    std::vector<double> seconds(static_cast<std::size_t>(rows));
    const double start = dateNumber(clockOf(m_flight.startTime()));
    for (int i = 0; i < rows; ++i) {
        const auto place = static_cast<std::size_t>(i);
        seconds[place] = static_cast<double>(qint64{i} * m_flight.periodMs(code)) / kMsPerSecond;
        times[place] = start + seconds[place] / kDaySeconds;
    }
    std::vector<MatColumn> columns{{"time", times.data(), times.size()}, {"seconds", seconds.data(), seconds.size()}};
    qint64 values = 0;
    for (const frame::ChannelId &channel : channels) {
        const Series &samples = m_flight.samples(code, channel.row);
        columns.push_back(
            {frame::rowOfChannel(channel).name, samples.constData(), static_cast<std::size_t>(samples.size())});
        values += samples.size();
    }
    m_file.writeStruct(frame::groupName(code), columns);
    m_progress.advance(values);
    m_cancelled = m_cancelled || !m_progress.ask();
}

void MatOutput::writeTrack(const char *name, const Track &track)
{
    m_file.writeStruct(name,
                       {{"x", track.x.data(), track.x.size()},
                        {"y", track.y.data(), track.y.size()},
                        {"z", track.z.data(), track.z.size()}});
}

void MatOutput::writeOrigin()
{
    const auto latitude = static_cast<double>(m_flight.origin().latitude);
    const auto longitude = static_cast<double>(m_flight.origin().longitude);
    m_file.writeStruct("origin", {{"latitude", &latitude, 1}, {"longitude", &longitude, 1}});
}

void MatOutput::writeStart()
{
    m_file.writeText("start", clockOf(m_flight.startTime()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toLatin1());
}

/** The chosen channels of a group, in their order. */
QVector<frame::ChannelId> channelsOf(std::uint8_t code, const QVector<frame::ChannelId> &channels)
{
    QVector<frame::ChannelId> own;
    std::copy_if(channels.begin(), channels.end(), std::back_inserter(own),
                 [code](const frame::ChannelId &channel) { return channel.code == code; });
    return own;
}

/** A struct takes 32 bits for its size. */
bool isTooLarge(const Flight &flight, std::uint8_t code, const QVector<frame::ChannelId> &channels)
{
    qint64 bytes = 0;
    for (const frame::ChannelId &channel : channels)
        bytes += qint64{flight.samples(code, channel.row).size()} * qint64{sizeof(double)};
    return bytes > std::numeric_limits<std::int32_t>::max() / 2;
}

void writeAll(const Flight &flight, MatFile &file, MatOutput &output, const QVector<frame::ChannelId> &channels)
{
    for (const frame::Layout &layout : frame::kLayouts) {
        const QVector<frame::ChannelId> own = channelsOf(layout.code, channels);
        if (!own.isEmpty() && file.isGood() && !output.isCancelled())
            output.writeGroup(layout.code, own);
    }
    output.writeTrack("track", flight.track());
    output.writeTrack("attack_track", flight.attackTrack());
    output.writeOrigin();
    output.writeStart();
}

} // namespace

std::optional<ExportError> writeMat(const Flight &flight, const QString &path, const ExportOptions &options)
{
    const QVector<frame::ChannelId> channels = options.channels.isEmpty() ? frame::allChannels() : options.channels;
    qint64 total = 0;
    for (const frame::ChannelId &channel : channels)
        total += flight.samples(channel.code, channel.row).size();
    for (const frame::Layout &layout : frame::kLayouts) {
        if (isTooLarge(flight, layout.code, channelsOf(layout.code, channels)))
            return exportError(ExportError::Code::CannotWrite, path,
                               QStringLiteral("a group is larger than a MATLAB file can hold"));
    }
    if (isOtherThanRegularFile(path))
        return exportError(ExportError::Code::CannotOpen, path, QStringLiteral("it is no regular file"));
    ExportProgress progress(options, total);
    if (!progress.ask())
        return exportCancelled(path);

    const QString unfinished = QFileInfo(path).absolutePath() + QLatin1Char('/')
        + QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".part");
    MatFile file(unfinished);
    if (!file.isGood())
        return exportError(ExportError::Code::CannotOpen, path, QStringLiteral("its folder takes no file"));
    MatOutput output(flight, file, progress);
    writeAll(flight, file, output, channels);
    const bool written = file.close();
    QString reason;
    if (!written)
        reason = QStringLiteral("the disk takes no more");
    else if (!output.isCancelled())
        reason = QXlsx::renamed(unfinished, path);
    if (!reason.isEmpty() || output.isCancelled())
        QFile::remove(unfinished);
    if (output.isCancelled())
        return exportCancelled(path);
    return reason.isEmpty() ? std::nullopt : std::optional(exportError(ExportError::Code::CannotWrite, path, reason));
}

const ExportFormat &matFormat()
{
    static const ExportFormat format{"mat", ".mat", "MATLAB file with a struct for each group and the tracks",
                                     false, true,   &writeMat};
    return format;
}

} // namespace ostravel
