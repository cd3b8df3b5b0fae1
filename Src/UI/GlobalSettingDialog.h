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
 * What the decoder filters on, the period of each function code, and a switch for every channel's curve.
 *
 * Keeps nothing of its own: all values live in the channel store, which must hold its channels. The switches and the
 * manual start time act at once and survive Cancel; the plane id and the periods wait for OK. Meant for one exec().
 */
class GlobalSettingDialog : public QDialog
{
    Q_OBJECT

public:
    /** Shows what the store holds now. */
    explicit GlobalSettingDialog(QWidget *parent);
    ~GlobalSettingDialog() override;

signals:
    /** The user has toggled a channel's switch; position and pen are always 0. */
    void showGraphSignal(QString graphName, bool flag, quint8 functionCode, quint8 position = 0, quint8 pen = 0);
    /** Never emitted. */
    void checkStateChangedSignal();

private slots:
    void checkChangedSlot();
    /** Closing the window is neither OK nor Cancel. */
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
