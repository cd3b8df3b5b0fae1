#pragma once

#include "LineReader.h"
#include "SourceEnd.h"

#include <QFile>
#include <QString>

namespace ostravel
{

/**
 * The lines of a text log, each with the hexadecimal text of one frame.
 *
 * Nothing is skipped: an empty line is a line. Use from one thread; logs of different files may be read at the same
 * time.
 */
class TextLog
{
public:
    /** @param file open for reading as text; must outlive this, and nobody else may read it meanwhile */
    explicit TextLog(QFile &file)
        : m_file(file)
        , m_size(file.size())
        , m_lines(file)
    {
    }

    /** Bytes of the file when it was opened. */
    qint64 size() const { return m_size; }
    /** Bytes read so far, some of them ahead of the line that was given last. */
    qint64 position() const { return m_file.pos(); }

    /**
     * Gives the rest of the lines.
     *
     * @param take called with each line, as a QLatin1String in nearly every case and as a const QString & where the
     * text is not plain ASCII; returning false cancels
     */
    template <typename Take>
    SourceEnd forEachLine(const Take &take)
    {
        return end(!m_lines.forEach(take));
    }

private:
    SourceEnd end(bool cancelled) const;

    QFile &m_file;
    qint64 m_size;
    LineReader m_lines;
};

} // namespace ostravel
