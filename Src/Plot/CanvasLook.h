#pragma once

#include "MyThemes.h"

#include <QPen>

class QCustomPlot;

/** How a canvas looks: legend, axes and the two themes. */
namespace canvaslook
{

/** A pen of width 1 with square cap and bevel join. */
QPen linePen(const QColor &color, Qt::PenStyle style = Qt::SolidLine);

/** Puts the legend under the axis rect. */
void dressLegend(QCustomPlot *plot);

/** Sets up tickers, ranges, fonts and pens of the axes. Ticks follow the size of the axis rect from then on. */
void dressAxes(QCustomPlot *plot);

/** The numbers of both axes keep this font when their axis is selected. */
void setTickLabelFont(QCustomPlot *plot, const QFont &font);

/** Dresses for day or night; any other value changes nothing. */
void setTheme(QCustomPlot *plot, MyThemes theme);

} // namespace canvaslook
