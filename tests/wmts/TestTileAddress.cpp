#include "TileAddress.h"

#include <QtTest>

class TestTileAddress : public QObject
{
    Q_OBJECT

private slots:
    void readsAddresses_data();
    void readsAddresses();
    void refusesOtherPaths_data();
    void refusesOtherPaths();
    void flipsRows_data();
    void flipsRows();
};

void TestTileAddress::readsAddresses_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("layer");
    QTest::addColumn<int>("zoom");
    QTest::addColumn<qint64>("column");
    QTest::addColumn<qint64>("row");
    QTest::newRow("whole world") << QByteArray("/demo/0/0/0") << QByteArray("demo") << 0 << qint64(0) << qint64(0);
    QTest::newRow("south-east corner") << QByteArray("/demo/3/7/7") << QByteArray("demo") << 3 << qint64(7)
                                       << qint64(7);
    QTest::newRow("Chinese layer with a blank and a dot")
        << QByteArray("/地图 1.2/13/6688/3272") << QByteArray("地图 1.2") << 13 << qint64(6688) << qint64(3272);
    QTest::newRow("deepest zoom") << QByteArray("/a/30/1073741823/1073741823") << QByteArray("a") << 30
                                  << qint64(1073741823) << qint64(1073741823);
    QTest::newRow("layer of two dots is a name")
        << QByteArray("/../1/0/1") << QByteArray("..") << 1 << qint64(0) << qint64(1);
    QTest::newRow("leading zeros") << QByteArray("/a/01/00/01") << QByteArray("a") << 1 << qint64(0) << qint64(1);
}

void TestTileAddress::readsAddresses()
{
    QFETCH(QByteArray, path);
    const auto address = wmts::parseTilePath(path.toStdString());
    QVERIFY(address);
    QTEST(QByteArray::fromStdString(address->layer), "layer");
    QTEST(address->zoom, "zoom");
    QTEST(qint64(address->column), "column");
    QTEST(qint64(address->row), "row");
}

void TestTileAddress::refusesOtherPaths_data()
{
    QTest::addColumn<QByteArray>("path");
    const char *const paths[] = {"",
                                 "/",
                                 "demo/0/0/0",
                                 "/demo",
                                 "/demo/0/0",
                                 "/demo/0/0/0/",
                                 "/demo/0/0/0/0",
                                 "//0/0/0",
                                 "/demo//0/0",
                                 "/demo/0/0/",
                                 "/demo/-1/0/0",
                                 "/demo/1/-1/0",
                                 "/demo/+1/0/0",
                                 "/demo/ 1/0/0",
                                 "/demo/1 /0/0",
                                 "/demo/0x1/0/0",
                                 "/demo/1e0/0/0",
                                 "/demo/1.0/0/0",
                                 "/demo/0/0/0.png",
                                 "/demo/0/1/0",
                                 "/demo/0/0/1",
                                 "/demo/3/8/0",
                                 "/demo/3/0/8",
                                 "/demo/31/0/0",
                                 "/demo/4294967296/0/0",
                                 "/demo/30/1073741824/0",
                                 "/demo/2/99999999999999999999999999/0",
                                 "/../../etc/passwd",
                                 "/demo/../../../etc",
                                 "\\demo\\0\\0\\0"};
    for (const char *const path : paths)
        QTest::newRow(path) << QByteArray(path);
    QTest::newRow("a null behind a number") << QByteArray("/demo/0/0/0\0", 12);
    QTest::newRow("a megabyte") << "/demo/0/0/" + QByteArray(1 << 20, '0') + "x";
}

void TestTileAddress::refusesOtherPaths()
{
    QFETCH(QByteArray, path);
    QVERIFY(!wmts::parseTilePath(path.toStdString()));
}

void TestTileAddress::flipsRows_data()
{
    QTest::addColumn<int>("zoom");
    QTest::addColumn<qint64>("north");
    QTest::addColumn<qint64>("south");
    QTest::newRow("one row") << 0 << qint64(0) << qint64(0);
    QTest::newRow("upper of two") << 1 << qint64(0) << qint64(1);
    QTest::newRow("third of eight") << 3 << qint64(2) << qint64(5);
    QTest::newRow("deepest") << 30 << qint64(0) << qint64(1073741823);
}

void TestTileAddress::flipsRows()
{
    QFETCH(int, zoom);
    QFETCH(qint64, north);
    QFETCH(qint64, south);
    QCOMPARE(qint64(wmts::flippedRow(zoom, north)), south);
    QCOMPARE(qint64(wmts::flippedRow(zoom, south)), north);
}

QTEST_GUILESS_MAIN(TestTileAddress)
#include "TestTileAddress.moc"
