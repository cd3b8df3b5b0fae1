#include "DataHandler.h"
#include "DemoFlight.h"
#include "Fixture.h"
#include "FrameText.h"
#include "ModalAnswer.h"
#include "ReadFlight.h"

#include <QApplication>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTableWidget>
#include <QTest>

#include <cstring>

using ostravel::Flight;
using ostravel::ReadOptions;

namespace
{

bool sameBits(const QVector<double> &a, const QVector<double> &b)
{
    return a.size() == b.size()
        && std::memcmp(a.constData(), b.constData(), std::size_t(a.size()) * sizeof(double)) == 0;
}

/** Compares a flight with the program's store after its last read. */
void compareWithStore(const Flight &flight, const DataHandler &handler)
{
    int compared = 0;
    int samples = 0;
    for (const ChannelGroup &group : channelGroups()) {
        for (int row = 0; row < group.count; ++row) {
            const MyGraph *const graph = group.channels[row];
            QVERIFY2(sameBits(graph->yvalue(), flight.samples(group.code, row)), qPrintable(graph->graphName()));
            samples += graph->yvalue().size();
            ++compared;
        }
    }
    QCOMPARE(compared, 143);
    QVERIFY(samples > 0);
    QCOMPARE(flight.startTime(), startDateTime);
    QVERIFY(flight.origin().latitude == originLat && flight.origin().longitude == originLng);
    QVERIFY(flight.origin().scale == longitudeScale);
    QVERIFY(flight.track().x == trackX && flight.track().y == trackY && flight.track().z == trackZ);
    QVERIFY(flight.attackTrack().x == attackTrackX && flight.attackTrack().y == attackTrackY
            && flight.attackTrack().z == attackTrackZ);
    QCOMPARE(quint16(flight.counts().lines), handler.frameTotal());
    QCOMPARE(quint16(flight.counts().badHeaders), handler.frameError());
    if (selectedPlaneEnabled)
        QCOMPARE(quint16(flight.counts().accepted()), handler.frameSelectedId());
}

Flight readInCore(const QString &path, const ReadOptions &options)
{
    auto result = ostravel::readFlight(path, options);
    if (const auto *const error = std::get_if<ostravel::ReadError>(&result))
        qFatal("%s", qPrintable(error->message));
    return std::get<Flight>(std::move(result));
}

} // namespace

/** Tests that the program and the core read the same flight from a file. */
class TestSameFlight : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void textLogGivesTheSameFlight_data();
    void textLogGivesTheSameFlight();
    void databaseGivesTheSameFlight_data();
    void databaseGivesTheSameFlight();
    void damagedDatabaseGivesTheSameFlight();
};

void TestSameFlight::cleanup()
{
    // The program never removes its first connection; each test needs a new one.
    QSqlDatabase::removeDatabase("qt_sql_default_connection");
}

void TestSameFlight::textLogGivesTheSameFlight_data()
{
    QTest::addColumn<int>("minutes");
    QTest::addColumn<bool>("damaged");
    QTest::addColumn<bool>("filter");
    QTest::addColumn<QByteArray>("lineEnd");
    QTest::newRow("twenty minutes") << 20 << false << false << QByteArray("\n");
    QTest::newRow("Windows line breaks") << 2 << false << false << QByteArray("\r\n");
    QTest::newRow("with the plane filter") << 2 << false << true << QByteArray("\n");
    QTest::newRow("damaged") << 20 << true << false << QByteArray("\n");
    QTest::newRow("damaged, with the plane filter") << 5 << true << true << QByteArray("\n");
}

void TestSameFlight::textLogGivesTheSameFlight()
{
    QFETCH(int, minutes);
    QFETCH(bool, damaged);
    QFETCH(bool, filter);
    QFETCH(QByteArray, lineEnd);
    const Fixture fixture;
    demo::DemoOptions options;
    options.minutes = minutes;
    options.seed = quint64(minutes);
    options.backupFrames = true;
    const QByteArray log = damaged ? demo::makeDamagedLog(options) : demo::makeTextLog(options);
    const QString path = fixture.path("flight.txt");
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(log).replace("\n", lineEnd));
    }
    ReadOptions readOptions;
    if (filter) {
        selectedPlaneEnabled = true;
        selectedPlaneId = options.planeId;
        readOptions.planeId = options.planeId;
    }
    DataHandler handler;
    handler.readDataSlot(path);
    const Flight flight = readInCore(path, readOptions);
    QVERIFY(!flight.brokenOff().has_value());
    compareWithStore(flight, handler);
}

namespace
{

/** Answers the list: ticks the tasks with these ids in this order, and confirms. */
void tick(ModalAnswer &answer, const QVector<std::uint8_t> &ids)
{
    answer.next([ids](QDialog *dialog) {
        auto *const table = dialog->findChild<QTableWidget *>();
        for (const int id : ids) {
            for (int row = 0; row < table->rowCount(); ++row) {
                if (table->item(row, 0)->text().toInt() == id)
                    table->item(row, 3)->setCheckState(Qt::Checked);
            }
        }
        dialog->findChild<QPushButton *>()->click();
    });
}

} // namespace

void TestSameFlight::databaseGivesTheSameFlight_data()
{
    using Ids = QVector<std::uint8_t>;
    QTest::addColumn<Ids>("asked");
    QTest::addColumn<Ids>("ticked");
    QTest::newRow("one task") << Ids{3} << Ids{3};
    QTest::newRow("two tasks, the later first") << Ids{12, 3} << Ids{12, 3};
    QTest::newRow("all tasks") << Ids() << Ids{1, 3, 12, 44}; // 300 is truncated to 44
}

void TestSameFlight::databaseGivesTheSameFlight()
{
    QFETCH(QVector<std::uint8_t>, asked);
    QFETCH(QVector<std::uint8_t>, ticked);
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    demo::DemoOptions options;
    options.minutes = 2;
    QVERIFY(demo::writeDatabase(path, demo::demoTasks(options)));
    DataHandler handler;
    ModalAnswer answer;
    tick(answer, ticked);
    handler.readDataSlot(path);
    QVERIFY(answer.allAnswered());
    ReadOptions readOptions;
    readOptions.tasks = asked;
    compareWithStore(readInCore(path, readOptions), handler);
}

void TestSameFlight::damagedDatabaseGivesTheSameFlight()
{
    const Fixture fixture;
    const QString path = fixture.path("flight.db");
    demo::DemoOptions options;
    options.minutes = 5;
    QVERIFY(demo::writeDatabase(path, {demo::DemoTask{1, "task", 0, options}}));
    {
        // Damages a page in the middle of the records.
        constexpr int kPage = 4096;
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.seek(file.size() / kPage / 2 * kPage));
        QCOMPARE(file.write(QByteArray(kPage, '\0')), qint64(kPage));
    }
    DataHandler handler;
    ModalAnswer answer;
    tick(answer, {1});
    handler.readDataSlot(path);
    const Flight flight = readInCore(path, {});
    QVERIFY(flight.brokenOff().has_value());
    QVERIFY(flight.counts().lines > 100 && flight.counts().lines < 5 * 300 * demo::kFramesPerSample);
    compareWithStore(flight, handler);
}

QTEST_MAIN(TestSameFlight)
#include "TestSameFlight.moc"
