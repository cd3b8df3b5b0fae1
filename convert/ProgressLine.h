#pragma once

#include <QElapsedTimer>
#include <QString>
#include <atomic>

/**
 * The bar at the bottom of a terminal: what is done, how fast it goes and how long it will take.
 *
 * add() may be called by any thread, the rest by one at a time.
 */
class ProgressLine
{
public:
    /** @param bytes of all logs; @param logs how many; @param shown false: nothing is drawn */
    ProgressLine(qint64 bytes, int logs, bool shown);

    /** Some bytes of logs are done, read and written. */
    void add(qint64 bytes) { m_done += bytes; }
    /** One log is done. */
    void finishLog() { ++m_finished; }

    /** Draws the line anew. */
    void draw();
    /** Takes the line away, so that something else can be printed. */
    void clear();

    /** The line as it is drawn, at most 79 characters. @param seconds since the start */
    QString text(double seconds) const;

private:
    qint64 m_bytes;
    int m_logs;
    bool m_shown;
    bool m_drawn = false;
    std::atomic<qint64> m_done{0};
    std::atomic<int> m_finished{0};
    QElapsedTimer m_timer;
};

/** Seconds as hours, minutes and seconds: "2:05:09". Fractions are cut. */
QString clockText(qint64 seconds);
