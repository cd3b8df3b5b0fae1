#pragma once

#include "ChannelNames.h"
#include "Flight.h"

#include <QString>
#include <QVector>
#include <functional>
#include <optional>
#include <utility>

namespace ostravel
{

/** Why a flight could not be written, or not completely. */
struct ExportError {
    /** What kind of failure it was. */
    enum class Code {
        CannotMakeFolder, ///< the folder of a format of several files is missing and cannot be made
        CannotOpen, ///< the target is no regular file or cannot be opened for writing
        CannotWrite, ///< writing failed, for example because the disk is full
        NothingToWrite, ///< the flight has nothing that the format could hold
        Cancelled, ///< the caller's progress function said so
    };

    /** For branches and tests. */
    Code code;
    /** One English sentence for a person, with the path and the reason. */
    QString message;
    /** What the system says, without the path; may be empty. */
    QString reason = {};
};

/** An error with a message of the form "PATH cannot be written: REASON.". */
inline ExportError exportError(ExportError::Code code, const QString &path, const QString &reason)
{
    // Joined, since a path may contain place markers.
    return {code, path + QStringLiteral(" cannot be written: ") + reason + QLatin1Char('.'), reason};
}

/** The error of an export that its progress function stopped. */
inline ExportError exportCancelled(const QString &path)
{
    return {ExportError::Code::Cancelled, path + QStringLiteral(" was not written completely: cancelled.")};
}

/** What a caller may choose for an export. Default: write everything, tell nothing. */
struct ExportOptions {
    /** Channels to write, in this order; empty: all. Only formats whose ExportFormat::takesChannels is set look at it.
     */
    QVector<frame::ChannelId> channels;
    /** Heads with the Chinese labels instead of names; csv alone has the choice. */
    bool labels = false;
    /** Name of the flight inside the file; empty: that of the file. Formats of tracks have one. */
    QString title;
    /**
     * Called now and then on the exporting thread with how many values are done of how many. Returning false cancels
     * the export. Must not throw.
     */
    std::function<bool(qint64 done, qint64 total)> progress;
    /** Called with one English line for each thing that was left out, cut or renamed. Must not throw. */
    std::function<void(const QString &warning)> warn;
};

/** Counts values and asks ExportOptions::progress at intervals. For one thread. */
class ExportProgress
{
public:
    /** @param options must outlive this object; @param total values of the whole export */
    ExportProgress(const ExportOptions &options, qint64 total)
        : m_progress(options.progress)
        , m_total(total)
    {
    }

    /** Call after some values are done, as often as convenient. @return false when the export is cancelled */
    bool advance(qint64 values)
    {
        constexpr qint64 kValuesBetween = 10000;
        m_done += values;
        m_sinceAsked += values;
        return m_sinceAsked < kValuesBetween ? m_goOn : ask();
    }

    /** Asks at once: before the first value, after the last, or while no value is counted. */
    bool ask()
    {
        m_sinceAsked = 0;
        // One refusal is final, whatever the function would return later.
        m_goOn = m_goOn && (!m_progress || m_progress(m_done, m_total));
        return m_goOn;
    }

private:
    const std::function<bool(qint64, qint64)> &m_progress;
    qint64 m_total;
    qint64 m_done = 0;
    qint64 m_sinceAsked = 0;
    bool m_goOn = true;
};

/** One way to write a flight. */
struct ExportFormat {
    const char *name; ///< how a user asks for it: one word in lower case
    const char *suffix; ///< follows the log's base name in the default target, such as ".xlsx"
    const char *description; ///< one English phrase
    bool isFolder; ///< the target is a folder of several files, not a file
    bool takesChannels; ///< ExportOptions::channels counts

    /**
     * Writes a flight.
     *
     * A file that stands at path is replaced when the new one is complete; a format that works differently says so at
     * its function. The folder of a file must exist; the folder of a format of several files is made when only its
     * last level is missing.
     *
     * @return nothing when all of it is written. Does not throw. Any thread; different targets at the same time
     */
    std::optional<ExportError> (*write)(const Flight &flight, const QString &path, const ExportOptions &options);
};

} // namespace ostravel
