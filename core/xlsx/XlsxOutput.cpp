#include "XlsxOutput.h"

#include <cstring>

namespace QXlsx
{

namespace
{

// Small enough for the block to be still in the cache when it is compressed.
constexpr std::size_t kBlockSize = 128 * 1024;

} // namespace

XlsxOutput::XlsxOutput(Sink sink)
    : m_sink(std::move(sink))
    , m_block(new char[kBlockSize])
    , m_place(m_block.get())
    , m_end(m_block.get() + kBlockSize)
{
}

void XlsxOutput::append(const char *data, std::size_t size)
{
    if (static_cast<std::size_t>(m_end - m_place) < size) {
        flush();
        if (size > kBlockSize) {
            m_good = m_good && m_sink(data, size);
            return;
        }
    }
    if (size > 0)
        std::memcpy(m_place, data, size);
    m_place += size;
}

bool XlsxOutput::flush()
{
    if (m_place != m_block.get())
        m_good = m_good && m_sink(m_block.get(), static_cast<std::size_t>(m_place - m_block.get()));
    m_place = m_block.get();
    return m_good;
}

} // namespace QXlsx
