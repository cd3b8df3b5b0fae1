#include "DebugOutput.h"
#include "LogFile.h"
#include "ModalAnswer.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QColor>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QInputDialog>
#include <QPointer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTranslator>
#include <QWheelEvent>

#include <algorithm>

namespace
{

struct Box {
    const char *objectName;
    const char *name;
    uint functionCode;
    bool second; // on the second canvas
};

constexpr Box kBoxes[] = {
    {"checkBox_pitch", "俯仰", 3, false},
    {"checkBox_pitchTarget", "目标俯仰", 5, false},
    {"checkBox_pitchDiff", "俯仰差值", 81, true},
    {"checkBox_roll", "横滚", 3, false},
    {"checkBox_rollTarget", "目标横滚", 5, false},
    {"checkBox_rollDiff", "横滚差值", 81, true},
    {"checkBox_yaw", "航向", 3, false},
    {"checkBox_yawTarget", "目标航向", 5, false},
    {"checkBox_yawDiff", "航向差值", 81, true},
    {"checkBox_height", "相对高度", 3, false},
    {"checkBox_heightTarget", "目标高度", 5, false},
    {"checkBox_heightDiff", "高度差值", 81, true},
    {"checkBox_speed", "指示空速", 3, false},
    {"checkBox_speedTarget", "目标速度", 5, false},
    {"checkBox_speedDiff", "速度差值", 81, true},
};

struct Entry {
    const char *text;
    const char *icon;
};

constexpr Entry kCurveMenu[] = {
    {"聚焦Y", ":/local.svg"},
    {"聚焦", ":/aiming.svg"},
    {"去除错误帧", ":/setting-config.svg"},
    {"删除选定的点", ":/delete-two.svg"},
    {"删除选定的曲线", ":/delete.svg"},
    {"设置", ":/tool.svg"},
    {"增加1个数据", ":/add-four.svg"},
    {"增加10个数据", ":/add-three.svg"},
    {"交换显示位置", ":/swap.svg"},
};

constexpr Entry kCurveMenu_2[] = {
    {"聚焦Y", ":/local.svg"},           {"聚焦", ":/aiming.svg"}, {"删除选定的点", ":/delete-two.svg"},
    {"删除选定的曲线", ":/delete.svg"}, {"设置", ":/tool.svg"},   {"去除错误帧", ":/setting-config.svg"},
    {"交换显示位置", ":/swap.svg"},
};

constexpr Entry kAxisMenu[] = {{"修改字体大小", ":/tool.svg"}};

constexpr Entry kCanvasMenu[] = {
    {"自适应Y轴", ":/local.svg"},
    {"自适应缩放", ":/aiming.svg"},
    {"清空所有曲线", ":/clear.svg"},
};

/** Translates "Yaw" differently, but only for the form's first request. */
class FirstYawTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        if (m_asked || qstrcmp(context, "MainWindow") != 0 || qstrcmp(text, "Yaw") != 0)
            return {};
        m_asked = true;
        return QStringLiteral("某");
    }

private:
    mutable bool m_asked = false;
};

const QString kNotRead = QStringLiteral("还未读取数据");

QImage picture(const QIcon &icon)
{
    return icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32);
}

template <std::size_t N>
QStringList texts(const Entry (&entries)[N])
{
    QStringList result;
    for (const Entry &entry : entries)
        result.append(QString::fromUtf8(entry.text));
    return result;
}

QStringList texts(const QMenu *menu)
{
    QStringList result;
    for (const QAction *action : menu->actions())
        result.append(action->text());
    return result;
}

template <std::size_t N>
bool samePictures(const QMenu *menu, const Entry (&entries)[N])
{
    const QList<QAction *> actions = menu->actions();
    for (int i = 0; i < actions.size(); ++i) {
        const QImage image = picture(actions[i]->icon());
        if (image.isNull() || image != picture(QIcon(QString::fromLatin1(entries[i].icon))))
            return false;
    }
    return actions.size() == int(N);
}

} // namespace

class TestMainWindowCurves : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<WindowFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void boxesAreInOrderWithTextAndProperties();
    void boxesShowTheirChannelsOnTheRightCanvas_data();
    void boxesShowTheirChannelsOnTheRightCanvas();
    void boxUsedBeforeAReadStaysTickedWithAMessage();
    void boxWithoutAChannelShowsAMessage();
    void boxWithoutPropertiesUsesAnEmptyName();
    void boxWithAnUnknownTextHasNoPropertiesAndIsConnected();
    void uncheckingRemovesTheCurveWithoutADeleteMessage();
    void showGraphSlotShowsAndRemovesLikeABox();
    void showGraphSlotIgnoresPositionAndPen();
    void showGraphSlotReportsAMissingReadAndAnUnknownCurve();
    void boxesFollowTheShownFlags();
    void removingAllCurvesOfOneCanvasClearsTheBoxesOfBoth();
    void removingAllCurvesLeavesChannelsWithoutABoxOnTheOtherCanvas();
    void boxIsUntickedWhenItsCurveIsDeletedOnTheCanvas();
    void boxRemovesAMovedCurveFromItsCurrentCanvas();
    void timeAxesAreLinked();
    void equalTimesAreInTheSameColumnOfBothCanvases();
    void valueAxesAreIndependent();
    void draggingTheTimeRangeMovesTheOtherCanvas_data();
    void draggingTheTimeRangeMovesTheOtherCanvas();
    void wheelMovesTheOtherCanvasUnlessTheValueAxisIsSelected_data();
    void wheelMovesTheOtherCanvasUnlessTheValueAxisIsSelected();
    void slotWithoutArgumentCopiesTheFirstTimeRange();
    void doubleClickOnALegendEntryRenamesTheCurve_data();
    void doubleClickOnALegendEntryRenamesTheCurve();
    void doubleClickBesideTheLegendEntriesOpensNoDialog();
    void doubleClickOnAnAxisLabelRenamesTheAxis();
    void doubleClickOnAnotherPartOfAnAxisOpensNoDialog();
    void doubleClickOnATitleRenamesIt();
    void cancelledEditsStoreNothing();
    void editReplotsOnlyTheFirstCanvas();
    void renamedCurveIsShownASecondTimeWhenItsBoxIsUnticked();
    void menuOfASelectedCurve_data();
    void menuOfASelectedCurve();
    void menuOfASelectedAxis_data();
    void menuOfASelectedAxis();
    void menuOfAnEmptyCanvas_data();
    void menuOfAnEmptyCanvas();
    void menuPrefersASelectedCurveToASelectedAxis();
    void menuDependsOnTheStateOfItsCanvas();
    void menuPopsUpAtTheMouseAndIsDeletedOnClose();
    void menusShareTheirIcons();
    void entryHasTheExpectedEffect_data();
    void entryHasTheExpectedEffect();
    void penIsSetOnTheSelectedCurveOfEachCanvas();
    void fontIsSetOnCanvasesWithASelectedAxis();
    void swapMovesTheCurveToTheOtherCanvasAndBack();
    void shiftedPairIsShownOnceAndOnItsOwnCanvases_data();
    void shiftedPairIsShownOnceAndOnItsOwnCanvases();
    void shiftLeavesAHiddenPartnerHidden();
    void clickedPointIsShownInTheStatusBar();
    void legendIsMovedOnlyWithAnInset();

