#pragma once

#include <QDialog>
#include <QList>
#include <array>
#include <memory>

class QLabel;
class QLineEdit;
class SwitchButton;

namespace Ui
{
class GlobalSettingDialog;
}

/**
 * Settings of the plane filter, the start time and the sample period of each function code, and a switch for each
 * channel's curve.
 *
 * All values are stored in the channel store, which must be initialised. The switches and the manual start time take
 * effect immediately and are not undone by Cancel; the plane id and the periods take effect on OK. Use for one exec().
 */
class GlobalSettingDialog : public QDialog
{
    Q_OBJECT

public:
    /** Shows the current values of the store. */
    explicit GlobalSettingDialog(QWidget *parent);
    ~GlobalSettingDialog() override;

signals:
    /** The user has toggled a channel's switch; position and pen are always 0. */
    void showGraphSignal(QString graphName, bool flag, quint8 functionCode, quint8 position = 0, quint8 pen = 0);
    /** Never emitted. */
    void checkStateChangedSignal();

private slots:
    void checkChangedSlot();
    /** Closing the window is neither OK nor Cancel: it only hides the dialog. */
    void closeEvent(QCloseEvent *event) override;
    void on_buttonBox_accepted();
    void on_buttonBox_rejected();
    void on_switchButton_enableID_checkedChanged(bool checked);
    void on_checkBox_stateChanged(int arg1);

private:
    static constexpr std::size_t kGroups = 9;

    void findRows();
    void showGlobals();
    void bindRows();
    void showPeriods();

    std::unique_ptr<Ui::GlobalSettingDialog> m_ui;
    // The rows of the nine channel tabs, in the order of their creation in the form.
    std::array<QList<SwitchButton *>, kGroups> m_switches;
    std::array<QList<QLabel *>, kGroups> m_labels;
};
