#include "Canvas.h"
#include "MyCustomPlot.h"

#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

namespace
{

constexpr char kActual[] = "横滚";
constexpr char kTarget[] = "目标横滚";

/** A visible canvas with two constant curves at 10 and 30; the value range is 0 to 40. */
class ShownCanvas : public Canvas
{
public:
    ShownCanvas()
    {
        canvas.show();
        if (!QTest::qWaitForWindowExposed(&canvas))
            qFatal("the canvas does not appear");
        show(kActual, QVector<double>(101, 10.0));
        show(kTarget, QVector<double>(101, 30.0));
        canvas.yAxis->setRange(0, 40);
        canvas.replot();
    }

    using Canvas::show;

    /** The pixel position of a time, in seconds from the start, and a value. */
    QPoint at(double seconds, double value) const
    {
        return {qRound(canvas.xAxis->coordToPixel(kStart + seconds)), qRound(canvas.yAxis->coordToPixel(value))};
    }

    void click(const QPoint &pos, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::mouseClick(&canvas, Qt::LeftButton, modifiers, pos);
    }

    void drag(const QPoint &from, const QPoint &to)
    {
        QTest::mousePress(&canvas, Qt::LeftButton, Qt::NoModifier, from);
        for (const QPoint &pos : {(from + to) / 2, to}) {
            QMouseEvent move(QEvent::MouseMove, pos, canvas.mapToGlobal(pos), Qt::NoButton, Qt::LeftButton,
                             Qt::NoModifier);
            QCoreApplication::sendEvent(&canvas, &move);
        }
        QTest::mouseRelease(&canvas, Qt::LeftButton, Qt::NoModifier, to);
        QCoreApplication::processEvents();
    }

    /** Drags with the given mouse button. */
    void dragWith(Qt::MouseButton button, const QPoint &from, const QPoint &to)
    {
        QTest::mousePress(&canvas, button, Qt::NoModifier, from);
        moveWith(button, (from + to) / 2);
        moveWith(button, to);
        QTest::mouseRelease(&canvas, button, Qt::NoModifier, to);
        QCoreApplication::processEvents();
    }

    /** Moves the mouse pointer with these buttons pressed. */
    void moveWith(Qt::MouseButtons buttons, const QPoint &pos)
    {
        QMouseEvent move(QEvent::MouseMove, pos, canvas.mapToGlobal(pos), Qt::NoButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas, &move);
    }

    /** The painted canvas, without a replot. */
    QImage picture() { return canvas.grab().toImage().convertToFormat(QImage::Format_RGB32); }

    void scrollWheel(const QPoint &pos)
    {
        QWheelEvent wheel(pos, canvas.mapToGlobal(pos), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&canvas, &wheel);
        QCoreApplication::processEvents();
    }

    /** The centre of a legend entry. */
    QPoint legendEntry(const char *name) const
    {
        return canvas.legend->itemWithPlottable(curve(name))->outerRect().center();
    }

    QPoint xAxisLine() const
    {
        const QRect rect = canvas.axisRect()->rect();
        return {rect.center().x(), rect.bottom() + 1};
    }

    QPoint yAxisLine() const
    {
        const QRect rect = canvas.axisRect()->rect();
        return {rect.left() - 1, rect.center().y()};
    }
};

} // namespace

