#include "DemoDatabase.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QTemporaryFile>
#include <filesystem>

namespace demo
{

namespace
{

/** The name of a new, empty file beside path, or nothing and the reason. */
QString unfinishedBeside(const QString &path, QString *reason)
{
    // On Windows the file stays open as long as the object lives, and an open file cannot be renamed.
    QTemporaryFile file(path + QStringLiteral(".XXXXXX"));
    if (!file.open()) {
        *reason = file.errorString();
        return {};
    }
    file.setAutoRemove(false);
    return file.fileName();
}

bool fillFile(const QString &path, const FillDatabase &fill, QString *reason)
{
    const QString name = QStringLiteral("ostravel_demo");
    bool good = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(path);
        good = database.open();
        if (good)
            good = fill(database, reason);
        else
            *reason = database.lastError().text();
        database.close();
    }
    QSqlDatabase::removeDatabase(name);
    return good;
}

bool putInPlace(const QString &unfinished, const QString &path, QString *reason)
{
    QFile::setPermissions(unfinished, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    // The rename of QFile does not replace a file that is there.
    std::error_code code;
    std::filesystem::rename(std::filesystem::path(unfinished.toStdU16String()),
                            std::filesystem::path(path.toStdU16String()), code);
    *reason = QString::fromStdString(code.message());
    return !code;
}

} // namespace

bool replaceDatabase(const QString &path, const FillDatabase &fill, QString *error)
{
    QString reason;
    const QString unfinished = unfinishedBeside(path, &reason);
    if (!unfinished.isEmpty()) {
        if (fillFile(unfinished, fill, &reason) && putInPlace(unfinished, path, &reason))
            return true;
        QFile::remove(unfinished);
    }
    if (error)
        *error = QStringLiteral("cannot write %1: %2").arg(path, reason);
    return false;
}

} // namespace demo
