#include "MBTilesFile.h"
#include "TileService.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QXmlStreamReader>
#include <QtTest>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int kBigTile = 1000000;

QByteArray bigTile()
{
    return pngBytes(4, 0, 0) + QByteArray(kBigTile, 'x');
}

} // namespace

class TestTileService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void servesTiles();
    void answersHaveTheirHeaders();
    void requestsForOtherHostsAreRefused_data();
    void requestsForOtherHostsAreRefused();
    void requestsOfForeignPagesAreRefused_data();
    void requestsOfForeignPagesAreRefused();
    void refusedRequestEndsTheConnection();
    void keepsConnections();
    void servesWmts();
    void wmtsErrors_data();
    void wmtsErrors();
    void badRequests_data();
    void badRequests();
    void filesOutsideTheFolderAreNotServed_data();
    void filesOutsideTheFolderAreNotServed();
    void urlOfAMegabyteIsRefused();
    void twoHundredConnectionsAtOnce();
    void slowClientsDoNotDelayOthers();
    void manyPipelinedRequestsAreAnsweredFast();
    void fuzzOfRequestLines();
    void memoryStaysBounded();

    void endsOnSignals_data();
    void endsOnSignals();
    void endsWhileServing();
    void endsDespiteAQueueAtASlowMap();
    void missingFolder();
    void folderWithoutMaps();
    void brokenFileAlone();
    void brokenFileAmongGoodOnes();
    void wrongUse_data();
    void wrongUse();
    void portOfAnotherProgramIsReported();
    void silentOwnerOfThePortDoesNotBlockTheStart();
    void forbiddenPortIsReported();
    void secondCopyFindsTheFirst();
    void closedStandardStreamsAreOpenedOnTheNullDevice();
    void leavesTheTerminalWhenAProgramStartsIt();
    void keepsTheTerminalWhenAUserStartsIt();
    void listensOnLoopbackOnly();

private:
    int runToEnd(TileService &service, const QStringList &arguments, QByteArray *error);

    std::unique_ptr<TileService> m_service;
};

void TestTileService::initTestCase()
{
    m_service = std::make_unique<TileService>(QStringLiteral(WMTS_PROGRAM));
    MBTilesFile::writeWorld(m_service->tiles("world.mbtiles"));
    MBTilesFile::writeWorld(m_service->tiles("地图 2.mbtiles"));
    {
        MBTilesFile big(m_service->tiles("big.mbtiles"));
        big.makeTables();
        big.addTile(4, 0, 15, bigTile());
        big.addTile(4, 1, 15, "no image");
    }
    // What must never be seen.
    QFile secret(m_service->folder() + "/secret.txt");
    QVERIFY(secret.open(QIODevice::WriteOnly));
    secret.write("the secret");
    secret.close();
    MBTilesFile::writeWorld(m_service->folder() + "/outside.mbtiles");
    QVERIFY(m_service->start());
}

void TestTileService::cleanupTestCase()
{
    QVERIFY(m_service->isRunning());
    QCOMPARE(m_service->stop(), 0);
}

void TestTileService::servesTiles()
{
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row) {
            const QByteArray answer = m_service->get(QStringLiteral("/world/2/%1/%2").arg(column).arg(row).toLatin1());
            QCOMPARE(TileService::statusOf(answer), 200);
            QCOMPARE(TileService::bodyOf(answer), pngBytes(2, column, row));
        }
    QCOMPARE(TileService::bodyOf(m_service->get("/%E5%9C%B0%E5%9B%BE%202/1/0/1")), pngBytes(1, 0, 1));
    QCOMPARE(TileService::bodyOf(m_service->get("/big/4/0/0")), bigTile());
    const QJsonArray layers = QJsonDocument::fromJson(TileService::bodyOf(m_service->get("/layers.json"))).array();
    QCOMPARE(layers.size(), 3);
}

void TestTileService::answersHaveTheirHeaders()
{
    const QByteArray answer = m_service->get("/world/0/0/0");
    QVERIFY(!answer.contains("Access-Control-Allow-Origin"));
    QVERIFY(answer.contains("\r\nVary: Origin\r\n"));
    QVERIFY(answer.contains("\r\nContent-Type: image/png\r\n"));
    const QByteArray head
        = m_service->ask(m_service->withHost("HEAD /world/0/0/0 HTTP/1.1\r\nConnection: close\r\n\r\n"));
    QCOMPARE(TileService::statusOf(head), 200);
    QCOMPARE(TileService::bodyOf(head), QByteArray());
    QVERIFY(head.contains(QStringLiteral("\r\nContent-Length: %1\r\n").arg(pngBytes(0, 0, 0).size()).toLatin1()));
    const QByteArray options
        = m_service->ask(m_service->withHost("OPTIONS /world/0/0/0 HTTP/1.1\r\nConnection: close\r\n\r\n"));
    QCOMPARE(TileService::statusOf(options), 204);
    QVERIFY(options.contains("\r\nAccess-Control-Allow-Methods: GET, HEAD\r\n"));
    QVERIFY(!options.contains("Access-Control-Allow-Private-Network"));
}

