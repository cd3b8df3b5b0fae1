#include "Platform.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
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

} // namespace

void begin()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF)
            static_cast<void>(::open("/dev/null", O_RDWR)); // Gets the lowest free number, which is this one.
    std::signal(SIGPIPE, SIG_IGN);
    // A parent that ignores the signals passes that on, and sigwait() does not see an ignored signal.
    for (const int signal : kEndSignals)
        std::signal(signal, SIG_DFL);
    const sigset_t set = endSignals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    // With a terminal on standard input, a user started the service and may want to press Ctrl+C.
    if (!::isatty(STDIN_FILENO))
        ::setsid();
}

void waitForEndRequest()
{
    const sigset_t set = endSignals();
    int signal = 0;
    ::sigwait(&set, &signal);
}

std::filesystem::path programFolder()
{
    std::error_code code;
    return std::filesystem::read_symlink("/proc/self/exe", code).parent_path();
}

boost::system::error_code makePortExclusive(boost::asio::ip::tcp::acceptor &acceptor)
{
    // A port has one owner here anyway, unless both ask for SO_REUSEPORT. SO_REUSEADDR lets the next start of the
    // service take the port at once; without it the system keeps the port for a minute after the end.
    boost::system::error_code error;
    acceptor.set_option(boost::asio::ip::tcp::acceptor::reuse_address(true), error);
    return error;
}

} // namespace wmts::platform
