#include "CanvasLook.h"

#include "TimeTicker.h"
#include "ValueTicker.h"

#include <qcustomplot.h>

namespace canvaslook
{

namespace
{

constexpr int kSmallPointSize = 8;
constexpr int kLegendColumns = 6;
constexpr int kLegendAlpha = 150;
constexpr QSize kMinAxisRect(50, 10);
constexpr QRgb kSelected = qRgb(200, 90, 0); // readable in both themes and not used for anything else

/** The colours of a theme. */
struct ThemeLook {
    QColor background;
    QColor base;
    QColor tick;
    QColor subTick;
    QColor tickLabel;
    QColor grid;
    QColor subGrid;
    QColor zeroLine;
    QColor legend;
    QColor legendText;
};

ThemeLook dayLook()
{
    ThemeLook look;
    look.background = Qt::white;
    look.base = Qt::black;
    look.tick = Qt::green;
    look.subTick = Qt::black;
    look.tickLabel = QColor(6, 107, 248);
    look.grid = QColor(140, 0, 0);
    look.subGrid = QColor(80, 80, 80);
    look.zeroLine = Qt::black;
    look.legend = QColor(255, 255, 255, kLegendAlpha);
    look.legendText = Qt::black;
    return look;
}

ThemeLook nightLook()
{
    ThemeLook look;
    look.background = QColor(53, 53, 53);
    look.base = Qt::white;
    look.tick = Qt::white;
    look.subTick = Qt::white;
    look.tickLabel = Qt::white;
    look.grid = Qt::white;
    look.subGrid = Qt::white;
    look.zeroLine = Qt::white;
    look.legend = QColor(53, 53, 53, kLegendAlpha);
    look.legendText = Qt::white;
    return look;
}

QFont smallFont()
{
    QFont font;
    font.setPointSize(kSmallPointSize);
    return font;
}

void setAxisLook(QCPAxis *axis, const ThemeLook &look)
{
    axis->setBasePen(linePen(look.base));
    axis->setTickPen(linePen(look.tick));
    axis->setSubTickPen(linePen(look.subTick));
    axis->setTickLabelColor(look.tickLabel);
    axis->grid()->setPen(linePen(look.grid, Qt::DashLine));
    axis->grid()->setSubGridPen(linePen(look.subGrid, Qt::DotLine));
}

void setLook(QCustomPlot *plot, const ThemeLook &look)
{
    plot->setBackground(QBrush(look.background));
    setAxisLook(plot->xAxis, look);
    setAxisLook(plot->yAxis, look);
    plot->yAxis->grid()->setZeroLinePen(linePen(look.zeroLine));
    plot->legend->setBrush(QBrush(look.legend));
    plot->legend->setTextColor(look.legendText);
}

/**
 * The library chooses the ticks before the layout, for the old size of the axis rect. Repeats the layout when the size
 * changes.
 */
void keepTicksFitting(QCustomPlot *plot)
{
    const auto fit = [plot, fitted = QSize()]() mutable {
        constexpr int kMaxPasses = 3;
        for (int pass = 0; pass < kMaxPasses && plot->axisRect()->size() != fitted; ++pass) {
            fitted = plot->axisRect()->size();
            for (const auto phase :
                 {QCPLayoutElement::upPreparation, QCPLayoutElement::upMargins, QCPLayoutElement::upLayout})
                plot->plotLayout()->update(phase);
        }
    };
    QObject::connect(plot, &QCustomPlot::afterLayout, plot, fit);
}

} // namespace

QPen linePen(const QColor &color, Qt::PenStyle style)
{
    return {QBrush(color), 1, style};
}

void dressLegend(QCustomPlot *plot)
{
    constexpr double kLegendStretch = 0.001;

    QCPLegend *const legend = plot->legend;
    legend->setFont(smallFont());
    // Same font, so that an entry keeps its size when it is selected.
    legend->setSelectedFont(smallFont());
    // The library's default blue is not readable in the dark theme.
    legend->setSelectedTextColor(kSelected);
    legend->setMargins(QMargins());
    legend->setRowSpacing(-3);
    legend->setBrush(QBrush(QColor(53, 53, 53, kLegendAlpha)));
    legend->setFillOrder(QCPLayoutGrid::foColumnsFirst, true);
    legend->setWrap(kLegendColumns);
    legend->setVisible(true);
    // addElement() also removes the legend from its old layout, the inset of the axis rect.
    plot->plotLayout()->addElement(1, 0, legend);
    plot->plotLayout()->setRowStretchFactor(1, kLegendStretch);
    legend->setMargins(QMargins(200, 1, 10, 1));
    legend->setBorderPen(QPen(Qt::NoPen));
    // An empty legend would limit the column, and so the axis rect, to the width of its margins.
    legend->setSizeConstraintRect(QCPLayoutElement::scrOuterRect);
    legend->setMaximumSize(QWIDGETSIZE_MAX - 1, QWIDGETSIZE_MAX);
}

void dressAxes(QCustomPlot *plot)
{
    plot->xAxis->setTicker(QSharedPointer<TimeTicker>::create(plot->xAxis));
    plot->yAxis->setTicker(QSharedPointer<ValueTicker>::create(plot->yAxis));
    keepTicksFitting(plot);

    plot->axisRect()->setupFullAxesBox(false);
    // On a low canvas only the axis rect shrinks. Otherwise the library also shrinks the legend and cuts off its last
    // line.
    plot->axisRect()->setMinimumSize(kMinAxisRect);
    plot->xAxis->setRange(0, 1);
    plot->yAxis->setRange(-1, 1);
    for (QCPAxis *const axis : {plot->xAxis, plot->yAxis}) {
        axis->setSelectableParts(QCPAxis::spAxis | QCPAxis::spTickLabels | QCPAxis::spAxisLabel);
        axis->setLabelFont(smallFont());
        axis->setSelectedLabelFont(smallFont());
        axis->setTickLabels(true);
        axis->setUpperEnding(QCPLineEnding(QCPLineEnding::esSpikeArrow, 8, 10, false));
        axis->setBasePen(linePen(Qt::black));
        axis->setTickPen(linePen(Qt::green));
        axis->setSubTickPen(linePen(Qt::black));
        const QPen selected(QColor(kSelected), 2);
        axis->setSelectedBasePen(selected);
        axis->setSelectedTickPen(selected);
        axis->setSelectedSubTickPen(selected);
        axis->setSelectedTickLabelColor(kSelected);
        axis->setSelectedLabelColor(kSelected);
        axis->grid()->setPen(linePen(QColor(140, 0, 0), Qt::DashLine));
        axis->grid()->setSubGridPen(linePen(QColor(80, 80, 80), Qt::DotLine));
        axis->grid()->setSubGridVisible(true);
    }
    setTickLabelFont(plot, smallFont());
    plot->xAxis->grid()->setZeroLinePen(QPen(Qt::NoPen));
    for (QCPAxis *const axis : {plot->xAxis2, plot->yAxis2}) {
        axis->setTickLabels(false);
        axis->setVisible(false);
    }
}

void setTickLabelFont(QCustomPlot *plot, const QFont &font)
{
    for (QCPAxis *const axis : {plot->xAxis, plot->yAxis}) {
        axis->setTickLabelFont(font);
        // The margin is computed for this font, so a larger selected font would be cut off. The colour marks the
        // selection.
        axis->setSelectedTickLabelFont(font);
    }
}

void setTheme(QCustomPlot *plot, MyThemes theme)
{
    if (theme == lightTheme)
        setLook(plot, dayLook());
    else if (theme == darkTheme)
        setLook(plot, nightLook());
}

} // namespace canvaslook