// PORT stands for the port of the service.
void TestTileService::requestsForOtherHostsAreRefused_data()
{
    QTest::addColumn<QByteArray>("hosts");
    QTest::addColumn<int>("status");
    QTest::newRow("address") << QByteArray("Host: 127.0.0.1:PORT\r\n") << 200;
    QTest::newRow("name") << QByteArray("Host: localhost:PORT\r\n") << 200;
    QTest::newRow("address of six") << QByteArray("Host: [::1]:PORT\r\n") << 200;
    QTest::newRow("any case") << QByteArray("HOST:LocalHost:PORT  \r\n") << 200;
    QTest::newRow("foreign") << QByteArray("Host: evil.example\r\n") << 403;
    QTest::newRow("rebound name") << QByteArray("Host: evil.example:PORT\r\n") << 403;
    QTest::newRow("name that begins alike") << QByteArray("Host: localhost.evil.example:PORT\r\n") << 403;
    QTest::newRow("name that ends alike") << QByteArray("Host: evil-localhost:PORT\r\n") << 403;
    QTest::newRow("rooted name") << QByteArray("Host: localhost.:PORT\r\n") << 403;
    QTest::newRow("other address of the loop") << QByteArray("Host: 127.0.0.2:PORT\r\n") << 403;
    QTest::newRow("every address") << QByteArray("Host: 0.0.0.0:PORT\r\n") << 403;
    QTest::newRow("user before the host") << QByteArray("Host: evil@127.0.0.1:PORT\r\n") << 403;
    QTest::newRow("no port") << QByteArray("Host: 127.0.0.1\r\n") << 403;
    QTest::newRow("other port") << QByteArray("Host: 127.0.0.1:80\r\n") << 403;
    QTest::newRow("longer port") << QByteArray("Host: 127.0.0.1:PORT0\r\n") << 403;
    QTest::newRow("port with a zero before") << QByteArray("Host: 127.0.0.1:0PORT\r\n") << 403;
    QTest::newRow("empty") << QByteArray("Host:\r\n") << 403;
    QTest::newRow("none") << QByteArray() << 400;
    QTest::newRow("twice") << QByteArray("Host: 127.0.0.1:PORT\r\nHost: 127.0.0.1:PORT\r\n") << 400;
    QTest::newRow("good, then foreign") << QByteArray("Host: 127.0.0.1:PORT\r\nHost: evil.example\r\n") << 400;
    QTest::newRow("list") << QByteArray("Host: 127.0.0.1:PORT, evil.example\r\n") << 403;
}

void TestTileService::requestsForOtherHostsAreRefused()
{
    QFETCH(QByteArray, hosts);
    hosts.replace("PORT", QByteArray::number(m_service->port()));
    for (const char *const version : {"HTTP/1.1", "HTTP/1.0"}) {
        for (const char *const path : {"/world/0/0/0", "/layers.json", "/wmts?SERVICE=WMTS&REQUEST=GetCapabilities"}) {
            const QByteArray answer = m_service->ask(QByteArray("GET ") + path + ' ' + version + "\r\n" + hosts
                                                     + "Connection: close\r\n\r\n");
            QTEST(TileService::statusOf(answer), "status");
            if (TileService::statusOf(answer) != 200)
                QCOMPARE(TileService::bodyOf(answer), QByteArray());
        }
    }
}

void TestTileService::requestsOfForeignPagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("origins");
    QTest::addColumn<QByteArray>("allowed"); // empty: refused
    const auto row = [](const char *name, const char *origins, const char *allowed) {
        QTest::newRow(name) << QByteArray(origins) << QByteArray(allowed);
    };
    row("page from a file", "Origin: null\r\n", "null");
    row("own", "Origin: http://127.0.0.1:PORT\r\n", "http://127.0.0.1:PORT");
    row("own by name", "Origin: http://localhost:PORT\r\n", "http://localhost:PORT");
    row("own by the address of six", "ORIGIN: http://[::1]:PORT\r\n", "http://[::1]:PORT");
    row("foreign", "Origin: https://evil.example\r\n", "");
    row("foreign at the same port", "Origin: http://evil.example:PORT\r\n", "");
    row("other port", "Origin: http://127.0.0.1:80\r\n", "");
    row("other scheme", "Origin: https://127.0.0.1:PORT\r\n", "");
    row("name that begins alike", "Origin: http://127.0.0.1:PORT.evil.example\r\n", "");
    row("empty", "Origin:\r\n", "");
    row("star", "Origin: *\r\n", "");
    row("two", "Origin: null\r\nOrigin: https://evil.example\r\n", "");
    row("two in one", "Origin: null https://evil.example\r\n", "");
}

