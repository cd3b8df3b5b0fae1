#include "ClockText.h"

#include <algorithm>

namespace ostravel
{

namespace
{

constexpr qint64 kSecondMs = 1000;
constexpr qint64 kMinuteMs = 60 * kSecondMs;
constexpr qint64 kHourMs = 60 * kMinuteMs;
constexpr qint64 kDayMs = 24 * kHourMs;

template <int Digits>
char *putDigits(char *to, qint64 number)
{
    for (int i = Digits - 1; i >= 0; --i) {
        to[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return to + Digits;
}

} // namespace

ClockText::ClockText(const QDateTime &start)
    : m_startDate(start.date())
    , m_valid(start.date().isValid() && start.time().isValid()) // even if the zone leaves out this hour
{
    if (m_valid)
        m_startMs = start.time().msecsSinceStartOfDay() / kSecondMs * kSecondMs;
}

char *ClockText::put(char *to, qint64 ms)
{
    if (!m_valid)
        return to;
    const qint64 total = m_startMs + ms;
    if (total / kDayMs != m_day)
        setDay(total / kDayMs);
    to = std::copy_n(m_dayText.data(), m_dayLength, to);
    *to++ = 'T';
    to = putDigits<2>(to, total % kDayMs / kHourMs);
    *to++ = ':';
    to = putDigits<2>(to, total % kHourMs / kMinuteMs);
    *to++ = ':';
    to = putDigits<2>(to, total % kMinuteMs / kSecondMs);
    *to++ = '.';
    return putDigits<3>(to, total % kSecondMs);
}

void ClockText::setDay(qint64 day)
{
    constexpr int kRoomForDate = kClockTextRoom - 13; // the time of day takes the rest
    m_day = day;
    const QByteArray text = m_startDate.addDays(day).toString(Qt::ISODate).toLatin1().left(kRoomForDate);
    m_dayLength = text.size();
    std::copy_n(text.constData(), m_dayLength, m_dayText.data());
}

} // namespace ostravel
