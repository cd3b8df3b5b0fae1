#include "DecodeRoutes.h"
#include "Fixture.h"
#include "MapWidget.h"
#include "ModalAnswer.h"
#include "WebWidget.h"

#include <QBackingStore>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <csignal>
#include <unistd.h>

/** The real page in the real engine, in the map dialog. The build puts the page beside this program. */
class TestWebEngine : public QObject
{
    Q_OBJECT

private slots:
    // A user's own flags, set before the engine starts.
    void initTestCase() { qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-first-run"); }
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup();

    void pageHasTheFunctionsThatTheProgramCalls();
    void pageDoesNotOverlapTheButtonsAndStaysInTheDialog();
    void trackReachesThePage();
    void callsBeforeThePageHasLoadedAreKept();
    void throwingPageFunctionsAreHarmless();
    void defaultAddressIsRequestedAndBlocked();
    void missingPageIsReportedInTheMapArea();
    void onlyOwnFilesAndLoopbackAreAllowed();
    void crashedPageIsReportedAndANewDialogWorks();
    void closedDialogReleasesItsPage();
    void closedDialogReleasesItsPixels();
    void hangingPageEndsWithItsDialog();
    void pagesOfTwoDialogsShareAProcess();
    void pageMayCloseTheDialogItself();
    void keysInThePageStayInThePage_data();
    void keysInThePageStayInThePage();
    void closingOneDialogKeepsThePageOfTheOther();
    void sandboxIsOffOnlyForRoot();
    void routeIsSavedToTheChosenFile();
    void cancelledSaveWritesNothing();
    void existingFileIsReplacedOnlyWhenTheUserAgrees();
    void failedSaveIsReported();
    void downloadFromAnotherAddressIsRejected();
    void fileIsChosenInTheFileDialog();
    void pageHasTheThemeOfTheProgram_data();
    void pageHasTheThemeOfTheProgram();

private:
    /** The panel of the tools with one route of two points. */
    static void openTools(const QWidget &widget);
    static void pressSave(const QWidget &widget);

    static QWebEngineView *view(const QWidget &widget) { return widget.findChild<QWebEngineView *>(); }
    static QString notice(const QWidget &widget)
    {
        auto *const label = widget.findChild<QLabel *>("label_pageNotice");
        return label && label->isVisible() ? label->text() : QString();
    }
    /** The result of a script in the page; invalid if the page does not answer. */
    static QVariant ask(const QWidget &widget, const QString &script);

    std::unique_ptr<Fixture> m_fixture;
};

void TestWebEngine::cleanup()
{
    QFile::remove(m_fixture->applicationPath("Leaflet/open.html"));
    m_fixture.reset();
}

QVariant TestWebEngine::ask(const QWidget &widget, const QString &script)
{
    if (!view(widget))
        return {};
    struct Answer {
        QVariant value;
        bool there = false;
    };
    const auto answer = std::make_shared<Answer>();
    view(widget)->page()->runJavaScript(script, [answer](const QVariant &value) { *answer = {value, true}; });
    if (!QTest::qWaitFor([&] { return answer->there; }, 30000))
        return {};
    return answer->value;
}

void TestWebEngine::pageHasTheFunctionsThatTheProgramCalls()
{
    const MapWidget map(nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(view(map), 60000);
    QCOMPARE(view(map)->window(), &map);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map,
                                  "[addRoutes, clearAllLine, enableDrawLines, enableMeasureDis, addOnePoint]"
                                  ".every(function (f) { return typeof f === 'function'; })")
                                  .toBool(),
                              true, 60000);
    QCOMPARE(notice(map), QString());
}

void TestWebEngine::pageDoesNotOverlapTheButtonsAndStaysInTheDialog()
{
    MapWidget map(nullptr);
    map.showNormal();
    // When the dialog is not in the corner of the screen, the requested window is larger than the map area.
    map.move(200, 150);
    map.resize(900, 600);
    const auto *const buttons = map.findChild<QGroupBox *>();
    QTRY_VERIFY_WITH_TIMEOUT(view(map), 60000);
    const auto place = [&] { return QRect(view(map)->mapTo(&map, QPoint()), view(map)->size()); };
    QTRY_COMPARE(place(), QRect(QPoint(0, 0), QPoint(buttons->x() - 1, map.height() - 1)));
}

