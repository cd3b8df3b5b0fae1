#pragma once

#include "ExportGroups.h"

#include <QFile>
#include <QObject>
#include <QString>
#include <atomic>
#include <vector>

/** Opens and closes a text log, writes the track files, and exports the channels as text. */
class TxtOperator : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /** The log that openFile() opens, and the open file. */
    ///@{
    void setFileName(const QString &fileName) { m_fileName = fileName; }
    const QString &fileName() const { return m_fileName; }
    QFile &file() { return m_file; }
    ///@}

    /**
     * Opens the file of fileName as text. Reports an empty name and a failure by statusFeedbackSignal.
     *
     * @return true when the file is open
     */
    bool openFile(QIODevice::OpenMode mode);
    /** @return always true */
    bool closeFile();

    /**
     * Writes a track file: a line for each sample with three numbers (metres east, metres north, metres up), parted by
     * tabs, in the platform's text line ends. Replaces what the file held.
     *
     * @param a, b, c series of equal length; that of a counts
     * @return true when the file could be opened; else a message went out by statusFeedbackSignal
     */
    bool writeTrack(const QString &path, const std::vector<double> &a, const std::vector<double> &b,
                    const std::vector<double> &c);

    /** What writeTxtSlot writes. When nobody sets it, the store as it is then; only the main thread may do that. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }
    /** A flag that ends an export early when another thread raises it; it must outlive the export. Null for none. */
    void setCancelFlag(const std::atomic<bool> *cancelled) { m_cancelled = cancelled; }

    /**
     * Exports the channels as text: a file for each group, in a folder named like the path without its suffix, which
     * is made when it is missing. Failures go to the log, and the other files are written. Any thread.
     */
    void writeTxtSlot(const QString &path);
    /**
     * Writes channels as columns: a line of their labels, then a line for each sample of the first channel. Every field
     * is followed by a tab; lines are parted by a line feed on every platform, with none at the end.
     *
     * An older file is written over from its start and not cut off, so that a longer one keeps its tail. A channel that
     * is shorter than the first leaves its fields empty.
     */
    void writeTxt(const QString &path, int *count, MyGraph **channels);

signals:
    /** A text for the status bar. */
    void statusFeedbackSignal(QString _sMessage);

private:
    void writeTxt(const QString &path, const ExportGroup &group);
    bool isCancelled() const { return m_cancelled != nullptr && m_cancelled->load(std::memory_order_relaxed); }

    QString m_fileName;
    QFile m_file;
    QVector<ExportGroup> m_groups;
    const std::atomic<bool> *m_cancelled = nullptr;
};
