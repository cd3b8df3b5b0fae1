#include "Fixture.h"
#include "LocaleCodec.h"
#include "MetaMethods.h"
#include "ModalAnswer.h"
#include "RecordingEngine.h"
#include "WebWidget.h"

#include <QMessageBox>
#include <QResizeEvent>
#include <QTest>
#include <csignal>

namespace
{

const QString kDefaultPage = QStringLiteral("https://www.bing.com/");

} // namespace

class TestWebWidget : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void declaresItsSlots();
    void makesAShownChildWindowOfItsParentAndLoads();
    void emptyAddressLoadsTheDefaultPage();
    void addressGoesOverInUtf8();
    void loadUsesTheLocalEncoding();
    void encodingsDifferWhereTheLocaleIsNotUtf8();
    void windowCoversTheWidgetAndItsOffset_data();
    void windowCoversTheWidgetAndItsOffset();
    void moveToGlobalUsesTheScreen();
    void pageCallsHaveTheExactText_data();
    void pageCallsHaveTheExactText();
    void lineBreaksReachTheEngineUnchanged();
    void missingTileServiceIsReported();
    void tileServiceIsStartedOnceAndAgainAfterItsEnd();
    void failedStartOfTheTileServiceIsNotReported();
    void tileServiceOutlivesTheWidget();
    void destructorDoesNotCallTheEngine();

private:
    QString wmtsPath() const { return m_fixture->applicationPath("wmts.exe"); }
    /** A tile service that records each start and then executes the line. */
    void makeWmts(const QByteArray &line, bool executable = true);
    int starts() const;

    std::unique_ptr<Fixture> m_fixture;
    std::unique_ptr<QWidget> m_parent;
};

void TestWebWidget::init()
{
    m_fixture = std::make_unique<Fixture>();
    QFile::remove(wmtsPath());
    recording::install();
    QCOMPARE(loadWkeApi(nullptr), 1);
    recording::engine() = {};
    m_parent = std::make_unique<QWidget>();
}

void TestWebWidget::cleanup()
{
    m_parent.reset();
    QFile::remove(wmtsPath());
    m_fixture.reset();
}

void TestWebWidget::makeWmts(const QByteArray &line, bool executable)
{
    QFile file(wmtsPath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("#!/bin/sh\necho \"$#\" $$ >>starts\n" + line + "\n");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | (executable ? QFile::ExeOwner : QFile::Permission()));
}

int TestWebWidget::starts() const
{
    QFile file(m_fixture->path("starts"));
    return file.open(QIODevice::ReadOnly) ? int(file.readAll().count('\n')) : 0;
}

void TestWebWidget::declaresItsSlots()
{
    QCOMPARE(ownMethods(WebWidget::staticMetaObject),
             QStringList({"slot slotProcessQuit(int,QProcess::ExitStatus)", "slot statusFeedbackSlot()"}));
}

void TestWebWidget::makesAShownChildWindowOfItsParentAndLoads()
{
    const WebWidget widget("page.html", m_parent.get());
    // A fresh widget has Qt's size of 100 by 30 before its first layout.
    QCOMPARE(recording::engine().calls, QStringList({"create 2 0 0 100 30", "show view1 1", "load view1 "}));
    QCOMPARE(recording::engine().parent, reinterpret_cast<WkeWindow>(m_parent->winId()));
    QCOMPARE(recording::engine().url, QByteArray("page.html"));
    QVERIFY(!widget.wmtsProcess());
}

void TestWebWidget::emptyAddressLoadsTheDefaultPage()
{
    WebWidget widget({}, m_parent.get());
    QCOMPARE(recording::engine().url, kDefaultPage.toUtf8());
    recording::engine().url.clear();
    widget.load({});
    QCOMPARE(recording::engine().url, kDefaultPage.toUtf8());
}

void TestWebWidget::addressGoesOverInUtf8()
{
    const WebWidget widget(QStringLiteral("/航迹/page.html"), m_parent.get());
    QCOMPARE(recording::engine().url, QByteArray("/\xe8\x88\xaa\xe8\xbf\xb9/page.html"));
}

