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

/** Whether the platform has named pipes in the file system. */
constexpr bool hasFifos()
{
    return true;
}

/**
 * A named pipe with no process at its other end.
 *
 * Opening it blocks. A thread of this class opens the other end soon after, so that a test fails instead of hanging.
 */
class Fifo
{
public:
    explicit Fifo(const QString &path)
        : m_path(QFile::encodeName(path))
        , m_valid(mkfifo(m_path.constData(), 0600) == 0)
        , m_thread([this] { release(); })
    {
        std::signal(SIGPIPE, SIG_IGN); // a released writer writes to a pipe without a reader
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
    /** Whether the code under test opened the pipe. */
    bool wasOpened() const { return m_opened; }

private:
    void release()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::milliseconds(20), [this] { return m_done; })) {
            const int end = open(m_path.constData(), O_WRONLY | O_NONBLOCK); // fails if there is no reader
            if (end >= 0) {
                m_opened = true;
                close(end);
                continue;
            }
            const int drain = open(m_path.constData(), O_RDONLY | O_NONBLOCK);
            if (drain < 0)
                continue;
            char bytes[512];
            // Returns 0 if there is no writer; fails if a writer has written nothing yet.
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
