#include "Terminal.h"

#include <atomic>
#include <limits>
#include <windows.h>

namespace terminal
{

namespace
{

std::atomic<bool> interrupted{false};
UINT codePageBefore = 0;

BOOL WINAPI onConsoleEvent(DWORD event)
{
    const bool again = interrupted.exchange(true);
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)
        return again ? FALSE : TRUE; // FALSE: the system's own handler ends the process
    // Windows ends the process when this returns from a closed console; the main thread ends it before.
    ::Sleep(3000);
    return TRUE;
}

} // namespace

void begin()
{
    codePageBefore = ::GetConsoleOutputCP();
    ::SetConsoleOutputCP(CP_UTF8);
    ::SetConsoleCtrlHandler(&onConsoleEvent, TRUE);
}

void end()
{
    if (codePageBefore != 0)
        ::SetConsoleOutputCP(codePageBefore);
}

bool wasInterrupted()
{
    return interrupted.load();
}

bool hasTerminal()
{
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

int maxJobs()
{
    return std::numeric_limits<int>::max(); // the number of handles has no limit of its own
}

} // namespace terminal
