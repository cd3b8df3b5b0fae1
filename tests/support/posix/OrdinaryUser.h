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

/** Whether a test can run code in a child process as another user. */
constexpr bool hasOrdinaryUser()
{
    return true;
}

/** Lets every user read a file or folder. Only its owner and root can change it. */
inline bool letOthersRead(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0755) == 0;
}

/** Removes all permissions of a file or folder. Only root can still read it. */
inline bool letNobodyRead(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0) == 0;
}

/** Gives every user all permissions. */
inline bool letOthersWrite(const QString &path)
{
    return chmod(QFile::encodeName(path).constData(), 0777) == 0;
}

/** Lets every user add files to a folder, but not rename or remove the files of other users. */
inline bool letOthersAdd(const QString &folder)
{
    return chmod(QFile::encodeName(folder).constData(), 01777) == 0;
}

/**
 * Runs a callable in a child process as an unprivileged user, because root can read and write everything.
 *
 * @param action  returns the child's exit code, 0 to 99
 * @return the exit code; 100 if the action threw; 101 if the user could not be changed; 128 plus the signal number
 *         if a signal ended the child; -1 if the child did not start. QtTest checks inside the action have no effect
 *         on the test.
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
        // Not exit(), which would run the destructors of the parent's static objects.
        _exit(code);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/** Limits the size of files of this process. Writing more fails like on a full disk. */
inline void limitFileSize(unsigned bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

/** Peak memory use of this process in bytes. */
inline qint64 peakOfMemory()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

/**
 * Runs a callable in a child process and kills the process when the callable reaches a mark.
 *
 * @param action  takes a function that sets the mark; the function does not return
 * @return whether the child reached the mark and was killed there
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
