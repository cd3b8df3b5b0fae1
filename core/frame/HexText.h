#pragma once

/**
 * @file
 * Hexadecimal text to bytes.
 */

#include <QString>
#include <cstdint>

namespace ostravel
{

/**
 * Decodes hexadecimal text as QByteArray::fromHex(text.toLatin1()) does: other characters are skipped, and digits are
 * paired from the end.
 *
 * @param bytes    receives the first bytes of the result; the rest is set to zero
 * @param capacity size of bytes
 * @return the number of bytes in the whole text, which may be more than capacity
 */
///@{
qint64 decodeHex(const QString &text, std::uint8_t *bytes, int capacity);
qint64 decodeHex(QLatin1String text, std::uint8_t *bytes, int capacity);
///@}

} // namespace ostravel
