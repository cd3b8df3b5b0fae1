#pragma once

#include <cstdint>

namespace demo
{

/**
 * Random numbers that depend on the seed alone, on every platform (SplitMix64). The distributions of the standard
 * library may differ between platforms.
 */
class DemoRandom
{
public:
    explicit DemoRandom(std::uint64_t seed)
        : m_state(seed)
    {
    }

    std::uint64_t bits()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t z = m_state;
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }

    /** Uniformly distributed in [low, high). */
    double uniform(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(bits() >> 11U) * 0x1p-53);
    }

    /** From 0 to bound - 1. */
    int below(int bound) { return static_cast<int>(bits() % static_cast<std::uint64_t>(bound)); }

    /** Nearly normal with mean 0: the sum of four uniform numbers, at most 3.5 standard deviations. */
    double bell(double deviation)
    {
        const std::uint64_t word = bits();
        double sum = 0.0;
        for (unsigned part = 0; part < 4; ++part)
            sum += static_cast<double>(word >> (16U * part) & 0xFFFFU) / 65536.0;
        return (sum - 2.0) * 1.7320508075688772 * deviation;
    }

private:
    std::uint64_t m_state;
};

} // namespace demo
