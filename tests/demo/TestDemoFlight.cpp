#include "DemoFlight.h"

#include "ReferenceDecoder.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

namespace
{

constexpr int kSamplesPerMinute = 300;
constexpr double kMetresPerDegree = 111319.5; // of a great circle; good to a few parts in ten thousand here

// Bytes of a whole frame: the last byte that the field table of its code reaches.
const QMap<int, int> kFrameBytes{{0x01, 18}, {0x02, 67}, {0x03, 50}, {0x04, 78}, {0x05, 34}, {0x41, 36}};
// A frame of a code is decoded when it is longer than this.
const QMap<int, int> kGates{{0x01, 16}, {0x02, 65}, {0x03, 48}, {0x04, 77}, {0x05, 33}, {0x41, 34}};

demo::DemoOptions flightOf(int minutes, quint64 seed = 1)
{
    demo::DemoOptions options;
    options.minutes = minutes;
    options.seed = seed;
    return options;
}

QVector<QByteArray> framesOf(const demo::DemoOptions &options)
{
    QVector<QByteArray> frames;
    demo::makeFlight(options, [&frames](const QByteArray &frame) { frames.append(frame); });
    return frames;
}

int codeOf(const QByteArray &frame)
{
    return quint8(frame.at(3));
}

ReferenceDecoder decoded(const demo::DemoOptions &options)
{
    ReferenceDecoder decoder;
    demo::makeFlight(options,
                     [&decoder](const QByteArray &frame) { decoder.decodeLine(QString::fromLatin1(frame.toHex())); });
    decoder.evenTail();
    return decoder;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

double meanOf(const QVector<double> &values, int from, int to)
{
    double sum = 0.0;
    for (int i = from; i < to; ++i)
        sum += values[i];
    return sum / (to - from);
}

struct Run {
    int exitCode;
    QString output;
    QString error;
};

Run runProgram(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(DEMO_PROGRAM), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {-1, {}, process.errorString()};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class TestDemoFlight : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    void sameSeedGivesTheSameBytes()
    {
        const QByteArray log = demo::makeTextLog(flightOf(3, 42));
        QCOMPARE(demo::makeTextLog(flightOf(3, 42)), log);
        QVERIFY(demo::makeTextLog(flightOf(3, 43)) != log);
        QCOMPARE(demo::makeDamagedLog(flightOf(3, 42)), demo::makeDamagedLog(flightOf(3, 42)));
        QVERIFY(demo::makeDamagedLog(flightOf(3, 42)) != demo::makeDamagedLog(flightOf(3, 43)));
    }

    void everySampleHasSixWholeFrames_data()
    {
        QTest::addColumn<int>("minutes");
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("expected");
        QTest::newRow("one minute") << 1 << 0 << 300;
        QTest::newRow("two hours") << 120 << 0 << 36000;
        QTest::newRow("ten hours") << 600 << 0 << 180000;
        QTest::newRow("a number of samples goes before minutes") << 20 << 301 << 301;
        QTest::newRow("one sample") << 20 << 1 << 1;
    }

    void everySampleHasSixWholeFrames()
    {
        QFETCH(int, minutes);
        QFETCH(int, samples);
        QFETCH(int, expected);
        demo::DemoOptions options = flightOf(minutes);
        options.samples = samples;
        options.planeId = 7;
        QCOMPARE(options.sampleCount(), expected);

        QMap<int, int> counts;
        int wrong = 0;
        demo::makeFlight(options, [&](const QByteArray &frame) {
            const bool good = frame.size() == kFrameBytes.value(codeOf(frame), -1) && quint8(frame.at(0)) == 0xAA
                && quint8(frame.at(1)) == 0xEC && frame.at(2) == 7;
            wrong += good ? 0 : 1;
            ++counts[codeOf(frame)];
        });
        QCOMPARE(wrong, 0);
        QCOMPARE(counts.keys(), kFrameBytes.keys());
        for (int count : qAsConst(counts))
            QCOMPARE(count, expected);
    }

    void backupFramesComeEveryTenSecondsWhenAskedFor()
    {
        demo::DemoOptions options = flightOf(2);
        options.backupFrames = true;
        const QVector<QByteArray> frames = framesOf(options);
        QCOMPARE(frames.size(), 2 * kSamplesPerMinute * 6 + 12);
        for (const QByteArray &frame : frames)
            QVERIFY(codeOf(frame) != 0x52 || frame.size() == 12);
    }

    void shortFlightIsTheStartOfAOneMinuteFlight()
    {
        demo::DemoOptions few = flightOf(20);
        few.samples = 10;
        QCOMPARE(framesOf(few), framesOf(flightOf(1)).mid(0, 60));
    }

    void readersNeverNeedToRepairTheSeries()
    {
        ReferenceDecoder flight = decoded(flightOf(5));
        QCOMPARE(flight.errors, 0);
        for (int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41, 0x53})
            QCOMPARE(flight.length(code), 5 * kSamplesPerMinute);
        // The last sample of the target group is its own and no repetition: its counterpart moves on in the dive.
        QVERIFY(flight.channel("FTP_TargetPoint_Height").last()
                < flight.at("FTP_TargetPoint_Height", 5 * kSamplesPerMinute - 2));
    }

    void clockAndPositionAreUnsetUntilTheFix_data() { addLengths(); }

    void clockAndPositionAreUnsetUntilTheFix()
    {
        QFETCH(int, minutes);
        ReferenceDecoder flight = decoded(flightOf(minutes));
        const QVector<double> &month = flight.channel("FSS_Month");
        int fix = 0;
        while (fix < month.size() && month[fix] == 255.0)
            ++fix;
        QVERIFY2(fix >= 15 && fix < 150, qPrintable(QString::number(fix)));
        const auto clock = [&flight](int i) {
            return QDateTime(QDate(2000 + int(flight.at("FSS_Year", i)), int(flight.at("FSS_Month", i)),
                                   int(flight.at("FSS_Date", i))),
                             QTime(int(flight.at("FSS_Hours", i)), int(flight.at("FSS_Minutes", i)),
                                   int(flight.at("FSS_Seconds", i))),
                             Qt::UTC);
        };
        const QDateTime first = clock(fix);
        QVERIFY(first.isValid());
        QCOMPARE(first.date(), QDate(2023, 7, 18));
        for (int i = 0; i < month.size(); ++i) {
            const bool fixed = i >= fix;
            QCOMPARE(flight.at("PGS_GPS_Lng", i) != 0.0, fixed);
            QCOMPARE(flight.at("PGS_GPS_Lat", i) != 0.0, fixed);
            QCOMPARE(flight.at("PGS_GPS_State", i) > 0.0, fixed);
            QCOMPARE(flight.at("DS_GPS", i) == 1.0, fixed);
            QCOMPARE(flight.at("HBS_Lat", i) != 0.0, fixed);
            if (fixed) // five samples a second
                QCOMPARE(first.secsTo(clock(i)), qint64((i - fix) / 5));
        }
        // Winding back by whole seconds loses nothing.
        QCOMPARE(fix % 5, 0);
    }

    void satellitesRisePastTenWithinHalfAMinute_data() { addLengths(); }

    void satellitesRisePastTenWithinHalfAMinute()
    {
        QFETCH(int, minutes);
        ReferenceDecoder flight = decoded(flightOf(minutes));
        QCOMPARE(flight.at("PGS_GPS_SatelliteCount", 0), 0.0);
        const int start = flight.trackStart();
        QVERIFY(start > 0 && start <= 150);
        QCOMPARE(flight.at("PGS_GPS_SatelliteCount", start), 11.0);
        // The track starts with a position, on the ground.
        QVERIFY(flight.at("PGS_GPS_Lng", start) != 0.0);
        QVERIFY(std::fabs(flight.at("PGS_GPS_Relative_Height", start)) < 1.0);
    }

    void logEndsWithTheOnlyAttackLeg_data() { addLengths(); }

    void logEndsWithTheOnlyAttackLeg()
    {
        QFETCH(int, minutes);
        ReferenceDecoder flight = decoded(flightOf(minutes));
        const QVector<double> &mode = flight.channel("FSS_SubFlightMode");
        const int start = flight.attackStart();
        QVERIFY(start > 0);
        QCOMPARE(mode.indexOf(26.0), start);
        QCOMPARE(mode.count(26.0), mode.size() - start);
        QVERIFY2(mode.size() - start >= 100, "at least 20 s");
        // Down towards the target, and not into the ground.
        const QVector<double> &height = flight.channel("PGS_GPS_Relative_Height");
        QVERIFY(height.last() > 10.0);
        QVERIFY(height.last() < 0.5 * height[start]);
        QVERIFY(flight.channel("FSS_DistanceFromTargetPoint").last() < 300.0);
        for (int i = start; i < mode.size(); ++i) {
            QCOMPARE(flight.at("PI_Lock_Lng", i), flight.at("FTP_TargetPoint_Lng", i));
            QCOMPARE(flight.at("PI_Lock_Lat", i), flight.at("FTP_TargetPoint_Lat", i));
        }
    }

    void modesFollowOneMission()
    {
        ReferenceDecoder flight = decoded(flightOf(20));
        QVector<int> order;
        for (double mode : flight.channel("FSS_SubFlightMode")) {
            if (order.isEmpty() || order.last() != int(mode))
                order.append(int(mode));
        }
        // Ground debugging, ground preparation, catapult, route, orbit, attack standby, attack.
        QCOMPARE(order, (QVector<int>{65, 66, 17, 27, 21, 35, 26}));
        QVector<int> mains;
        for (double mode : flight.channel("FSS_FlightMode")) {
            if (mains.isEmpty() || mains.last() != int(mode))
                mains.append(int(mode));
        }
        QCOMPARE(mains, (QVector<int>{4, 5, 2}));
        QVERIFY(flight.channel("FSS_NumLaps").contains(2.0));
    }

    void valuesStayPlausible_data()
    {
        QTest::addColumn<double>("low");
        QTest::addColumn<double>("high");
        const struct {
            const char *name;
            double low, high;
        } limits[] = {
            {"PGS_Roll", -45, 45},
            {"PGS_Pitch", -30, 25},
            {"PGS_Yaw", 0, 359.99},
            {"PGS_GPS_Relative_Height", -1, 800},
            {"PGS_GPS_AirPressure_Alt", 100, 950},
            {"PGS_UpSkySpeed", -20, 12},
            {"PGS_GroundSpeed", 0, 55},
            {"PGS_IndicateAirSpeed", 0, 50},
            {"PGS_RealAirSpeed", 0, 50},
            {"PGS_GPS_SatelliteCount", 0, 30},
            {"FTP_TargetRoll", -40, 40},
            {"FTP_TargetPitch", -30, 25},
            {"FTP_TargetYaw", 0, 359.99},
            {"FTP_TargetSpeed", 0, 50},
            {"FTP_TargetPoint_Height", 0, 800},
            {"FTP_TargetVerticalSpeed", -20, 10},
            {"SS_ACC_X", -10, 30},
            {"SS_ACC_Y", -5, 5},
            {"SS_ACC_Z", -20, 0},
            {"SS_AngleSpeed_X", -60, 60},
            {"SS_AngleSpeed_Y", -40, 40},
            {"SS_AngleSpeed_Z", -30, 30},
            {"FSS_MainBatteryVoltage", 21000, 25300},
            {"FSS_MainBatteryLevel", 10, 100},
            {"FSS_OilVolume", 10, 100},
            {"FSS_Temperature", 20, 60},
            {"FSS_CylinderTemperature1", 20, 220},
            {"FSS_CylinderTemperature2", 20, 220},
            {"FSS_ThrottleOutputRate", 0, 100},
            {"FSS_RotateSpeed1", 0, 8000},
            {"FSS_DistanceFromHome", 0, 15000},
            {"FSS_YawFromHome", 0, 360},
            {"FSS_TotalVoyage", 0, 250},
            {"PI_PitchAngle", -90, 5},
            {"PI_YawAngle", -180, 180},
            {"PI_Lock_Yaw", 0, 360},
        };
        for (const auto &limit : limits)
            QTest::newRow(limit.name) << limit.low << limit.high;
        for (int i = 1; i <= 16; ++i)
            QTest::addRow("SS_RC%d", i) << 1000.0 << 2000.0;
        for (int i = 1; i <= 10; ++i)
            QTest::addRow("SS_OUT%d", i) << 1000.0 << 2000.0;
    }

    void valuesStayPlausible()
    {
        QFETCH(double, low);
        QFETCH(double, high);
        for (int minutes : {1, 12, 120}) {
            for (double value : flightFor(minutes).channel(QTest::currentDataTag()))
                QVERIFY2(value >= low && value <= high, qPrintable(QString::number(value)));
        }
    }

    void positionsPassTheTrackFilterAndAgreeWithTheSpeeds_data() { addLengths(); }

    void positionsPassTheTrackFilterAndAgreeWithTheSpeeds()
    {
        QFETCH(int, minutes);
        ReferenceDecoder &flight = flightFor(minutes);
        const double homeLng = flight.channel("HBS_Lng").last();
        const double homeLat = flight.channel("HBS_Lat").last();
        QVERIFY(std::fabs(homeLng - 113.9) < 0.1);
        QVERIFY(std::fabs(homeLat - 34.0) < 0.1);
        const double east = kMetresPerDegree * std::cos(homeLat / 57.29577951308232);
        const int start = flight.trackStart();
        const int count = flight.length(0x03);
        double speedError = 0.0;
        for (int i = start + 1; i < count; ++i) {
            const double x = (flight.at("PGS_GPS_Lng", i) - flight.at("PGS_GPS_Lng", i - 1)) * east;
            const double y = (flight.at("PGS_GPS_Lat", i) - flight.at("PGS_GPS_Lat", i - 1)) * kMetresPerDegree;
            const double z = flight.at("PGS_GPS_Relative_Height", i) - flight.at("PGS_GPS_Relative_Height", i - 1);
            // The filter drops steps of 1000 m and 100 m; an aircraft of this kind stays two orders below.
            QVERIFY(std::hypot(x, y) < 12.0);
            QVERIFY(std::fabs(z) < 6.0);
            speedError += std::hypot(x / 0.2 - flight.at("PGS_EastSpeed", i), y / 0.2 - flight.at("PGS_NorthSpeed", i));
        }
        QVERIFY2(speedError / count < 1.5, qPrintable(QString::number(speedError / count)));
        // Rounds over the way points come back: the whole flight stays near home, and is no point.
        QVERIFY(std::hypot((flight.at("PGS_GPS_Lng", count / 2) - homeLng) * east,
                           (flight.at("PGS_GPS_Lat", count / 2) - homeLat) * kMetresPerDegree)
                > 200.0);
    }

    void actualValuesFollowTheCommandsWithALag_data()
    {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("target");
        QTest::addColumn<double>("meanError");
        QTest::newRow("roll") << "PGS_Roll"
                              << "FTP_TargetRoll" << 1.5;
        QTest::newRow("pitch") << "PGS_Pitch"
                               << "FTP_TargetPitch" << 0.8;
        QTest::newRow("yaw") << "PGS_Yaw"
                             << "FTP_TargetYaw" << 8.0;
        QTest::newRow("speed") << "PGS_IndicateAirSpeed"
                               << "FTP_TargetSpeed" << 0.8;
        QTest::newRow("height") << "PGS_GPS_Relative_Height"
                                << "FTP_TargetPoint_Height" << 30.0;
    }

    void actualValuesFollowTheCommandsWithALag()
    {
        QFETCH(QString, actual);
        QFETCH(QString, target);
        QFETCH(double, meanError);
        ReferenceDecoder &flight = flightFor(20);
        const QVector<double> &is = flight.channel(qPrintable(actual));
        const QVector<double> &should = flight.channel(qPrintable(target));
        // The route has the steps; in an orbit the commands flow.
        const int from = flight.channel("FSS_SubFlightMode").indexOf(27.0);
        const int to = flight.channel("FSS_SubFlightMode").lastIndexOf(27.0) - 50;
        QVERIFY(from > 0);
        // The shift at which the two lie nearest to each other is the lag.
        QMap<int, double> errors;
        for (int lag = -15; lag <= 50; ++lag) {
            double sum = 0.0;
            for (int i = from; i < to; ++i) {
                double difference = is[i + lag] - should[i];
                if (actual == QLatin1String("PGS_Yaw"))
                    difference = std::remainder(difference, 360.0);
                sum += std::fabs(difference);
            }
            errors[lag] = sum / (to - from);
        }
        int best = 0;
        for (auto it = errors.cbegin(); it != errors.cend(); ++it) {
            if (it.value() < errors[best])
                best = it.key();
        }
        QVERIFY2(best > 0, qPrintable(QString::number(best)));
        QVERIFY2(errors[0] < meanError, qPrintable(QString::number(errors[0])));
        // Noise: never the same curve twice.
        QVERIFY(errors[best] > 0.02);
    }

    void sensorsAgreeWithTheMotion()
    {
        ReferenceDecoder &flight = flightFor(20);
        const int from = flight.channel("FSS_SubFlightMode").indexOf(27.0);
        double rollRates = 0.0;
        double matches = 0.0;
        double error = 0.0;
        for (int i = from + 1; i < flight.length(0x04) - 1; ++i) {
            const double rate = (flight.at("PGS_Roll", i + 1) - flight.at("PGS_Roll", i - 1)) / 0.4;
            matches += rate * flight.at("SS_AngleSpeed_X", i);
            rollRates += rate * rate;
            // A steady turn is felt as more weight: gravity over the cosine of the roll.
            error += flight.at("SS_ACC_Z", i) + 9.80665 / std::cos(flight.at("PGS_Roll", i) / 57.29577951308232);
        }
        QVERIFY2(matches / rollRates > 0.7 && matches / rollRates < 1.3,
                 qPrintable(QString::number(matches / rollRates)));
        QVERIFY(std::fabs(error / flight.length(0x04)) < 0.3);
        // The catapult's push, once.
        const QVector<double> &push = flight.channel("SS_ACC_X");
        QVERIFY(*std::max_element(push.begin(), push.end()) > 15.0);
        for (int i = from; i < push.size(); ++i)
            QVERIFY(push[i] < 10.0);
    }

    void batteryAndFuelFall()
    {
        ReferenceDecoder &flight = flightFor(20);
        const int count = flight.length(0x02);
        for (const char *name : {"FSS_MainBatteryVoltage", "FSS_MainBatteryLevel", "FSS_OilVolume"}) {
            const QVector<double> &values = flight.channel(name);
            for (int part = 1; part < 10; ++part) {
                QVERIFY(meanOf(values, part * count / 10, (part + 1) * count / 10)
                        < meanOf(values, (part - 1) * count / 10, part * count / 10));
            }
        }
    }

    void textLogIsTheFramesInUpperCaseDigits()
    {
        for (bool blanks : {false, true}) {
            demo::DemoOptions options = flightOf(1);
            options.blanks = blanks;
            const QString path = m_dir.filePath(QStringLiteral("flight.txt"));
            QString error;
            QVERIFY2(demo::writeTextLog(path, options, &error), qPrintable(error));
            QList<QByteArray> lines = contentOf(path).split('\n');
            QVERIFY(lines.takeLast().isEmpty());
            const QVector<QByteArray> frames = framesOf(options);
            QCOMPARE(lines.size(), frames.size());
            for (int i = 0; i < lines.size(); ++i) {
                const QByteArray digits = blanks ? frames[i].toHex(' ') : frames[i].toHex();
                QCOMPARE(lines[i], digits.toUpper());
            }
            QCOMPARE(contentOf(path), demo::makeTextLog(options));
        }
    }

    void longLogIsNotKeptInMemory()
    {
        const QString path = m_dir.filePath(QStringLiteral("long.txt"));
        QVERIFY(demo::writeTextLog(path, flightOf(30)));
        QCOMPARE(contentOf(path), demo::makeTextLog(flightOf(30)));
    }

    void filesThatCannotBeWrittenAreReported()
    {
        const QString path = m_dir.filePath(QStringLiteral("missing/flight"));
        QString error;
        QVERIFY(!demo::writeTextLog(path, flightOf(1), &error));
        QVERIFY2(error.contains(path), qPrintable(error));
        error.clear();
        QVERIFY(!demo::writeDamagedLog(path, flightOf(1), &error));
        QVERIFY2(error.contains(path), qPrintable(error));
        error.clear();
        QVERIFY(!demo::writeDatabase(path, demo::demoTasks(flightOf(1)), &error));
        QVERIFY2(error.contains(path), qPrintable(error));
    }

    void databaseThatFailsLeavesTheOldFileAlone()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("old.db"));
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("precious");
        old.close();
        demo::DemoTask task;
        task.flight = flightOf(1);
        QString error;
        // Two tasks of one id break the key of the table.
        QVERIFY(!demo::writeDatabase(path, {task, task}, &error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(contentOf(path), QByteArray("precious"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("old.db")});
    }

    void databaseHasItsTasksWithTheirFrames()
    {
        const QString path = m_dir.filePath(QStringLiteral("flights.db"));
        const QVector<demo::DemoTask> tasks = demo::demoTasks(flightOf(2));
        QString error;
        QVERIFY2(demo::writeDatabase(path, tasks, &error), qPrintable(error));
        // A second time replaces the file.
        QVERIFY2(demo::writeDatabase(path, tasks, &error), qPrintable(error));
        QVERIFY2(QSqlDatabase::connectionNames().isEmpty(), "no connection is left behind");
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
            database.setDatabaseName(path);
            QVERIFY(database.open());
            QSqlQuery query(database);
            QVERIFY(query.exec(QStringLiteral("select id, name, ctime from t_fly_task order by id")));
            QMap<int, QString> names;
            while (query.next()) {
                names[query.value(0).toInt()] = query.value(1).toString();
                // The day of the flights' clocks or one of the days after it.
                const QDate day = QDateTime::fromMSecsSinceEpoch(query.value(2).toLongLong(), Qt::UTC).date();
                QVERIFY(day >= QDate(2023, 7, 18) && day < QDate(2023, 8, 1));
            }
            QCOMPARE(names.keys(), (QList<int>{1, 3, 12, 300}));
            for (const QString &name : qAsConst(names))
                QVERIFY2(name.at(0).unicode() >= 0x4E00 && name.at(0).unicode() < 0xA000, "a Chinese name");

            const QMap<int, int> minutes{{1, 2}, {3, 1}, {12, 5}, {300, 3}};
            for (auto it = minutes.cbegin(); it != minutes.cend(); ++it) {
                QVERIFY(
                    query.exec(QStringLiteral("select count(*) from t_fly_record where task_id = %1").arg(it.key())));
                QVERIFY(query.next());
                QCOMPARE(query.value(0).toInt(), it.value() * kSamplesPerMinute * 6);
            }
            QVERIFY(query.exec(QStringLiteral("select frame from t_fly_record where task_id = 1")));
            QByteArray text;
            while (query.next())
                text += query.value(0).toString().toLatin1() + '\n';
            QCOMPARE(text, demo::makeTextLog(flightOf(2)));
        }
        QSqlDatabase::removeDatabase(QStringLiteral("test"));
    }

