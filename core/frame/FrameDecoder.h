#pragma once

#include "Frame.h"
#include "SeriesRefs.h"

#include <QString>
#include <cstdint>
#include <optional>

namespace ostravel
{

/** What a line was. */
enum class FrameKind {
    Decoded, ///< its samples are in the series, repeated ones where it was too short for its code
    BadHeader, ///< no frame: a wrong header, or fewer bytes than frame::kMinBytes
    OtherPlane, ///< of a plane that the filter drops
    UnknownCode, ///< a frame whose code brings no sample, 0x51 and 0x53 included
};

/**
 * Decodes frames into series and keeps the groups of the common time axis in step.
 *
 * The codes 0x02, 0x03, 0x04 and 0x05 share one time axis. After each accepted frame a group that lost frames is
 * extended by its last samples, at most one a frame, so that no group stays behind for long.
 *
 * Knows the series and the filter and nothing else, so one decoder costs nothing to make. Does not throw. Not locked:
 * decoders of different series may run at the same time, one decoder on one thread.
 */
class FrameDecoder
{
public:
    /** @param series where samples go; must outlive the decoder and refer to all series whenever it decodes */
    explicit FrameDecoder(const SeriesRefs &series)
        : m_series(series)
    {
    }

    /** Keeps only the frames of one plane; nothing keeps all. */
    void setPlaneId(std::optional<std::uint8_t> planeId) { m_planeId = planeId; }
    /** The plane whose frames are kept; nothing keeps all. */
    std::optional<std::uint8_t> planeId() const { return m_planeId; }

    /**
     * Makes room for the samples of a text log, so that the series need not grow step by step.
     *
     * @param bytes size of the log; 0 and a size that no flight has do no harm
     */
    void reserveForLog(qint64 bytes);

    /**
     * Appends the samples of one line, given as a frame, as hexadecimal text or as raw bytes.
     *
     * An empty line is a bad header. A bad header and a frame of another plane leave the series alone.
     */
    ///@{
    FrameKind decode(const Frame &frame);
    FrameKind decode(const QString &text) { return decode(Frame::fromHex(text)); }
    FrameKind decode(QLatin1String text) { return decode(Frame::fromHex(text)); }
    FrameKind decode(const std::uint8_t *bytes, qint64 length) { return decode(Frame::fromBytes(bytes, length)); }
    ///@}

    /**
     * Evens the groups of the common time axis after the last line, each by one sample at most. Nothing is cut and
     * nothing is interpolated.
     */
    void evenTail();

    /**
     * How often a group got a repeated sample because its frame was missing or too short. The equipment series come
     * out of the frames of the control status and are not counted beside them.
     */
    qint64 gapsFilled() const { return m_gapsFilled; }

private:
    FrameKind appendSamples(const Frame &frame);
    template <std::uint8_t Code>
    void appendFields(const Frame &frame);
    void appendEquipment(const Frame &frame);
    void repair();
    template <std::uint8_t Code>
    void extend();

    const SeriesRefs &m_series;
    std::optional<std::uint8_t> m_planeId;
    qint64 m_gapsFilled = 0;
};

/** Appends a copy of the last sample, or 0.0 to an empty series. */
void repeatLast(Series &series);

} // namespace ostravel
