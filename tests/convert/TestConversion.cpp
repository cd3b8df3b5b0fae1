#include "Conversion.h"
#include "UnfinishedDatabase.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <vector>

class TestConversion : public QObject
{
    Q_OBJECT

private slots:
    void progressNeverGoesBackOverTheCopyOfADatabase();
};

void TestConversion::progressNeverGoesBackOverTheCopyOfADatabase()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("left.db");
    QVERIFY(writeUnfinishedDatabase(path, folder.filePath("live.db")));
    Arguments arguments;
    arguments.action = Arguments::Action::Check;
    std::vector<double> shares;
    const FlightReport report
        = convertLog({path, folder.filePath("left"), QFileInfo(path).size(), false}, arguments, [&](double done) {
              shares.push_back(done);
              return true;
          });
    QCOMPARE(report.counts.lines, qint64(50000));
    QVERIFY(shares.size() > 5); // the copy alone is more than four blocks of a megabyte
    QCOMPARE(shares.front(), 0.0);
    QVERIFY(std::is_sorted(shares.begin(), shares.end()));
}

QTEST_GUILESS_MAIN(TestConversion)
#include "TestConversion.moc"
