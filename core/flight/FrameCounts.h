#pragma once

#include "FrameDecoder.h"

#include <QtGlobal>

namespace ostravel
{

/** How many lines of a source were what. 64 bits, so that they do not wrap. */
struct FrameCounts {
    /** All lines, whatever they were. */
    qint64 lines = 0;
    /** Lines that are no frame. */
    qint64 badHeaders = 0;
    /** Frames of planes that the filter drops. */
    qint64 otherPlanes = 0;
    /** Accepted frames whose code brings no sample. */
    qint64 unknownCodes = 0;
    /** Samples of a group that repeat the one before, because a frame was missing or too short. */
    qint64 gapsFilled = 0;

    /** Frames that the header and the filter let through. */
    qint64 accepted() const { return lines - badHeaders - otherPlanes; }

    /** Counts one line. */
    void add(FrameKind kind)
    {
        ++lines;
        badHeaders += kind == FrameKind::BadHeader ? 1 : 0;
        otherPlanes += kind == FrameKind::OtherPlane ? 1 : 0;
        unknownCodes += kind == FrameKind::UnknownCode ? 1 : 0;
    }
};

} // namespace ostravel
