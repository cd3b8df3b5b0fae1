#pragma once

#include "FrameDecoder.h"

#include <QtGlobal>

namespace ostravel
{

/** Counts of the lines of a source by kind. 64 bits, so they do not overflow. */
struct FrameCounts {
    /** All lines. */
    qint64 lines = 0;
    /** Lines without a valid header. */
    qint64 badHeaders = 0;
    /** Frames dropped by the plane filter. */
    qint64 otherPlanes = 0;
    /** Accepted frames with a code that has no samples. */
    qint64 unknownCodes = 0;
    /** Samples of a group that repeat the one before, because a frame was missing or too short. */
    qint64 gapsFilled = 0;

    /** Frames with a valid header that pass the plane filter. */
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