void TestTileService::requestsOfForeignPagesAreRefused()
{
    QFETCH(QByteArray, origins);
    QFETCH(QByteArray, allowed);
    const QByteArray port = QByteArray::number(m_service->port());
    for (const char *const method : {"GET", "OPTIONS"}) {
        const QByteArray answer = m_service->ask(
            m_service->withHost(method + (" /world/0/0/0 HTTP/1.1\r\n" + origins.replace("PORT", port))
                                + "Access-Control-Request-Private-Network: true\r\nConnection: close\r\n\r\n"));
        QVERIFY(!answer.contains("Access-Control-Allow-Private-Network"));
        if (allowed.isEmpty()) {
            QCOMPARE(TileService::statusOf(answer), 403);
            QVERIFY(!answer.contains("Access-Control-"));
            QCOMPARE(TileService::bodyOf(answer), QByteArray());
        } else {
            QCOMPARE(TileService::statusOf(answer), qstrcmp(method, "GET") == 0 ? 200 : 204);
            QVERIFY(answer.contains("\r\nAccess-Control-Allow-Origin: " + allowed.replace("PORT", port) + "\r\n"));
        }
    }
    // What the page asks for and is not there tells it so, too.
    if (!allowed.isEmpty())
        QVERIFY(m_service->ask(m_service->withHost("GET /none HTTP/1.1\r\n" + origins + "Connection: close\r\n\r\n"))
                    .contains("\r\nAccess-Control-Allow-Origin: " + allowed + "\r\n"));
}

void TestTileService::refusedRequestEndsTheConnection()
{
    const QByteArray both = m_service->ask("GET /world/0/0/0 HTTP/1.1\r\nHost: evil.example\r\n\r\n"
                                           + m_service->withHost("GET /world/0/0/0 HTTP/1.1\r\n\r\n"));
    QCOMPARE(both.count("HTTP/1.1 "), 1);
    QCOMPARE(TileService::statusOf(both), 403);
}

void TestTileService::keepsConnections()
{
    const QByteArray both = m_service->ask(
        m_service->withHost("GET /world/1/0/0 HTTP/1.1\r\n\r\nGET /world/1/1/1 HTTP/1.1\r\nConnection: close\r\n\r\n"));
    QCOMPARE(both.count("HTTP/1.1 200"), 2);
    QVERIFY(both.contains("1/0/0"));
    QVERIFY(both.endsWith("1/1/1"));
}

void TestTileService::servesWmts()
{
    const QByteArray capabilities = m_service->get("/wmts?SERVICE=WMTS&REQUEST=GetCapabilities");
    QCOMPARE(TileService::statusOf(capabilities), 200);
    QXmlStreamReader reader(TileService::bodyOf(capabilities));
    int layers = 0;
    while (!reader.atEnd())
        layers += reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("Layer");
    QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
    QCOMPARE(layers, 3);
    QVERIFY(capabilities.contains("http://127.0.0.1:" + QByteArray::number(m_service->port()) + "/world/"));

    const QByteArray tile
        = m_service->get("/wmts?service=WMTS&request=GetTile&Version=1.0.0&layer=world&style=default&format="
                         "image/png&tilematrixset=GoogleMapsCompatible&TileMatrix=3&TileRow=2&TileCol=7");
    QCOMPARE(TileService::statusOf(tile), 200);
    QCOMPARE(TileService::bodyOf(tile), pngBytes(3, 7, 2));
}

