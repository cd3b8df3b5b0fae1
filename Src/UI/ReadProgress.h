#pragma once

#include <QProgressDialog>

class DataHandler;

/**
 * The modal progress dialog of a read. One object is reused for all reads.
 *
 * It cannot be cancelled or closed, because the user must not use the program during a read. Main thread only.
 */
class ReadProgress : public QProgressDialog
{
    Q_OBJECT

public:
    /** Has no parent and no window flags. */
    ReadProgress();

    /** Resets the dialog and shows the handler's progress until the handler is destroyed. */
    void follow(const DataHandler *handler);

    /** Does nothing: Escape must not close the dialog. */
    void reject() override { }

protected:
    void closeEvent(QCloseEvent *event) override;
};
