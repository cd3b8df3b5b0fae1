#include "ostravel.h"

#include "ChannelInfo.h"
#include "ExportFormats.h"
#include "Flight.h"
#include "GroupPeriods.h"
#include "HostProcess.h"
#include "MatWriter.h"
#include "ReadDatabase.h"
#include "ReadFlight.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTextCodec>
#include <QThread>
#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

struct ostravel_flight {
    ostravel::Flight flight;
    QByteArray brokenOff;
};

struct ostravel_task_list {
    std::vector<QByteArray> names;
    std::vector<ostravel_task_info> infos;
};

namespace
{

// Qt takes the first thread that it meets for the main thread. That is the one that loads the library, and not a worker
// of the host that happens to be the first to read.
[[maybe_unused]] QThread *const loadingThread = QThread::currentThread();

int codeOf(ostravel::ReadError::Code code)
{
    using Code = ostravel::ReadError::Code;
    switch (code) {
    case Code::UnknownSuffix:
        return OSTRAVEL_UNKNOWN_SUFFIX;
    case Code::CannotOpen:
        return OSTRAVEL_CANNOT_OPEN;
    case Code::NotADatabase:
        return OSTRAVEL_NOT_A_DATABASE;
    case Code::NoTask:
        return OSTRAVEL_NO_TASK;
    case Code::BrokenOff:
        return OSTRAVEL_BROKEN_OFF;
    case Code::Cancelled:
        return OSTRAVEL_CANCELLED;
    }
    return OSTRAVEL_INTERNAL;
}

/** Writes an error for the caller. Does not throw. */
void tell(ostravel_error *error, int code, const char *text)
{
    if (error == nullptr)
        return;
    error->code = code;
    std::size_t length = std::min(std::strlen(text), sizeof error->text - 1);
    // Not between the bytes of a character.
    constexpr unsigned kContinuationMask = 0xC0;
    constexpr unsigned kContinuation = 0x80;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & kContinuationMask) == kContinuation)
        --length;
    std::memcpy(error->text, text, length);
    error->text[length] = '\0';
}

void tell(ostravel_error *error, const ostravel::ReadError &why)
{
    tell(error, codeOf(why.code), why.message.toUtf8().constData());
}

/** Runs the body of a function; what it throws becomes an error. @return what the body returns, or an empty value */
template <typename Body>
auto guarded(ostravel_error *error, const Body &body) -> decltype(body())
{
    try {
        tell(error, OSTRAVEL_OK, "");
        prepareHostProcess();
        return body();
    } catch (const std::bad_alloc &) {
        tell(error, OSTRAVEL_OUT_OF_MEMORY, "There is not enough memory.");
    } catch (const std::exception &fault) {
        tell(error, OSTRAVEL_INTERNAL, fault.what());
    } catch (...) {
        tell(error, OSTRAVEL_INTERNAL, "Something unknown went wrong.");
    }
    return {};
}

/** A path of the caller; nothing when it is not UTF-8, and would become the name of another file. */
std::optional<QString> pathOf(const char *path)
{
    constexpr int kUtf8 = 106; // the number of the encoding in the registry of IANA
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader); // a byte order mark is part of the name
    const QString text = QTextCodec::codecForMib(kUtf8)->toUnicode(path, static_cast<int>(std::strlen(path)), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return std::nullopt;
    return text;
}

constexpr char kNotUtf8[] = "The path is not UTF-8.";

constexpr int kMaxByte = 255;

bool isByte(int number)
{
    return number >= 0 && number <= kMaxByte;
}

/** Whether the calendar and every format have this time: 0001-01-01 00:00:00 to 9999-12-31 23:59:59. */
bool isInCalendar(qint64 seconds)
{
    constexpr qint64 kFirst = -62'135'596'800;
    constexpr qint64 kLast = 253'402'300'799;
    return seconds >= kFirst && seconds <= kLast;
}

/** Why options cannot be used; null when they can. */
const char *faultOf(const ostravel_read_options &options)
{
    if (options.plane != OSTRAVEL_ALL_PLANES && !isByte(options.plane))
        return "The plane must be 0 to 255, or OSTRAVEL_ALL_PLANES.";
    if (options.has_start != 0 && !isInCalendar(options.start_seconds))
        return "The start must be in the years 1 to 9999.";
    if (options.tasks == nullptr && options.task_count != 0)
        return "The tasks are missing.";
    if (options.periods == nullptr && options.period_count != 0)
        return "The periods are missing.";
    for (std::size_t i = 0; i < options.period_count; ++i) {
        const ostravel_period &period = options.periods[i];
        QMap<std::uint8_t, int> ignored;
        if (period.milliseconds < 1 || period.milliseconds > ostravel::kMaxPeriodMs)
            return "A period must be 1 to 86400000 milliseconds.";
        if (!isByte(period.function_code)
            || !ostravel::setGroupPeriod(ignored, static_cast<std::uint8_t>(period.function_code), 1))
            return "A period is for 0x01, 0x02, 0x03, 0x04, 0x05 or 0x41; 0x51 and 0x53 follow 0x02.";
    }
    return nullptr;
}

