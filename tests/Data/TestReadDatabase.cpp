#include "DataHandler.h"
#include "DataListDia.h"
#include "Fixture.h"
#include "FrameText.h"
#include "LogFile.h"
#include "ModalAnswer.h"
#include "OrdinaryUser.h"
#include "ReadRecorder.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPushButton>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTableWidget>
#include <QTest>

namespace
{

constexpr char kDefault[] = "qt_sql_default_connection";

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/** A connection of the test's own, which writes. */
class Writer
{
public:
    explicit Writer(const QString &path)
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "writer");
        database.setDatabaseName(path);
        if (!database.open())
            qFatal("cannot write %s", qPrintable(path));
    }

    ~Writer()
    {
        QSqlDatabase::database("writer").close();
        QSqlDatabase::removeDatabase("writer");
    }

    void run(const QString &statement, const QVariantList &values = {})
    {
        QSqlQuery query(QSqlDatabase::database("writer"));
        query.prepare(statement);
        for (const QVariant &value : values)
            query.addBindValue(value);
        if (!query.exec())
            qFatal("%s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
    }

    void makeTables()
    {
        run("create table t_fly_task (id integer, name text, ctime integer)");
        run("create table t_fly_record (id integer primary key, task_id integer, frame)");
    }

    void addTask(const QVariant &id, const QVariant &name = "task", const QVariant &ctime = 1000)
    {
        run("insert into t_fly_task values (?, ?, ?)", {id, name, ctime});
    }

    void addFrame(int task, const QVariant &frame)
    {
        run("insert into t_fly_record (task_id, frame) values (?, ?)", {task, frame});
    }
};

QTableWidget *tableOf(QDialog *dialog)
{
    return dialog->findChild<QTableWidget *>("tableWidget");
}

/** An answer that ticks rows in this order and confirms. */
ModalAnswer::Answer tickAndConfirm(const QList<int> &rows)
{
    return [rows](QDialog *dialog) {
        for (const int row : rows)
            tableOf(dialog)->item(row, 3)->setCheckState(Qt::Checked);
        QTest::mouseClick(dialog->findChild<QPushButton *>("pushButton"), Qt::LeftButton);
    };
}

FrameText backup(int value)
{
    return FrameText(0x52).put(11, 2, value);
}

const QStringList kNothingSelected{"ready", "status No data is selected!"};

/** The entries without those that say in the log why a query failed, which stand at no fixed place. */
QStringList withoutQueryWarnings(const QStringList &events)
{
    QStringList result;
    for (const QString &event : events) {
        if (!event.startsWith("warning: database query failed"))
            result.append(event);
    }
    return result;
}

} // namespace

class TestReadDatabase : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void wholeReadOfADatabaseInItsOrder();
    void listShowsEveryTask();
    void idsAreCutToEightBits();
    void nothingTickedIsReportedAndTheFlowGoesOn();
    void closingTheListWithATickReadsThatTask();
    void tasksAreCountedAndReadInTickingOrder();
    void severalTasksAreOneFlight();
    void idTickedTwiceIsCountedTwiceAndReadOnce();
    void taskWithoutRecordsGivesAnEmptyFlight();
    void framesOfEveryKindAreRead_data();
    void framesOfEveryKindAreRead();
    void listIsFilledWhateverTheTaskTableHolds();
    void secondDatabaseOfARunOpensTheFirstAgain();
    void connectionStaysButIsClosed();
    void fileThatIsNoDatabaseGivesAnEmptyList_data();
    void fileThatIsNoDatabaseGivesAnEmptyList();
    void missingFileLogsThatTheConnectFailed();
    void folderNamedAsADatabaseLogsThatTheConnectFailed();
    void unreadableDatabaseGivesAnEmptyList();
    void databaseInAReadOnlyFolderIsRead();
    void writeAheadLogInAReadOnlyFolderIsRead();
    void closedWriteAheadDatabaseInAReadOnlyFolderIsLogged();
    void damagedPageEndsTheReadWithAWarning();
    void writeAheadLogIsRead();
    void lockedDatabaseGivesAnEmptyListSoon();
    void fileIsNotChangedByARead();
    void planeFilterHoldsForDatabasesToo();
};