void TestTileService::wmtsErrors_data()
{
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("code");
    const QByteArray tile = "SERVICE=WMTS&REQUEST=GetTile&LAYER=world&TILEMATRIXSET=GoogleMapsCompatible&";
    QTest::newRow("nothing") << QByteArray() << 400 << QByteArray("MissingParameterValue");
    QTest::newRow("other service") << QByteArray("SERVICE=WMS&REQUEST=GetCapabilities") << 400
                                   << QByteArray("InvalidParameterValue");
    QTest::newRow("other request") << QByteArray("SERVICE=WMTS&REQUEST=GetFeatureInfo") << 501
                                   << QByteArray("OperationNotSupported");
    QTest::newRow("no row") << tile + "TILEMATRIX=0&TILECOL=0" << 400 << QByteArray("MissingParameterValue");
    QTest::newRow("no such layer") << QByteArray(
        "SERVICE=WMTS&REQUEST=GetTile&LAYER=../"
        "outside&TILEMATRIXSET=GoogleMapsCompatible&TILEMATRIX=0&TILEROW=0&TILECOL=0")
                                   << 400 << QByteArray("InvalidParameterValue");
    QTest::newRow("other set") << QByteArray(
        "SERVICE=WMTS&REQUEST=GetTile&LAYER=world&TILEMATRIXSET=a&TILEMATRIX=0&TILEROW=0&TILECOL=0")
                               << 400 << QByteArray("InvalidParameterValue");
    QTest::newRow("zoom of text") << tile + "TILEMATRIX=a&TILEROW=0&TILECOL=0" << 400
                                  << QByteArray("InvalidParameterValue");
    QTest::newRow("outside the world") << tile + "TILEMATRIX=1&TILEROW=2&TILECOL=0" << 400
                                       << QByteArray("TileOutOfRange");
    QTest::newRow("not in the file") << tile + "TILEMATRIX=9&TILEROW=2&TILECOL=0" << 404 << QByteArray("no such tile");
}

void TestTileService::wmtsErrors()
{
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, code);
    const QByteArray answer = m_service->get("/wmts?" + query);
    QTEST(TileService::statusOf(answer), "status");
    QVERIFY2(answer.contains(code), answer);
}

void TestTileService::badRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("status");
    const auto get = [](const QByteArray &path) { return "GET " + path + " HTTP/1.1\r\nConnection: close\r\n\r\n"; };
    QTest::newRow("root") << get("/") << 404;
    QTest::newRow("no such layer") << get("/none/0/0/0") << 404;
    QTest::newRow("no such tile") << get("/world/9/1/1") << 404;
    QTest::newRow("tile that is no image") << get("/big/4/1/0") << 500;
    QTest::newRow("row outside the world") << get("/world/1/0/2") << 400;
    QTest::newRow("zoom beyond all") << get("/world/99999999999999999999/0/0") << 400;
    QTest::newRow("negative") << get("/world/1/-1/0") << 400;
    QTest::newRow("not a number") << get("/world/a/b/c") << 400;
    QTest::newRow("null in the path") << get("/world%00/0/0/0") << 404;
    QTest::newRow("null behind a number") << get("/world/0/0/0%00") << 400;
    QTest::newRow("broken escape") << get("/%zz/0/0/%") << 400;
    QTest::newRow("POST") << QByteArray("POST /world/0/0/0 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc") << 405;
    QTest::newRow("POST of a length that lies")
        << QByteArray("PUT /world/0/0/0 HTTP/1.1\r\nContent-Length: 99999999999\r\n\r\n") << 405;
    QTest::newRow("chunks") << QByteArray("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nffffffff\r\n") << 405;
    QTest::newRow("a thousand ranges are one answer")
        << QByteArray("GET /world/0/0/0 HTTP/1.1\r\nConnection: close\r\nRange: bytes=0-0"
                      + QByteArray(",0-0").repeated(1000) + "\r\n\r\n")
        << 200;
    QTest::newRow("unknown method") << QByteArray("BREW / HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("no HTTP") << QByteArray("\x16\x03\x01\r\n\r\n") << 400;
    QTest::newRow("HTTP/2") << QByteArray("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n") << 400;
    QTest::newRow("four words") << QByteArray("GET / a HTTP/1.1\r\n\r\n") << 400;
    QTest::newRow("header without colon") << QByteArray("GET / HTTP/1.1\r\nabc\r\n\r\n") << 400;
    QTest::newRow("endless headers") << "GET / HTTP/1.1\r\n" + QByteArray("a: b\r\n").repeated(100000) + "\r\n" << 431;
}

