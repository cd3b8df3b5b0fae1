#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <optional>
#include <string>
#include <sys/types.h>

/**
 * GNU Octave in a separate process, which evaluates lines one at a time and answers each.
 *
 * Its windows outlive this object and the program: when its input is closed, it exits after the user has closed the
 * last window. A process that is still starting or does not react is killed. Use from one thread; start() and
 * evaluate() block it and check its interruption request.
 */
class OctaveProcess
{
public:
    OctaveProcess() = default;
    ~OctaveProcess();
    OctaveProcess(const OctaveProcess &) = delete;
    OctaveProcess &operator=(const OctaveProcess &) = delete;

    /**
     * Starts the program "octave" from PATH and waits until it answers.
     *
     * @param folder working directory, which must contain myMatlabPlot.m
     * @return false when octave is missing, fails or does not answer for a minute, or when the thread is interrupted
     */
    bool start(const QString &folder);

    /**
     * Evaluates a line and waits for the answer.
     *
     * @param line one statement, at most 4 KiB, without a line end
     * @return std::nullopt on success, otherwise the error message in UTF-8
     *
     * An interrupted thread still waits for the running plot, at most a minute in total.
     */
    std::optional<std::string> evaluate(const QByteArray &line);

private:
    enum class Phase { Starting, Plotting, Exiting };

    bool launch(const QByteArray &program, const QByteArray &folder);
    bool send(const QByteArray &line);
    /** The next answer without its mark; std::nullopt when the process has ended or the wait timed out. */
    std::optional<QByteArray> answer(Phase phase);
    static bool shouldStopWaiting(Phase phase, const QElapsedTimer &since);
    std::optional<QByteArray> takeAnswer();
    /** Reads available output. @return false when the other end of both pipes is closed */
    bool receive();
    void end();
    void closePipes();
    std::string lastErrorOutput() const;

    pid_t m_group = 0; // process group; 0 while no process runs
    int m_input = -1;
    int m_output = -1;
    int m_errors = -1;
    QByteArray m_received;
    QByteArray m_errorText;
};