void TestReadDatabase::cleanup()
{
    // Only the test does this; the program keeps its first connection.
    QSqlDatabase::removeDatabase(kDefault);
}

void TestReadDatabase::wholeReadOfADatabaseInItsOrder()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
        writer.addFrame(6, backup(2).text());
        writer.addFrame(5, "hello");
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next([&](QDialog *dialog) {
        QVERIFY(qobject_cast<DataListDia *>(dialog));
        QVERIFY(dialog->isModal());
        QVERIFY(!dialog->parent());
        recorder.note("dialog");
        tickAndConfirm({0})(dialog);
    });
    handler.readDataSlot(path);
    QVERIFY(answer.allAnswered());
    QCOMPARE(recorder.events(),
             (QStringList{"dialog", "ready", "info: start decode data", "status 开始解析数据", "process 1 2",
                          "process -28 2", "process -27 2", "info: error data :hello"}
              + endOfRead(2, 2, 1)));
    QVERIFY(!handler.fileOperator());
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
    QVERIFY(QFileInfo::exists(fixture.applicationPath("myPlot/data.txt")));
}

void TestReadDatabase::listShowsEveryTask()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    const QDateTime time({2023, 12, 16}, {15, 14, 20, 7});
    {
        Writer writer(path);
        // Columns are found by name, whatever their order.
        writer.run("create table t_fly_task (ctime integer, extra text, name text, id integer)");
        writer.run("insert into t_fly_task values (?, 'x', '飞行', 3)", {time.toMSecsSinceEpoch()});
        writer.run("insert into t_fly_task values (0, 'x', 'second', 1)");
    }
    DataHandler handler;
    ModalAnswer answer;
    QStringList cells;
    answer.next([&](QDialog *dialog) {
        for (int row = 0; row < tableOf(dialog)->rowCount(); ++row)
            cells << tableOf(dialog)->item(row, 0)->text() << tableOf(dialog)->item(row, 1)->text();
        cells << tableOf(dialog)->item(0, 2)->text();
    });
    handler.readDataSlot(path);
    QCOMPARE(cells, (QStringList{" 3 ", " 飞行 ", " 1 ", " second ", " 2023-12-16 15:14:20.007 "}));
}

void TestReadDatabase::idsAreCutToEightBits()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(300);
        writer.addTask(-1);
        writer.addFrame(300, backup(1).text());
        writer.addFrame(44, backup(2).text());
        writer.addFrame(255, backup(3).text());
        writer.addFrame(-1, backup(4).text());
    }
    DataHandler handler;
    ModalAnswer answer;
    QStringList ids;
    answer.next([&](QDialog *dialog) {
        ids << tableOf(dialog)->item(0, 0)->text() << tableOf(dialog)->item(1, 0)->text();
        tickAndConfirm({0, 1})(dialog);
    });
    handler.readDataSlot(path);
    QCOMPARE(ids, (QStringList{" 44 ", " 255 "}));
    // The cut ids are used in the queries too.
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{2.0, 3.0}));
    QCOMPARE(handler.total(), qint64(2));
}

void TestReadDatabase::nothingTickedIsReportedAndTheFlowGoesOn()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({}));
    handler.readDataSlot(path);
    QCOMPARE(recorder.events(), kNothingSelected + endOfRead(0, 0, 0));
    QVERIFY(!QSqlDatabase::database(kDefault, false).isOpen());
}

void TestReadDatabase::closingTheListWithATickReadsThatTask()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next([](QDialog *dialog) {
        tableOf(dialog)->item(0, 3)->setCheckState(Qt::Checked);
        dialog->close();
    });
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
}

