#pragma once

#include <QDateTime>
#include <array>

namespace ostravel
{

/**
 * What the clock of a start time shows, as a time that is valid in every zone; null for a null start time.
 *
 * A start time is a local time, and QDateTime calls one invalid that the zone skips when its clocks go forward. The
 * aircraft's clock knows no zone, so such a time is as good as any other.
 */
QDateTime clockOf(const QDateTime &start);

/** The moment of a start time in UTC, also of one that its zone skips; null for a null start time. */
QDateTime momentOf(const QDateTime &start);

/** Bytes that ClockText::put() writes at most. */
inline constexpr int kClockTextRoom = 32;

/**
 * Writes the times of samples as ISO 8601 with milliseconds, "2023-07-18T09:00:00.200": the clock of the start time
 * runs on without a change of its zone. For one thread.
 */
class ClockText
{
public:
    /** @param start of sample 0; its whole seconds count, as for Flight::timeOf. Null: put() writes nothing */
    explicit ClockText(const QDateTime &start);

    /** @param ms since the start, not negative. @return the end of the text */
    char *put(char *to, qint64 ms);

private:
    void setDay(qint64 day);

    QDate m_startDate;
    qint64 m_startMs = 0; // since midnight
    bool m_valid;
    qint64 m_day = -1; // whose text is in m_dayText
    std::array<char, kClockTextRoom> m_dayText{};
    int m_dayLength = 0;
};

} // namespace ostravel
