#pragma once

/**
 * @file
 * The check boxes of the main channels: which channel a box stands for.
 */

#include <QString>

class MyGraph;
class QCheckBox;

/**
 * Ties a box to the channel that its text names, by the properties "graphName" and "functionCode". A box of another
 * text gets none. Lets the box shrink to the height of its text.
 */
void setUpChannelBox(QCheckBox *box);

/** The properties of a box; an empty name and the code 0 where it has none. */
///@{
QString graphNameOf(const QCheckBox *box);
quint8 functionCodeOf(const QCheckBox *box);
///@}

/** The channel of a box, or null. Valid until the store is rebuilt. */
MyGraph *channelOf(const QCheckBox *box);
