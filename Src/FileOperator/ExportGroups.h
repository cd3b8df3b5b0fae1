#pragma once

/**
 * @file
 * The channels as an export takes them.
 */

#include <QString>
#include <QStringList>
#include <QVector>

class MyGraph;

/**
 * A copy of some channels, under the name of their sheet or file.
 *
 * The samples share their memory with the channels until one of the two is changed, so that a copy costs next to
 * nothing and stays as it is whatever happens to the store.
 */
struct ExportGroup {
    /** Of the sheet or of the text file. */
    QString name;
    /** Only the text export has it. */
    bool textOnly = false;
    /** Heads of the columns. */
    QStringList labels;
    /** A series for each label. */
    QVector<QVector<double>> samples;

    /** Data rows: the length of the first series. Another may be shorter after points were deleted from it. */
    int rows() const { return samples.isEmpty() ? 0 : samples.first().size(); }
};

/** The channels of an array as a group. Main thread only. */
ExportGroup exportGroup(const QString &name, MyGraph *const *channels, int count);

/** Everything that an export writes, in output order, as the store has it now. Main thread only. */
QVector<ExportGroup> exportGroups();
