#pragma once

#include <QObject>

class ExportOperator;
class QWidget;

/**
 * Runs an export: checks that data has been read, starts the export thread, and tells the user when it has finished.
 *
 * One export at a time, of either format. Main thread only.
 */
class ExportRun : public QObject
{
    Q_OBJECT

public:
    /** Output format. */
    enum Format { Workbook, Text };

    /** The window is the parent of the message boxes and must outlive this object. */
    explicit ExportRun(QWidget *window);
    /** Cancels a running export and waits for its thread. */
    ~ExportRun() override;

    /** The running export, or null. An export runs until the user has closed its final message. */
    ExportOperator *exportThread() const { return m_exportThread; }

    /**
     * Exports the channel store to the folder of a log, named after the log: a workbook, or a folder of text files.
     *
     * Shows a message when no flight has been read. Does nothing while another export runs.
     */
    void start(Format format, const QString &logPath);

private:
    void finish(Format format);

    QWidget *m_window;
    ExportOperator *m_exportThread = nullptr;
};
