#include "AppEvent.h"
#include "MetaMethods.h"

#include <QSignalSpy>
#include <QTest>

class TestAppEvent : public QObject
{
    Q_OBJECT

private slots:
    void isOneForTheProcess();
    void carriesItsTwoSignals();
    void touchModeReachesEveryListener();
    void penReachesItsListeners();
};

void TestAppEvent::isOneForTheProcess()
{
    QCOMPARE(&AppEvent::getInstance(), &AppEvent::getInstance());
}

void TestAppEvent::carriesItsTwoSignals()
{
    QCOMPARE(ownMethods(AppEvent::staticMetaObject),
             (QStringList{"signal touchModeSignal(bool)", "signal resetGraphSignal(QPen)"}));
}

void TestAppEvent::touchModeReachesEveryListener()
{
    QSignalSpy first(&AppEvent::getInstance(), &AppEvent::touchModeSignal);
    QSignalSpy second(&AppEvent::getInstance(), &AppEvent::touchModeSignal);
    emit AppEvent::getInstance().touchModeSignal(true);
    emit AppEvent::getInstance().touchModeSignal(false);
    for (const QSignalSpy *spy : {&first, &second}) {
        QCOMPARE(spy->count(), 2);
        QCOMPARE(spy->at(0).first().toBool(), true);
        QCOMPARE(spy->at(1).first().toBool(), false);
    }
}

void TestAppEvent::penReachesItsListeners()
{
    QSignalSpy spy(&AppEvent::getInstance(), &AppEvent::resetGraphSignal);
    const QPen pen(Qt::cyan, 3, Qt::DashLine);
    emit AppEvent::getInstance().resetGraphSignal(pen);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().value<QPen>(), pen);
}

QTEST_GUILESS_MAIN(TestAppEvent)
#include "TestAppEvent.moc"
