#include "WholeWrite.h"

#include <QTemporaryDir>
#include <QTest>

using namespace ostravel;

namespace
{

/** A file that takes only some bytes at a time, and no more than there is room. */
class SlowFile : public QFile
{
public:
    SlowFile(const QString &path, qint64 room)
        : QFile(path)
        , m_room(room)
    {
    }

protected:
    qint64 writeData(const char *data, qint64 size) override
    {
        const qint64 taken = QFile::writeData(data, qMin(qMin<qint64>(size, 7), m_room));
        m_room -= taken;
        return taken;
    }

private:
    qint64 m_room;
};

} // namespace

class TestWholeWrite : public QObject
{
    Q_OBJECT

private slots:
    void allBytesAreWrittenInSeveralPieces();
    void fullDiskIsAFailure();
};

void TestWholeWrite::allBytesAreWrittenInSeveralPieces()
{
    const QTemporaryDir folder;
    const QByteArray bytes = QByteArrayLiteral("0123456789").repeated(10) + "end";
    SlowFile file(folder.filePath("a"), 1000);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(writeWhole(file, bytes));
    QVERIFY(file.seek(0));
    QCOMPARE(file.readAll(), bytes);
}

void TestWholeWrite::fullDiskIsAFailure()
{
    const QTemporaryDir folder;
    SlowFile file(folder.filePath("a"), 10);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(!writeAll(file, "01234567890", 11));
    SlowFile exact(folder.filePath("b"), 11);
    QVERIFY(exact.open(QIODevice::ReadWrite));
    QVERIFY(writeAll(exact, "01234567890", 11));
}

QTEST_GUILESS_MAIN(TestWholeWrite)
#include "TestWholeWrite.moc"
