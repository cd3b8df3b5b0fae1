#pragma once

#include "ExportGroups.h"
#include "ThreadHandOver.h"

#include <QString>
#include <QThread>
#include <atomic>

/**
 * The thread of one export: a workbook or a folder of text files.
 *
 * Everything is set before the thread starts. Works on its own copy of the channels, so that nothing that happens to
 * the store meanwhile concerns it.
 */
class ExportOperator : public QThread
{
    Q_OBJECT

public:
    using QThread::QThread;
    /** Cancels, and waits for the thread's end. */
    ~ExportOperator() override;

    /** Path of the workbook; for text, a path that without its suffix is the folder of the files. */
    ///@{
    const QString &filePath() const { return m_filePath; }
    void setFilePath(const QString &filePath) { m_filePath = filePath; }
    ///@}
    /** True for a workbook. */
    bool isExcel() const { return m_isExcel; }
    /** A workbook instead of text. */
    void setExcel(bool excel) { m_isExcel = excel; }
    /** The channels to write, made by exportGroups() on the main thread. Without them the thread reads the store. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }

    /**
     * Has the export stop soon, also when it has not begun: an unfinished workbook is removed and the old one stays,
     * a text file ends where it is. Any thread.
     */
    void cancel() { m_cancelled = true; }

signals:
    /** The export is over, whichever kind it was and whether it succeeded or not. */
    void writeExcelFinished();

protected:
    /** The export, on its own thread. */
    void run() override;

private:
    QString m_filePath;
    bool m_isExcel = false;
    QVector<ExportGroup> m_groups;
    std::atomic<bool> m_cancelled{false};
    ThreadHandOver m_handOver;
};
