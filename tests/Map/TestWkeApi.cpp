#include "Fixture.h"
#include "ModalAnswer.h"
#include "RecordingEngine.h"
#include "WkeApi.h"

#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QWidget>

namespace
{

const QStringList kNames{"wkeCreateWebWindow", "wkeShowWindow", "wkeLoadURL", "wkeResize",
                         "wkeMoveWindow",      "wkeRunJS",      "wkeFinalize"};

/** Calls every function. None of them may crash. */
void callAll(WkeWebView view)
{
    wke.wkeInitializeEx(nullptr);
    wke.wkeShowWindow(view, true);
    wke.wkeLoadURL(view, "x");
    wke.wkeResize(view, 30, 40);
    wke.wkeMoveWindow(view, 1, 2, 30, 40);
    QCOMPARE(wke.wkeRunJS(view, "f();"), 0LL);
    wke.wkeFinalize();
}

} // namespace

class TestWkeApi : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup() { m_fixture.reset(); }

    void tableIsUsableBeforeAnythingIsLoaded();
    void missingLibraryReturnsZeroWithoutAMessageBox();
    void standInShowsInChineseWhatIsMissing();
    void standInShowsWhyTheLibraryCannotBeLoaded();
    void standInsIgnoreOtherViews();
    void everyLoadStartsTheEngineAndFillsTheTable();
    void settingsArePassedToTheEngine();
    void eachMissingFunctionIsReportedInAMessageBox_data();
    void eachMissingFunctionIsReportedInAMessageBox();
    void existingFunctionsOfAPartialLibraryAreUsed();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestWkeApi::tableIsUsableBeforeAnythingIsLoaded()
{
    QWidget parent;
    callAll(wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(parent.winId()), 0, 0, 10, 10));
    callAll(nullptr);
}

void TestWkeApi::missingLibraryReturnsZeroWithoutAMessageBox()
{
    // There is no engine beside this program.
    ModalAnswer answer;
    wkeDllHandle = nullptr;
    wkeDllPath = L"node.dll";
    QCOMPARE(loadWkeApi(nullptr), 0);
    wkeDllPath = nullptr;
    QCOMPARE(loadWkeApi(nullptr), 0);
    QVERIFY(answer.allAnswered());
    callAll(nullptr);
}

void TestWkeApi::standInShowsInChineseWhatIsMissing()
{
    wkeDllHandle = nullptr;
    QCOMPARE(loadWkeApi(nullptr), 0);
    QWidget parent;
    const WkeWebView view = wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(parent.winId()), 3, 4, 50, 60);
    auto *const label = parent.findChild<QLabel *>();
    QVERIFY(label);
    QVERIFY2(label->text().startsWith("无法显示地图：程序目录下缺少网页引擎 "), qPrintable(label->text()));
    QCOMPARE(label->geometry(), QRect(3, 4, 50, 60));
    QVERIFY(label->isHidden());
    wke.wkeShowWindow(view, true);
    QVERIFY(!label->isHidden());
    wke.wkeResize(view, 70, 80);
    QCOMPARE(label->geometry(), QRect(3, 4, 70, 80));
    wke.wkeMoveWindow(view, 5, 6, 90, 100);
    QCOMPARE(label->geometry(), QRect(5, 6, 90, 100));
    // The parent deletes the label. Callers may still hold the view.
    delete label;
    callAll(view);
}

void TestWkeApi::standInShowsWhyTheLibraryCannotBeLoaded()
{
    QFile library(QCoreApplication::applicationDirPath() + "/libostravel_web.so");
    QVERIFY(library.open(QIODevice::WriteOnly));
    library.write("no library");
    library.close();
    wkeDllHandle = nullptr;
    const int loaded = loadWkeApi(nullptr);
    QVERIFY(library.remove());
    QCOMPARE(loaded, 0);
    QWidget parent;
    wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(parent.winId()), 0, 0, 10, 10);
    auto *const label = parent.findChild<QLabel *>();
    QVERIFY(label);
    // The system's reason names the file.
    QVERIFY2(label->text().contains(library.fileName()), qPrintable(label->text()));
}

