#pragma once

#include <QSqlDatabase>
#include <QStringList>
#include <memory>

class QSqlQuery;
class QTemporaryDir;

/**
 * Opens the file of a connection for one read, so that the file and the files beside it keep their bytes.
 *
 * The file is read under its own path. Two kinds of file cannot be read so, because SQLite has to write first: one
 * whose recorder was cut off in the middle of a transaction, and one with a write-ahead log where nothing can be
 * written. The first is read from a temporary copy, which SQLite repairs; the second as it lies, or from a copy if it
 * has a log.
 *
 * The connection belongs to the caller, who passes it closed. It has its database name and options back once it is
 * closed again. Use from the thread of the connection.
 */
class FlightDatabase
{
public:
    explicit FlightDatabase(const QSqlDatabase &connection);
    /** Closes. Queries of the connection must be gone. */
    ~FlightDatabase();

    FlightDatabase(const FlightDatabase &) = delete;
    FlightDatabase &operator=(const FlightDatabase &) = delete;

    /** @return false when the connection could not be opened; the log holds the reason where there is one */
    bool open();
    /** Closes the connection and removes the copy. Harmless when closed. */
    void close();
    const QSqlDatabase &connection() const { return m_connection; }

    /**
     * Runs a query on one table and logs why it gives nothing.
     *
     * Only an ordinary table is read: a view or a virtual table may give rows without an end.
     *
     * @param table in lower case, though it may be spelled otherwise in the file
     */
    void execute(QSqlQuery &query, const QString &table, const QString &text) const;

private:
    bool openFile(const QString &name, const QString &options);
    bool openCopy();
    /** Reads which tables there are. @return SQLite's primary result code, 0 for success */
    int readTables();

    QSqlDatabase m_connection;
    const QString m_path;
    const QString m_options;
    std::unique_ptr<QTemporaryDir> m_copy;
    QStringList m_tables; // ordinary ones, in lower case
    QString m_error; // why m_tables is not known
};
