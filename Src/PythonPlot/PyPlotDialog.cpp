#include "PyPlotDialog.h"

#include "FigureArea.h"
#include "PythonPlot.h"
#include "TrackNote.h"
#include "ui_PyPlotDialog.h"

#include <QScreen>
#include <QShowEvent>

PyPlotDialog::PyPlotDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PyPlotDialog>())
{
    m_ui->setupUi(this);
    setWindowTitle(tr("PyPlot"));
    m_ui->label->setAlignment(Qt::AlignHCenter);
    m_pythonPlot = std::make_unique<PythonPlot>(nullptr);
}

PyPlotDialog::~PyPlotDialog() = default;

void PyPlotDialog::init()
{
    showTrackNote(m_ui->label, tr("use last data"));
}

void PyPlotDialog::on_pushButton_clicked()
{
    keepButtonsFree();
    m_pythonPlot->plotHeightSlot();
}

void PyPlotDialog::on_pushButton_2_clicked()
{
    keepButtonsFree();
    m_pythonPlot->plotXYSlot();
}

void PyPlotDialog::on_pushButton_3_clicked()
{
    keepButtonsFree();
    m_pythonPlot->plotXYZSlot();
}

void PyPlotDialog::on_pushButton_4_clicked()
{
    keepButtonsFree();
    m_pythonPlot->plotAttackSlot();
}

void PyPlotDialog::on_pushButton_5_clicked()
{
    keepButtonsFree();
    m_pythonPlot->pythonPlotDemo();
}

void PyPlotDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    // A dialog in the centre of a screen of 1366 pixels would leave no room for a figure on either side.
    if (!event->spontaneous()) {
        const QRect available = screen()->availableGeometry();
        move(available.left(), available.top() + (available.height() - height()) / 2);
    }
}

void PyPlotDialog::keepButtonsFree()
{
    const QRect area = figureArea(frameGeometry(), screen()->availableGeometry());
    // The script uses native pixels, Qt uses logical ones.
    m_pythonPlot->setFigureArea(nativePixels(area, screen()->geometry().topLeft(), screen()->devicePixelRatio()));
}
