#pragma once

/**
 * @file
 * The themes by their names.
 */

#include <QMetaType>

/** The two themes. The configuration file uses these names. */
enum MyThemes : int { lightTheme = 0, darkTheme = 1 };

Q_DECLARE_METATYPE(MyThemes)
