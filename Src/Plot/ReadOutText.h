#pragma once

#include <QString>

class MyGraph;

/** The texts of the read-out under the cursor. Main thread, since the channels are. */
namespace readouttext
{

/** Where the pointer is, with no curve selected. */
QString pointer(double key, double value);

/**
 * A sample of the curve of this name: the factors of an actual channel, the words of a flight mode, else time and value
 * alone. A name without a channel is no failure, since the user can edit it. O(samples) with the factors.
 */
QString sample(const QString &curveName, double key, double value);

} // namespace readouttext
