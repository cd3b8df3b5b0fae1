#pragma once

#include "MyThemes.h"

class QMainWindow;

/**
 * Applies a theme to one window by its palette and menu bar; any other value is ignored.
 *
 * The themes of the whole program are style sheets; see AppConfig.
 */
void dressWindow(QMainWindow *window, MyThemes theme);
