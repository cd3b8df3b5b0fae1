#pragma once

#include <QRect>

/**
 * Finds space for a figure next to a dialog: the largest part of the screen completely on one side of the dialog.
 *
 * @param dialog    frame geometry of the dialog
 * @param available available geometry of the screen, in the same coordinates
 * @return available when the dialog is on another screen
 */
QRect figureArea(const QRect &dialog, const QRect &available);

/** Converts an area to native pixels. Qt scales positions within a screen, but not the screen's origin. */
QRect nativePixels(const QRect &area, QPoint origin, qreal scale);
