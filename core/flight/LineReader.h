#pragma once

#include <QByteArray>
#include <QString>
#include <QTextStream>
#include <memory>

class QFile;

namespace ostravel
{

/**
 * Gives the lines of a text file as QTextStream::readLine does while not atEnd, in a fraction of its time where the
 * text is plain ASCII.
 *
 * Carriage returns vanish, as from any file that is open as text. From the first block on that holds another
 * character a QTextStream takes over at the start of the line, so that byte order marks and the locale's codec mean
 * what they always do. Text without a line end is cut into lines of 512 Mi characters, so that it fits a QString.
 */
class LineReader
{
public:
    /** @param file open for reading as text; must outlive the reader, and nobody else may read it meanwhile */
    explicit LineReader(QFile &file);

    /** Puts the next line into line, whose memory is used again. @return false at the end of the file */
    bool next(QString &line);

    /**
     * Gives the rest of the lines, without a copy where that is possible.
     *
     * @param take called with each line, as a QLatin1String in nearly every case and as a const QString & where the
     * text is not plain ASCII; returning false stops
     * @return false when take stopped
     */
    template <typename Take>
    bool forEach(const Take &take)
    {
        QLatin1String plain;
        QString line;
        while (true) {
            if (nextPlain(plain)) {
                if (!take(plain))
                    return false;
            } else if (!next(line)) {
                return true;
            } else if (!take(line)) {
                return false;
            }
        }
    }

    /**
     * Gives the next line as it lies in memory, where it stays until the next call. Most callers want forEach().
     *
     * @return false when it does not lie there as a whole, or not as plain ASCII; next() gives it then
     */
    bool nextPlain(QLatin1String &line);

private:
    bool fill();
    void handOver();
    void take(QString &line, int length);

    QFile &m_file;
    QByteArray m_text; // bytes read and not yet forgotten
    qint64 m_position = 0; // of m_text in the file
    int m_start = 0; // of the next line in m_text
    bool m_returns = false; // m_text may hold carriage returns
    std::unique_ptr<QTextStream> m_stream;
};

} // namespace ostravel
