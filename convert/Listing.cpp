#include "Listing.h"

#include "FlightDatabase.h"
#include "LogSearch.h"
#include "Report.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonObject>
#include <QSqlDatabase>

using namespace ostravel;

namespace
{

/** A text in so many columns of a terminal, where Chinese characters are two wide. */
QString inColumns(const QString &text, int columns)
{
    constexpr ushort kFirstWide = 0x1100;
    int width = 0;
    for (const QChar character : text)
        width += character.unicode() >= kFirstWide ? 2 : 1;
    return text + QString(std::max(1, columns - width), QLatin1Char(' '));
}

void printTask(const Arguments &arguments, const QString &path, const FlightTask &task, qint64 records)
{
    const QDateTime created = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(task.createdMs));
    if (arguments.json) {
        printOut(jsonLine({{QStringLiteral("event"), QStringLiteral("task")},
                           {QStringLiteral("path"), path},
                           {QStringLiteral("task"), task.id},
                           {QStringLiteral("name"), task.name},
                           {QStringLiteral("created"), created.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"))},
                           {QStringLiteral("records"), records}}));
        return;
    }
    printOut(QStringLiteral("  task %1  %2  %3  %4 records\n")
                 .arg(task.id, 3)
                 .arg(created.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")), inColumns(task.name, 24))
                 .arg(records)
                 .toUtf8());
}

/** @return false when the database cannot be read */
bool printTasks(const Arguments &arguments, const QString &path)
{
    const QString name = QStringLiteral("listing");
    QString reason;
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        connection.setDatabaseName(path);
        connection.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=500"));
        FlightDatabase database(connection);
        SourceEnd end;
        if (!database.open()) {
            reason = database.error();
        } else {
            const QVector<FlightTask> tasks = database.tasks(&end);
            reason = end.reason;
            if (reason.isEmpty() && !arguments.json)
                printOut(path.toUtf8() + '\n');
            for (const FlightTask &task : tasks)
                printTask(arguments, path, task, database.countRecords(task.id));
        }
    }
    QSqlDatabase::removeDatabase(name);
    if (!reason.isEmpty())
        printError(QStringLiteral("The tasks of ") + path + QStringLiteral(" cannot be read: ") + reason
                   + QLatin1Char('.'));
    return reason.isEmpty();
}

void printChannel(const frame::ChannelId &channel)
{
    constexpr int kNameColumns = 30;
    constexpr int kLabelColumns = 24;
    printOut((QStringLiteral("  ") + inColumns(QLatin1String(frame::rowOfChannel(channel).name), kNameColumns)
              + inColumns(frame::labelOf(channel), kLabelColumns) + QLatin1String(frame::unitOf(channel)))
                 .trimmed()
                 .prepend(QStringLiteral("  "))
                 .toUtf8()
             + '\n');
}

void printChannels(const Arguments &arguments)
{
    for (const frame::Layout &layout : frame::kLayouts) {
        const QString code = frame::codeText(layout.code);
        const QString group = QLatin1String(frame::groupName(layout.code));
        if (!arguments.json)
            printOut(QStringLiteral("%1 @%2: %3 channels\n").arg(code, group).arg(layout.rowCount).toUtf8());
        for (int row = 0; row < layout.rowCount; ++row) {
            const frame::ChannelId channel{layout.code, row};
            const QString unit = QLatin1String(frame::unitOf(channel));
            if (!arguments.json) {
                printChannel(channel);
                continue;
            }
            printOut(jsonLine({{QStringLiteral("event"), QStringLiteral("channel")},
                               {QStringLiteral("name"), QLatin1String(frame::rowOfChannel(channel).name)},
                               {QStringLiteral("label"), frame::labelOf(channel)},
                               {QStringLiteral("unit"), unit.isEmpty() ? QJsonValue() : QJsonValue(unit)},
                               {QStringLiteral("group"), group},
                               {QStringLiteral("code"), code}}));
        }
    }
}

} // namespace

int listContents(const Arguments &arguments)
{
    const LogSearch search = findLogs(arguments.paths, {});
    bool good = true;
    for (const LogFile &log : search.logs) {
        const QFileInfo info(log.path);
        if (!info.isFile()) {
            printError(log.path + QStringLiteral(" is no file."));
            good = false;
        } else if (info.suffix() == QLatin1String("db")) {
            good = printTasks(arguments, log.path) && good;
        }
    }
    printChannels(arguments);
    return good ? status::kDone : status::kFailed;
}
