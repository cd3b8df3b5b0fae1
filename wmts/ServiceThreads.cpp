#include "ServiceThreads.h"

#include <exception>
#include <system_error>

namespace wmts
{

ServiceThreads::Busy::Busy(ServiceThreads &threads)
    : m_threads(threads)
{
    if (++m_threads.m_busy >= m_threads.m_count)
        m_threads.add();
}

ServiceThreads::Busy::~Busy()
{
    --m_threads.m_busy;
}

void ServiceThreads::start()
{
    while (m_count < kMinThreads && add()) { }
    if (m_count == 0)
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

void ServiceThreads::join()
{
    // Moved out of the lock: a busy thread may still wait for it to add another one.
    std::vector<std::thread> threads;
    while (true) {
        {
            const std::lock_guard lock(m_mutex);
            threads.swap(m_threads);
        }
        if (threads.empty())
            return;
        for (std::thread &thread : threads)
            thread.join();
        threads.clear();
    }
}

/** @return false if there are kMaxThreads already, or the system gives no more */
bool ServiceThreads::add()
{
    const std::lock_guard lock(m_mutex);
    if (m_count >= kMaxThreads)
        return false;
    try {
        m_threads.emplace_back([this] { run(); });
    } catch (const std::exception &) {
        return false;
    }
    ++m_count;
    return true;
}

void ServiceThreads::run()
{
    while (!m_context.stopped()) {
        try {
            m_context.run();
        } catch (const std::exception &) {
            // Out of memory: the connection that threw is lost, the others go on.
        }
    }
}

} // namespace wmts
