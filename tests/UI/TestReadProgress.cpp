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

    void valueAndMaximumFollowTheHandler();
    void nextReadStartsWithTheFirstRange();
    void userCannotCloseIt();
    void closesForTheEndOfTheProgram();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestReadProgress::valueAndMaximumFollowTheHandler()
{
    DataHandler handler;
    ReadProgress progress;
    progress.follow(&handler);
    QCOMPARE(progress.minimum(), 1);
    QCOMPARE(progress.maximum(), 50);
    QVERIFY(progress.isModal());
    // The value comes before the maximum: one above the old range is dropped.
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

void TestReadProgress::nextReadStartsWithTheFirstRange()
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

void TestReadProgress::closesForTheEndOfTheProgram()
{
    ReadProgress progress;
    progress.show();
    progress.setAttribute(Qt::WA_QuitOnClose, false); // as the main window's end does
    QVERIFY(progress.close());
    QVERIFY(!progress.isVisible());
}

QTEST_MAIN(TestReadProgress)
#include "TestReadProgress.moc"
