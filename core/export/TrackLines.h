#pragma once

#include "ClockText.h"
#include "ExportFormat.h"
#include "ReplacedFile.h"

#include <QString>
#include <QVector>
#include <functional>
#include <utility>

namespace ostravel
{

/** A point of the flown track on the earth. */
struct TrackPoint {
    double longitude; ///< degrees
    double latitude; ///< degrees
    double height; ///< metres above the place of the start, as in Track::z
    qint64 ms; ///< since sample 0
};

/** A part of a flight as a line on the earth. */
struct TrackLine {
    QString name;
    QVector<TrackPoint> points; ///< at least one, in the order of time
};

/**
 * The flown track and, when there is one, the attack leg.
 *
 * The points are those of Flight::track() and Flight::attackTrack(), with the recorded positions: where a track repeats
 * a point in place of a jump, so does the line. Points that are no place on the earth are left out. A flight without a
 * run of the attack mode has no attack leg here, and one without positions no line at all.
 *
 * @param name of the flight; that of the attack leg follows from it
 */
QVector<TrackLine> trackLines(const Flight &flight, const QString &name);

/** What a format of tracks works with while it writes a file. */
class TrackOutput
{
public:
    /** All of it must outlive this object. @param clock null without a start time */
    TrackOutput(QVector<TrackLine> lines, ClockText *clock, QXlsx::XlsxOutput &output, ExportProgress &progress)
        : m_lines(std::move(lines))
        , m_clock(clock)
        , m_output(output)
        , m_progress(progress)
    {
    }

    /** At least one. */
    const QVector<TrackLine> &lines() const { return m_lines; }
    /** The clock of the flight in UTC; null without a start time. */
    ClockText *clock() { return m_clock; }

    /** What stands before, between and behind the points. */
    void append(const QByteArray &text) { m_output.append(text); }
    /**
     * Calls put for each point of a line with a place for kPointRoom bytes, until the export is cancelled.
     *
     * @param put (char *to, const TrackPoint &point, bool isFirst), gives the end of the text
     */
    template <typename Put>
    void forEachPoint(const TrackLine &line, const Put &put)
    {
        constexpr std::size_t kPointRoom = 256;
        for (int i = 0; i < line.points.size() && !m_cancelled && m_output.isGood(); ++i) {
            m_output.advance(put(m_output.room(kPointRoom), line.points.at(i), i == 0));
            m_cancelled = !m_progress.advance(1);
        }
    }
    /** The progress function wants no more. */
    bool isCancelled() const { return m_cancelled; }

private:
    QVector<TrackLine> m_lines;
    ClockText *m_clock;
    QXlsx::XlsxOutput &m_output;
    ExportProgress &m_progress;
    bool m_cancelled = false;
};

/**
 * Writes a file of the lines of a flight, which is replaced when the new one is complete.
 *
 * @param passes how often write goes over all points
 * @param write puts the whole text into its argument
 */
std::optional<ExportError> writeTrackFile(const Flight &flight, const QString &path, const ExportOptions &options,
                                          int passes, const std::function<void(TrackOutput &)> &write);

/** Copies a text without its zero byte. @return the end */
char *putText(char *to, const char *text);
/** Write a coordinate in degrees or a height in metres; the text reads back bit for bit. @return the end */
///@{
char *putDegrees(char *to, double degrees);
char *putHeight(char *to, double metres);
///@}

/** Text for an element of XML: escaped, without control characters. */
QByteArray xmlText(const QString &text);

} // namespace ostravel
