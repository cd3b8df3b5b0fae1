#include "ChannelStore.h"
#include "CommonModule.h"
#include "DemoFlight.h"
#include "DemoRoute.h"
#include "MapWidget.h"
#include "ModalAnswer.h"
#include "ObjectCensus.h"
#include "ProcessState.h"
#include "StandIn.h"
#include "SwitchButton.h"
#include "WindowFixture.h"

#include <QDialogButtonBox>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolBar>
#include <QToolTip>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <array>

namespace
{

constexpr int kAllReads = 200;
constexpr int kEarlyReads = 20;
constexpr int kReadsForAMap = 5;
constexpr int kMoreMaps = 30;
constexpr double kMaxMiBForAMap = 0.5;
constexpr double kMaxGrowth = 1.05;
constexpr int kPatienceMs = 120'000;

/** What the program holds between two reads. */
struct Snapshot {
    ProcessState process;
    double childrenMiB = 0;
    QMap<QString, int> windows; // hidden top-level widgets by class
    QMap<QString, int> objects; // by class
    int maps = 0; // map dialogs, all closed
    int objectsOfMaps = 0;
};

/** OSTRAVEL_SOAK_READS is for trials; 20 and a multiple of 12, so that log and theme are those of the 20th. */
int reads()
{
    const int fewer = qEnvironmentVariableIntValue("OSTRAVEL_SOAK_READS");
    return fewer > 0 ? fewer : kAllReads;
}

/** Whether the object belongs to a map dialog, its window of the system included. */
bool isMap(const QObject *object)
{
    if (object->inherits("QWindow") && object->objectName() == QLatin1String("MapWidgetWindow"))
        return true;
    for (; object; object = object->parent()) {
        if (object->inherits("MapWidget"))
            return true;
    }
    return false;
}

/** As all user input is: only there objects are deleted at the right time. */
template <typename Work>
void inEventLoop(Work &&work)
{
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&] {
        work();
        loop.quit();
    });
    loop.exec();
}

/** Runs in the loop of an export: the final message may come at any time. */
ModalAnswer::Answer accept()
{
    return [](QDialog *dialog) { dialog->accept(); };
}

} // namespace

/**
 * An analyst reads 200 logs in one run of the program, and uses everything between two reads. What the program holds
 * after the last read is what it held after the 20th.
 *
 * The closed map dialogs are the exception: each stays a hidden child of the window. They are counted separately.
 */
class SoakWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void memoryIsFlat();
    void memoryOfChildProcessesIsFlat();
    void threadsAreFlat();
    void descriptorsAreFlat();
    void hiddenWindowsAreFlat();
    void objectsAreFlat();
    void everyMapStaysAsOneHiddenDialog();
    void closedMapCostsLittle();

private:
    void makeFiles();
    void flow(int round);
    void selectLog(int round);
    void read(int round);
    void showCurves();
    void useCanvases();
    void useMenu(QCustomPlot *canvas, int entry);
    void changeSettings();
    void changeLook(int round);
    void writeExports();
    void openMap();
    void openTools(int round);
    void waitForExport();

    Snapshot settled() const;
    Snapshot snapshot() const;
    QAction *tool(const char *text) const;
    MainWindow &window() const { return m_fixture->window(); }

    std::unique_ptr<ObjectCensus> m_census;
    std::unique_ptr<StandIn> m_programs;
    std::unique_ptr<WindowFixture> m_fixture;
    std::unique_ptr<ModalAnswer> m_answer;
    std::array<QString, 3> m_logs;
    QString m_route;
    Snapshot m_early;
    Snapshot m_late;
    Snapshot m_withMaps; // after further openings
};

void SoakWindow::makeFiles()
{
    constexpr int kShort = 2;
    constexpr int kLong = 6;
    m_logs = {m_fixture->path(QStringLiteral("short.txt")), m_fixture->path(QStringLiteral("long.txt")),
              m_fixture->path(QStringLiteral("tasks.db"))};
    demo::DemoOptions options;
    options.minutes = kShort;
    QVERIFY(demo::writeTextLog(m_logs[0], options));
    QVERIFY(demo::writeDatabase(m_logs[2], demo::demoTasks(options)));
    options.minutes = kLong;
    QVERIFY(demo::writeDamagedLog(m_logs[1], options));
    m_route = m_fixture->path(QStringLiteral("route.json"));
    QVERIFY(demo::writeRoute(m_route, {}));
}

