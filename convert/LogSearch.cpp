#include "LogSearch.h"

#include "FrameRows.h"
#include "OutputSet.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <algorithm>
#include <utility>

namespace
{

bool isLogName(const QFileInfo &info)
{
    return info.suffix() == QLatin1String("txt") || info.suffix() == QLatin1String("db");
}

/** A file of a text export, as the program and this one write them. */
bool isOfTextExport(const QFileInfo &info)
{
    const auto &layouts = ostravel::frame::kLayouts;
    return info.absoluteDir().dirName().endsWith(QLatin1String("-export"))
        && std::any_of(layouts.begin(), layouts.end(), [&info](const ostravel::frame::Layout &layout) {
               return info.completeBaseName() == QLatin1String(layout.name);
           });
}

QStringList logsBelow(const QString &folder)
{
    QStringList paths;
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QFileInfo info = files.fileInfo();
        if (isLogName(info) && !isOfTextExport(info) && !OutputSet::isUnfinished(path))
            paths.append(path);
    }
    paths.sort();
    return paths;
}

/** Gathers logs, each file once. */
class Gathering
{
public:
    explicit Gathering(QString outputFolder)
        : m_outputFolder(std::move(outputFolder))
    {
    }

    /** @param below the folder of the user in which it was found; empty for a file of the user's own */
    void add(const QString &path, const QString &below)
    {
        const QFileInfo info(path);
        const QString file = info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
        if (m_files.contains(file))
            return;
        m_files.insert(file);
        QString folder = m_outputFolder.isEmpty() ? info.absolutePath() : QDir(m_outputFolder).absolutePath();
        if (!m_outputFolder.isEmpty() && !below.isEmpty())
            folder
                += QLatin1Char('/') + QDir(QFileInfo(below).absoluteFilePath()).relativeFilePath(info.absolutePath());
        folder = QDir::cleanPath(folder);
        m_logs.append({path, folder + QLatin1Char('/') + info.completeBaseName(), info.exists() ? info.size() : 0,
                       !below.isEmpty()});
    }

    /** @param clash takes the first two whose outputs would have one name */
    QVector<LogFile> take(QString *clash)
    {
        QHash<QString, int> uses;
        for (const LogFile &log : qAsConst(m_logs))
            ++uses[log.outputBase];
        QHash<QString, QString> owners;
        for (LogFile &log : m_logs) {
            const QFileInfo info(log.path);
            if (uses[log.outputBase] > 1 && !info.suffix().isEmpty())
                log.outputBase += QLatin1Char('.') + info.suffix();
            if (owners.contains(log.outputBase) && clash->isEmpty())
                *clash = owners[log.outputBase] + QStringLiteral(" and ") + log.path;
            owners[log.outputBase] = log.path;
        }
        return m_logs;
    }

private:
    QString m_outputFolder;
    QSet<QString> m_files;
    QVector<LogFile> m_logs;
};

} // namespace

LogSearch findLogs(const QStringList &paths, const QString &outputFolder)
{
    LogSearch search;
    Gathering gathering(outputFolder);
    for (const QString &argument : paths) {
        if (!QFileInfo(argument).isDir()) {
            gathering.add(argument, {});
            continue;
        }
        const QStringList found = logsBelow(argument);
        for (const QString &log : found)
            gathering.add(log, argument);
        if (found.isEmpty())
            search.emptyFolders.append(argument);
    }
    search.logs = gathering.take(&search.clash);
    return search;
}
