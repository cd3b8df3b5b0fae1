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
 * Reads hexadecimal text as QByteArray::fromHex(text.toLatin1()) does: characters that are no digits are skipped, and
 * an odd number of digits pairs from the end.
 *
 * @param bytes    takes the first bytes; what the text does not give is set to zero
 * @param capacity room in bytes
 * @return the number of bytes that the whole text gives, which may be more than capacity
 */
///@{
qint64 decodeHex(const QString &text, std::uint8_t *bytes, int capacity);
qint64 decodeHex(QLatin1String text, std::uint8_t *bytes, int capacity);
///@}

} // namespace ostravel
