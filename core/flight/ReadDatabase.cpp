#include "ReadDatabase.h"

#include <QFileInfo>
#include <QSqlDatabase>
#include <QUuid>

namespace ostravel
{

namespace
{

/** A connection of this call's own, which no other thread sees. */
class Connection
{
public:
    explicit Connection(const QString &path)
        : m_name(QUuid::createUuid().toString())
        , m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name))
    {
        m_database.setDatabaseName(path);
        m_database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=500"));
    }
    ~Connection()
    {
        m_database = QSqlDatabase(); // Qt warns of a connection that is removed while somebody holds it
        QSqlDatabase::removeDatabase(m_name);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    const QSqlDatabase &database() const { return m_database; }

private:
    QString m_name;
    QSqlDatabase m_database;
};

ReadError cannotBeOpened(const QString &path, const FlightDatabase &database)
{
    if (database.cancelled())
        return readCancelled(path);
    return readError(ReadError::Code::CannotOpen, path, QStringLiteral("cannot be opened: ") + database.error());
}

ReadError hasNoList(const QString &path, const SourceEnd &end)
{
    return readError(ReadError::Code::NotADatabase, path, QStringLiteral("has no list of tasks: ") + end.reason);
}

/** The tasks to read, each once. */
struct Choice {
    QVector<std::uint8_t> tasks;
    QString damage; ///< why tasks may be missing when all are read; empty when none is
};

/** The tasks to read, or why there are none. */
std::variant<Choice, ReadError> chosenTasks(FlightDatabase &database, const QString &path,
                                            const QVector<std::uint8_t> &wanted)
{
    SourceEnd end;
    QVector<std::uint8_t> known;
    for (const FlightTask &task : database.tasks(&end)) {
        if (!known.contains(task.id))
            known.append(task.id);
    }
    if (known.isEmpty() && !end.reason.isEmpty())
        return hasNoList(path, end);
    if (known.isEmpty())
        return readError(ReadError::Code::NoTask, path, QStringLiteral("has no task"));
    if (wanted.isEmpty())
        return Choice{known, end.reason};
    QVector<std::uint8_t> chosen;
    for (const std::uint8_t task : wanted) {
        if (!known.contains(task))
            return readError(ReadError::Code::NoTask, path, QStringLiteral("has no task %1").arg(task));
        if (!chosen.contains(task))
            chosen.append(task);
    }
    return Choice{chosen, {}};
}

ReadResult readFrames(FlightDatabase &database, const QString &path, const ReadOptions &options)
{
    const auto choice = chosenTasks(database, path, options.tasks);
    if (const auto *const error = std::get_if<ReadError>(&choice))
        return *error;
    if (!database.hasRecords())
        return readError(ReadError::Code::NotADatabase, path, QStringLiteral("has no table of records"));
    const auto &[tasks, damage] = std::get<Choice>(choice);
    qint64 total = 0;
    for (const std::uint8_t task : tasks)
        total += database.countRecords(task);

    FlightBuilder builder(options);
    builder.reserveForLog(total * frame::roundCharacters() / frame::roundFrames());
    ReadProgress progress(options);
    SourceEnd end;
    end.cancelled = !progress.tell(0, total);
    qint64 done = 0;
    if (!end.cancelled) {
        end = database.forEachFrame(tasks, [&](const QString &frame) {
            builder.add(frame);
            ++done;
            return progress.line([&done] { return done; }, total);
        });
    }
    end.total = total;
    if (end.reason.isEmpty())
        end.reason = damage;
    end.cancelled = end.cancelled || !progress.tell(end.done, total);
    return finishedFlight(builder, end, path);
}

} // namespace

ReadResult readDatabase(const QString &path, const ReadOptions &options)
{
    const Connection connection(path);
    SourceHost host;
    if (options.progress)
        host.idle = [&options] { return options.progress(0, 0); };
    FlightDatabase database(connection.database(), host);
    if (!database.open())
        return cannotBeOpened(path, database);
    return readFrames(database, path, options);
}

std::variant<QVector<FlightTask>, ReadError> readFlightTasks(const QString &path)
{
    if (QFileInfo(path).suffix() != QLatin1String("db"))
        return readError(ReadError::Code::UnknownSuffix, path, QStringLiteral("is no flight database (db)"));
    const Connection connection(path);
    FlightDatabase database(connection.database());
    if (!database.open())
        return cannotBeOpened(path, database);
    SourceEnd end;
    const QVector<FlightTask> tasks = database.tasks(&end);
    if (tasks.isEmpty() && !end.reason.isEmpty())
        return hasNoList(path, end);
    return tasks;
}

} // namespace ostravel