void TestWebEngine::trackReachesThePage()
{
    setSamples("纬度(Latitude)", {0, 34.5, qQNaN(), 34.25});
    setSamples("经度(Longitude)", {0, 113.5, 113, 113.75});
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QTest::mouseClick(map.findChild<QPushButton *>("pushButton"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "ostravelMap.state().track").toInt(), 2, 30000);
    QTest::mouseClick(map.findChild<QPushButton *>("btn_measureDis"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "ostravelMap.state().mode").toString(), QString("measure"), 30000);
    map.addOnePoint(113, 34);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "ostravelMap.state().points").toInt(), 1, 30000);
    QTest::mouseClick(map.findChild<QPushButton *>("btn_clear"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "ostravelMap.state().track + ostravelMap.state().points").toInt(), 0, 30000);
}

void TestWebEngine::callsBeforeThePageHasLoadedAreKept()
{
    const MapWidget map(nullptr);
    QTest::mouseClick(map.findChild<QPushButton *>("btn_enableRoutes"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "window.ostravelMap ? ostravelMap.state().mode : ''").toString(),
                              QString("draw"), 60000);
}

void TestWebEngine::throwingPageFunctionsAreHarmless()
{
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    map.runJs("noSuchFunction", "1");
    map.runJs("throw new Error", "'x'");
    map.runJs("window.alert", "'a box that nobody may have to close'");
    map.runJs("(((", "");
    map.addOnePoint(qQNaN(), qInf());
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "1 + 1").toInt(), 2, 30000);
}

void TestWebEngine::defaultAddressIsRequestedAndBlocked()
{
    const MapWidget map(nullptr); // starts the engine
    QWidget parent;
    parent.show();
    const WebWidget web({}, &parent);
    QTRY_COMPARE_WITH_TIMEOUT(notice(parent), QString("无法显示地图：页面加载失败或被拒绝。"), 60000);
}

void TestWebEngine::missingPageIsReportedInTheMapArea()
{
    const QString page = m_fixture->applicationPath("Leaflet/demo.html");
    QVERIFY(QFile::rename(page, page + ".away"));
    {
        const MapWidget map(nullptr);
        QTRY_COMPARE_WITH_TIMEOUT(notice(map), "无法显示地图：缺少页面文件 " + page, 60000);
        QTest::mouseClick(map.findChild<QPushButton *>("pushButton"), Qt::LeftButton);
    }
    QVERIFY(QFile::rename(page + ".away", page));
}

void TestWebEngine::onlyOwnFilesAndLoopbackAreAllowed()
{
    QTcpServer loopback;
    QTcpServer other;
    QVERIFY(loopback.listen(QHostAddress("127.0.0.1")));
    // A local server that the page must treat like any foreign host.
    QVERIFY(other.listen(QHostAddress("127.0.0.2")));
    QFile secret(m_fixture->applicationPath("secret.js"));
    QVERIFY(secret.open(QIODevice::WriteOnly));
    secret.write("window.secret = 1;");
    secret.close();
    QFile page(m_fixture->applicationPath("Leaflet/open.html"));
    QVERIFY(page.open(QIODevice::WriteOnly));
    // Without a content security policy of its own, so that only the engine can block the request.
    page.write(QString("<!DOCTYPE html><script src='../secret.js'></script><script src='geodesic.js'></script>"
                       "<iframe src='../secret.js'></iframe>"
                       "<img src='http://127.0.0.2:%1/a' onerror='window.failed = 1'>"
                       "<img src='http://127.0.0.1:%2/b'>")
                   .arg(other.serverPort())
                   .arg(loopback.serverPort())
                   .toUtf8());
    page.close();

    MapWidget map(nullptr);
    map.findChild<WebWidget *>()->load(page.fileName());
    QTRY_VERIFY_WITH_TIMEOUT(loopback.hasPendingConnections(), 60000);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "window.failed").toInt(), 1, 30000);
    QCOMPARE(ask(map, "typeof geodesic").toString(), QString("object"));
    QCOMPARE(ask(map, "typeof secret").toString(), QString("undefined"));
    QVERIFY(!other.hasPendingConnections());
    // The page cannot navigate to another address either.
    map.runJs("location.assign", QString("'http://127.0.0.1:%1/'").arg(loopback.serverPort()));
    map.runJs("window.open", "'demo.html'");
    QCOMPARE(ask(map, "location.pathname.slice(-9)").toString(), QString("open.html"));
    QFile::remove(secret.fileName());
}

