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
 * Four buttons, each of which has the plot library draw the track files. The library comes up on a thread of its own
 * while the dialog is on the screen; the buttons wait for it, and a message stands in their place when it fails.
 */
class MPlotDialog : public QDialog
{
    Q_OBJECT

public:
    /** Starts the worker. */
    explicit MPlotDialog(QWidget *parent);
    /** Does not wait for the worker: a plot under way completes, anything else is stopped. */
    ~MPlotDialog() override;

    /** Says in the label whether the plots show the last run's track. Call once, before the dialog comes up. */
    void init();

    /** Kept for whoever asks; the dialog neither sets it nor looks at it. */
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
    /** What the worker has told of the library. */
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
    // Both live on their own: the worker goes on its thread, and the thread after it.
    MatlabPlot *m_matlabPlot = nullptr;
    QThread *m_thread = nullptr;
    bool m_plotReady = false;
};
