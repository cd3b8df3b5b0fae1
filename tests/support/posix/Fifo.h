#pragma once

#include <QFile>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
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
 * A named pipe that nobody writes to.
 *
 * Opening it for reading blocks. Its thread then ends the wait at once, so that a test fails instead of hanging.
 */
class Fifo
{
public:
    explicit Fifo(const QString &path)
        : m_path(QFile::encodeName(path))
        , m_valid(mkfifo(m_path.constData(), 0600) == 0)
        , m_thread([this] { releaseReaders(); })
    {
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
    /** Whether anybody has opened it for reading. */
    bool wasOpened() const { return m_opened; }

private:
    void releaseReaders()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::milliseconds(20), [this] { return m_done; })) {
            const int end = open(m_path.constData(), O_WRONLY | O_NONBLOCK); // fails while there is no reader
            if (end < 0)
                continue;
            m_opened = true;
            close(end);
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
