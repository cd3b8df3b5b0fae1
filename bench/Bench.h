#pragma once

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>

/** Ratios of a measured work to a floor that is timed in the same run, since machines differ and are noisy. */
namespace bench
{

/** Milliseconds, or whatever unit the row names. */
struct Figures {
    double floor;
    double measured;

    double ratio() const { return measured / floor; }
};

inline constexpr int kRuns = 7;

/** Milliseconds that one call takes. */
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
 * Best of seven for the floor and for the work, run in turn, so that both meet the same weather.
 *
 * @param prepare runs untimed before each work
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

/** A row of the table: the target is the greatest ratio allowed. */
inline void printRow(const char *name, const Figures &figures, double target, const char *unit = "ms")
{
    std::printf("%s | %.1f %s | %.1f %s | %.2f | at most %.2f\n", name, figures.floor, unit, figures.measured, unit,
                figures.ratio(), target);
    std::fflush(stdout);
}

/** A row with a plain limit instead of a floor. */
inline void printLimit(const char *name, double measured, double limit, const char *unit = "ms")
{
    std::printf("%s | - | %.1f %s | - | at most %.1f %s\n", name, measured, unit, limit, unit);
    std::fflush(stdout);
}

} // namespace bench
