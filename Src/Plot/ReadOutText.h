#pragma once

#include <QString>

class QCPAbstractPlottable;

/** The texts of the read-out under the cursor and of a click. Main thread, since the channels are. */
namespace readouttext
{

/** Where the pointer is, with no curve selected. */
QString pointer(double key, double value);

/**
 * A sample of the curve of this name: the factors of an actual channel, the words of a flight mode, else time and value
 * alone. A name without a channel is no failure, since the user can edit it. O(samples) with the factors.
 */
QString sample(const QString &curveName, double key, double value);

/** What the status bar says of a click on a curve; empty where the curve no longer has such a point. */
QString click(QCPAbstractPlottable *plottable, int dataIndex);

} // namespace readouttext
