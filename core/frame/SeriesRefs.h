#pragma once

#include "FrameRows.h"

#include <QVector>
#include <array>
#include <cstddef>
#include <cstdint>

namespace ostravel
{

/** The samples of one channel, in the channel's unit. Implicitly shared. */
using Series = QVector<double>;

/** One series for each of the 143 rows, in the order of frame::kLayouts and its tables. */
using SeriesArray = std::array<Series, static_cast<std::size_t>(frame::rowCount())>;

/**
 * References to the series of all channels. A decoder appends to them; derivations read and write them.
 *
 * Does not own the series, which must outlive it. This lets one decoder fill both the program's channels and those of a
 * Flight in place. Not locked: one thread at a time may use the series.
 */
class SeriesRefs
{
public:
    /** Refers to nothing; set() all series before use. */
    SeriesRefs() = default;
    /** Refers to the series of an array. */
    explicit SeriesRefs(SeriesArray &all)
    {
        for (std::size_t i = 0; i < all.size(); ++i)
            m_series[i] = &all[i];
    }

    /** @param code one of frame::kLayouts, @param row from 0; neither is checked */
    void set(std::uint8_t code, int row, Series &series) { m_series[indexOf(code, row)] = &series; }
    /** The series of a row. @param code one of frame::kLayouts, @param row from 0; neither is checked */
    Series &at(std::uint8_t code, int row) const { return *m_series[indexOf(code, row)]; }

    /** The series of a code, in the order of its rows. */
    template <std::uint8_t Code>
    Series *const *group() const
    {
        constexpr int kFirst = frame::firstRowOf(Code);
        return m_series.data() + kFirst;
    }
    /** Length of the first series of a code; taken as the length of the group. */
    template <std::uint8_t Code>
    int length() const
    {
        return (*group<Code>())->size();
    }

private:
    static std::size_t indexOf(std::uint8_t code, int row)
    {
        return static_cast<std::size_t>(frame::firstRowOf(code)) + static_cast<std::size_t>(row);
    }

    std::array<Series *, static_cast<std::size_t>(frame::rowCount())> m_series{};
};

} // namespace ostravel
