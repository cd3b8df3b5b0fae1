#include "FuzzTarget.h"

#include <QDir>
#include <QTest>

/** Replays the committed inputs of a fuzz target. A failed check aborts the program. */
class TestSeeds : public QObject
{
    Q_OBJECT

private slots:
    void seedPassesAllChecks_data();
    void seedPassesAllChecks();
};

void TestSeeds::seedPassesAllChecks_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QDir folder(QStringLiteral(SEEDS));
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    QVERIFY(names.size() >= 10);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QTest::newRow(qPrintable(name)) << file.readAll();
    }
}

void TestSeeds::seedPassesAllChecks()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.constData()),
                                    static_cast<std::size_t>(bytes.size())),
             0);
}

QTEST_MAIN(TestSeeds)
#include "TestSeeds.moc"
