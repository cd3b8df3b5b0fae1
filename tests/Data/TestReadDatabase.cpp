#include "DataHandler.h"
#include "DataListDia.h"
#include "Fifo.h"
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

/** A separate connection for writing. */
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

    /** Whether SQLite was built with this compile option. */
    bool has(const QString &option)
    {
        QSqlQuery query(QSqlDatabase::database("writer"));
        return query.exec(QStringLiteral("select sqlite_compileoption_used('%1')").arg(option)) && query.next()
            && query.value(0).toInt() == 1;
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

/** Sets the folder for temporary files during a test. */
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const QString &path)
    {
        for (const char *name : {"TMPDIR", "TMP"}) {
            m_before.append(qgetenv(name));
            qputenv(name, QFile::encodeName(QDir::toNativeSeparators(path)));
        }
    }

    ~TemporaryFolder()
    {
        for (const char *name : {"TMP", "TMPDIR"}) {
            const QByteArray value = m_before.takeLast();
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }

    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

private:
    QList<QByteArray> m_before;
};

QTableWidget *tableOf(QDialog *dialog)
{
    return dialog->findChild<QTableWidget *>("tableWidget");
}

/** An answer that ticks the rows in this order and confirms. */
ModalAnswer::Answer tickAndConfirm(const QList<int> &rows)
{
    return [rows](QDialog *dialog) {
        for (const int row : rows) {
            // The row is missing if the database was not read; the test then fails.
            if (QTableWidgetItem *const tick = tableOf(dialog)->item(row, 3))
                tick->setCheckState(Qt::Checked);
        }
        QTest::mouseClick(dialog->findChild<QPushButton *>("pushButton"), Qt::LeftButton);
    };
}

FrameText backup(int value)
{
    return FrameText(0x52).put(11, 2, value);
}

const QStringList kNothingSelected{"ready", "status No data is selected!"};

/** Removes the log entries of failed queries, whose positions are not fixed. */
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
    void readOfADatabaseHasTheExpectedSteps();
    void listShowsEveryTask();
    void idsAreTruncatedToEightBits();
    void emptySelectionIsReportedAndTheReadContinues();
    void closingTheListWithATickReadsThatTask();
    void tasksAreCountedAndReadInTickingOrder();
    void severalTasksAreOneFlight();
    void duplicateIdIsCountedTwiceAndReadOnce();
    void taskWithoutRecordsGivesAnEmptyFlight();
    void seriesAreExtendedAfterTheLastRecord();
    void countsAreAddedToTheTotalAndCountersStartAtZero();
    void framesOfEverySqlTypeAreRead_data();
    void framesOfEverySqlTypeAreRead();
    void listShowsTasksWithUnusualValues();
    void secondReadOpensTheFirstDatabaseAgain();
    void connectionRemainsButIsClosed();
    void invalidDatabaseFileGivesAnEmptyList_data();
    void invalidDatabaseFileGivesAnEmptyList();
    void missingFileLogsThatTheConnectFailed();
    void folderNamedAsADatabaseLogsThatTheConnectFailed();
    void unreadableDatabaseGivesAnEmptyList();
    void databaseInAReadOnlyFolderIsRead();
    void writeAheadLogInAReadOnlyFolderIsRead();
    void closedWriteAheadDatabaseInAReadOnlyFolderIsRead_data();
    void closedWriteAheadDatabaseInAReadOnlyFolderIsRead();
    void writeAheadLogWithoutItsIndexInAReadOnlyFolderIsRead();
    void onlyOrdinaryTablesAreAccepted_data();
    void onlyOrdinaryTablesAreAccepted();
    void tableIsFoundWithAnySpellingOfItsName_data();
    void tableIsFoundWithAnySpellingOfItsName();
    void pipeIsNotOpened_data();
    void pipeIsNotOpened();
    void linkedDatabaseIsRead();
    void unfinishedTransactionIsSkippedAndTheFilesAreUnchanged_data();
    void unfinishedTransactionIsSkippedAndTheFilesAreUnchanged();
    void unfinishedDatabaseCanBeReadRepeatedly();
    void failedCopyLogsThatTheConnectFailed();
    void damagedPageEndsTheReadWithAWarning();
    void writeAheadLogIsRead();
    void lockedDatabaseGivesAnEmptyListWithoutALongWait();
    void readDoesNotChangeTheFile();
    void planeFilterAppliesToDatabases();
};

