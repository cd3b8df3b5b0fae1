#include "WindowSettingDialog.h"

#include "AppConfig.h"
#include "AppEvent.h"
#include "ChannelStore.h"
#include "ColorButtonStyle.h"
#include "ui_WindowSettingDialog.h"

#include <QColorDialog>
#include <QDebug>

WindowSettingDialog::WindowSettingDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::WindowSettingDialog>())
{
    m_ui->setupUi(this);
    setWindowTitle(tr("Show Setting"));

    // setChecked() runs the slots, which store the same values again.
    AppConfig &config = AppConfig::getInstance();
    if (config.getTouchMode())
        m_ui->checkBox_touch->setChecked(true);
    if (config.getTheme() == darkTheme)
        m_ui->checkBox_dartMode->setChecked(true);
    if (config.getShowFactor())
        m_ui->checkBox_factor->setChecked(true);

    m_ui->btnTargetColor->setStyleSheet(colorButtonStyle(m_ui->btnTargetColor->objectName(), targetColor));
    m_ui->btnDefaultColor->setStyleSheet(colorButtonStyle(m_ui->btnDefaultColor->objectName(), defaultColor));

    // Connected after setChecked(), so that opening the dialog does not change the theme or the touch mode.
    connect(this, &WindowSettingDialog::touchModeSignal, &AppEvent::getInstance(), &AppEvent::touchModeSignal);
    connect(this, &WindowSettingDialog::switchThemeSignal, &config, &AppConfig::switchThemeSlot);
}

WindowSettingDialog::~WindowSettingDialog() = default;

void WindowSettingDialog::on_checkBox_touch_stateChanged(int arg1)
{
    AppConfig &config = AppConfig::getInstance();
    config.setTouchMode(arg1 >= 1);
    emit touchModeSignal(config.getTouchMode());
}

void WindowSettingDialog::on_checkBox_dartMode_stateChanged(int arg1)
{
    AppConfig &config = AppConfig::getInstance();
    config.setTheme(arg1 >= 1 ? darkTheme : lightTheme);
    emit switchThemeSignal(config.getTheme());
}

void WindowSettingDialog::on_checkBox_factor_stateChanged(int arg1)
{
    AppConfig::getInstance().setShowFactor(arg1 >= 1);
}

QColor WindowSettingDialog::askForColor()
{
    return QColorDialog::getColor(Qt::white, nullptr, QString(), {});
}

void WindowSettingDialog::on_btnDefaultColor_clicked()
{
    // Cancel returns an invalid colour, which is used like any other.
    const QColor color = askForColor();
    qInfo() << color;
    m_ui->btnDefaultColor->setStyleSheet(colorButtonStyle(m_ui->btnDefaultColor->objectName(), color));
    defaultColor = color.toRgb();
}

void WindowSettingDialog::on_btnTargetColor_clicked()
{
    const QColor color = askForColor();
    m_ui->btnTargetColor->setStyleSheet(colorButtonStyle(m_ui->btnTargetColor->objectName(), color));
    targetColor = color.toRgb();
}