/** A point of the aircraft's clock, without a time zone in the way. */
QDateTime fromClockSeconds(qint64 seconds)
{
    const QDateTime clock = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
    return {clock.date(), clock.time()};
}

qint64 toClockSeconds(const QDateTime &time)
{
    return QDateTime(time.date(), time.time(), Qt::UTC).toSecsSinceEpoch();
}

/** The samples of a channel that exists. */
const ostravel::Series &samplesOf(const ostravel::Flight &flight, int channel)
{
    int row = channel;
    const auto *layout = ostravel::frame::kLayouts.begin();
    for (; row >= layout->rowCount; ++layout)
        row -= layout->rowCount;
    return flight.samples(layout->code, row);
}

ostravel::ReadOptions optionsOf(const ostravel_read_options &given)
{
    ostravel::ReadOptions options;
    if (given.plane != OSTRAVEL_ALL_PLANES)
        options.planeId = static_cast<std::uint8_t>(given.plane);
    if (given.has_start != 0)
        options.startTime = fromClockSeconds(given.start_seconds);
    for (std::size_t i = 0; i < given.task_count; ++i)
        options.tasks.append(given.tasks[i]);
    for (std::size_t i = 0; i < given.period_count; ++i)
        ostravel::setGroupPeriod(options.periodsMs, static_cast<std::uint8_t>(given.periods[i].function_code),
                                 given.periods[i].milliseconds);
    if (given.progress != nullptr) {
        options.progress = [progress = given.progress, user = given.user](qint64 done, qint64 total) {
            return progress(done, total, user) != 0;
        };
    }
    return options;
}

/** All formats: the table of the core, and MATLAB files. */
QVector<ostravel::ExportFormat> formats()
{
    return QVector<ostravel::ExportFormat>(ostravel::exportFormats()) << ostravel::matFormat();
}

int exportFlight(const ostravel_flight *flight, const char *format, const char *path, int flags, ostravel_error *error)
{
    if (flight == nullptr || format == nullptr || path == nullptr) {
        tell(error, OSTRAVEL_BAD_ARGUMENT, "The flight, the format or the path is missing.");
        return OSTRAVEL_BAD_ARGUMENT;
    }
    const auto target = pathOf(path);
    if (!target.has_value()) {
        tell(error, OSTRAVEL_BAD_ARGUMENT, kNotUtf8);
        return OSTRAVEL_BAD_ARGUMENT;
    }
    const QVector<ostravel::ExportFormat> known = formats();
    const auto writer = std::find_if(known.cbegin(), known.cend(), [format](const ostravel::ExportFormat &each) {
        return std::strcmp(each.name, format) == 0;
    });
    if (writer == known.cend()) {
        QStringList names;
        for (const ostravel::ExportFormat &each : known)
            names.append(QLatin1String(each.name));
        const QString text = QStringLiteral("There is no export format ") + QString::fromUtf8(format)
            + QStringLiteral("; there are ") + names.join(QStringLiteral(", ")) + QLatin1Char('.');
        tell(error, OSTRAVEL_UNKNOWN_FORMAT, text.toUtf8().constData());
        return OSTRAVEL_UNKNOWN_FORMAT;
    }
    ostravel::ExportOptions options;
    options.labels = (flags & OSTRAVEL_LABELS) != 0;
    const auto fault = writer->write(flight->flight, *target, options);
    if (!fault.has_value())
        return OSTRAVEL_OK;
    tell(error, OSTRAVEL_CANNOT_WRITE, fault->message.toUtf8().constData());
    return OSTRAVEL_CANNOT_WRITE;
}

} // namespace

int ostravel_interface(void)
{
    return OSTRAVEL_INTERFACE;
}

const char *ostravel_version(void)
{
    return OSTRAVEL_VERSION;
}

int ostravel_channel_count(void)
{
    return channelCount();
}

int ostravel_channel(int channel, ostravel_channel_info *info)
{
    if (info == nullptr || channel < 0 || channel >= channelCount())
        return OSTRAVEL_BAD_ARGUMENT;
    *info = {};
    return guarded(nullptr, [&] {
        *info = channelInfo(channel);
        return static_cast<int>(OSTRAVEL_OK);
    });
}

void ostravel_read_defaults(ostravel_read_options *options)
{
    if (options == nullptr)
        return;
    *options = {};
    options->plane = OSTRAVEL_ALL_PLANES;
}

ostravel_flight *ostravel_read(const char *path, const ostravel_read_options *options, ostravel_error *error)
{
    return guarded(error, [&]() -> ostravel_flight * {
        ostravel_read_options given;
        ostravel_read_defaults(&given);
        if (options != nullptr)
            given = *options;
        const auto source = path == nullptr ? QString() : pathOf(path);
        const char *const fault = path == nullptr ? "The path is missing."
            : !source.has_value()                 ? kNotUtf8
                                                  : faultOf(given);
        if (fault != nullptr) {
            tell(error, OSTRAVEL_BAD_ARGUMENT, fault);
            return nullptr;
        }
        auto result = ostravel::readFlight(*source, optionsOf(given));
        if (const auto *const why = std::get_if<ostravel::ReadError>(&result)) {
            tell(error, *why);
            return nullptr;
        }
        auto &flight = std::get<ostravel::Flight>(result);
        const QByteArray brokenOff
            = flight.brokenOff().has_value() ? flight.brokenOff()->message.toUtf8() : QByteArray();
        return new ostravel_flight{std::move(flight), brokenOff};
    });
}