void TestTileService::badRequests()
{
    QFETCH(QByteArray, request);
    QTEST(TileService::statusOf(m_service->ask(m_service->withHost(request))), "status");
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileService::filesOutsideTheFolderAreNotServed_data()
{
    QTest::addColumn<QByteArray>("path");
    for (const char *const path :
         {"/../secret.txt", "/..%2fsecret.txt", "/%2e%2e/secret.txt", "/tiles/../../secret.txt", "/../outside/0/0/0",
          "/..%2Foutside/0/0/0", "/..%5Coutside/0/0/0", "/.%2e/outside/0/0/0", "/outside/0/0/0",
          "/%2e%2e%2foutside.mbtiles/0/0/0", "/world.mbtiles", "/tiles/world.mbtiles", "/etc/passwd", "//etc/passwd",
          "/..%c0%afoutside/0/0/0", "/file:%2f%2foutside/0/0/0", "/world/../../secret.txt",
          "/../../../../../../../../etc/passwd"})
        QTest::newRow(path) << QByteArray(path);
}

void TestTileService::filesOutsideTheFolderAreNotServed()
{
    QFETCH(QByteArray, path);
    const QByteArray answer = m_service->get(path);
    const int status = TileService::statusOf(answer);
    QVERIFY2(status == 400 || status == 404, answer);
    QVERIFY(!answer.contains("secret"));
    QVERIFY(!answer.contains("root:"));
    QVERIFY(!answer.contains("PNG\r\n"));
    QVERIFY(!answer.contains("SQLite format"));
}

void TestTileService::urlOfAMegabyteIsRefused()
{
    QCOMPARE(TileService::statusOf(m_service->get("/" + QByteArray(1 << 20, 'a'))), 414);
    QCOMPARE(TileService::statusOf(m_service->get("/wmts?" + QByteArray("a=b&").repeated(1 << 18))), 414);
    QCOMPARE(TileService::statusOf(m_service->get("/" + QByteArray("../").repeated(1 << 18))), 414);
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileService::twoHundredConnectionsAtOnce()
{
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < 200; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        sockets.back()->connectToHost("127.0.0.1", m_service->port());
    }
    for (const auto &socket : sockets)
        QVERIFY(socket->state() == QAbstractSocket::ConnectedState || socket->waitForConnected(20000));
    // All are open before the first asks.
    for (int i = 0; i < 200; ++i)
        sockets[std::size_t(i)]->write(
            m_service->withHost(QStringLiteral("GET /world/3/%1/%2 HTTP/1.1\r\nConnection: close\r\n\r\n")
                                    .arg(i % 8)
                                    .arg(i / 8 % 8)
                                    .toLatin1()));
    for (const auto &socket : sockets)
        while (socket->bytesToWrite() > 0 && socket->waitForBytesWritten(1000)) { }
    int good = 0;
    for (int i = 0; i < 200; ++i)
        good += TileService::bodyOf(TileService::readToEnd(*sockets[std::size_t(i)])) == pngBytes(3, i % 8, i / 8 % 8);
    QCOMPARE(good, 200);
}

void TestTileService::slowClientsDoNotDelayOthers()
{
    std::vector<std::unique_ptr<QTcpSocket>> senders;
    std::vector<std::unique_ptr<QTcpSocket>> readers;
    QTRY_VERIFY_WITH_TIMEOUT(m_service->openFiles() < 60, 30000); // those of the tests before are gone
    for (int i = 0; i < 60; ++i) {
        senders.push_back(std::make_unique<QTcpSocket>());
        QVERIFY(m_service->connectTo(*senders.back()));
        senders.back()->write("GET /world/0/0/0 HT");
        senders.back()->flush();
        readers.push_back(std::make_unique<QTcpSocket>());
        readers.back()->setReadBufferSize(1);
        QVERIFY(m_service->connectTo(*readers.back()));
        readers.back()->write(m_service->withHost("GET /big/4/0/0 HTTP/1.1\r\n\r\n").repeated(20));
        readers.back()->flush();
    }
    QTRY_VERIFY_WITH_TIMEOUT(m_service->openFiles() >= 60, 10000);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
    QVERIFY2(timer.elapsed() < 4000, "an honest request waited for the slow ones");
    // Their time passes: a status for whoever did not end the head, the end of the connection for who does not read.
    QCOMPARE(TileService::statusOf(TileService::readToEnd(*senders.front())), 408);
    QTRY_VERIFY_WITH_TIMEOUT(m_service->openFiles() < 60, 30000);
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileService::manyPipelinedRequestsAreAnsweredFast()
{
    constexpr int kClients = 8;
    constexpr int kRounds = 20;
    constexpr int kAtOnce = 25;
    constexpr int kTiles = kClients * kRounds * kAtOnce;
    std::vector<std::unique_ptr<QTcpSocket>> clients;
    for (int i = 0; i < kClients; ++i) {
        clients.push_back(std::make_unique<QTcpSocket>());
        QVERIFY(m_service->connectTo(*clients.back()));
    }
    QElapsedTimer timer;
    timer.start();
    int good = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (const auto &client : clients)
            for (int i = 0; i < kAtOnce; ++i)
                client->write(m_service->withHost(
                    QStringLiteral("GET /world/3/%1/%2 HTTP/1.1\r\n\r\n").arg(round % 8).arg(i % 8).toLatin1()));
        for (const auto &client : clients) {
            QByteArray answers;
            // The last of them ends with its own tile.
            while (answers.count("HTTP/1.1 200") < kAtOnce
                   || !answers.endsWith(pngBytes(3, round % 8, (kAtOnce - 1) % 8)))
                if (client->waitForReadyRead(10000))
                    answers += client->readAll();
                else
                    break;
            for (int i = 0; i < kAtOnce; ++i)
                good += answers.contains(pngBytes(3, round % 8, i % 8));
        }
    }
    QCOMPARE(good, kTiles);
    // 500 a second are wanted.
    QVERIFY2(timer.elapsed() < 10 * kTiles * 1000 / 500, qPrintable(QString::number(timer.elapsed())));
}

void TestTileService::fuzzOfRequestLines()
{
    std::mt19937 random(2024);
    const auto below = [&random](int end) { return int(random() % unsigned(end)); };
    const QByteArray pieces[] = {"GET",
                                 "HEAD",
                                 "POST",
                                 " ",
                                 "  ",
                                 "/",
                                 "//",
                                 "/world",
                                 "/wmts?",
                                 "/layers.json",
                                 "..",
                                 "%2e%2e",
                                 "%",
                                 "%00",
                                 "%zz",
                                 "0",
                                 "1",
                                 "-1",
                                 "31",
                                 "4294967295",
                                 "99999999999999999999",
                                 "HTTP/1.1",
                                 "HTTP/1.0",
                                 "HTTP/9",
                                 "\t",
                                 "\r",
                                 "&",
                                 "=",
                                 "SERVICE=WMTS",
                                 "REQUEST=GetTile",
                                 "REQUEST=GetCapabilities",
                                 "LAYER=world",
                                 "?",
                                 "#",
                                 QByteArray("\0", 1),
                                 "\xff\xfe",
                                 "地图",
                                 QByteArray(9000, 'a'),
                                 "http://127.0.0.1/",
                                 "*",
                                 ":",
                                 "@",
                                 "\\"};
    int good = 0;
    int refused = 0;
    for (int run = 0; run < 1500; ++run) {
        QByteArray line = below(3) > 0 ? "GET /" : "";
        for (int i = below(12); i >= 0; --i)
            line += pieces[below(int(std::size(pieces)))];
        if (below(3) > 0)
            line += " HTTP/1.1";
        const QByteArray answer = m_service->ask(line + "\r\n" + m_service->hostLine() + "Connection: close\r\n\r\n");
        const int status = TileService::statusOf(answer);
        QVERIFY2(status == 200 || (status >= 400 && status < 600), line + " gives " + answer);
        QVERIFY2(status != 500 && status != 503, line + " gives " + answer);
        QVERIFY(!answer.contains("secret") && !answer.contains("root:"));
        good += status == 200;
        refused += status != 200;
    }
    QVERIFY(m_service->isRunning());
    QVERIFY(refused > 1000);
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileService::memoryStaysBounded()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("the sanitizer has memory of its own");
#endif
    // After all of the above: 64 MiB of responses under way, 128 MiB of databases at the very most, and the threads.
    QFile status(QStringLiteral("/proc/%1/status").arg(m_service->process().processId()));
    QVERIFY(status.open(QIODevice::ReadOnly));
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            QVERIFY2(line.simplified().split(' ').at(1).toInt() < 300 * 1024, line);
}

void TestTileService::endsOnSignals_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("terminate") << SIGTERM;
    QTest::newRow("interrupt") << SIGINT;
    QTest::newRow("hang up") << SIGHUP;
}

