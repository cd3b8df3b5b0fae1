#pragma once

class QWidget;

/**
 * Keeps a window usable on a screen that is smaller than its design size: whenever it comes up larger than what the
 * screen has free, it is made as small as that, as far as its layout goes. A window that fits is left alone. Call it
 * once, in the window's constructor, after its form is built.
 */
void keepOnScreen(QWidget *window);
