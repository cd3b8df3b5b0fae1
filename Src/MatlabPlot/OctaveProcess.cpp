#include "OctaveProcess.h"

#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

// Contents of OctaveLoop.m, embedded by the build.
extern const char kOctaveLoop[];

namespace
{

constexpr qint64 kAnswerTimeoutMs = 60000;
constexpr qint64 kExitTimeoutMs = 5000;
constexpr int kPollIntervalMs = 50; // interval of checks for an interruption request
constexpr int kMaxErrorText = 1500; // bytes of the engine's error output kept for the log
constexpr int kMaxReceived = 1 << 20;

// Start of an answer line; other output is ignored.
constexpr char kMark[] = "plot-engine:";
constexpr char kDone[] = "done";
constexpr char kFailed[] = "failed ";

constexpr char kReadyLine[] = "if exist('myMatlabPlot', 'file') ~= 2, error('myMatlabPlot.m is missing'), end";

struct Pipe {
    int read = -1;
    int write = -1;

    bool open()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0)
            return false;
        read = ends[0];
        write = ends[1];
        return true;
    }
    ~Pipe()
    {
        closeEnd(read);
        closeEnd(write);
    }
    static void closeEnd(int &end)
    {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
    static int taken(int &end)
    {
        const int result = end;
        end = -1;
        return result;
    }
};

/** Runs in the new process; uses only functions that are safe between fork and exec. Does not return. */
[[noreturn]] void becomeEngine(const char *program, char *const arguments[], const char *folder, int input, int output,
                               int errors, int report)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // An engine with open windows may still print after this program has ended.
    std::signal(SIGPIPE, SIG_IGN);
    int failure = 0;
    if (chdir(folder) != 0 || dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0
        || dup2(errors, STDERR_FILENO) < 0) {
        failure = errno;
    } else {
        // The engine must not inherit open files and pipes of the program.
        const long last = sysconf(_SC_OPEN_MAX) < 4096 ? sysconf(_SC_OPEN_MAX) : 4096;
        for (int descriptor = STDERR_FILENO + 1; descriptor < last; ++descriptor) {
            if (descriptor != report)
                ::close(descriptor);
        }
        execv(program, arguments);
        failure = errno;
    }
    // If this write fails, too, the parent assumes a successful start.
    if (::write(report, &failure, sizeof failure) < 0)
        _exit(126);
    _exit(127);
}

/**
 * Blocks SIGPIPE for this thread, so that writing to a dead engine fails with EPIPE instead of ending the program. The
 * process-wide signal handler is not changed.
 */
class SigPipeBlocker
{
public:
    SigPipeBlocker()
    {
        sigemptyset(&m_signal);
        sigaddset(&m_signal, SIGPIPE);
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_signal, &m_before);
    }
    ~SigPipeBlocker()
    {
        // Discard a SIGPIPE caused by our write; unblocking would deliver it.
        const timespec noWait{};
        while (!m_wasPending && sigtimedwait(&m_signal, nullptr, &noWait) < 0 && errno == EINTR) { }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    SigPipeBlocker(const SigPipeBlocker &) = delete;
    SigPipeBlocker &operator=(const SigPipeBlocker &) = delete;

private:
    sigset_t m_signal{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

template <typename Call>
auto retried(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

} // namespace

OctaveProcess::~OctaveProcess()
{
    if (m_group == 0)
        return;
    // At the end of its input the engine exits when its last window is closed.
    Pipe::closeEnd(m_input);
    if (answer(Phase::Exiting))
        closePipes();
    else
        end();
}

bool OctaveProcess::start(const QString &folder)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("octave"));
    if (program.isEmpty() || !launch(QFile::encodeName(program), QFile::encodeName(folder)))
        return false;
    if (send(kReadyLine) && answer(Phase::Starting) == QByteArray(kDone))
        return true;
    end();
    return false;
}

std::optional<std::string> OctaveProcess::evaluate(const QByteArray &line)
{
    if (m_group == 0)
        return "GNU Octave does not run";
    if (send(line)) {
        if (const std::optional<QByteArray> text = answer(Phase::Plotting)) {
            if (*text == kDone)
                return std::nullopt;
            return text->startsWith(kFailed) ? text->mid(static_cast<int>(sizeof kFailed) - 1).toStdString()
                                             : text->toStdString();
        }
    }
    const std::string errorOutput = lastErrorOutput();
    end();
    return "GNU Octave ended or did not answer" + (errorOutput.empty() ? errorOutput : ": " + errorOutput);
}