void TestTileService::endsOnSignals()
{
    QFETCH(int, signal);
    TileService service(QStringLiteral(WMTS_PROGRAM));
    MBTilesFile::writeWorld(service.tiles("world.mbtiles"));
    QVERIFY(service.start());
    QCOMPARE(::kill(pid_t(service.process().processId()), signal), 0);
    QVERIFY(service.process().waitForFinished(10000));
    QCOMPARE(service.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(service.process().exitCode(), 0);
}

void TestTileService::endsWhileServing()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    MBTilesFile::writeWorld(service.tiles("world.mbtiles"));
    QVERIFY(service.start());
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < 50; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        QVERIFY(service.connectTo(*sockets.back()));
        sockets.back()->write(service.withHost(i % 2 ? "GET /world" : "GET /world/0/0/0 HTTP/1.1\r\n\r\n"));
        sockets.back()->flush();
    }
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(service.stop(), 0);
    QVERIFY2(timer.elapsed() < 4000, "the end waited for the clients");
    // The port is free again at once.
    QTcpServer successor;
    QVERIFY(successor.listen(QHostAddress::LocalHost, service.port()));
}

void TestTileService::endsDespiteAQueueAtASlowMap()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    {
        MBTilesFile slow(service.tiles("slow.mbtiles"));
        slow.run("CREATE TABLE metadata (name TEXT, value TEXT)");
        slow.addMetadata("minzoom", "0");
        slow.addMetadata("maxzoom", "5");
        // The tile of level 0 is found at once. The search for one of level 5 has no end.
        slow.run("CREATE VIEW tiles AS SELECT 0 AS zoom_level, 0 AS tile_column, 0 AS tile_row, "
                 "x'89504e470d0a1a0a' AS tile_data UNION ALL SELECT 5, 0, 31, x'00' FROM (WITH RECURSIVE n(i) AS "
                 "(SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i FROM n WHERE i < 0)");
    }
    QVERIFY(service.start());
    QCOMPARE(TileService::statusOf(service.get("/slow/0/0/0")), 200);
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < 20; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        QVERIFY(service.connectTo(*sockets.back()));
        sockets.back()->write(service.withHost("GET /slow/5/0/0 HTTP/1.1\r\n\r\n"));
        QVERIFY(sockets.back()->waitForBytesWritten(10000));
    }
    // When one is answered, the others wait in the queue.
    bool isOneAnswered = false;
    QElapsedTimer timer;
    timer.start();
    while (!isOneAnswered && timer.elapsed() < 20000)
        for (const auto &socket : sockets)
            isOneAnswered = isOneAnswered || socket->waitForReadyRead(10);
    QVERIFY(isOneAnswered);
    QCOMPARE(service.stop(), 0);
}

