#include "Fixture.h"
#include "LogFile.h"
#include "MPlotDialog.h"
#include "MetaMethods.h"
#include "StandIn.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

constexpr char kEngine[] = "while read -r line; do echo \"$line\" >> $here/told; echo plot-engine:done; done; "
                           "echo plot-engine:done";
constexpr char kSilentEngine[] = "echo $$ >> $here/started; exec sleep 1000";

QList<QPushButton *> buttons(const QDialog &dialog)
{
    QList<QPushButton *> result;
    for (const char *name : {"btnHeight", "btn2D", "btn3D_All", "btn3D_Attack"})
        result.append(dialog.findChild<QPushButton *>(name));
    return result;
}

int enabledButtons(const QDialog &dialog)
{
    int result = 0;
    for (const QPushButton *button : buttons(dialog))
        result += button->isEnabled() ? 1 : 0;
    return result;
}

QLabel *label(const QDialog &dialog)
{
    return dialog.findChild<QLabel *>("label");
}

/** Counts the QThread objects that deleteLater() deletes, because the dialog's thread is private. */
class ThreadDeletions : public QObject
{
public:
    ThreadDeletions() { qApp->installEventFilter(this); }
    int count() const { return m_count; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::DeferredDelete && qobject_cast<QThread *>(watched))
            connect(watched, &QObject::destroyed, this, [this] { ++m_count; });
        return false;
    }

private:
    int m_count = 0;
};

} // namespace

class TestMPlotDialog : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<Fixture>();
        m_threads = threadCount();
    }
    void cleanup()
    {
        // Workers of closed dialogs end asynchronously.
        QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_threads, 30000);
        m_fixture.reset();
    }

    void declaresItsSignalsAndSlotsInOrder();
    void formIsALabelAboveFourButtons_data();
    void formIsALabelAboveFourButtons();
    void plotReadyIsASimpleFlag();
    void opensWithoutWaitingForTheEngine();
    void buttonsAreDisabledUntilTheEngineIsReady();
    void missingEngineShowsTheFailedState();
    void labelMentionsTheLastDataBeforeARead();
    void labelIsBlankAfterARead();
    void failureReplacesTheLabel();
    void buttonsEmitTheirSignals();
    void buttonsSendTheirPlotToTheEngine_data();
    void buttonsSendTheirPlotToTheEngine();
    void clicksDuringAPlotAreQueued();
    void closingDuringAPlotDoesNotWait();
    void repeatedClosingDuringInitialisationLeavesNoThreadOrProcess();
    void threadIsDeletedAfterItsEnd();

private:
    std::unique_ptr<Fixture> m_fixture;
    int m_threads = 0;
};

void TestMPlotDialog::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(ownMethods(MPlotDialog::staticMetaObject),
             (QStringList{"signal plotHeightSignal()", "signal plotXYSignal()", "signal plotXYZSignal()",
                          "signal plotAttackSignal()", "slot initFinishedSlot()", "slot matlabInitFailedSlot()",
                          "slot on_btnHeight_clicked()", "slot on_btn2D_clicked()", "slot on_btn3D_All_clicked()",
                          "slot on_btn3D_Attack_clicked()"}));
}

void TestMPlotDialog::formIsALabelAboveFourButtons_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed
                             << QStringList{"高度", "二维航迹", "三维-全阶段", "三维-末端攻击"};
    QTest::newRow("English") << Fixture::Catalogue::Missing
                             << QStringList{"Height", "Two-dimensional track", "Three-dimensional - full stage",
                                            "Three-dimensional-attack"};
}

void TestMPlotDialog::formIsALabelAboveFourButtons()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QStringList, texts);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(434, 413));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("init..."));
    dialog.show();
    QCOMPARE(label(dialog)->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    int above = label(dialog)->y();
    QStringList shown;
    for (const QPushButton *button : buttons(dialog)) {
        QVERIFY(button);
        QVERIFY2(button->y() > above, qPrintable(button->objectName()));
        above = button->y();
        shown.append(button->text());
    }
    QCOMPARE(shown, texts);
}

void TestMPlotDialog::plotReadyIsASimpleFlag()
{
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    QCOMPARE(dialog.plotReady(), false);
    QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("MPlot"));
    QCOMPARE(dialog.plotReady(), false);
    dialog.setPlotReady(true);
    QCOMPARE(dialog.plotReady(), true);
}