private:
    MainWindow &window() { return m_fixture->window(); }
    QCustomPlot *canvas(bool second = false) const { return second ? m_fixture->canvas_2() : m_fixture->canvas(); }
    MyCustomPlot *controller(bool second) { return second ? window().myPlot_2() : window().myPlot(); }

    /** Shows a channel by a click on its check box. */
    QCPGraph *show(const char *objectName, const char *name)
    {
        QTest::mouseClick(m_fixture->box(objectName), Qt::LeftButton, {}, QPoint(5, 8));
        for (QCustomPlot *each : {canvas(), canvas(true)}) {
            if (QCPGraph *found = WindowFixture::curve(each, name))
                return found;
        }
        qFatal("%s is not shown", name);
    }

    /** Opens the context menu of a canvas. */
    QMenu *openMenu(bool second, QPoint at = QPoint(40, 40))
    {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, canvas(second)->mapToGlobal(at));
        QCoreApplication::sendEvent(canvas(second), &event);
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }

    void doubleClick(QCustomPlot *on, QPointF at) { QTest::mouseDClick(on, Qt::LeftButton, {}, at.toPoint()); }

    QPointF legendEntry(QCustomPlot *on, int index) { return on->legend->item(index)->rect().center(); }

    std::unique_ptr<WindowFixture> m_fixture;
};

namespace
{

/** Answers an input dialog; a null text cancels it. */
ModalAnswer::Answer typed(const QString &text, QStringList *seen = nullptr)
{
    return [text, seen](QDialog *modal) {
        auto *dialog = qobject_cast<QInputDialog *>(modal);
        QVERIFY(dialog);
        QCOMPARE(dialog->textEchoMode(), QLineEdit::Normal);
        if (seen) {
            QVERIFY(qobject_cast<MainWindow *>(dialog->parentWidget()));
            *seen = QStringList{dialog->windowTitle(), dialog->labelText(), dialog->textValue()};
        }
        if (text.isNull()) {
            dialog->reject();
            return;
        }
        dialog->setTextValue(text);
        dialog->accept();
    };
}

void twoCanvases()
{
    QTest::addColumn<bool>("second");
    QTest::newRow("first canvas") << false;
    QTest::newRow("second canvas") << true;
}

} // namespace

void TestMainWindowCurves::boxesAreInOrderWithTextAndProperties()
{
    const QList<QCheckBox *> boxes = window().checkBoxes();
    QCOMPARE(boxes.size(), int(std::size(kBoxes)));
    int bottom = -1;
    for (int i = 0; i < boxes.size(); ++i) {
        QCOMPARE(boxes[i]->objectName(), QString::fromLatin1(kBoxes[i].objectName));
        QCOMPARE(boxes[i]->text(), QString::fromUtf8(kBoxes[i].name));
        QCOMPARE(boxes[i]->property("graphName"), QVariant(QString::fromUtf8(kBoxes[i].name)));
        QCOMPARE(boxes[i]->property("functionCode"), QVariant(kBoxes[i].functionCode));
        QVERIFY(!boxes[i]->isChecked());
        QVERIFY(boxes[i]->y() > bottom);
        bottom = boxes[i]->geometry().bottom();
        QCOMPARE(boxes[i]->parentWidget()->objectName(), QStringLiteral("widget_checkbox"));
    }
}

void TestMainWindowCurves::boxesShowTheirChannelsOnTheRightCanvas_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(kBoxes)); ++i)
        QTest::newRow(kBoxes[i].objectName) << i;
}

void TestMainWindowCurves::boxesShowTheirChannelsOnTheRightCanvas()
{
    QFETCH(int, index);
    const Box &expected = kBoxes[index];
    const QString name = QString::fromUtf8(expected.name);
    m_fixture->pretendRead();
    QCheckBox *const box = m_fixture->box(expected.objectName);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(5, box->height() / 2));
    QVERIFY(box->isChecked());
    QCOMPARE(WindowFixture::curves(canvas(expected.second)), QStringList({name}));
    QCOMPARE(WindowFixture::curves(canvas(!expected.second)), QStringList({QString()}));
    QCOMPARE(canvas(expected.second)->graph(0)->dataCount(), 4);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(5, box->height() / 2));
    QCOMPARE(WindowFixture::curves(canvas(expected.second)), QStringList({QString()}));
    QVERIFY(!findGraph(name)->shown());
}

void TestMainWindowCurves::boxUsedBeforeAReadStaysTickedWithAMessage()
{
    const LogFile log;
    QCheckBox *const box = m_fixture->box("checkBox_yaw");
    box->click();
    QVERIFY(box->isChecked());
    QCOMPARE(m_fixture->status(), kNotRead);
    QCOMPARE(log.leveledMessages(), QStringList({"warning: show 航向 ,but has not read data"}));
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
    QVERIFY(!findGraph(QStringLiteral("航向"))->shown());
    QCOMPARE(m_fixture->statusInterval(), 2500);
    QTRY_COMPARE_WITH_TIMEOUT(m_fixture->status(), QString(), 25000);
}

void TestMainWindowCurves::boxWithoutAChannelShowsAMessage()
{
    m_fixture->pretendRead();
    QCheckBox *const box = m_fixture->box("checkBox_yaw");
    box->setProperty("graphName", QStringLiteral("某"));
    box->click();
    QCOMPARE(m_fixture->status(), QStringLiteral("某曲线未找到"));
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
    QCOMPARE(m_fixture->statusInterval(), 2500);
    QTRY_COMPARE_WITH_TIMEOUT(m_fixture->status(), QString(), 25000);
}