int TestTileService::runToEnd(TileService &service, const QStringList &arguments, QByteArray *error)
{
    QProcess process;
    process.start(service.folder() + "/wmts.exe", arguments);
    if (!process.waitForFinished(30000))
        return -1;
    *error = process.readAllStandardError();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void TestTileService::missingFolder()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    QVERIFY(QDir(service.folder()).rmdir("tiles"));
    QByteArray error;
    QCOMPARE(runToEnd(service, {"--port", "0"}, &error), 3);
    QCOMPARE(error, "wmts: there is no folder " + service.folder().toUtf8() + "/tiles\n");
}

void TestTileService::folderWithoutMaps()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    QByteArray error;
    QCOMPARE(runToEnd(service, {"--port", "0"}, &error), 4);
    QCOMPARE(error.count('\n'), 1);
}

void TestTileService::brokenFileAlone()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    QFile file(service.tiles("broken.mbtiles"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no database");
    file.close();
    QByteArray error;
    QCOMPARE(runToEnd(service, {"--port", "0"}, &error), 4);
    QVERIFY2(error.startsWith("wmts: broken.mbtiles is left out: "), error);
}

void TestTileService::brokenFileAmongGoodOnes()
{
    TileService service(QStringLiteral(WMTS_PROGRAM));
    QFile file(service.tiles("broken.mbtiles"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no database");
    file.close();
    MBTilesFile::writeWorld(service.tiles("world.mbtiles"));
    QVERIFY(service.start());
    QCOMPARE(TileService::statusOf(service.get("/world/0/0/0")), 200);
    QCOMPARE(TileService::statusOf(service.get("/broken/0/0/0")), 404);
    QCOMPARE(service.stop(), 0);
    QVERIFY(service.process().readAllStandardError().startsWith("wmts: broken.mbtiles is left out: "));
}

void TestTileService::wrongUse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown") << QStringList("--what");
    QTest::newRow("no number") << QStringList("--port");
    QTest::newRow("text") << QStringList{"--port", "abc"};
    QTest::newRow("too large") << QStringList{"--port", "65536"};
    QTest::newRow("negative") << QStringList{"--port", "-1"};
}

void TestTileService::wrongUse()
{
    QFETCH(QStringList, arguments);
    TileService service(QStringLiteral(WMTS_PROGRAM));
    QByteArray error;
    QCOMPARE(runToEnd(service, arguments, &error), 2);
    QCOMPARE(error.count('\n'), 1);
}

void TestTileService::portOfAnotherProgramIsReported()
{
    // Ends whatever it accepts.
    QTcpServer other;
    connect(&other, &QTcpServer::newConnection, &other, [&other] { delete other.nextPendingConnection(); });
    QVERIFY(other.listen(QHostAddress::LocalHost, 0));
    QProcess process;
    process.start(m_service->folder() + "/wmts.exe", {"--port", QString::number(other.serverPort())});
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 20000);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 5);
    QCOMPARE(process.readAllStandardError(),
             "wmts: cannot listen at port " + QByteArray::number(other.serverPort())
                 + " of 127.0.0.1: another program has it\n");
}

void TestTileService::silentOwnerOfThePortDoesNotBlockTheStart()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost, 0));
    QByteArray error;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(runToEnd(*m_service, {"--port", QString::number(silent.serverPort())}, &error), 5);
    // Ten times what the service waits for an answer.
    QVERIFY(timer.elapsed() < 20000);
}

