#include <QDir>
#include <QTest>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/** Replays the committed inputs of the fuzz target; one that breaks a promise ends the program. */
class TestWorkbookSeeds : public QObject
{
    Q_OBJECT

private slots:
    void seedIsSurvived_data();
    void seedIsSurvived();
};

void TestWorkbookSeeds::seedIsSurvived_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QDir folder(QStringLiteral(WORKBOOK_SEEDS));
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    QVERIFY(names.size() >= 10);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QTest::newRow(qPrintable(name)) << file.readAll();
    }
}

void TestWorkbookSeeds::seedIsSurvived()
{
    QFETCH(QByteArray, bytes);
    QCOMPARE(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.constData()),
                                    static_cast<std::size_t>(bytes.size())),
             0);
}

QTEST_GUILESS_MAIN(TestWorkbookSeeds)
#include "TestWorkbookSeeds.moc"
