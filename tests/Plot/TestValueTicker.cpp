#include "Canvas.h"

#include <QFontMetrics>
#include <QRegularExpression>
#include <QTest>
#include <cmath>

namespace
{

/** A visible canvas with the given size and tick label font size. */
class SizedCanvas : public Canvas
{
public:
    explicit SizedCanvas(const QSize &size, int points = 8)
    {
        canvas.resize(size);
        canvas.show();
        if (!QTest::qWaitForWindowExposed(&canvas))
            qFatal("the canvas does not appear");
        canvas.yAxis->setSelectedParts(QCPAxis::spAxis);
        QFont font;
        font.setPointSize(points);
        control.resetAxisSizeSlot(font);
    }

    QStringList valueLabels(double lower, double upper)
    {
        canvas.yAxis->setRange(lower, upper);
        canvas.replot();
        return canvas.yAxis->tickVectorLabels().toList();
    }
};

/** Number of significant digits of a label. */
int digitsOf(QString label)
{
    label.remove(QRegularExpression(QStringLiteral("e.*$"))).remove(QLatin1Char('-')).remove(QLatin1Char('.'));
    label.remove(QRegularExpression(QStringLiteral("^0+")));
    return label.size();
}

} // namespace

class TestValueTicker : public QObject
{
    Q_OBJECT

private slots:
    void labelsHaveNoUnneededDigits_data()
    {
        QTest::addColumn<double>("lower");
        QTest::addColumn<double>("upper");
        QTest::addColumn<QStringList>("labels");
        // The ticker aims at five steps of 1, 2, 2.5 or 5 times a power of ten.
        QTest::newRow("one") << 0.0 << 1.0 << QStringList{"0", "0.2", "0.4", "0.6", "0.8", "1"};
        QTest::newRow("both signs") << -1.0 << 1.0 << QStringList{"-1", "-0.5", "0", "0.5", "1"};
        QTest::newRow("two and a half") << 0.0 << 12.5 << QStringList{"0", "2.5", "5", "7.5", "10", "12.5"};
        QTest::newRow("a narrow range") << 113.69999
                                        << 113.70005
                - 4e-6 << QStringList{"113.69999", "113.7", "113.70001", "113.70002", "113.70003", "113.70004"};
        QTest::newRow("two and a half of a narrow range")
            << 113.7 << 113.700125 + 1e-9
            << QStringList{"113.7", "113.700025", "113.70005", "113.700075", "113.7001", "113.700125"};
        QTest::newRow("seven digits") << 1234567.0 << 1234572.0
                                      << QStringList{"1234567", "1234568", "1234569", "1234570", "1234571", "1234572"};
        QTest::newRow("twelve digits") << 1.0 - 5e-12
                                       << 1.0
                + 4.5e-11 << QStringList{"1", "1.00000000001", "1.00000000002", "1.00000000003", "1.00000000004"};
        QTest::newRow("a thousand million")
            << 0.0 << 1e9 << QStringList{"0", "2e+08", "4e+08", "6e+08", "8e+08", "1e+09"};
        QTest::newRow("a millionth") << 0.0 << 1e-6 + 1e-12
                                     << QStringList{"0", "2e-07", "4e-07", "6e-07", "8e-07", "1e-06"};
    }
    void labelsHaveNoUnneededDigits()
    {
        QFETCH(double, lower);
        QFETCH(double, upper);
        QFETCH(QStringList, labels);
        SizedCanvas c(QSize(800, 500));
        QCOMPARE(c.valueLabels(lower, upper), labels);
    }
    void adjacentLabelsDifferAtEveryZoom_data()
    {
        QTest::addColumn<double>("centre");
        for (const double centre : {0.0, 113.7, -113.7, 0.00012345, 99999.9, 1234567.8, -1e9})
            QTest::addRow("around %g", centre) << centre;
    }
    void adjacentLabelsDifferAtEveryZoom()
    {
        QFETCH(double, centre);
        SizedCanvas c(QSize(800, 500));
        for (double size = 1e7; size > 1e-13; size /= 1.7) {
            const QStringList labels = c.valueLabels(centre - size / 2, centre + size / 2.2);
            const QVector<double> ticks = c.canvas.yAxis->tickVector();
            QCOMPARE(labels.size(), ticks.size());
            for (int i = 0; i < labels.size(); ++i) {
                QVERIFY2(digitsOf(labels[i]) <= 12, qPrintable(labels[i]));
                QVERIFY2(i == 0 || labels[i].isEmpty() || labels[i] != labels[i - 1], qPrintable(labels.join(' ')));
            }
            if (ticks.size() < 2)
                continue;
            // If twelve digits are enough, each label equals its tick and has no unneeded digit.
            const double step = ticks[1] - ticks[0];
            const double largest = qMax(qAbs(ticks.first()), qAbs(ticks.last()));
            if (std::log10(largest / step) > 10)
                continue;
            int longest = 0;
            for (int i = 0; i < labels.size(); ++i) {
                QVERIFY2(qAbs(labels[i].toDouble() - ticks[i]) <= step / 1000, qPrintable(labels.join(' ')));
                longest = qMax(longest, digitsOf(labels[i]));
            }
            if (longest <= 6)
                continue;
            bool fewerDigitsAreEnough = true;
            for (const double tick : ticks) {
                if (qAbs(QString::number(tick, 'g', longest - 1).toDouble() - tick) > step / 1000)
                    fewerDigitsAreEnough = false;
            }
            QVERIFY2(!fewerDigitsAreEnough, qPrintable(labels.join(' ')));
        }
    }
    void aRangeBelowTwelveDigitsHasOneLabel()
    {
        SizedCanvas c(QSize(800, 500));
        QStringList labels = c.valueLabels(113.7, 113.7 + 1e-12);
        QVERIFY(!labels.isEmpty());
        labels.removeAll(QString());
        QCOMPARE(labels, QStringList("113.7"));
        // A range of one ulp must not crash.
        c.valueLabels(1e9, std::nextafter(1e9, 2e9));
    }
    void labelsDoNotOverlap_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("size");
        for (const int height : {120, 150, 200, 300, 700}) {
            for (const int size : {6, 8, 14, 24, 40})
                QTest::addRow("%d points on %d pixels", size, height) << height << size;
        }
    }
    void labelsDoNotOverlap()
    {
        QFETCH(int, height);
        QFETCH(int, size);
        SizedCanvas c(QSize(900, height), size);
        const QFontMetrics metrics(c.canvas.yAxis->tickLabelFont());
        for (double range = 1; range < 100; range *= 1.13) {
            c.valueLabels(-range / 3, range);
            c.canvas.xAxis->setRange(Canvas::kStart, Canvas::kStart + range * 60);
            c.canvas.replot();
            for (const QCPAxis *const axis : {c.canvas.yAxis, c.canvas.xAxis}) {
                const QVector<double> ticks = axis->tickVector();
                const int room = axis == c.canvas.yAxis ? metrics.height() : metrics.horizontalAdvance("2023-11-15");
                for (int i = 1; i < ticks.size(); ++i) {
                    const double apart = qAbs(axis->coordToPixel(ticks[i]) - axis->coordToPixel(ticks[i - 1]));
                    QVERIFY2(apart >= room, qPrintable(QStringLiteral("%1 of %2").arg(apart).arg(room)));
                }
            }
        }
    }
    void aLargeAxisHasAllTicks()
    {
        SizedCanvas c(QSize(900, 600));
        QCOMPARE(c.valueLabels(0, 100).size(), 6);
        c.canvas.xAxis->setRange(Canvas::kStart, Canvas::kStart + 3000);
        c.canvas.replot();
        QCOMPARE(c.canvas.xAxis->tickVector().size(), 5);
    }
    void aResizedCanvasFitsItsTicksAtOnce()
    {
        SizedCanvas c(QSize(900, 600));
        c.valueLabels(0, 100);
        // Room for three labels with any font.
        const int around = c.canvas.height() - c.canvas.axisRect()->height();
        const QSize low(300, around + 3 * QFontMetrics(c.canvas.yAxis->tickLabelFont()).height());
        c.canvas.resize(low);
        QTRY_COMPARE(c.canvas.viewport().size(), low);
        const int few = c.canvas.yAxis->tickVector().size();
        QVERIFY(few < 6);
        const int fewTimes = c.canvas.xAxis->tickVector().size();
        // Another replot changes nothing.
        c.canvas.replot();
        QCOMPARE(c.canvas.yAxis->tickVector().size(), few);
        QCOMPARE(c.canvas.xAxis->tickVector().size(), fewTimes);
        c.canvas.resize(900, 600);
        QTRY_COMPARE(c.canvas.viewport().size(), QSize(900, 600));
        QCOMPARE(c.canvas.yAxis->tickVector().size(), 6);
    }
    void aSelectedAxisKeepsItsFont()
    {
        SizedCanvas c(QSize(800, 500), 8);
        for (const int size : {8, 17}) {
            QFont font;
            font.setPointSize(size);
            c.control.resetAxisSizeSlot(font);
            for (const QCPAxis *const axis : {c.canvas.xAxis, c.canvas.yAxis})
                QCOMPARE(axis->selectedTickLabelFont(), font);
        }
    }
    void theLabelsOfASelectedAxisAreNotCutOff()
    {
        SizedCanvas c(QSize(800, 500), 17);
        c.canvas.deselectAll();
        c.canvas.yAxis->setTickLabelColor(Qt::white);
        c.valueLabels(113.7245, 113.7265);
        // The first column that the labels use, left of the axis.
        const auto firstColumn = [&c] {
            const QImage image = c.canvas.grab().toImage();
            const QColor background = image.pixelColor(0, 0);
            for (int column = 0; column < c.canvas.axisRect()->left() - 8; ++column) {
                for (int row = 0; row < c.canvas.axisRect()->bottom(); ++row) {
                    if (image.pixelColor(column, row) != background)
                        return column;
                }
            }
            return -1;
        };
        const int plain = firstColumn();
        c.canvas.yAxis->setSelectedParts(QCPAxis::spAxis | QCPAxis::spTickLabels);
        c.canvas.replot();
        QVERIFY(plain >= 0);
        QVERIFY(qAbs(firstColumn() - plain) <= 1);
    }
};

QTEST_MAIN(TestValueTicker)
#include "TestValueTicker.moc"
