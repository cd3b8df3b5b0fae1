#include "OutputSet.h"

#include "FileRename.h"

#include <QDir>
#include <QFileInfo>

using ostravel::ExportFormat;

namespace
{

constexpr char kUnfinished[] = "ostravel-unfinished-";

bool isThere(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink(); // also a link to nothing
}

QString couldNotMove(const QString &path, const QString &reason)
{
    return path + QStringLiteral(" cannot be written: ") + reason + QLatin1Char('.');
}

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

OutputSet::OutputSet(const QString &base, bool overwrite)
    : m_folder(QFileInfo(base).absolutePath())
    , m_name(QFileInfo(base).fileName())
    , m_overwrite(overwrite)
{
}

QString OutputSet::place(const ExportFormat &format) const
{
    return m_folder + QLatin1Char('/') + m_name + QLatin1String(format.suffix);
}

bool OutputSet::isKept(const ExportFormat &format) const
{
    return !m_overwrite && isThere(place(format));
}

QString OutputSet::open()
{
    if (!QDir().mkpath(m_folder))
        return couldNotMove(m_folder, QStringLiteral("the folder cannot be made"));
    m_unfinished = std::make_unique<QTemporaryDir>(m_folder + QLatin1Char('/') + QLatin1String(kUnfinished)
                                                   + QLatin1String("XXXXXX"));
    return m_unfinished->isValid() ? QString() : couldNotMove(m_folder, m_unfinished->errorString());
}

QString OutputSet::unfinished(const ExportFormat &format) const
{
    return m_unfinished->filePath(m_name + QLatin1String(format.suffix));
}

QString OutputSet::commit()
{
    for (const QString &name : entriesOf(m_unfinished->path())) {
        QString reason = moveIn(name);
        if (!reason.isEmpty())
            return reason;
    }
    return {};
}

void OutputSet::discard()
{
    for (const QString &name : entriesOf(m_unfinished->path())) {
        const QString path = m_unfinished->filePath(name);
        if (QFileInfo(path).isDir())
            QDir(path).removeRecursively();
        else
            QFile::remove(path);
    }
}

QString OutputSet::moveIn(const QString &name)
{
    const QString from = m_unfinished->filePath(name);
    const QString to = m_folder + QLatin1Char('/') + name;
    if (isThere(to) && !m_overwrite) {
        m_kept.append(to);
        return {};
    }
    // A folder of an earlier export stays, with what else is in it.
    const bool joins = QFileInfo(from).isDir() && QFileInfo(to).isDir();
    const QString reason = joins ? moveFiles(from, to) : QXlsx::renamed(from, to);
    if (!reason.isEmpty())
        return couldNotMove(to, reason);
    m_written.append(to);
    return {};
}

QString OutputSet::moveFiles(const QString &from, const QString &to)
{
    for (const QString &name : entriesOf(from)) {
        QString reason = QXlsx::renamed(from + QLatin1Char('/') + name, to + QLatin1Char('/') + name);
        if (!reason.isEmpty())
            return reason;
    }
    return {};
}

bool OutputSet::isUnfinished(const QString &path)
{
    return path.contains(QLatin1Char('/') + QLatin1String(kUnfinished));
}
