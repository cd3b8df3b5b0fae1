#include "LogFile.h"
#include "MetaMethods.h"
#include "ModalAnswer.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QSettings>
#include <QSignalSpy>
#include <QToolBar>
#include <QUrl>

#include <algorithm>

namespace
{

struct Entry {
    const char *text; // null for a separator
    const char *icon;
    const char *shortcut;
};

struct MenuEntries {
    const char *objectName;
    const char *title;
    QVector<Entry> entries;
};

const QVector<MenuEntries> &menus()
{
    static const QVector<MenuEntries> all{
        {"menuFile",
         "文件(F)",
         {{"选择文件(O)", ":/folder-open.svg", "Ctrl+O"},
          {"读取数据(R)", ":/analysis.svg", "Ctrl+R"},
          {"写Excel", ":/Excel-black.svg", ""},
          {"写Txt", ":/Txt3.svg", ""}}},
        {"menuView", "视图(V)", {{"清空(C)", ":/clear.svg", ""}, {"缩放(R)", ":/zoom-internal.svg", ""}}},
        {"menuSetting", "设置(S)", {{"数据设置(D)", ":/tool.svg", ""}, {"界面设置(G)", ":/setting-computer.svg", ""}}},
        {"menuTrace", "轨迹(T)", {{"matlib(M)", ":/map-draw.svg", ""}, {"python(P)", ":/sinusoid.svg", ""}}},
        {"menuOther", "其他(O)", {{"航线解析(R)", ":/route-black.svg", ""}, {"共用模块(M)", ":/math-black.svg", ""}}},
        {"menuHelp",
         "帮助(H)",
         {{"关于(A)", ":/help.svg", ""}, {"文档(D)", ":/book.svg", ""}, {"更新(D)", ":/update.svg", ""}}},
    };
    return all;
}

const QVector<Entry> &toolBarEntries()
{
    static const QVector<Entry> all{
        {"File", ":/Txt(1).ico", ""},
        {"Read", ":/DVD R.ico", ""},
        {nullptr, nullptr, nullptr},
        {"GolbalSetting", ":/setting.ico", ""},
        {"ViewSetting", ":/setting2.ico", ""},
        {nullptr, nullptr, nullptr},
        {"写Excel", ":/EXCEL.svg", ""},
        {"写Txt", ":/TXT4.svg", ""},
        {nullptr, nullptr, nullptr},
        {"MPlot", ":/map.svg", ""},
        {"PyPlot", ":/chart-line-area.svg", ""},
        {"Map", ":/map-blue.svg", ""},
        {nullptr, nullptr, nullptr},
        {"Route2Excel", ":/route-blue.svg", ""},
        {"MathLib", ":/math-blue.svg", ""},
        {nullptr, nullptr, nullptr},
        {"Document", ":/Help-copy.ico", ""},
    };
    return all;
}

QImage picture(const QIcon &icon)
{
    return icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32);
}

bool blank(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) != 0)
                return false;
        }
    }
    return true;
}

/** Describes the first difference between the actions and the expected entries; empty if there is none. */
QString difference(const QList<QAction *> &actions, const QVector<Entry> &expected)
{
    if (actions.size() != expected.size())
        return QStringLiteral("%1 entries, expected %2").arg(actions.size()).arg(expected.size());
    for (int i = 0; i < actions.size(); ++i) {
        const QAction *const action = actions[i];
        const Entry &entry = expected[i];
        if (action->isSeparator() != (entry.text == nullptr))
            return QStringLiteral("entry %1: separator or not").arg(i);
        if (!entry.text)
            continue;
        if (action->text() != QString::fromUtf8(entry.text))
            return QStringLiteral("entry %1: text %2").arg(i).arg(action->text());
        if (action->shortcut() != QKeySequence(QString::fromLatin1(entry.shortcut)))
            return QStringLiteral("entry %1: shortcut %2").arg(i).arg(action->shortcut().toString());
        if (!QFile::exists(QString::fromLatin1(entry.icon)))
            return QStringLiteral("entry %1: no resource %2").arg(i).arg(QString::fromLatin1(entry.icon));
        const QImage shown = picture(action->icon());
        if (shown.isNull() || blank(shown) || shown != picture(QIcon(QString::fromLatin1(entry.icon))))
            return QStringLiteral("entry %1: picture").arg(i);
    }
    return {};
}

class UrlRecorder : public QObject
{
    Q_OBJECT

public:
    UrlRecorder() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "record"); }
    ~UrlRecorder() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }

    QList<QUrl> urls;