void TestMPlotDialog::opensWithoutWaitingForTheEngine()
{
    StandIn standIn;
    standIn.program("octave", kSilentEngine);
    QElapsedTimer timer;
    timer.start();
    {
        MPlotDialog dialog(nullptr);
        dialog.init();
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTRY_VERIFY(!standIn.text("started").isEmpty());
        QCOMPARE(dialog.windowTitle(), QStringLiteral("init..."));
    }
    QVERIFY(timer.elapsed() < 10000);
}

void TestMPlotDialog::buttonsAreDisabledUntilTheEngineIsReady()
{
    StandIn standIn;
    standIn.program("octave", "echo up > $here/up\n" + QByteArray(kUntilGo) + '\n' + kEngine);
    QFile track(AppConfig::getInstance().getDataPath());
    QVERIFY(track.open(QIODevice::WriteOnly));
    MPlotDialog dialog(nullptr);
    dialog.show();
    QTRY_COMPARE(standIn.text("up"), QByteArray("up\n"));
    QCOMPARE(enabledButtons(dialog), 0);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("init..."));
    QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    QTRY_COMPARE(enabledButtons(dialog), 4);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("MPlot"));
}

void TestMPlotDialog::missingEngineShowsTheFailedState()
{
    StandIn standIn(StandIn::Path::Only);
    const LogFile log;
    MPlotDialog dialog(nullptr);
    dialog.init();
    dialog.show();
    QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("Init Failed"));
    QCOMPARE(label(dialog)->text(),
             QStringLiteral("cannot use this module,because matlab module init failed!\n"
                            "please check matlab environment"));
    QCOMPARE(enabledButtons(dialog), 0);
    QCOMPARE(log.leveledMessages().filter("error: "), QStringList{"error: Could not initialize libdisplayInitialize!"});
}

void TestMPlotDialog::labelMentionsTheLastDataBeforeARead()
{
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    const LogFile log;
    dialog.init();
    QCOMPARE(label(dialog)->text(), QStringLiteral("使用上次数据"));
    QCOMPARE(label(dialog)->size(), label(dialog)->sizeHint());
    QVERIFY(log.leveledMessages().contains("warning: data has not been read,use last data"));
    QTRY_COMPARE(enabledButtons(dialog), 4);
    QCOMPARE(label(dialog)->text(), QStringLiteral("使用上次数据"));
}

void TestMPlotDialog::labelIsBlankAfterARead()
{
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    dialog.init();
    QCOMPARE(label(dialog)->text(), QStringLiteral("使用上次数据"));
    dataRead = true;
    const LogFile log;
    dialog.init();
    QCOMPARE(label(dialog)->text(), QStringLiteral(" "));
    QVERIFY(log.leveledMessages().filter("warning").isEmpty());
}

void TestMPlotDialog::failureReplacesTheLabel()
{
    StandIn standIn;
    standIn.program("octave", kSilentEngine);
    MPlotDialog dialog(nullptr);
    dialog.init();
    dialog.matlabInitFailedSlot();
    QVERIFY(label(dialog)->text().startsWith("cannot use this module"));
    QCOMPARE(label(dialog)->size(), label(dialog)->sizeHint());
}

void TestMPlotDialog::buttonsEmitTheirSignals()
{
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    dialog.show();
    QTRY_COMPARE(enabledButtons(dialog), 4);
    const QSignalSpy height(&dialog, &MPlotDialog::plotHeightSignal);
    const QSignalSpy xy(&dialog, &MPlotDialog::plotXYSignal);
    const QSignalSpy xyz(&dialog, &MPlotDialog::plotXYZSignal);
    const QSignalSpy attack(&dialog, &MPlotDialog::plotAttackSignal);
    const QList<QPushButton *> all = buttons(dialog);
    for (int i = 0; i < all.size(); ++i) {
        QTest::mouseClick(all[i], Qt::LeftButton);
        QCOMPARE(height.count() + xy.count() + xyz.count() + attack.count(), i + 1);
        QCOMPARE((QList<int>{height.count(), xy.count(), xyz.count(), attack.count()}.at(i)), 1);
    }
}

void TestMPlotDialog::buttonsSendTheirPlotToTheEngine_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("attack");
    QTest::newRow("height") << "btnHeight" << 1 << 0;
    QTest::newRow("from above") << "btn2D" << 0 << 0;
    QTest::newRow("in space") << "btn3D_All" << 2 << 0;
    QTest::newRow("last leg") << "btn3D_Attack" << 2 << 1;
}

