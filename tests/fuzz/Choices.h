#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

/** Returns the fuzzer's bytes one by one, then zeros. */
class Choices
{
public:
    Choices(const std::uint8_t *data, std::size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    int next() { return m_at < m_size ? m_data[m_at++] : 0; }
    int below(int count) { return next() % count; }
    bool ended() const { return m_at >= m_size; }
    QByteArray bytes(int count)
    {
        QByteArray result;
        for (int i = 0; i < count && !ended(); ++i)
            result.append(static_cast<char>(next()));
        return result;
    }

    /** A number of two bytes, the high one first. */
    int word()
    {
        constexpr int kByte = 256;
        const int high = next();
        return high * kByte + next();
    }

private:
    const std::uint8_t *m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};