void TestWebWidget::loadUsesTheLocalEncoding()
{
    WebWidget widget("a", m_parent.get());
    const QString path = QStringLiteral("/航迹/page.html");
    widget.load(path);
    QCOMPARE(recording::engine().url, path.toLocal8Bit());
}

void TestWebWidget::encodingsDifferWhereTheLocaleIsNotUtf8()
{
    const OtherLocaleCodec locale;
    const QString path = QStringLiteral("/航迹/page.html");
    WebWidget widget(path, m_parent.get());
    QCOMPARE(recording::engine().url, QByteArray("/\xe8\x88\xaa\xe8\xbf\xb9/page.html"));
    widget.load(path);
    QCOMPARE(recording::engine().url, QByteArray("/\xba\xbd\xbc\xa3/page.html")); // GB 2312, rows 26 29 and 28 03
    // Page calls are in UTF-8 everywhere.
    widget.runJs("f", "'航'");
    QCOMPARE(recording::engine().script, QByteArray("f('\xe8\x88\xaa');"));
    widget.runJs2("f", "'航'", "'迹'");
    QCOMPARE(recording::engine().script, QByteArray("f('\xe8\x88\xaa','\xe8\xbf\xb9')"));
}

void TestWebWidget::windowCoversTheWidgetAndItsOffset_data()
{
    QTest::addColumn<QPoint>("global");
    QTest::addColumn<QString>("placed");
    QTest::newRow("origin") << QPoint(0, 0) << "move view1 0 0 300 200";
    QTest::newRow("right and below") << QPoint(10, 21) << "move view1 0 0 310 210";
    QTest::newRow("above the screen") << QPoint(10, -21) << "move view1 0 0 310 190";
    QTest::newRow("left of the screen") << QPoint(-40, 1) << "move view1 0 0 260 200";
    QTest::newRow("just above the screen") << QPoint(0, -1) << "move view1 0 0 300 200";
}

void TestWebWidget::windowCoversTheWidgetAndItsOffset()
{
    QFETCH(QPoint, global);
    QFETCH(QString, placed);
    m_parent->setGeometry(QRect(global - QPoint(4, 6), QSize(500, 400)));
    m_parent->show();
    WebWidget widget("a", m_parent.get());
    widget.setGeometry(4, 6, 300, 200);
    QCOMPARE(widget.mapToGlobal(QPoint(0, 0)), global);
    recording::engine().calls.clear();
    // The sizes of the event are not used.
    QResizeEvent event(QSize(1, 2), QSize(3, 4));
    QApplication::sendEvent(&widget, &event);
    QCOMPARE(recording::engine().calls, QStringList({"resize view1 300 200", placed}));
}

void TestWebWidget::moveToGlobalUsesTheScreen()
{
    m_parent->setGeometry(30, 40, 500, 400);
    m_parent->show();
    WebWidget widget("a", m_parent.get());
    widget.setGeometry(5, 7, 300, 200);
    recording::engine().calls.clear();
    widget.moveToGlobal();
    QCOMPARE(recording::engine().calls, QStringList({"move view1 35 47 300 200"}));
}

void TestWebWidget::pageCallsHaveTheExactText_data()
{
    QTest::addColumn<QStringList>("parts");
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("no argument") << QStringList{"clearAllLine", ""} << QByteArray("clearAllLine();");
    QTest::newRow("one argument") << QStringList{"enableDrawLines", "1"} << QByteArray("enableDrawLines(1);");
    QTest::newRow("two arguments") << QStringList{"addOnePoint", "29.1234", "106.567"}
                                   << QByteArray("addOnePoint(29.1234,106.567)");
    QTest::newRow("two empty arguments") << QStringList{"f", "", ""} << QByteArray("f(,)");
    QTest::newRow("no name") << QStringList{"", ""} << QByteArray("();");
    QTest::newRow("Chinese") << QStringList{"f", "'航'"} << QByteArray("f('\xe8\x88\xaa');");
}

