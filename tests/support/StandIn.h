#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

/** Shell code: waits until the test creates the file "go" in the folder, at most 30 seconds. */
constexpr char kUntilGo[] = "n=0; while [ ! -e $here/go ] && [ $n -lt 600 ]; do sleep 0.05; n=$((n + 1)); done";

/**
 * A folder of fake external programs, put first in PATH. The programs are shell scripts; $here is the folder. The
 * destructor restores PATH and kills processes that still run from the folder.
 */
class StandIn
{
public:
    enum class Path { First, Only };

    explicit StandIn(Path path = Path::First)
        : m_before(qgetenv("PATH"))
    {
        const QByteArray own = QFile::encodeName(m_dir.path());
        qputenv("PATH", path == Path::Only ? own : own + ':' + m_before);
    }

    ~StandIn()
    {
        qputenv("PATH", m_before);
        for (const int id : processes())
            ::kill(id, SIGKILL);
    }

    StandIn(const StandIn &) = delete;
    StandIn &operator=(const StandIn &) = delete;

    QString path(const QString &name) const { return m_dir.filePath(name); }

    void program(const QString &name, const QByteArray &script)
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("no stand-in");
        file.write("#!/bin/sh\nPATH=/usr/bin:/bin\nhere=" + QFile::encodeName(m_dir.path()) + "\n" + script + "\n");
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /** Content of a file in the folder; empty if the file does not exist. */
    QByteArray text(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QStringList files(const QString &pattern) const { return QDir(m_dir.path()).entryList({pattern}, QDir::Files); }

    /** Ids of the processes, except this one, whose command line contains the folder's path. */
    QList<int> processes() const { return processesNaming(m_dir.path()); }

    /** Ids of the processes, except this one, whose command line contains the text. */
    static QList<int> processesNaming(const QString &text)
    {
        QList<int> result;
        for (const QString &id : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            QFile file(QStringLiteral("/proc/%1/cmdline").arg(id));
            if (id.toInt() > 0 && id.toInt() != QCoreApplication::applicationPid() && file.open(QIODevice::ReadOnly)
                && file.readAll().contains(QFile::encodeName(text)))
                result.append(id.toInt());
        }
        return result;
    }

private:
    QTemporaryDir m_dir;
    QByteArray m_before;
};

/** Number of threads of this process. */
inline int threadCount()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}
