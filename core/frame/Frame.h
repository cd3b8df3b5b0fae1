#pragma once

#include "FieldValue.h"
#include "FrameRows.h"

#include <QString>
#include <array>
#include <cstddef>
#include <cstdint>

namespace ostravel
{

/**
 * One frame of the downlink: the bytes that the tables reach, and the length that the line gave.
 *
 * A value of fixed size, so that no line allocates, however long it is. No state, safe from any thread.
 */
struct Frame {
    /** Bytes from the first header byte on; zero where the line gave none. */
    std::array<std::uint8_t, frame::reach()> bytes;
    /** Bytes of the whole line, which may be more than the array holds. */
    qint64 length;

    /** The frame of hexadecimal text, read as decodeHex reads it. An empty text gives a frame of length 0. */
    ///@{
    static Frame fromHex(const QString &text);
    static Frame fromHex(QLatin1String text);
    ///@}
    /** The frame of raw bytes. @param length bytes, 0 or more; bytes may be null when it is 0 */
    static Frame fromBytes(const std::uint8_t *bytes, qint64 length);

    /** Zero where the line does not reach. */
    ///@{
    std::uint8_t planeId() const { return bytes[frame::kPlaneIdPosition]; }
    std::uint8_t functionCode() const { return bytes[frame::kFunctionCodePosition]; }
    std::uint16_t deviceState() const { return readBe16(bytes.data() + frame::kDeviceStatePosition); }
    ///@}
    /** Both header bytes are right, and a plane id and a function code follow. */
    bool hasHeader() const
    {
        return length >= frame::kMinBytes && bytes[0] == frame::kHeader1 && bytes[1] == frame::kHeader2;
    }
    /** The field of a row (from 0) in the channel's unit. Bytes after the end of the line count as zero. */
    template <std::uint8_t Code, std::size_t Row>
    double value() const
    {
        constexpr frame::FieldRow kField = frame::layoutOf(Code).rows[Row];
        return readFieldValue(bytes.data() + kField.offset - 1, kField.isSigned, kField.width) / kField.divisor;
    }
};

} // namespace ostravel
