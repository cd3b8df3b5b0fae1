#pragma once

#include <atomic>

/**
 * Tells the thread sanitizer that one thread's use of an object happens before its destruction on another thread.
 *
 * Qt already synchronises both, by its event queue and by the end of QThread. The sanitizer cannot see that, because
 * Debian's Qt is not instrumented. Suppressing its reports would also hide real races at the same places.
 */
class ThreadHandOver
{
public:
    /** Call at the end of the work on the first thread. */
    void give() noexcept { m_given.fetch_add(1, std::memory_order_release); }
    /** Call at the start of the destructor on the other thread. */
    void take() const noexcept { m_given.load(std::memory_order_acquire); }

private:
    std::atomic<unsigned> m_given{0};
};
