#pragma once

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>

/** Compares work with a baseline ("floor") that is timed in the same run, because machines differ and are noisy. */
namespace bench
{

/** In milliseconds, or in the unit of the row. */
struct Figures {
    double floor;
    double measured;

    double ratio() const { return measured / floor; }
};

inline constexpr int kRuns = 7;

/** Duration of one call in milliseconds. */
template <typename Work>
double milliseconds(Work &&work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

inline void nothing() { }

/**
 * Best of seven runs of the floor and of the work, alternating, so that both run under the same conditions.
 *
 * @param prepare called before each run of the work; not timed
 */
template <typename Floor, typename Work, typename Prepare = void (*)()>
Figures bestOfSeven(Floor &&floor, Work &&work, Prepare &&prepare = nothing)
{
    Figures best{milliseconds(floor), 0};
    prepare();
    best.measured = milliseconds(work);
    for (int run = 1; run < kRuns; ++run) {
        best.floor = std::min(best.floor, milliseconds(floor));
        prepare();
        best.measured = std::min(best.measured, milliseconds(work));
    }
    return best;
}

/** Prints a row of the table. @param target maximum ratio */
inline void printRow(const char *name, const Figures &figures, double target, const char *unit = "ms")
{
    std::printf("%s | %.1f %s | %.1f %s | %.2f | at most %.2f\n", name, figures.floor, unit, figures.measured, unit,
                figures.ratio(), target);
    std::fflush(stdout);
}

/** Prints a row with an absolute limit instead of a floor. */
inline void printLimit(const char *name, double measured, double limit, const char *unit = "ms")
{
    std::printf("%s | - | %.1f %s | - | at most %.1f %s\n", name, measured, unit, limit, unit);
    std::fflush(stdout);
}

} // namespace bench
