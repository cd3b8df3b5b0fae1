#pragma once

class QProcess;

/**
 * The updater, a program of its own beside this one. One that has been started outlives this object and the program.
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

    /** Starts the updater and waits for that, at most half a minute. A failure is told in the log alone. */
    void start();

private:
    QProcess *m_process = nullptr;
};
