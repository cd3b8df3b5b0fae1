#pragma once

#include "MyThemes.h"

#include <QPen>

class QCustomPlot;

/** How a canvas looks: legend, axes and the two themes. */
namespace canvaslook
{

/** A pen of width 1 with square cap and bevel join. */
QPen linePen(const QColor &color, Qt::PenStyle style = Qt::SolidLine);

/** Styles the legend and moves it below the axis rect. */
void dressLegend(QCustomPlot *plot);

/** Sets up tickers, ranges, fonts and pens of the axes. Ticks then adapt to the size of the axis rect. */
void dressAxes(QCustomPlot *plot);

/** Sets the font of the tick labels of both axes, for the normal and the selected state. */
void setTickLabelFont(QCustomPlot *plot, const QFont &font);

/** Applies the light or the dark theme; any other value is ignored. */
void setTheme(QCustomPlot *plot, MyThemes theme);

} // namespace canvaslook