void TestTileService::forbiddenPortIsReported()
{
    // Without an administrator's rights, even where the tests have them.
    QFile first(QStringLiteral("/proc/sys/net/ipv4/ip_unprivileged_port_start"));
    if (QProcess::execute("unshare", {"--user", "true"}) != 0 || !first.open(QIODevice::ReadOnly)
        || first.readAll().trimmed().toInt() <= 1)
        QSKIP("this machine refuses nobody a port");
    QProcess process;
    process.start("unshare", {"--user", m_service->folder() + "/wmts.exe", "--port", "1"});
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.readAllStandardError(),
             "wmts: cannot listen at port 1 of 127.0.0.1: " + QByteArray(strerror(EACCES)) + '\n');
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
}

void TestTileService::secondCopyFindsTheFirst()
{
    QByteArray error;
    QCOMPARE(runToEnd(*m_service, {"--port", QString::number(m_service->port())}, &error), 6);
    QCOMPARE(error, "wmts: the tile service runs already at port " + QByteArray::number(m_service->port()) + "\n");
    QCOMPARE(TileService::statusOf(m_service->get("/world/0/0/0")), 200);
}

void TestTileService::closedStandardStreamsAreOpenedOnTheNullDevice()
{
    // A line is written to standard error on the way; it must not come out of the first socket.
    TileService service(QStringLiteral(WMTS_PROGRAM));
    MBTilesFile::writeWorld(service.tiles("world.mbtiles"));
    QFile file(service.tiles("broken.mbtiles"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no database");
    file.close();
    QTcpServer finder;
    QVERIFY(finder.listen(QHostAddress::LocalHost, 0));
    const quint16 port = finder.serverPort();
    finder.close();
    QProcess shell;
    shell.start(
        "/bin/sh",
        {"-c", "exec \"$0\" --port \"$1\" <&- >&- 2>&-", service.folder() + "/wmts.exe", QString::number(port)});
    QVERIFY(shell.waitForStarted());
    QByteArray answer;
    const auto answers = [&] {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.1", port);
        if (socket.waitForConnected(1000)) {
            socket.write("GET /world/0/0/0 HTTP/1.1\r\nHost: localhost:" + QByteArray::number(port)
                         + "\r\nConnection: close\r\n\r\n");
            answer = TileService::readToEnd(socket);
        }
        return TileService::statusOf(answer) == 200;
    };
    QTRY_VERIFY_WITH_TIMEOUT(answers(), 30000);
    QCOMPARE(TileService::bodyOf(answer), pngBytes(0, 0, 0));
    for (int stream = 0; stream < 3; ++stream)
        QCOMPARE(QFile::symLinkTarget(QStringLiteral("/proc/%1/fd/%2").arg(shell.processId()).arg(stream)),
                 QString("/dev/null"));
    shell.terminate();
    QVERIFY(shell.waitForFinished(10000));
    QCOMPARE(shell.exitCode(), 0);
}

void TestTileService::leavesTheTerminalWhenAProgramStartsIt()
{
    // The terminal's end goes to its session, the program's.
    const auto service = pid_t(m_service->process().processId());
    QCOMPARE(getsid(service), service);
    QVERIFY(getsid(service) != getsid(0));
}

void TestTileService::keepsTheTerminalWhenAUserStartsIt()
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    QVERIFY(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    TileService service(QStringLiteral(WMTS_PROGRAM));
    MBTilesFile::writeWorld(service.tiles("world.mbtiles"));
    service.process().setStandardInputFile(QFile::decodeName(ptsname(terminal)));
    QVERIFY(service.start());
    QCOMPARE(getsid(pid_t(service.process().processId())), getsid(0));
    QCOMPARE(service.stop(), 0);
    close(terminal);
}

void TestTileService::listensOnLoopbackOnly()
{
    QFile table(QStringLiteral("/proc/net/tcp"));
    QVERIFY(table.open(QIODevice::ReadOnly));
    const QByteArray port = ":" + QByteArray::number(m_service->port(), 16).toUpper().rightJustified(4, '0') + " ";
    QByteArrayList listeners;
    for (const QByteArray &line : table.readAll().split('\n')) {
        const QByteArrayList fields = line.simplified().split(' ');
        if (fields.size() > 3 && (fields.at(1) + " ").endsWith(port) && fields.at(3) == "0A")
            listeners.append(fields.at(1).left(8));
    }
    QCOMPARE(listeners, QByteArrayList{"0100007F"});
}

QTEST_GUILESS_MAIN(TestTileService)
#include "TestTileService.moc"