void TestWebEngine::crashedPageIsReportedAndANewDialogWorks()
{
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QCOMPARE(kill(pid_t(view(map)->page()->renderProcessPid()), SIGKILL), 0);
    QTRY_COMPARE_WITH_TIMEOUT(notice(map), QString("地图页面已意外终止，请关闭本窗口后重新打开。"), 30000);
    QTest::mouseClick(map.findChild<QPushButton *>("btn_clear"), Qt::LeftButton);
    const MapWidget next(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(next, "typeof ostravelMap").toString(), QString("object"), 60000);
    map.close();
    map.show();
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QCOMPARE(notice(map), QString());
}

void TestWebEngine::closedDialogReleasesItsPage()
{
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    const auto process = pid_t(view(map)->page()->renderProcessPid());
    QCOMPARE(ask(map, "window.name = 'the first'").toString(), QString("the first"));
    map.close();
    QTRY_VERIFY(!view(map));
    map.show();
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QCOMPARE(ask(map, "window.name").toString(), QString());
    // Its process waits for the next page.
    QCOMPARE(pid_t(view(map)->page()->renderProcessPid()), process);
}

void TestWebEngine::closedDialogReleasesItsPixels()
{
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QVERIFY(map.backingStore());
    QTRY_COMPARE(map.backingStore()->size(), map.size());
    map.close();
    // The dialog stays in memory, and a full screen takes eight megabytes.
    QTRY_VERIFY(map.backingStore()->size().width() <= 1 && map.backingStore()->size().height() <= 1);
    map.show();
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QTRY_COMPARE(map.backingStore()->size(), map.size());
    // The buttons are painted again.
    const auto *const image = dynamic_cast<QImage *>(map.backingStore()->paintDevice());
    QVERIFY(image);
    const auto colours = [&] {
        const QImage buttons = image->copy(map.findChild<QGroupBox *>()->geometry());
        QSet<QRgb> found;
        for (int y = 0; y < buttons.height(); ++y) {
            for (int x = 0; x < buttons.width(); ++x)
                found.insert(buttons.pixel(x, y));
        }
        return found.size();
    };
    QTRY_VERIFY(colours() > 2);
}

