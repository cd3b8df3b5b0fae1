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
     * Writes a track file: one line for each sample with three numbers (metres east, north, up), separated by tabs,
     * with the platform's line ends. Replaces the content of the file.
     *
     * @param a, b, c series of equal length; the length of a counts
     * @return true when the file could be opened; otherwise statusFeedbackSignal was emitted
     */
    bool writeTrack(const QString &path, const std::vector<double> &a, const std::vector<double> &b,
                    const std::vector<double> &c);

    /** What writeTxtSlot writes. Without groups it reads the store, which only the main thread may do. */
    void setGroups(const QVector<ExportGroup> &groups) { m_groups = groups; }
    /** A flag that cancels an export when another thread sets it; it must outlive the export. Null for none. */
    void setCancelFlag(const std::atomic<bool> *cancelled) { m_cancelled = cancelled; }

    /**
     * Exports the channels as text: one file for each group, in a folder with the name of path up to its first dot,
     * which is made when it is missing. A file that fails is logged, and the others are written. Any thread.
     */
    void writeTxtSlot(const QString &path);
    /**
     * Writes channels as columns of a text file; see ostravel::writeTextFile for its format.
     */
    void writeTxt(const QString &path, int *count, MyGraph **channels);

signals:
    /** A text for the status bar. */
    void statusFeedbackSignal(QString _sMessage);

private:
    void writeTxt(const QString &path, const ExportGroup &group);
    bool isCancelled() const { return m_cancelled && m_cancelled->load(std::memory_order_relaxed); }

    QString m_fileName;
    QFile m_file;
    QVector<ExportGroup> m_groups;
    const std::atomic<bool> *m_cancelled = nullptr;
};