void SoakWindow::initTestCase()
{
    m_census = std::make_unique<ObjectCensus>();
    m_programs = std::make_unique<StandIn>();
    m_programs->program(QStringLiteral("octave"),
                        "echo plot-engine:done; while read -r line; do echo plot-engine:done; done");
    m_programs->program(QStringLiteral("python"), "exit 0");
    m_fixture = std::make_unique<WindowFixture>();
    m_answer = std::make_unique<ModalAnswer>();
    makeFiles();
    for (int round = 0; round < reads(); ++round) {
        inEventLoop([this, round] { flow(round); });
        if (QTest::currentTestFailed())
            return;
        if (round + 1 == kEarlyReads)
            m_early = settled();
        if ((round + 1) % kEarlyReads == 0)
            std::fprintf(stderr, "%d reads: %.1f MiB, child processes %.1f MiB\n", round + 1,
                         ProcessState::of(QCoreApplication::applicationPid()).residentMiB,
                         ProcessState::childrenMiB(QCoreApplication::applicationPid()));
    }
    m_late = settled();
    for (int map = 0; map < kMoreMaps; ++map)
        inEventLoop([this] { openMap(); });
    m_withMaps = settled();
    QVERIFY2(m_answer->allAnswered(), qPrintable(m_answer->unexpected().join(QStringLiteral(", "))));
}

void SoakWindow::cleanupTestCase()
{
    m_answer.reset();
    m_fixture.reset();
    m_programs.reset();
    m_census.reset();
}

QAction *SoakWindow::tool(const char *text) const
{
    const auto *const bar = window().findChild<QToolBar *>(QStringLiteral("toolBar"));
    for (QAction *const action : bar->actions()) {
        if (action->text() == QString::fromUtf8(text))
            return action;
    }
    qFatal("no tool %s", text);
}

void SoakWindow::flow(int round)
{
    selectLog(round);
    read(round);
    showCurves();
    useCanvases();
    changeSettings();
    changeLook(round);
    writeExports();
    if (round % kReadsForAMap == 0)
        openMap();
    openTools(round);
}

/** By the file dialog and by a drop in turn. */
void SoakWindow::selectLog(int round)
{
    const QString path = m_logs[std::size_t(round) % m_logs.size()];
    if (round % 2 == 0) {
        m_answer->next([&path](QDialog *dialog) {
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        m_fixture->entry("menuFile", "选择文件(O)")->trigger();
    } else {
        QMimeData mime;
        mime.setUrls({QUrl::fromLocalFile(path)});
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        static_cast<QObject &>(window()).event(&drop); // bypasses the drag manager, which has no drag
    }
    QCOMPARE(window().filePath(), path);
}

void SoakWindow::read(int round)
{
    if (std::size_t(round) % m_logs.size() == m_logs.size() - 1) {
        m_answer->next([](QDialog *list) {
            list->findChild<QTableWidget *>()->item(0, 3)->setCheckState(Qt::Checked);
            list->findChild<QPushButton *>()->click();
        });
    }
    m_answer->next(accept()); // the report
    m_fixture->entry("menuFile", "读取数据(R)")->trigger();
    QVERIFY(dataRead);
    QVERIFY(channelGroup(0x03)->length() > 0);
}

void SoakWindow::showCurves()
{
    for (QCheckBox *const box : window().checkBoxes())
        box->setChecked(true);
    QCOMPARE(m_fixture->canvas()->graphCount() + m_fixture->canvas_2()->graphCount(), 15);
}

/** Opens the right-click menu and clicks on one of its entries. */
void SoakWindow::useMenu(QCustomPlot *canvas, int entry)
{
    emit canvas->customContextMenuRequested(QPoint(20, 20));
    auto *const menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(menu);
    QAction *const action = menu->actions().value(entry);
    QVERIFY(action);
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
}

void SoakWindow::useCanvases()
{
    for (QCustomPlot *const canvas : {m_fixture->canvas(), m_fixture->canvas_2()}) {
        useMenu(canvas, 1); // adaptive scaling
        WindowFixture::select(canvas->graph(0));
        for (int x = canvas->axisRect()->left(); x < canvas->axisRect()->right(); x += 20)
            QTest::mouseMove(canvas, QPoint(x, canvas->axisRect()->center().y()));
        // A pen for the selected curve.
        m_answer->next(accept());
        useMenu(canvas, canvas == m_fixture->canvas() ? 5 : 4);
        useMenu(canvas, 3 - (canvas == m_fixture->canvas() ? 0 : 1)); // delete the point under the cursor
        for (const int key : {Qt::Key_Home, Qt::Key_Right, Qt::Key_Plus, Qt::Key_Backspace, Qt::Key_A})
            QTest::keyClick(canvas, Qt::Key(key));
        canvas->deselectAll();
        // A font for the selected axis.
        canvas->xAxis->setSelectedParts(QCPAxis::spAxis);
        m_answer->next(accept());
        useMenu(canvas, 0);
        canvas->deselectAll();
        canvas->replot();
    }
    // To the other canvas and back.
    for (QCustomPlot *const canvas : {m_fixture->canvas(), m_fixture->canvas_2()}) {
        WindowFixture::select(canvas->graph(canvas->graphCount() - 1));
        useMenu(canvas, canvas == m_fixture->canvas() ? 8 : 6);
    }
    QToolTip::hideText();
}

/** A switch of each tab on or off, and other periods. */
void SoakWindow::changeSettings()
{
    m_answer->next([](QDialog *dialog) {
        auto *const tabs = dialog->findChild<QTabWidget *>();
        for (int i = 0; i < tabs->count(); ++i) {
            tabs->setCurrentIndex(i);
            const auto switches = tabs->widget(i)->findChildren<SwitchButton *>();
            for (int k = 0; k < switches.size() && k < 3; ++k)
                QTest::mouseClick(switches.at(k), Qt::LeftButton);
        }
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    m_fixture->entry("menuSetting", "数据设置(D)")->trigger();
    // The plane filter is one of the switches; the next read shall read all planes.
    selectedPlaneEnabled = false;
}

/** Theme, touch mode and read-out, as the user switches them: each acts at once. */
void SoakWindow::changeLook(int round)
{
    m_answer->next([round](QDialog *dialog) {
        for (const char *const name : {"checkBox_dartMode", "checkBox_touch", "checkBox_factor"}) {
            auto *const box = dialog->findChild<QCheckBox *>(QString::fromLatin1(name));
            box->setChecked(!box->isChecked());
            if (round % 2 == 0)
                box->setChecked(!box->isChecked());
        }
        dialog->accept();
    });
    m_fixture->entry("menuSetting", "界面设置(G)")->trigger();
}

void SoakWindow::waitForExport()
{
    QTRY_VERIFY_WITH_TIMEOUT(!window().exportThread(), kPatienceMs);
}

void SoakWindow::writeExports()
{
    for (const char *const entry : {"写Excel", "写Txt"}) {
        m_answer->next(accept());
        m_fixture->entry("menuFile", entry)->trigger();
        waitForExport();
    }
}

/** Opens the map, draws the track in the page and closes the dialog. */
void SoakWindow::openMap()
{
    bool drawn = false;
    m_answer->next([&drawn](QDialog *dialog) {
        const auto track = std::make_shared<QVariant>();
        const auto isAsked = std::make_shared<bool>(false);
        // The answer to the last question; -1 while there is none.
        const auto ask = [&] {
            auto *const view = dialog->findChild<QWebEngineView *>();
            if (view && !*isAsked) {
                *isAsked = true;
                view->page()->runJavaScript(
                    QStringLiteral("typeof ostravelMap === 'object' ? ostravelMap.state().track : -1"),
                    [track, isAsked](const QVariant &answer) {
                        *track = answer;
                        *isAsked = false;
                    });
            }
            return track->isValid() ? track->toInt() : -1;
        };
        (void)QTest::qWaitFor([&] { return ask() >= 0; }, kPatienceMs);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("pushButton")), Qt::LeftButton);
        drawn = QTest::qWaitFor([&] { return ask() > 0; }, kPatienceMs);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("btn_measureDis")), Qt::LeftButton);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("btn_clear")), Qt::LeftButton);
    });
    tool("Map")->trigger();
    QVERIFY2(drawn, "the page does not draw the track");
}

