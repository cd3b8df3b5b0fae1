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
 * Every option takes effect as it is changed, so Cancel undoes nothing. AppConfig writes them to disk when the program
 * ends.
 */
class WindowSettingDialog : public QDialog
{
    Q_OBJECT

public:
    /** Shows what AppConfig and the store hold now. */
    explicit WindowSettingDialog(QWidget *parent);
    ~WindowSettingDialog() override;

signals:
    /** The user has changed the option, and AppConfig knows it. */
    ///@{
    void touchModeSignal(bool flag);
    void switchThemeSignal(MyThemes theme);
    ///@}
    /** Never emitted: the options are written at the end of the run. */
    void writeConfigSignal();

protected:
    /** Asks for a colour, starting with white; invalid when cancelled. */
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