    void damagedLogHasEveryKindOfDamage_data()
    {
        QTest::addColumn<int>("minutes");
        QTest::addColumn<bool>("blanks");
        QTest::newRow("one minute") << 1 << false;
        QTest::newRow("ten minutes") << 10 << false;
        QTest::newRow("blanks between bytes") << 3 << true;
    }

    void damagedLogHasEveryKindOfDamage()
    {
        QFETCH(int, minutes);
        QFETCH(bool, blanks);
        demo::DemoOptions options = flightOf(minutes);
        options.blanks = blanks;
        demo::DamageCounts promised;
        const QString path = m_dir.filePath(QStringLiteral("damaged.txt"));
        QVERIFY(demo::writeDamagedLog(path, options, nullptr, &promised));
        const QByteArray log = contentOf(path);
        QCOMPARE(log, demo::makeDamagedLog(options));
        QList<QByteArray> lines = log.split('\n');

        // The last line is a frame that breaks off, without a line end.
        const QByteArray cut = QByteArray::fromHex(lines.takeLast());
        QVERIFY(cut.size() > 3 && cut.size() < kFrameBytes.value(codeOf(cut)));

        const QVector<QByteArray> frames = framesOf(options);
        const QSet<QByteArray> goodFrames(frames.begin(), frames.end());
        demo::DamageCounts found;
        found.cutLastLine = 1;
        int good = 0;
        int chinese = 0;
        int nuls = 0;
        QSet<int> truncatedCodes;
        QSet<bool> truncatedBeyondGate;
        QMap<int, int> goodOfCode;
        for (const QByteArray &line : qAsConst(lines)) {
            const QByteArray bytes = QByteArray::fromHex(line);
            const int digits
                = int(std::count_if(line.begin(), line.end(), [](char c) { return std::isxdigit(c & 0xFF); }));
            const bool plain = std::all_of(line.begin(), line.end(), [](char c) {
                return c == ' ' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
            });
            if (line.isEmpty()) {
                ++found.emptyLines;
            } else if (line.size() >= 100000) {
                ++found.longLines;
            } else if (!plain) {
                nuls += line.count('\0');
                const bool text
                    = QString::fromUtf8(line).toUtf8() == line && !line.contains('\0') && !goodFrames.contains(bytes);
                ++(text ? found.textLines : found.binaryLines);
                chinese += text && line.at(0) < 0 ? 1 : 0;
            } else if (digits % 2 != 0) {
                ++found.oddDigits;
            } else if (quint8(bytes.at(0)) != 0xAA || quint8(bytes.at(1)) != 0xEC) {
                ++found.wrongHeaders;
            } else if (bytes.at(2) != 1) {
                ++found.otherPlane;
            } else if (!kFrameBytes.contains(codeOf(bytes))) {
                ++found.unknownCodes;
            } else if (bytes.size() < kFrameBytes.value(codeOf(bytes))) {
                ++found.truncatedFrames;
                truncatedCodes.insert(codeOf(bytes));
                truncatedBeyondGate.insert(bytes.size() > kGates.value(codeOf(bytes)));
            } else {
                QVERIFY(goodFrames.contains(bytes));
                ++good;
                ++goodOfCode[codeOf(bytes)];
            }
        }
        found.missingFrames = frames.size() - good - found.wrongHeaders - found.truncatedFrames - found.oddDigits;
        const QVector<QPair<int, int>> kinds{
            {found.emptyLines, promised.emptyLines},     {found.textLines, promised.textLines},
            {found.otherPlane, promised.otherPlane},     {found.unknownCodes, promised.unknownCodes},
            {found.wrongHeaders, promised.wrongHeaders}, {found.truncatedFrames, promised.truncatedFrames},
            {found.oddDigits, promised.oddDigits},       {found.missingFrames, promised.missingFrames},
            {found.longLines, promised.longLines},       {found.binaryLines, promised.binaryLines},
            {found.cutLastLine, promised.cutLastLine},
        };
        for (int kind = 0; kind < kinds.size(); ++kind) {
            QVERIFY2(kinds[kind].first > 0, qPrintable(QString::number(kind)));
            QCOMPARE(kinds[kind].first, kinds[kind].second);
        }
        QCOMPARE(chinese, 1);
        QVERIFY(nuls >= 2);
        QCOMPARE(truncatedCodes.size(), 6);
        QCOMPARE(truncatedBeyondGate.size(), 2);
        // Whole stretches of single codes are gone; the other two codes are nearly whole.
        for (int code : {0x02, 0x03, 0x04, 0x05})
            QVERIFY(goodOfCode[code] <= goodOfCode[0x01] - minutes);
    }

