#include "GlobalSettingDialog.h"

#include "ChannelStore.h"
#include "FrameTable.h"
#include "ScreenFit.h"
#include "SwitchButton.h"
#include "ui_GlobalSettingDialog.h"

#include <QCloseEvent>
#include <QTabBar>
#include <utility>

namespace
{

// The tabs follow the order of the store's groups.
static_assert(std::tuple_size_v<std::decay_t<decltype(channelGroups())>> == 9, "one channel tab for each group");

// The application's style sheet has too little padding for the slanted edges of triangular tabs.
constexpr char kTabStyle[] = "QTabBar::tab { padding-left: 10px; padding-right: 10px; }";

constexpr char kGraphName[] = "graphName";
constexpr char kFunctionCode[] = "functionCode";

} // namespace

GlobalSettingDialog::GlobalSettingDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::GlobalSettingDialog>())
{
    m_ui->setupUi(this);
    keepOnScreen(this);
    setWindowTitle(tr("GraphSetting"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/setting.ico")));
    m_ui->tabWidget->setAttribute(Qt::WA_StyledBackground);
    m_ui->tabWidget->tabBar()->setStyleSheet(QLatin1String(kTabStyle));

    findRows();
    showGlobals();
    bindRows();
    showPeriods();
}

GlobalSettingDialog::~GlobalSettingDialog() = default;

void GlobalSettingDialog::findRows()
{
    const std::array<QWidget *, kGroups> pages{m_ui->tab_hb, m_ui->tab_cs,   m_ui->tab_AP, m_ui->tab_sv,   m_ui->tab_tv,
                                               m_ui->tab_pv, m_ui->tab_diff, m_ui->tab_es, m_ui->tab_other};
    for (std::size_t tab = 0; tab < kGroups; ++tab)
        m_switches[tab] = pages[tab]->findChildren<SwitchButton *>();
    for (std::size_t tab = 0; tab < kGroups; ++tab)
        m_labels[tab] = pages[tab]->findChildren<QLabel *>();
}

void GlobalSettingDialog::showGlobals()
{
    m_ui->planeId->setValue(selectedPlaneId);
    m_ui->switchButton_enableID->setChecked(selectedPlaneEnabled);
    m_ui->switchButton_enableID->setAccessibleName(m_ui->label_enableID->text());
    m_ui->dateTimeEdit->setDateTime(startDateTime);
    m_ui->dateTimeEdit->setAccessibleName(m_ui->checkBox->text());
    // The check box starts unticked even if the user has set a start time. Ticking and unticking it resets that.
}

void GlobalSettingDialog::bindRows()
{
    for (std::size_t tab = 0; tab < kGroups; ++tab) {
        const ChannelGroup &group = channelGroups()[tab];
        // Rows are matched to channels by position; their object names are not used.
        for (int i = 0; i < group.count; ++i) {
            const MyGraph *const graph = group.channels[i];
            SwitchButton *const button = m_switches[tab].at(i);
            button->setChecked(graph->shown());
            button->setProperty(kGraphName, graph->graphName());
            button->setProperty(kFunctionCode, static_cast<uint>(graph->functionCode()));
            button->setAccessibleName(graph->graphName());
            m_labels[tab].at(i)->setText(graph->graphName());
            connect(button, &SwitchButton::checkedChanged, this, &GlobalSettingDialog::checkChangedSlot);
        }
    }
}

void GlobalSettingDialog::showPeriods()
{
    const std::pair<QLineEdit *, quint8> periods[]{
        {m_ui->le_01, frame::kHeartBeat}, {m_ui->le_02, frame::kControlStatus}, {m_ui->le_03, frame::kAttitude},
        {m_ui->le_04, frame::kSensor},    {m_ui->le_05, frame::kTarget},        {m_ui->le_41, frame::kPayload},
        {m_ui->le_51, frame::kDifference}};
    for (const auto &[edit, code] : periods)
        edit->setText(QString::number(channelGroup(code)->channels[0]->interval()));
}

void GlobalSettingDialog::checkChangedSlot()
{
    const auto *const button = qobject_cast<SwitchButton *>(sender());
    if (!button)
        return;
    emit showGraphSignal(button->property(kGraphName).toString(), button->checked(),
                         static_cast<quint8>(button->property(kFunctionCode).toUInt()), 0, 0);
}

void GlobalSettingDialog::closeEvent(QCloseEvent *event)
{
    event->accept();
}

void GlobalSettingDialog::on_buttonBox_accepted()
{
    selectedPlaneId = static_cast<quint8>(m_ui->planeId->value());

    // Differences and equipment use the period of the control status. The edit of the differences is only a display.
    const std::pair<quint8, const QLineEdit *> periods[]{
        {frame::kHeartBeat, m_ui->le_01},  {frame::kControlStatus, m_ui->le_02}, {frame::kAttitude, m_ui->le_03},
        {frame::kSensor, m_ui->le_04},     {frame::kTarget, m_ui->le_05},        {frame::kPayload, m_ui->le_41},
        {frame::kDifference, m_ui->le_02}, {frame::kEquipment, m_ui->le_02}};
    for (const auto &[code, edit] : periods) {
        // Text that is not a number is stored as 0.
        const int interval = edit->text().toInt();
        for (MyGraph *const graph : *channelGroup(code)) {
            graph->setPlaneId(selectedPlaneId);
            graph->setInterval(interval);
        }
    }
    close();
}

void GlobalSettingDialog::on_buttonBox_rejected()
{
    close();
}

void GlobalSettingDialog::on_switchButton_enableID_checkedChanged(bool checked)
{
    selectedPlaneEnabled = checked;
}

void GlobalSettingDialog::on_checkBox_stateChanged(int arg1)
{
    startTimeFromUser = arg1 != 0;
    if (arg1 != 0)
        startDateTime = m_ui->dateTimeEdit->dateTime();
}