bool OctaveProcess::launch(const QByteArray &program, const QByteArray &folder)
{
    Pipe input;
    Pipe output;
    Pipe errors;
    Pipe report;
    if (!input.open() || !output.open() || !errors.open() || !report.open())
        return false;

    QByteArray name("octave");
    std::array<QByteArray, 6> words{"--no-gui", "--quiet", "--norc", "--no-history", "--eval", kOctaveLoop};
    std::array<char *, 8> arguments{name.data()};
    for (std::size_t i = 0; i < words.size(); ++i)
        arguments[i + 1] = words[i].data();

    // Forks twice, so that the engine is not our child and nobody has to wait for it: it may outlive this program. Its
    // own session detaches it from the program's terminal and gives it a process group that end() can kill.
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const pid_t engine = fork();
        if (engine == 0)
            becomeEngine(program.constData(), arguments.data(), folder.constData(), input.read, output.write,
                         errors.write, report.write);
        _exit(engine < 0 ? 1 : 0);
    }
    if (child < 0)
        return false;
    Pipe::closeEnd(report.write);
    int status = 0;
    retried([&] { return waitpid(child, &status, 0); });
    int failure = 0;
    const bool failed = retried([&] { return ::read(report.read, &failure, sizeof failure); }) > 0;
    if (failed || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return false;

    m_group = child;
    m_input = Pipe::taken(input.write);
    m_output = Pipe::taken(output.read);
    m_errors = Pipe::taken(errors.read);
    for (const int descriptor : {m_output, m_errors})
        fcntl(descriptor, F_SETFL, O_NONBLOCK);
    return true;
}

// NOLINTNEXTLINE(readability-make-member-function-const): changes the state of the process
bool OctaveProcess::send(const QByteArray &line)
{
    // One write() call, which is atomic for a pipe: the engine would treat a partial line as a line.
    const QByteArray bytes = line + '\n';
    const auto length = static_cast<std::size_t>(bytes.size());
    const SigPipeBlocker guard;
    return retried([&] { return ::write(m_input, bytes.constData(), length); }) == static_cast<ssize_t>(length);
}

std::optional<QByteArray> OctaveProcess::answer(Phase phase)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        const bool alive = receive();
        if (std::optional<QByteArray> text = takeAnswer())
            return text;
        if (!alive || shouldStopWaiting(phase, timer))
            return std::nullopt;
        std::array<pollfd, 2> waiting{pollfd{m_output, POLLIN, 0}, pollfd{m_errors, POLLIN, 0}};
        poll(waiting.data(), waiting.size(), kPollIntervalMs);
    }
}

bool OctaveProcess::shouldStopWaiting(Phase phase, const QElapsedTimer &since)
{
    const bool interrupted = QThread::currentThread()->isInterruptionRequested();
    switch (phase) {
    case Phase::Starting:
        return interrupted || since.hasExpired(kAnswerTimeoutMs);
    case Phase::Plotting:
        return interrupted && since.hasExpired(kAnswerTimeoutMs);
    case Phase::Exiting:
        break;
    }
    return since.hasExpired(kExitTimeoutMs);
}

std::optional<QByteArray> OctaveProcess::takeAnswer()
{
    for (int end = m_received.indexOf('\n'); end >= 0; end = m_received.indexOf('\n')) {
        const QByteArray line = m_received.left(end);
        m_received.remove(0, end + 1);
        if (line.startsWith(kMark))
            return line.mid(static_cast<int>(sizeof kMark) - 1);
    }
    if (m_received.size() > kMaxReceived)
        m_received.clear();
    return std::nullopt;
}

bool OctaveProcess::receive()
{
    bool alive = false;
    std::array<char, 65536> buffer; // NOLINT: filled by read
    const auto take = [&](int &descriptor, QByteArray &into) {
        if (descriptor < 0)
            return;
        const ssize_t count = retried([&] { return ::read(descriptor, buffer.data(), buffer.size()); });
        if (count > 0)
            into.append(buffer.data(), static_cast<int>(count));
        if (count > 0 || (count < 0 && errno == EAGAIN))
            alive = true;
        else
            Pipe::closeEnd(descriptor);
    };
    take(m_output, m_received);
    take(m_errors, m_errorText);
    m_errorText = m_errorText.right(kMaxErrorText);
    return alive;
}

void OctaveProcess::end()
{
    if (m_group != 0)
        ::kill(-m_group, SIGKILL);
    closePipes();
}

void OctaveProcess::closePipes()
{
    for (int *descriptor : {&m_input, &m_output, &m_errors})
        Pipe::closeEnd(*descriptor);
    m_group = 0;
}

std::string OctaveProcess::lastErrorOutput() const
{
    return m_errorText.simplified().toStdString();
}
