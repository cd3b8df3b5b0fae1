#include "PyPlotDialog.h"

#include "ChannelStore.h"
#include "Logging.h"
#include "PythonPlot.h"
#include "ui_PyPlotDialog.h"

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
    if (!dataRead) {
        m_ui->label->setText(tr("use last data"));
        m_ui->label->adjustSize();
        logToBoth(warn, "data has not been read,use last data");
    } else {
        m_ui->label->setText(QStringLiteral(" "));
    }
}

void PyPlotDialog::on_pushButton_clicked()
{
    m_pythonPlot->plotHeightSlot();
}

void PyPlotDialog::on_pushButton_2_clicked()
{
    m_pythonPlot->plotXYSlot();
}

void PyPlotDialog::on_pushButton_3_clicked()
{
    m_pythonPlot->plotXYZSlot();
}

void PyPlotDialog::on_pushButton_4_clicked()
{
    m_pythonPlot->plotAttackSlot();
}

void PyPlotDialog::on_pushButton_5_clicked()
{
    m_pythonPlot->pythonPlotDemo();
}