void TestMainWindowCurves::boxWithoutPropertiesUsesAnEmptyName()
{
    m_fixture->pretendRead();
    QCheckBox *const box = m_fixture->box("checkBox_yaw");
    box->setProperty("graphName", QVariant());
    box->setProperty("functionCode", QVariant());
    const DebugOutput output;
    box->click();
    QCOMPARE(m_fixture->status(), QStringLiteral("曲线未找到"));
    QVERIFY(!output.texts().filter(QStringLiteral("功能码错误")).isEmpty());
}

void TestMainWindowCurves::boxWithAnUnknownTextHasNoPropertiesAndIsConnected()
{
    m_fixture.reset();
    const Fixture fixture;
    FirstYawTranslator translator;
    QCoreApplication::installTranslator(&translator);
    const auto reopen = qScopeGuard([] { initData(); }); // the window closed the store
    const MainWindow built;
    auto *const box = built.findChild<QCheckBox *>(QStringLiteral("checkBox_yaw"));
    QCOMPARE(box->text(), QStringLiteral("某"));
    QVERIFY(built.checkBoxes().contains(box));
    QVERIFY(!box->property("graphName").isValid());
    QVERIFY(!box->property("functionCode").isValid());
    QCOMPARE(built.findChild<QCheckBox *>(QStringLiteral("checkBox_roll"))->property("graphName"),
             QVariant(QStringLiteral("横滚")));

    const LogFile log;
    box->click();
    QCOMPARE(built.statusBar()->currentMessage(), kNotRead);
    QCOMPARE(log.leveledMessages(), QStringList({"warning: show  ,but has not read data"}));
    dataRead = true;
    const DebugOutput output;
    box->click();
    QCOMPARE(built.statusBar()->currentMessage(), QStringLiteral("曲线未找到"));
    QVERIFY(!output.texts().filter(QStringLiteral("功能码错误")).isEmpty());
}

void TestMainWindowCurves::uncheckingRemovesTheCurveWithoutADeleteMessage()
{
    m_fixture->pretendRead();
    show("checkBox_pitch", "俯仰");
    show("checkBox_roll", "横滚");
    QCOMPARE(m_fixture->status(), QStringLiteral("显示曲线：横滚"));
    const LogFile log;
    m_fixture->box("checkBox_pitch")->click();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"横滚"}));
    QCOMPARE(m_fixture->status(), QStringLiteral("显示曲线：横滚"));
    QCOMPARE(log.messages(), QStringList({"delete graph 俯仰"}));
}

void TestMainWindowCurves::showGraphSlotShowsAndRemovesLikeABox()
{
    m_fixture->pretendRead();
    window().showGraphSlot(QStringLiteral("俯仰差值"), true, 0x51);
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({"俯仰差值"}));
    QVERIFY(m_fixture->box("checkBox_pitchDiff")->isChecked());
    window().showGraphSlot(QStringLiteral("俯仰差值"), false, 0x51);
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({QString()}));
    QVERIFY(!m_fixture->box("checkBox_pitchDiff")->isChecked());
}

void TestMainWindowCurves::showGraphSlotIgnoresPositionAndPen()
{
    m_fixture->pretendRead();
    window().showGraphSlot(QStringLiteral("俯仰"), true, 0x03, 1, 7);
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"俯仰"}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({QString()}));
    QCOMPARE(canvas()->graph(0)->pen().color(), findGraph(QStringLiteral("俯仰"))->color());
}

void TestMainWindowCurves::showGraphSlotReportsAMissingReadAndAnUnknownCurve()
{
    const LogFile log;
    window().showGraphSlot(QStringLiteral("俯仰"), true, 0x03);
    QCOMPARE(m_fixture->status(), kNotRead);
    QCOMPARE(log.leveledMessages(), QStringList({"warning: show 俯仰 ,but has not read data"}));
    m_fixture->pretendRead();
    // The name is valid, but another function code has no such channel.
    window().showGraphSlot(QStringLiteral("俯仰"), true, 0x05);
    QCOMPARE(m_fixture->status(), QStringLiteral("俯仰曲线未找到"));
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
}

void TestMainWindowCurves::boxesFollowTheShownFlags()
{
    m_fixture->pretendRead();
    window().myPlot()->myAddGraph(findGraph(QStringLiteral("航向")));
    QVERIFY(m_fixture->box("checkBox_yaw")->isChecked());
    // The flag is set but there is no curve. The box is ticked, and its signal shows the curve.
    findGraph(QStringLiteral("目标速度"))->setShown(true);
    window().checkBoxSlot();
    QVERIFY(m_fixture->box("checkBox_speedTarget")->isChecked());
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"航向", "目标速度"}));
}

void TestMainWindowCurves::removingAllCurvesOfOneCanvasClearsTheBoxesOfBoth()
{
    m_fixture->pretendRead();
    for (const char *name : {"checkBox_pitch", "checkBox_pitchTarget", "checkBox_pitchDiff", "checkBox_rollDiff"})
        m_fixture->box(name)->click();
    QCOMPARE(canvas()->graphCount(), 2);
    QCOMPARE(canvas(true)->graphCount(), 2);
    window().myPlot_2()->removeAllGraphsSlot();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({QString()}));
    for (const QCheckBox *box : window().checkBoxes())
        QVERIFY(!box->isChecked());
}

void TestMainWindowCurves::removingAllCurvesLeavesChannelsWithoutABoxOnTheOtherCanvas()
{
    m_fixture->pretendRead();
    setSamples("GPS星数", {5.0, 6.0});
    window().showGraphSlot(QStringLiteral("GPS星数"), true, 0x03);
    m_fixture->box("checkBox_pitchDiff")->click();
    window().myPlot_2()->removeAllGraphsSlot();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"GPS星数"}));
    QVERIFY(!findGraph(QStringLiteral("GPS星数"))->shown());
}

void TestMainWindowCurves::boxIsUntickedWhenItsCurveIsDeletedOnTheCanvas()
{
    m_fixture->pretendRead();
    show("checkBox_pitch", "俯仰");
    WindowFixture::select(show("checkBox_roll", "横滚"));
    window().myPlot()->removeSelectedGraphSlot();
    QVERIFY(!m_fixture->box("checkBox_roll")->isChecked());
    QVERIFY(m_fixture->box("checkBox_pitch")->isChecked());
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"俯仰"}));
}

void TestMainWindowCurves::boxRemovesAMovedCurveFromItsCurrentCanvas()
{
    m_fixture->pretendRead();
    WindowFixture::select(show("checkBox_roll", "横滚"));
    window().myPlot()->onSwapPosSlot();
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({"横滚"}));
    QVERIFY(m_fixture->box("checkBox_roll")->isChecked());
    m_fixture->box("checkBox_roll")->click();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({QString()}));
    // The curve is shown again on the canvas that it was moved to.
    m_fixture->box("checkBox_roll")->click();
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({"横滚"}));
}

