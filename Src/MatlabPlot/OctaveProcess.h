#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <optional>
#include <string>
#include <sys/types.h>

/**
 * GNU Octave in a process of its own, which evaluates a line at a time and answers each.
 *
 * Its windows outlive this object and the whole program: without a hand on its input it goes on until the user has
 * closed the last of them, and ends at once when there is none. One that starts or does not react is ended by force.
 * For one thread; start() and evaluate() block it and look at its request for interruption.
 */
class OctaveProcess
{
public:
    OctaveProcess() = default;
    ~OctaveProcess();
    OctaveProcess(const OctaveProcess &) = delete;
    OctaveProcess &operator=(const OctaveProcess &) = delete;

    /**
     * Starts the program "octave" of the search path and waits until it answers.
     *
     * @param folder working folder, which must hold myMatlabPlot.m
     * @return false when there is none, when it fails or is silent for a minute, or when the thread is interrupted
     */
    bool start(const QString &folder);

    /**
     * @param line one statement, at most 4 KiB, without a line end
     * @return nothing on success, else the message of the failure in UTF-8
     *
     * An interrupted thread still waits for the plot under way, until it has had a minute.
     */
    std::optional<std::string> evaluate(const QByteArray &line);

private:
    enum class Patience { Starting, Plotting, Leaving };

    bool launch(const QByteArray &program, const QByteArray &folder);
    bool send(const QByteArray &line);
    /** The next answer without its mark; nothing when the process is gone or was given up. */
    std::optional<QByteArray> answer(Patience patience);
    static bool isOver(Patience patience, const QElapsedTimer &since);
    std::optional<QByteArray> takeAnswer();
    /** Takes what has come; false when both pipes are closed at the other end. */
    bool receive();
    void end();
    void closePipes();
    std::string lastWords() const;

    pid_t m_group = 0; // 0 while nothing runs
    int m_input = -1;
    int m_output = -1;
    int m_errors = -1;
    QByteArray m_received;
    QByteArray m_errorText;
};
