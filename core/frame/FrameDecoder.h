#pragma once

#include "Frame.h"
#include "SeriesRefs.h"

#include <QString>
#include <cstdint>
#include <optional>

namespace ostravel
{

/** Result of decoding one line. */
enum class FrameKind {
    Decoded, ///< samples were appended; the last ones are repeated when the frame is too short for its code
    BadHeader, ///< wrong header, or fewer bytes than frame::kMinBytes
    OtherPlane, ///< dropped by the plane filter
    UnknownCode, ///< a code without samples, including 0x51 and 0x53
};

/**
 * Decodes frames into series and keeps the groups of the common time axis aligned.
 *
 * The codes 0x02, 0x03, 0x04 and 0x05 share one time axis. After each accepted frame, a group that lost frames is
 * extended by repeating its last sample, at most once per frame.
 *
 * Holds only a reference to the series and the filter, so it is cheap to construct. Does not throw. Not locked:
 * decoders of different series may run at the same time; use one decoder from one thread.
 */
class FrameDecoder
{
public:
    /** @param series receives the samples; must outlive the decoder and refer to all series when decode() is called */
    explicit FrameDecoder(const SeriesRefs &series)
        : m_series(series)
    {
    }

    /** Sets the plane filter: only frames of this plane are decoded. std::nullopt accepts all planes. */
    void setPlaneId(std::optional<std::uint8_t> planeId) { m_planeId = planeId; }
    /** The plane filter; std::nullopt accepts all planes. */
    std::optional<std::uint8_t> planeId() const { return m_planeId; }

    /**
     * Reserves memory for the samples of a text log, to avoid repeated reallocation.
     *
     * @param bytes size of the log; 0 is allowed. The reservation for very large files is limited, and is raised when
     *              the samples have filled it
     */
    void reserveForLog(qint64 bytes);

    /**
     * Appends the samples of one line, given as a frame, as hexadecimal text or as raw bytes.
     *
     * An empty line counts as a bad header. Frames with a bad header or of another plane do not change the series.
     */
    ///@{
    FrameKind decode(const Frame &frame);
    FrameKind decode(const QString &text) { return decode(Frame::fromHex(text)); }
    FrameKind decode(QLatin1String text) { return decode(Frame::fromHex(text)); }
    FrameKind decode(const std::uint8_t *bytes, qint64 length) { return decode(Frame::fromBytes(bytes, length)); }
    ///@}

    /**
     * Aligns the lengths of the groups of the common time axis after the last line, by at most one repeated sample per
     * group. Never removes or interpolates samples.
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
    void reserve(qint64 samples);
    void reserveMore();
    template <std::uint8_t Code>
    void extend();

    const SeriesRefs &m_series;
    std::optional<std::uint8_t> m_planeId;
    qint64 m_gapsFilled = 0;
    qint64 m_expected = 0; // samples of the log, by its size
    int m_reserved = 0; // samples of each series
};

/** Appends a copy of the last sample, or 0.0 to an empty series. */
void repeatLast(Series &series);

} // namespace ostravel
