#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace wmts
{

/** The work of all connections together. Any thread may read and change it. */
struct Load {
    /** No further answer is made while more bytes are being sent, so there are at most those of one answer above it. */
    static constexpr std::size_t kMaxBytesBeingSent = 64U << 20;

    std::atomic<std::size_t> connections{0};
    std::atomic<std::size_t> bytesBeingSent{0};
    std::atomic<bool> isEnding{false}; ///< the service ends, and nobody waits for answers
};

/** A part of Load::bytesBeingSent; gives it back when destroyed. The load must outlive it. For one thread at a time. */
class BytesBeingSent
{
public:
    BytesBeingSent() = default;
    BytesBeingSent(BytesBeingSent &&other) noexcept
        : m_load(std::exchange(other.m_load, nullptr))
        , m_bytes(std::exchange(other.m_bytes, 0))
    {
    }
    BytesBeingSent &operator=(BytesBeingSent &&other) noexcept
    {
        release();
        m_load = std::exchange(other.m_load, nullptr);
        m_bytes = std::exchange(other.m_bytes, 0);
        return *this;
    }
    ~BytesBeingSent() { release(); }

    /** Call before the bytes are in memory. @return false when too many are being sent; then it holds nothing */
    [[nodiscard]] bool take(Load &load, std::size_t bytes)
    {
        release();
        std::size_t present = load.bytesBeingSent;
        do {
            if (present > Load::kMaxBytesBeingSent)
                return false;
        } while (!load.bytesBeingSent.compare_exchange_weak(present, present + bytes));
        m_load = &load;
        m_bytes = bytes;
        return true;
    }
    /** Gives back all but so many bytes. */
    void shrinkTo(std::size_t bytes)
    {
        if (!m_load || bytes >= m_bytes)
            return;
        m_load->bytesBeingSent -= m_bytes - bytes;
        m_bytes = bytes;
    }
    void release()
    {
        if (m_load)
            m_load->bytesBeingSent -= m_bytes;
        m_load = nullptr;
        m_bytes = 0;
    }

private:
    Load *m_load = nullptr;
    std::size_t m_bytes = 0;
};

} // namespace wmts
