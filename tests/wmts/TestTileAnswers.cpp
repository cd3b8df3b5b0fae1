#include "MBTilesFile.h"
#include "TileAnswers.h"

#include <QTemporaryDir>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

class TestTileAnswers : public QObject
{
    Q_OBJECT

private slots:
    void nothingLargeIsAnsweredWhileTooMuchIsBeingSent_data();
    void nothingLargeIsAnsweredWhileTooMuchIsBeingSent();
    void tilesCountBeforeTheyAreSent();
    void manyThreadsExceedTheLimitByOneAnswerAtMost();
    void answerWithoutABodyCountsNothing();
};

namespace
{

constexpr std::size_t kTileBytes = 1000000;

/** A folder with one layer, whose tile 0/0/0 has kTileBytes. */
class BigTiles
{
public:
    BigTiles()
    {
        {
            MBTilesFile file(m_folder.filePath(QStringLiteral("big.mbtiles")));
            file.makeTables();
            const QByteArray head = pngBytes(0, 0, 0);
            file.addTile(0, 0, 0, head + QByteArray(int(kTileBytes) - head.size(), 'x'));
        }
        m_layers = wmts::openLayers(std::filesystem::u8path(m_folder.path().toStdString()),
                                    [](const std::string &text) { qFatal("%s", text.c_str()); });
    }
    const wmts::Layers &layers() const { return m_layers; }

private:
    QTemporaryDir m_folder;
    wmts::Layers m_layers;
};

/** An answer with what it holds of the load. */
struct Held {
    wmts::BytesBeingSent bytes; // of the response
    wmts::Response response;
};

Held held(const wmts::TileAnswers &answers, const char *request)
{
    wmts::RequestHead head;
    head.take(std::string(request) + " HTTP/1.1\r\nHost: 127.0.0.1:9800\r\n\r\n");
    Held held;
    held.response = answers.answer(head, &held.bytes);
    return held;
}

} // namespace

void TestTileAnswers::nothingLargeIsAnsweredWhileTooMuchIsBeingSent_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("usual");
    // The documents grow with the number of maps: capabilities of 200 maps have more than a megabyte.
    QTest::newRow("capabilities") << QByteArray("/wmts?SERVICE=WMTS&REQUEST=GetCapabilities") << 200;
    QTest::newRow("list of layers") << QByteArray("/layers.json") << 200;
    QTest::newRow("tile") << QByteArray("/none/0/0/0") << 404;
}

void TestTileAnswers::nothingLargeIsAnsweredWhileTooMuchIsBeingSent()
{
    QFETCH(QByteArray, path);
    QFETCH(int, usual);
    const wmts::Layers layers;
    wmts::Load load;
    const wmts::TileAnswers answers(layers, load, 9800);
    const auto statusOf = [&answers, &path] {
        wmts::RequestHead head;
        head.take("GET " + path.toStdString() + " HTTP/1.1\r\nHost: 127.0.0.1:9800\r\n\r\n");
        return int(answers.answer(head).result_int());
    };
    load.bytesBeingSent = wmts::TileAnswers::kMaxBytesBeingSent;
    QCOMPARE(statusOf(), usual);
    load.bytesBeingSent = wmts::TileAnswers::kMaxBytesBeingSent + 1;
    QCOMPARE(statusOf(), 503);
}

void TestTileAnswers::tilesCountBeforeTheyAreSent()
{
    const BigTiles tiles;
    wmts::Load load;
    const wmts::TileAnswers answers(tiles.layers(), load, 9800);
    {
        std::vector<Held> sent;
        // 68 tiles are the first that have more than 64 MiB, which are 67,108,864 bytes.
        for (int i = 0; i < 68; ++i) {
            sent.push_back(held(answers, "GET /big/0/0/0"));
            QCOMPARE(sent.back().response.result_int(), 200U);
        }
        QCOMPARE(load.bytesBeingSent.load(), 68 * kTileBytes);
        QCOMPARE(held(answers, "GET /big/0/0/0").response.result_int(), 503U);
        sent.pop_back();
        QCOMPARE(held(answers, "GET /big/0/0/0").response.result_int(), 200U);
    }
    QCOMPARE(load.bytesBeingSent.load(), std::size_t(0));
}

void TestTileAnswers::manyThreadsExceedTheLimitByOneAnswerAtMost()
{
    constexpr int kThreads = 32;
    constexpr int kRequests = 8;
    const BigTiles tiles;
    wmts::Load load;
    const wmts::TileAnswers answers(tiles.layers(), load, 9800);
    std::vector<std::vector<Held>> sent(kThreads);
    std::vector<std::thread> threads;
    for (std::vector<Held> &ofThread : sent)
        threads.emplace_back([&answers, &ofThread] {
            for (int i = 0; i < kRequests; ++i)
                ofThread.push_back(held(answers, "GET /big/0/0/0"));
        });
    for (std::thread &thread : threads)
        thread.join();
    std::size_t bytes = 0;
    for (const std::vector<Held> &ofThread : sent)
        for (const Held &answer : ofThread)
            bytes += answer.response.result_int() == 200 ? answer.response.body().size() : 0;
    QCOMPARE(load.bytesBeingSent.load(), bytes);
    QCOMPARE(bytes, 68 * kTileBytes);
}

void TestTileAnswers::answerWithoutABodyCountsNothing()
{
    const BigTiles tiles;
    wmts::Load load;
    const wmts::TileAnswers answers(tiles.layers(), load, 9800);
    const Held head = held(answers, "HEAD /big/0/0/0");
    QCOMPARE(head.response.result_int(), 200U);
    QCOMPARE(load.bytesBeingSent.load(), std::size_t(0));
    const Held list = held(answers, "GET /layers.json");
    QCOMPARE(load.bytesBeingSent.load(), list.response.body().size());
}

QTEST_GUILESS_MAIN(TestTileAnswers)
#include "TestTileAnswers.moc"