void TestWebEngine::hangingPageEndsWithItsDialog()
{
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    const auto process = pid_t(view(map)->page()->renderProcessPid());
    map.runJs("for (;;) Number", "1");
    map.close();
    // Load and click immediately: both wait until the hanging process has ended.
    MapWidget next(nullptr);
    QTest::mouseClick(next.findChild<QPushButton *>("btn_enableRoutes"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(ask(next, "window.ostravelMap ? ostravelMap.state().mode : ''").toString(),
                              QString("draw"), 60000);
    QTRY_VERIFY_WITH_TIMEOUT(kill(process, 0) != 0, 30000);
    QCOMPARE(notice(next), QString());
    map.show();
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
}

void TestWebEngine::pagesOfTwoDialogsShareAProcess()
{
    const MapWidget first(nullptr);
    const MapWidget second(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(first, "typeof ostravelMap").toString(), QString("object"), 60000);
    QTRY_COMPARE_WITH_TIMEOUT(ask(second, "typeof ostravelMap").toString(), QString("object"), 60000);
    QCOMPARE(view(first)->page()->renderProcessPid(), view(second)->page()->renderProcessPid());
    // The scripts of one page still cannot reach the other page.
    ask(first, "window.mine = 1");
    QCOMPARE(ask(second, "typeof mine").toString(), QString("undefined"));
}

void TestWebEngine::pageMayCloseTheDialogItself()
{
    MapWidget map(nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(view(map), 60000);
    const QPointer<QWebEngineView> page(view(map));
    bool alive = false;
    connect(page, &QWebEngineView::loadFinished, &map, [&] {
        map.close();
        // The page still executes this call.
        alive = page != nullptr;
    });
    QTRY_VERIFY_WITH_TIMEOUT(map.isHidden(), 60000);
    QVERIFY(alive);
    QTRY_VERIFY(!page);
    QVERIFY(!view(map));
}

void TestWebEngine::keysInThePageStayInThePage_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("Return would press the dialog's first button") << int(Qt::Key_Return) << "\r";
    QTest::newRow("Escape would close the dialog") << int(Qt::Key_Escape) << "\x1b";
    // Some input methods send such keys, and the page returns them.
    QTest::newRow("Escape without a text") << int(Qt::Key_Escape) << "";
}

void TestWebEngine::keysInThePageStayInThePage()
{
    QFETCH(int, key);
    QFETCH(QString, text);
    MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    bool pressed = false;
    auto *const button = map.findChild<QPushButton *>("btn_callWmts");
    button->disconnect();
    connect(button, &QPushButton::clicked, &map, [&] { pressed = true; });
    // Returned keys arrive in order. The last one is a key that the dialog does not use.
    class LastKey : public QObject
    {
    public:
        bool seen = false;
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            const bool handedBack = watched->inherits("QWidget") && watched->findChild<QWebEngineView *>();
            if (handedBack && event->type() == QEvent::KeyPress)
                seen = seen || static_cast<QKeyEvent *>(event)->key() == Qt::Key_F9;
            return false;
        }
    } last;
    QApplication::instance()->installEventFilter(&last);
    QWidget *const page = view(map)->focusProxy();
    QTest::sendKeyEvent(QTest::Click, page, Qt::Key(key), text, {});
    QTest::keyClick(page, Qt::Key_F9);
    QTRY_VERIFY_WITH_TIMEOUT(last.seen, 30000);
    QVERIFY(!pressed);
    QVERIFY(map.isVisible());
    QVERIFY(view(map));
}

void TestWebEngine::closingOneDialogKeepsThePageOfTheOther()
{
    auto first = std::make_unique<MapWidget>(nullptr);
    const MapWidget second(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(second, "typeof ostravelMap").toString(), QString("object"), 60000);
    first.reset();
    QCOMPARE(ask(second, "typeof ostravelMap").toString(), QString("object"));
}

void TestWebEngine::sandboxIsOffOnlyForRoot()
{
    const MapWidget map(nullptr);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
    QFile file(QString("/proc/%1/cmdline").arg(view(map)->page()->renderProcessPid()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().split('\0').contains("--no-sandbox"), geteuid() == 0);
    // Programs that are started later do not inherit the variables.
    QVERIFY(!qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX"));
    QCOMPARE(qgetenv("QTWEBENGINE_CHROMIUM_FLAGS"), QByteArray("--no-first-run"));
}

void TestWebEngine::openTools(const QWidget &widget)
{
    QTRY_COMPARE_WITH_TIMEOUT(ask(widget, "typeof ostravelMap").toString(), QString("object"), 60000);
    ask(widget, "document.querySelector('.tool-button').click()");
    QTRY_COMPARE_WITH_TIMEOUT(ask(widget, "typeof ostravelMap.tools").toString(), QString("object"), 30000);
    ask(widget,
        "ostravelMap.addRoute('', [[34, 113.5], [34.25, 113.75]].map(function (p) {"
        " return { at: L.latLng(p), way: null, moved: true }; })) && 0");
    QTRY_COMPARE_WITH_TIMEOUT(ask(widget, "document.querySelectorAll('#tools .route').length").toInt(), 1, 30000);
}

void TestWebEngine::pressSave(const QWidget &widget)
{
    ask(widget,
        "setTimeout(function () { [].filter.call(document.querySelectorAll('#tools button'), function (b) {"
        " return b.innerText === '保存'; })[0].click(); }, 0)");
}

void TestWebEngine::routeIsSavedToTheChosenFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("我的航线.json");
    MapWidget map(nullptr);
    openTools(map);
    QString proposed;
    ModalAnswer user;
    user.next([&](QDialog *dialog) {
        auto *const files = qobject_cast<QFileDialog *>(dialog);
        QVERIFY(files);
        QCOMPARE(files->acceptMode(), QFileDialog::AcceptSave);
        proposed = QFileInfo(files->selectedFiles().value(0)).fileName();
        files->selectFile(path);
        dialog->accept();
    });
    pressSave(map);
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path).size() > 0, 30000);
    QVERIFY2(user.allAnswered(), qPrintable(user.unexpected().join(", ")));
    QCOMPARE(proposed, QString("航线 1.json"));

    // The program's own converter must be able to read the file.
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    DecodeRoutes converter(nullptr);
    converter.decodeRoute(file);
    const auto *const table = converter.findChild<QTableWidget *>("tableWidget");
    QCOMPARE(table->rowCount(), 2);
    const QStringList second{"2", "113.75", "34.25", "100", "50", "20"};
    for (int column = 0; column < second.size(); ++column)
        QCOMPARE(table->item(1, column)->text(), second.at(column));
}