class TestMyCustomPlotGui : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<QCPRange>("QCPRange"); }

    void aClickOnACurveSelectsTheWholeCurveAndItsLegendEntry()
    {
        ShownCanvas c;
        QSignalSpy status(&c.control, &MyCustomPlot::statusShowSignal);
        c.click(c.at(10, 10));
        QCOMPARE(c.curve(kActual)->selection(), QCPDataSelection(QCPDataRange(0, 101)));
        QVERIFY(c.canvas.legend->itemWithPlottable(c.curve(kActual))->selected());
        QVERIFY(!c.curve(kTarget)->selected());
        QVERIFY(!c.canvas.legend->itemWithPlottable(c.curve(kTarget))->selected());
        // The status contains the index and the value of the clicked point.
        QCOMPARE(status.count(), 1);
        const QString text = status.at(0).at(0).toString();
        QVERIFY2(text.startsWith(QStringLiteral("Clicked on graph '横滚' at data point #"))
                     && text.endsWith(QStringLiteral(" with value 10.")),
                 qPrintable(text));
    }
    void aClickOnALegendEntrySelectsItsWholeCurve()
    {
        ShownCanvas c;
        c.click(c.legendEntry(kTarget));
        QCOMPARE(c.curve(kTarget)->selection(), QCPDataSelection(QCPDataRange(0, 101)));
        QVERIFY(!c.curve(kActual)->selected());
    }
    void aClickOnEmptySpaceClearsTheSelection()
    {
        ShownCanvas c;
        c.click(c.at(10, 10));
        c.click(c.at(10, 20));
        QVERIFY(!c.curve(kActual)->selected());
        QVERIFY(!c.canvas.legend->itemWithPlottable(c.curve(kActual))->selected());
    }
    void controlSelectsSeveralCurves()
    {
        ShownCanvas c;
        c.click(c.at(10, 10));
        c.click(c.at(10, 30), Qt::ControlModifier);
        QCOMPARE(c.canvas.selectedGraphs().size(), 2);
        c.click(c.at(10, 30));
        QCOMPARE(c.canvas.selectedGraphs().size(), 1);
    }
    void aClickOnAnAxisSelectsItsLineAndItsTickLabels()
    {
        ShownCanvas c;
        c.click(c.xAxisLine());
        QCOMPARE(c.canvas.xAxis->selectedParts(), QCPAxis::SelectableParts(QCPAxis::spAxis | QCPAxis::spTickLabels));
        QCOMPARE(c.canvas.yAxis->selectedParts(), QCPAxis::SelectableParts(QCPAxis::spNone));
    }

    void aDragMovesBothRanges()
    {
        ShownCanvas c;
        const QCPRange x = c.canvas.xAxis->range();
        const QCPRange y = c.canvas.yAxis->range();
        c.drag(c.at(10, 20), c.at(5, 25));
        QVERIFY(c.canvas.xAxis->range().lower > x.lower);
        QVERIFY(c.canvas.yAxis->range().lower < y.lower);
    }
    void withTheTimeAxisSelectedADragMovesOnlyTheTime()
    {
        ShownCanvas c;
        c.click(c.xAxisLine());
        const QCPRange x = c.canvas.xAxis->range();
        const QCPRange y = c.canvas.yAxis->range();
        QSignalSpy xChanged(c.canvas.xAxis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged));
        QSignalSpy yChanged(c.canvas.yAxis, qOverload<const QCPRange &>(&QCPAxis::rangeChanged));
        c.drag(c.at(10, 20), c.at(5, 25));
        QVERIFY(c.canvas.xAxis->range().lower > x.lower);
        QCOMPARE(c.canvas.yAxis->range(), y);
        // The other canvas uses this signal.
        QVERIFY(xChanged.count() > 0);
        QCOMPARE(yChanged.count(), 0);
    }
    void withTheValueAxisSelectedADragMovesOnlyTheValues()
    {
        ShownCanvas c;
        c.click(c.yAxisLine());
        const QCPRange x = c.canvas.xAxis->range();
        const QCPRange y = c.canvas.yAxis->range();
        c.drag(c.at(10, 20), c.at(5, 25));
        QCOMPARE(c.canvas.xAxis->range(), x);
        QVERIFY(c.canvas.yAxis->range().lower < y.lower);
    }
    void theWheelZoomsTheSelectedAxis()
    {
        ShownCanvas c;
        const QCPRange x = c.canvas.xAxis->range();
        const QCPRange y = c.canvas.yAxis->range();
        c.scrollWheel(c.at(10, 20));
        QVERIFY(c.canvas.xAxis->range().size() < x.size());
        QVERIFY(c.canvas.yAxis->range().size() < y.size());
        c.canvas.xAxis->setRange(x);
        c.canvas.yAxis->setRange(y);
        c.canvas.replot();
        c.click(c.yAxisLine());
        c.scrollWheel(c.at(10, 20));
        QCOMPARE(c.canvas.xAxis->range(), x);
        QVERIFY(c.canvas.yAxis->range().size() < y.size());
    }
    void aDragInTouchModeZoomsToTheRectangle()
    {
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QPoint from = c.at(5, 30);
        const QPoint to = c.at(15, 10);
        const QCPRange x(c.canvas.xAxis->pixelToCoord(from.x()), c.canvas.xAxis->pixelToCoord(to.x()));
        const QCPRange y(c.canvas.yAxis->pixelToCoord(to.y()), c.canvas.yAxis->pixelToCoord(from.y()));
        const double secondsPerPixel = c.canvas.xAxis->range().size() / c.canvas.axisRect()->width();
        const double unitsPerPixel = c.canvas.yAxis->range().size() / c.canvas.axisRect()->height();
        c.drag(from, to);
        QVERIFY(qAbs(c.canvas.xAxis->range().lower - x.lower) < 2 * secondsPerPixel);
        QVERIFY(qAbs(c.canvas.xAxis->range().upper - x.upper) < 2 * secondsPerPixel);
        QVERIFY(qAbs(c.canvas.yAxis->range().lower - y.lower) < 2 * unitsPerPixel);
        QVERIFY(qAbs(c.canvas.yAxis->range().upper - y.upper) < 2 * unitsPerPixel);
    }
    void onlyTheLeftButtonZoomsInTouchMode_data()
    {
        QTest::addColumn<int>("button");
        QTest::newRow("right") << int(Qt::RightButton);
        QTest::newRow("middle") << int(Qt::MiddleButton);
        QTest::newRow("back") << int(Qt::BackButton);
    }
    void onlyTheLeftButtonZoomsInTouchMode()
    {
        QFETCH(int, button);
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QCPRange x = c.canvas.xAxis->range();
        const QCPRange y = c.canvas.yAxis->range();
        c.dragWith(Qt::MouseButton(button), c.at(5, 30), c.at(15, 10));
        QCOMPARE(c.canvas.xAxis->range(), x);
        QCOMPARE(c.canvas.yAxis->range(), y);
        // Its release does not end a drag with the left button.
        QTest::mousePress(&c.canvas, Qt::LeftButton, Qt::NoModifier, c.at(5, 30));
        QTest::mousePress(&c.canvas, Qt::MouseButton(button), Qt::NoModifier, c.at(5, 30));
        c.moveWith(Qt::LeftButton | Qt::MouseButton(button), c.at(15, 10));
        QTest::mouseRelease(&c.canvas, Qt::MouseButton(button), Qt::NoModifier, c.at(15, 10));
        QCoreApplication::processEvents();
        QCOMPARE(c.canvas.xAxis->range(), x);
        QTest::mouseRelease(&c.canvas, Qt::LeftButton, Qt::NoModifier, c.at(15, 10));
        QVERIFY(c.canvas.xAxis->range().size() < x.size());
    }
    void aRightClickInTouchModeLeavesNoRectangle()
    {
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QImage before = c.picture();
        // The menu opens on the press and receives the release.
        QTest::mousePress(&c.canvas, Qt::RightButton, Qt::NoModifier, c.at(5, 30));
        c.moveWith(Qt::NoButton, c.at(15, 20));
        QVERIFY(!c.canvas.selectionRect()->isActive());
        QCOMPARE(c.picture(), before);
    }
    void aRectangleWithoutAReleaseEndsAtTheNextMove()
    {
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QCPRange x = c.canvas.xAxis->range();
        const QImage before = c.picture();
        QTest::mousePress(&c.canvas, Qt::LeftButton, Qt::NoModifier, c.at(5, 30));
        c.moveWith(Qt::LeftButton, c.at(10, 20));
        QVERIFY(c.canvas.selectionRect()->isActive());
        QVERIFY(c.picture() != before);
        // A dialog or menu received the release, so the button is up when the pointer returns.
        c.moveWith(Qt::NoButton, c.at(15, 15));
        QVERIFY(!c.canvas.selectionRect()->isActive());
        QCOMPARE(c.picture(), before);
        QCOMPARE(c.canvas.xAxis->range(), x);
    }
    void openingAMenuEndsTheZoomRectangle()
    {
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QImage before = c.picture();
        QTest::mousePress(&c.canvas, Qt::LeftButton, Qt::NoModifier, c.at(5, 30));
        c.moveWith(Qt::LeftButton, c.at(10, 20));
        QContextMenuEvent event(QContextMenuEvent::Keyboard, c.at(10, 20), c.canvas.mapToGlobal(c.at(10, 20)));
        QCoreApplication::sendEvent(&c.canvas, &event);
        QVERIFY(!c.canvas.selectionRect()->isActive());
        QCOMPARE(c.picture(), before);
    }
    void aClickInTouchModePaintsNothing()
    {
        ShownCanvas c;
        c.control.switchRectMode(true);
        const QImage before = c.picture();
        const QPoint pos = c.at(5, 20);
        QTest::mousePress(&c.canvas, Qt::LeftButton, Qt::NoModifier, pos);
        c.moveWith(Qt::LeftButton, pos + QPoint(1, 1));
        QTest::mouseRelease(&c.canvas, Qt::LeftButton, Qt::NoModifier, pos + QPoint(1, 1));
        QCOMPARE(c.picture(), before);
    }
    void theZoomRectangleIsVisibleInBothThemes_data()
    {
        QTest::addColumn<int>("theme");
        QTest::newRow("day") << int(lightTheme);
        QTest::newRow("night") << int(darkTheme);
    }
    void theZoomRectangleIsVisibleInBothThemes()
    {
        QFETCH(int, theme);
        ShownCanvas c;
        c.control.switchThemeSlot(MyThemes(theme));
        c.control.switchRectMode(true);
        const QImage before = c.picture();
        const QPoint from = c.at(3, 35);
        const QPoint to = c.at(17, 5);
        QTest::mousePress(&c.canvas, Qt::LeftButton, Qt::NoModifier, from);
        c.moveWith(Qt::LeftButton, to);
        const QImage during = c.picture();
        const double ratio = c.canvas.devicePixelRatioF();
        const QRect inside = QRect(from, to).adjusted(3, 3, -3, -3);
        QVERIFY(inside.width() > 50 && inside.height() > 20);
        // Every pixel inside visibly changes its colour, but grid and curves remain visible.
        QSet<QRgb> colours;
        int changed = 0;
        int pixels = 0;
        for (int row = inside.top(); row <= inside.bottom(); ++row) {
            for (int column = inside.left(); column <= inside.right(); ++column) {
                const QPoint pixel = (QPointF(column, row) * ratio).toPoint();
                const QColor a = before.pixelColor(pixel);
                const QColor b = during.pixelColor(pixel);
                colours.insert(b.rgb());
                ++pixels;
                changed += qAbs(a.red() - b.red()) + qAbs(a.green() - b.green()) + qAbs(a.blue() - b.blue()) > 24;
            }
        }
        QVERIFY2(changed > pixels * 9 / 10, qPrintable(QStringLiteral("%1 of %2").arg(changed).arg(pixels)));
        QVERIFY(colours.size() >= 3);
        QTest::mouseRelease(&c.canvas, Qt::LeftButton, Qt::NoModifier, to);
    }
    void aRightClickRequestsTheContextMenu()
    {
        ShownCanvas c;
        QSignalSpy menus(&c.canvas, &QWidget::customContextMenuRequested);
        QContextMenuEvent event(QContextMenuEvent::Mouse, c.at(10, 20), c.canvas.mapToGlobal(c.at(10, 20)));
        QCoreApplication::sendEvent(&c.canvas, &event);
        QCOMPARE(menus.count(), 1);
        QCOMPARE(menus.at(0).at(0).toPoint(), c.at(10, 20));
    }
    void theCrosshairIsPaintedAtTheSample()
    {
        ShownCanvas c;
        c.click(c.at(10, 10));
        c.moveTo(c.at(10, 25));
        const QImage image = c.canvas.grab().toImage();
        // A red line in the column of the sample. Antialiasing may spread it over two columns. Nothing else is red.
        int red = 0;
        const QPoint sample = c.at(10, 10);
        for (int row = c.canvas.axisRect()->top() + 1; row < c.canvas.axisRect()->bottom(); ++row) {
            for (int column = sample.x() - 1; column <= sample.x() + 1; ++column) {
                const QColor color = image.pixelColor(column, row);
                if (color.red() - qMax(color.green(), color.blue()) > 60) {
                    ++red;
                    break;
                }
            }
        }
        QVERIFY2(red > c.canvas.axisRect()->height() * 3 / 4, qPrintable(QString::number(red)));
    }
};

QTEST_MAIN(TestMyCustomPlotGui)
#include "TestMyCustomPlotGui.moc"