void TestReadDatabase::tasksAreCountedAndReadInTickingOrder()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        // Without its column "frame" the last query fails and stands in the log, where its text can be seen.
        Writer writer(path);
        writer.run("create table t_fly_task (id integer, name text, ctime integer)");
        writer.run("create table t_fly_record (task_id integer)");
        for (const int id : {3, 4, 5})
            writer.addTask(id);
        for (const int id : {3, 5, 5})
            writer.run("insert into t_fly_record values (?)", {id});
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({2, 0}));
    handler.readDataSlot(path);
    const QStringList failed = recorder.events().filter("database query failed");
    QCOMPARE(failed.size(), 1);
    QVERIFY2(failed.first().contains(": select frame from t_fly_record where task_id = 5 OR task_id = 3:"),
             qPrintable(failed.first()));
    QCOMPARE(
        withoutQueryWarnings(recorder.events()),
        (QStringList{"ready", "info: start decode data", "status 开始解析数据", "process 1 3"} + endOfRead(3, 0, 0)));
}

void TestReadDatabase::severalTasksAreOneFlight()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        for (const int id : {3, 4, 5})
            writer.addTask(id);
        for (int i = 0; i < 9; ++i)
            writer.addFrame(3 + i % 3, backup(i).text());
    }
    DataHandler handler;
    const QSignalSpy spy(&handler, &DataHandler::readDataFinishedSinal);
    ModalAnswer answer;
    answer.next(tickAndConfirm({2, 0}));
    handler.readDataSlot(path);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(int(handler.frameTotal()), 6);
    QCOMPARE(handler.total(), qint64(6));
    QVector<double> sorted = backupGraph->yvalue();
    std::sort(sorted.begin(), sorted.end());
    QCOMPARE(sorted, (QVector<double>{0, 2, 3, 5, 6, 8}));
}

void TestReadDatabase::idTickedTwiceIsCountedTwiceAndReadOnce()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(44);
        writer.addTask(300);
        writer.addFrame(44, backup(1).text());
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0, 1}));
    handler.readDataSlot(path);
    QCOMPARE(handler.total(), qint64(2));
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
}

void TestReadDatabase::taskWithoutRecordsGivesAnEmptyFlight()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(
        recorder.events(),
        (QStringList{"ready", "info: start decode data", "status 开始解析数据", "process 1 0"} + endOfRead(0, 0, 0)));
}

void TestReadDatabase::framesOfEveryKindAreRead_data()
{
    QTest::addColumn<QVariant>("frame");
    QTest::addColumn<int>("errors");
    QTest::addColumn<qint64>("processed");
    const QString good = backup(1).text();
    QTest::newRow("text") << QVariant(good) << 0 << qint64(12);
    QTest::newRow("text with blanks") << QVariant(backup(1).spacedText()) << 0 << qint64(12);
    QTest::newRow("blob with the text's bytes") << QVariant(good.toUtf8()) << 0 << qint64(12);
    QTest::newRow("blob that is no text") << QVariant(QByteArray("\xAA\xEC\x01\x52\xFF\x00\x80", 7)) << 1 << qint64(0);
    QTest::newRow("NULL is an empty line") << QVariant(QVariant::String) << 1 << qint64(0);
    QTest::newRow("empty text") << QVariant(QString("")) << 1 << qint64(0);
    QTest::newRow("integer") << QVariant(123456) << 1 << qint64(3);
    QTest::newRow("real") << QVariant(1.5) << 1 << qint64(1);
}

void TestReadDatabase::framesOfEveryKindAreRead()
{
    const Fixture fixture;
    QFETCH(QVariant, frame);
    QFETCH(int, errors);
    QFETCH(qint64, processed);
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, frame);
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(int(handler.frameTotal()), 1);
    QCOMPARE(int(handler.frameError()), errors);
    QCOMPARE(handler.processed(), processed);
    QCOMPARE(backupGraph->yvalue(), errors == 0 ? QVector<double>{1.0} : QVector<double>());
}

