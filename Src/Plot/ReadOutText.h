#pragma once

#include <QString>

class QCPAbstractPlottable;

/** The texts of the read-out at the cursor and of a click. Main thread only, like the channels. */
namespace readouttext
{

/** The pointer's time and value; used when no curve is selected. */
QString pointer(double key, double value);

/**
 * Text for a sample of the curve with this name: time and value, plus the factors of an actual channel or the name of a
 * flight mode. Accepts names without a channel, because the user can edit them. O(samples) with factors.
 */
QString sample(const QString &curveName, double key, double value);

/** Status bar text for a click on a curve; empty when the point no longer exists. */
QString click(QCPAbstractPlottable *plottable, int dataIndex);

} // namespace readouttext
