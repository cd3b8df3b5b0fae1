#pragma once

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

/**
 * Writes a flight database of more than four megabytes as a process leaves it that ends in a transaction: with a
 * journal, so that readers have to work on a copy.
 *
 * @param path     of the database
 * @param livePath of a database that is made on the way
 */
inline bool writeUnfinishedDatabase(const QString &path, const QString &livePath)
{
    bool good = false;
    {
        QSqlDatabase writer = QSqlDatabase::addDatabase("QSQLITE", "unfinished");
        writer.setDatabaseName(livePath);
        good = writer.open();
        // A small page cache makes SQLite write pages to the file before the transaction ends.
        const QStringList statements{
            "create table t_fly_task (id integer, name text, ctime integer)",
            "create table t_fly_record (id integer primary key, task_id integer, frame)",
            "insert into t_fly_task values (1, 'task', 0)",
            "insert into t_fly_record (task_id, frame) with recursive n(i) as "
            "(select 1 union all select i + 1 from n limit 50000) select 1, hex(zeroblob(50)) from n",
            "pragma cache_size = 2",
            "begin",
            "update t_fly_record set frame = 'x'"};
        for (const QString &statement : statements)
            good = good && QSqlQuery(writer).exec(statement);
        for (const char *side : {"", "-journal"})
            good = good && QFile::copy(livePath + side, path + side);
        writer.close();
    }
    QSqlDatabase::removeDatabase("unfinished");
    return good;
}
