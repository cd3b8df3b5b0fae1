#include "SettingDialog_2.h"

#include "ui_SettingDialog_2.h"

namespace
{

constexpr int kInitialSize = 8;

} // namespace

SettingDialog_2::SettingDialog_2(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::SettingDialog_2>())
{
    m_ui->setupUi(this);
    setWindowTitle(tr("Setting"));
    m_ui->lineThickness->setValue(kInitialSize);
}

SettingDialog_2::~SettingDialog_2() = default;

void SettingDialog_2::on_buttonBox_accepted()
{
    QFont font;
    // For a size of 0, Qt keeps the default size and writes a warning to the debug output.
    font.setPointSize(m_ui->lineThickness->value());
    emit resetAxisSizeSignal(font);
    close();
}

void SettingDialog_2::on_buttonBox_rejected()
{
    close();
}