void TestReadDatabase::listIsFilledWhateverTheTaskTableHolds()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(QVariant(QVariant::Int), QVariant(QVariant::String), QVariant(QVariant::LongLong));
        writer.addTask("no number", QByteArray("blob"), "no time");
        writer.addTask(7, 3.5, -1);
    }
    DataHandler handler;
    ModalAnswer answer;
    QStringList cells;
    answer.next([&](QDialog *dialog) {
        for (int row = 0; row < tableOf(dialog)->rowCount(); ++row)
            cells << tableOf(dialog)->item(row, 0)->text() << tableOf(dialog)->item(row, 1)->text();
    });
    handler.readDataSlot(path);
    QCOMPARE(cells, (QStringList{" 0 ", "  ", " 0 ", " blob ", " 7 ", " 3.5 "}));
}

void TestReadDatabase::secondDatabaseOfARunOpensTheFirstAgain()
{
    const Fixture fixture;
    for (const int number : {1, 2}) {
        Writer writer(fixture.path(QString("flight%1.db").arg(number)));
        writer.makeTables();
        writer.addTask(number);
        writer.addFrame(number, backup(number).text());
    }
    DataHandler first;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    first.readDataSlot(fixture.path("flight1.db"));
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));

    Fixture::renewStore();
    DataHandler second;
    QString listed;
    answer.next([&](QDialog *dialog) {
        listed = tableOf(dialog)->item(0, 0)->text();
        tickAndConfirm({0})(dialog);
    });
    second.readDataSlot(fixture.path("flight2.db"));
    QCOMPARE(listed, QStringLiteral(" 1 "));
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
}

void TestReadDatabase::connectionStaysButIsClosed()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QVERIFY(QSqlDatabase::contains(kDefault));
    const QSqlDatabase database = QSqlDatabase::database(kDefault, false);
    QVERIFY(!database.isOpen());
    QCOMPARE(database.driverName(), QStringLiteral("QSQLITE"));
    QCOMPARE(database.databaseName(), path);
    QVERIFY(database.connectOptions().contains("QSQLITE_OPEN_READONLY"));
    QVERIFY(database.connectOptions().contains("QSQLITE_BUSY_TIMEOUT=500"));
}

void TestReadDatabase::fileThatIsNoDatabaseGivesAnEmptyList_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("text") << QByteArray("hello\n").repeated(200);
    QTest::newRow("header alone") << QByteArray("SQLite format 3\0", 16);
    QTest::newRow("header and noise") << QByteArray("SQLite format 3\0", 16) + QByteArray(5000, '\x5A');
}

void TestReadDatabase::fileThatIsNoDatabaseGivesAnEmptyList()
{
    const Fixture fixture;
    QFETCH(QByteArray, bytes);
    const QString path = fixture.path("flight.db");
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    int rows = -1;
    answer.next([&](QDialog *dialog) {
        rows = tableOf(dialog)->rowCount();
        tickAndConfirm({})(dialog);
    });
    handler.readDataSlot(path);
    QVERIFY(answer.allAnswered());
    QCOMPARE(rows, 0);
    const QStringList events = recorder.events();
    // The user's question "why is the list empty" has an answer in the log.
    QVERIFY(events.first().startsWith("warning: ") || events.first().startsWith("error: "));
    QCOMPARE(withoutQueryWarnings(events), kNothingSelected + endOfRead(0, 0, 0));
    QCOMPARE(content(path), bytes);
}

void TestReadDatabase::missingFileLogsThatTheConnectFailed()
{
    const Fixture fixture;
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({}));
    handler.readDataSlot(fixture.path("missing.db"));
    QVERIFY(answer.allAnswered());
    QCOMPARE(withoutQueryWarnings(recorder.events()),
             QStringList{"error: database connect failed!"} + kNothingSelected + endOfRead(0, 0, 0));
    QVERIFY(!QFileInfo::exists(fixture.path("missing.db")));
}

void TestReadDatabase::folderNamedAsADatabaseLogsThatTheConnectFailed()
{
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("x.db")));
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({}));
    handler.readDataSlot(fixture.path("x.db"));
    QCOMPARE(withoutQueryWarnings(recorder.events()),
             QStringList{"error: database connect failed!"} + kNothingSelected + endOfRead(0, 0, 0));
}