void ostravel_free(ostravel_flight *flight)
{
    delete flight;
}

const double *ostravel_samples(const ostravel_flight *flight, int channel, size_t *length)
{
    static const ostravel::Series none;
    const bool known = flight != nullptr && channel >= 0 && channel < channelCount();
    const ostravel::Series &samples = known ? samplesOf(flight->flight, channel) : none;
    if (length != nullptr)
        *length = static_cast<std::size_t>(samples.size());
    return samples.isEmpty() ? nullptr : samples.constData();
}

int ostravel_period_ms(const ostravel_flight *flight, int function_code)
{
    if (flight == nullptr || !isByte(function_code))
        return ostravel::kDefaultPeriodMs;
    return flight->flight.periodMs(static_cast<std::uint8_t>(function_code));
}

int ostravel_start(const ostravel_flight *flight, int64_t *seconds)
{
    if (flight == nullptr || seconds == nullptr || flight->flight.startTime().isNull())
        return 0;
    *seconds = toClockSeconds(flight->flight.startTime());
    return 1;
}

void ostravel_flight_origin(const ostravel_flight *flight, ostravel_origin *origin)
{
    if (flight == nullptr || origin == nullptr)
        return;
    const ostravel::LocalFrame &frame = flight->flight.origin();
    *origin = {static_cast<double>(frame.latitude), static_cast<double>(frame.longitude), frame.scale};
}

int ostravel_flight_track(const ostravel_flight *flight, int kind, ostravel_track *track)
{
    const bool known = kind == OSTRAVEL_WHOLE_TRACK || kind == OSTRAVEL_ATTACK_TRACK;
    if (flight == nullptr || track == nullptr || !known)
        return OSTRAVEL_BAD_ARGUMENT;
    const ostravel::Track &points
        = kind == OSTRAVEL_WHOLE_TRACK ? flight->flight.track() : flight->flight.attackTrack();
    *track = {points.x.data(), points.y.data(), points.z.data(), points.x.size()};
    return OSTRAVEL_OK;
}

void ostravel_flight_report(const ostravel_flight *flight, ostravel_report *report)
{
    if (flight == nullptr || report == nullptr)
        return;
    const ostravel::FrameCounts &counts = flight->flight.counts();
    report->lines = counts.lines;
    report->bad_headers = counts.badHeaders;
    report->other_planes = counts.otherPlanes;
    report->unknown_codes = counts.unknownCodes;
    report->gaps_filled = counts.gapsFilled;
    report->broken_off = flight->flight.brokenOff().has_value() ? OSTRAVEL_BROKEN_OFF : OSTRAVEL_OK;
    report->broken_off_text = flight->brokenOff.constData();
}

int ostravel_export(const ostravel_flight *flight, const char *format, const char *path, int flags,
                    ostravel_error *error)
{
    int result = OSTRAVEL_INTERNAL;
    guarded(error, [&] {
        result = exportFlight(flight, format, path, flags, error);
        return 0;
    });
    return error != nullptr && error->code != OSTRAVEL_OK ? error->code : result;
}

ostravel_task_list *ostravel_tasks(const char *path, ostravel_error *error)
{
    return guarded(error, [&]() -> ostravel_task_list * {
        const auto source = path == nullptr ? QString() : pathOf(path);
        if (path == nullptr || !source.has_value()) {
            tell(error, OSTRAVEL_BAD_ARGUMENT, path == nullptr ? "The path is missing." : kNotUtf8);
            return nullptr;
        }
        const auto result = ostravel::readFlightTasks(*source);
        if (const auto *const why = std::get_if<ostravel::ReadError>(&result)) {
            tell(error, *why);
            return nullptr;
        }
        auto list = std::make_unique<ostravel_task_list>();
        const auto &tasks = std::get<QVector<ostravel::FlightTask>>(result);
        list->names.reserve(static_cast<std::size_t>(tasks.size())); // the descriptions point into it
        for (const ostravel::FlightTask &task : tasks) {
            list->names.push_back(task.name.toUtf8());
            list->infos.push_back({task.id, list->names.back().constData(), static_cast<qint64>(task.createdMs)});
        }
        return list.release();
    });
}

int ostravel_task(const ostravel_task_list *tasks, size_t index, ostravel_task_info *info)
{
    if (tasks == nullptr || info == nullptr || index >= tasks->infos.size())
        return OSTRAVEL_BAD_ARGUMENT;
    *info = tasks->infos[index];
    return OSTRAVEL_OK;
}

void ostravel_free_tasks(ostravel_task_list *tasks)
{
    delete tasks;
}
