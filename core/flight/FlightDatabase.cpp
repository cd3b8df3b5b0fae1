#include "FlightDatabase.h"

#include "RegularFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QUrl>
#include <QVariant>
#include <algorithm>
#include <utility>

namespace ostravel
{

namespace
{

/** SQLite result codes for a file that SQLite must write to before it can read it. */
constexpr int kReadOnly = 8;
constexpr int kCannotOpen = 14;
constexpr int kPrimaryCode = 0xFF; // mask; higher bits hold the extended result code

constexpr char kReadWrite[] = "QSQLITE_BUSY_TIMEOUT=500";
constexpr char kImmutable[] = "QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=500";

constexpr char kRecordTable[] = "t_fly_record";

constexpr char kJournal[] = "-journal";
constexpr char kWriteAheadLog[] = "-wal";
constexpr char kSharedMemory[] = "-shm";

/** The URI that makes SQLite open a file as immutable. */
QString immutableName(const QString &path)
{
    // The path of a URI must start with a slash; the text between the second and third slash is the host. A Windows
    // path starts with a drive letter, so it needs one more slash.
    const QString slash = path.startsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/");
    return QStringLiteral("file://") + slash + QString::fromLatin1(QUrl::toPercentEncoding(path, "/:"))
        + QStringLiteral("?immutable=1");
}

} // namespace

FlightDatabase::FlightDatabase(const QSqlDatabase &connection, SourceHost host)
    : m_connection(connection)
    , m_host(std::move(host))
    , m_path(connection.databaseName())
    , m_options(connection.connectOptions())
{
}

FlightDatabase::~FlightDatabase()
{
    close();
}

bool FlightDatabase::open()
{
    // Side files lie beside the target of a symbolic link, not beside the link.
    const QString file = QFileInfo(m_path).canonicalFilePath();
    bool isRegular = QFileInfo(m_path).isFile();
    for (const char *side : {kJournal, kWriteAheadLog, kSharedMemory})
        isRegular = isRegular && !isOtherThanRegularFile(file + QLatin1String(side));
    if (!isRegular) {
        m_error = QStringLiteral("no regular file");
        return false;
    }
    if (!openFile(m_path, m_options))
        return false;
    const int result = readTables();
    if (result != kReadOnly && result != kCannotOpen)
        return true;
    const bool hasJournal = QFileInfo(file + QLatin1String(kJournal)).size() > 0;
    if (hasJournal || QFileInfo::exists(file + QLatin1String(kWriteAheadLog)))
        return openCopy();
    warn(
        QStringLiteral("database uses a write-ahead log, but nothing can be written beside it; it is read as it lies"));
    if (!openFile(immutableName(file), QLatin1String(kImmutable)))
        return false;
    readTables();
    return true;
}

void FlightDatabase::close()
{
    m_connection.close();
    m_connection.setDatabaseName(m_path);
    m_connection.setConnectOptions(m_options);
    m_copy.reset();
}

void FlightDatabase::warn(const QString &line) const
{
    if (m_host.warning)
        m_host.warning(line);
}

bool FlightDatabase::execute(QSqlQuery &query, const QString &table, const QString &text)
{
    if (!m_tables.contains(table)) {
        m_queryError = m_error.isEmpty() ? QStringLiteral("no ordinary table ") + table : m_error;
    } else {
        query.setForwardOnly(true);
        m_queryError = query.exec(text) ? QString() : query.lastError().text();
    }
    if (m_queryError.isEmpty())
        return true;
    // Concatenated, because the texts may contain place markers.
    warn(QStringLiteral("database query failed: ") + text + QStringLiteral(": ") + m_queryError);
    return false;
}

SourceEnd FlightDatabase::endOf(const QSqlQuery &query, const QString &what, qint64 rows)
{
    SourceEnd end;
    end.done = rows;
    end.total = rows;
    if (!m_queryError.isEmpty())
        end.reason = m_queryError;
    // next() also returns false at a damaged page; only lastError() distinguishes it from the end of the rows.
    if (!query.isActive() || !query.lastError().isValid())
        return end;
    end.reason = query.lastError().text();
    warn(QStringLiteral("database read broke off: %1 ").arg(rows) + what + QStringLiteral(" were read: ") + end.reason);
    return end;
}

bool FlightDatabase::hasRecords() const
{
    return m_tables.contains(QLatin1String(kRecordTable));
}

QVector<FlightTask> FlightDatabase::tasks(SourceEnd *end)
{
    QSqlQuery query(m_connection);
    execute(query, QStringLiteral("t_fly_task"), QStringLiteral("select * from t_fly_task;"));
    QVector<FlightTask> tasks;
    while (query.next()) {
        tasks.append({static_cast<std::uint8_t>(query.value(QStringLiteral("id")).toUInt()),
                      query.value(QStringLiteral("name")).toString(),
                      query.value(QStringLiteral("ctime")).toULongLong()});
    }
    const SourceEnd ended = endOf(query, QStringLiteral("tasks"), tasks.size());
    if (end)
        *end = ended;
    return tasks;
}

qint64 FlightDatabase::countRecords(std::uint8_t task)
{
    QSqlQuery query(m_connection);
    execute(query, QLatin1String(kRecordTable),
            QStringLiteral("select count(*) from t_fly_record where task_id = %1;").arg(task));
    return query.next() ? query.value(0).toUInt() : 0;
}

bool FlightDatabase::selectFrames(QSqlQuery &query, const QVector<std::uint8_t> &tasks)
{
    QString condition;
    for (const std::uint8_t task : tasks) {
        condition += condition.isEmpty() ? QString() : QStringLiteral(" OR ");
        condition += QStringLiteral("task_id = %1").arg(task);
    }
    return execute(query, QLatin1String(kRecordTable),
                   QStringLiteral("select frame from t_fly_record where ") + condition);
}

bool FlightDatabase::openFile(const QString &name, const QString &options)
{
    m_connection.close();
    m_connection.setDatabaseName(name);
    m_connection.setConnectOptions(options);
    const bool opened = m_connection.open();
    m_error = m_connection.lastError().text();
    return opened;
}

bool FlightDatabase::openCopy()
{
    const QString file = QFileInfo(m_path).canonicalFilePath();
    QStringList sides{QString()};
    qint64 bytes = 0;
    for (const char *side : {kJournal, kWriteAheadLog}) {
        if (QFileInfo::exists(file + QLatin1String(side)))
            sides.append(QLatin1String(side));
    }
    for (const QString &side : qAsConst(sides))
        bytes += QFileInfo(file + side).size();

    m_connection.close();
    m_cancelled = false;
    m_copy = std::make_unique<QTemporaryDir>();
    QString reason = m_copy->isValid() ? QString() : m_copy->errorString();
    if (reason.isEmpty()) {
        const qint64 room = QStorageInfo(m_copy->path()).bytesAvailable();
        if (room >= 0 && room < bytes)
            reason = QStringLiteral("%1 bytes are free").arg(room);
    }
    const QString copy = m_copy->filePath(QStringLiteral("flight.db"));
    if (reason.isEmpty())
        warn(QStringLiteral("database was left in the middle of its work, %1 bytes are copied to %2")
                 .arg(bytes)
                 .arg(copy));
    for (const QString &side : qAsConst(sides)) {
        if (reason.isEmpty())
            reason = copyFile(file + side, copy + side);
    }
    if (!reason.isEmpty()) {
        m_error = reason;
        if (m_host.error && !m_cancelled) {
            m_host.error(QStringLiteral("database of %1 bytes cannot be copied to %2: %3")
                             .arg(QString::number(bytes), QDir::tempPath(), reason));
        }
        return false;
    }
    if (!openFile(copy, QLatin1String(kReadWrite)))
        return false;
    readTables();
    return true;
}

QString FlightDatabase::copyFile(const QString &from, const QString &to)
{
    constexpr qint64 kBlockBytes = 1 << 20;
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly))
        return source.errorString();
    if (!target.open(QIODevice::WriteOnly))
        return target.errorString();
    // Only its current size, even if it grows meanwhile.
    for (qint64 left = source.size(); left > 0;) {
        const QByteArray block = source.read(std::min(left, kBlockBytes));
        if (block.isEmpty())
            return source.error() != QFileDevice::NoError ? source.errorString() : QStringLiteral("it became shorter");
        // When the disk fills up within a block, Qt writes a part of it and reports no error.
        if (target.write(block) != block.size() || !target.flush())
            return target.error() != QFileDevice::NoError ? target.errorString() : QStringLiteral("no room is left");
        left -= block.size();
        m_cancelled = m_host.idle && !m_host.idle();
        if (m_cancelled)
            return QStringLiteral("cancelled");
    }
    return {};
}

int FlightDatabase::readTables()
{
    m_tables.clear();
    m_error.clear();
    QSqlQuery query(m_connection);
    query.setForwardOnly(true);
    // Checks the stored statement too: for a virtual table it always begins with "CREATE VIRTUAL TABLE", even if a
    // forged file has the type 'table'.
    query.exec(
        QStringLiteral("select lower(name) from sqlite_master where type = 'table' and sql like 'create table%'"));
    while (query.next())
        m_tables.append(query.value(0).toString());
    if (!query.lastError().isValid())
        return 0;
    m_error = query.lastError().text();
    return query.lastError().nativeErrorCode().toInt() & kPrimaryCode;
}

} // namespace ostravel
