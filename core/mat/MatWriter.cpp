#include "MatWriter.h"

#include "FileRename.h"
#include "RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <matio.h>
#include <memory>
#include <type_traits>
#include <vector>

namespace ostravel
{

namespace
{

using MatFile = std::unique_ptr<mat_t, int (*)(mat_t *)>;
using Variable = std::unique_ptr<matvar_t, void (*)(matvar_t *)>;

/** A path as the library wants it: it opens UTF-8 on Windows and bytes elsewhere. */
QByteArray nativePath(const QString &path)
{
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>)
        return path.toUtf8();
    else
        return QFile::encodeName(path);
}

/** A column that stays with its owner until the variable is gone. */
matvar_t *column(const char *name, const double *values, std::size_t size)
{
    static const double none = 0;
    std::size_t shape[] = {size, 1};
    const double *const data = size > 0 ? values : &none;
    // The library takes what it only reads as not constant.
    return Mat_VarCreate(name, MAT_C_DOUBLE, MAT_T_DOUBLE, 2, shape, const_cast<double *>(data), // NOLINT
                         MAT_F_DONT_COPY_DATA);
}

/** A struct of columns. */
class Struct
{
public:
    Struct(const char *name, const std::vector<const char *> &fields)
        : m_variable(makeStruct(name, fields), &Mat_VarFree)
    {
    }

    /** @param values must outlive the struct */
    void set(const char *field, const double *values, std::size_t size)
    {
        Mat_VarSetStructFieldByName(m_variable.get(), field, 0, column(field, values, size));
    }
    matvar_t *get() const { return m_variable.get(); }

private:
    static matvar_t *makeStruct(const char *name, std::vector<const char *> fields)
    {
        std::size_t shape[] = {1, 1};
        return Mat_VarCreateStruct(name, 2, shape, fields.data(), static_cast<unsigned>(fields.size()));
    }

    Variable m_variable;
};

/** One flight on its way into a file. */
class MatOutput
{
public:
    MatOutput(const Flight &flight, mat_t *file, ExportProgress &progress)
        : m_flight(flight)
        , m_file(file)
        , m_progress(progress)
    {
    }

    bool isGood() const { return m_good; }
    bool isCancelled() const { return m_cancelled; }

    void writeGroup(std::uint8_t code, const QVector<frame::ChannelId> &channels);
    void writeTrack(const char *name, const Track &track);
    void writeOrigin();
    void writeStart();

private:
    void write(matvar_t *variable)
    {
        m_good = m_good && variable != nullptr && Mat_VarWrite(m_file, variable, MAT_COMPRESSION_NONE) == 0;
    }

    const Flight &m_flight;
    mat_t *m_file;
    ExportProgress &m_progress;
    bool m_good = true;
    bool m_cancelled = false;
};

/** Whether the clock tells a time, also in an hour that the local zone leaves out. */
bool hasClock(const QDateTime &start)
{
    return start.date().isValid() && start.time().isValid();
}

/** Days since the year 0, as MATLAB counts them. */
double dateNumber(const QDateTime &start)
{
    constexpr qint64 kOfJulianDay = 1721059; // the day before its day 1
    constexpr double kDaySeconds = 86400;
    if (!hasClock(start))
        return std::numeric_limits<double>::quiet_NaN();
    return static_cast<double>(start.date().toJulianDay() - kOfJulianDay)
        + QTime(0, 0).secsTo(start.time()) / kDaySeconds;
}

void MatOutput::writeGroup(std::uint8_t code, const QVector<frame::ChannelId> &channels)
{
    constexpr double kMsPerSecond = 1000;
    constexpr double kDaySeconds = 86400;
    std::vector<const char *> fields{"time", "seconds"};
    int rows = 0;
    for (const frame::ChannelId &channel : channels) {
        fields.push_back(frame::rowOfChannel(channel).name);
        rows = std::max(rows, m_flight.samples(code, channel.row).size());
    }
    std::vector<double> times(static_cast<std::size_t>(rows));
    std::vector<double> seconds(static_cast<std::size_t>(rows));
    const double start = dateNumber(m_flight.startTime());
    for (int i = 0; i < rows; ++i) {
        const auto place = static_cast<std::size_t>(i);
        seconds[place] = static_cast<double>(qint64{i} * m_flight.periodMs(code)) / kMsPerSecond;
        times[place] = start + seconds[place] / kDaySeconds;
    }
    Struct group(frame::groupName(code), fields);
    group.set("time", times.data(), times.size());
    group.set("seconds", seconds.data(), seconds.size());
    qint64 values = 0;
    for (const frame::ChannelId &channel : channels) {
        const Series &samples = m_flight.samples(code, channel.row);
        group.set(frame::rowOfChannel(channel).name, samples.constData(), static_cast<std::size_t>(samples.size()));
        values += samples.size();
    }
    write(group.get());
    m_progress.advance(values);
    m_cancelled = m_cancelled || !m_progress.ask();
}

void MatOutput::writeTrack(const char *name, const Track &track)
{
    Struct variable(name, {"x", "y", "z"});
    variable.set("x", track.x.data(), track.x.size());
    variable.set("y", track.y.data(), track.y.size());
    variable.set("z", track.z.data(), track.z.size());
    write(variable.get());
}

void MatOutput::writeOrigin()
{
    const auto latitude = static_cast<double>(m_flight.origin().latitude);
    const auto longitude = static_cast<double>(m_flight.origin().longitude);
    Struct variable("origin", {"latitude", "longitude"});
    variable.set("latitude", &latitude, 1);
    variable.set("longitude", &longitude, 1);
    write(variable.get());
}

void MatOutput::writeStart()
{
    const QDateTime &start = m_flight.startTime();
    QByteArray text;
    if (hasClock(start))
        text = (start.date().toString(Qt::ISODate) + start.time().toString(QStringLiteral(" HH:mm:ss"))).toLatin1();
    std::size_t shape[] = {text.isEmpty() ? 0U : 1U, static_cast<std::size_t>(text.size())};
    const Variable variable(Mat_VarCreate("start", MAT_C_CHAR, MAT_T_UTF8, 2, shape, text.data(), 0), &Mat_VarFree);
    write(variable.get());
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

void writeAll(MatOutput &output, const Flight &flight, const QVector<frame::ChannelId> &channels)
{
    for (const frame::Layout &layout : frame::kLayouts) {
        const QVector<frame::ChannelId> own = channelsOf(layout.code, channels);
        if (!own.isEmpty() && output.isGood() && !output.isCancelled())
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
    // A head of our own: the library's has the date, and equal flights are to give equal files.
    MatFile file(
        Mat_CreateVer(nativePath(unfinished).constData(), "MATLAB 5.0 MAT-file, written by Ostravel", MAT_FT_MAT5),
        &Mat_Close);
    if (file == nullptr)
        return exportError(ExportError::Code::CannotOpen, path, QStringLiteral("its folder takes no file"));
    MatOutput output(flight, file.get(), progress);
    writeAll(output, flight, channels);
    const bool closed = Mat_Close(file.release()) == 0;
    QString reason;
    if (!output.isGood() || !closed)
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