void TestReadDatabase::cleanup()
{
    // The program never removes its first connection; each test needs a new one.
    QSqlDatabase::removeDatabase(kDefault);
}

void TestReadDatabase::readOfADatabaseHasTheExpectedSteps()
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
        // Columns are found by name, in any order.
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

void TestReadDatabase::idsAreTruncatedToEightBits()
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
    // The queries also use the truncated ids.
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{2.0, 3.0}));
    QCOMPARE(handler.total(), qint64(2));
}

void TestReadDatabase::emptySelectionIsReportedAndTheReadContinues()
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
        // The column "frame" is missing, so the last query fails and its text is logged.
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

void TestReadDatabase::duplicateIdIsCountedTwiceAndReadOnce()
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

void TestReadDatabase::seriesAreExtendedAfterTheLastRecord()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        for (int i = 0; i < 3; ++i)
            writer.addFrame(5, FrameText(0x03).text());
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    // The second and the third frame each add a sample to the status group. evenTail() adds one to each shorter group.
    QCOMPARE(attitudeGraphs[0]->yvalue().size(), 3);
    QCOMPARE(controlStatusGraphs[0]->yvalue().size(), 3);
    QCOMPARE(equipmentGraphs[0]->yvalue().size(), 1);
    QCOMPARE(sensorGraphs[0]->yvalue().size(), 1);
    QCOMPARE(targetGraphs[0]->yvalue().size(), 1);
}

void TestReadDatabase::countsAreAddedToTheTotalAndCountersStartAtZero()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, FrameText(0x52, 1).text());
        writer.addFrame(5, "x");
    }
    DataHandler handler;
    selectedPlaneEnabled = true;
    selectedPlaneId = 1;
    for (int i = 0; i < 5; ++i) {
        handler.decodeLine(FrameText(0x52, 1).text());
        handler.decodeLine("x");
    }
    handler.setTotal(100);
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(handler.total(), qint64(102));
    QCOMPARE(handler.processed(), qint64(12));
    QCOMPARE(recorder.events(),
             (QStringList{"ready", "info: start decode data", "status 开始解析数据", "process 1 102", "process -28 102",
                          "process -28 102", "info: error data :x"}
              + endOfRead(102, 2, 1, 1, 1)));
}

void TestReadDatabase::framesOfEverySqlTypeAreRead_data()
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

void TestReadDatabase::framesOfEverySqlTypeAreRead()
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

void TestReadDatabase::listShowsTasksWithUnusualValues()
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

void TestReadDatabase::secondReadOpensTheFirstDatabaseAgain()
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

void TestReadDatabase::connectionRemainsButIsClosed()
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

void TestReadDatabase::invalidDatabaseFileGivesAnEmptyList_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("text") << QByteArray("hello\n").repeated(200);
    QTest::newRow("header alone") << QByteArray("SQLite format 3\0", 16);
    QTest::newRow("header and noise") << QByteArray("SQLite format 3\0", 16) + QByteArray(5000, '\x5A');
}

void TestReadDatabase::invalidDatabaseFileGivesAnEmptyList()
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
    // The log says why the list is empty.
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

/** Reads the first task as an ordinary user. Returns 0 if it has one sample of 1.0, 1 if the folder is writable, else
 *  2. */
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
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.addTask(5);
    }
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letNobodyRead(path));
    QVERIFY(fixture.letOthersWriteTracks());
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
        QSKIP("needs fork() and POSIX permissions");
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
    QVERIFY(fixture.letOthersWriteTracks());
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(QDir(fixture.path("dvd")).entryList(QDir::Files), QStringList{"flight.db"});
}

/** A medium that was removed while the recorder was writing: its rows are only in the write-ahead log. */
void TestReadDatabase::writeAheadLogInAReadOnlyFolderIsRead()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
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
    QVERIFY(fixture.letOthersWriteTracks());
    const QByteArray before = content(path);
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(content(path), before);
}

void TestReadDatabase::closedWriteAheadDatabaseInAReadOnlyFolderIsRead_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("plain name") << "dvd";
    QTest::newRow("name with characters of an address") << "d v?d#1%41&=飞行";
}

