#include "RequestHead.h"

#include <QtTest>
#include <random>
#include <string>

using wmts::RequestHead;

class TestRequestHead : public QObject
{
    Q_OBJECT

private slots:
    void readsHeads_data();
    void readsHeads();
    void returnsAllHostsAndOrigins();
    void stopsBeforeTheNextRequest();
    void readsAndKeepsALimitedNumberOfBytes_data();
    void readsAndKeepsALimitedNumberOfBytes();
    void piecesGiveTheSameResultAsTheWholeHead();
};

void TestRequestHead::readsHeads_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("closes");
    const QByteArray get = "GET / HTTP/1.1";
    QTest::newRow("plain") << get + "\r\n\r\n" << 0 << get << false;
    QTest::newRow("line feeds alone") << get + "\nHost: a\n\n" << 0 << get << false;
    QTest::newRow("empty lines before") << "\r\n\n" + get + "\r\n\r\n" << 0 << get << false;
    QTest::newRow("close") << get + "\r\nCONNECTION:  Close \r\n\r\n" << 0 << get << true;
    QTest::newRow("keep") << get + "\r\nConnection: keep-alive\r\n\r\n" << 0 << get << false;
    QTest::newRow("empty body") << get + "\r\nContent-Length: 0\r\n\r\n" << 0 << get << false;
    QTest::newRow("body") << get + "\r\nContent-Length: 5\r\n\r\n" << 0 << get << true;
    QTest::newRow("chunks") << get + "\r\nTransfer-Encoding: chunked\r\n\r\n" << 0 << get << true;
    QTest::newRow("header without colon") << get + "\r\nwhat\r\n\r\n" << 400 << get << true;
    QTest::newRow("folded header") << get + "\r\na: b\r\n c\r\n\r\n" << 400 << get << true;
    QTest::newRow("null in the line") << QByteArray("GET /\0 HTTP/1.1\r\n\r\n", 19) << 400 << QByteArray() << true;
    QTest::newRow("carriage return inside") << QByteArray("GET /\rX HTTP/1.1\r\n\r\n") << 400 << QByteArray() << true;
    const QByteArray most = "GET /" + QByteArray(8000 - 14, 'a') + " HTTP/1.1";
    QCOMPARE(most.size(), 8000);
    QTest::newRow("longest line") << most + "\r\n\r\n" << 0 << most << false;
    QTest::newRow("line too long") << "X" + most + "\r\n\r\n" << 414 << QByteArray() << true;
    QTest::newRow("line of a megabyte") << "GET /" + QByteArray(1 << 20, 'a') + "\r\nHost: a\r\n\r\n"
                                        << 414 << QByteArray() << true;
    QTest::newRow("header too long") << get + "\r\na: " + QByteArray(8000, 'b') + "\r\n\r\n" << 431 << get << true;
    QTest::newRow("too many headers") << get + "\r\n" + QByteArray("a: b\r\n").repeated(6000) + "\r\n"
                                      << 431 << get << true;
}

void TestRequestHead::readsHeads()
{
    QFETCH(QByteArray, head);
    RequestHead read;
    QVERIFY(!read.begun());
    QCOMPARE(int(read.take(head.toStdString())), head.size());
    QVERIFY(read.begun());
    QVERIFY(read.ended());
    QTEST(read.error(), "error");
    QTEST(QByteArray::fromStdString(read.requestLine()), "line");
    QTEST(read.closes(), "closes");
}

void TestRequestHead::returnsAllHostsAndOrigins()
{
    RequestHead head;
    head.take("GET / HTTP/1.1\r\nHOST: LocalHost:1 \r\nOrigin:null\r\nX-Host: a\r\nhost:\r\nOrigin: HTTP://B\r\n\r\n");
    QCOMPARE(head.error(), 0);
    QCOMPARE(head.hosts(), (std::vector<std::string>{"localhost:1", ""}));
    QCOMPARE(head.origins(), (std::vector<std::string>{"null", "http://b"}));
}

void TestRequestHead::stopsBeforeTheNextRequest()
{
    const std::string first = "GET /a HTTP/1.1\r\n\r\n";
    RequestHead head;
    QCOMPARE(head.take(first + "GET /b HTTP/1.1\r\n\r\n"), first.size());
    QCOMPARE(head.take("GET /c"), std::size_t(0));
    QCOMPARE(QByteArray::fromStdString(head.requestLine()), QByteArray("GET /a HTTP/1.1"));
}

void TestRequestHead::readsAndKeepsALimitedNumberOfBytes_data()
{
    QTest::addColumn<QByteArray>("piece");
    QTest::addColumn<int>("error");
    QTest::newRow("endless line") << QByteArray(4096, 'a') << 414;
    QTest::newRow("endless headers") << QByteArray("a: b\r\n") << 431;
    QTest::newRow("endless empty lines") << QByteArray("\r\n") << 414;
}

void TestRequestHead::readsAndKeepsALimitedNumberOfBytes()
{
    QFETCH(QByteArray, piece);
    const std::string text = piece.toStdString();
    RequestHead head;
    std::size_t sent = 0;
    for (; !head.ended() && sent < 2 * wmts::kMaxDiscardedBytes; sent += text.size())
        head.take(text);
    QVERIFY(head.ended());
    QVERIFY(sent <= wmts::kMaxDiscardedBytes + 2 * text.size());
    QTEST(head.error(), "error");
    QVERIFY(head.requestLine().size() <= wmts::kMaxRequestLine);
}

void TestRequestHead::piecesGiveTheSameResultAsTheWholeHead()
{
    // Random heads give the same result as a whole and in random pieces.
    std::mt19937 random(7);
    const auto below = [&random](int end) { return int(random() % unsigned(end)); };
    const std::string pieces[] = {"GET ",
                                  "/demo/1/0/0",
                                  " HTTP/1.1",
                                  "\r\n",
                                  "\n",
                                  "\r",
                                  ":",
                                  "Connection: close",
                                  "\r\n\r\n",
                                  std::string(1, '\0'),
                                  "\x80\xff",
                                  " ",
                                  "\t",
                                  std::string(3000, 'a'),
                                  "Content-Length: 3",
                                  "Host: a"};
    int ended = 0;
    int refused = 0;
    for (int run = 0; run < 3000; ++run) {
        std::string text;
        for (int i = below(20); i >= 0; --i)
            text += pieces[below(int(std::size(pieces)))];
        RequestHead whole;
        const std::size_t taken = whole.take(text);
        RequestHead cut;
        std::size_t takenCut = 0;
        for (std::size_t at = 0; at < text.size() && !cut.ended();) {
            const std::size_t size = std::size_t(1 + below(40));
            takenCut += cut.take(std::string_view(text).substr(at, size));
            at += size;
        }
        QCOMPARE(takenCut, taken);
        QCOMPARE(cut.ended(), whole.ended());
        QCOMPARE(cut.error(), whole.error());
        QCOMPARE(cut.closes(), whole.closes());
        QCOMPARE(cut.requestLine(), whole.requestLine());
        QCOMPARE(cut.hosts(), whole.hosts());
        QVERIFY(whole.error() == 0 || whole.error() == 400 || whole.error() == 414 || whole.error() == 431);
        ended += whole.ended();
        refused += whole.error() != 0;
    }
    // The random heads include complete, incomplete, good and bad ones.
    QVERIFY(ended > 300);
    QVERIFY(refused > 300 && refused < 2900);
}

QTEST_GUILESS_MAIN(TestRequestHead)
#include "TestRequestHead.moc"
