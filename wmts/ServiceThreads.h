#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

namespace wmts
{

/**
 * The threads that run the service. Starts with a few and adds one whenever all are busy, so that requests that wait
 * for a slow map do not delay the others. A fixed large number would make every request slower.
 */
class ServiceThreads
{
public:
    static constexpr std::size_t kMinThreads = 4;
    static constexpr std::size_t kMaxThreads = 256;

    /** Marks the calling thread as busy with work that may wait for a file. Any thread of the service. */
    class Busy
    {
    public:
        explicit Busy(ServiceThreads &threads);
        ~Busy();
        Busy(const Busy &) = delete;
        Busy &operator=(const Busy &) = delete;

    private:
        ServiceThreads &m_threads;
    };

    explicit ServiceThreads(boost::asio::io_context &context)
        : m_context(context)
    {
    }

    /** Throws std::system_error if the system gives no thread at all. */
    void start();
    /** Joins all threads. The context must have been stopped. */
    void join();

private:
    bool add();
    void run();

    boost::asio::io_context &m_context;
    std::atomic<std::size_t> m_busy{0};
    std::atomic<std::size_t> m_count{0};
    std::mutex m_mutex;
    std::vector<std::thread> m_threads;
};

} // namespace wmts
