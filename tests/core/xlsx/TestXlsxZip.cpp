#include "XlsxZipReader.h"
#include "XlsxZipWriter.h"

#include "WorkbookFiles.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using QXlsx::XlsxZipReader;
using QXlsx::XlsxZipWriter;

namespace
{

const QByteArray kLong = QByteArray("0123456789abcdef").repeated(20000);

/** A device whose disk is full after some bytes. */
class FullDisk : public QBuffer
{
public:
    explicit FullDisk(qint64 room)
        : m_room(room)
    {
        open(QIODevice::ReadWrite);
    }

protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        const qint64 taken = qMin(size, m_room - pos());
        if (taken <= 0) {
            setErrorString("no room");
            return -1;
        }
        return QBuffer::writeData(data, taken);
    }

private:
    qint64 m_room;
};

QByteArray archiveOf(const Parts &parts)
{
    QBuffer device;
    device.open(QIODevice::ReadWrite);
    XlsxZipWriter zip(device);
    for (const auto &[name, bytes] : parts) {
        if (!zip.add(name, bytes))
            qFatal("cannot write a part");
    }
    if (!zip.finish())
        qFatal("cannot write an archive");
    return device.data();
}

} // namespace

class TestXlsxZip : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void partsReadBackInTheirOrder();
    void nameIsFoundInUpperAndLowerCase();
    void firstOfTwoPartsOfOneNameCounts();
    void equalPartsGiveEqualBytes();
    void carriedPartIsTheSame();
    void partWithADamagedHeadIsNotCarried();
    void partLongerThanTheLimitIsNotRead();
    void partOfManyPiecesIsReadWhole();
    void changedByteIsDamage_data();
    void changedByteIsDamage();
    void otherFilesAreRefused_data();
    void otherFilesAreRefused();
    void cancelledOpeningIsRefused();
    void fullDiskIsReportedWithItsReason_data();
    void fullDiskIsReportedWithItsReason();
    void archiveWithAnOpenPartIsNotFinished();

private:
    QString path() const { return m_dir->filePath("x.zip"); }
    void write(const QByteArray &bytes) const
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestXlsxZip::partsReadBackInTheirOrder()
{
    const Parts parts{{"b/second.xml", "123456789"}, {"a.xml", kLong}, {"中文.xml", {}}};
    QVERIFY(writeParts(path(), parts));
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QCOMPARE(int(zip.entries().size()), 3);
    for (int i = 0; i < 3; ++i) {
        const XlsxZipReader::Entry &entry = zip.entries()[std::size_t(i)];
        QCOMPARE(entry.name, parts[i].first);
        QCOMPARE(entry.unpacked, quint64(parts[i].second.size()));
        QByteArray bytes;
        QVERIFY(zip.readPart(i, ~quint64(0), bytes));
        QVERIFY(bytes == parts[i].second);
    }
    QCOMPARE(zip.entries()[0].crc, 0xCBF43926U); // the check value of CRC-32
    QVERIFY(zip.entries()[1].packed < zip.entries()[1].unpacked);
    QCOMPARE(zip.unpackedSize(), quint64(9 + kLong.size()));
}

void TestXlsxZip::nameIsFoundInUpperAndLowerCase()
{
    QVERIFY(writeParts(path(), {{"xl/Workbook.xml", "a"}, {"other", "b"}}));
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QCOMPARE(zip.indexOf("XL/workbook.XML"), 0);
    QCOMPARE(zip.indexOf("other"), 1);
    QCOMPARE(zip.indexOf("xl"), -1);
}

void TestXlsxZip::firstOfTwoPartsOfOneNameCounts()
{
    QVERIFY(writeParts(path(), {{"a.xml", "first"}, {"A.xml", "second"}}));
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QCOMPARE(int(zip.entries().size()), 1);
    QByteArray bytes;
    QVERIFY(zip.readPart(0, 100, bytes));
    QCOMPARE(bytes, QByteArray("first"));
}

void TestXlsxZip::equalPartsGiveEqualBytes()
{
    const Parts parts{{"a.xml", kLong}, {"b.xml", "b"}};
    const QByteArray first = archiveOf(parts);
    QVERIFY(first.startsWith("PK\x03\x04"));
    QVERIFY(archiveOf(parts) == first);
}

void TestXlsxZip::carriedPartIsTheSame()
{
    QVERIFY(writeParts(path(), {{"a.xml", "a"}, {"b.xml", kLong}}));
    XlsxZipReader from;
    QVERIFY(from.open(path()));
    const QString copy = m_dir->filePath("copy.zip");
    {
        QFile file(copy);
        QVERIFY(file.open(QIODevice::WriteOnly));
        XlsxZipWriter zip(file);
        QVERIFY(zip.carry(from, 1, {}));
        QVERIFY(zip.finish());
    }
    XlsxZipReader to;
    QVERIFY(to.open(copy));
    QCOMPARE(int(to.entries().size()), 1);
    QCOMPARE(to.entries()[0].packed, from.entries()[1].packed);
    QCOMPARE(to.entries()[0].crc, from.entries()[1].crc);
    QByteArray bytes;
    QVERIFY(to.readPart(0, ~quint64(0), bytes));
    QVERIFY(bytes == kLong);
}

