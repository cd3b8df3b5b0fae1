#include "Conversion.h"

#include "OutputSet.h"
#include "ReadFlight.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <algorithm>

using namespace ostravel;
using Outcome = FlightReport::Outcome;
using Progress = std::function<bool(double done)>;

namespace
{

double shareOf(qint64 done, qint64 total)
{
    // The total is not known yet while a database is copied.
    return total > 0 ? std::min(1.0, static_cast<double>(done) / static_cast<double>(total)) : 0.0;
}

void describe(const Flight &flight, FlightReport &report)
{
    report.wasRead = true;
    report.counts = flight.counts();
    report.start = flight.startTime();
    for (const frame::ChannelId &channel : frame::allChannels()) {
        const int samples = flight.samples(channel.code, channel.row).size();
        report.samples += samples;
        report.spanMs = std::max(report.spanMs, qint64{samples} * flight.periodMs(channel.code));
    }
}

/** Whether a failure says that a file found in a folder is something else than a flight. */
bool isNoFlight(const ReadError &error)
{
    return error.code == ReadError::Code::NotADatabase || error.code == ReadError::Code::NoTask;
}

/** Reads a log. @return nothing when there is no flight; the report says why */
std::optional<Flight> read(const LogFile &log, const Arguments &arguments, double share, const Progress &progress,
                           FlightReport &report)
{
    ReadOptions options = arguments.read;
    options.progress = [&](qint64 done, qint64 total) { return progress(share * shareOf(done, total)); };
    auto result = readFlight(log.path, options);
    if (const auto *const error = std::get_if<ReadError>(&result)) {
        const bool interrupted = error->code == ReadError::Code::Cancelled;
        report.outcome = interrupted                                        ? Outcome::Interrupted
            : log.wasFound && isNoFlight(*error) && options.tasks.isEmpty() ? Outcome::NoFlight
                                                                            : Outcome::Failed;
        if (!interrupted)
            report.errors.append(error->message);
        return std::nullopt;
    }
    auto &flight = std::get<Flight>(result);
    describe(flight, report);
    if (flight.counts().accepted() == 0) {
        report.outcome = log.wasFound ? Outcome::NoFlight : Outcome::Failed;
        report.errors.append(QStringLiteral("The flight ") + log.path + QStringLiteral(" holds no frame")
                             + (options.planeId ? QStringLiteral(" of this plane.") : QStringLiteral(".")));
        return std::nullopt;
    }
    if (flight.brokenOff())
        report.errors.append(flight.brokenOff()->message);
    return std::move(flight);
}

/** A sentence of a writer, who names the place where it wrote, with the place that the user knows. */
QString atItsPlace(QString sentence, const ExportFormat &format, const OutputSet &outputs)
{
    return sentence.replace(outputs.unfinished(format), outputs.place(format));
}

/** Writes a flight in one format. @return false when it was interrupted */
bool write(const Flight &flight, const ExportFormat &format, ExportOptions options, OutputSet &outputs,
           FlightReport &report)
{
    options.warn = [&](const QString &warning) { report.warnings.append(atItsPlace(warning, format, outputs)); };
    const std::optional<ExportError> error = format.write(flight, outputs.unfinished(format), options);
    if (!error) {
        const QString reason = outputs.commit();
        if (!reason.isEmpty())
            report.errors.append(reason);
    }
    outputs.discard();
    if (!error || error->code == ExportError::Code::Cancelled)
        return !error;
    report.errors.append(atItsPlace(error->message, format, outputs));
    return true;
}

void writeAll(const Flight &flight, const QVector<const ExportFormat *> &formats, const Arguments &arguments,
              OutputSet &outputs, const Progress &progress, FlightReport &report)
{
    const QString reason = outputs.open();
    if (!reason.isEmpty()) {
        report.errors.append(reason);
        return;
    }
    int number = 0;
    ExportOptions options;
    options.channels = arguments.channels;
    options.labels = arguments.labels;
    options.progress = [&](qint64 done, qint64 total) {
        return progress((1 + number + shareOf(done, total)) / (1 + formats.size()));
    };
    for (const ExportFormat *const format : formats) {
        if (!write(flight, *format, options, outputs, report)) {
            report.outcome = Outcome::Interrupted;
            break;
        }
        ++number;
    }
    report.written += outputs.written();
    report.kept += outputs.kept();
}

} // namespace

FlightReport convertLog(const LogFile &log, const Arguments &arguments, const Progress &progress)
{
    QElapsedTimer timer;
    timer.start();
    FlightReport report;
    report.path = log.path;
    OutputSet outputs(log.outputBase, arguments.overwrite);
    QVector<const ExportFormat *> formats;
    if (arguments.action == Arguments::Action::Convert) {
        for (const ExportFormat *const format : arguments.formats) {
            if (outputs.isKept(*format))
                report.kept.append(outputs.place(*format));
            else
                formats.append(format);
        }
        if (formats.isEmpty()) {
            report.outcome = Outcome::Kept;
            return report;
        }
    }
    const std::optional<Flight> flight = read(log, arguments, 1.0 / (1 + formats.size()), progress, report);
    if (flight) {
        report.outcome = formats.isEmpty() ? Outcome::Checked : Outcome::Converted;
        if (!formats.isEmpty())
            writeAll(*flight, formats, arguments, outputs, progress, report);
        if (report.outcome != Outcome::Interrupted && !report.errors.isEmpty())
            report.outcome = Outcome::Failed;
    }
    constexpr double kNsPerSecond = 1e9;
    report.seconds = static_cast<double>(timer.nsecsElapsed()) / kNsPerSecond;
    return report;
}