    void damagedLogIsStillAFlight()
    {
        demo::DamageCounts counts;
        const QByteArray log = demo::makeDamagedLog(flightOf(10), &counts);
        ReferenceDecoder flight;
        for (const QByteArray &line : log.split('\n'))
            flight.decodeLine(QString::fromUtf8(line));
        flight.evenTail();
        // One of the two long lines and one of the binary ones are no frames.
        QCOMPARE(flight.errors, counts.emptyLines + counts.textLines + counts.wrongHeaders + counts.oddDigits + 2);
        QVERIFY(flight.length(0x03) > 9 * kSamplesPerMinute);
        QVERIFY(flight.attackStart() > 0);
    }

    void programWritesWhatTheLibraryMakes()
    {
        const QString path = m_dir.filePath(QStringLiteral("program.txt"));
        Run run = runProgram({"log", "--minutes", "2", "--seed", "9", path});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.error, QString());
        QCOMPARE(contentOf(path), demo::makeTextLog(flightOf(2, 9)));

        demo::DemoOptions options = flightOf(20);
        options.samples = 450;
        options.planeId = 3;
        options.blanks = true;
        run = runProgram({"damaged", "--samples", "450", "--plane", "3", "--blanks", path});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(contentOf(path), demo::makeDamagedLog(options));

