#pragma once

#include "ExportGroups.h"
#include "ThreadHandOver.h"

#include <QString>
#include <QThread>
#include <atomic>

/**
 * The thread of one export: a workbook or a folder of text files.
 *
 * All setters must be called before the thread starts. The export works on its own copy of the channels, so the store
 * may change meanwhile.
 */
class ExportOperator : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;
    /** Cancels the export and waits for the thread to end. */
    ~ExportOperator() override;

    /** Path of the workbook; for text, the path whose name up to the first dot is the folder. */
    ///@{
    const QString &filePath() const { return m_filePath; }
    void setFilePath(const QString &filePath) { m_filePath = filePath; }
    ///@}
    /** True for a workbook. */
    bool isExcel() const { return m_isExcel; }
    /** True for a workbook, false for text. */
    void setExcel(bool excel) { m_isExcel = excel; }
    /** The channels to write, made by exportGroups() on the main thread. Without them the thread reads the store. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }

    /**
     * Stops the export soon, also when it has not started: an unfinished workbook is removed and the old one kept; the
     * current text file ends where it is. Any thread.
     */
    void cancel() { m_cancelled = true; }

signals:
    /** The export is over: workbook or text, successful or not. */
    void writeExcelFinished();

protected:
    /** Runs the export on this thread. */
    void run() override;

private:
    QString m_filePath;
    bool m_isExcel = false;
    QVector<ExportGroup> m_groups;
    std::atomic<bool> m_cancelled{false};
    ThreadHandOver m_handOver;
};