/** An ordinary user reads the first task: 0 for its one sample of 1.0, 1 when the folder could be written to, else 2. */
static int readOnProtectedMedium(const QString &path)
{
    return asOrdinaryUser([&path] {
        if (QFile(QFileInfo(path).path() + "/probe").open(QIODevice::WriteOnly))
            return 1;
        DataHandler handler;
        ModalAnswer answer;
        answer.next(tickAndConfirm({0}));
        handler.readDataSlot(path);
        return backupGraph->yvalue() == QVector<double>{1.0} ? 0 : 2;
    });
}

void TestReadDatabase::unreadableDatabaseGivesAnEmptyList()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
    }
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letNobodyRead(path));
    QVERIFY(letOthersWrite(fixture.applicationPath("myPlot")));
    const int code = asOrdinaryUser([&] {
        DataHandler handler;
        ReadRecorder recorder(handler);
        ModalAnswer answer;
        answer.next(tickAndConfirm({}));
        handler.readDataSlot(path);
        const QStringList events = recorder.events();
        if (!answer.allAnswered())
            return 1;
        if (events.first() != "error: database connect failed!")
            return 2;
        return events.contains("status No data is selected!") && events.last() == "finished 0 0 0" ? 0 : 3;
    });
    QCOMPARE(code, 0);
}

void TestReadDatabase::databaseInAReadOnlyFolderIsRead()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("dvd")));
    const QString path = fixture.path("dvd/flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(fixture.path("dvd")));
    QVERIFY(letOthersRead(path));
    QVERIFY(letOthersWrite(fixture.applicationPath("myPlot")));
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(QDir(fixture.path("dvd")).entryList(QDir::Files), QStringList{"flight.db"});
}

/** A medium that was taken out while the recorder still wrote: its rows stand in the write-ahead log beside it. */
void TestReadDatabase::writeAheadLogInAReadOnlyFolderIsRead()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("dvd")));
    const QString path = fixture.path("dvd/flight.db");
    {
        Writer writer(fixture.path("flight.db"));
        writer.run("pragma journal_mode = wal");
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
        for (const char *side : {"", "-wal", "-shm"}) {
            QVERIFY(QFile::copy(fixture.path("flight.db") + side, path + side));
            QVERIFY(letOthersRead(path + side));
        }
    }
    QVERIFY(QFileInfo(path + "-wal").size() > 0);
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(fixture.path("dvd")));
    QVERIFY(letOthersWrite(fixture.applicationPath("myPlot")));
    const QByteArray before = content(path);
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(content(path), before);
}

/** Without its side files such a database can be read only where they can be made. */
void TestReadDatabase::closedWriteAheadDatabaseInAReadOnlyFolderIsLogged()
{
    if (!hasOrdinaryUser())
        QSKIP("needs a process and rights of its own");
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("dvd")));
    const QString path = fixture.path("dvd/flight.db");
    {
        Writer writer(path);
        writer.run("pragma journal_mode = wal");
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    QCOMPARE(QDir(fixture.path("dvd")).entryList(QDir::Files), QStringList{"flight.db"});
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(fixture.path("dvd")));
    QVERIFY(letOthersRead(path));
    QVERIFY(letOthersWrite(fixture.applicationPath("myPlot")));
    const QByteArray before = content(path);
    const int code = asOrdinaryUser([&] {
        DataHandler handler;
        ReadRecorder recorder(handler);
        ModalAnswer answer;
        int rows = -1;
        answer.next([&](QDialog *dialog) {
            rows = tableOf(dialog)->rowCount();
            tickAndConfirm({})(dialog);
        });
        handler.readDataSlot(path);
        const QStringList events = recorder.events();
        if (rows != 0)
            return 1;
        if (!events.first().startsWith("warning: ") && !events.first().startsWith("error: "))
            return 2;
        return withoutQueryWarnings(events) == kNothingSelected + endOfRead(0, 0, 0) ? 0 : 3;
    });
    QCOMPARE(code, 0);
    QCOMPARE(content(path), before);
    QCOMPARE(QDir(fixture.path("dvd")).entryList(QDir::Files), QStringList{"flight.db"});
}