public slots:
    void record(const QUrl &url) { urls.append(url); }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<WindowFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void declaresItsSignalsAndSlotsInOrder();
    void onlyShowGraphSlotHasDefaultArguments();
    void slotsHaveTheExpectedAccess();
    void checkStatesConvertBothWays();
    void logsTheStepsOfItsConstruction();
    void isVisibleBeforeTheCanvasesAreSetUp();
    void opensMaximizedFromTheDesignSize();
    void titleIconAndStatusLabelAreSet();
    void formHasBoxesLeftOfTheTwoCanvases();
    void canvasHeightsAreThreeToOneAndCanShrink();
    void onlyTheFirstCanvasKeepsTheSubGridOfItsYAxis();
    void canvasesAreReplottedAfterTheirSetUp();
    void formActionsHaveTheirTextsToolTipsAndIcons();
    void helpTraceAndPythonPlotActionsAreUnused();
    void menuBarHasItsMenusInOrder();
    void menuHasItsEntriesInOrder_data();
    void menuHasItsEntriesInOrder();
    void toolBarHasItsEntriesInOrder();
    void triggerHasItsEffect_data();
    void triggerHasItsEffect();
    void shortcutsTriggerTheirEntries();
    void clearAffectsOnlyTheFirstCanvas();
    void rescaleAffectsOnlyTheFirstCanvas();
    void dataSettingsShowCurvesThroughTheWindow();
    void documentIsOpenedFromTheFolderOfTheExecutable();
    void statusTextsDisappearAfterTwoAndAHalfSeconds();
    void dayModePaletteIsSetOnTheWindow();
    void nightModePaletteIsSetOnTheWindow();
    void unknownThemeChangesNothing();
    void changingTheApplicationThemeKeepsTheWindowPalette();
    void quitAnsweredNoKeepsTheWindow();
    void quitAnsweredYesClosesTheWindow();
    void quitQuestionIsDeletedAfterEitherAnswer_data();
    void quitQuestionIsDeletedAfterEitherAnswer();
    void dialogsWithoutAParentDoNotKeepTheProgramAlive();
    void destructionLogsThenWritesTheConfigurationThenClosesTheLog();

private:
    MainWindow &window() { return m_fixture->window(); }

    std::unique_ptr<WindowFixture> m_fixture;
};

void TestMainWindow::declaresItsSignalsAndSlotsInOrder()
{
    const QStringList expected{
        "signal readDataSignal(QString)",
        "signal removePointSignal(QCPGraph*,QCPItemPosition*)",
        "slot statusShowSlot(QString)",
        "slot checkBoxSlot()",
        "slot checkState(bool)",
        "slot checkState2Bool(Qt::CheckState)",
        "slot switchThemeSlot(MyThemes)",
        "slot readDataFinishedSlot(ushort,ushort,ushort)",
        "slot showGraphSlot(QString,bool,uchar,uchar,uchar)",
        "slot showGraphSlot(QString,bool,uchar,uchar)",
        "slot showGraphSlot(QString,bool,uchar)",
        "slot showSlot()",
        "slot onSelectFileSlot()",
        "slot readDataSlot_1()",
        "slot settingSlot()",
        "slot settingSlot_2()",
        "slot onGlobalSetting()",
        "slot on_actionAboutTriggered()",
        "slot on_actionDocumentTriggered()",
        "slot on_actionViewSettingTriggered()",
        "slot writeExcelSlot()",
        "slot onDecodeRouteSlot()",
        "slot writeTxtSlot()",
        "slot MPlotSlot()",
        "slot PyPlotSlot()",
        "slot onMapClickSlot()",
        "slot onCommonModuleSlot()",
        "slot titleDoubleClick(QMouseEvent*)",
        "slot legendDoubleClick(QCPLegend*,QCPAbstractLegendItem*)",
        "slot axisLabelDoubleClick(QCPAxis*,QCPAxis::SelectablePart)",
        "slot contextMenuRequest(QPoint)",
        "slot contextMenuRequest_2(QPoint)",
        "slot moveLegend()",
        "slot graphClicked(QCPAbstractPlottable*,int)",
        "slot followRescaleXAxisSlot()",
        "slot followRescaleXAxisSlot(QCPRange)",
        "slot followRescaleXAxisSlot_2(QCPRange)",
        "slot closeEvent(QCloseEvent*)",
    };
    QCOMPARE(ownMethods(MainWindow::staticMetaObject), expected);
}

void TestMainWindow::onlyShowGraphSlotHasDefaultArguments()
{
    const QMetaObject &meta = MainWindow::staticMetaObject;
    QStringList cloned;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).attributes() & QMetaMethod::Cloned)
            cloned.append(QString::fromLatin1(meta.method(i).methodSignature()));
    }
    QCOMPARE(cloned, QStringList({"showGraphSlot(QString,bool,uchar,uchar)", "showGraphSlot(QString,bool,uchar)"}));
}

