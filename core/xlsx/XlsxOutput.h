#pragma once

#include <QByteArray>

#include <cstddef>
#include <functional>
#include <memory>

namespace QXlsx
{

/** Collects output in blocks and passes them to a sink. After a failure further output is discarded. */
class XlsxOutput
{
public:
    using Sink = std::function<bool(const char *data, std::size_t size)>;

    explicit XlsxOutput(Sink sink);

    /** Space for size bytes, at most kLargestPiece; call advance() after filling it. */
    char *room(std::size_t size)
    {
        if (static_cast<std::size_t>(m_end - m_place) < size)
            flush();
        return m_place;
    }

    /** Ends the output that was put at room(). @param end the byte after its last */
    void advance(char *end) { m_place = end; }

    void append(const char *data, std::size_t size);
    void append(const QByteArray &bytes) { append(bytes.constData(), static_cast<std::size_t>(bytes.size())); }

    /** Passes on the rest. @return whether all output was accepted */
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
