#include "MBTilesFile.h"
#include "TileServer.h"

#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>
#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<bool> isMemoryOut{false}; // for the threads of the service
std::atomic<int> failures{0};
thread_local bool isOwnThread = false;

} // namespace

void *operator new(std::size_t size)
{
    if (isMemoryOut && !isOwnThread) {
        ++failures;
        throw std::bad_alloc();
    }
    if (void *const bytes = std::malloc(size > 0 ? size : 1))
        return bytes;
    throw std::bad_alloc();
}

void operator delete(void *bytes) noexcept
{
    std::free(bytes);
}

void operator delete(void *bytes, std::size_t) noexcept
{
    std::free(bytes);
}

class TestTileServer : public QObject
{
    Q_OBJECT

private slots:
    void clientsAreAcceptedAgainWhenThereIsMemoryAgain();
};

void TestTileServer::clientsAreAcceptedAgainWhenThereIsMemoryAgain()
{
    isOwnThread = true;
    const QTemporaryDir folder;
    MBTilesFile::writeWorld(folder.filePath("world.mbtiles"));
    const wmts::Layers layers
        = wmts::openLayers(std::filesystem::u8path(folder.path().toStdString()), [](const std::string &) {});
    wmts::TileServer server;
    QVERIFY(!server.bind(0));
    server.start(layers);

    isMemoryOut = true;
    QTcpSocket lost;
    lost.connectToHost(QStringLiteral("127.0.0.1"), quint16(server.port()));
    QVERIFY(lost.waitForConnected(10000));
    QTRY_VERIFY_WITH_TIMEOUT(failures > 0, 10000);
    isMemoryOut = false;

    QTcpSocket client;
    client.connectToHost(QStringLiteral("127.0.0.1"), quint16(server.port()));
    QVERIFY(client.waitForConnected(10000));
    client.write("GET /world/0/0/0 HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(server.port()) + "\r\n\r\n");
    QVERIFY(client.waitForReadyRead(10000));
    QVERIFY(client.readAll().startsWith("HTTP/1.1 200 "));
    server.end();
}

QTEST_GUILESS_MAIN(TestTileServer)
#include "TestTileServer.moc"
