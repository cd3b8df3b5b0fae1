#include "AppConfig.h"
#include "AppEvent.h"
#include "Canvas.h"
#include "CanvasLook.h"
#include "MyCustomPlot.h"

#include <QMetaMethod>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <cmath>

namespace
{

QPen solid(const QColor &color)
{
    return QPen(QBrush(color), 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

QPen dash(const QColor &color)
{
    return QPen(QBrush(color), 1, Qt::DashLine, Qt::SquareCap, Qt::BevelJoin);
}

QPen dot(const QColor &color)
{
    return QPen(QBrush(color), 1, Qt::DotLine, Qt::SquareCap, Qt::BevelJoin);
}

QFont eightPoints()
{
    QFont font;
    font.setPointSize(8);
    return font;
}

const QColor kGrey(53, 53, 53);

/** All properties of a canvas that a theme sets. */
QStringList themeOf(const QCustomPlot &canvas)
{
    const auto text = [](const QPen &pen) {
        return QStringLiteral("%1 style %2 width %3 cap %4 join %5")
            .arg(pen.color().name(QColor::HexArgb))
            .arg(pen.style())
            .arg(pen.widthF())
            .arg(pen.capStyle())
            .arg(pen.joinStyle());
    };
    QStringList result;
    for (const QCPAxis *const axis : {canvas.xAxis, canvas.yAxis}) {
        result << text(axis->basePen()) << text(axis->tickPen()) << text(axis->subTickPen())
               << axis->tickLabelColor().name(QColor::HexArgb) << text(axis->grid()->pen())
               << text(axis->grid()->subGridPen()) << text(axis->grid()->zeroLinePen());
    }
    result << canvas.legend->brush().color().name(QColor::HexArgb) << canvas.legend->textColor().name(QColor::HexArgb);
    return result;
}

/** The background colour of the canvas. */
QColor backgroundOf(QCustomPlot &canvas)
{
    return canvas.toPixmap(200, 100).toImage().pixelColor(1, 1);
}

} // namespace

class TestMyCustomPlotCanvas : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<MyGraph *>("MyGraph*"); }

