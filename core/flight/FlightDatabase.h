#pragma once

#include "SourceEnd.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <cstdint>
#include <functional>
#include <memory>

class QTemporaryDir;

namespace ostravel
{

/** One flight task of a database. */
struct FlightTask {
    std::uint8_t id; ///< low 8 bits of the number in the file; records are looked up by this value
    QString name; ///< as stored in the file
    quint64 createdMs; ///< milliseconds since the epoch
};

/** Callbacks of a source while it works. Each may be empty. */
struct SourceHost {
    std::function<void(const QString &line)> warning; ///< something is repaired or skipped
    std::function<void(const QString &line)> error; ///< something cannot be read
    std::function<bool()> idle; ///< called regularly during a long copy; false cancels it
};

/**
 * Reads a flight database without changing the file or the files beside it.
 *
 * Normally the file is opened under its own path. SQLite must write before it can read two kinds of file: one with an
 * unfinished transaction (a journal), and one in write-ahead mode in a folder that is not writable. A file with a
 * journal or a write-ahead log is then read from a temporary copy, which SQLite repairs; a file without either is
 * opened as immutable.
 *
 * The connection belongs to the caller, who passes it closed. close() restores its database name and options. Use from
 * the thread of the connection; databases of different connections may be read at the same time. Needs an application
 * object, for Qt's database drivers. Does not throw.
 */
class FlightDatabase
{
public:
    /** Does not open the file. @param host callbacks; any other function may call them */
    explicit FlightDatabase(const QSqlDatabase &connection, SourceHost host = {});
    /** Calls close(). All queries of the connection must be destroyed before. */
    ~FlightDatabase();

    FlightDatabase(const FlightDatabase &) = delete;
    FlightDatabase &operator=(const FlightDatabase &) = delete;

    /** @return false when the connection could not be opened; error() says why */
    bool open();
    /** Closes the connection and removes the copy. Does nothing when closed. */
    void close();
    /** Whether open() failed because the host cancelled the copy. */
    bool cancelled() const { return m_cancelled; }
    /** Why open() failed or the list of tables could not be read; otherwise empty. */
    const QString &error() const { return m_error; }

    /** Whether the open file has the table of records. A view or virtual table of its name does not count. */
    bool hasRecords() const;
    /** All tasks, in the order of the file; empty when the task table does not exist. @param end may be null */
    QVector<FlightTask> tasks(SourceEnd *end = nullptr);
    /** Records of a task; 0 when they cannot be counted. */
    qint64 countRecords(std::uint8_t task);
    /**
     * Passes the frames of tasks to a callback as hexadecimal text, in the order of the database.
     *
     * @param tasks at least one
     * @param take callable that takes each frame as a const QString &; returning false cancels
     */
    template <typename Take>
    SourceEnd forEachFrame(const QVector<std::uint8_t> &tasks, const Take &take)
    {
        QSqlQuery query(m_connection);
        selectFrames(query, tasks);
        bool cancelled = false;
        qint64 rows = 0;
        for (; !cancelled && query.next(); ++rows)
            cancelled = !take(query.value(0).toString());
        SourceEnd end = endOf(query, QStringLiteral("records"), rows);
        end.cancelled = cancelled;
        return end;
    }

private:
    void warn(const QString &line) const;
    /**
     * Runs a query on one table and logs a warning when it fails.
     *
     * Fails for views and virtual tables, which could return rows without end.
     *
     * @param table in lower case; the file may use any case
     */
    bool execute(QSqlQuery &query, const QString &table, const QString &text);
    bool selectFrames(QSqlQuery &query, const QVector<std::uint8_t> &tasks);
    /** Whether the rows of a query ended normally or with an error, which is logged. */
    SourceEnd endOf(const QSqlQuery &query, const QString &what, qint64 rows);
    bool openFile(const QString &name, const QString &options);
    bool openCopy();
    /** Copies a file. @return an empty text, or why the copy failed */
    QString copyFile(const QString &from, const QString &to);
    /** Reads the names of the ordinary tables. @return SQLite's primary result code, 0 for success */
    int readTables();

    QSqlDatabase m_connection;
    SourceHost m_host;
    const QString m_path;
    const QString m_options;
    std::unique_ptr<QTemporaryDir> m_copy;
    bool m_cancelled = false;
    QStringList m_tables; // names of ordinary tables, in lower case
    QString m_error; // why m_tables could not be read
    QString m_queryError; // error of the last query
};

} // namespace ostravel
