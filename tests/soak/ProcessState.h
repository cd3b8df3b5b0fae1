#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QString>
#include <QStringList>

#include <cstdio>

/** What a process holds at one moment, from /proc. */
struct ProcessState {
    double residentMiB = 0;
    QStringList threads; // names, sorted
    QStringList descriptors; // targets, sorted

    static ProcessState of(qint64 process)
    {
        const QString folder = QStringLiteral("/proc/%1").arg(process);
        ProcessState state;
        state.residentMiB = megabytes(folder + QStringLiteral("/status"), "VmRSS:");
        for (const QString &task : entries(folder + QStringLiteral("/task")))
            state.threads.append(firstLine(folder + QStringLiteral("/task/%1/comm").arg(task)));
        for (const QString &number : entries(folder + QStringLiteral("/fd"))) {
            QString target = QFile::symLinkTarget(folder + QStringLiteral("/fd/") + number);
            // Numbers of sockets and pipes differ; only their kind matters.
            target.remove(folder + QStringLiteral("/fd/"));
            state.descriptors.append(target.section(QLatin1Char('['), 0, 0));
        }
        state.threads.sort();
        state.descriptors.sort();
        return state;
    }

    /**
     * Proportional memory of all descendants of a process, without mapped files: how much of a library counts depends
     * on who else uses it.
     */
    static double childrenMiB(qint64 process)
    {
        double sum = 0;
        const QString folder = QStringLiteral("/proc/%1").arg(process);
        for (const QString &task : entries(folder + QStringLiteral("/task"))) {
            for (const QString &child :
                 firstLine(folder + QStringLiteral("/task/%1/children").arg(task)).split(QLatin1Char(' '))) {
                if (child.isEmpty())
                    continue;
                const QString rollup = QStringLiteral("/proc/%1/smaps_rollup").arg(child);
                sum += megabytes(rollup, "Pss_Anon:") + megabytes(rollup, "Pss_Shmem:")
                    + childrenMiB(child.toLongLong());
            }
        }
        return sum;
    }

private:
    static QStringList entries(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    }

    static QString firstLine(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).section(QLatin1Char('\n'), 0, 0)
                                              : QString();
    }

    static double megabytes(const QString &path, const char *key)
    {
        constexpr double kKiloPerMega = 1024;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.startsWith(key))
                return line.simplified().split(' ').value(1).toDouble() / kKiloPerMega;
        }
        return 0;
    }
};

/** Names that occur more often than before, as "name: 2 -> 3". */
inline QStringList increases(const QMap<QString, int> &before, const QMap<QString, int> &now)
{
    QStringList result;
    for (auto entry = now.cbegin(); entry != now.cend(); ++entry) {
        const int earlier = before.value(entry.key());
        if (entry.value() > earlier)
            result.append(QStringLiteral("%1: %2 -> %3").arg(entry.key()).arg(earlier).arg(entry.value()));
    }
    return result;
}

inline QMap<QString, int> counted(const QStringList &names)
{
    QMap<QString, int> counts;
    for (const QString &name : names)
        ++counts[name];
    return counts;
}

/** Prints a row of the results: name | early | late | limit. */
inline void printRow(const char *name, double early, double late, const char *unit, const char *limit)
{
    std::printf("%s | %.1f %s | %.1f %s | %s\n", name, early, unit, late, unit, limit);
    std::fflush(stdout);
}

inline void printRow(const char *name, int early, int late, const char *limit)
{
    std::printf("%s | %d | %d | %s\n", name, early, late, limit);
    std::fflush(stdout);
}