void TestMainWindow::slotsHaveTheExpectedAccess()
{
    const QMetaObject &meta = MainWindow::staticMetaObject;
    QStringList publicSlots;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != QMetaMethod::Slot)
            continue;
        if (method.access() == QMetaMethod::Public)
            publicSlots.append(QString::fromLatin1(method.name()));
        else
            QCOMPARE(method.access(), QMetaMethod::Private);
    }
    QCOMPARE(publicSlots,
             QStringList({"statusShowSlot", "checkBoxSlot", "checkState", "checkState2Bool", "switchThemeSlot",
                          "readDataFinishedSlot", "showGraphSlot", "showGraphSlot", "showGraphSlot", "showSlot"}));
    QCOMPARE(meta.method(meta.indexOfSlot("checkState(bool)")).typeName(), "Qt::CheckState");
    QCOMPARE(meta.method(meta.indexOfSlot("checkState2Bool(Qt::CheckState)")).typeName(), "bool");
}

void TestMainWindow::checkStatesConvertBothWays()
{
    QCOMPARE(window().checkState(true), Qt::Checked);
    QCOMPARE(window().checkState(false), Qt::Unchecked);
    QCOMPARE(window().checkState2Bool(Qt::Checked), true);
    QCOMPARE(window().checkState2Bool(Qt::PartiallyChecked), false);
    QCOMPARE(window().checkState2Bool(Qt::Unchecked), false);
}

void TestMainWindow::logsTheStepsOfItsConstruction()
{
    // Reads the whole file, because it starts with this fixture.
    QFile file(QStringLiteral("logs/log.txt"));
    spdlog::get("file_logger")->flush();
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList messages;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const int at = line.indexOf("> ");
        if (at >= 0)
            messages.append(QString::fromUtf8(line.mid(at + 2)).trimmed());
    }
    QCOMPARE(messages.size(), 7);
    QCOMPARE(messages.takeFirst(), QStringLiteral("init global data")); // logged by the fixture
    QCOMPARE(messages[0], QStringLiteral("MainWindow constructor"));
    QVERIFY2(QRegularExpression(QStringLiteral("^main thread id 0x[0-9a-f]+$")).match(messages[1]).hasMatch(),
             qPrintable(messages[1]));
    QCOMPARE(messages[2], QStringLiteral("init qcustomplot canvas"));
    QCOMPARE(messages[3], QStringLiteral("graph set night mode"));
    QCOMPARE(messages[4], QStringLiteral("graph set night mode"));
    QCOMPARE(messages[5], QStringLiteral("mainwindow view settings"));
}

void TestMainWindow::isVisibleBeforeTheCanvasesAreSetUp()
{
    class ShowWatcher : public QObject
    {
    public:
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            if (event->type() == QEvent::Show && qobject_cast<QMainWindow *>(watched) && !seen) {
                seen = true;
                messages = log.messages();
            }
            return false;
        }
        LogFile log;
        bool seen = false;
        QStringList messages;
    };
    m_fixture.reset();
    const Fixture fixture;
    {
        ShowWatcher watcher;
        qApp->installEventFilter(&watcher);
        const MainWindow built;
        QVERIFY(watcher.seen);
        QVERIFY(watcher.messages.contains(QStringLiteral("MainWindow constructor")));
        QVERIFY(!watcher.messages.contains(QStringLiteral("init qcustomplot canvas")));
        QVERIFY(watcher.log.messages().contains(QStringLiteral("init qcustomplot canvas")));
    }
    initData(); // the window closed the store
}

void TestMainWindow::opensMaximizedFromTheDesignSize()
{
    QVERIFY(window().isMaximized());
    QCOMPARE(window().normalGeometry(), QRect(0, 0, 1920, 1080));
    QCOMPARE(window().parentWidget(), nullptr);
    QCOMPARE(window().windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Window));
    QVERIFY(window().acceptDrops());
    QVERIFY(window().filePath().isEmpty());
    QCOMPARE(window().progressDialog(), nullptr);
    QCOMPARE(window().updaterProcess(), nullptr);
    QCOMPARE(window().exportThread(), nullptr);
    QCOMPARE(window().decodeRoutes(), nullptr);
}

