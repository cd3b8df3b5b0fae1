#include "SettingDialog.h"

#include "ChannelStore.h"
#include "ColorButtonStyle.h"
#include "ui_SettingDialog.h"

#include <QColorDialog>
#include <array>

namespace
{

/** Indexed by the item of the line style box. A custom line uses the pen's default pattern. */
constexpr std::array kStyles{Qt::SolidLine,   Qt::DashLine,       Qt::DotLine,
                             Qt::DashDotLine, Qt::DashDotDotLine, Qt::CustomDashLine};

} // namespace

SettingDialog::SettingDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::SettingDialog>())
    , m_color(defaultColor)
{
    m_ui->setupUi(this);
    setWindowTitle(tr("Setting"));
    m_ui->lineStyle->setCurrentIndex(0);
    m_ui->lineThickness->setValue(1);
    showColor();
}

SettingDialog::~SettingDialog() = default;

void SettingDialog::showColor()
{
    m_ui->btnColor2->setStyleSheet(colorButtonStyle(m_ui->btnColor2->objectName(), m_color));
}

void SettingDialog::on_btnColor2_clicked()
{
    // Cancel returns an invalid colour, which is used like any other.
    m_color = QColorDialog::getColor(Qt::white, nullptr, QString(), {});
    showColor();
}

void SettingDialog::on_buttonBox_accepted()
{
    QPen pen(m_color);
    pen.setWidth(m_ui->lineThickness->value());
    pen.setStyle(kStyles.at(static_cast<std::size_t>(m_ui->lineStyle->currentIndex())));
    emit resetGraphSignal(pen);
    close();
}

void SettingDialog::on_buttonBox_rejected()
{
    close();
}
