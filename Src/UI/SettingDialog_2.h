#pragma once

#include <QDialog>
#include <QFont>
#include <memory>

namespace Ui
{
class SettingDialog_2;
}

/** Builds a font for the selected axes. Starts from 8 points each time. */
class SettingDialog_2 : public QDialog
{
    Q_OBJECT

public:
    /** Knows nothing of the axes; the answer goes out by the signal. */
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
