// Reads a flight database. After an even first byte, the input is the content of the file; after an odd one, it
// controls a generator of schemas and rows. A read must not crash, hang or change the file. All channels of a group
// must have the same length. For ordinary tables, the samples must match the reference decoder.

#include "Choices.h"
#include "DataHandler.h"
#include "DataListDia.h"
#include "Fixture.h"
#include "FuzzTarget.h"
#include "ModalAnswer.h"
#include "ReferenceDecoder.h"
#include "WorkbookFiles.h"

#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTableWidget>

#include <algorithm>

namespace
{

constexpr char kDefault[] = "qt_sql_default_connection";

struct Record {
    int task = 0;
    QVariant frame;
};

/** The generated data. If ordinary is false, the expected result of a read is unknown. */
struct Written {
    bool ordinary = true;
    QVector<int> tasks;
    QVector<Record> records;
};

/** Usually a valid header and a valid code, then arbitrary bytes. */
QString frameText(Choices &choices)
{
    static constexpr int kCodes[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x52, 0x53};
    QByteArray frame;
    if (choices.next() < 224)
        frame = QByteArray("\xAA\xEC\x01", 3);
    const int code = choices.next();
    frame.append(static_cast<char>(code < 240 ? kCodes[code % 8] : code));
    frame.append(choices.bytes(choices.below(12)));
    frame.append(QByteArray(choices.below(90), static_cast<char>(choices.next())));
    return QString::fromLatin1(frame.toHex());
}

QVariant frameValue(Choices &choices, bool *plain)
{
    const int kind = choices.below(16);
    *plain = kind > 3;
    switch (kind) {
    case 0:
        return choices.bytes(choices.below(20));
    case 1:
        return {};
    case 2:
        return choices.next() - 128;
    case 3:
        return QString::fromUtf8(choices.bytes(choices.below(20)));
    default:
        return frameText(choices);
    }
}

/** Variants of the two tables; the first of each is the ordinary one. */
const char *const kTaskTables[] = {
    "create table t_fly_task (id integer, name text, ctime integer)",
    "create table t_fly_task (id integer primary key, name text, ctime integer) without rowid",
    "create table t_fly_task (ctime, name, id)",
    "create table t_fly_task (id integer, name text)",
    "create table t_fly_task (id integer, name text generated always as (printf('%c', id)), ctime integer)",
    "create view t_fly_task as with recursive t(id) as (select 1 union all select id + 1 from t)"
    " select id, 'task' as name, id as ctime from t",
    "create virtual table t_fly_task using fts5(id, name, ctime)",
    "create table other (id integer)",
};
const char *const kRecordTables[] = {
    "create table t_fly_record (task_id integer, frame)",
    "create table t_fly_record (id integer primary key, task_id integer, frame text)",
    "create table t_fly_record (frame, task_id)",
    "create table t_fly_record (task_id integer)",
    "create view t_fly_record as with recursive t(task_id) as (select 1 union all select 1 from t)"
    " select task_id, 'AAEC0101' as frame from t",
    "create virtual table t_fly_record using fts5(task_id, frame)",
    "create table something (id integer)",
};

void insertRow(QSqlDatabase &database, const QString &statement, const QVariantList &values)
{
    QSqlQuery query(database);
    if (!query.prepare(statement))
        return; // the table is missing or is a view
    for (const QVariant &value : values)
        query.addBindValue(value);
    query.exec();
}

Written generate(const QString &path, Choices choices)
{
    Written written;
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("generator"));
    database.setDatabaseName(path);
    require(database.open());
    if (choices.below(4) == 0)
        QSqlQuery(database).exec(QStringLiteral("pragma journal_mode=wal"));
    const int taskTable = std::max(0, choices.next() - 240) % 8;
    const int recordTable = std::max(0, choices.next() - 240) % 7;
    written.ordinary = taskTable == 0 && recordTable < 2;
    QSqlQuery(database).exec(QString::fromLatin1(kTaskTables[taskTable]));
    QSqlQuery(database).exec(QString::fromLatin1(kRecordTables[recordTable]));
    database.transaction();
    const int tasks = choices.below(6);
    for (int i = 0; i < tasks; ++i) {
        const int id = choices.next() + (choices.below(8) == 0 ? 256 : 0);
        insertRow(database, QStringLiteral("insert into t_fly_task (id, name, ctime) values (?, ?, ?)"),
                  {id, QString::fromUtf8(choices.bytes(choices.below(8))), choices.next() * 1'000'000'000LL});
        written.tasks.append(id & 0xFF);
    }
    while (!choices.ended()) {
        Record record;
        record.task = written.tasks.isEmpty() ? choices.next() : written.tasks[choices.below(written.tasks.size())];
        bool plain = true;
        record.frame = frameValue(choices, &plain);
        written.ordinary = written.ordinary && plain;
        insertRow(database, QStringLiteral("insert into t_fly_record (task_id, frame) values (?, ?)"),
                  {record.task, record.frame});
        written.records.append(record);
    }
    database.commit();
    database.close();
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("generator"));
    return written;
}

/** Ticks every row whose bit is set. Returns the ids of these rows. */
QList<int> tick(QDialog *dialog, int bits)
{
    QList<int> ids;
    auto *const table = dialog->findChild<QTableWidget *>();
    for (int row = 0; row < table->rowCount(); ++row) {
        if (!(bits >> (row % 8) & 1))
            continue;
        table->item(row, 3)->setCheckState(Qt::Checked);
        ids.append(table->item(row, 0)->text().trimmed().toInt());
    }
    return ids;
}

void checkLengths()
{
    for (const ChannelGroup &group : channelGroups()) {
        for (int row = 0; row < group.count; ++row)
            require(std::as_const(*group.channels[row]).yvalue().size() == group.length());
    }
}

void checkSamples(const Written &written, const QList<int> &ticked)
{
    ReferenceDecoder expected;
    for (const Record &record : written.records) {
        if (ticked.contains(record.task))
            expected.decodeLine(record.frame.toString());
    }
    if (!ticked.isEmpty())
        expected.evenTail();
    expected.differences();
    expected.speedAngle();
    for (const ChannelGroup &group : channelGroups()) {
        for (int row = 0; row < group.count; ++row)
            require(std::as_const(*group.channels[row]).yvalue() == expected.channels[group.code][row]);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    if (size < 2)
        return 0;
    AppConfig::getInstance().getDataPath() = folder.filePath(QStringLiteral("data.txt"));
    AppConfig::getInstance().getAttackDataPath() = folder.filePath(QStringLiteral("data_attack.txt"));
    Fixture::resetGlobals();
    Fixture::renewStore();
    const QString path = folder.filePath(QStringLiteral("flight.db"));
    const bool generated = data[0] % 2 != 0;
    const int bits = data[1];
    Written written;
    written.ordinary = false;
    if (generated)
        written = generate(path, Choices(data + 2, size - 2));
    else
        require(writeFile(path, QByteArray(reinterpret_cast<const char *>(data + 2), static_cast<int>(size - 2))));
    const QByteArray before = fileContent(path);

    QList<int> ticked;
    {
        ModalAnswer answer;
        answer.next([&ticked, bits](QDialog *dialog) {
            ticked = tick(dialog, bits);
            dialog->findChild<QPushButton *>()->click();
        });
        DataHandler handler;
        handler.readDataSlot(path);
        require(answer.allAnswered());
    }
    QSqlDatabase::removeDatabase(QLatin1String(kDefault));

    require(fileContent(path) == before);
    checkLengths();
    if (written.ordinary)
        checkSamples(written, ticked);
    for (const char *const suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
    return 0;
}
