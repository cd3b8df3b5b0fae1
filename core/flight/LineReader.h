#pragma once

#include <QByteArray>
#include <QString>
#include <QTextStream>
#include <memory>

class QFile;

namespace ostravel
{

/**
 * Returns the same lines as a loop of QTextStream::readLine() until atEnd(), but much faster for plain ASCII.
 *
 * Carriage returns are removed, as Qt's text mode does. At the first block with a non-ASCII character the reader
 * switches to a QTextStream from the start of the current line, so byte order marks and the locale's codec work as
 * usual. Lines longer than 512 Mi characters are split, so that they fit a QString.
 */
class LineReader
{
public:
    /** @param file open for reading as text; must outlive the reader and must not be read by others meanwhile */
    explicit LineReader(QFile &file);

    /** Reads the next line into line, reusing its memory. @return false at the end of the file */
    bool next(QString &line);

    /**
     * Passes on the rest of the lines, without a copy where that is possible.
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
     * Returns the next line without a copy. The text is valid until the next call. Most callers want forEach().
     *
     * @return false when the line is not completely in the buffer or not plain ASCII; call next() then
     */
    bool nextPlain(QLatin1String &line);

private:
    bool fill();
    void switchToStream();
    void take(QString &line, int length);

    QFile &m_file;
    QByteArray m_text; // buffer of bytes read from the file
    qint64 m_position = 0; // file offset of m_text
    int m_start = 0; // offset of the next line in m_text
    bool m_returns = false; // m_text may hold carriage returns
    std::unique_ptr<QTextStream> m_stream;
};

} // namespace ostravel
