#pragma once

#include <QProgressDialog>

class DataHandler;

/**
 * The progress dialog of reads, which keeps the user away from the program meanwhile. One object serves every read.
 *
 * It cannot be cancelled or closed: that would give the program back to the user in the middle of a read. Main thread
 * only.
 */
class ReadProgress : public QProgressDialog
{
    Q_OBJECT

public:
    /** Without a parent and window flags. */
    ReadProgress();

    /** Starts over and shows the progress of this handler's read until the handler goes. */
    void follow(const DataHandler *handler);

    /** Does nothing: Escape must not close the dialog. */
    void reject() override { }

protected:
    void closeEvent(QCloseEvent *event) override;
};
