#pragma once

#include <QByteArray>

#include <cstddef>
#include <functional>
#include <memory>

namespace QXlsx
{

/** Gathers what is written into blocks and hands them on; after a failure all else is swallowed. */
class XlsxOutput
{
public:
    using Sink = std::function<bool(const char *data, std::size_t size)>;

    explicit XlsxOutput(Sink sink);

    /** A place for at least size bytes, at most kLargestPiece; to be followed by advance. */
    char *room(std::size_t size)
    {
        if (static_cast<std::size_t>(m_end - m_place) < size)
            flush();
        return m_place;
    }

    /** Takes what was put at room() up to end as written. */
    void advance(char *end) { m_place = end; }

    void append(const char *data, std::size_t size);
    void append(const QByteArray &bytes) { append(bytes.constData(), static_cast<std::size_t>(bytes.size())); }

    /** Hands on what is left and says whether all of it was taken. */
    bool flush();
    bool isGood() const { return m_good; }

    static constexpr std::size_t kLargestPiece = 4096;

private:
    Sink m_sink;
    std::unique_ptr<char[]> m_block;
    char *m_place;
    char *m_end;
    bool m_good = true;
};

} // namespace QXlsx