void TestReadDatabase::damagedPageEndsTheReadWithAWarning()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    constexpr int kFrames = 2000;
    constexpr int kPage = 4096;
    {
        Writer writer(path);
        writer.run(QString("pragma page_size = %1").arg(kPage));
        writer.makeTables();
        writer.addTask(5);
        writer.run("begin");
        for (int i = 0; i < kFrames; ++i)
            writer.addFrame(5, backup(i).text());
        writer.run("commit");
    }
    QByteArray bytes = content(path);
    const auto pageOf = [&](int frame) { return bytes.indexOf(backup(frame).text().toUtf8()) / kPage; };
    // The page in the middle, and the first frame on it: those before it stand on whole pages.
    const int damaged = pageOf(kFrames / 2);
    int first = kFrames / 2;
    while (pageOf(first - 1) == damaged)
        --first;
    QVERIFY(first > 100 && first < kFrames / 2);
    bytes.replace(damaged * kPage, kPage, QByteArray(kPage, '\0'));
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QVector<double> expected;
    for (int i = 0; i < first; ++i)
        expected.append(i);
    QCOMPARE(backupGraph->yvalue(), expected);
    const QStringList events = recorder.events();
    QCOMPARE(events.filter("warning: database read broke off: ").size(), 1);
    QCOMPARE(events.last(), QString("finished %1 0 0").arg(first));
    QCOMPARE(content(path), bytes);
}

void TestReadDatabase::writeAheadLogIsRead()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    Writer writer(path);
    writer.run("pragma journal_mode = wal");
    writer.makeTables();
    writer.addTask(5);
    writer.addFrame(5, backup(1).text());
    // The writer is still there, so the rows stand in the write-ahead log alone.
    QVERIFY(QFileInfo(path + "-wal").size() > 0);
    const QByteArray before = content(path);
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
    QCOMPARE(content(path), before);
}

void TestReadDatabase::lockedDatabaseGivesAnEmptyListSoon()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    Writer writer(path);
    writer.makeTables();
    writer.addTask(5);
    writer.addFrame(5, backup(1).text());
    writer.run("begin exclusive");
    writer.addFrame(5, backup(2).text());
    const QByteArray before = content(path);
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    int rows = -1;
    answer.next([&](QDialog *dialog) {
        rows = tableOf(dialog)->rowCount();
        tickAndConfirm({})(dialog);
    });
    QElapsedTimer timer;
    timer.start();
    handler.readDataSlot(path);
    // Ten times the busy timeout.
    QVERIFY(timer.elapsed() < 5000);
    QCOMPARE(rows, 0);
    const QStringList events = recorder.events();
    QVERIFY(events.first().startsWith("warning: ") || events.first().startsWith("error: "));
    QVERIFY(events.contains("status No data is selected!"));
    QCOMPARE(events.last(), QStringLiteral("finished 0 0 0"));
    QCOMPARE(content(path), before);
    writer.run("commit");
}

void TestReadDatabase::fileIsNotChangedByARead()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.run("begin");
        for (int i = 0; i < 2000; ++i)
            writer.addFrame(5, backup(i).text());
        writer.run("commit");
    }
    const QByteArray before = content(path);
    const QDateTime written = QFileInfo(path).lastModified();
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue().size(), 2000);
    QVERIFY(content(path) == before);
    QCOMPARE(QFileInfo(path).lastModified(), written);
    QCOMPARE(QDir(fixture.dir()).entryList(QDir::Files), QStringList{"flight.db"});
}

void TestReadDatabase::planeFilterHoldsForDatabasesToo()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, FrameText(0x52, 3).text());
        writer.addFrame(5, FrameText(0x52, 4).text());
    }
    selectedPlaneEnabled = true;
    selectedPlaneId = 3;
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    const QStringList end = endOfRead(2, 2, 0, 1, 3);
    QCOMPARE(recorder.events().mid(recorder.events().size() - end.size()), end);
}

QTEST_MAIN(TestReadDatabase)
#include "TestReadDatabase.moc"