/** SQLite cannot create side files here, but a closed database needs none. */
void TestReadDatabase::closedWriteAheadDatabaseInAReadOnlyFolderIsRead()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    QFETCH(QString, folder);
    const QString medium = fixture.path(folder);
    QVERIFY(QDir().mkdir(medium));
    const QString path = medium + "/flight.db";
    {
        Writer writer(path);
        writer.run("pragma journal_mode = wal");
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    QCOMPARE(QDir(medium).entryList(QDir::Files), QStringList{"flight.db"});
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(medium));
    QVERIFY(letOthersRead(path));
    QVERIFY(fixture.letOthersWriteTracks());
    const QByteArray before = content(path);
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(content(path), before);
    QCOMPARE(QDir(medium).entryList(QDir::Files), QStringList{"flight.db"});
}

/** Copies of a medium often lack the index of the write-ahead log; SQLite must rebuild it. */
void TestReadDatabase::writeAheadLogWithoutItsIndexInAReadOnlyFolderIsRead()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("dvd")));
    QVERIFY(QDir().mkdir(fixture.path("tmp")));
    const QString path = fixture.path("dvd/flight.db");
    {
        Writer writer(fixture.path("flight.db"));
        writer.run("pragma journal_mode = wal");
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
        for (const char *side : {"", "-wal"}) {
            QVERIFY(QFile::copy(fixture.path("flight.db") + side, path + side));
            QVERIFY(letOthersRead(path + side));
        }
    }
    const QByteArray log = content(path + "-wal");
    QVERIFY(!log.isEmpty());
    QVERIFY(letOthersRead(fixture.dir()));
    QVERIFY(letOthersRead(fixture.path("dvd")));
    QVERIFY(letOthersWrite(fixture.path("tmp")));
    QVERIFY(fixture.letOthersWriteTracks());
    const TemporaryFolder temporary(fixture.path("tmp"));
    const QByteArray before = content(path);
    QCOMPARE(readOnProtectedMedium(path), 0);
    QCOMPARE(content(path), before);
    QCOMPARE(content(path + "-wal"), log);
    QCOMPARE(QDir(fixture.path("dvd")).entryList(QDir::Files), (QStringList{"flight.db", "flight.db-wal"}));
    QVERIFY(QDir(fixture.path("tmp")).isEmpty());
}

void TestReadDatabase::onlyOrdinaryTablesAreAccepted_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QStringList>("statements");
    // An endless query; the limit ends a failing test.
    const QString rows = QStringLiteral("with recursive n(i) as (select 1 union all select i + 1 from n limit 20000) ");
    const QString tasks = rows + QStringLiteral("select i as id, 'task' as name, 0 as ctime from n");
    const QString records = rows + QStringLiteral("select i as id, 5 as task_id, 'AAEC' as frame from n");
    for (const QString &table : {QStringLiteral("t_fly_task"), QStringLiteral("t_fly_record")}) {
        const QString view
            = QStringLiteral("CREATE VIEW %1 AS ").arg(table) + (table == "t_fly_task" ? tasks : records);
        const QByteArray name = table.toLatin1();
        QTest::newRow(name + ": view over an endless query") << table << QStringList{view};
        QTest::newRow(name + ": virtual table")
            << table
            << QStringList{
                   QStringLiteral("create virtual table %1 using fts4(id, name, ctime, task_id, frame)").arg(table),
                   QStringLiteral("insert into %1 values ('5', 'task', '0', '5', 'AAEC')").arg(table)};
        QTest::newRow(name + ": virtual table that is entered as one with pages")
            << table
            << QStringList{
                   QStringLiteral("create virtual table %1 using fts4(id, name, ctime, task_id, frame)").arg(table),
                   QStringLiteral("insert into %1 values ('5', 'task', '0', '5', 'AAEC')").arg(table),
                   "pragma writable_schema = on",
                   QStringLiteral("update sqlite_master set rootpage = 2 where name = '%1'").arg(table)};
    }
}