void TestMainWindowCurves::timeAxesAreLinked()
{
    QSignalSpy first(canvas(), &QCustomPlot::afterReplot);
    QSignalSpy second(canvas(true), &QCustomPlot::afterReplot);
    QCPRange painted[2];
    const QObject listener;
    for (const bool isSecond : {false, true}) {
        connect(canvas(isSecond), &QCustomPlot::afterReplot, &listener,
                [this, &painted, isSecond] { painted[isSecond] = canvas(isSecond)->xAxis->range(); });
    }
    canvas()->xAxis->setRange(100, 200);
    QCOMPARE(canvas(true)->xAxis->range(), QCPRange(100, 200));
    QVERIFY(second.count() >= 1);
    QCOMPARE(painted[1], QCPRange(100, 200));
    first.clear();
    canvas(true)->xAxis->setRange(-5, 5);
    QCOMPARE(canvas()->xAxis->range(), QCPRange(-5, 5));
    QVERIFY(first.count() >= 1);
    QCOMPARE(painted[0], QCPRange(-5, 5));
    // The slot without a range takes that of the first canvas.
    {
        const QSignalBlocker blocker(canvas(true)->xAxis);
        canvas(true)->xAxis->setRange(7, 8);
    }
    QVERIFY(QMetaObject::invokeMethod(&window(), "followRescaleXAxisSlot"));
    QCOMPARE(painted[1], QCPRange(-5, 5));
    // The mutual updates end: setting the same range again emits nothing.
    first.clear();
    second.clear();
    canvas()->xAxis->setRange(-5, 5);
    QCOMPARE(first.count() + second.count(), 0);
}

void TestMainWindowCurves::equalTimesAreInTheSameColumnOfBothCanvases()
{
    const auto difference = [this] {
        QString result;
        const QCPRange range = canvas()->xAxis->range();
        for (const double part : {0.0, 0.3, 1.0}) {
            const double time = range.lower + part * range.size();
            const int above = canvas()->mapToGlobal({qRound(canvas()->xAxis->coordToPixel(time)), 0}).x();
            const int below = canvas(true)->mapToGlobal({qRound(canvas(true)->xAxis->coordToPixel(time)), 0}).x();
            if (above != below)
                result += QStringLiteral("%1: %2 and %3. ").arg(part).arg(above).arg(below);
        }
        return result;
    };
    m_fixture->pretendRead();
    QCOMPARE(difference(), QString());
    setSamples("横滚", {-10000.25, 0, 10000.75, 3});
    show("checkBox_roll", "横滚");
    QCOMPARE(difference(), QString());
    setSamples("横滚差值", {1.0000001, 1.0000002, 1.0000003, 1.0000004});
    show("checkBox_rollDiff", "横滚差值");
    QCOMPARE(difference(), QString());
    for (QCustomPlot *const turned : {canvas(), canvas(true)}) {
        for (int i = 0; i < 5; ++i) {
            const QPoint at = turned->axisRect()->rect().center();
            QWheelEvent wheel(at, turned->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(turned, &wheel);
            QCOMPARE(difference(), QString());
        }
    }
    for (const int size : {40, 6, 15}) {
        QFont font;
        font.setPointSize(size);
        canvas()->yAxis->setSelectedParts(QCPAxis::spAxis);
        window().myPlot()->resetAxisSizeSlot(font);
        QCOMPARE(difference(), QString());
    }
    for (const MyThemes theme : {lightTheme, darkTheme}) {
        emit AppConfig::getInstance().switchThemeSignal(theme);
        QCOMPARE(difference(), QString());
    }
    window().showNormal();
    window().resize(1100, 640);
    QTRY_COMPARE(window().size(), QSize(1100, 640));
    QTRY_COMPARE(difference(), QString());
    window().myPlot()->removeAllGraphsSlot();
    QCOMPARE(difference(), QString());
}

void TestMainWindowCurves::valueAxesAreIndependent()
{
    const QCPRange before = canvas(true)->yAxis->range();
    canvas()->yAxis->setRange(-77, 88);
    QCOMPARE(canvas(true)->yAxis->range(), before);
    canvas(true)->yAxis->setRange(3, 4);
    QCOMPARE(canvas()->yAxis->range(), QCPRange(-77, 88));
}

void TestMainWindowCurves::draggingTheTimeRangeMovesTheOtherCanvas_data()
{
    twoCanvases();
}

void TestMainWindowCurves::draggingTheTimeRangeMovesTheOtherCanvas()
{
    QFETCH(bool, second);
    QCustomPlot *const dragged = canvas(second);
    dragged->replot();
    const QCPRange before = dragged->xAxis->range();
    const QPoint from = dragged->axisRect()->rect().center();
    const QPoint to = from - QPoint(60, 0);
    QTest::mousePress(dragged, Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, dragged->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(dragged, &move);
    QTest::mouseRelease(dragged, Qt::LeftButton, {}, to);
    QVERIFY(dragged->xAxis->range().lower > before.lower);
    QCOMPARE(canvas(!second)->xAxis->range(), dragged->xAxis->range());
}

void TestMainWindowCurves::wheelMovesTheOtherCanvasUnlessTheValueAxisIsSelected_data()
{
    twoCanvases();
}

void TestMainWindowCurves::wheelMovesTheOtherCanvasUnlessTheValueAxisIsSelected()
{
    QFETCH(bool, second);
    QCustomPlot *const turned = canvas(second);
    turned->replot();
    const QPoint at = turned->axisRect()->rect().center();
    const auto turn = [&] {
        QWheelEvent wheel(at, turned->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(turned, &wheel);
    };
    const QCPRange before = turned->xAxis->range();
    turn();
    const QCPRange zoomed = turned->xAxis->range();
    QVERIFY(zoomed.size() < before.size());
    QCOMPARE(canvas(!second)->xAxis->range(), zoomed);

    turned->yAxis->setSelectedParts(QCPAxis::spAxis);
    turn();
    QCOMPARE(turned->xAxis->range(), zoomed);
    QCOMPARE(canvas(!second)->xAxis->range(), zoomed);
}

void TestMainWindowCurves::slotWithoutArgumentCopiesTheFirstTimeRange()
{
    {
        const QSignalBlocker blocker(canvas()->xAxis);
        canvas()->xAxis->setRange(11, 12);
    }
    QVERIFY(canvas(true)->xAxis->range() != QCPRange(11, 12));
    const QSignalSpy replots(canvas(true), &QCustomPlot::afterReplot);
    QVERIFY(QMetaObject::invokeMethod(&window(), "followRescaleXAxisSlot"));
    QCOMPARE(canvas(true)->xAxis->range(), QCPRange(11, 12));
    QVERIFY(replots.count() >= 1);
}

void TestMainWindowCurves::doubleClickOnALegendEntryRenamesTheCurve_data()
{
    twoCanvases();
}

void TestMainWindowCurves::doubleClickOnALegendEntryRenamesTheCurve()
{
    QFETCH(bool, second);
    m_fixture->pretendRead();
    m_fixture->box(second ? "checkBox_rollDiff" : "checkBox_roll")->click();
    const QString before = WindowFixture::curves(canvas(second)).constFirst();
    canvas(second)->replot();
    ModalAnswer answer;
    QStringList seen;
    answer.next(typed(QStringLiteral("新名"), &seen));
    doubleClick(canvas(second), legendEntry(canvas(second), 0));
    QVERIFY(answer.allAnswered());
    QCOMPARE(seen, QStringList({"修改标签", "New graph name:", before}));
    QCOMPARE(WindowFixture::curves(canvas(second)), QStringList({"新名"}));
    // The channel keeps its name, and the box stays ticked.
    QVERIFY(findGraph(before));
    QVERIFY(m_fixture->box(second ? "checkBox_rollDiff" : "checkBox_roll")->isChecked());
}

void TestMainWindowCurves::doubleClickBesideTheLegendEntriesOpensNoDialog()
{
    m_fixture->pretendRead();
    show("checkBox_roll", "横滚");
    ModalAnswer answer;
    emit canvas()->legendDoubleClick(canvas()->legend, nullptr, nullptr);
    QVERIFY(answer.allAnswered());
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"横滚"}));
}

