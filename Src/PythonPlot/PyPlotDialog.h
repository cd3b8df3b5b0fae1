#pragma once

#include <QDialog>
#include <memory>

class PythonPlot;

namespace Ui
{
class PyPlotDialog;
}

/** Five buttons, each of which has the Python script draw one plot of the track files. Never waits for the script. */
class PyPlotDialog : public QDialog
{
    Q_OBJECT

public:
    /** Starts no shell: the first press of a button does. */
    explicit PyPlotDialog(QWidget *parent);
    ~PyPlotDialog() override;

    /** Says in the label whether the plots show the last run's track. Call once, before the dialog comes up. */
    void init();

signals:
    /** Never emitted: the buttons call the plotter. */
    ///@{
    void plotHeightSignal();
    void plotXYSignal();
    void plotXYZSignal();
    void plotAttackSignal();
    ///@}

private slots:
    void on_pushButton_clicked();
    void on_pushButton_2_clicked();
    void on_pushButton_3_clicked();
    void on_pushButton_4_clicked();
    void on_pushButton_5_clicked();

protected:
    /** Goes to the left edge of the screen, so that a figure has room beside the buttons. */
    void showEvent(QShowEvent *event) override;

private:
    void keepButtonsFree();

    std::unique_ptr<Ui::PyPlotDialog> m_ui;
    std::unique_ptr<PythonPlot> m_pythonPlot;
};
