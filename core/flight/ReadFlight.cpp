#include "ReadFlight.h"

#include "FlightBuilder.h"
#include "FlightDatabase.h"
#include "RegularFile.h"
#include "TextLog.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QUuid>
#include <algorithm>

namespace ostravel
{

namespace
{

using Result = std::variant<Flight, ReadError>;

ReadError errorOf(ReadError::Code code, const QString &path, const QString &what)
{
    // Joined, since a path may hold place markers of its own.
    return {code, QStringLiteral("The flight ") + path + QLatin1Char(' ') + what + QLatin1Char('.')};
}

/** Asks the caller now and then whether to go on. */
class Progress
{
public:
    explicit Progress(const ReadOptions &options)
        : m_tell(options.progress)
    {
    }

    /** Before the first line and after the last. @return false to cancel */
    bool tell(qint64 done, qint64 total) const { return !m_tell || m_tell(done, total); }

    /** After each line. @param done gives what is done; asked only when it is told */
    template <typename Done>
    bool line(const Done &done, qint64 total)
    {
        constexpr int kLinesBetween = 1000;
        if (!m_tell || ++m_lines % kLinesBetween != 0)
            return true;
        return m_tell(done(), total);
    }

private:
    const std::function<bool(qint64, qint64)> &m_tell;
    qint64 m_lines = 0;
};

/** The flight of a source that has ended. */
Result finished(FlightBuilder &builder, const SourceEnd &end, const QString &path)
{
    if (end.cancelled)
        return errorOf(ReadError::Code::Cancelled, path, QStringLiteral("was not read to its end, as was asked for"));
    if (end.reason.isEmpty())
        return builder.finish();
    return builder.finish(errorOf(ReadError::Code::BrokenOff, path,
                                  QStringLiteral("broke off at %1 of %2: ").arg(end.done).arg(end.total) + end.reason));
}

Result readTextLog(const QString &path, const ReadOptions &options)
{
    QFile file(path);
    if (isOtherThanRegularFile(path))
        return errorOf(ReadError::Code::CannotOpen, path, QStringLiteral("is no regular file"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return errorOf(ReadError::Code::CannotOpen, path, QStringLiteral("cannot be opened: ") + file.errorString());

    TextLog log(file);
    FlightBuilder builder(options);
    builder.reserveForLog(log.size());
    Progress progress(options);
    SourceEnd end;
    end.cancelled = !progress.tell(0, log.size());
    if (!end.cancelled) {
        end = log.forEachLine([&](const auto &line) {
            builder.add(line);
            return progress.line([&log] { return log.position(); }, log.size());
        });
    }
    end.cancelled = end.cancelled || !progress.tell(end.done, log.size());
    return finished(builder, end, path);
}

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
    return errorOf(ReadError::Code::CannotOpen, path, QStringLiteral("cannot be opened: ") + database.error());
}

ReadError hasNoList(const QString &path, const SourceEnd &end)
{
    return errorOf(ReadError::Code::NotADatabase, path, QStringLiteral("has no list of tasks: ") + end.reason);
}

/** The tasks to read, each once, or why there are none. */
std::variant<QVector<std::uint8_t>, ReadError> chosenTasks(FlightDatabase &database, const QString &path,
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
        return errorOf(ReadError::Code::NoTask, path, QStringLiteral("has no task"));
    if (wanted.isEmpty())
        return known;
    QVector<std::uint8_t> chosen;
    for (const std::uint8_t task : wanted) {
        if (!known.contains(task))
            return errorOf(ReadError::Code::NoTask, path, QStringLiteral("has no task %1").arg(task));
        if (!chosen.contains(task))
            chosen.append(task);
    }
    return chosen;
}

Result readFrames(FlightDatabase &database, const QString &path, const ReadOptions &options)
{
    const auto choice = chosenTasks(database, path, options.tasks);
    if (const auto *const error = std::get_if<ReadError>(&choice))
        return *error;
    const auto &tasks = std::get<QVector<std::uint8_t>>(choice);
    qint64 total = 0;
    for (const std::uint8_t task : tasks)
        total += database.countRecords(task);

    FlightBuilder builder(options);
    Progress progress(options);
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
    end.cancelled = end.cancelled || !progress.tell(end.done, total);
    return finished(builder, end, path);
}

Result readDatabase(const QString &path, const ReadOptions &options)
{
    const Connection connection(path);
    FlightDatabase database(connection.database());
    if (!database.open())
        return cannotBeOpened(path, database);
    return readFrames(database, path, options);
}

} // namespace

std::variant<Flight, ReadError> readFlight(const QString &path, const ReadOptions &options)
{
    const QString suffix = QFileInfo(path).suffix();
    if (suffix == QLatin1String("txt"))
        return readTextLog(path, options);
    if (suffix == QLatin1String("db"))
        return readDatabase(path, options);
    return errorOf(ReadError::Code::UnknownSuffix, path,
                   QStringLiteral("is neither a text log (txt) nor a flight database (db)"));
}

std::variant<QVector<FlightTask>, ReadError> readFlightTasks(const QString &path)
{
    if (QFileInfo(path).suffix() != QLatin1String("db"))
        return errorOf(ReadError::Code::UnknownSuffix, path, QStringLiteral("is no flight database (db)"));
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