void TestMainWindowCurves::doubleClickOnAnAxisLabelRenamesTheAxis()
{
    // A label without a text receives no clicks.
    QCPAxis *const axis = canvas()->xAxis;
    axis->setLabel(QStringLiteral("time"));
    canvas()->replot();
    QPointF at;
    for (int y = canvas()->axisRect()->rect().bottom(); at.isNull() && y < canvas()->height(); ++y) {
        const QPointF point(canvas()->axisRect()->rect().center().x(), y);
        if (axis->getPartAt(point) == QCPAxis::spAxisLabel)
            at = point;
    }
    QVERIFY(!at.isNull());
    ModalAnswer answer;
    QStringList seen;
    answer.next(typed(QStringLiteral("时间"), &seen));
    doubleClick(canvas(), at);
    QVERIFY(answer.allAnswered());
    QCOMPARE(seen, QStringList({"修改坐标轴名称", "New axis label:", "time"}));
    QCOMPARE(axis->label(), QStringLiteral("时间"));

    // The second canvas is connected as well.
    answer.next(typed(QStringLiteral("值")));
    emit canvas(true)->axisDoubleClick(canvas(true)->yAxis, QCPAxis::spAxisLabel, nullptr);
    QVERIFY(answer.allAnswered());
    QCOMPARE(canvas(true)->yAxis->label(), QStringLiteral("值"));
}

void TestMainWindowCurves::doubleClickOnAnotherPartOfAnAxisOpensNoDialog()
{
    ModalAnswer answer;
    for (const QCPAxis::SelectablePart part : {QCPAxis::spNone, QCPAxis::spAxis, QCPAxis::spTickLabels})
        emit canvas()->axisDoubleClick(canvas()->xAxis, part, nullptr);
    QVERIFY(answer.allAnswered());
    QCOMPARE(canvas()->xAxis->label(), QString());
}

void TestMainWindowCurves::doubleClickOnATitleRenamesIt()
{
    QCPTextElement title(canvas(), QStringLiteral("flight"));
    QVERIFY(connect(&title, SIGNAL(doubleClicked(QMouseEvent *)), &window(), SLOT(titleDoubleClick(QMouseEvent *))));
    ModalAnswer answer;
    QStringList seen;
    answer.next(typed(QStringLiteral("航程"), &seen));
    emit title.doubleClicked(nullptr);
    QVERIFY(answer.allAnswered());
    QCOMPARE(seen, QStringList({"修改标题", "New plot title:", "flight"}));
    QCOMPARE(title.text(), QStringLiteral("航程"));
    // No signal is connected to the slot. A null element opens no dialog.
    QVERIFY(QMetaObject::invokeMethod(&window(), "titleDoubleClick", Q_ARG(QMouseEvent *, nullptr)));
    QVERIFY(answer.allAnswered());
}

void TestMainWindowCurves::cancelledEditsStoreNothing()
{
    m_fixture->pretendRead();
    show("checkBox_roll", "横滚");
    canvas()->xAxis->setLabel(QStringLiteral("time"));
    QCPTextElement title(canvas(), QStringLiteral("flight"));
    connect(&title, SIGNAL(doubleClicked(QMouseEvent *)), &window(), SLOT(titleDoubleClick(QMouseEvent *)));
    canvas()->replot();
    const QSignalSpy replots(canvas(), &QCustomPlot::afterReplot);
    ModalAnswer answer;
    for (int i = 0; i < 3; ++i)
        answer.next(typed(QString()));
    emit canvas()->legendDoubleClick(canvas()->legend, canvas()->legend->item(0), nullptr);
    emit canvas()->axisDoubleClick(canvas()->xAxis, QCPAxis::spAxisLabel, nullptr);
    emit title.doubleClicked(nullptr);
    QVERIFY(answer.allAnswered());
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"横滚"}));
    QCOMPARE(canvas()->xAxis->label(), QStringLiteral("time"));
    QCOMPARE(title.text(), QStringLiteral("flight"));
    QCOMPARE(replots.count(), 0);
}

void TestMainWindowCurves::editReplotsOnlyTheFirstCanvas()
{
    m_fixture->pretendRead();
    show("checkBox_rollDiff", "横滚差值");
    const QSignalSpy first(canvas(), &QCustomPlot::afterReplot);
    const QSignalSpy second(canvas(true), &QCustomPlot::afterReplot);
    ModalAnswer answer;
    answer.next(typed(QStringLiteral("x")));
    answer.next(typed(QStringLiteral("y")));
    emit canvas(true)->legendDoubleClick(canvas(true)->legend, canvas(true)->legend->item(0), nullptr);
    QCOMPARE(first.count(), 1);
    emit canvas(true)->axisDoubleClick(canvas(true)->yAxis, QCPAxis::spAxisLabel, nullptr);
    QCOMPARE(first.count(), 2);
    QCOMPARE(second.count(), 0);
    QVERIFY(answer.allAnswered());
}

