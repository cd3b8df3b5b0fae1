#pragma once

#include <QFile>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

/** Whether files exist that are neither regular nor folders and wait for another process when they are opened. */
constexpr bool hasFifos()
{
    return true;
}

/**
 * A named pipe without a process at its other end.
 *
 * Opening it for reading or for writing blocks. Its thread then ends the wait at once, so that a test fails instead of
 * hanging.
 */
class Fifo
{
public:
    explicit Fifo(const QString &path)
        : m_path(QFile::encodeName(path))
        , m_valid(mkfifo(m_path.constData(), 0600) == 0)
        , m_thread([this] { release(); })
    {
        std::signal(SIGPIPE, SIG_IGN); // a writer whose wait ends writes to nobody
    }

    ~Fifo()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_one();
        m_thread.join();
        unlink(m_path.constData());
    }

    Fifo(const Fifo &) = delete;
    Fifo &operator=(const Fifo &) = delete;

    bool isValid() const { return m_valid; }
    /** Whether anybody has opened it. */
    bool wasOpened() const { return m_opened; }

private:
    void release()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::milliseconds(20), [this] { return m_done; })) {
            const int end = open(m_path.constData(), O_WRONLY | O_NONBLOCK); // fails while there is no reader
            if (end >= 0) {
                m_opened = true;
                close(end);
                continue;
            }
            const int drain = open(m_path.constData(), O_RDONLY | O_NONBLOCK);
            if (drain < 0)
                continue;
            char bytes[512];
            // Ends at once when there is no writer, and fails while there is one that has written nothing.
            if (read(drain, bytes, sizeof bytes) != 0)
                m_opened = true;
            close(drain);
        }
    }

    const QByteArray m_path;
    const bool m_valid;
    std::atomic<bool> m_opened{false};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_thread; // last: it uses the other members
};
