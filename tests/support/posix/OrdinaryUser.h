#pragma once

#include <QFile>
#include <QString>

#include <csignal>
#include <cstdio>
#include <exception>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/** Whether a test can act in a process and with rights of its own; where it cannot, all below does nothing. */
constexpr bool hasOrdinaryUser()
{
    return true;
}

/** Lets every user read a file or walk a folder, and nobody but its owner (and root) change it. */
inline bool letOthersRead(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0755) == 0;
}

/** Takes everybody's rights to read a file or walk a folder; root still may. */
inline bool letNobodyRead(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0) == 0;
}

/** Gives every user all rights. */
inline bool letOthersWrite(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0777) == 0;
}

/** Lets every user add files to a folder, and rename or remove none of another's. */
inline bool letOthersAdd(const QString &folder)
{
    return chmod(QFile::encodeName(folder).constData(), 01777) == 0;
}

/**
 * Runs a piece of a test in a child process as a user without rights, since root may read and write everything.
 *
 * @param action  a callable that gives the child's exit code, 0 to 99
 * @return that code; 100 when it threw; 128 plus the number of the signal that ended the child; -1 when it did not
 *         start. Checks of QtTest inside the action count for nothing: report by the code.
 */
template <typename Action>
int asOrdinaryUser(Action action)
{
    constexpr uid_t kNobody = 65534;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0) {
            const gid_t group = kNobody;
            if (setgroups(1, &group) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)
                _exit(101);
        }
        int code = 100;
        try {
            code = action();
        } catch (const std::exception &) {
        }
        std::fflush(nullptr);
        // Not exit(): the parent's objects are the parent's to destroy.
        _exit(code);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/** No file of this process may grow beyond that; what would is told as on a full disk. */
inline void limitFileSize(unsigned bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/** The most memory that this process ever held, in bytes. */
inline qint64 peakOfMemory()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

/**
 * Runs a piece of a test in a child process and kills it at a mark.
 *
 * @param action  a callable that takes the function which sets the mark; that function does not return
 * @return whether the mark was set and the child killed there
 */
template <typename Action>
bool killedAtMark(Action action)
{
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        action([&ends] {
            if (write(ends[1], "x", 1) == 1)
                pause();
        });
        _exit(1);
    }
    close(ends[1]);
    char mark = 0;
    const bool marked = child > 0 && read(ends[0], &mark, 1) == 1;
    close(ends[0]);
    int status = 0;
    return child > 0 && kill(child, SIGKILL) == 0 && waitpid(child, &status, 0) == child && WIFSIGNALED(status)
        && marked;
}
