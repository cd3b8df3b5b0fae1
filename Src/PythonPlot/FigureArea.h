#pragma once

#include <QRect>

/**
 * Where a figure may open beside a dialog: the largest part of the screen that lies wholly on one side of it.
 *
 * @param dialog    frame of the dialog
 * @param available what the screen has free; both in the same coordinates
 * @return all of available where the dialog is on another screen
 */
QRect figureArea(const QRect &dialog, const QRect &available);

/** An area of a screen in native pixels. Qt scales what lies within a screen, but not the origin of the screen. */
QRect nativePixels(const QRect &area, QPoint origin, qreal scale);