void TestMainWindowCurves::renamedCurveIsShownASecondTimeWhenItsBoxIsUnticked()
{
    m_fixture->pretendRead();
    QCPGraph *const curve = show("checkBox_roll", "横滚");
    curve->setName(QStringLiteral("renamed"));
    QCheckBox *const box = m_fixture->box("checkBox_roll");
    box->click();
    QVERIFY(box->isChecked());
    QVERIFY(findGraph(QStringLiteral("横滚"))->shown());
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"renamed", "横滚"}));
}

void TestMainWindowCurves::menuOfASelectedCurve_data()
{
    twoCanvases();
}

void TestMainWindowCurves::menuOfASelectedCurve()
{
    QFETCH(bool, second);
    m_fixture->pretendRead();
    WindowFixture::select(second ? show("checkBox_rollDiff", "横滚差值") : show("checkBox_roll", "横滚"));
    const QMenu *menu = openMenu(second);
    QVERIFY(menu);
    QCOMPARE(texts(menu), second ? texts(kCurveMenu_2) : texts(kCurveMenu));
    QVERIFY(second ? samePictures(menu, kCurveMenu_2) : samePictures(menu, kCurveMenu));
}

void TestMainWindowCurves::menuOfASelectedAxis_data()
{
    twoCanvases();
}

void TestMainWindowCurves::menuOfASelectedAxis()
{
    QFETCH(bool, second);
    canvas(second)->yAxis->setSelectedParts(QCPAxis::spAxis);
    const QMenu *menu = openMenu(second);
    QVERIFY(menu);
    QCOMPARE(texts(menu), texts(kAxisMenu));
    QVERIFY(samePictures(menu, kAxisMenu));
}

void TestMainWindowCurves::menuOfAnEmptyCanvas_data()
{
    twoCanvases();
}

void TestMainWindowCurves::menuOfAnEmptyCanvas()
{
    QFETCH(bool, second);
    QCOMPARE(WindowFixture::curves(canvas(second)), QStringList({QString()})); // only the placeholder
    const QMenu *menu = openMenu(second);
    QVERIFY(menu);
    QCOMPARE(texts(menu), texts(kCanvasMenu));
    QVERIFY(samePictures(menu, kCanvasMenu));
}

void TestMainWindowCurves::menuPrefersASelectedCurveToASelectedAxis()
{
    m_fixture->pretendRead();
    WindowFixture::select(show("checkBox_roll", "横滚"));
    canvas()->xAxis->setSelectedParts(QCPAxis::spAxis);
    QCOMPARE(texts(openMenu(false)), texts(kCurveMenu));
}

void TestMainWindowCurves::menuDependsOnTheStateOfItsCanvas()
{
    m_fixture->pretendRead();
    WindowFixture::select(show("checkBox_roll", "横滚"));
    QMenu *menu = openMenu(true);
    QCOMPARE(texts(menu), texts(kCanvasMenu));
    menu->close();
    canvas(true)->xAxis->setSelectedParts(QCPAxis::spAxis);
    canvas()->deselectAll();
    QCOMPARE(texts(openMenu(false)), texts(kCanvasMenu));
}

void TestMainWindowCurves::menuPopsUpAtTheMouseAndIsDeletedOnClose()
{
    for (const bool second : {false, true}) {
        const QPoint at(30, 20);
        const QPointer<QMenu> menu = openMenu(second, at);
        QVERIFY(menu);
        QVERIFY(menu->isVisible());
        QCOMPARE(menu->parentWidget(), &window());
        QCOMPARE(menu->pos(), canvas(second)->mapToGlobal(at));
        menu->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTRY_VERIFY(menu.isNull());
    }
    // Only the menus of the menu bar remain.
    for (const QMenu *menu : window().findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly))
        QVERIFY2(!menu->testAttribute(Qt::WA_DeleteOnClose), qPrintable(menu->title()));
}

void TestMainWindowCurves::menusShareTheirIcons()
{
    // Each icon of its own would be drawn anew and fill Qt's cache of pictures.
    const auto keys = [this](bool second) {
        QMenu *const menu = openMenu(second);
        QVector<qint64> result;
        for (const QAction *action : menu->actions())
            result.append(action->icon().cacheKey());
        menu->close();
        return result;
    };
    const QVector<qint64> first = keys(false);
    QCOMPARE(first.size(), 3);
    QVERIFY(!first.contains(0));
    QCOMPARE(keys(false), first);
    QCOMPARE(keys(true), first);
}

void TestMainWindowCurves::entryHasTheExpectedEffect_data()
{
    QTest::addColumn<bool>("second");
    QTest::addColumn<QString>("entry");
    for (const bool second : {false, true}) {
        const QStringList entries
            = (second ? texts(kCurveMenu_2) : texts(kCurveMenu)) + texts(kAxisMenu) + texts(kCanvasMenu);
        for (const QString &entry : entries)
            QTest::addRow("%s %s", second ? "second" : "first", qPrintable(entry)) << second << entry;
    }
}

