#pragma once

#include <Qt>

class QCustomPlot;

/** What a selection on a canvas means. */
namespace canvasselection
{

/** Selects what belongs together: both axes of a pair, a curve as a whole and its legend entry. */
void complete(QCustomPlot *plot);

/** The axes that drag and wheel act on: the one whose line is selected, the time axis first, else both. */
Qt::Orientations orientations(const QCustomPlot *plot);

} // namespace canvasselection
