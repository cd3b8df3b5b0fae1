#include "Report.h"

#include "ClockText.h"
#include "ProgressLine.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <cerrno>
#include <cstdio>
#include <cstring>

using Outcome = FlightReport::Outcome;

namespace
{

constexpr qint64 kMsPerSecond = 1000;

const char *wordOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::Converted:
        return "converted";
    case Outcome::Checked:
        return "checked";
    case Outcome::Kept:
        return "kept";
    case Outcome::NoFlight:
        return "no-flight";
    case Outcome::Failed:
        return "failed";
    case Outcome::Interrupted:
        break;
    }
    return "interrupted";
}

QString namesOf(const QStringList &paths)
{
    QStringList names;
    for (const QString &path : paths)
        names.append(QFileInfo(path).fileName());
    return names.join(QStringLiteral(", "));
}

/** A number with its noun, which takes an s unless the number is one. */
QString counted(qint64 number, const char *noun)
{
    return QString::number(number) + QLatin1Char(' ') + QLatin1String(noun)
        + (number == 1 ? QString() : QStringLiteral("s"));
}

QString flightText(const FlightReport &report)
{
    QString text
        = counted(report.counts.accepted(), "frame") + QStringLiteral(", %1 bad, ").arg(report.counts.badHeaders);
    if (report.counts.otherPlanes > 0)
        text += QStringLiteral("%1 of other planes, ").arg(report.counts.otherPlanes);
    text += counted(report.samples, "sample") + QStringLiteral(", ") + counted(report.counts.gapsFilled, "gap")
        + QStringLiteral(" filled, ") + clockText(report.spanMs / kMsPerSecond);
    const QDateTime start = ostravel::clockOf(report.start);
    if (start.isValid())
        text += QStringLiteral(" from ") + start.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    return text + QStringLiteral(", %1 s").arg(report.seconds, 0, 'f', 2);
}

/** The system's number of the first failure to print; 0 for none. */
int &failureOfOutput()
{
    static int failure = 0;
    return failure;
}

} // namespace

void RunTotals::add(const FlightReport &report, qint64 logBytes)
{
    switch (report.outcome) {
    case Outcome::Converted:
    case Outcome::Checked:
        ++done;
        break;
    case Outcome::Kept:
        ++kept;
        break;
    case Outcome::NoFlight:
        ++skipped;
        break;
    case Outcome::Failed:
        ++failed;
        break;
    case Outcome::Interrupted:
        ++interrupted;
        break;
    }
    if (report.wasRead)
        bytes += logBytes;
}

QByteArray reportLine(const FlightReport &report)
{
    QString line = report.path + QStringLiteral(": ");
    if (report.wasRead && report.outcome != Outcome::NoFlight)
        line += flightText(report);
    else if (report.outcome == Outcome::Kept)
        line += QStringLiteral("not read, all outputs exist");
    else if (report.outcome == Outcome::NoFlight)
        line += QStringLiteral("left out, it is no flight");
    else if (report.outcome == Outcome::Interrupted)
        line += QStringLiteral("interrupted");
    else
        return {}; // standard error has the reason
    if (!report.written.isEmpty())
        line += QStringLiteral(" -> ") + namesOf(report.written);
    if (!report.kept.isEmpty())
        line += QStringLiteral("; left alone: ") + namesOf(report.kept);
    return line.toUtf8() + '\n';
}

QByteArray totalsLine(const RunTotals &totals)
{
    constexpr double kMegabyte = 1e6;
    const int all = totals.done + totals.kept + totals.skipped + totals.failed + totals.interrupted;
    QString line
        = counted(all, "log") + QStringLiteral(" in %1 s: %2 done").arg(totals.seconds, 0, 'f', 2).arg(totals.done);
    if (totals.kept > 0)
        line += QStringLiteral(", %1 left alone").arg(totals.kept);
    if (totals.skipped > 0)
        line += QStringLiteral(", %1 no flight").arg(totals.skipped);
    if (totals.failed > 0)
        line += QStringLiteral(", %1 failed").arg(totals.failed);
    if (totals.interrupted > 0)
        line += QStringLiteral(", %1 interrupted").arg(totals.interrupted);
    if (totals.seconds > 0 && totals.bytes > 0)
        line += QStringLiteral("; %1 MB/s")
                    .arg(static_cast<double>(totals.bytes) / totals.seconds / kMegabyte, 0, 'f', 0);
    return line.toUtf8() + '\n';
}

QJsonObject reportObject(const FlightReport &report)
{
    QJsonObject object{{QStringLiteral("event"), QStringLiteral("flight")},
                       {QStringLiteral("path"), report.path},
                       {QStringLiteral("outcome"), QLatin1String(wordOf(report.outcome))},
                       {QStringLiteral("elapsed"), report.seconds},
                       {QStringLiteral("written"), QJsonArray::fromStringList(report.written)},
                       {QStringLiteral("kept"), QJsonArray::fromStringList(report.kept)},
                       {QStringLiteral("warnings"), QJsonArray::fromStringList(report.warnings)},
                       {QStringLiteral("errors"), QJsonArray::fromStringList(report.errors)}};
    if (!report.wasRead)
        return object;
    object[QStringLiteral("lines")] = report.counts.lines;
    object[QStringLiteral("frames")] = report.counts.accepted();
    object[QStringLiteral("bad")] = report.counts.badHeaders;
    object[QStringLiteral("otherPlanes")] = report.counts.otherPlanes;
    object[QStringLiteral("unknown")] = report.counts.unknownCodes;
    object[QStringLiteral("samples")] = report.samples;
    object[QStringLiteral("gaps")] = report.counts.gapsFilled;
    const QDateTime start = ostravel::clockOf(report.start);
    object[QStringLiteral("start")] = start.isValid()
        ? QJsonValue(start.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")))
        : QJsonValue(QJsonValue::Null);
    object[QStringLiteral("seconds")] = static_cast<double>(report.spanMs) / static_cast<double>(kMsPerSecond);
    return object;
}

QJsonObject totalsObject(const RunTotals &totals)
{
    return {{QStringLiteral("event"), QStringLiteral("total")},
            {QStringLiteral("done"), totals.done},
            {QStringLiteral("kept"), totals.kept},
            {QStringLiteral("noFlight"), totals.skipped},
            {QStringLiteral("failed"), totals.failed},
            {QStringLiteral("interrupted"), totals.interrupted},
            {QStringLiteral("bytes"), totals.bytes},
            {QStringLiteral("elapsed"), totals.seconds}};
}

QByteArray jsonLine(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

void printOut(const QByteArray &text)
{
    errno = 0;
    const auto size = static_cast<std::size_t>(text.size());
    const bool whole = std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!whole && failureOfOutput() == 0)
        failureOfOutput() = errno;
}

void printError(const QString &sentence)
{
    std::fprintf(stderr, "ostravel-convert: %s\n", qUtf8Printable(sentence));
    std::fflush(stderr);
}

bool isOutputLost()
{
    const int failure = failureOfOutput();
    // Windows has EINVAL for a pipe that nobody reads.
    if (failure == 0 || failure == EPIPE || failure == EINVAL)
        return false;
    printError(QStringLiteral("The standard output cannot be written: ")
               + QString::fromLocal8Bit(std::strerror(failure)) + QLatin1Char('.'));
    return true;
}
