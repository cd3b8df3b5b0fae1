#pragma once

#include <cstdint>

/**
 * @file
 * Reads numbers from the bytes of a frame. No state, safe from any thread.
 */

namespace ostravel
{

/**
 * Big-endian integer as a double.
 *
 * @param width bytes: 1, 2, 4 or 8
 * @return 0.0 for any other width and when bytes is null
 */
inline double readFieldValue(const std::uint8_t *bytes, bool isSigned, int width)
{
    if (!bytes)
        return 0.0;
    std::uint64_t raw = 0;
    switch (width) {
    case 1:
        raw = bytes[0];
        return isSigned ? static_cast<double>(static_cast<std::int8_t>(raw)) : static_cast<double>(raw);
    case 2:
        raw = static_cast<std::uint64_t>(bytes[0]) << 8U | bytes[1];
        return isSigned ? static_cast<double>(static_cast<std::int16_t>(raw)) : static_cast<double>(raw);
    case 4:
        for (int i = 0; i < 4; ++i)
            raw = raw << 8U | bytes[i];
        return isSigned ? static_cast<double>(static_cast<std::int32_t>(raw)) : static_cast<double>(raw);
    case 8:
        for (int i = 0; i < 8; ++i)
            raw = raw << 8U | bytes[i];
        return isSigned ? static_cast<double>(static_cast<std::int64_t>(raw)) : static_cast<double>(raw);
    default:
        return 0.0;
    }
}

/** Two bytes as an unsigned big-endian word. */
inline std::uint16_t readBe16(const std::uint8_t *bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

} // namespace ostravel
