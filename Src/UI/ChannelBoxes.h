#pragma once

/**
 * @file
 * The check boxes of the main channels and their channels.
 */

#include <QString>

class MyGraph;
class QCheckBox;

/**
 * Sets the properties "graphName" and "functionCode" of a box for the channel that its text names; other texts get no
 * properties. Lets the box shrink to the height of its text.
 */
void setUpChannelBox(QCheckBox *box);

/** The properties of a box; an empty name and the code 0 when it has none. */
///@{
QString graphNameOf(const QCheckBox *box);
quint8 functionCodeOf(const QCheckBox *box);
///@}

/** The channel of a box, or null. Valid until clearData(). */
MyGraph *channelOf(const QCheckBox *box);
