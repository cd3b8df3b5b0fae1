#include "TileAnswers.h"

#include <QtTest>

class TestTileAnswers : public QObject
{
    Q_OBJECT

private slots:
    void nothingLargeIsAnsweredWhileTooMuchIsBeingSent_data();
    void nothingLargeIsAnsweredWhileTooMuchIsBeingSent();
};

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

QTEST_GUILESS_MAIN(TestTileAnswers)
#include "TestTileAnswers.moc"
