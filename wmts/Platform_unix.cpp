#include "Platform.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace wmts::platform
{

namespace
{

constexpr int kEndSignals[] = {SIGTERM, SIGINT, SIGHUP};

sigset_t endSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kEndSignals)
        sigaddset(&set, signal);
    return set;
}

bool waitFor(socket_t connection, short event, std::chrono::milliseconds most)
{
    pollfd entry{connection, event, 0};
    return ::poll(&entry, 1, static_cast<int>(most.count())) > 0;
}

Transfer transfer(ssize_t count, std::size_t *moved)
{
    if (count > 0) {
        *moved = static_cast<std::size_t>(count);
        return Transfer::Done;
    }
    return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) ? Transfer::WouldWait
                                                                                    : Transfer::Ended;
}

void setFlag(socket_t socket, int level, int option)
{
    const int on = 1;
    ::setsockopt(socket, level, option, &on, sizeof on);
}

} // namespace

void begin()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF)
            static_cast<void>(::open("/dev/null", O_RDWR)); // takes the lowest free number, this one
    std::signal(SIGPIPE, SIG_IGN);
    // A starter that ignores them hands that on, and an ignored signal is not waited for either.
    for (const int signal : kEndSignals)
        std::signal(signal, SIG_DFL);
    const sigset_t set = endSignals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // A terminal on standard input is a hand that may want to press Ctrl+C.
    if (!::isatty(STDIN_FILENO))
        ::setsid();
}

void waitForEndRequest()
{
    const sigset_t set = endSignals();
    int signal = 0;
    ::sigwait(&set, &signal);
}

void requestEnd()
{
    ::kill(::getpid(), SIGTERM);
}

std::filesystem::path programFolder()
{
    std::error_code code;
    return std::filesystem::read_symlink("/proc/self/exe", code).parent_path();
}

void setListeningOptions(socket_t listener)
{
    // Without it the port would stay refused for a minute after an end. Not SO_REUSEPORT, the library's default: with
    // that a second copy would share the port with the first.
    setFlag(listener, SOL_SOCKET, SO_REUSEADDR);
}

SocketError lastSocketError()
{
    return {errno == EADDRINUSE, std::strerror(errno)};
}

void widenBacklog(socket_t listener, int length)
{
    ::listen(listener, length);
}

void setConnectionOptions(socket_t connection)
{
    ::fcntl(connection, F_SETFL, ::fcntl(connection, F_GETFL) | O_NONBLOCK);
    setFlag(connection, IPPROTO_TCP, TCP_NODELAY);
}

bool waitReadable(socket_t connection, std::chrono::milliseconds most)
{
    return waitFor(connection, POLLIN, most);
}

bool waitWritable(socket_t connection, std::chrono::milliseconds most)
{
    return waitFor(connection, POLLOUT, most);
}

Transfer receiveSome(socket_t connection, char *bytes, std::size_t size, std::size_t *moved)
{
    return transfer(::recv(connection, bytes, size, 0), moved);
}

Transfer sendSome(socket_t connection, const char *bytes, std::size_t size, std::size_t *moved)
{
    return transfer(::send(connection, bytes, size, MSG_NOSIGNAL), moved);
}

void endSending(socket_t connection)
{
    ::shutdown(connection, SHUT_WR);
}

void closeConnection(socket_t connection)
{
    ::close(connection);
}

} // namespace wmts::platform
