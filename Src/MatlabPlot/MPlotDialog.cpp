#include "MPlotDialog.h"

#include "MatlabPlot.h"
#include "TrackNote.h"
#include "ui_MPlotDialog.h"

#include <QThread>

MPlotDialog::MPlotDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::MPlotDialog>())
{
    m_ui->setupUi(this);
    setWindowTitle(tr("init..."));
    setButtonsEnabled(false);
    m_ui->label->setAlignment(Qt::AlignHCenter);

    m_matlabPlot = new MatlabPlot(nullptr);
    m_thread = new QThread(nullptr);
    m_matlabPlot->moveToThread(m_thread);
    connect(m_thread, &QThread::started, m_matlabPlot, &MatlabPlot::init);
    // Direct, since a thread may be told to quit from anywhere: so it also ends when the main loop has ended before.
    connect(m_matlabPlot, &QObject::destroyed, m_thread, &QThread::quit, Qt::DirectConnection);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);

    connect(this, &MPlotDialog::plotHeightSignal, m_matlabPlot, &MatlabPlot::plotHeightSlot);
    connect(this, &MPlotDialog::plotXYSignal, m_matlabPlot, &MatlabPlot::plotXYSlot);
    connect(this, &MPlotDialog::plotXYZSignal, m_matlabPlot, &MatlabPlot::plotXYZSlot);
    connect(this, &MPlotDialog::plotAttackSignal, m_matlabPlot, &MatlabPlot::plotAttackSlot);
    connect(m_matlabPlot, &MatlabPlot::initFinished, this, &MPlotDialog::initFinishedSlot);
    connect(m_matlabPlot, &MatlabPlot::matlabInitFailedSignal, this, &MPlotDialog::matlabInitFailedSlot);
    // Started after all connections: a library that is missing fails at once. Its signal would have no receiver yet,
    // and the title would say "init..." for ever.
    m_thread->start(QThread::InheritPriority);
}

MPlotDialog::~MPlotDialog()
{
    // An engine that is still starting or hangs is given up; the thread is there as long as the worker is.
    m_thread->requestInterruption();
    // Clicks that wait in its queue still run; what is left of the connections would have the worker's end, on its own
    // thread, look at a dialog that is going.
    disconnect(this, nullptr, m_matlabPlot, nullptr);
    disconnect(m_matlabPlot, nullptr, this, nullptr);
    MatlabPlot::handOver();
    m_matlabPlot->deleteLater();
    m_matlabPlot = nullptr;
}

void MPlotDialog::init()
{
    showTrackNote(m_ui->label, tr("use last data"));
}

void MPlotDialog::initFinishedSlot()
{
    setButtonsEnabled(true);
    setWindowTitle(tr("MPlot"));
}

void MPlotDialog::matlabInitFailedSlot()
{
    setWindowTitle(tr("Init Failed"));
    m_ui->label->setText(
        QStringLiteral("cannot use this module,because matlab module init failed!\nplease check matlab environment"));
    m_ui->label->adjustSize();
}

void MPlotDialog::on_btnHeight_clicked()
{
    emit plotHeightSignal();
}

void MPlotDialog::on_btn2D_clicked()
{
    emit plotXYSignal();
}

void MPlotDialog::on_btn3D_All_clicked()
{
    emit plotXYZSignal();
}

void MPlotDialog::on_btn3D_Attack_clicked()
{
    emit plotAttackSignal();
}

void MPlotDialog::setButtonsEnabled(bool enabled)
{
    for (QPushButton *button : {m_ui->btnHeight, m_ui->btn2D, m_ui->btn3D_All, m_ui->btn3D_Attack})
        button->setEnabled(enabled);
}
