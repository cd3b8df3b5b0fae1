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
 * One frame of the downlink: the bytes that the field tables use, and the length of the whole line.
 *
 * A value of fixed size: decoding a line never allocates, however long the line is. Safe from any thread.
 */
struct Frame {
    /** Bytes from the first header byte on; zero after the end of the line. */
    std::array<std::uint8_t, frame::reach()> bytes;
    /** Bytes of the whole line, which may be more than the array holds. */
    qint64 length;

    /** Parses hexadecimal text as decodeHex does. An empty text gives a frame of length 0. */
    ///@{
    static Frame fromHex(const QString &text);
    static Frame fromHex(QLatin1String text);
    ///@}
    /** Copies raw bytes. @param length bytes, 0 or more; bytes may be null when it is 0 */
    static Frame fromBytes(const std::uint8_t *bytes, qint64 length);

    /** Header fields; zero when the line is too short. */
    ///@{
    std::uint8_t planeId() const { return bytes[frame::kPlaneIdPosition]; }
    std::uint8_t functionCode() const { return bytes[frame::kFunctionCodePosition]; }
    std::uint16_t deviceState() const { return readBe16(bytes.data() + frame::kDeviceStatePosition); }
    ///@}
    /** Whether both header bytes are right, and a plane id and a function code follow. */
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
