#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <httplib.h>
#include <mutex>
#include <thread>
#include <vector>

namespace wmts
{

/**
 * Threads that serve one connection each, started as connections come.
 *
 * A fixed handful would be held by as many slow readers. Beyond kMostThreads connections wait for their turn, which
 * time limits of the others guarantee; how many wait is bounded by the file descriptors of the process.
 */
class ConnectionThreads : public httplib::TaskQueue
{
public:
    static constexpr std::size_t kMostThreads = 256;

    void enqueue(std::function<void()> task) override;
    /** Serves what waits, then ends and joins all threads. */
    void shutdown() override;

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_tasks;
    std::vector<std::thread> m_threads;
    std::size_t m_idle = 0;
    bool m_ending = false;
};

} // namespace wmts
