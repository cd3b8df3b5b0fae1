#include "DataHandler.h"
#include "Fixture.h"
#include "ReadProgress.h"

#include <QTest>

#include <memory>

class TestReadProgress : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void valueAndMaximumAreTakenFromTheHandler();
    void nextReadStartsWithTheInitialRange();
    void userCannotCloseIt();
    void closesAtTheEndOfTheProgram();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestReadProgress::valueAndMaximumAreTakenFromTheHandler()
{
    DataHandler handler;
    ReadProgress progress;
    progress.follow(&handler);
    QCOMPARE(progress.minimum(), 1);
    QCOMPARE(progress.maximum(), 50);
    QVERIFY(progress.isModal());
    // The value is set before the maximum, so a value above the old range is ignored.
    emit handler.process(60, 200);
    QVERIFY(progress.value() != 60);
    QCOMPARE(progress.maximum(), 200);
    emit handler.process(40, 200);
    QCOMPARE(progress.value(), 40);
    QCOMPARE(progress.maximum(), 200);
    QVERIFY(progress.isVisible());
    emit handler.process(200, 200);
    QVERIFY(!progress.isVisible());
}

void TestReadProgress::nextReadStartsWithTheInitialRange()
{
    ReadProgress progress;
    {
        DataHandler first;
        progress.follow(&first);
        emit first.process(10, 1000);
        progress.reset();
    }
    DataHandler second;
    progress.follow(&second);
    QCOMPARE(progress.maximum(), 50);
    emit second.process(5, 300);
    QCOMPARE(progress.value(), 5);
    QCOMPARE(progress.maximum(), 300);
}

void TestReadProgress::userCannotCloseIt()
{
    DataHandler handler;
    ReadProgress progress;
    progress.follow(&handler);
    emit handler.process(10, 1000);
    QVERIFY(progress.isVisible());
    QTest::keyClick(&progress, Qt::Key_Escape);
    QVERIFY(progress.isVisible());
    QVERIFY(!progress.close());
    QVERIFY(progress.isVisible());
    QVERIFY(!progress.wasCanceled());
}

void TestReadProgress::closesAtTheEndOfTheProgram()
{
    ReadProgress progress;
    progress.show();
    progress.setAttribute(Qt::WA_QuitOnClose, false); // like the end of the main window
    QVERIFY(progress.close());
    QVERIFY(!progress.isVisible());
}

QTEST_MAIN(TestReadProgress)
#include "TestReadProgress.moc"