void TestWebEngine::cancelledSaveWritesNothing()
{
    MapWidget map(nullptr);
    openTools(map);
    const QDir folder(QDir::currentPath());
    const QStringList before = folder.entryList();
    ModalAnswer user;
    user.next([](QDialog *dialog) { dialog->reject(); });
    pressSave(map);
    QTRY_VERIFY_WITH_TIMEOUT(user.allAnswered(), 30000);
    QCOMPARE(ask(map, "1 + 1").toInt(), 2);
    QCOMPARE(folder.entryList(), before);
}

void TestWebEngine::existingFileIsReplacedOnlyWhenTheUserAgrees()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.json");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("kept");
    file.close();
    MapWidget map(nullptr);
    openTools(map);
    ModalAnswer user;
    const auto choose = [&](QDialog *dialog) {
        qobject_cast<QFileDialog *>(dialog)->selectFile(path);
        dialog->accept();
    };
    const auto answer = [](QMessageBox::StandardButton button) {
        return [button](QDialog *dialog) {
            QVERIFY(qobject_cast<QMessageBox *>(dialog));
            QTest::mouseClick(qobject_cast<QMessageBox *>(dialog)->button(button), Qt::LeftButton);
        };
    };
    user.next(choose);
    user.next(answer(QMessageBox::No));
    pressSave(map);
    QTRY_VERIFY_WITH_TIMEOUT(user.allAnswered(), 30000);
    QCOMPARE(ask(map, "1 + 1").toInt(), 2);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("kept"));
    file.close();

    user.next(choose);
    user.next(answer(QMessageBox::Yes));
    pressSave(map);
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(path).size() > 100, 30000);
    QVERIFY(user.allAnswered());
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList("a.json"));
}

void TestWebEngine::failedSaveIsReported()
{
    MapWidget map(nullptr);
    openTools(map);
    ModalAnswer user;
    QString text;
    user.next([](QDialog *dialog) {
        // A folder in which no file can be created.
        qobject_cast<QFileDialog *>(dialog)->selectFile("/proc/a.json");
        dialog->accept();
    });
    user.next([&](QDialog *dialog) { text = qobject_cast<QMessageBox *>(dialog)->text(); });
    pressSave(map);
    QTRY_VERIFY2_WITH_TIMEOUT(text.startsWith("无法保存 /proc/a.json："), qPrintable(text), 30000);
    QVERIFY(user.allAnswered());
}

