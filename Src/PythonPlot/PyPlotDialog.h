#pragma once

#include <QDialog>
#include <memory>

class PythonPlot;

namespace Ui
{
class PyPlotDialog;
}

/** Dialog with five buttons; each makes the Python script draw one plot. Never waits for the script. */
class PyPlotDialog : public QDialog
{
    Q_OBJECT

public:
    /** Does not start a shell; the first click on a button does. */
    explicit PyPlotDialog(QWidget *parent);
    ~PyPlotDialog() override;

    /** Shows the note of showTrackNote(). Call once, before the dialog is shown. */
    void init();

signals:
    /** Never emitted: the buttons call PythonPlot directly. */
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
    /** Moves the dialog to the left edge of the screen, so that a figure fits beside it. */
    void showEvent(QShowEvent *event) override;

private:
    void keepButtonsFree();

    std::unique_ptr<Ui::PyPlotDialog> m_ui;
    std::unique_ptr<PythonPlot> m_pythonPlot;
};
