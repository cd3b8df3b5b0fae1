#pragma once

#include <atomic>

/**
 * Orders what one thread did to an object before the destruction of that object on another thread.
 *
 * Qt orders both already, by its event queue and by the end of QThread, but with locks that the thread sanitizer does
 * not see: Debian's Qt is not instrumented. Without this its reports of the two places in use would have to be
 * suppressed, and the real races there with them.
 */
class ThreadHandOver
{
public:
    /** The last thing that the one thread does. */
    void give() noexcept { m_given.fetch_add(1, std::memory_order_release); }
    /** The first thing that the destructor on the other thread does. */
    void take() const noexcept { m_given.load(std::memory_order_acquire); }

private:
    std::atomic<unsigned> m_given{0};
};
