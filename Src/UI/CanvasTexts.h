#pragma once

/**
 * @file
 * Questions for a new text of something that stands on a canvas. Each gives true when the text has been stored; the
 * caller replots.
 */

class QCPAbstractLegendItem;
class QCPAxis;
class QCPTextElement;
class QWidget;

/** Asks for the name of the curve of a legend entry; asks nothing, and gives false, for null and for other items. */
bool askForCurveName(QCPAbstractLegendItem *item, QWidget *window);
/** Asks for the label of an axis. */
bool askForAxisLabel(QCPAxis *axis, QWidget *window);
/** Asks for the text of a title. */
bool askForTitle(QCPTextElement *title, QWidget *window);
