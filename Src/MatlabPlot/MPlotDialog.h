#pragma once

#include <QDialog>
#include <memory>

class MatlabPlot;
class QThread;

namespace Ui
{
class MPlotDialog;
}

/**
 * Dialog with four buttons; each makes the plot library draw the track files. The library is initialised on its own
 * thread while the dialog is visible. The buttons are disabled until then; a failure is shown in the label.
 */
class MPlotDialog : public QDialog
{
    Q_OBJECT

public:
    /** Starts the worker. */
    explicit MPlotDialog(QWidget *parent);
    /** Does not wait for the worker: a running plot completes, everything else is interrupted. */
    ~MPlotDialog() override;

    /** Shows the note of showTrackNote(). Call once, before the dialog is shown. */
    void init();

    /** Stored for callers; the dialog does not use it. */
    ///@{
    bool plotReady() const { return m_plotReady; }
    void setPlotReady(bool plotReady) { m_plotReady = plotReady; }
    ///@}

signals:
    /** Asks the worker for a plot. */
    ///@{
    void plotHeightSignal();
    void plotXYSignal();
    void plotXYZSignal();
    void plotAttackSignal();
    ///@}

public slots:
    /** Show the result of the library's initialisation. */
    ///@{
    void initFinishedSlot();
    void matlabInitFailedSlot();
    ///@}

private slots:
    void on_btnHeight_clicked();
    void on_btn2D_clicked();
    void on_btn3D_All_clicked();
    void on_btn3D_Attack_clicked();

private:
    void setButtonsEnabled(bool enabled);

    std::unique_ptr<Ui::MPlotDialog> m_ui;
    // Not owned: the worker is deleted on its thread, and the thread deletes itself afterwards.
    MatlabPlot *m_matlabPlot = nullptr;
    QThread *m_thread = nullptr;
    bool m_plotReady = false;
};
