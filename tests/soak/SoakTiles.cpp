#include "DemoTiles.h"
#include "ProcessState.h"
#include "TileService.h"

#include <QElapsedTimer>
#include <QTest>

namespace
{

constexpr int kRequests = 1'000'000;
constexpr int kEarly = 100'000;
constexpr int kPerConnection = 500;
constexpr int kPerBatch = 50; // sent before the first answer is read
constexpr double kMaxGrowth = 1.05;
constexpr int kLimitMs = 60'000;

// Of the demo map, with nine by nine tiles.
constexpr int kZoom = 14;
constexpr int kColumn = 13376;
constexpr int kRow = 6545;

/** Target of a request: mostly tiles, and some of everything else that a client may ask for. */
QByteArray target(int number)
{
    switch (number % 100) {
    case 0:
        return "/";
    case 1:
        return "/wmts?SERVICE=WMTS&REQUEST=GetCapabilities";
    case 2:
        return "/demo/14/0/0";
    case 3:
        return "/nothing/" + QByteArray::number(number);
    case 4:
        return "/wmts?REQUEST=GetTile&LAYER=none&n=" + QByteArray::number(number);
    default:
        return QStringLiteral("/demo/%1/%2/%3")
            .arg(kZoom)
            .arg(kColumn - 3 + number % 7)
            .arg(kRow - 3 + number / 7 % 7)
            .toLatin1();
    }
}

/** Removes one whole answer from the front of the bytes. @return its status, or 0 while it is incomplete */
int takeAnswer(QByteArray &bytes, int &begin)
{
    const int head = bytes.indexOf("\r\n\r\n", begin);
    if (head < 0)
        return 0;
    const int at = bytes.indexOf("Content-Length: ", begin);
    if (at < 0 || at > head)
        return -1;
    const int length = bytes.mid(at + 16, bytes.indexOf("\r\n", at) - at - 16).toInt();
    if (bytes.size() < head + 4 + length)
        return 0;
    const int status = bytes.mid(begin + 9, 3).toInt();
    begin = head + 4 + length;
    return status;
}

} // namespace

/** A million requests to one process of the tile service. What it holds does not grow with their number. */
class SoakTiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyRequestIsAnswered();
    void memoryIsFlat();
    void threadsAreFlat();
    void descriptorsAreFlat();

private:
    void askOnOneConnection(int first);
    void askBatch(QTcpSocket &socket, int first);
    ProcessState idle();

    std::unique_ptr<TileService> m_service;
    QMap<int, int> m_answers; // by status
    ProcessState m_early;
    ProcessState m_late;
    int m_begin = 0;
};

/** The service with no connection. */
ProcessState SoakTiles::idle()
{
    const int least = m_early.descriptors.isEmpty() ? 0 : int(m_early.descriptors.size());
    ProcessState state = ProcessState::of(m_service->process().processId());
    (void)QTest::qWaitFor(
        [&] {
            const int before = state.descriptors.size();
            state = ProcessState::of(m_service->process().processId());
            return least > 0 ? state.descriptors.size() <= least : state.descriptors.size() == before;
        },
        kLimitMs / 4);
    return state;
}

void SoakTiles::initTestCase()
{
    m_service = std::make_unique<TileService>(QStringLiteral(WMTS_PROGRAM));
    QVERIFY(demo::writeTiles(m_service->tiles(QStringLiteral("demo.mbtiles"))));
    QVERIFY(m_service->start());
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kRequests; i += kPerConnection) {
        if (i == kEarly)
            m_early = idle();
        askOnOneConnection(i);
        if (QTest::currentTestFailed())
            return;
    }
    m_late = idle();
    std::printf("tile service, requests a second | - | %.0f | -\n", kRequests * 1e3 / double(timer.elapsed()));
}

void SoakTiles::askOnOneConnection(int first)
{
    QTcpSocket socket;
    QVERIFY(m_service->connectTo(socket));
    for (int i = first; i < first + kPerConnection; i += kPerBatch) {
        askBatch(socket, i);
        if (QTest::currentTestFailed())
            return;
    }
}

void SoakTiles::askBatch(QTcpSocket &socket, int first)
{
    QByteArray requests;
    for (int i = first; i < first + kPerBatch; ++i)
        requests += "GET " + target(i) + " HTTP/1.1\r\n" + m_service->hostLine() + "\r\n";
    socket.write(requests);
    QByteArray bytes;
    int begin = 0;
    for (int answers = 0; answers < kPerBatch;) {
        const int status = takeAnswer(bytes, begin);
        if (status != 0) {
            ++m_answers[status];
            ++answers;
            continue;
        }
        if (socket.bytesAvailable() == 0)
            QVERIFY2(socket.waitForReadyRead(kLimitMs), qPrintable(socket.errorString()));
        bytes += socket.readAll();
    }
    QCOMPARE(begin, bytes.size());
}

void SoakTiles::everyRequestIsAnswered()
{
    int sum = 0;
    for (auto answer = m_answers.cbegin(); answer != m_answers.cend(); ++answer) {
        std::printf("tile service, answers with status %d | - | %d | -\n", answer.key(), answer.value());
        sum += answer.value();
    }
    QCOMPARE(sum, kRequests);
    // 95 of 100 requests are for tiles that exist.
    QVERIFY(m_answers.value(200) >= kRequests / 100 * 95);
    QVERIFY(m_service->isRunning());
}

void SoakTiles::memoryIsFlat()
{
    printRow("tile service, memory after 10^5 and 10^6 requests", m_early.residentMiB, m_late.residentMiB, "MiB",
             "+5 %");
    QVERIFY(m_early.residentMiB > 0);
    QVERIFY2(m_late.residentMiB <= m_early.residentMiB * kMaxGrowth, "the memory grows");
}

void SoakTiles::threadsAreFlat()
{
    printRow("tile service, threads", int(m_early.threads.size()), int(m_late.threads.size()), "no more");
    QVERIFY(!m_early.threads.isEmpty());
    QVERIFY(m_late.threads.size() <= m_early.threads.size());
}

void SoakTiles::descriptorsAreFlat()
{
    printRow("tile service, open descriptors", int(m_early.descriptors.size()), int(m_late.descriptors.size()),
             "no more");
    QVERIFY(!m_early.descriptors.isEmpty());
    const QStringList more = increases(counted(m_early.descriptors), counted(m_late.descriptors));
    QVERIFY2(more.isEmpty(), qPrintable(more.join(QStringLiteral(", "))));
}

QTEST_GUILESS_MAIN(SoakTiles)
#include "SoakTiles.moc"
