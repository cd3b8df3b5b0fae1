#pragma once

#include "MyThemes.h"

class QMainWindow;

/**
 * Dresses a window in a theme by palette and menu bar. Other values than the two themes do nothing.
 *
 * For a caller that wants it for this window alone; the program's themes are style sheets.
 */
void dressWindow(QMainWindow *window, MyThemes theme);
