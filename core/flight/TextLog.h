#pragma once

#include "LineReader.h"
#include "SourceEnd.h"

#include <QFile>
#include <QString>

namespace ostravel
{

/**
 * The lines of a text log. Each line holds the hexadecimal text of one frame.
 *
 * Empty lines are not skipped. Use from one thread; logs of different files may be read at the same time.
 */
class TextLog
{
public:
    /** @param file open for reading as text; must outlive this object and must not be read by others meanwhile */
    explicit TextLog(QFile &file)
        : m_file(file)
        , m_size(file.size())
        , m_lines(file)
    {
    }

    /** File size at construction, in bytes. */
    qint64 size() const { return m_size; }
    /** Bytes read so far; may be ahead of the last line because of buffering. */
    qint64 position() const { return m_file.pos(); }

    /**
     * Passes all remaining lines to a callback.
     *
     * @param take callable that takes each line as a QLatin1String (the usual case) or as a const QString &; returning
     * false cancels
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