void TestMainWindowCurves::entryHasTheExpectedEffect()
{
    QFETCH(bool, second);
    QFETCH(QString, entry);
    m_fixture->pretendRead();
    // The canvas has two curves and the last one is not selected, so that "selected" and "all" differ.
    const char *const name = second ? "横滚差值" : "横滚";
    setSamples(name, {1.0, 2.0, 40.0, 3.0, 2.0});
    setSamples(second ? "航向差值" : "航向", {5.0, 6.0, 7.0, 8.0, 9.0});
    QCPGraph *const curve = show(second ? "checkBox_rollDiff" : "checkBox_roll", name);
    show(second ? "checkBox_yawDiff" : "checkBox_yaw", second ? "航向差值" : "航向");
    MyGraph *const channel = findGraph(QString::fromUtf8(name));
    QCPAxis *const x = canvas(second)->xAxis;
    QCPAxis *const y = canvas(second)->yAxis;
    const double start = double(startDateTime.toSecsSinceEpoch());
    const QCPRange time(start, start + 0.8); // five samples, 200 ms apart
    const QCPRange farTime(start - 1000, start - 900);
    const QCPRange farValue(500, 600);
    x->setRange(farTime);
    y->setRange(farValue);
    const bool onCanvas = texts(kCanvasMenu).contains(entry);
    if (entry == QStringLiteral("修改字体大小"))
        y->setSelectedParts(QCPAxis::spAxis);
    else if (!onCanvas)
        WindowFixture::select(curve);

    ModalAnswer answer;
    QString dialog;
    if (entry == QStringLiteral("设置") || entry == QStringLiteral("修改字体大小"))
        answer.next([&](QDialog *modal) { dialog = QString::fromLatin1(modal->metaObject()->className()); });
    QCPItemTracer *const tracer = controller(second)->tracer();
    tracer->setGraph(curve);
    tracer->setGraphKey(start + 0.2);
    tracer->updatePosition();

    const QPointer<QMenu> menu = openMenu(second);
    QVERIFY(menu);
    const QList<QAction *> actions = menu->actions();
    const auto found
        = std::find_if(actions.begin(), actions.end(), [&](const QAction *action) { return action->text() == entry; });
    QVERIFY(found != actions.end());
    (*found)->trigger();
    if (menu) // null if a dialog of the entry closed and deleted the menu
        menu->close();
    QVERIFY(answer.allAnswered());

    const QStringList bothCurves = WindowFixture::curves(canvas(second));
    if (entry == QStringLiteral("聚焦Y")) {
        QCOMPARE(y->range(), QCPRange(1, 40));
        QCOMPARE(x->range(), farTime);
    } else if (entry == QStringLiteral("聚焦")) {
        QCOMPARE(y->range(), QCPRange(1, 40));
        QCOMPARE(x->range(), time);
    } else if (entry == QStringLiteral("自适应Y轴")) {
        QCOMPARE(y->range(), QCPRange(5, 9)); // range of the last curve
        QCOMPARE(x->range(), farTime);
    } else if (entry == QStringLiteral("自适应缩放")) {
        QCOMPARE(y->range(), QCPRange(5, 9));
        QCOMPARE(x->range(), time);
    } else if (entry == QStringLiteral("清空所有曲线")) {
        QCOMPARE(bothCurves, QStringList({QString()}));
    } else if (entry == QStringLiteral("去除错误帧")) {
        QCOMPARE(channel->yvalue(), QVector<double>({1, 2, 2, 3, 2})); // 40 is more than ten times both neighbours
    } else if (entry == QStringLiteral("删除选定的点")) {
        QCOMPARE(curve->dataCount(), 4);
        QCOMPARE(channel->yvalue().size(), 5);
    } else if (entry == QStringLiteral("删除选定的曲线")) {
        QCOMPARE(bothCurves.size(), 1);
        QVERIFY(!bothCurves.contains(QString::fromUtf8(name)));
    } else if (entry == QStringLiteral("增加1个数据")) {
        QCOMPARE(channel->yvalue(), QVector<double>({1, 1, 2, 40, 3, 2}));
    } else if (entry == QStringLiteral("增加10个数据")) {
        QCOMPARE(channel->yvalue().size(), 15);
        QCOMPARE(channel->yvalue().count(1.0), 11);
    } else if (entry == QStringLiteral("交换显示位置")) {
        QVERIFY(!bothCurves.contains(QString::fromUtf8(name)));
        QCOMPARE(WindowFixture::curves(canvas(!second)), QStringList({QString::fromUtf8(name)}));
    } else if (entry == QStringLiteral("设置")) {
        QCOMPARE(dialog, QStringLiteral("SettingDialog"));
    } else {
        QCOMPARE(entry, QStringLiteral("修改字体大小"));
        QCOMPARE(dialog, QStringLiteral("SettingDialog_2"));
    }
}