    void declaresItsSignalsAndSlotsInOrderWithTheirAccess()
    {
        const QStringList expected{
            "signal statusShowSignal(QString)",
            "signal graphCheckedSignal()",
            "signal doSwapPosSignal(MyGraph*)",
            "public removeSelectedPointSlot()",
            "public myAddGraph(QString,uchar)",
            "public myAddGraph(MyGraph*,bool)",
            "public myAddGraph(MyGraph*)",
            "public myAddGraph(QString,QVector<double>,QVector<double>)",
            "public removeSelectedGraphSlot()",
            "public removeAllGraphsSlot()",
            "public rescaleGraphSlot()",
            "public rescaleAllGraphSlot()",
            "public rescaleYSlot()",
            "public rescaleAllYSlot()",
            "public deleteErrorDataSlot()",
            "public resetGraphSlot(QPen)",
            "public resetAxisSizeSlot(QFont)",
            "public switchThemeSlot(MyThemes)",
            "public switchRectMode(bool)",
            "public addPointsSlot()",
            "public addOnePointSlot()",
            "public onSwapPosSlot()",
            "private selectionChanged()",
            "private mousePress()",
            "private mouseWheel()",
            "private graphClicked(QCPAbstractPlottable*,int)",
            "private myMouseMoveEvent(QMouseEvent*)",
            "private removeGraphFeedback(QString)",
        };
        QStringList found;
        const QMetaObject &meta = MyCustomPlot::staticMetaObject;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            const QString kind = method.methodType() == QMetaMethod::Signal ? QStringLiteral("signal ")
                : method.access() == QMetaMethod::Public                    ? QStringLiteral("public ")
                                                                            : QStringLiteral("private ");
            found.append(kind + QString::fromLatin1(method.methodSignature()));
        }
        QCOMPARE(found, expected);
        QVERIFY(meta.superClass() == &QObject::staticMetaObject);
    }

    void setUpKeepsTheCanvasAndEndsWithALogMessage()
    {
        Fixture fixture;
        QCustomPlot canvas;
        MyCustomPlot control(nullptr);
        QVERIFY(control.plot() == nullptr);
        QSignalSpy status(&control, &MyCustomPlot::statusShowSignal);
        QSignalSpy checked(&control, &MyCustomPlot::graphCheckedSignal);
        // The message is logged after the theme is applied.
        QSignalSpy replots(&canvas, &QCustomPlot::afterReplot);
        int replotsBefore = 0;
        connect(&control, &MyCustomPlot::statusShowSignal, &canvas, [&] { replotsBefore = replots.count(); });
        control.initCustomPlot(&canvas);
        QVERIFY(control.plot() == &canvas);
        QCOMPARE(status.count(), 1);
        QCOMPARE(status.at(0).at(0).toString(), QStringLiteral("画布初始化完成"));
        QVERIFY(replotsBefore > 0);
        QCOMPARE(replots.count(), replotsBefore);
        QCOMPARE(checked.count(), 0);
    }

    void theTracerIsARedCrosshair()
    {
        const Canvas c;
        const QCPItemTracer *const tracer = c.control.tracer();
        QVERIFY(c.canvas.hasItem(c.control.tracer()));
        QCOMPARE(tracer->interpolating(), false);
        QCOMPARE(tracer->style(), QCPItemTracer::tsCrosshair);
        QCOMPARE(tracer->pen(), solid(Qt::red));
        QCOMPARE(tracer->brush(), QBrush(Qt::red, Qt::SolidPattern));
        QCOMPARE(tracer->size(), 6.0);
        QVERIFY(tracer->graph() == nullptr);
    }
    void theCrosshairIsHiddenBeforeACurveIsSelected()
    {
        const Canvas c;
        QVERIFY(!c.control.tracer()->realVisibility());
    }

    void sixInteractionsAreEnabledAndControlExtendsTheSelection()
    {
        const Canvas c;
        QCOMPARE(c.canvas.interactions(),
                 QCP::Interactions(QCP::iRangeDrag | QCP::iRangeZoom | QCP::iMultiSelect | QCP::iSelectPlottables
                                   | QCP::iSelectAxes | QCP::iSelectLegend));
        QCOMPARE(c.canvas.multiSelectModifier(), Qt::ControlModifier);
        QCOMPARE(c.canvas.contextMenuPolicy(), Qt::CustomContextMenu);
    }

    void theLegendIsBelowTheAxisRect()
    {
        const Canvas c;
        QCPLegend *const legend = c.canvas.legend;
        QVERIFY(legend->visible());
        QVERIFY(c.canvas.plotLayout()->element(0, 0) == c.canvas.axisRect());
        QVERIFY(c.canvas.plotLayout()->element(1, 0) == legend);
        QCOMPARE(c.canvas.plotLayout()->rowStretchFactors().at(1), 0.001);
        QCOMPARE(c.canvas.axisRect()->insetLayout()->elementCount(), 0);
        QCOMPARE(legend->margins(), QMargins(200, 1, 10, 1));
        QCOMPARE(legend->rowSpacing(), -3);
        QCOMPARE(legend->fillOrder(), QCPLayoutGrid::foColumnsFirst);
        QCOMPARE(legend->wrap(), 6);
        QCOMPARE(legend->font(), eightPoints());
        QCOMPARE(legend->borderPen().style(), Qt::NoPen);
        QCOMPARE(legend->brush().style(), Qt::SolidPattern);
    }
    void aLegendLineHoldsSixEntries()
    {
        Canvas c;
        const char *const labels[]{"横滚", "俯仰", "航向", "指示空速", "相对高度", "目标横滚", "目标俯仰", "目标航向"};
        for (const char *const label : labels)
            c.show(label, {1, 2, 3});
        QCOMPARE(c.canvas.legend->columnCount(), 6);
        QCOMPARE(c.canvas.legend->rowCount(), 2);
        const auto entry = [&c](int row, int column) {
            return static_cast<QCPPlottableLegendItem *>(c.canvas.legend->element(row, column))->plottable()->name();
        };
        QCOMPARE(entry(0, 0), QStringLiteral("横滚"));
        QCOMPARE(entry(0, 5), QStringLiteral("目标横滚"));
        QCOMPARE(entry(1, 0), QStringLiteral("目标俯仰"));
        QCOMPARE(entry(1, 1), QStringLiteral("目标航向"));
        QVERIFY(c.canvas.legend->element(1, 2) == nullptr);
    }

    void anEmptyCanvasIsAsWideAsAFullOne()
    {
        Canvas c;
        c.canvas.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.canvas));
        c.canvas.replot();
        const int empty = c.canvas.axisRect()->right();
        c.show("横滚", {-1, 1});
        QCOMPARE(c.canvas.axisRect()->right(), empty);
        QVERIFY(empty > c.canvas.width() - 40);
    }
    void theLastLegendLineIsCompleteOnALowCanvas()
    {
        Canvas c;
        c.canvas.show();
        QVERIFY(QTest::qWaitForWindowExposed(&c.canvas));
        int shown = 0;
        for (const ChannelGroup &group : channelGroups()) {
            for (MyGraph *const channel : group) {
                if (shown == 14 || c.curve(channel->graphName().toUtf8().constData()) != nullptr)
                    continue;
                channel->setYvalue({1, 2});
                c.control.myAddGraph(channel);
                ++shown;
            }
        }
        QCOMPARE(c.canvas.legend->rowCount(), 3);
        // Space for the legend and the tick labels, and two text lines for the curves.
        const int line = QFontMetrics(c.canvas.legend->font()).height();
        const QMargins margins = c.canvas.axisRect()->margins();
        const int height = c.canvas.legend->minimumOuterSizeHint().height() + c.canvas.plotLayout()->rowSpacing()
            + margins.top() + margins.bottom() + 2 * line;
        c.canvas.resize(900, height);
        QTRY_COMPARE(c.canvas.viewport().height(), height);
        QVERIFY(c.canvas.axisRect()->height() > 0);
        for (int i = 0; i < c.canvas.graphCount(); ++i) {
            const QCPLayoutElement *const item = c.canvas.legend->itemWithPlottable(c.canvas.graph(i));
            QVERIFY(item->outerRect().height() >= item->minimumOuterSizeHint().height());
            QVERIFY(item->outerRect().bottom() < height);
        }
    }

    void theTimeAxisShowsTheDateAboveTheTime()
    {
        const Canvas c;
        const auto ticker = c.canvas.xAxis->ticker().dynamicCast<QCPAxisTickerDateTime>();
        QVERIFY(ticker);
        QCOMPARE(ticker->dateTimeFormat(), QStringLiteral("yyyy-MM-dd\nhh:mm:ss"));
        QCOMPARE(ticker->dateTimeSpec(), Qt::LocalTime);
    }

    void theAxesAreSetUp()
    {
        const Canvas c;
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(0, 1));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-1, 1));
        for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis}) {
            QCOMPARE(axis->selectableParts(),
                     QCPAxis::SelectableParts(QCPAxis::spAxis | QCPAxis::spTickLabels | QCPAxis::spAxisLabel));
            QCOMPARE(axis->labelFont(), eightPoints());
            QCOMPARE(axis->tickLabelFont(), eightPoints());
            QVERIFY(axis->visible());
            QVERIFY(axis->tickLabels());
            QCOMPARE(axis->upperEnding().style(), QCPLineEnding::esSpikeArrow);
            QCOMPARE(axis->upperEnding().width(), 8.0);
            QCOMPARE(axis->upperEnding().length(), 10.0);
            QCOMPARE(axis->upperEnding().inverted(), false);
            QVERIFY(axis->grid()->subGridVisible());
        }
        for (const QCPAxis *const axis : {c.canvas.xAxis2, c.canvas.yAxis2}) {
            QVERIFY(!axis->visible());
            QVERIFY(!axis->tickLabels());
        }
        QCOMPARE(c.canvas.xAxis->grid()->zeroLinePen().style(), Qt::NoPen);
    }
    void theOppositeAxesFollowTheRanges()
    {
        const Canvas c;
        c.canvas.xAxis->setRange(3, 9);
        c.canvas.yAxis->setRange(-7, 11);
        QCOMPARE(c.canvas.xAxis2->range(), QCPRange(3, 9));
        QCOMPARE(c.canvas.yAxis2->range(), QCPRange(-7, 11));
    }

    void anUnknownThemeKeepsTheDefaultPens()
    {
        Fixture fixture;
        AppConfig::getInstance().setTheme(static_cast<MyThemes>(7));
        QCustomPlot canvas;
        MyCustomPlot control(nullptr);
        LogFile log;
        control.initCustomPlot(&canvas);
        for (const QCPAxis *const axis : {canvas.xAxis, canvas.yAxis}) {
            QCOMPARE(axis->basePen(), solid(Qt::black));
            QCOMPARE(axis->tickPen(), solid(Qt::green));
            QCOMPARE(axis->subTickPen(), solid(Qt::black));
            QCOMPARE(axis->grid()->pen(), dash(QColor(140, 0, 0)));
            QCOMPARE(axis->grid()->subGridPen(), dot(QColor(80, 80, 80)));
        }
        QCOMPARE(canvas.legend->brush(), QBrush(QColor(53, 53, 53, 150)));
        QCOMPARE(canvas.selectionRect()->pen(), solid(Qt::black));
        QCOMPARE(log.messages(), QStringList());
    }

    void aNewCanvasHoldsOneUnnamedEmptyCurveInTheDefaultColour()
    {
        Fixture fixture;
        defaultColor = QColor(1, 2, 3);
        QCustomPlot canvas;
        MyCustomPlot control(nullptr);
        control.initCustomPlot(&canvas);
        QCOMPARE(canvas.graphCount(), 1);
        QCOMPARE(canvas.graph(0)->name(), QString());
        QVERIFY(canvas.graph(0)->data()->isEmpty());
        QCOMPARE(canvas.graph(0)->pen(), solid(QColor(1, 2, 3)));
    }

    void theDayThemeSetsItsColours()
    {
        Canvas c;
        c.show("横滚", {1, 2});
        c.control.switchThemeSlot(lightTheme);
        for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis}) {
            QCOMPARE(axis->basePen(), solid(Qt::black));
            QCOMPARE(axis->tickPen(), solid(Qt::green));
            QCOMPARE(axis->subTickPen(), solid(Qt::black));
            QCOMPARE(axis->tickLabelColor(), QColor(6, 107, 248));
            QCOMPARE(axis->grid()->pen(), dash(QColor(140, 0, 0)));
            QCOMPARE(axis->grid()->subGridPen(), dot(QColor(80, 80, 80)));
        }
        QCOMPARE(c.canvas.xAxis->grid()->zeroLinePen().style(), Qt::NoPen);
        QCOMPARE(c.canvas.yAxis->grid()->zeroLinePen(), solid(Qt::black));
        QCOMPARE(c.canvas.legend->brush(), QBrush(QColor(255, 255, 255, 150)));
        QCOMPARE(c.canvas.legend->textColor(), QColor(Qt::black));
        QCOMPARE(c.canvas.legend->item(0)->textColor(), QColor(Qt::black));
        QCOMPARE(backgroundOf(c.canvas), QColor(Qt::white));
    }
    void theNightThemeSetsItsColours()
    {
        Canvas c;
        c.show("横滚", {1, 2});
        c.control.switchThemeSlot(lightTheme);
        c.control.switchThemeSlot(darkTheme);
        for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis}) {
            QCOMPARE(axis->basePen(), solid(Qt::white));
            QCOMPARE(axis->tickPen(), solid(Qt::white));
            QCOMPARE(axis->subTickPen(), solid(Qt::white));
            QCOMPARE(axis->tickLabelColor(), QColor(Qt::white));
            QCOMPARE(axis->grid()->pen(), dash(Qt::white));
            QCOMPARE(axis->grid()->subGridPen(), dot(Qt::white));
        }
        QCOMPARE(c.canvas.xAxis->grid()->zeroLinePen().style(), Qt::NoPen);
        QCOMPARE(c.canvas.yAxis->grid()->zeroLinePen(), solid(Qt::white));
        QCOMPARE(c.canvas.legend->brush(), QBrush(QColor(53, 53, 53, 150)));
        QCOMPARE(c.canvas.legend->textColor(), QColor(Qt::white));
        QCOMPARE(c.canvas.legend->item(0)->textColor(), QColor(Qt::white));
        QCOMPARE(backgroundOf(c.canvas), kGrey);
    }
    void setUpUsesTheThemeOfTheConfiguration()
    {
        Fixture fixture;
        for (const MyThemes theme : {lightTheme, darkTheme}) {
            AppConfig::getInstance().setTheme(theme);
            QCustomPlot canvas;
            MyCustomPlot control(nullptr);
            LogFile log;
            control.initCustomPlot(&canvas);
            QCOMPARE(canvas.legend->textColor(), QColor(theme == lightTheme ? Qt::black : Qt::white));
            QCOMPARE(log.leveledMessages(),
                     QStringList(theme == lightTheme ? QStringLiteral("info: graph set day mode")
                                                     : QStringLiteral("info: graph set night mode")));
        }
    }
    void aThemeIsLoggedAndReplots()
    {
        Canvas c;
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.control.switchThemeSlot(lightTheme);
        c.control.switchThemeSlot(darkTheme);
        QCOMPARE(replots.count(), 2);
        QCOMPARE(c.log.leveledMessages(), (QStringList{"info: graph set day mode", "info: graph set night mode"}));
    }
    void anUnknownThemeOnlyRecoloursTheRectanglePenAndReplots()
    {
        Canvas c;
        const QStringList before = themeOf(c.canvas);
        defaultColor = QColor(9, 8, 7);
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.control.switchThemeSlot(static_cast<MyThemes>(2));
        QCOMPARE(themeOf(c.canvas), before);
        QCOMPARE(backgroundOf(c.canvas), kGrey);
        QCOMPARE(c.canvas.selectionRect()->pen(), solid(QColor(9, 8, 7)));
        QVERIFY(replots.count() >= 1);
        QCOMPARE(c.log.messages(), QStringList());
    }
    void aThemeKeepsTheTwoColoursAndTheCurves()
    {
        Canvas c;
        c.show("横滚", {1, 2});
        const QPen pen = c.curve("横滚")->pen();
        c.control.switchThemeSlot(lightTheme);
        QCOMPARE(c.curve("横滚")->pen(), pen);
        QCOMPARE(defaultColor, QColor(Qt::black));
        QCOMPARE(targetColor, QColor(Qt::red));
    }
    void switchingTheThemeKeepsTheRectangleModeAndRecoloursItsPen()
    {
        Canvas c;
        c.control.switchRectMode(true);
        defaultColor = QColor(200, 100, 50);
        c.control.switchThemeSlot(lightTheme);
        QCOMPARE(c.canvas.selectionRectMode(), QCP::srmZoom);
        QCOMPARE(c.canvas.selectionRect()->pen(), solid(QColor(200, 100, 50)));
    }
    void aThemeBeforeSetUpDoesNothing()
    {
        Fixture fixture;
        MyCustomPlot control(nullptr);
        AppConfig::getInstance().switchThemeSignal(lightTheme);
        AppEvent::getInstance().touchModeSignal(true);
        AppEvent::getInstance().resetGraphSignal(QPen(Qt::red));
        QVERIFY(control.plot() == nullptr);
    }

    void aNewCanvasHasNoSelectionRectangleWithAnyConfiguration()
    {
        Fixture fixture;
        AppConfig::getInstance().setTouchMode(true);
        QCustomPlot canvas;
        MyCustomPlot control(nullptr);
        control.initCustomPlot(&canvas);
        QCOMPARE(canvas.selectionRectMode(), QCP::srmNone);
    }
    void touchModeZoomsByARectangleInTheDefaultColour()
    {
        Canvas c;
        defaultColor = QColor(10, 20, 30);
        c.control.switchRectMode(true);
        QCOMPARE(c.canvas.selectionRectMode(), QCP::srmZoom);
        QCOMPARE(c.canvas.selectionRect()->pen(), solid(QColor(10, 20, 30)));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: graph enable touch mode"));
    }
    void touchModeOffMovesTheRangesAgain()
    {
        Canvas c;
        c.control.switchRectMode(true);
        c.log.mark();
        defaultColor = QColor(10, 20, 30);
        c.control.switchRectMode(false);
        QCOMPARE(c.canvas.selectionRectMode(), QCP::srmNone);
        QCOMPARE(c.canvas.selectionRect()->pen(), solid(QColor(10, 20, 30)));
        QCOMPARE(c.log.leveledMessages(), QStringList("info: graph disable touch mode"));
    }

    void touchModeThemeAndPenNeedNoWindow()
    {
        Canvas c;
        c.show("横滚", {1, 2});
        c.select("横滚");
        AppEvent::getInstance().touchModeSignal(true);
        QCOMPARE(c.canvas.selectionRectMode(), QCP::srmZoom);
        AppEvent::getInstance().resetGraphSignal(QPen(Qt::blue));
        QCOMPARE(c.curve("横滚")->pen(), QPen(Qt::blue));
        AppConfig::getInstance().switchThemeSignal(lightTheme);
        QCOMPARE(c.canvas.legend->textColor(), QColor(Qt::black));
    }

    void selectedTickLabelsSelectBothAxesOfAPair_data()
    {
        QTest::addColumn<int>("axis");
        QTest::addColumn<int>("part");
        for (int axis = 0; axis < 4; ++axis) {
            QTest::addRow("axis %d by its line", axis) << axis << int(QCPAxis::spAxis);
            QTest::addRow("axis %d by its tick labels", axis) << axis << int(QCPAxis::spTickLabels);
        }
    }
    void selectedTickLabelsSelectBothAxesOfAPair()
    {
        QFETCH(int, axis);
        QFETCH(int, part);
        Canvas c;
        QCPAxis *const axes[]{c.canvas.xAxis, c.canvas.xAxis2, c.canvas.yAxis, c.canvas.yAxis2};
        axes[axis]->setSelectableParts(QCPAxis::spAxis | QCPAxis::spTickLabels);
        axes[axis]->setSelectedParts(QCPAxis::SelectablePart(part));
        emit c.canvas.selectionChangedByUser();
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(axes[i]->selectedParts(),
                     i / 2 == axis / 2 ? QCPAxis::SelectableParts(QCPAxis::spAxis | QCPAxis::spTickLabels)
                                       : QCPAxis::SelectableParts(QCPAxis::spNone));
        }
    }
    void aSelectedAxisIsReadableInBothThemes()
    {
        // Relative luminance and contrast ratio as defined in the Web Content Accessibility Guidelines.
        const auto luminance = [](const QColor &colour) {
            const auto part = [](double value) {
                return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
        };
        Canvas c;
        for (const QColor &background : {QColor(Qt::white), QColor(53, 53, 53)}) {
            for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis}) {
                for (const QColor &colour : {axis->selectedTickLabelColor(), axis->selectedBasePen().color(),
                                             axis->selectedTickPen().color(), axis->selectedSubTickPen().color()}) {
                    const double a = luminance(colour) + 0.05;
                    const double b = luminance(background) + 0.05;
                    QVERIFY2(std::max(a, b) / std::min(a, b) > 2.5, qPrintable(colour.name() + background.name()));
                }
            }
        }
    }
    void aSelectedAxisDiffersClearlyInBothThemes()
    {
        // A third of the difference between black and white.
        constexpr double kMinDistance = 150;
        const auto distance = [](const QColor &a, const QColor &b) {
            return std::hypot(a.red() - b.red(), a.green() - b.green(), a.blue() - b.blue());
        };
        for (const MyThemes theme : {lightTheme, darkTheme}) {
            Canvas c;
            canvaslook::setTheme(&c.canvas, theme);
            for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis}) {
                QVERIFY(distance(axis->selectedTickLabelColor(), axis->tickLabelColor()) > kMinDistance);
                QVERIFY(distance(axis->selectedBasePen().color(), axis->basePen().color()) > kMinDistance);
                QCOMPARE(axis->selectedLabelColor(), axis->selectedTickLabelColor());
            }
        }
    }
    void aSelectedAxisLabelSelectsNothingElse()
    {
        Canvas c;
        c.canvas.xAxis->setSelectedParts(QCPAxis::spAxisLabel);
        emit c.canvas.selectionChangedByUser();
        QCOMPARE(c.canvas.xAxis->selectedParts(), QCPAxis::SelectableParts(QCPAxis::spAxisLabel));
        QCOMPARE(c.canvas.xAxis2->selectedParts(), QCPAxis::SelectableParts(QCPAxis::spNone));
    }
    void aSelectedLegendEntrySelectsItsWholeCurve()
    {
        Canvas c;
        c.show("横滚", {1, 2, 3});
        c.show("俯仰", {1, 2, 3});
        c.canvas.legend->itemWithPlottable(c.curve("俯仰"))->setSelected(true);
        emit c.canvas.selectionChangedByUser();
        QCOMPARE(c.curve("俯仰")->selection(), QCPDataSelection(QCPDataRange(0, 3)));
        QVERIFY(!c.curve("横滚")->selected());
        QVERIFY(!c.canvas.legend->itemWithPlottable(c.curve("横滚"))->selected());
    }
    void aPartlySelectedCurveIsSelectedCompletelyWithItsLegendEntry()
    {
        Canvas c;
        c.show("横滚", {1, 2, 3});
        c.curve("横滚")->setSelectable(QCP::stMultipleDataRanges);
        c.curve("横滚")->setSelection(QCPDataSelection(QCPDataRange(1, 2)));
        emit c.canvas.selectionChangedByUser();
        QCOMPARE(c.curve("横滚")->selection(), QCPDataSelection(QCPDataRange(0, 3)));
        QVERIFY(c.canvas.legend->itemWithPlottable(c.curve("横滚"))->selected());
    }
    void aCurveOutsideTheLegendDoesNotStopTheOthers()
    {
        Canvas c;
        c.show("横滚", {1, 2, 3});
        c.show("俯仰", {1, 2, 3});
        c.curve("横滚")->removeFromLegend();
        c.canvas.legend->itemWithPlottable(c.curve("俯仰"))->setSelected(true);
        emit c.canvas.selectionChangedByUser();
        QVERIFY(c.curve("俯仰")->selected());
    }

    void dragAndWheelMoveTheSelectedAxis_data()
    {
        QTest::addColumn<int>("xParts");
        QTest::addColumn<int>("yParts");
        QTest::addColumn<int>("orientations");
        QTest::newRow("nothing selected")
            << int(QCPAxis::spNone) << int(QCPAxis::spNone) << int(Qt::Horizontal | Qt::Vertical);
        QTest::newRow("x") << int(QCPAxis::spAxis) << int(QCPAxis::spNone) << int(Qt::Horizontal);
        QTest::newRow("y") << int(QCPAxis::spNone) << int(QCPAxis::spAxis) << int(Qt::Vertical);
        QTest::newRow("both: x goes first") << int(QCPAxis::spAxis) << int(QCPAxis::spAxis) << int(Qt::Horizontal);
        QTest::newRow("selected tick labels are ignored")
            << int(QCPAxis::spTickLabels) << int(QCPAxis::spAxisLabel) << int(Qt::Horizontal | Qt::Vertical);
    }
    void dragAndWheelMoveTheSelectedAxis()
    {
        QFETCH(int, xParts);
        QFETCH(int, yParts);
        QFETCH(int, orientations);
        Canvas c;
        c.canvas.xAxis->setSelectedParts(QCPAxis::SelectableParts(xParts));
        c.canvas.yAxis->setSelectedParts(QCPAxis::SelectableParts(yParts));
        c.canvas.axisRect()->setRangeDrag({});
        c.canvas.axisRect()->setRangeZoom({});
        emit c.canvas.mousePress(nullptr);
        QCOMPARE(int(c.canvas.axisRect()->rangeDrag()), orientations);
        QCOMPARE(int(c.canvas.axisRect()->rangeZoom()), 0);
        c.canvas.axisRect()->setRangeDrag({});
        emit c.canvas.mouseWheel(nullptr);
        QCOMPARE(int(c.canvas.axisRect()->rangeZoom()), orientations);
        QCOMPARE(int(c.canvas.axisRect()->rangeDrag()), 0);
    }

    void adaptiveScalingOfThePlaceholderChangesNoRange()
    {
        Canvas c;
        c.canvas.xAxis->setRange(5, 6);
        c.canvas.yAxis->setRange(7, 8);
        c.control.rescaleAllGraphSlot();
        c.control.rescaleAllYSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(5, 6));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(7, 8));
    }
    void rescalingFitsTheSelectedCurve()
    {
        Canvas c;
        c.show("横滚", {-4, 2, 6});
        c.show("俯仰", {100, 200});
        c.select("横滚");
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.canvas.xAxis->setRange(5, 6);
        c.canvas.yAxis->setRange(7, 8);
        c.control.rescaleYSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(5, 6));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-4, 6));
        QCOMPARE(replots.count(), 1);
        c.canvas.yAxis->setRange(7, 8);
        c.control.rescaleGraphSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(Canvas::kStart, Canvas::kStart + 0.4));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(-4, 6));
        QCOMPARE(replots.count(), 2);
    }
    void rescalingWithoutASelectionDoesNothing()
    {
        Canvas c;
        c.show("横滚", {-4, 2, 6});
        c.canvas.xAxis->setRange(5, 6);
        c.canvas.yAxis->setRange(7, 8);
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.control.rescaleYSlot();
        c.control.rescaleGraphSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(5, 6));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(7, 8));
        QCOMPARE(replots.count(), 0);
    }
    void rescalingAllFitsOnlyTheLastCurve()
    {
        Canvas c;
        c.show("横滚", {-4, 2, 6});
        c.show("俯仰", {100, 200});
        c.select("横滚");
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.canvas.xAxis->setRange(5, 6);
        c.control.rescaleAllYSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(5, 6));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(100, 200));
        QCOMPARE(replots.count(), 1);
        c.canvas.yAxis->setRange(7, 8);
        c.control.rescaleAllGraphSlot();
        QCOMPARE(c.canvas.xAxis->range(), QCPRange(Canvas::kStart, Canvas::kStart + 0.2));
        QCOMPARE(c.canvas.yAxis->range(), QCPRange(100, 200));
        QCOMPARE(replots.count(), 2);
    }

    void aFontForASelectedAxisIsSetOnBoth_data()
    {
        QTest::addColumn<bool>("vertical");
        QTest::newRow("x selected") << false;
        QTest::newRow("y selected") << true;
    }
    void aFontForASelectedAxisIsSetOnBoth()
    {
        QFETCH(bool, vertical);
        Canvas c;
        (vertical ? c.canvas.yAxis : c.canvas.xAxis)->setSelectedParts(QCPAxis::spAxis);
        QFont font;
        font.setPointSize(17);
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.control.resetAxisSizeSlot(font);
        QCOMPARE(c.canvas.xAxis->tickLabelFont(), font);
        QCOMPARE(c.canvas.yAxis->tickLabelFont(), font);
        QCOMPARE(replots.count(), 1);
    }
    void aFontWithoutASelectedAxisChangesNothing()
    {
        Canvas c;
        QFont font;
        font.setPointSize(17);
        QSignalSpy replots(&c.canvas, &QCustomPlot::afterReplot);
        c.control.resetAxisSizeSlot(font);
        QCOMPARE(c.canvas.xAxis->tickLabelFont(), eightPoints());
        QCOMPARE(c.canvas.yAxis->tickLabelFont(), eightPoints());
        QCOMPARE(replots.count(), 0);
    }

    void aClickedCurveReportsItsNameIndexAndValue()
    {
        Canvas c;
        c.show("横滚", {1, 0.123456789, -2e10});
        SignalRecord record(c.control);
        for (const int index : {0, 1, 2})
            emit c.canvas.plottableClick(c.curve("横滚"), index, nullptr);
        QCOMPARE(record.take(),
                 (QStringList{"status Clicked on graph '横滚' at data point #0 with value 1.",
                              "status Clicked on graph '横滚' at data point #1 with value 0.123457.",
                              "status Clicked on graph '横滚' at data point #2 with value -2e+10."}));
    }
    void aClickOnADeletedPointReportsNothing()
    {
        Canvas c;
        c.show("横滚", {1, 2, 3});
        SignalRecord record(c.control);
        for (const int index : {3, -1})
            emit c.canvas.plottableClick(c.curve("横滚"), index, nullptr);
        QCOMPARE(record.take(), QStringList());
    }
    void aPlaceMarkerInACurveNameIsReportedUnchanged()
    {
        Canvas c;
        c.show("横滚", {5, 6});
        c.curve("横滚")->setName(QStringLiteral("a%2b%3"));
        SignalRecord record(c.control);
        emit c.canvas.plottableClick(c.canvas.graph(0), 1, nullptr);
        QCOMPARE(record.take(), QStringList("status Clicked on graph 'a%2b%3' at data point #1 with value 6."));
    }

    void theTracerIsDeletedInTheEventLoopAndTheCanvasRemains()
    {
        Fixture fixture;
        QCustomPlot canvas;
        auto control = std::make_unique<MyCustomPlot>(nullptr);
        control->initCustomPlot(&canvas);
        const QPointer<QCPItemTracer> tracer = control->tracer();
        control.reset();
        QVERIFY(tracer);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!tracer);
        QCOMPARE(canvas.itemCount(), 0);
        canvas.replot();
    }
    void aCanvasCanBeDeletedBeforeItsController()
    {
        Fixture fixture;
        auto canvas = std::make_unique<QCustomPlot>();
        auto control = std::make_unique<MyCustomPlot>(nullptr);
        control->initCustomPlot(canvas.get());
        control->myAddGraph(Canvas::channel("横滚", {1, 2}));
        const QPointer<QCPItemTracer> tracer = control->tracer();
        canvas.reset();
        QVERIFY(!tracer);
        control.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

QTEST_MAIN(TestMyCustomPlotCanvas)
#include "TestMyCustomPlotCanvas.moc"