void TestMPlotDialog::buttonsSendTheirPlotToTheEngine()
{
    QFETCH(QString, button);
    QFETCH(int, kind);
    QFETCH(int, attack);
    StandIn standIn;
    standIn.program("octave", kEngine);
    MPlotDialog dialog(nullptr);
    dialog.show();
    QTRY_COMPARE(enabledButtons(dialog), 4);
    QTest::mouseClick(dialog.findChild<QPushButton *>(button), Qt::LeftButton);
    const QString line = QStringLiteral("myMatlabPlot(int32(1), int32(1), int32(1), int32(%1), int32(0), int32(1), "
                                        "int32(1), int32(%2))\n")
                             .arg(kind)
                             .arg(attack);
    QTRY_COMPARE(QString::fromUtf8(standIn.text("told")).section('\n', 1), line);
}

void TestMPlotDialog::clicksDuringAPlotAreQueued()
{
    StandIn standIn;
    standIn.program("octave",
                    "read -r line; echo plot-engine:done\nwhile read -r line; do echo begin >> $here/order; "
                        + QByteArray(kUntilGo)
                        + "; echo end >> $here/order; echo plot-engine:done; done; "
                          "echo plot-engine:done");
    MPlotDialog dialog(nullptr);
    dialog.show();
    QTRY_COMPARE(enabledButtons(dialog), 4);
    for (int i = 0; i < 3; ++i)
        QTest::mouseClick(dialog.findChild<QPushButton *>("btn2D"), Qt::LeftButton);
    QTRY_COMPARE(standIn.text("order"), QByteArray("begin\n"));
    QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    QTRY_COMPARE(standIn.text("order"), QByteArray("begin\nend\nbegin\nend\nbegin\nend\n"));
}

void TestMPlotDialog::closingDuringAPlotDoesNotWait()
{
    StandIn standIn;
    standIn.program("octave",
                    "read -r line; echo plot-engine:done\nwhile read -r line; do echo begin >> $here/order; "
                        + QByteArray(kUntilGo)
                        + "; echo end >> $here/order; echo plot-engine:done; done; "
                          "echo plot-engine:done");
    {
        MPlotDialog dialog(nullptr);
        dialog.show();
        QTRY_COMPARE(enabledButtons(dialog), 4);
        QTest::mouseClick(dialog.findChild<QPushButton *>("btn2D"), Qt::LeftButton);
        QTRY_COMPARE(standIn.text("order"), QByteArray("begin\n"));
    }
    // The plot must still be running, so the dialog did not wait for it.
    QCOMPARE(standIn.text("order"), QByteArray("begin\n"));
    QVERIFY(QFile(standIn.path("go")).open(QIODevice::WriteOnly));
    QTRY_COMPARE(standIn.text("order"), QByteArray("begin\nend\n"));
}

void TestMPlotDialog::repeatedClosingDuringInitialisationLeavesNoThreadOrProcess()
{
    StandIn standIn;
    standIn.program("octave", kSilentEngine);
    for (int opened = 1; opened <= 50; ++opened) {
        MPlotDialog dialog(nullptr);
        dialog.init();
        dialog.show();
        // Closes dialogs before the engine exists, during its start, and while it does not answer.
        if (opened % 3 == 1)
            QTRY_VERIFY(!standIn.text("started").isEmpty());
        else if (opened % 3 == 2)
            QTRY_VERIFY(threadCount() > m_threads);
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_threads, 60000);
    for (const QByteArray &id : standIn.text("started").simplified().split(' ')) {
        QFile process(QStringLiteral("/proc/%1/cmdline").arg(id.toInt()));
        QTRY_VERIFY(!process.exists() || !process.open(QIODevice::ReadOnly) || process.readAll().isEmpty());
    }
    QTRY_VERIFY(standIn.processes().isEmpty());
}

void TestMPlotDialog::threadIsDeletedAfterItsEnd()
{
    StandIn standIn;
    standIn.program("octave", kEngine);
    // Deletes the thread object of an earlier test, if it still exists.
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ThreadDeletions deletions;
    {
        MPlotDialog dialog(nullptr);
        QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("MPlot"));
        QCOMPARE(deletions.count(), 0);
    }
    QTRY_COMPARE(threadCount(), m_threads);
    QTRY_COMPARE(deletions.count(), 1);
}

QTEST_MAIN(TestMPlotDialog)
#include "TestMPlotDialog.moc"
