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
    // Direct, so that the thread also quits when the main event loop has already ended. quit() is thread-safe.
    connect(m_matlabPlot, &QObject::destroyed, m_thread, &QThread::quit, Qt::DirectConnection);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);

    connect(this, &MPlotDialog::plotHeightSignal, m_matlabPlot, &MatlabPlot::plotHeightSlot);
    connect(this, &MPlotDialog::plotXYSignal, m_matlabPlot, &MatlabPlot::plotXYSlot);
    connect(this, &MPlotDialog::plotXYZSignal, m_matlabPlot, &MatlabPlot::plotXYZSlot);
    connect(this, &MPlotDialog::plotAttackSignal, m_matlabPlot, &MatlabPlot::plotAttackSlot);
    connect(m_matlabPlot, &MatlabPlot::initFinished, this, &MPlotDialog::initFinishedSlot);
    connect(m_matlabPlot, &MatlabPlot::matlabInitFailedSignal, this, &MPlotDialog::matlabInitFailedSlot);
    // Started after all connections: a missing library fails immediately, and the title would stay "init..." if that
    // signal had no receiver yet.
    m_thread->start(QThread::InheritPriority);
}

MPlotDialog::~MPlotDialog()
{
    // Stops waiting for an engine that is starting or hangs. The thread exists as long as the worker.
    m_thread->requestInterruption();
    // Queued clicks still run. Disconnect now: otherwise the worker's destructor, on its own thread, would access the
    // connections of a dialog that is being destroyed.
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
