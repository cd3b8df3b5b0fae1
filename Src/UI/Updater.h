#pragma once

class QProcess;

/**
 * Starts the separate updater program, which keeps running after this object and this program end.
 *
 * Main thread only.
 */
class Updater
{
public:
    Updater() = default;
    ~Updater();
    Updater(const Updater &) = delete;
    Updater &operator=(const Updater &) = delete;

    /** Null before the first start. */
    QProcess *process() const { return m_process; }

    /** Starts the updater and waits until it runs, at most 30 s. A failure is only logged. */
    void start();

private:
    QProcess *m_process = nullptr;
};
