#pragma once

#include <QColor>
#include <QDialog>
#include <QPen>
#include <memory>

namespace Ui
{
class SettingDialog;
}

/** Asks for the pen of the selected curves. Initially a solid line of width 1 in defaultColor. */
class SettingDialog : public QDialog
{
    Q_OBJECT

public:
    /** Does not access the curves; emits resetGraphSignal() instead. */
    explicit SettingDialog(QWidget *parent);
    ~SettingDialog() override;

signals:
    /** OK was pressed. */
    void resetGraphSignal(QPen pen);

private slots:
    void on_btnColor2_clicked();
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();

private:
    void showColor();

    std::unique_ptr<Ui::SettingDialog> m_ui;
    QColor m_color;
};
