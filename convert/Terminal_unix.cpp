#include "Terminal.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <sys/resource.h>
#include <unistd.h>

namespace terminal
{

namespace
{

using Action = struct sigaction; // which is a function as well

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free); // a signal handler may take no lock

void onSignal(int)
{
    interrupted.store(true);
}

} // namespace

void begin()
{
    // Whoever reads the report may stop; the outputs are complete all the same.
    std::signal(SIGPIPE, SIG_IGN);
    Action action{};
    action.sa_handler = &onSignal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Action old{};
        ::sigaction(signal, nullptr, &old);
        // nohup, and a shell for its background jobs, let a process ignore them.
        if (old.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

void end() { }

bool wasInterrupted()
{
    return interrupted.load();
}

bool hasTerminal()
{
    const char *const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && (kind == nullptr || std::strcmp(kind, "dumb") != 0);
}

int maxJobs()
{
    // A job opens its thread's event queue, a log or a database with its side files, and an output. The toolkit aborts
    // the process when a thread gets no event queue.
    constexpr rlim_t kOfProcess = 12;
    constexpr rlim_t kOfJob = 6;
    constexpr rlim_t kMost = 1 << 16;
    rlimit files{kMost, kMost};
    ::getrlimit(RLIMIT_NOFILE, &files);
    const rlim_t most = std::min(files.rlim_cur, kMost);
    return most < kOfProcess + kOfJob ? 1 : static_cast<int>((most - kOfProcess) / kOfJob);
}

} // namespace terminal
