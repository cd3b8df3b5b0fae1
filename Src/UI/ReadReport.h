#pragma once

#include <QDialog>

/**
 * The report of a read: the counts of frames, and how many samples each group of channels holds.
 *
 * Takes the samples and the selected plane from the channel store when it is made. Main thread only.
 */
class ReadReport : public QDialog
{
    Q_OBJECT

public:
    /** The counters of a read have 16 bits and wrap, so that the errors may exceed the total. */
    ReadReport(ushort frameTotal, ushort frameError, ushort frameSelectedId, QWidget *parent = nullptr);
};