void TestMainWindow::titleIconAndStatusLabelAreSet()
{
    QCOMPARE(window().windowTitle(), QStringLiteral("Ostravel"));
    QCOMPARE(picture(QApplication::windowIcon()), picture(QIcon(QStringLiteral(":/resources/4.ico"))));
    QList<QLabel *> labels = window().statusBar()->findChildren<QLabel *>();
    QCOMPARE(labels.size(), 1);
    QCOMPARE(labels[0]->text(), QStringLiteral("Ostravel"));
    QCOMPARE(labels[0]->frameStyle(), int(QFrame::Box) | int(QFrame::Sunken));
    // The label is permanent, so a message does not hide it.
    window().statusBar()->showMessage(QStringLiteral("x"));
    QVERIFY(labels[0]->isVisible());
}

void TestMainWindow::formHasBoxesLeftOfTheTwoCanvases()
{
    QCOMPARE(window().objectName(), QStringLiteral("MainWindow"));
    QWidget *central = window().centralWidget();
    QCOMPARE(central->objectName(), QStringLiteral("centralwidget"));
    auto *grid = qobject_cast<QGridLayout *>(central->layout());
    QVERIFY(grid);
    QCOMPARE(grid->objectName(), QStringLiteral("gridLayout"));
    QCOMPARE(grid->count(), 1);
    auto *row = qobject_cast<QHBoxLayout *>(grid->itemAtPosition(0, 0)->layout());
    QVERIFY(row);
    QCOMPARE(row->objectName(), QStringLiteral("horizontalLayout"));
    QCOMPARE(row->spacing(), 0);
    QCOMPARE(row->count(), 2);
    QWidget *boxes = row->itemAt(0)->widget();
    QCOMPARE(boxes->objectName(), QStringLiteral("widget_checkbox"));
    auto *column = qobject_cast<QVBoxLayout *>(boxes->layout());
    QVERIFY(column);
    QCOMPARE(column->objectName(), QStringLiteral("verticalLayout_2"));
    auto *canvases = qobject_cast<QVBoxLayout *>(row->itemAt(1)->layout());
    QVERIFY(canvases);
    QCOMPARE(canvases->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(canvases->itemAt(0)->widget(), m_fixture->canvas());
    QCOMPARE(canvases->itemAt(1)->widget(), m_fixture->canvas_2());
    QCOMPARE(window().myPlot()->plot(), m_fixture->canvas());
    QCOMPARE(window().myPlot_2()->plot(), m_fixture->canvas_2());
    QCOMPARE(window().menuBar()->objectName(), QStringLiteral("menubar"));
    QCOMPARE(window().statusBar()->objectName(), QStringLiteral("statusbar"));
    auto *bar = window().findChild<QToolBar *>(QStringLiteral("toolBar"));
    QVERIFY(bar);
    QCOMPARE(window().toolBarArea(bar), Qt::TopToolBarArea);
}

void TestMainWindow::canvasHeightsAreThreeToOneAndCanShrink()
{
    auto *layout = window().findChild<QVBoxLayout *>(QStringLiteral("verticalLayout"));
    QCOMPARE(layout->stretch(0), 3);
    QCOMPARE(layout->stretch(1), 1);
    for (QCustomPlot *canvas : {m_fixture->canvas(), m_fixture->canvas_2()}) {
        QCOMPARE(canvas->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(canvas->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    }
    // A laptop screen without the window frame.
    window().showNormal();
    window().resize(1366, 740);
    QTRY_COMPARE(window().size(), QSize(1366, 740));
    QVERIFY(window().minimumSizeHint().height() <= 740);
    QVERIFY(window().minimumSizeHint().width() <= 1366);
    for (const QCheckBox *box : window().checkBoxes()) {
        QVERIFY(box->height() >= box->sizeHint().height());
        QVERIFY(box->width() >= box->sizeHint().width());
    }
    const double ratio = double(m_fixture->canvas()->height()) / m_fixture->canvas_2()->height();
    QVERIFY2(ratio > 2.9 && ratio < 3.1, qPrintable(QString::number(ratio)));
    // The same screen at scale 2 without the frame. The texts are not cut off.
    window().resize(960, 500);
    QTRY_COMPARE(window().size(), QSize(960, 500));
    QVERIFY(window().minimumSizeHint().height() <= 500);
    for (const QCheckBox *box : window().checkBoxes())
        QVERIFY(box->height() >= box->fontMetrics().height());
}

void TestMainWindow::onlyTheFirstCanvasKeepsTheSubGridOfItsYAxis()
{
    QVERIFY(m_fixture->canvas()->yAxis->grid()->subGridVisible());
    QVERIFY(m_fixture->canvas()->xAxis->grid()->subGridVisible());
    QVERIFY(!m_fixture->canvas_2()->yAxis->grid()->subGridVisible());
    QVERIFY(m_fixture->canvas_2()->xAxis->grid()->subGridVisible());
}

void TestMainWindow::canvasesAreReplottedAfterTheirSetUp()
{
    /** Records each replot of the canvases. */
    class ReplotWatcher : public QObject
    {
    public:
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            auto *const canvas = qobject_cast<QCustomPlot *>(watched);
            if (canvas && event->type() == QEvent::Polish) {
                connect(canvas, &QCustomPlot::afterReplot, this, [this, canvas] {
                    // Later steps resize the canvases, which also replots them.
                    if (log.messages().contains(QStringLiteral("mainwindow view settings")))
                        return;
                    replots.append(
                        canvas->objectName()
                        + (canvas->yAxis->grid()->subGridVisible() ? QStringLiteral(" with sub grid") : QString()));
                });
            }
            return false;
        }
        LogFile log;
        QStringList replots;
    };
    m_fixture.reset();
    const Fixture fixture;
    const auto reopen = qScopeGuard([] { initData(); }); // the window closes the store
    ReplotWatcher watcher;
    qApp->installEventFilter(&watcher);
    const MainWindow built;
    // Without these two replots the second canvas still shows its sub grid.
    const int last = watcher.replots.lastIndexOf(QStringLiteral("customPlot with sub grid"));
    QVERIFY2(last > 0, qPrintable(watcher.replots.join(QStringLiteral(", "))));
    QCOMPARE(watcher.replots.mid(last - 1),
             (QStringList{QStringLiteral("customPlot_2"), QStringLiteral("customPlot with sub grid")}));
}

void TestMainWindow::formActionsHaveTheirTextsToolTipsAndIcons()
{
    const struct {
        const char *objectName, *text, *toolTip, *icon;
    } actions[] = {
        {"actionTxt", "File", "<html><head/><body><p>SelectFile</p></body></html>", ":/Txt(1).ico"},
        {"actionSetting", "GolbalSetting", "<html><head/><body><p>GolbalSetting</p></body></html>", ":/setting.ico"},
        {"actionRead", "Read", "<html><head/><body><p>ReadData</p></body></html>", ":/DVD R.ico"},
        {"actionHelp", "Help", "<html><head/><body><p>Help</p></body></html>", ":/Help copy.ico"},
        {"actionViewSetting", "ViewSetting", "<html><head/><body><p>UiSetting</p></body></html>", ":/setting2.ico"},
        {"actionTrace", "Trace", "MPlot", ":/map.svg"},
        {"actionPythonPlot", "PythonPlot", "PyPlot", ":/chart-line-area.svg"},
    };
    for (const auto &expected : actions) {
        auto *action = window().findChild<QAction *>(QString::fromLatin1(expected.objectName));
        QVERIFY2(action, expected.objectName);
        QCOMPARE(action->text(), QString::fromLatin1(expected.text));
        QCOMPARE(action->toolTip(), QString::fromLatin1(expected.toolTip));
        QCOMPARE(picture(action->icon()), picture(QIcon(QString::fromLatin1(expected.icon))));
    }
}

void TestMainWindow::helpTraceAndPythonPlotActionsAreUnused()
{
    ModalAnswer answer;
    const LogFile log;
    for (const char *name : {"actionHelp", "actionTrace", "actionPythonPlot"}) {
        auto *action = window().findChild<QAction *>(QString::fromLatin1(name));
        QCOMPARE(action->associatedWidgets(), QList<QWidget *>());
        action->trigger();
    }
    QCOMPARE(log.messages(), QStringList());
    QVERIFY(answer.allAnswered());
}

void TestMainWindow::menuBarHasItsMenusInOrder()
{
    const QList<QAction *> actions = window().menuBar()->actions();
    QCOMPARE(actions.size(), menus().size());
    for (int i = 0; i < actions.size(); ++i) {
        QCOMPARE(actions[i]->menu()->objectName(), QString::fromLatin1(menus()[i].objectName));
        QCOMPARE(actions[i]->menu()->title(), QString::fromUtf8(menus()[i].title));
    }
}

void TestMainWindow::menuHasItsEntriesInOrder_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < menus().size(); ++i)
        QTest::newRow(menus()[i].objectName) << i;
}

