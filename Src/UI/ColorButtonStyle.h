#pragma once

/**
 * @file
 * A colour as the face of a button.
 */

#include <QColor>
#include <QString>

/**
 * Style sheet that shows a colour as the face of a push button.
 *
 * @param objectName the button's object name; the sheet applies to nothing else
 * @param color an invalid colour shows as black
 */
QString colorButtonStyle(const QString &objectName, const QColor &color);
