#pragma once

#include <Qt>

class QCustomPlot;

/** Selection rules of a canvas. */
namespace canvasselection
{

/** Extends the selection: to both axes of a pair, to the whole curve, and to a curve's legend entry and vice versa. */
void complete(QCustomPlot *plot);

/** The axes that drag and wheel act on: the selected axis (the time axis if both are selected), otherwise both. */
Qt::Orientations orientations(const QCustomPlot *plot);

} // namespace canvasselection