void TestMainWindow::menuHasItsEntriesInOrder()
{
    QFETCH(int, index);
    const MenuEntries &expected = menus()[index];
    const auto *menu = window().findChild<QMenu *>(QString::fromLatin1(expected.objectName));
    QCOMPARE(difference(menu->actions(), expected.entries), QString());
}

void TestMainWindow::toolBarHasItsEntriesInOrder()
{
    const auto *bar = window().findChild<QToolBar *>(QStringLiteral("toolBar"));
    QCOMPARE(difference(bar->actions(), toolBarEntries()), QString());
    // The first four actions are defined in the form, with tool tips.
    const char *const names[] = {"actionTxt", "actionRead", "", "actionSetting", "actionViewSetting"};
    for (int i : {0, 1, 3, 4})
        QCOMPARE(bar->actions().at(i)->objectName(), QString::fromLatin1(names[i]));
}

void TestMainWindow::triggerHasItsEffect_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("dialog");
    QTest::addColumn<QStringList>("log");

    const QStringList select{"start select data file", "file selected is empty"};
    const QStringList read{"start decode data file", "file selected is empty"};
    const QStringList none;
    const auto row = [](const char *place, const char *text, const char *dialog, const QStringList &log) {
        QTest::addRow("%s %s", place, text)
            << QString::fromLatin1(place) << QString::fromUtf8(text) << QString::fromLatin1(dialog) << log;
    };
    row("menuFile", "选择文件(O)", "QFileDialog", select);
    row("menuFile", "读取数据(R)", "QMessageBox", read);
    row("menuView", "清空(C)", "", {"remove all Graph"});
    row("menuSetting", "数据设置(D)", "GlobalSettingDialog", none);
    row("menuSetting", "界面设置(G)", "WindowSettingDialog", none);
    row("toolBar", "File", "QFileDialog", select);
    row("toolBar", "Read", "QMessageBox", read);
    row("toolBar", "GolbalSetting", "GlobalSettingDialog", none);
    row("toolBar", "ViewSetting", "WindowSettingDialog", none);
}

