#pragma once

/**
 * @file
 * The channels of the store as an export takes them.
 */

#include "ExportGroup.h"

#include <QString>
#include <QVector>

class MyGraph;

using ostravel::ExportGroup;

/** Channels as a group, under their present names. Main thread only. */
ExportGroup exportGroup(const QString &name, MyGraph *const *channels, int count);

/** Everything that an export writes, in output order, as the store has it now. Main thread only. */
QVector<ExportGroup> exportGroups();
