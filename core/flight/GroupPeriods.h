#pragma once

#include <QMap>
#include <cstdint>

namespace ostravel
{

/** The longest period of a group: a day. */
inline constexpr int kMaxPeriodMs = 24 * 60 * 60 * 1000;

/**
 * Sets the period of a group in ReadOptions::periodsMs as the data settings of the program do: the difference and the
 * equipment series follow the control status, and the backup series keeps the default.
 *
 * @return false, with nothing changed, for a code that has no period of its own: 0x51, 0x52, 0x53 and codes without a
 *         group
 */
bool setGroupPeriod(QMap<std::uint8_t, int> &periodsMs, std::uint8_t code, int ms);

} // namespace ostravel