void TestMainWindow::triggerHasItsEffect()
{
    QFETCH(QString, place);
    QFETCH(QString, text);
    QFETCH(QString, dialog);
    QFETCH(QStringList, log);
    const LogFile file;
    ModalAnswer answer;
    QString opened;
    QPointer<QDialog> seen;
    if (!dialog.isEmpty()) {
        answer.next([&](QDialog *modal) {
            opened = QString::fromLatin1(modal->metaObject()->className());
            seen = modal;
            QCOMPARE(modal->parentWidget(), &window());
            QVERIFY(modal->isModal());
        });
    }
    const QList<QAction *> actions = window().findChild<QWidget *>(place)->actions();
    const auto found
        = std::find_if(actions.begin(), actions.end(), [&](const QAction *action) { return action->text() == text; });
    QVERIFY(found != actions.end());
    (*found)->trigger();
    QCOMPARE(opened, dialog);
    QVERIFY(answer.allAnswered());
    QVERIFY(!seen); // the dialog is deleted after closing
    QCOMPARE(file.messages(), log);
}

void TestMainWindow::shortcutsTriggerTheirEntries()
{
    ModalAnswer answer;
    QStringList opened;
    const auto note = [&](QDialog *modal) { opened.append(QString::fromLatin1(modal->metaObject()->className())); };
    answer.next(note);
    answer.next(note);
    QApplication::setActiveWindow(&window());
    QTest::keyClick(&window(), Qt::Key_O, Qt::ControlModifier);
    QApplication::setActiveWindow(&window());
    QTest::keyClick(&window(), Qt::Key_R, Qt::ControlModifier);
    QCOMPARE(opened, QStringList({"QFileDialog", "QMessageBox"}));
    QVERIFY(answer.allAnswered());
}

void TestMainWindow::clearAffectsOnlyTheFirstCanvas()
{
    m_fixture->pretendRead();
    m_fixture->box("checkBox_pitch")->setChecked(true);
    // A channel without a check box, so that no box removes its curve.
    setSamples("GPS星数", {5.0, 6.0});
    window().myPlot_2()->myAddGraph(findGraph(QStringLiteral("GPS星数")));
    m_fixture->entry("menuView", "清空(C)")->trigger();
    QCOMPARE(WindowFixture::curves(m_fixture->canvas()), QStringList({QString()}));
    QCOMPARE(WindowFixture::curves(m_fixture->canvas_2()), QStringList({QStringLiteral("GPS星数")}));
}

void TestMainWindow::rescaleAffectsOnlyTheFirstCanvas()
{
    m_fixture->pretendRead();
    m_fixture->box("checkBox_pitch")->setChecked(true);
    m_fixture->box("checkBox_pitchDiff")->setChecked(true);
    m_fixture->canvas()->yAxis->setRange(-7, 77);
    m_fixture->canvas_2()->yAxis->setRange(-7, 77);
    m_fixture->entry("menuView", "缩放(R)")->trigger();
    QCOMPARE(m_fixture->canvas()->yAxis->range(), QCPRange(1.0, 4.0)); // minimum and maximum of the samples
    QCOMPARE(m_fixture->canvas_2()->yAxis->range(), QCPRange(-7, 77));
}