        const QString database = m_dir.filePath(QStringLiteral("program.db"));
        run = runProgram({"db", "--minutes", "1", database});
        QCOMPARE(run.exitCode, 0);
        QVERIFY(contentOf(database).startsWith("SQLite format 3"));
    }

    void programPrintsItsHelp()
    {
        const Run run = runProgram({"--help"});
        QCOMPARE(run.exitCode, 0);
        for (const char *word : {"log", "db", "damaged", "--minutes", "--seed", "--samples"})
            QVERIFY2(run.output.contains(QLatin1String(word)), word);
    }

    void programRefusesWrongUse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("nothing") << QStringList{};
        QTest::newRow("no file") << QStringList{"log"};
        QTest::newRow("two files") << QStringList{"log", "a", "b"};
        QTest::newRow("unknown kind") << QStringList{"xml", "a"};
        QTest::newRow("unknown option") << QStringList{"log", "--speed", "3", "a"};
        QTest::newRow("no minutes") << QStringList{"log", "--minutes", "0", "a"};
        QTest::newRow("minutes that are no number") << QStringList{"log", "--minutes", "two", "a"};
        QTest::newRow("minutes below zero") << QStringList{"log", "--minutes=-2", "a"};
        QTest::newRow("too many samples") << QStringList{"log", "--samples", "99999999", "a"};
        QTest::newRow("minutes and samples") << QStringList{"log", "--minutes", "1", "--samples", "300", "a"};
        QTest::newRow("a plane beyond a byte") << QStringList{"log", "--plane", "256", "a"};
        QTest::newRow("a seed that is no number") << QStringList{"log", "--seed", "x", "a"};
        QTest::newRow("a file without a name") << QStringList{"log", ""};
    }

    void programRefusesWrongUse()
    {
        QFETCH(QStringList, arguments);
        const Run run = runProgram(arguments);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.error.startsWith(QLatin1String("ostravel-demo: ")));
        QVERIFY(!QFile::exists(QStringLiteral("a")));
    }

    void programReportsAnUnwritableFile()
    {
        for (const char *kind : {"log", "db", "damaged"}) {
            const Run run = runProgram({kind, "--minutes", "1", m_dir.filePath(QStringLiteral("missing/file"))});
            QCOMPARE(run.exitCode, 1);
            QVERIFY2(run.error.contains(QLatin1String("missing/file")), qPrintable(run.error));
        }
    }

private:
    static void addLengths()
    {
        QTest::addColumn<int>("minutes");
        for (int minutes : {1, 2, 20, 120})
            QTest::addRow("%d minutes", minutes) << minutes;
    }

    // Decoded once, for the many that only look.
    ReferenceDecoder &flightFor(int minutes)
    {
        if (!m_flights.contains(minutes))
            m_flights.insert(minutes, decoded(flightOf(minutes)));
        return m_flights[minutes];
    }

    QTemporaryDir m_dir;
    QMap<int, ReferenceDecoder> m_flights;
};

QTEST_GUILESS_MAIN(TestDemoFlight)
#include "TestDemoFlight.moc"
