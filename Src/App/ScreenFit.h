#pragma once

class QWidget;

/**
 * Shrinks a window to the available size of the screen each time it is shown, as far as its layout allows. Does not
 * change a window that fits. Call it once, in the window's constructor, after setupUi().
 */
void keepOnScreen(QWidget *window);
