#pragma once

#include <QFile>
#include <QObject>
#include <QString>
#include <vector>

/** Opens and closes a text log, and writes the track files. */
class TxtOperator : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void setFileName(const QString &fileName) { m_fileName = fileName; }
    const QString &fileName() const { return m_fileName; }
    QFile &file() { return m_file; }

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

signals:
    void statusFeedbackSignal(QString _sMessage);

private:
    QString m_fileName;
    QFile m_file;
};