void TestReadDatabase::onlyOrdinaryTablesAreAccepted()
{
    const Fixture fixture;
    QFETCH(QString, table);
    QFETCH(QStringList, statements);
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        if (statements.first().startsWith("create virtual") && !writer.has("ENABLE_FTS3"))
            QSKIP("needs a module for virtual tables");
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
        writer.run("drop table " + table);
        for (const QString &statement : qAsConst(statements))
            writer.run(statement);
    }
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    int rows = -1;
    answer.next([&](QDialog *dialog) {
        rows = tableOf(dialog)->rowCount();
        tickAndConfirm(rows == 1 ? QList<int>{0} : QList<int>())(dialog);
    });
    handler.readDataSlot(path);
    QVERIFY(answer.allAnswered());
    const QStringList events = recorder.events();
    if (table == "t_fly_task") {
        QCOMPARE(rows, 0);
        QCOMPARE(events.first(),
                 QString("warning: database query failed: select * from t_fly_task;: "
                         "no ordinary table t_fly_task"));
        QCOMPARE(withoutQueryWarnings(events), kNothingSelected + endOfRead(0, 0, 0));
    } else {
        QCOMPARE(rows, 1);
        QVERIFY(events.contains("warning: database query failed: select frame from t_fly_record where task_id = 5: "
                                "no ordinary table t_fly_record"));
        QCOMPARE(withoutQueryWarnings(events),
                 (QStringList{"ready", "info: start decode data", "status 开始解析数据", "process 1 0"}
                  + endOfRead(0, 0, 0)));
    }
}

void TestReadDatabase::tableIsFoundWithAnySpellingOfItsName_data()
{
    QTest::addColumn<QString>("task");
    QTest::newRow("upper case") << "create table T_FLY_TASK(id, name, ctime)";
    QTest::newRow("quotes") << "create table \"t_fly_task\"(id, name, ctime)";
    QTest::newRow("apostrophes") << "create table 't_fly_task' (id, name, ctime)";
    QTest::newRow("brackets") << "create table [t_fly_task](id, name, ctime)";
    QTest::newRow("grave accents") << "create table `t_fly_task`(id, name, ctime)";
    QTest::newRow("with its schema") << "create table if not exists main.t_fly_task(id, name, ctime)";
    QTest::newRow("line ends") << "create table\n  t_fly_task\n(id, name, ctime)";
    QTest::newRow("comments") << "create table /* a */ t_fly_task/* b */(id, name, ctime)";
    QTest::newRow("comment to the line's end") << "create table t_fly_task-- tasks\n(id, name, ctime)";
    QTest::newRow("without row ids") << "create table t_fly_task(id primary key, name, ctime) without rowid";
    QTest::newRow("made of a query") << "create table t_fly_task as select 0 as id, '' as name, 0 as ctime limit 0";
    QTest::newRow("computed column") << "create table t_fly_task(id, name, c, ctime as (c * 2) stored)";
}

void TestReadDatabase::tableIsFoundWithAnySpellingOfItsName()
{
    const Fixture fixture;
    QFETCH(QString, task);
    const QString path = fixture.path("flight.db");
    {
        Writer writer(path);
        writer.makeTables();
        writer.run("drop table t_fly_task");
        writer.run(task);
        writer.run("insert into t_fly_task values (5, 'task', 1000)");
        writer.addFrame(5, backup(1).text());
    }
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
}

void TestReadDatabase::pipeIsNotOpened_data()
{
    QTest::addColumn<QString>("pipe");
    QTest::addColumn<bool>("linked");
    QTest::newRow("itself") << "flight.db" << false;
    QTest::newRow("behind a link") << "pipe" << true;
    QTest::newRow("as the journal of a database") << "flight.db-journal" << false;
    QTest::newRow("as the write-ahead log of a database") << "flight.db-wal" << false;
}

void TestReadDatabase::pipeIsNotOpened()
{
    if (!hasFifos())
        QSKIP("needs a file that blocks its reader");
    const Fixture fixture;
    QFETCH(QString, pipe);
    QFETCH(bool, linked);
    const QString path = fixture.path("flight.db");
    if (pipe.startsWith("flight.db-")) {
        Writer writer(path);
        writer.run(pipe.endsWith("wal") ? "pragma journal_mode = wal" : "pragma journal_mode = delete");
        writer.makeTables();
        writer.addTask(5);
    }
    const Fifo fifo(fixture.path(pipe));
    QVERIFY(fifo.isValid());
    if (linked)
        QVERIFY(QFile::link(fixture.path(pipe), path));
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    answer.next(tickAndConfirm({}));
    handler.readDataSlot(path);
    QVERIFY(!fifo.wasOpened());
    QVERIFY(answer.allAnswered());
    QCOMPARE(withoutQueryWarnings(recorder.events()),
             QStringList{"error: database connect failed!"} + kNothingSelected + endOfRead(0, 0, 0));
}

