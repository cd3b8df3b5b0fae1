#include "Fixture.h"
#include "ReadReport.h"

#include <QGridLayout>
#include <QLabel>
#include <QTest>

#include <memory>

class TestReadReport : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(Fixture::Catalogue::Missing); }
    void cleanup() { m_fixture.reset(); }

    void rowsShowFramesAndTheSamplesOfEachGroup();
    void selectedPlaneReplacesTheRowOfAllPlanes();
    void errorsCanExceedTheTotal();

private:
    /** The label texts from top to bottom and left to right. */
    static QString texts(const ReadReport &report)
    {
        QStringList result;
        for (const QLabel *label : report.findChildren<QLabel *>())
            result.append(label->text());
        return result.join(QLatin1Char(' '));
    }

    std::unique_ptr<Fixture> m_fixture;
};

void TestReadReport::rowsShowFramesAndTheSamplesOfEachGroup()
{
    // The report uses the first channel of each group. Each code has a different number of samples.
    int samples = 0;
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x41})
        channelGroup(quint8(code))->channels[0]->setYvalue(QVector<double>(++samples));
    const ReadReport report(300, 20, 7);
    QCOMPARE(texts(report),
             QStringLiteral("Decode finished: TotalFrame: 300 ErrorFrame: 20 All plane's frame: 280 "
                            "0x01: 1 0x02: 2 0x03: 3 0x04: 4 0x05: 5 0x41: 6"));
    QCOMPARE(report.size(), QSize(600, 400));
    QCOMPARE(qobject_cast<QGridLayout *>(report.layout())->rowCount(), 10);
}

void TestReadReport::selectedPlaneReplacesTheRowOfAllPlanes()
{
    selectedPlaneEnabled = true;
    selectedPlaneId = 255;
    QCOMPARE(texts(ReadReport(300, 20, 7)),
             QStringLiteral("Decode finished: TotalFrame: 300 ErrorFrame: 20 255# plane's frame: 7 "
                            "0x01: 0 0x02: 0 0x03: 0 0x04: 0 0x05: 0 0x41: 0"));
}

void TestReadReport::errorsCanExceedTheTotal()
{
    QVERIFY(texts(ReadReport(0, 65535, 0)).contains(QStringLiteral("All plane's frame: -65535 ")));
}

QTEST_MAIN(TestReadReport)
#include "TestReadReport.moc"
