#include "MBTilesFile.h"
#include "TileService.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QtTest>
#include <memory>

/** The tile service on Windows. TestTileService has more tests of what does not depend on the system. */
class TestTileServiceWindows : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_service = std::make_unique<TileService>(QStringLiteral(WMTS_PROGRAM));
        MBTilesFile::writeWorld(m_service->tiles("world.mbtiles"));
        MBTilesFile::writeWorld(m_service->tiles("地图 2.mbtiles"));
    }
    void cleanup()
    {
        // Windows has no signal that asks a program without a window to end.
        m_service->process().kill();
        m_service->process().waitForFinished();
        m_service.reset();
    }

    void servesTilesOfEveryMap();
    void keepsConnections();
    void manyConnectionsAtOnce();
    void missingFolder();
    void folderWithoutMaps();
    void wrongUse();
    void secondCopyFindsTheFirst();
    void portOfAnotherProgramIsReported();

private:
    int runToEnd(const QStringList &arguments, QByteArray *error) const
    {
        QProcess process;
        process.start(m_service->folder() + "/wmts.exe", arguments);
        if (!QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 30000))
            return -1;
        *error = process.readAllStandardError().replace("\r\n", "\n");
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    std::unique_ptr<TileService> m_service;
};

void TestTileServiceWindows::servesTilesOfEveryMap()
{
    QVERIFY(m_service->start());
    for (const char *layer : {"world", "%E5%9C%B0%E5%9B%BE%202"}) {
        const QByteArray answer = m_service->get(QByteArray("/") + layer + "/2/1/3");
        QCOMPARE(TileService::statusOf(answer), 200);
        QCOMPARE(TileService::bodyOf(answer), pngBytes(2, 1, 3));
    }
    QCOMPARE(QJsonDocument::fromJson(TileService::bodyOf(m_service->get("/layers.json"))).array().size(), 2);
    QCOMPARE(TileService::statusOf(m_service->get("/world/9/0/0")), 404);
    QCOMPARE(TileService::statusOf(m_service->get("/..%5c..%5cworld/0/0/0")), 404);
}

void TestTileServiceWindows::keepsConnections()
{
    QVERIFY(m_service->start());
    const QByteArray both = m_service->ask(
        m_service->withHost("GET /world/1/0/0 HTTP/1.1\r\n\r\nGET /world/1/1/1 HTTP/1.1\r\nConnection: close\r\n\r\n"));
    QCOMPARE(both.count("HTTP/1.1 200"), 2);
    QVERIFY(both.endsWith("1/1/1"));
}

void TestTileServiceWindows::manyConnectionsAtOnce()
{
    QVERIFY(m_service->start());
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < 50; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        QVERIFY(m_service->connectTo(*sockets.back()));
    }
    for (const auto &socket : sockets)
        socket->write(m_service->withHost("GET /world/1/1/0 HTTP/1.1\r\nConnection: close\r\n\r\n"));
    for (const auto &socket : sockets)
        QCOMPARE(TileService::bodyOf(TileService::readToEnd(*socket)), pngBytes(1, 1, 0));
}

void TestTileServiceWindows::missingFolder()
{
    QVERIFY(QDir(m_service->folder() + "/tiles").removeRecursively());
    QByteArray error;
    QCOMPARE(runToEnd({"--port", "0"}, &error), 3);
    QVERIFY2(error.startsWith("wmts: there is no folder "), error);
}

void TestTileServiceWindows::folderWithoutMaps()
{
    QVERIFY(QFile::remove(m_service->tiles("world.mbtiles")) && QFile::remove(m_service->tiles("地图 2.mbtiles")));
    QByteArray error;
    QCOMPARE(runToEnd({"--port", "0"}, &error), 4);
    QCOMPARE(error.count('\n'), 1);
}

void TestTileServiceWindows::wrongUse()
{
    QByteArray error;
    QCOMPARE(runToEnd({"--what"}, &error), 2);
    QCOMPARE(error, QByteArray("wmts: cannot take the argument --what; try wmts.exe --help\n"));
}

void TestTileServiceWindows::secondCopyFindsTheFirst()
{
    QVERIFY(m_service->start());
    QByteArray error;
    QCOMPARE(runToEnd({"--port", QString::number(m_service->port())}, &error), 6);
    QCOMPARE(error, "wmts: the tile service runs already at port " + QByteArray::number(m_service->port()) + "\n");
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileServiceWindows::portOfAnotherProgramIsReported()
{
    // Ends whatever it accepts.
    QTcpServer other;
    connect(&other, &QTcpServer::newConnection, &other, [&other] { delete other.nextPendingConnection(); });
    QVERIFY(other.listen(QHostAddress::LocalHost, 0));
    QByteArray error;
    QCOMPARE(runToEnd({"--port", QString::number(other.serverPort())}, &error), 5);
    QVERIFY2(error.endsWith("of 127.0.0.1: another program has it\n"), error);
}

QTEST_GUILESS_MAIN(TestTileServiceWindows)
#include "TestTileServiceWindows.moc"
