#pragma once

#include <QObject>

class ExportOperator;
class QWidget;

/**
 * The life of an export: refuses it without data, starts its thread, tells the user that it has finished.
 *
 * One export at a time, of either format. Main thread only.
 */
class ExportRun : public QObject
{
    Q_OBJECT

public:
    /** What an export writes. */
    enum Format { Workbook, Text };

    /** The window is the parent of the message boxes and must outlive this object. */
    explicit ExportRun(QWidget *window);
    /** Cancels an export that runs, and waits for its thread. */
    ~ExportRun() override;

    /** The export that runs now, or null. It counts as running until the user has closed the message of its end. */
    ExportOperator *exportThread() const { return m_exportThread; }

    /**
     * Writes the store beside a log, under its base name: a workbook, or a folder of text files.
     *
     * Says so where nothing has been read. Does nothing while another export runs.
     */
    void start(Format format, const QString &logPath);

private:
    void finish(Format format);

    QWidget *m_window;
    ExportOperator *m_exportThread = nullptr;
};