void TestWebWidget::pageCallsHaveTheExactText()
{
    QFETCH(QStringList, parts);
    QFETCH(QByteArray, script);
    WebWidget widget("a", m_parent.get());
    if (parts.size() == 2)
        widget.runJs(parts[0], parts[1]);
    else
        widget.runJs2(parts[0], parts[1], parts[2]);
    QCOMPARE(recording::engine().script, script);
}

void TestWebWidget::lineBreaksReachTheEngineUnchanged()
{
    WebWidget widget("a", m_parent.get());
    widget.runJs("addRoutes", "[\n    1.5,\r\n    null\n]\n");
    QCOMPARE(recording::engine().script, QByteArray("addRoutes([\n    1.5,\r\n    null\n]\n);"));
}

void TestWebWidget::missingTileServiceIsReported()
{
    WebWidget widget("a", m_parent.get());
    ModalAnswer answer;
    answer.next([&](QDialog *dialog) {
        auto *const box = qobject_cast<QMessageBox *>(dialog);
        QVERIFY(box);
        QCOMPARE(box->parent(), &widget);
        QCOMPARE(box->icon(), QMessageBox::Critical);
        QCOMPARE(box->windowTitle(), QString("error"));
        QCOMPARE(box->text(), QString("wmts doesnot exists"));
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
    });
    widget.startWmts();
    QVERIFY(answer.allAnswered());
    QVERIFY(!widget.wmtsProcess());
}

void TestWebWidget::tileServiceIsStartedOnceAndAgainAfterItsEnd()
{
    makeWmts("echo out; echo err >&2; read line; exit 3");
    WebWidget widget("a", m_parent.get());
    ModalAnswer answer;
    widget.startWmts();
    QProcess *const process = widget.wmtsProcess();
    QVERIFY(process);
    QVERIFY(!process->parent());
    QCOMPARE(process->program(), wmtsPath());
    QCOMPARE(process->arguments(), QStringList());
    // It runs in the program's own working directory.
    QTRY_COMPARE(starts(), 1);
    widget.startWmts();
    QCOMPARE(widget.wmtsProcess(), process);

    process->write("\n");
    QTRY_VERIFY(!widget.wmtsProcess());
    widget.startWmts();
    QVERIFY(widget.wmtsProcess());
    QTRY_COMPARE(starts(), 2);
    widget.wmtsProcess()->write("\n");
    QTRY_VERIFY(!widget.wmtsProcess());
    // Without a process the slot does nothing.
    widget.slotProcessQuit(0, QProcess::NormalExit);
    QVERIFY(answer.allAnswered());
}

void TestWebWidget::failedStartOfTheTileServiceIsNotReported()
{
    makeWmts({}, false);
    WebWidget widget("a", m_parent.get());
    ModalAnswer answer;
    widget.startWmts();
    QProcess *const process = widget.wmtsProcess();
    QVERIFY(process);
    QTRY_COMPARE(process->error(), QProcess::FailedToStart);
    makeWmts("exit 0");
    widget.startWmts();
    QCOMPARE(widget.wmtsProcess(), process);
    QCOMPARE(process->state(), QProcess::NotRunning);
    QVERIFY(answer.allAnswered());
    delete process;
}

void TestWebWidget::tileServiceOutlivesTheWidget()
{
    makeWmts("exec sleep 600");
    auto widget = std::make_unique<WebWidget>("a", m_parent.get());
    widget->startWmts();
    // The widget leaves the process on purpose. The test deletes it.
    const std::unique_ptr<QProcess> process(widget->wmtsProcess());
    QVERIFY(process->waitForStarted());
    QTRY_COMPARE(starts(), 1);
    widget.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(process->state(), QProcess::Running);
    QCOMPARE(kill(pid_t(process->processId()), 0), 0);
    process->kill();
    QVERIFY(process->waitForFinished());
}

void TestWebWidget::destructorDoesNotCallTheEngine()
{
    auto widget = std::make_unique<WebWidget>("a", m_parent.get());
    recording::engine().calls.clear();
    widget.reset();
    QCOMPARE(recording::engine().calls, QStringList());
}

QTEST_MAIN(TestWebWidget)
#include "TestWebWidget.moc"
