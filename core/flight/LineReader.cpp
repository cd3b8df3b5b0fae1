#include "LineReader.h"

#include <QFile>
#include <algorithm>
#include <cstring>

namespace ostravel
{

namespace
{

constexpr int kBlockBytes = 1 << 16;
constexpr int kMaxCharacters = 1 << 29;

bool isAscii(const char *text, int size)
{
    constexpr quint64 kHighBits = 0x8080808080808080U;
    quint64 all = 0;
    int i = 0;
    for (; i + int{sizeof all} <= size; i += int{sizeof all}) {
        quint64 word = 0;
        std::memcpy(&word, text + i, sizeof word);
        all |= word;
    }
    for (; i < size; ++i)
        all |= static_cast<unsigned char>(text[i]);
    return (all & kHighBits) == 0;
}

} // namespace

LineReader::LineReader(QFile &file)
    : m_file(file)
{
    // Raw bytes, so that positions in m_text are positions in the file.
    m_file.setTextModeEnabled(false);
}

bool LineReader::next(QString &line)
{
    int searched = m_start;
    while (!m_stream) {
        const char *const from = m_text.constData() + searched;
        const void *const found = std::memchr(from, '\n', static_cast<std::size_t>(m_text.size() - searched));
        if (found) {
            take(line, static_cast<int>(static_cast<const char *>(found) - m_text.constData()) - m_start);
            ++m_start;
            return true;
        }
        if (m_text.size() - m_start >= kMaxCharacters) {
            take(line, kMaxCharacters);
            return true;
        }
        searched = m_text.size() - m_start; // fill() moves the incomplete line to the front
        if (fill())
            continue;
        if (m_stream)
            break;
        if (m_text.isEmpty())
            return false;
        // Carriage returns alone after the last line end do not count as a line, unless the file has nothing else.
        const bool blank = std::all_of(m_text.cbegin(), m_text.cend(), [](char c) { return c == '\r'; });
        const bool whole = m_position == 0;
        take(line, m_text.size());
        return !blank || whole;
    }
    if (m_stream->atEnd())
        return false;
    // A file that ends within a multi-byte character yields one more, empty line.
    m_stream->readLineInto(&line, kMaxCharacters);
    return true;
}

bool LineReader::nextPlain(QLatin1String &line)
{
    if (m_stream)
        return false;
    const char *const text = m_text.constData() + m_start;
    const auto *const end
        = static_cast<const char *>(std::memchr(text, '\n', static_cast<std::size_t>(m_text.size() - m_start)));
    if (!end)
        return false;
    int length = static_cast<int>(end - text);
    if (m_returns) {
        if (length > 0 && text[length - 1] == '\r')
            --length;
        if (std::memchr(text, '\r', static_cast<std::size_t>(length)))
            return false;
    }
    line = QLatin1String(text, length);
    m_start = static_cast<int>(end - m_text.constData()) + 1;
    return true;
}

/** Appends the next block to the incomplete line. @return false at the end of the file or after switchToStream() */
bool LineReader::fill()
{
    m_text.remove(0, m_start);
    m_position += m_start;
    m_start = 0;
    const int had = m_text.size();
    m_text.resize(had + kBlockBytes);
    const qint64 got = std::max<qint64>(0, m_file.read(m_text.data() + had, kBlockBytes));
    m_text.resize(had + static_cast<int>(got));
    if (isAscii(m_text.constData() + had, static_cast<int>(got))) {
        const bool found = std::memchr(m_text.constData() + had, '\r', static_cast<std::size_t>(got)) != nullptr;
        m_returns = found || (m_returns && had > 0);
        return got > 0;
    }
    switchToStream();
    return false;
}

void LineReader::switchToStream()
{
    m_text.clear();
    m_file.seek(m_position);
    m_file.setTextModeEnabled(true);
    m_stream = std::make_unique<QTextStream>(&m_file);
    // Only the start of a file may have a byte order mark.
    m_stream->setAutoDetectUnicode(m_position == 0);
}

void LineReader::take(QString &line, int length)
{
    const char *const text = m_text.constData() + m_start;
    line = QLatin1String(text, length);
    if (m_returns)
        line.remove(QLatin1Char('\r'));
    m_start += length;
}

} // namespace ostravel
