#pragma once

/**
 * @file
 * Dialogs that ask for a new text of an element of a canvas. Each function returns true when the text was changed; the
 * caller then replots.
 */

class QCPAbstractLegendItem;
class QCPAxis;
class QCPTextElement;
class QWidget;

/** Asks for the name of the curve of a legend entry. Returns false for null and for items without a curve. */
bool askForCurveName(QCPAbstractLegendItem *item, QWidget *window);
/** Asks for the label of an axis. */
bool askForAxisLabel(QCPAxis *axis, QWidget *window);
/** Asks for the text of a title. */
bool askForTitle(QCPTextElement *title, QWidget *window);
