#pragma once

#include "MyThemes.h"

#include <QColor>
#include <QDialog>
#include <memory>

namespace Ui
{
class WindowSettingDialog;
}

/**
 * View options of the whole program: factor read-out, touch mode, night mode and the two default curve colours.
 *
 * Options take effect immediately and are not undone by Cancel. AppConfig saves them when the program exits.
 */
class WindowSettingDialog : public QDialog
{
    Q_OBJECT

public:
    /** Shows the current values of AppConfig and the store. */
    explicit WindowSettingDialog(QWidget *parent);
    ~WindowSettingDialog() override;

signals:
    /** The user has changed the option; AppConfig already has the new value. */
    ///@{
    void touchModeSignal(bool flag);
    void switchThemeSignal(MyThemes theme);
    ///@}
    /** Never emitted: the options are saved when the program exits. */
    void writeConfigSignal();

protected:
    /** Asks for a colour, initially white. Returns an invalid colour when cancelled. */
    virtual QColor askForColor();

private slots:
    void on_checkBox_touch_stateChanged(int arg1);
    void on_checkBox_dartMode_stateChanged(int arg1);
    void on_checkBox_factor_stateChanged(int arg1);
    void on_btnDefaultColor_clicked();
    void on_btnTargetColor_clicked();

private:
    std::unique_ptr<Ui::WindowSettingDialog> m_ui;
};