void TestMainWindowCurves::penIsSetOnTheSelectedCurveOfEachCanvas()
{
    m_fixture->pretendRead();
    QCPGraph *const first = show("checkBox_roll", "横滚");
    QCPGraph *const other = show("checkBox_yaw", "航向");
    QCPGraph *const second = show("checkBox_rollDiff", "横滚差值");
    const QPen before = other->pen();
    WindowFixture::select(first);
    WindowFixture::select(second);
    defaultColor = QColor(1, 2, 3);
    ModalAnswer answer;
    QPointer<QDialog> seen;
    answer.next([&](QDialog *modal) {
        seen = modal;
        QCOMPARE(modal->parentWidget(), &window());
        modal->findChild<QSpinBox *>()->setValue(5);
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    QVERIFY(QMetaObject::invokeMethod(&window(), "settingSlot"));
    QVERIFY(answer.allAnswered());
    QVERIFY(seen.isNull());
    for (const QCPGraph *each : {first, second}) {
        QCOMPARE(each->pen().width(), 5);
        QCOMPARE(each->pen().color(), QColor(1, 2, 3));
    }
    QCOMPARE(other->pen(), before);
}

void TestMainWindowCurves::fontIsSetOnCanvasesWithASelectedAxis()
{
    canvas(true)->yAxis->setSelectedParts(QCPAxis::spAxis);
    ModalAnswer answer;
    QPointer<QDialog> seen;
    answer.next([&](QDialog *modal) {
        seen = modal;
        modal->findChild<QSpinBox *>()->setValue(13);
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    QVERIFY(QMetaObject::invokeMethod(&window(), "settingSlot_2"));
    QVERIFY(answer.allAnswered());
    QVERIFY(seen.isNull());
    QCOMPARE(canvas(true)->xAxis->tickLabelFont().pointSize(), 13);
    QCOMPARE(canvas(true)->yAxis->tickLabelFont().pointSize(), 13);
    QCOMPARE(canvas()->xAxis->tickLabelFont().pointSize(), 8);

    canvas()->xAxis->setSelectedParts(QCPAxis::spAxis);
    answer.next([&](QDialog *modal) {
        modal->findChild<QSpinBox *>()->setValue(14);
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    QVERIFY(QMetaObject::invokeMethod(&window(), "settingSlot_2"));
    for (const bool second : {false, true})
        QCOMPARE(canvas(second)->xAxis->tickLabelFont().pointSize(), 14);
}

void TestMainWindowCurves::swapMovesTheCurveToTheOtherCanvasAndBack()
{
    m_fixture->pretendRead();
    QCPGraph *curve = show("checkBox_roll", "横滚");
    const QColor colour = curve->pen().color();
    WindowFixture::select(curve);
    window().myPlot()->onSwapPosSlot();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({QString()}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({"横滚"}));
    QVERIFY(m_fixture->box("checkBox_roll")->isChecked());
    curve = canvas(true)->graph(0);
    QCOMPARE(curve->pen().color(), colour);
    WindowFixture::select(curve);
    window().myPlot_2()->onSwapPosSlot();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"横滚"}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList({QString()}));
}

void TestMainWindowCurves::shiftedPairIsShownOnceAndOnItsOwnCanvases_data()
{
    QTest::addColumn<QString>("swapped");
    QTest::addColumn<int>("points");
    QTest::newRow("the target below, one point") << QStringLiteral("目标横滚") << 1;
    QTest::newRow("the target below, ten points") << QStringLiteral("目标横滚") << 10;
    QTest::newRow("the actual curve below, one point") << QStringLiteral("横滚") << 1;
    QTest::newRow("both above") << QString() << 1;
}

void TestMainWindowCurves::shiftedPairIsShownOnceAndOnItsOwnCanvases()
{
    QFETCH(QString, swapped);
    QFETCH(int, points);
    m_fixture->pretendRead();
    setSamples("横滚", {1.0, 2.0, 4.0, 3.0});
    setSamples("目标横滚", {7.0, 8.0, 9.0, 5.0});
    show("checkBox_roll", "横滚");
    show("checkBox_rollTarget", "目标横滚");
    if (!swapped.isNull()) {
        WindowFixture::select(WindowFixture::curve(canvas(), swapped.toUtf8().constData()));
        window().myPlot()->onSwapPosSlot();
    }
    // The curve on the first canvas is shifted; the other one is its partner.
    const bool actualMoves = swapped != QStringLiteral("横滚");
    const QString moved = actualMoves ? QStringLiteral("横滚") : QStringLiteral("目标横滚");
    const QString partner = actualMoves ? QStringLiteral("目标横滚") : QStringLiteral("横滚");
    QCustomPlot *const home = canvas(!swapped.isNull());
    WindowFixture::select(WindowFixture::curve(canvas(), moved.toUtf8().constData()));
    if (points == 1)
        window().myPlot()->addOnePointSlot();
    else
        window().myPlot()->addPointsSlot();

    QStringList above{moved};
    if (swapped.isNull())
        above.prepend(partner);
    QCOMPARE(WindowFixture::curves(canvas()), above);
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList{swapped});
    // Both curves show the new samples: one repeats its first sample, the other its last.
    const auto values = [](const QCPGraph *graph) {
        QVector<double> result;
        for (const QCPGraphData &point : *graph->data())
            result.append(point.value);
        return result;
    };
    QVector<double> actual{1.0, 2.0, 4.0, 3.0};
    QVector<double> target{7.0, 8.0, 9.0, 5.0};
    for (int i = 0; i < points; ++i) {
        (actualMoves ? actual : target).prepend(actualMoves ? 1.0 : 7.0);
        (actualMoves ? target : actual).append(actualMoves ? 5.0 : 3.0);
    }
    QCOMPARE(values(WindowFixture::curve(home, partner.toUtf8().constData())), actualMoves ? target : actual);
    QCOMPARE(values(WindowFixture::curve(canvas(), moved.toUtf8().constData())), actualMoves ? actual : target);
    QVERIFY(m_fixture->box("checkBox_roll")->isChecked());
    QVERIFY(m_fixture->box("checkBox_rollTarget")->isChecked());
    // Unticking a box removes its curve.
    m_fixture->box("checkBox_roll")->click();
    m_fixture->box("checkBox_rollTarget")->click();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList{QString()});
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList{QString()});
    QVERIFY(!findGraph(QStringLiteral("横滚"))->shown());
    QVERIFY(!findGraph(QStringLiteral("目标横滚"))->shown());
}

void TestMainWindowCurves::shiftLeavesAHiddenPartnerHidden()
{
    m_fixture->pretendRead();
    findGraph(QStringLiteral("目标横滚"))->setPosition(MyGraph::SecondCanvas);
    WindowFixture::select(show("checkBox_roll", "横滚"));
    window().myPlot()->addOnePointSlot();
    QCOMPARE(WindowFixture::curves(canvas()), QStringList({"横滚"}));
    QCOMPARE(WindowFixture::curves(canvas(true)), QStringList{QString()});
    QCOMPARE(findGraph(QStringLiteral("目标横滚"))->yvalue().size(), 5);
}

void TestMainWindowCurves::clickedPointIsShownInTheStatusBar()
{
    m_fixture->pretendRead();
    setSamples("横滚", {1.0, 1234567.25});
    QCPAbstractPlottable *const curve = show("checkBox_roll", "横滚");
    const QString expected = QStringLiteral("Clicked on graph '横滚' at data point #1 with value 1.23457e+06.");
    // From the canvas through its controller.
    emit canvas()->plottableClick(curve, 1, nullptr);
    QCOMPARE(m_fixture->status(), expected);
    // From the window's slot, which is not connected.
    window().statusBar()->clearMessage();
    const auto call = [&](int index) {
        return QMetaObject::invokeMethod(&window(), "graphClicked", Q_ARG(QCPAbstractPlottable *, curve),
                                         Q_ARG(int, index));
    };
    QVERIFY(call(1));
    QCOMPARE(m_fixture->status(), expected);
    window().statusBar()->clearMessage();
    QVERIFY(call(2));
    QVERIFY(call(-1));
    QCOMPARE(m_fixture->status(), QString());
}

void TestMainWindowCurves::legendIsMovedOnlyWithAnInset()
{
    QAction action;
    action.setData(int(Qt::AlignLeft | Qt::AlignBottom));
    connect(&action, SIGNAL(triggered()), &window(), SLOT(moveLegend()));
    // The legend is below the axes and the inset is empty.
    QCOMPARE(canvas()->axisRect()->insetLayout()->elementCount(), 0);
    const QSignalSpy replots(canvas(), &QCustomPlot::afterReplot);
    action.trigger();
    QCOMPARE(replots.count(), 0);

    auto *const element = new QCPTextElement(canvas(), QStringLiteral("x"));
    canvas()->axisRect()->insetLayout()->addElement(element, Qt::AlignRight | Qt::AlignTop);
    action.trigger();
    QCOMPARE(canvas()->axisRect()->insetLayout()->insetAlignment(0), Qt::AlignLeft | Qt::AlignBottom);
    QCOMPARE(replots.count(), 1);
    action.setData(QStringLiteral("no number"));
    action.trigger();
    QVERIFY(QMetaObject::invokeMethod(&window(), "moveLegend"));
    QCOMPARE(replots.count(), 1);
}

QTEST_MAIN(TestMainWindowCurves)
#include "TestMainWindowCurves.moc"