/** Every other dialog. */
void SoakWindow::openTools(int round)
{
    m_answer->next([](QDialog *dialog) {
        (void)QTest::qWaitFor([dialog] { return dialog->windowTitle() == QLatin1String("MPlot"); }, kPatienceMs);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("btnHeight")), Qt::LeftButton);
    });
    tool("MPlot")->trigger();
    m_answer->next([](QDialog *dialog) {
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("pushButton")), Qt::LeftButton);
    });
    tool("PyPlot")->trigger();
    m_answer->next(accept());
    m_fixture->entry("menuHelp", "关于(A)")->trigger();
    m_answer->next([this](QDialog *dialog) {
        m_answer->next([this](QDialog *files) {
            files->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(m_route);
            QMetaObject::invokeMethod(files, "accept");
        });
        for (const char *const name : {"btn_selectFile", "btn_writeExcel"})
            dialog->findChild<QPushButton *>(QString::fromLatin1(name))->click();
    });
    tool("Route2Excel")->trigger();
    if (round % 2 == 0) {
        tool("MathLib")->trigger();
        window().commonModule()->close();
    }
}

Snapshot SoakWindow::snapshot() const
{
    Snapshot result;
    result.process = ProcessState::of(QCoreApplication::applicationPid());
    result.childrenMiB = ProcessState::childrenMiB(QCoreApplication::applicationPid());
    for (const QWidget *const widget : QApplication::topLevelWidgets()) {
        if (!widget->isVisible() && !isMap(widget))
            ++result.windows[QString::fromLatin1(widget->metaObject()->className())];
    }
    result.objects = ObjectCensus::count(isMap);
    const auto maps = window().findChildren<MapWidget *>();
    result.maps = maps.size();
    for (const MapWidget *const map : maps)
        result.objectsOfMaps += 1 + map->findChildren<QObject *>().size();
    return result;
}

