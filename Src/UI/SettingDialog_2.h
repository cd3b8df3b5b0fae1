#pragma once

#include <QDialog>
#include <QFont>
#include <memory>

namespace Ui
{
class SettingDialog_2;
}

/** Asks for the font of the selected axes. Initially 8 points. */
class SettingDialog_2 : public QDialog
{
    Q_OBJECT

public:
    /** Does not access the axes; emits resetAxisSizeSignal() instead. */
    explicit SettingDialog_2(QWidget *parent);
    ~SettingDialog_2() override;

signals:
    /** OK was pressed. */
    void resetAxisSizeSignal(QFont font);

private slots:
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();

private:
    std::unique_ptr<Ui::SettingDialog_2> m_ui;
};
