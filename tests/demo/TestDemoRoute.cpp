#include "DemoRoute.h"
#include "Geodesy.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace ostravel;

namespace
{

QJsonArray waypoints(const QByteArray &route)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(route, &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("%s", qPrintable(error.errorString()));
    return document.object().value("cartographic").toArray();
}

} // namespace

class TestDemoRoute : public QObject
{
    Q_OBJECT

private slots:
    void hasTheWaypointsAskedFor_data();
    void hasTheWaypointsAskedFor();
    void valuesHaveTheTypesOfARouteFile();
    void legsAreThoseOfASurvey();
    void sameOptionsGiveTheSameBytes();
    void programWritesARoute();
    void unwritableFileIsReported();
};

void TestDemoRoute::hasTheWaypointsAskedFor_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {0, 1, 60, 5000})
        QTest::addRow("%d", count) << count;
}

void TestDemoRoute::hasTheWaypointsAskedFor()
{
    QFETCH(int, count);
    demo::RouteOptions options;
    options.waypoints = count;
    QCOMPARE(waypoints(demo::makeRoute(options)).size(), count);
}

void TestDemoRoute::valuesHaveTheTypesOfARouteFile()
{
    for (const QJsonValue &value : waypoints(demo::makeRoute({}))) {
        const QJsonObject waypoint = value.toObject();
        for (const char *key : {"longitude", "latitude"}) {
            bool isNumber = false;
            QVERIFY(waypoint.value(QLatin1String(key)).isString());
            waypoint.value(QLatin1String(key)).toString().toDouble(&isNumber);
            QVERIFY(isNumber);
        }
        for (const char *key : {"height", "radius", "speed"})
            QVERIFY(waypoint.value(QLatin1String(key)).isDouble());
        QVERIFY(waypoint.value("speed").toDouble() > 0);
    }
}

void TestDemoRoute::legsAreThoseOfASurvey()
{
    demo::RouteOptions options;
    options.waypoints = 3000;
    Location before{};
    bool first = true;
    for (const QJsonValue &value : waypoints(demo::makeRoute(options))) {
        const auto scaled = [&value](const char *key) {
            return truncatedToLocationUnit(value[QLatin1String(key)].toString().toDouble() * 1e7);
        };
        const Location location{scaled("latitude"), scaled("longitude")};
        if (!first) {
            const float metres = get_distance(before, location);
            QVERIFY2(metres > 230 && metres < 440, qPrintable(QString::number(double(metres))));
        }
        first = false;
        before = location;
    }
}

void TestDemoRoute::sameOptionsGiveTheSameBytes()
{
    demo::RouteOptions options;
    QCOMPARE(demo::makeRoute(options), demo::makeRoute(options));
    const QByteArray one = demo::makeRoute(options);
    options.seed = 2;
    QVERIFY(demo::makeRoute(options) != one);
}

void TestDemoRoute::programWritesARoute()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("route.json");
    QCOMPARE(QProcess::execute(DEMO_PROGRAM, {"route", path, "--waypoints", "7", "--seed", "3"}), 0);
    demo::RouteOptions options;
    options.waypoints = 7;
    options.seed = 3;
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), demo::makeRoute(options));
    QCOMPARE(QProcess::execute(DEMO_PROGRAM, {"route", path, "--waypoints", "-1"}), 2);
    QCOMPARE(QProcess::execute(DEMO_PROGRAM, {"route", folder.filePath("missing/route.json")}), 1);
}

void TestDemoRoute::unwritableFileIsReported()
{
    const QTemporaryDir folder;
    QString error;
    QVERIFY(!demo::writeRoute(folder.path(), {}, &error));
    QVERIFY(error.contains(folder.path()));
}

QTEST_GUILESS_MAIN(TestDemoRoute)
#include "TestDemoRoute.moc"