void TestReadDatabase::linkedDatabaseIsRead()
{
    if (!hasFifos())
        QSKIP("QFile::link() creates a shortcut, which needs another name");
    const Fixture fixture;
    {
        Writer writer(fixture.path("original.db"));
        writer.makeTables();
        writer.addTask(5);
        writer.addFrame(5, backup(1).text());
    }
    QVERIFY(QFile::link(fixture.path("original.db"), fixture.path("flight.db")));
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(fixture.path("flight.db"));
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
}

/**
 * Writes the files of a recorder that lost power: three committed frames, and a journal to roll back the unfinished
 * transaction.
 */
static void writeUnfinished(const QString &path, const QString &workFolder)
{
    QVERIFY(QDir().mkpath(workFolder));
    const QString live = workFolder + "/live.db";
    Writer writer(live);
    writer.makeTables();
    writer.addTask(5);
    for (const int value : {1, 2, 3})
        writer.addFrame(5, backup(value).text());
    // A small page cache makes SQLite write pages to the file before the transaction ends.
    writer.run("pragma cache_size = 2");
    writer.run("begin");
    writer.run("update t_fly_record set frame = ?", {backup(9).text()});
    writer.run("insert into t_fly_record (task_id, frame) with recursive n(i) as "
               "(select 1 union all select i + 1 from n limit 2000) select 5, ? from n",
               {backup(8).text()});
    for (const char *side : {"", "-journal"})
        QVERIFY(QFile::copy(live + side, path + side));
    writer.run("rollback");
    QVERIFY(content(path).contains(backup(8).text().toUtf8()));
    QVERIFY(content(path + "-journal").contains(backup(3).text().toUtf8()));
}

void TestReadDatabase::unfinishedTransactionIsSkippedAndTheFilesAreUnchanged_data()
{
    QTest::addColumn<bool>("linked");
    QTest::addColumn<bool>("writable");
    QTest::newRow("in its place") << false << true;
    QTest::newRow("files without the right to write") << false << false;
    if (hasFifos()) // on other platforms a link is a shortcut file
        QTest::newRow("behind a link") << true << true;
}

void TestReadDatabase::unfinishedTransactionIsSkippedAndTheFilesAreUnchanged()
{
    const Fixture fixture;
    QFETCH(bool, linked);
    QFETCH(bool, writable);
    const QString path = fixture.path("flights/flight.db");
    const QString file = linked ? fixture.path("flights/original.db") : path;
    QVERIFY(QDir().mkdir(fixture.path("flights")));
    QVERIFY(QDir().mkdir(fixture.path("tmp")));
    writeUnfinished(file, fixture.path("work"));
    const QStringList sides{"", "-journal"};
    QList<QByteArray> before;
    for (const QString &side : sides) {
        before.append(content(file + side));
        if (!writable)
            QVERIFY(QFile::setPermissions(file + side, QFileDevice::ReadOwner));
    }
    if (linked)
        QVERIFY(QFile::link(file, path));
    const QStringList names = QDir(fixture.path("flights")).entryList(QDir::Files);

    const TemporaryFolder temporary(fixture.path("tmp"));
    DataHandler handler;
    ReadRecorder recorder(handler);
    ModalAnswer answer;
    QStringList copies;
    answer.next([&](QDialog *dialog) {
        copies = QDir(fixture.path("tmp")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        tickAndConfirm({0})(dialog);
    });
    handler.readDataSlot(path);
    QVERIFY(answer.allAnswered());
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1, 2, 3}));
    QCOMPARE(handler.total(), qint64(3));
    QVERIFY(
        recorder.events().first().startsWith(QString("warning: database was left in the middle of its work, %1 bytes")
                                                 .arg(before[0].size() + before[1].size())));
    QCOMPARE(copies.size(), 1);
    QVERIFY(QDir(fixture.path("tmp")).isEmpty());
    for (int i = 0; i < sides.size(); ++i)
        QCOMPARE(content(file + sides[i]), before[i]);
    QCOMPARE(QDir(fixture.path("flights")).entryList(QDir::Files), names);
    QCOMPARE(QSqlDatabase::database(kDefault, false).databaseName(), path);
    for (const QString &side : sides) // so that the fixture can remove them on every platform
        QVERIFY(QFile::setPermissions(file + side, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
}

void TestReadDatabase::unfinishedDatabaseCanBeReadRepeatedly()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    writeUnfinished(path, fixture.path("work"));
    for (int time = 0; time < 2; ++time) {
        Fixture::renewStore();
        DataHandler handler;
        ModalAnswer answer;
        answer.next(tickAndConfirm({0}));
        handler.readDataSlot(path);
        QCOMPARE(backupGraph->yvalue(), (QVector<double>{1, 2, 3}));
    }
    // The restarted recorder rolls back the transaction.
    {
        Writer writer(path);
        writer.addFrame(5, backup(4).text());
    }
    Fixture::renewStore();
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1, 2, 3, 4}));
}

