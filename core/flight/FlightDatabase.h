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
    std::uint8_t id; ///< low 8 bits of the number in the file, by which records are looked up
    QString name; ///< as the file has it
    quint64 createdMs; ///< milliseconds since the epoch
};

/** What a source tells its caller while it works. Each may be empty. */
struct SourceHost {
    std::function<void(const QString &line)> warning; ///< something is repaired or left out
    std::function<void(const QString &line)> error; ///< something cannot be read
    std::function<void()> idle; ///< called now and then during a long copy
};

/**
 * Opens the file of a connection for one read, so that the file and the files beside it keep their bytes.
 *
 * The file is read under its own path. Two kinds of file cannot be read so, because SQLite has to write first: one
 * whose recorder was cut off in the middle of a transaction, and one with a write-ahead log where nothing can be
 * written. The first is read from a temporary copy, which SQLite repairs; the second as it lies, or from a copy if it
 * has a log.
 *
 * The connection belongs to the caller, who passes it closed. It has its database name and options back once it is
 * closed again. Use from the thread of the connection; databases of different connections may be read at the same time.
 * Needs an application object, for Qt's database drivers. Does not throw.
 */
class FlightDatabase
{
public:
    /** Opens nothing yet. @param host what it may call during any other function */
    explicit FlightDatabase(const QSqlDatabase &connection, SourceHost host = {});
    /** Closes. Queries of the connection must be gone. */
    ~FlightDatabase();

    FlightDatabase(const FlightDatabase &) = delete;
    FlightDatabase &operator=(const FlightDatabase &) = delete;

    /** @return false when the connection could not be opened; error() says why */
    bool open();
    /** Closes the connection and removes the copy. Harmless when closed. */
    void close();
    /** Why open() failed, or why the tables are not known; else empty. */
    const QString &error() const { return m_error; }

    /** All tasks, in the order of the file; none when there is no ordinary table of tasks. @param end may be null */
    QVector<FlightTask> tasks(SourceEnd *end = nullptr);
    /** Records of a task; 0 when they cannot be counted. */
    qint64 countRecords(std::uint8_t task);
    /**
     * Gives the frames of tasks as hexadecimal text, in the order that the database gives.
     *
     * @param tasks at least one
     * @param take called with each frame, a const QString &; returning false cancels
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
     * Runs a query on one table and warns when it gives nothing.
     *
     * Only an ordinary table is read: a view or a virtual table may give rows without an end.
     *
     * @param table in lower case, though it may be spelled otherwise in the file
     */
    bool execute(QSqlQuery &query, const QString &table, const QString &text);
    bool selectFrames(QSqlQuery &query, const QVector<std::uint8_t> &tasks);
    /** How the rows of a query ended. */
    SourceEnd endOf(const QSqlQuery &query, const QString &what, qint64 rows);
    bool openFile(const QString &name, const QString &options);
    bool openCopy();
    /** Reads which tables there are. @return SQLite's primary result code, 0 for success */
    int readTables();

    QSqlDatabase m_connection;
    SourceHost m_host;
    const QString m_path;
    const QString m_options;
    std::unique_ptr<QTemporaryDir> m_copy;
    QStringList m_tables; // ordinary ones, in lower case
    QString m_error; // why m_tables is not known
    QString m_queryError; // of the last query
};

} // namespace ostravel