void TestWebEngine::downloadFromAnotherAddressIsRejected()
{
    MapWidget map(nullptr);
    openTools(map);
    const ModalAnswer nobody;
    ask(map,
        "var link = document.createElement('a'); link.download = 'a.txt'; link.href = 'data:text/plain,a';"
        " document.body.appendChild(link); link.click(); 0");
    ask(map, "link.href = 'geodesic.js'; link.click(); 0");
    // A dialog for the download would open before the dialog of a later save.
    ModalAnswer user;
    user.next([](QDialog *dialog) { dialog->reject(); });
    pressSave(map);
    QTRY_VERIFY_WITH_TIMEOUT(user.allAnswered(), 30000);
    QVERIFY2(nobody.unexpected().size() == 1, qPrintable(nobody.unexpected().join(", ")));
}

void TestWebEngine::fileIsChosenInTheFileDialog()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("航迹.gpx");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<gpx><trk><trkseg><trkpt lat='34' lon='113'/><trkpt lat='34.5' lon='113'/></trkseg></trk></gpx>");
    file.close();
    MapWidget map(nullptr);
    openTools(map);
    // A real click: the engine does not open a file dialog for a script.
    const QVariantList place = ask(map,
                                   "document.getElementById('file').scrollIntoView();"
                                   " var r = document.getElementById('file').getBoundingClientRect();"
                                   " [r.left + r.width / 2, r.top + r.height / 2]")
                                   .toList();
    QCOMPARE(place.size(), 2);
    const QPoint at(place.at(0).toInt(), place.at(1).toInt());
    ModalAnswer user;
    user.next([](QDialog *dialog) { dialog->reject(); });
    QTest::mouseClick(view(map)->focusProxy(), Qt::LeftButton, Qt::NoModifier, at);
    QTRY_VERIFY_WITH_TIMEOUT(user.allAnswered(), 30000);
    QCOMPARE(ask(map, "ostravelMap.tracks.length").toInt(), 0);

    user.next([&](QDialog *dialog) {
        auto *const files = qobject_cast<QFileDialog *>(dialog);
        QVERIFY(files);
        QCOMPARE(files->acceptMode(), QFileDialog::AcceptOpen);
        QCOMPARE(files->fileMode(), QFileDialog::ExistingFiles);
        files->selectFile(path);
        dialog->accept();
    });
    QTest::mouseClick(view(map)->focusProxy(), Qt::LeftButton, Qt::NoModifier, at);
    QTRY_COMPARE_WITH_TIMEOUT(ask(map, "ostravelMap.tracks.length && ostravelMap.tracks[0].line.count()").toInt(), 2,
                              30000);
    QVERIFY2(user.allAnswered(), qPrintable(user.unexpected().join(", ")));
}

void TestWebEngine::pageHasTheThemeOfTheProgram_data()
{
    QTest::addColumn<QColor>("window");
    QTest::addColumn<bool>("night");
    QTest::newRow("day") << QColor("#efefef") << false;
    QTest::newRow("night") << QColor("#19232d") << true;
}

void TestWebEngine::pageHasTheThemeOfTheProgram()
{
    QFETCH(QColor, window);
    QFETCH(bool, night);
    // The palette that the theme's style sheet gives the dialog.
    qApp->setStyleSheet(QString("QWidget { background-color: %1; }").arg(window.name()));
    {
        const MapWidget map(nullptr);
        QTRY_COMPARE_WITH_TIMEOUT(ask(map, "typeof ostravelMap").toString(), QString("object"), 60000);
        QCOMPARE(ask(map, "ostravelMap.night").toBool(), night);
        QCOMPARE(ask(map, "ostravelHost.saves").toBool(), true);
    }
    qApp->setStyleSheet({});
}

QTEST_MAIN(TestWebEngine)
#include "TestWebEngine.moc"