/**
 * Reads an unfinished database as an ordinary user, with the given folder for temporary files.
 *
 * @return 0 if the log contains the copy error with this reason and the read ends like for a database that cannot be
 *         opened
 */
static int readWithoutCopy(const QString &path, const QString &temporaryFolder, const QString &reason, unsigned room)
{
    const TemporaryFolder temporary(temporaryFolder);
    return asOrdinaryUser([&] {
        limitFileSize(room);
        DataHandler handler;
        ReadRecorder recorder(handler);
        ModalAnswer answer;
        answer.next(tickAndConfirm({}));
        handler.readDataSlot(path);
        const QStringList events = withoutQueryWarnings(recorder.events());
        const QString line = events.filter("error: database of ").value(0);
        if (!line.contains("cannot be copied to " + temporaryFolder) || !line.endsWith(reason))
            return 1;
        const QStringList end = QStringList{"error: database connect failed!"} + kNothingSelected + endOfRead(0, 0, 0);
        return events.mid(events.size() - end.size()) == end ? 0 : 2;
    });
}

void TestReadDatabase::failedCopyLogsThatTheConnectFailed()
{
    if (!hasOrdinaryUser())
        QSKIP("needs fork() and POSIX permissions");
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    writeUnfinished(path, fixture.path("work"));
    QVERIFY(QDir().mkdir(fixture.path("tmp")));
    QVERIFY(QDir().mkdir(fixture.path("full")));
    for (const QString &name : {fixture.dir(), path, path + "-journal", fixture.path("tmp")})
        QVERIFY(letOthersRead(name));
    QVERIFY(letOthersWrite(fixture.path("full")));
    QVERIFY(fixture.letOthersWriteTracks());
    constexpr unsigned kEnough = 1U << 30U;
    QCOMPARE(readWithoutCopy(path, fixture.path("tmp"), "Permission denied", kEnough), 0);
    QCOMPARE(readWithoutCopy(path, fixture.path("full"), "no room is left", 64 * 1024), 0);
    QVERIFY(QDir(fixture.path("full")).isEmpty());
    // The sparse part needs no disk space here, but a copy would need it.
    if (!QFile::resize(path, qint64(1) << 43))
        QSKIP("needs a file system for large files with holes");
    QCOMPARE(readWithoutCopy(path, fixture.path("full"), "bytes are free", kEnough), 0);
    QVERIFY(QDir(fixture.path("full")).isEmpty());
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
    // The page in the middle, and its first frame. The frames before it are on intact pages.
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
    QCOMPARE(events.filter(QString("warning: database read broke off: %1 records were read: ").arg(first)).size(), 1);
    // The count query also reads the damaged page.
    QCOMPARE(events.filter("warning: database query failed: select count(*) ").size(), 1);
    QVERIFY(events.contains("process 1 0"));
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
    // The writer is still open, so the rows are only in the write-ahead log.
    QVERIFY(QFileInfo(path + "-wal").size() > 0);
    const QByteArray before = content(path);
    DataHandler handler;
    ModalAnswer answer;
    answer.next(tickAndConfirm({0}));
    handler.readDataSlot(path);
    QCOMPARE(backupGraph->yvalue(), (QVector<double>{1.0}));
    QCOMPARE(content(path), before);
}

void TestReadDatabase::lockedDatabaseGivesAnEmptyListWithoutALongWait()
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

void TestReadDatabase::readDoesNotChangeTheFile()
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

void TestReadDatabase::planeFilterAppliesToDatabases()
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
