#include "CommonModule.h"

#include "ScreenFit.h"
#include "ui_CommonModule.h"

#include <algorithm>
#include <array>

using namespace ostravel;

namespace
{

constexpr int kDecimals = 3;
constexpr int kCoordinateDecimals = 7;

std::int32_t coordinate(const QLineEdit *edit)
{
    return truncatedToLocationUnit(edit->text().toDouble() * kLocationUnitsPerDegree);
}

void showNumber(QLineEdit *edit, double value, int decimals = kDecimals)
{
    edit->setText(QString::number(value, 'f', decimals));
}

} // namespace

CommonModule::CommonModule(BearingFunction bearingFunction)
    : m_ui(std::make_unique<Ui::CommonModule>())
    , m_bearingFunction(bearingFunction)
{
    m_ui->setupUi(this);
    keepOnScreen(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    nameForAssistance();
    alignColumns();
}

CommonModule::~CommonModule() = default;

void CommonModule::nameForAssistance()
{
    for (const QLabel *const label : findChildren<QLabel *>()) {
        if (label->buddy())
            label->buddy()->setAccessibleName(label->text());
    }
    m_ui->lineEdit_jiaodu->setAccessibleName(m_ui->groupBox_8->title());
    // One title labels two edits.
    const auto nameComponents = [](const QLabel *title, QLineEdit *x, QLineEdit *y) {
        x->setAccessibleName(title->text() + QLatin1String(" x"));
        y->setAccessibleName(title->text() + QLatin1String(" y"));
    };
    nameComponents(m_ui->label_a, m_ui->lineEdit_a1, m_ui->lineEdit_a2);
    nameComponents(m_ui->label_b, m_ui->lineEdit_b1, m_ui->lineEdit_b2);
    nameComponents(m_ui->label_add, m_ui->lineEdit_add1, m_ui->lineEdit_add2);
    nameComponents(m_ui->label_sub, m_ui->lineEdit_sub1, m_ui->lineEdit_sub2);
}

void CommonModule::alignColumns()
{
    // Each group has its own layout. Equal column widths in all groups align the edits.
    const std::array groups{m_ui->gridLayout_groupBox_2, m_ui->gridLayout_groupBox, m_ui->gridLayout_groupBox_3,
                            m_ui->gridLayout_groupBox_4};
    for (const int column : {0, 1, 2}) {
        int width = 0;
        for (const QGridLayout *const group : groups) {
            for (int row = 0; row < group->rowCount(); ++row) {
                QLayoutItem *const item = group->itemAtPosition(row, column);
                if (item && !qobject_cast<QPushButton *>(item->widget()))
                    width = std::max(width, item->sizeHint().width());
            }
        }
        for (QGridLayout *const group : groups)
            group->setColumnMinimumWidth(column, width);
    }
}

void CommonModule::getLocation()
{
    m_loc1.latitude = coordinate(m_ui->lineEdit_lat1);
    m_loc1.longitude = coordinate(m_ui->lineEdit_long1);
    m_loc2.latitude = coordinate(m_ui->lineEdit_lat2);
    m_loc2.longitude = coordinate(m_ui->lineEdit_long2);
}

void CommonModule::getVector()
{
    m_a = {m_ui->lineEdit_a1->text().toFloat(), m_ui->lineEdit_a2->text().toFloat()};
    m_b = {m_ui->lineEdit_b1->text().toFloat(), m_ui->lineEdit_b2->text().toFloat()};
}

double CommonModule::bearingDegrees(std::int32_t hundredths)
{
    constexpr double kHundredthsPerDegree = 100.0;
    return hundredths / kHundredthsPerDegree;
}

void CommonModule::on_pushButton_calDIstanc_clicked()
{
    getLocation();
    m_distance = static_cast<double>(get_distance(m_loc1, m_loc2));
    m_bearing = bearingDegrees(m_bearingFunction(m_loc1, m_loc2));
    showNumber(m_ui->lineEdit_distance, m_distance);
    showNumber(m_ui->lineEdit_bear, m_bearing);
    // The offset calculator can apply it to the third position.
    m_diff = location_diff(m_loc1, m_loc2);
    showNumber(m_ui->lineEdit_OFSNorth, static_cast<double>(m_diff.x));
    showNumber(m_ui->lineEdit_OFSEast, static_cast<double>(m_diff.y));
}

void CommonModule::on_pushButton_calDIstanc_2_clicked()
{
    const float east = m_ui->lineEdit_OFSEast->text().toFloat();
    const float north = m_ui->lineEdit_OFSNorth->text().toFloat();
    Location location{coordinate(m_ui->lineEdit_lat1_2), coordinate(m_ui->lineEdit_long1_2)};
    location_offset(&location, north, east);
    showNumber(m_ui->lineEdit_offsetLat, location.latitude / kLocationUnitsPerDegree, kCoordinateDecimals);
    showNumber(m_ui->lineEdit_offsetLng, location.longitude / kLocationUnitsPerDegree, kCoordinateDecimals);
}

void CommonModule::on_pushButton_calVector_clicked()
{
    getVector();
    m_add = Vector2Add(m_a, m_b);
    m_sub = Vector2Sub(m_a, m_b);
    showNumber(m_ui->lineEdit_add1, static_cast<double>(m_add.x));
    showNumber(m_ui->lineEdit_add2, static_cast<double>(m_add.y));
    showNumber(m_ui->lineEdit_sub1, static_cast<double>(m_sub.x));
    showNumber(m_ui->lineEdit_sub2, static_cast<double>(m_sub.y));
    m_cross = Vector2MulCross(m_a, m_b);
    m_dot = Vector2MulDot(m_a, m_b);
    showNumber(m_ui->lineEdit_chaji1, static_cast<double>(m_cross));
    showNumber(m_ui->lineEdit_dianji1, static_cast<double>(m_dot));
    m_angle = Vector2Angle(m_a, m_b);
    showNumber(m_ui->lineEdit_jiaodu, static_cast<double>(m_angle));
}