void TestMainWindow::dataSettingsShowCurvesThroughTheWindow()
{
    m_fixture->pretendRead();
    ModalAnswer answer;
    answer.next([](QDialog *modal) {
        QVERIFY(QMetaObject::invokeMethod(modal, "showGraphSignal", Q_ARG(QString, QStringLiteral("俯仰差值")),
                                          Q_ARG(bool, true), Q_ARG(quint8, 0x51), Q_ARG(quint8, 0), Q_ARG(quint8, 0)));
    });
    m_fixture->entry("menuSetting", "数据设置(D)")->trigger();
    QVERIFY(answer.allAnswered());
    QCOMPARE(WindowFixture::curves(m_fixture->canvas_2()), QStringList({QStringLiteral("俯仰差值")}));
    QVERIFY(m_fixture->box("checkBox_pitchDiff")->isChecked());
}

void TestMainWindow::documentIsOpenedFromTheFolderOfTheExecutable()
{
    const UrlRecorder catcher;
    const LogFile log;
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/README.html");
    m_fixture->entry("menuHelp", "文档(D)")->trigger();
    QCOMPARE(catcher.urls, QList<QUrl>({QUrl::fromLocalFile(path)}));
    QCOMPARE(log.leveledMessages(), QStringList({QStringLiteral("info: document page is :") + path}));
    window().findChild<QToolBar *>(QStringLiteral("toolBar"))->actions().constLast()->trigger();
    QCOMPARE(catcher.urls.size(), 2);
}

void TestMainWindow::statusTextsDisappearAfterTwoAndAHalfSeconds()
{
    const QSignalSpy changes(window().statusBar(), &QStatusBar::messageChanged);
    QElapsedTimer timer;
    timer.start();
    window().statusShowSlot(QStringLiteral("some text"));
    QCOMPARE(m_fixture->status(), QStringLiteral("some text"));
    QCOMPARE(m_fixture->statusInterval(), 2500);
    QTRY_VERIFY_WITH_TIMEOUT(m_fixture->status().isEmpty(), 25000);
    // The status bar uses a coarse timer, which may be up to 5 % early.
    QVERIFY2(timer.elapsed() >= 2375, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(changes.count(), 2);
}

void TestMainWindow::dayModePaletteIsSetOnTheWindow()
{
    const QPalette before;
    const LogFile log;
    window().menuBar()->setStyleSheet(QStringLiteral("QMenuBar {}"));
    QVERIFY(QMetaObject::invokeMethod(&window(), "switchThemeSlot", Q_ARG(MyThemes, lightTheme)));
    QCOMPARE(log.leveledMessages(), QStringList({"info: mainwindow set day mode"}));
    const QPalette palette = window().palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const QPalette::ColorRole role :
             {QPalette::Window, QPalette::Base, QPalette::AlternateBase, QPalette::Button, QPalette::HighlightedText})
            QCOMPARE(palette.color(group, role), QColor(Qt::white));
        for (const QPalette::ColorRole role :
             {QPalette::WindowText, QPalette::ToolTipBase, QPalette::ToolTipText, QPalette::Text, QPalette::ButtonText})
            QCOMPARE(palette.color(group, role), QColor(Qt::black));
        QCOMPARE(palette.color(group, QPalette::Highlight), before.color(group, QPalette::Highlight));
    }
    QCOMPARE(window().menuBar()->styleSheet(), QString());
}

void TestMainWindow::nightModePaletteIsSetOnTheWindow()
{
    const QPalette before;
    const LogFile log;
    QVERIFY(QMetaObject::invokeMethod(&window(), "switchThemeSlot", Q_ARG(MyThemes, darkTheme)));
    QCOMPARE(log.leveledMessages(), QStringList({"info: mainwindow set night mode"}));
    const QPalette palette = window().palette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const QPalette::ColorRole role : {QPalette::Window, QPalette::AlternateBase, QPalette::Button})
            QCOMPARE(palette.color(group, role), QColor(53, 53, 53));
        QCOMPARE(palette.color(group, QPalette::Base), QColor(15, 15, 15));
        for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            QCOMPARE(palette.color(group, role), QColor(Qt::white));
        QCOMPARE(palette.color(group, QPalette::Highlight), QColor(161, 65, 13).lighter(150));
        QCOMPARE(palette.color(group, QPalette::HighlightedText), QColor(Qt::black));
        for (const QPalette::ColorRole role : {QPalette::ToolTipBase, QPalette::ToolTipText})
            QCOMPARE(palette.color(group, role), before.color(group, role));
    }
    const QString gap(40, QLatin1Char(' '));
    QCOMPARE(window().menuBar()->styleSheet(),
             QStringLiteral("QMenuBar {background-color:rgb(53,53,53);") + gap + QStringLiteral("color:white;}") + gap
                 + QStringLiteral("QMenuBar:item:selected {color:white;") + gap
                 + QStringLiteral("background-color:rgb(20,20,20);}"));
}

