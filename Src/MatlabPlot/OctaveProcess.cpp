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

// The program that Octave is started with, OctaveLoop.m; the build makes a source of it.
extern const char kOctaveLoop[];

namespace
{

constexpr qint64 kMinute = 60000; // ms
constexpr qint64 kLeavePatience = 5000; // ms
constexpr int kPollStep = 50; // ms between two looks at the request for interruption
constexpr int kMaxErrorText = 1500; // bytes of the engine's last words that are worth a log line
constexpr int kMaxReceived = 1 << 20;

// Marks an answer among whatever else is printed.
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

/** What runs in the new process; only calls that are safe between fork and exec. Does not return. */
[[noreturn]] void becomeEngine(const char *program, char *const arguments[], const char *folder, int input, int output,
                               int errors, int report)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    int failure = 0;
    if (chdir(folder) != 0 || dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0
        || dup2(errors, STDERR_FILENO) < 0) {
        failure = errno;
    } else {
        // Log files and pipes of the program are none of the engine's affair.
        const long last = sysconf(_SC_OPEN_MAX) < 4096 ? sysconf(_SC_OPEN_MAX) : 4096;
        for (int descriptor = STDERR_FILENO + 1; descriptor < last; ++descriptor) {
            if (descriptor != report)
                ::close(descriptor);
        }
        execv(program, arguments);
        failure = errno;
    }
    // Nobody is left to tell when even this fails; the reader then takes the silence for a start.
    if (::write(report, &failure, sizeof failure) < 0)
        _exit(126);
    _exit(127);
}

/**
 * While it lives, writing to an engine that has died is an error like others for this thread, not the end of the
 * program. The signal's treatment belongs to the whole process and stays as it is.
 */
class BrokenPipeIsAnError
{
public:
    BrokenPipeIsAnError()
    {
        sigemptyset(&m_signal);
        sigaddset(&m_signal, SIGPIPE);
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        m_isOthers = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_signal, &m_before);
    }
    ~BrokenPipeIsAnError()
    {
        // One of ours would be delivered by the next line.
        const timespec atOnce{};
        while (!m_isOthers && sigtimedwait(&m_signal, nullptr, &atOnce) < 0 && errno == EINTR) { }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    BrokenPipeIsAnError(const BrokenPipeIsAnError &) = delete;
    BrokenPipeIsAnError &operator=(const BrokenPipeIsAnError &) = delete;

private:
    sigset_t m_signal{};
    sigset_t m_before{};
    bool m_isOthers = false;
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
    // The end of its input sends the engine to its windows, or home.
    Pipe::closeEnd(m_input);
    if (answer(Patience::Leaving))
        closePipes();
    else
        end();
}

bool OctaveProcess::start(const QString &folder)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("octave"));
    if (program.isEmpty() || !launch(QFile::encodeName(program), QFile::encodeName(folder)))
        return false;
    if (send(kReadyLine) && answer(Patience::Starting) == QByteArray(kDone))
        return true;
    end();
    return false;
}

std::optional<std::string> OctaveProcess::evaluate(const QByteArray &line)
{
    if (m_group == 0)
        return "GNU Octave does not run";
    if (send(line)) {
        if (const std::optional<QByteArray> text = answer(Patience::Plotting)) {
            if (*text == kDone)
                return std::nullopt;
            return text->startsWith(kFailed) ? text->mid(static_cast<int>(sizeof kFailed) - 1).toStdString()
                                             : text->toStdString();
        }
    }
    const std::string words = lastWords();
    end();
    return "GNU Octave ended or did not answer" + (words.empty() ? words : ": " + words);
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

    // Twice, so that the engine is nobody's child: it may outlive this thread, and nobody has to wait for its end. The
    // session of its own keeps the terminal of the program away from it and gives the group by which it is ended.
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

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the process
bool OctaveProcess::send(const QByteArray &line)
{
    // In one piece, which a pipe passes on whole: the engine would take a part of a line for a line.
    const QByteArray bytes = line + '\n';
    const auto length = static_cast<std::size_t>(bytes.size());
    const BrokenPipeIsAnError guard;
    return retried([&] { return ::write(m_input, bytes.constData(), length); }) == static_cast<ssize_t>(length);
}

std::optional<QByteArray> OctaveProcess::answer(Patience patience)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        const bool alive = receive();
        if (std::optional<QByteArray> text = takeAnswer())
            return text;
        if (!alive || isOver(patience, timer))
            return std::nullopt;
        std::array<pollfd, 2> waiting{pollfd{m_output, POLLIN, 0}, pollfd{m_errors, POLLIN, 0}};
        poll(waiting.data(), waiting.size(), kPollStep);
    }
}

bool OctaveProcess::isOver(Patience patience, const QElapsedTimer &since)
{
    const bool interrupted = QThread::currentThread()->isInterruptionRequested();
    switch (patience) {
    case Patience::Starting:
        return interrupted || since.hasExpired(kMinute);
    case Patience::Plotting:
        return interrupted && since.hasExpired(kMinute);
    case Patience::Leaving:
        break;
    }
    return since.hasExpired(kLeavePatience);
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

std::string OctaveProcess::lastWords() const
{
    return m_errorText.simplified().toStdString();
}
