#pragma once

#include <QDialog>

/**
 * The report of a read: frame counts, and the number of samples of each channel group.
 *
 * The constructor reads the sample counts and the selected plane from the channel store. Main thread only.
 */
class ReadReport : public QDialog
{
    Q_OBJECT

public:
    /** The 16-bit counters may have wrapped, so the errors can exceed the total. */
    ReadReport(ushort frameTotal, ushort frameError, ushort frameSelectedId, QWidget *parent = nullptr);
};