void TestXlsxZip::partWithADamagedHeadIsNotCarried()
{
    QByteArray archive = archiveOf({{"a.xml", kLong}});
    archive[0] = 'X';
    write(archive);
    XlsxZipReader from;
    QVERIFY(from.open(path()));
    QBuffer device;
    QVERIFY(device.open(QIODevice::ReadWrite));
    XlsxZipWriter zip(device);
    QVERIFY(!zip.carry(from, 0, {}));
}

void TestXlsxZip::partLongerThanTheLimitIsNotRead()
{
    QVERIFY(writeParts(path(), {{"a.xml", "12345"}}));
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QByteArray bytes;
    QVERIFY(!zip.readPart(0, 4, bytes));
    QVERIFY(zip.readPart(0, 5, bytes));
    QVERIFY(!zip.readPart(1, 5, bytes));
    QVERIFY(!zip.readPart(-1, 5, bytes));
}

void TestXlsxZip::partOfManyPiecesIsReadWhole()
{
    const QByteArray part((40 << 20) + 1, 'a'); // the last piece is a byte
    QVERIFY(writeParts(path(), {{"a.xml", part}}));
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QByteArray bytes;
    QVERIFY(zip.readPart(0, quint64(part.size()), bytes));
    QVERIFY(bytes == part);
}

void TestXlsxZip::changedByteIsDamage_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("short part") << QByteArray("<a>text that is not repeated</a>");
    QTest::newRow("long part") << QByteArray("<a>") + kLong;
}

void TestXlsxZip::changedByteIsDamage()
{
    QFETCH(QByteArray, bytes);
    QByteArray archive = archiveOf({{"a.xml", bytes}});
    // The packed bytes follow the local header of 30 bytes and the name of 5.
    archive[30 + 5 + 10] = char(archive[30 + 5 + 10] ^ 0x20);
    write(archive);
    XlsxZipReader zip;
    QVERIFY(zip.open(path()));
    QByteArray read;
    QVERIFY(!zip.readPart(0, ~quint64(0), read));
}

void TestXlsxZip::otherFilesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("refusal");
    const QByteArray whole = archiveOf({{"a.xml", kLong}});
    QTest::newRow("empty") << QByteArray() << "it is no zip archive of parts";
    QTest::newRow("text") << QByteArray("not a workbook").repeated(100) << "it is no zip archive of parts";
    QTest::newRow("broken off") << whole.left(whole.size() / 2) << "it is no zip archive of parts";
    QTest::newRow("protected by a password") << QByteArray("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1") + QByteArray(600, '\0')
                                             << "it is protected by a password or of an older format";
}

void TestXlsxZip::otherFilesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, refusal);
    write(bytes);
    XlsxZipReader zip;
    QVERIFY(!zip.open(path()));
    QVERIFY(!zip.isOpen());
    QCOMPARE(zip.refusal(), refusal);
}

void TestXlsxZip::cancelledOpeningIsRefused()
{
    QVERIFY(writeParts(path(), {{"a.xml", "a"}}));
    XlsxZipReader zip;
    zip.setCancelled([] { return true; });
    QVERIFY(!zip.open(path()));
    QCOMPARE(zip.refusal(), QString("cancelled"));
}

void TestXlsxZip::fullDiskIsReportedWithItsReason_data()
{
    QTest::addColumn<qint64>("room");
    const qint64 whole = archiveOf({{"a.xml", kLong}}).size();
    QTest::newRow("nothing fits") << qint64(0);
    QTest::newRow("the part does not fit") << qint64(60);
    QTest::newRow("the directory does not fit") << whole - 10;
}

void TestXlsxZip::fullDiskIsReportedWithItsReason()
{
    QFETCH(qint64, room);
    FullDisk disk(room);
    XlsxZipWriter zip(disk);
    QVERIFY(!(zip.add("a.xml", kLong) && zip.finish()));
    QCOMPARE(zip.errorString(), QString("no room"));
}

void TestXlsxZip::archiveWithAnOpenPartIsNotFinished()
{
    QBuffer device;
    QVERIFY(device.open(QIODevice::ReadWrite));
    XlsxZipWriter zip(device);
    QVERIFY(!zip.write("a", 1));
    QVERIFY(zip.begin("a.xml", false));
    QVERIFY(!zip.finish());
    QVERIFY(zip.write("a", 1) && zip.end());
    QVERIFY(zip.finish());
    QVERIFY(!zip.finish());
}

QTEST_GUILESS_MAIN(TestXlsxZip)
#include "TestXlsxZip.moc"
