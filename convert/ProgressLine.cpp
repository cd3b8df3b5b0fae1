#include "ProgressLine.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr int kColumns = 79;
constexpr int kBarCells = 30;
constexpr double kMegabyte = 1e6;

} // namespace

QString clockText(qint64 seconds)
{
    constexpr qint64 kMinute = 60;
    constexpr qint64 kHour = 60 * kMinute;
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / kHour)
        .arg(seconds % kHour / kMinute, 2, 10, QLatin1Char('0'))
        .arg(seconds % kMinute, 2, 10, QLatin1Char('0'));
}

ProgressLine::ProgressLine(qint64 bytes, int logs, bool shown)
    : m_bytes(bytes)
    , m_logs(logs)
    , m_shown(shown)
{
    m_timer.start();
}

QString ProgressLine::text(double seconds) const
{
    const auto done = static_cast<double>(m_done.load());
    const double share = m_bytes > 0 ? std::min(1.0, done / static_cast<double>(m_bytes)) : 1.0;
    const int cells = static_cast<int>(share * kBarCells);
    QString line = QLatin1Char('[') + QString(cells, QLatin1Char('#')) + QString(kBarCells - cells, QLatin1Char('.'))
        + QStringLiteral("] %1 of %2  %3 %").arg(m_finished.load()).arg(m_logs).arg(static_cast<int>(share * 100));
    constexpr double kMinSeconds = 0.2; // before, a rate says nothing
    if (seconds > kMinSeconds && done > 0) {
        const double left = (1 - share) * seconds / std::max(share, 1e-9);
        line += QStringLiteral("  %1 MB/s").arg(done / seconds / kMegabyte, 0, 'f', 0);
        if (left < 1e6)
            line += QStringLiteral("  %1 left").arg(clockText(static_cast<qint64>(left + 1)));
    }
    return line.left(kColumns);
}

void ProgressLine::draw()
{
    if (!m_shown)
        return;
    constexpr double kMsPerSecond = 1000;
    const QString line = text(static_cast<double>(m_timer.elapsed()) / kMsPerSecond).leftJustified(kColumns);
    std::fprintf(stderr, "\r%s", qUtf8Printable(line));
    std::fflush(stderr);
    m_drawn = true;
}

void ProgressLine::clear()
{
    if (!m_drawn)
        return;
    std::fprintf(stderr, "\r%*s\r", kColumns, "");
    std::fflush(stderr);
    m_drawn = false;
}
