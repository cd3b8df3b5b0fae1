#include "ConnectionThreads.h"

#include <system_error>

namespace wmts
{

void ConnectionThreads::enqueue(std::function<void()> task)
{
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(std::move(task));
    if (m_idle < m_tasks.size() && m_threads.size() < kMostThreads) {
        try {
            m_threads.emplace_back([this] { run(); });
        } catch (const std::system_error &) {
            // The machine gives no more threads: those that are there will come to it.
        }
    }
    m_wake.notify_one();
}

void ConnectionThreads::shutdown()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_wake.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void ConnectionThreads::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        ++m_idle;
        m_wake.wait(lock, [this] { return m_ending || !m_tasks.empty(); });
        --m_idle;
        if (m_tasks.empty())
            return;
        const std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace wmts
