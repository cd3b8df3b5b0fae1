#include "CanvasSelection.h"

#include <qcustomplot.h>

namespace canvasselection
{

namespace
{

/** Selects both axes of an opposite pair when one is selected. */
void selectTogether(QCPAxis *axis, QCPAxis *opposite)
{
    const QCPAxis::SelectableParts parts = QCPAxis::spAxis | QCPAxis::spTickLabels;
    if (!((axis->selectedParts() | opposite->selectedParts()) & parts))
        return;
    axis->setSelectedParts(parts);
    opposite->setSelectedParts(parts);
}

} // namespace

void complete(QCustomPlot *plot)
{
    selectTogether(plot->xAxis, plot->xAxis2);
    selectTogether(plot->yAxis, plot->yAxis2);

    for (int i = 0; i < plot->graphCount(); ++i) {
        QCPGraph *const curve = plot->graph(i);
        QCPPlottableLegendItem *const item = plot->legend->itemWithPlottable(curve);
        if (!item || !(item->selected() || curve->selected()))
            continue;
        item->setSelected(true);
        curve->setSelection(QCPDataSelection(curve->data()->dataRange()));
    }
}

Qt::Orientations orientations(const QCustomPlot *plot)
{
    for (const QCPAxis *const axis : {plot->xAxis, plot->yAxis}) {
        if (axis->selectedParts().testFlag(QCPAxis::spAxis))
            return axis->orientation();
    }
    return Qt::Horizontal | Qt::Vertical;
}

} // namespace canvasselection