void TestWkeApi::standInsIgnoreOtherViews()
{
    int other = 0;
    wkeDllHandle = nullptr;
    QCOMPARE(loadWkeApi(nullptr), 0);
    callAll(reinterpret_cast<WkeWebView>(&other));
    QVERIFY(!wke.wkeCreateWebWindow(2, nullptr, 0, 0, 1, 1));
    QVERIFY(!wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(0x7ffffff), 0, 0, 1, 1));
}

void TestWkeApi::everyLoadStartsTheEngineAndFillsTheTable()
{
    ModalAnswer answer;
    recording::install();
    QCOMPARE(loadWkeApi(nullptr), 1);
    QCOMPARE(loadWkeApi(nullptr), 1);
    QCOMPARE(recording::engine().calls, QStringList({"initialize", "initialize"}));
    recording::engine().calls.clear();
    callAll(reinterpret_cast<WkeWebView>(7));
    QCOMPARE(recording::engine().calls,
             QStringList({"initialize", "show view7 1", "load view7 ", "resize view7 30 40", "move view7 1 2 30 40",
                          "run view7 f();", "finalize"}));
    QVERIFY(answer.allAnswered());
}

void TestWkeApi::settingsArePassedToTheEngine()
{
    int something = 0;
    recording::install();
    QCOMPARE(loadWkeApi(reinterpret_cast<const WkeSettings *>(&something)), 1);
    QCOMPARE(recording::engine().calls, QStringList({"initialize with settings"}));
}

void TestWkeApi::eachMissingFunctionIsReportedInAMessageBox_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QStringList>("missing");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a library of another kind")
        << "libm.so.6" << kNames << "无法显示地图：网页引擎不完整，缺少 wkeInitializeEx。";
    QTest::newRow("one that only starts")
        << QStringLiteral(STARTING_ENGINE) << kNames << "无法显示地图：网页引擎不完整，缺少 wkeCreateWebWindow。";
}

void TestWkeApi::eachMissingFunctionIsReportedInAMessageBox()
{
    QFETCH(QString, library);
    QFETCH(QStringList, missing);
    QFETCH(QString, reason);
    ModalAnswer answer;
    QStringList seen;
    for (int i = 0; i < missing.size(); ++i) {
        answer.next([&](QDialog *dialog) {
            auto *const box = qobject_cast<QMessageBox *>(dialog);
            QVERIFY(box);
            QCOMPARE(box->text(), QString("wke api not found"));
            QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
            seen.append(box->windowTitle());
            box->button(QMessageBox::Ok)->click();
        });
    }
    wkeDllHandle = dlopen(library.toLocal8Bit().constData(), RTLD_NOW);
    QVERIFY(wkeDllHandle);
    QCOMPARE(loadWkeApi(nullptr), 1);
    QVERIFY2(answer.allAnswered(), qPrintable(answer.unexpected().join(',')));
    QCOMPARE(seen, missing);

    QWidget parent;
    callAll(wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(parent.winId()), 0, 0, 10, 10));
    QVERIFY(parent.findChild<QLabel *>()->text().startsWith(reason));
}

void TestWkeApi::existingFunctionsOfAPartialLibraryAreUsed()
{
    ModalAnswer answer;
    for (int i = 0; i < 6; ++i)
        answer.next([](QDialog *dialog) { dialog->accept(); });
    wkeDllHandle = dlopen(WINDOW_ENGINE, RTLD_NOW);
    QVERIFY(wkeDllHandle);
    QCOMPARE(loadWkeApi(nullptr), 1);
    QVERIFY(answer.allAnswered());
    QWidget parent;
    const WkeWebView view = wke.wkeCreateWebWindow(2, reinterpret_cast<WkeWindow>(parent.winId()), 0, 0, 10, 10);
    QVERIFY(view);
    QVERIFY(!parent.findChild<QLabel *>());
    callAll(view);
}

QTEST_MAIN(TestWkeApi)
#include "TestWkeApi.moc"
