#pragma once

/**
 * @file
 * Style sheet of buttons that show a colour.
 */

#include <QColor>
#include <QString>

/**
 * Style sheet that fills a push button with a colour.
 *
 * @param objectName the button's object name; the sheet applies only to this button
 * @param color an invalid colour is shown as black
 */
QString colorButtonStyle(const QString &objectName, const QColor &color);
