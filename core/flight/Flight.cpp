#include "Flight.h"

#include "ReadOptions.h"

#include <utility>

namespace ostravel
{

Flight::Flight(Parts parts)
    : m_parts(std::move(parts))
{
}

const Series &Flight::samples(std::uint8_t functionCode, int row) const
{
    int first = 0;
    for (const frame::Layout &layout : frame::kLayouts) {
        if (layout.code == functionCode && row >= 0 && row < layout.rowCount)
            return m_parts.series[static_cast<std::size_t>(first) + static_cast<std::size_t>(row)];
        first += layout.rowCount;
    }
    static const Series none;
    return none;
}

int Flight::periodMs(std::uint8_t functionCode) const
{
    return m_parts.periodsMs.value(functionCode, kDefaultPeriodMs);
}

double Flight::timeOf(std::uint8_t functionCode, int sample) const
{
    constexpr double kMsPerSecond = 1000.0;
    const qint64 start = m_parts.startTime.isNull() ? 0 : m_parts.startTime.toSecsSinceEpoch();
    return static_cast<double>(start) + static_cast<double>(qint64{sample} * periodMs(functionCode)) / kMsPerSecond;
}

} // namespace ostravel