/** After threads and processes that are ending have ended. */
Snapshot SoakWindow::settled() const
{
    constexpr int kStableMs = 5'000;
    QElapsedTimer stable;
    stable.start();
    Snapshot last = snapshot();
    (void)QTest::qWaitFor(
        [&] {
            const Snapshot now = snapshot();
            const bool more = !m_early.process.threads.isEmpty()
                && (now.process.threads.size() > m_early.process.threads.size()
                    || now.process.descriptors.size() > m_early.process.descriptors.size());
            if (more || now.process.threads != last.process.threads
                || now.process.descriptors != last.process.descriptors || now.objects != last.objects)
                stable.restart();
            last = now;
            return stable.elapsed() > kStableMs;
        },
        kPatienceMs);
    return snapshot();
}

void SoakWindow::memoryIsFlat()
{
    const double early = m_early.process.residentMiB;
    const double late = m_late.process.residentMiB;
    printRow("window, memory after 20 and 200 reads", early, late, "MiB", "+5 %");
    QVERIFY(early > 0);
    QVERIFY2(late <= early * kMaxGrowth, "the memory grows");
}

void SoakWindow::memoryOfChildProcessesIsFlat()
{
    printRow("window, memory of its processes for the map", m_early.childrenMiB, m_late.childrenMiB, "MiB", "+5 %");
    QVERIFY2(m_late.childrenMiB <= m_early.childrenMiB * kMaxGrowth, "the memory grows");
}

void SoakWindow::threadsAreFlat()
{
    printRow("window, threads", int(m_early.process.threads.size()), int(m_late.process.threads.size()), "no more");
    const QStringList more = increases(counted(m_early.process.threads), counted(m_late.process.threads));
    QVERIFY2(m_late.process.threads.size() <= m_early.process.threads.size(),
             qPrintable(more.join(QStringLiteral(", "))));
}

void SoakWindow::descriptorsAreFlat()
{
    printRow("window, open descriptors", int(m_early.process.descriptors.size()),
             int(m_late.process.descriptors.size()), "no more");
    const QStringList more = increases(counted(m_early.process.descriptors), counted(m_late.process.descriptors));
    QVERIFY2(m_late.process.descriptors.size() <= m_early.process.descriptors.size(),
             qPrintable(more.join(QStringLiteral(", "))));
}

void SoakWindow::hiddenWindowsAreFlat()
{
    const auto sum = [](const QMap<QString, int> &counts) {
        int all = 0;
        for (const int count : counts)
            all += count;
        return all;
    };
    printRow("window, hidden windows besides the maps", sum(m_early.windows), sum(m_late.windows), "no more");
    const QStringList more = increases(m_early.windows, m_late.windows);
    QVERIFY2(more.isEmpty(), qPrintable(more.join(QStringLiteral(", "))));
}

void SoakWindow::objectsAreFlat()
{
    int early = 0;
    for (const int count : qAsConst(m_early.objects))
        early += count;
    int late = 0;
    for (const int count : qAsConst(m_late.objects))
        late += count;
    printRow("window, objects besides the maps", early, late, "no more");
    const QStringList more = increases(m_early.objects, m_late.objects);
    QVERIFY2(more.isEmpty(), qPrintable(more.join(QStringLiteral(", "))));
}

void SoakWindow::everyMapStaysAsOneHiddenDialog()
{
    printRow("window, closed map dialogs", m_early.maps, m_late.maps, "one for each opening");
    QCOMPARE(m_early.maps, kEarlyReads / kReadsForAMap);
    QCOMPARE(m_late.maps, (reads() + kReadsForAMap - 1) / kReadsForAMap);
    printRow("window, objects of one closed map", m_early.objectsOfMaps / m_early.maps,
             m_late.objectsOfMaps / m_late.maps, "no more");
    QCOMPARE(m_late.objectsOfMaps * m_early.maps, m_early.objectsOfMaps * m_late.maps);
}

void SoakWindow::closedMapCostsLittle()
{
    const double cost = (m_withMaps.process.residentMiB - m_late.process.residentMiB) / kMoreMaps;
    const double children = (m_withMaps.childrenMiB - m_late.childrenMiB) / kMoreMaps;
    std::printf("window, one closed map dialog | - | %.2f MiB, %.2f MiB in other processes | at most %.1f MiB\n", cost,
                children, kMaxMiBForAMap);
    QCOMPARE(m_withMaps.maps, m_late.maps + kMoreMaps);
    QVERIFY(cost <= kMaxMiBForAMap);
    QVERIFY(children <= kMaxMiBForAMap);
}

QTEST_MAIN(SoakWindow)
#include "SoakWindow.moc"
