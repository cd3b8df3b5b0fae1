#pragma once

/**
 * @file
 * The themes by their names.
 */

#include <QMetaType>

/** The two looks of the program; the configuration file names them by these words. */
enum MyThemes : int { lightTheme = 0, darkTheme = 1 };

Q_DECLARE_METATYPE(MyThemes)
