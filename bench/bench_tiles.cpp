// Tiles per second that the tile service delivers to one client, on one processor.

#include "DemoTiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sched.h>

namespace
{

constexpr int kRuns = 7;
constexpr int kTiles = 2000;

/** Reads one response. @return whether it is a complete tile */
bool readTile(QTcpSocket &socket)
{
    QByteArray answer;
    while (true) {
        const int head = answer.indexOf("\r\n\r\n");
        if (head > 0) {
            const int at = answer.indexOf("Content-Length: ");
            const int length = at < 0 ? -1 : answer.mid(at + 16, answer.indexOf("\r\n", at) - at - 16).toInt();
            if (length < 0 || answer.size() >= head + 4 + length)
                return answer.startsWith("HTTP/1.1 200") && answer.mid(head + 5, 3) == "PNG";
        }
        if (!socket.waitForReadyRead(5000))
            return false;
        answer += socket.readAll();
    }
}

/** Tiles per second, or 0 when a tile was missing. */
double run(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    if (!socket.waitForConnected(5000))
        return 0;
    // The centre of the demo map at a zoom level with nine by nine tiles.
    constexpr int kColumn = 13376;
    constexpr int kRow = 6545;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kTiles; ++i) {
        socket.write(QStringLiteral("GET /demo/14/%1/%2 HTTP/1.1\r\nHost: 127.0.0.1:%3\r\n\r\n")
                         .arg(kColumn - 3 + i % 7)
                         .arg(kRow - 3 + i / 7 % 7)
                         .arg(port)
                         .toLatin1());
        if (!readTile(socket))
            return 0;
    }
    return kTiles * 1e9 / static_cast<double>(timer.nsecsElapsed());
}

int failed(const char *text)
{
    std::fprintf(stderr, "%s\n", text);
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("wmts.exe"));
    if (!QFile::copy(QStringLiteral(WMTS_PROGRAM), program) || !QDir(folder.path()).mkdir(QStringLiteral("tiles"))
        || !demo::writeTiles(folder.filePath(QStringLiteral("tiles/demo.mbtiles"))))
        return failed("cannot prepare the tiles");

    // One processor for both, so the client's work counts against the service.
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    if (sched_setaffinity(0, sizeof one, &one) != 0)
        return failed("cannot keep to one processor");
    QProcess service;
    service.start(program, {QStringLiteral("--port"), QStringLiteral("0")});
    while (!service.canReadLine())
        if (!service.waitForReadyRead(10000))
            return failed("the service does not start");
    const QByteArray line = service.readLine();
    const auto port = static_cast<quint16>(line.mid(line.lastIndexOf(':') + 1).chopped(2).toUInt());
    double best = 0;
    double worst = 1e9;
    for (int i = 0; i < kRuns; ++i) {
        const double rate = run(port);
        best = std::max(best, rate);
        worst = std::min(worst, rate);
    }
    service.terminate();
    service.waitForFinished(5000);
    if (worst <= 0)
        return failed("a tile did not come");
    std::printf("tile service, one core with its client | - | %.0f tiles/s | - | at least 500\n", best);
    return 0;
}