void TestMainWindow::unknownThemeChangesNothing()
{
    window().switchThemeSlot(darkTheme);
    const QPalette palette = window().palette();
    const QString styleSheet = window().menuBar()->styleSheet();
    const LogFile log;
    window().switchThemeSlot(MyThemes(2));
    QCOMPARE(log.messages(), QStringList());
    QCOMPARE(window().palette(), palette);
    QCOMPARE(window().menuBar()->styleSheet(), styleSheet);
}

void TestMainWindow::changingTheApplicationThemeKeepsTheWindowPalette()
{
    const LogFile log;
    AppConfig::getInstance().switchThemeSlot(lightTheme);
    QVERIFY(log.messages().contains(QStringLiteral("graph set day mode")));
    QVERIFY(!log.messages().contains(QStringLiteral("mainwindow set day mode")));
    qApp->setStyleSheet(QString());
}

void TestMainWindow::quitAnsweredNoKeepsTheWindow()
{
    ModalAnswer answer;
    answer.next([this](QDialog *modal) {
        auto *box = qobject_cast<QMessageBox *>(modal);
        QVERIFY(box);
        QCOMPARE(box->parentWidget(), &window());
        QCOMPARE(box->windowTitle(), QStringLiteral("退出程序"));
        QCOMPARE(box->text(), QStringLiteral("退出程序？"));
        QCOMPARE(box->icon(), QMessageBox::Question);
        QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        box->button(QMessageBox::No)->click();
    });
    QVERIFY(!window().close());
    QVERIFY(window().isVisible());
    QVERIFY(answer.allAnswered());
}

void TestMainWindow::quitAnsweredYesClosesTheWindow()
{
    ModalAnswer answer;
    answer.next([](QDialog *modal) { qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Yes)->click(); });
    QCloseEvent event;
    event.ignore();
    QCoreApplication::sendEvent(&window(), &event);
    QVERIFY(event.isAccepted());
    QVERIFY(answer.allAnswered());
}

void TestMainWindow::quitQuestionIsDeletedAfterEitherAnswer_data()
{
    QTest::addColumn<int>("button");
    QTest::newRow("yes") << int(QMessageBox::Yes);
    QTest::newRow("no") << int(QMessageBox::No);
}

void TestMainWindow::quitQuestionIsDeletedAfterEitherAnswer()
{
    QFETCH(int, button);
    ModalAnswer answer;
    QPointer<QDialog> question;
    answer.next([&](QDialog *modal) {
        question = modal;
        qobject_cast<QMessageBox *>(modal)->button(QMessageBox::StandardButton(button))->click();
    });
    window().close();
    QVERIFY(answer.allAnswered());
    QVERIFY(question.isNull());
    QVERIFY(window().findChildren<QMessageBox *>().isEmpty());
}

void TestMainWindow::dialogsWithoutAParentDoNotKeepTheProgramAlive()
{
    QWidget otherWindow(nullptr, Qt::Dialog);
    otherWindow.show();
    ModalAnswer answer;
    answer.next([](QDialog *modal) { qobject_cast<QMessageBox *>(modal)->button(QMessageBox::Yes)->click(); });
    QTimer::singleShot(0, &window(), [this] { window().close(); });
    QTimer::singleShot(60000, &otherWindow, [] { QCoreApplication::exit(99); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(answer.allAnswered());
}

void TestMainWindow::destructionLogsThenWritesTheConfigurationThenClosesTheLog()
{
    const QString config = m_fixture->fixture().applicationPath(QStringLiteral("config.ini"));
    QVERIFY(!QFile::exists(config));
    const LogFile log;
    m_fixture->closeWindow();
    QCOMPARE(log.leveledMessages(),
             QStringList(
                 {"info: mainwindow destructor", "info: write config ini", "info: clear data;", "info: close logger"}));
    QVERIFY(!spdlog::get("file_logger"));
    QCOMPARE(QSettings(config, QSettings::IniFormat).value(QStringLiteral("Global/theme")).toString(),
             QStringLiteral("darkTheme"));
}

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
