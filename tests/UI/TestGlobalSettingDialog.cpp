#include "AppConfig.h"
#include "ChannelStore.h"
#include "Fixture.h"
#include "GlobalSettingDialog.h"
#include "MetaMethods.h"
#include "SwitchButton.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSet>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

Q_DECLARE_METATYPE(Fixture::Catalogue)

namespace
{

/** A row of a channel tab. The order of this table is the order of creation in the form. */
struct Row {
    const char *tab;
    quint8 code;
    const char *object;
    const char *channel;
};

// clang-format off
constexpr Row kRows[] = {
    // HeartBeat
    {"tab_hb", 0x01, "switchButton_uavType",         "飞行器类型"},
    {"tab_hb", 0x01, "switchButton_positionStatus",  "地面定位状态"},
    {"tab_hb", 0x01, "switchButton_HB_longitude",    "原点经度"},
    {"tab_hb", 0x01, "switchButton_HB_latitude",     "原点纬度"},
    {"tab_hb", 0x01, "switchButton_protocolVersion", "通信协议版本"},
    // ControlSystemStatus
    {"tab_cs", 0x02, "switchButton_controlStatus",      "飞控状态"},
    {"tab_cs", 0x02, "switchButton_fuzailv",            "飞控负载率"},
    {"tab_cs", 0x02, "switchButton_zhudianchidianya",   "主电池电压"},
    {"tab_cs", 0x02, "switchButton_ADC1",               "ADC电压1"},
    {"tab_cs", 0x02, "switchButton_ADC2",               "ADC电压2"},
    {"tab_cs", 0x02, "switchButton_jizaiwendu",         "机载设备温度"},
    {"tab_cs", 0x02, "switchButton_shangdianshijian",   "飞控上电时间"},
    {"tab_cs", 0x02, "switchButton_feixingshijian",     "飞行时间"},
    {"tab_cs", 0x02, "switchButton_zonghangcheng",      "总航程"},
    {"tab_cs", 0x02, "switchButton_mainFlyMode",        "控制来源"},
    {"tab_cs", 0x02, "switchButton_childFlyMode",       "主飞行模式"},
    {"tab_cs", 0x02, "switchButton_backup",             "子飞行模式"},
    {"tab_cs", 0x02, "switchButton_yawHeight",          "开关状态"},
    {"tab_cs", 0x02, "switchButton_throttlePercent",    "保留字"},
    {"tab_cs", 0x02, "switchButton_switchStatus",       "油门输出百分比"},
    {"tab_cs", 0x02, "switchButton_controlMethod",      "目标圈数"},
    {"tab_cs", 0x02, "switchButton_turnsNum",           "已飞圈数"},
    {"tab_cs", 0x02, "switchButton_turnsFinished",      "与目标航点距离"},
    {"tab_cs", 0x02, "switchButton_distance2Target",    "离归航点距离"},
    {"tab_cs", 0x02, "switchButton_distance2Return",    "离家距离"},
    {"tab_cs", 0x02, "switchButton_distance2home",      "偏航距"},
    {"tab_cs", 0x02, "switchButton_yawDistance",        "年"},
    {"tab_cs", 0x02, "switchButton_year",               "月"},
    {"tab_cs", 0x02, "switchButton_month",              "日"},
    {"tab_cs", 0x02, "switchButton_Day",                "时"},
    {"tab_cs", 0x02, "switchButton_hour",               "分"},
    {"tab_cs", 0x02, "switchButton_Minute",             "秒"},
    {"tab_cs", 0x02, "switchButton_Second",             "飞行阶段"},
    {"tab_cs", 0x02, "switchButton_flyStage",           "离家方位(度)"},
    {"tab_cs", 0x02, "switchButton_bear2home",          "偏航高度"},
    {"tab_cs", 0x02, "switchButton_oil",                "油量"},
    {"tab_cs", 0x02, "switchButton_tankTemperature1",   "缸温1"},
    {"tab_cs", 0x02, "switchButton_tankTemperature2",   "缸温2"},
    {"tab_cs", 0x02, "switchButton_batteryCurrentMain", "主电池电流"},
    {"tab_cs", 0x02, "switchButton_batteryLevel",       "主电池电量"},
    {"tab_cs", 0x02, "switchButton_rotateSpeed",        "转速1"},
    {"tab_cs", 0x02, "switchButton_rotateSpeed_2",      "转速2"},
    // AttitudeAndPositionInfo
    {"tab_AP", 0x03, "switchButton_pitch",           "横滚"},
    {"tab_AP", 0x03, "switchButton_roll",            "俯仰"},
    {"tab_AP", 0x03, "switchButton_yaw",             "航向"},
    {"tab_AP", 0x03, "switchButton_relativeHeight",  "GPS定位精度"},
    {"tab_AP", 0x03, "switchButton_altitude",        "GPS定位状态"},
    {"tab_AP", 0x03, "switchButton_pressureHeight",  "GPS星数"},
    {"tab_AP", 0x03, "switchButton_AuxiliaryHeight", "经度(Longitude)"},
    {"tab_AP", 0x03, "switchButton_longitude",       "纬度(Latitude)"},
    {"tab_AP", 0x03, "switchButton_latitude",        "海拔高度(Altitude)"},
    {"tab_AP", 0x03, "switchButton_IAS",             "气压高度"},
    {"tab_AP", 0x03, "switchButton_TAS",             "相对高度"},
    {"tab_AP", 0x03, "switchButton_eastSpeed",       "东向速度"},
    {"tab_AP", 0x03, "switchButton_northSpeed",      "北向速度"},
    {"tab_AP", 0x03, "switchButton_skySpeed",        "天向速度"},
    {"tab_AP", 0x03, "switchButton_landSpeed",       "地速"},
    {"tab_AP", 0x03, "switchButton_GPSstatus",       "指示空速"},
    {"tab_AP", 0x03, "switchButton_gpsNum",          "真空速"},
    {"tab_AP", 0x03, "switchButton_GPSprecision",    "辅助高度"},
    // SensorValue
    {"tab_sv", 0x04, "switchButton_accX",      "加计X（acc_x）"},
    {"tab_sv", 0x04, "switchButton_accY",      "加计Y（acc_y）"},
    {"tab_sv", 0x04, "switchButton_accZ",      "加计Z（acc_z）"},
    {"tab_sv", 0x04, "switchButton_gx",        "角速度X（g_x）"},
    {"tab_sv", 0x04, "switchButton_gY",        "角速度Y（g_y）"},
    {"tab_sv", 0x04, "switchButton_gz",        "角速度Z（g_z）"},
    {"tab_sv", 0x04, "switchButton_ciProcess", "RC1"},
    {"tab_sv", 0x04, "switchButton_ciQuality", "RC2"},
    {"tab_sv", 0x04, "switchButton_RC1",       "RC3"},
    {"tab_sv", 0x04, "switchButton_RC3",       "RC4"},
    {"tab_sv", 0x04, "switchButton_RC2",       "RC5"},
    {"tab_sv", 0x04, "switchButton_RC4",       "RC6"},
    {"tab_sv", 0x04, "switchButton_RC5",       "RC7"},
    {"tab_sv", 0x04, "switchButton_RC6",       "RC8"},
    {"tab_sv", 0x04, "switchButton_RC7",       "RC9"},
    {"tab_sv", 0x04, "switchButton_RC8",       "RC10"},
    {"tab_sv", 0x04, "switchButton_RC9",       "RC11"},
    {"tab_sv", 0x04, "switchButton_RC10",      "RC12"},
    {"tab_sv", 0x04, "switchButton_RC11",      "RC13"},
    {"tab_sv", 0x04, "switchButton_RC13",      "RC14"},
    {"tab_sv", 0x04, "switchButton_RC12",      "RC15"},
    {"tab_sv", 0x04, "switchButton_RC14",      "RC16"},
    {"tab_sv", 0x04, "switchButton_RC15",      "OUT1"},
    {"tab_sv", 0x04, "switchButton_RC16",      "OUT2"},
    {"tab_sv", 0x04, "switchButton_OUT1",      "OUT3"},
    {"tab_sv", 0x04, "switchButton_OUT2",      "OUT4"},
    {"tab_sv", 0x04, "switchButton_OUT3",      "OUT5"},
    {"tab_sv", 0x04, "switchButton_OUT4",      "OUT6"},
    {"tab_sv", 0x04, "switchButton_OUT5",      "OUT7"},
    {"tab_sv", 0x04, "switchButton_OUT6",      "OUT8"},
    {"tab_sv", 0x04, "switchButton_OUT7",      "OUT9"},
    {"tab_sv", 0x04, "switchButton_OUT8",      "OUT10"},
    {"tab_sv", 0x04, "switchButton_OUT9",      "磁校准进度"},
    {"tab_sv", 0x04, "switchButton_OUT10",     "磁校准质量"},
    // FlightTargetValue
    {"tab_tv", 0x05, "switchButton_targetPitch",             "目标航点级别"},
    {"tab_tv", 0x05, "switchButton_targetRoll",              "目标航点ID"},
    {"tab_tv", 0x05, "switchButton_targetYaw",               "目标经度"},
    {"tab_tv", 0x05, "switchButton_targetSpeed",             "目标纬度"},
    {"tab_tv", 0x05, "switchButton_targetHeight",            "目标高度"},
    {"tab_tv", 0x05, "switchButton_targetWaypointId",        "目标速度"},
    {"tab_tv", 0x05, "switchButton_targetWayPointLongitude", "目标横滚"},
    {"tab_tv", 0x05, "switchButton_targetWayPointLatitude",  "目标俯仰"},
    {"tab_tv", 0x05, "switchButton_targetWayPointGroup",     "目标航向"},
    {"tab_tv", 0x05, "switchButton_targetVerticalSpeed",     "目标垂直速度"},
    {"tab_tv", 0x05, "switchButton_targetRadio",             "目标半径"},
    {"tab_tv", 0x05, "switchButton_targetTurnMode",          "盘旋模式"},
    {"tab_tv", 0x05, "switchButton_targetLiftMode",          "升降模式"},
    // PayloadInfo
    {"tab_pv", 0x41, "switchButton_picPitch",         "光轴俯仰角"},
    {"tab_pv", 0x41, "switchButton_picAngle",         "光轴方位角"},
    {"tab_pv", 0x41, "switchButton_picStateFeedback", "状态信息反馈"},
    {"tab_pv", 0x41, "switchButton_targetLength",     "焦距"},
    {"tab_pv", 0x41, "switchButton_targetWidth",      "等效靶面长度"},
    {"tab_pv", 0x41, "switchButton_picCenterX",       "等效靶面宽度"},
    {"tab_pv", 0x41, "switchButton_picCenterY",       "图像中心点X轴坐标"},
    {"tab_pv", 0x41, "switchButton_focalDistance",    "图像中心点Y轴坐标"},
    {"tab_pv", 0x41, "switchButton_targetOffsetX",    "目标脱靶量X轴坐标"},
    {"tab_pv", 0x41, "switchButton_targetOffsetY",    "目标脱靶量Y轴坐标"},
    {"tab_pv", 0x41, "switchButton_lockLongitude",    "锁定经度"},
    {"tab_pv", 0x41, "switchButton_lockLangitude",    "锁定纬度"},
    {"tab_pv", 0x41, "switchButton_lockDistance",     "锁定距离"},
    {"tab_pv", 0x41, "switchButton_lockAngle",        "锁定方位"},
    // Difference
    {"tab_diff", 0x51, "switchButton_pitchDiff",  "俯仰差值"},
    {"tab_diff", 0x51, "switchButton_rollDiff",   "横滚差值"},
    {"tab_diff", 0x51, "switchButton_yawDiff",    "航向差值"},
    {"tab_diff", 0x51, "switchButton_heightDiff", "速度差值"},
    {"tab_diff", 0x51, "switchButton_speedDiff",  "高度差值"},
    // EquipmentStatus
    {"tab_es", 0x53, "switchButton_qiyaji",   "陀螺"},
    {"tab_es", 0x53, "switchButton_tuoluo",   "解保"},
    {"tab_es", 0x53, "switchButton_dingwei",  "磁罗盘"},
    {"tab_es", 0x53, "switchButton_ciluopan", "气压计"},
    {"tab_es", 0x53, "switchButton_SBUS",     "空速计"},
    {"tab_es", 0x53, "switchButton_lianlu",   "定位"},
    {"tab_es", 0x53, "switchButton_jiebao",   "SBUS"},
    {"tab_es", 0x53, "switchButton_kongsuji", "链路"},
    {"tab_es", 0x53, "switchButton_dianya",   "电压"},
    {"tab_es", 0x53, "switchButton_tongwai",  "筒外"},
    {"tab_es", 0x53, "switchButton_diaogao",  "掉高"},
    {"tab_es", 0x53, "switchButton_suoding",  "锁定（油门）"},
    {"tab_es", 0x53, "switchButton_zitai",    "姿态"},
    {"tab_es", 0x53, "switchButton_guandao",  "惯导"},
    {"tab_es", 0x53, "switchButton_dongli",   "动力"},
    {"tab_es", 0x53, "switchButton_zaihe",    "载荷"},
    // Other
    {"tab_other", 0x52, "switchButton_temporary", "速度角度"},
};
// clang-format on

constexpr int kRowCount = int(std::size(kRows));

struct Tab {
    const char *object;
    const char *title;
    quint8 code;
    int rows;
};

constexpr Tab kTabs[] = {
    {"tab_hb", "HeartBeat", 0x01, 5},
    {"tab_cs", "ControlSystemStatus", 0x02, 37},
    {"tab_AP", "AttitudeAndPositionInfo", 0x03, 18},
    {"tab_sv", "SensorValue", 0x04, 34},
    {"tab_tv", "FlightTargetValue", 0x05, 13},
    {"tab_pv", "PayloadInfo", 0x41, 14},
    {"tab_diff", "Difference", 0x51, 5},
    {"tab_es", "EquipmentStatus", 0x53, 16},
    {"tab_other", "Other", 0x52, 1},
};

struct Period {
    const char *object;
    const char *label;
    quint8 code;
};

constexpr Period kPeriods[] = {
    {"le_01", "0x01-HeartBeat", 0x01},
    {"le_02", "0x02-ControlSystemStatus", 0x02},
    {"le_03", "0x03-AttitudeAndPositionInfo", 0x03},
    {"le_04", "0x04-SensorValue", 0x04},
    {"le_05", "0x05-FlightTargetValue", 0x05},
    {"le_41", "0x41-PayloadInfo", 0x41},
    {"le_51", "0x51-Difference", 0x51},
};

template <typename T>
T *child(const QDialog &dialog, const char *name)
{
    return dialog.findChild<T *>(QLatin1String(name));
}

void press(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    QTest::mouseClick(child<QDialogButtonBox>(dialog, "buttonBox")->button(which), Qt::LeftButton);
}

void setPeriod(const QDialog &dialog, const char *edit, const QString &text)
{
    child<QLineEdit>(dialog, edit)->setText(text);
}

MyGraph *channel(const Row &row)
{
    return findGraphByCode(QString::fromUtf8(row.channel), row.code);
}

MyGraph *first(quint8 code)
{
    return channelGroup(code)->channels[0];
}

int indexInTab(int row)
{
    int index = 0;
    while (row - index > 0 && kRows[row - index - 1].code == kRows[row].code)
        ++index;
    return index;
}

QRect inWindow(const QWidget *widget)
{
    return {widget->mapTo(widget->window(), QPoint(0, 0)), widget->size()};
}

} // namespace

class TestGlobalSettingDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_fixture = std::make_unique<Fixture>(); }
    void cleanup()
    {
        m_fixture.reset();
        qApp->setStyleSheet({});
    }

    void declaresItsSignalsAndSlotsInOrder();
    void formIsTabsAboveButtons();
    void globalTabHasAName_data();
    void globalTabHasAName();
    void globalTabHasItsControls();
    void everyTabHasItsRows();
    void rowHasTheNameOfItsChannel_data();
    void rowHasTheNameOfItsChannel();
    void dynamicTextsKeepYesAndNo();

    void labelsAreNotCutOffAndDoNotOverlap_data();
    void labelsAreNotCutOffAndDoNotOverlap();
    void everyRowCanBeReached_data();
    void everyRowCanBeReached();
    void opensInsideASmallScreen();
    void switchesHaveUniqueAccessibleNames();

    void everyToggleEmitsItsChannel_data();
    void everyToggleEmitsItsChannel();
    void switchesShowTheVisibilityOfTheCurves();
    void openingBeforeAnyReadShowsTheDefaults();
    void openingChangesNothing();
    void periodsAreTakenFromTheFirstChannels();
    void periodsAreResetToTheDefaultByARead();
    void togglingWithoutDataChangesNothingInTheStore();

    void planeFilterIsSetImmediatelyAndCancelKeepsIt();
    void tickingTheBoxCopiesTheCurrentDateTime();
    void boxOpensUntickedAndTwoClicksDisableTheManualTime();
    void cancelKeepsTheStartTime();
    void planeIdAboveNinetyNineCannotBeEntered();

    void okStoresEveryPeriodAndPlaneId();
    void okDoesNotChangeTheBackupChannel();
    void periodOfTheDifferencesIsShownButIgnored();
    void anyPeriodTextIsAccepted_data();
    void anyPeriodTextIsAccepted();
    void cancelStoresNeitherPeriodNorPlaneId();
    void everyWayOfClosingEndsExec_data();
    void everyWayOfClosingEndsExec();
    void closingIsAcceptedAndStoresNothing();
    void stateChangeSignalIsNeverEmitted();

private:
    std::unique_ptr<Fixture> m_fixture;
};

void TestGlobalSettingDialog::initTestCase()
{
    // The program's font; the labels must have room for their texts in it.
    const QString family = QStringLiteral("Microsoft YaHei");
    QFont::insertSubstitutions(family, {QStringLiteral("Noto Sans CJK SC"), QStringLiteral("WenQuanYi Micro Hei")});
    QFont font = QApplication::font();
    font.setFamily(family);
    QApplication::setFont(font);
}

void TestGlobalSettingDialog::declaresItsSignalsAndSlotsInOrder()
{
    QCOMPARE(
        ownMethods(GlobalSettingDialog::staticMetaObject),
        (QStringList{"signal showGraphSignal(QString,bool,uchar,uchar,uchar)",
                     "signal showGraphSignal(QString,bool,uchar,uchar)", "signal showGraphSignal(QString,bool,uchar)",
                     "signal checkStateChangedSignal()", "slot checkChangedSlot()", "slot closeEvent(QCloseEvent*)",
                     "slot on_buttonBox_accepted()", "slot on_buttonBox_rejected()",
                     "slot on_switchButton_enableID_checkedChanged(bool)", "slot on_checkBox_stateChanged(int)"}));
}

void TestGlobalSettingDialog::formIsTabsAboveButtons()
{
    const GlobalSettingDialog dialog(nullptr);
    QCOMPARE(dialog.size(), QSize(1376, 754));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("曲线设置"));
    QCOMPARE(dialog.windowIcon().pixmap(32).toImage(),
             QIcon(QStringLiteral(":/resources/setting.ico")).pixmap(32).toImage());
    QVERIFY(!dialog.windowIcon().pixmap(32).isNull());

    const auto *const tabs = child<QTabWidget>(dialog, "tabWidget");
    QCOMPARE(tabs->tabPosition(), QTabWidget::North);
    QCOMPARE(tabs->tabShape(), QTabWidget::Triangular);
    QCOMPARE(tabs->font().pointSize(), 12);
    QVERIFY(tabs->testAttribute(Qt::WA_StyledBackground));
    QCOMPARE(tabs->currentIndex(), 0);
    QCOMPARE(tabs->count(), 10);
    QCOMPARE(tabs->widget(0)->objectName(), QStringLiteral("tab_Global"));
    QCOMPARE(tabs->tabText(0), QStringLiteral("全局"));
    for (int i = 0; i < 9; ++i) {
        QCOMPARE(tabs->widget(i + 1)->objectName(), QLatin1String(kTabs[i].object));
        QCOMPARE(tabs->tabText(i + 1), QLatin1String(kTabs[i].title));
    }

    const auto *const buttons = child<QDialogButtonBox>(dialog, "buttonBox");
    QCOMPARE(buttons->orientation(), Qt::Horizontal);
    QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    GlobalSettingDialog shown(nullptr);
    shown.show();
    QVERIFY(inWindow(child<QDialogButtonBox>(shown, "buttonBox")).top()
            > inWindow(child<QTabWidget>(shown, "tabWidget")).bottom());
}

void TestGlobalSettingDialog::globalTabHasAName_data()
{
    QTest::addColumn<Fixture::Catalogue>("catalogue");
    QTest::addColumn<QStringList>("texts");
    QTest::newRow("Chinese") << Fixture::Catalogue::Installed
                             << QStringList{"曲线设置", "全局", "设置", "启用Id", "飞机ID", "启用", "周期"};
    QTest::newRow("English") << Fixture::Catalogue::Missing
                             << QStringList{"GraphSetting", "Global", "Setting", "EnableId",
                                            "UavId",        "Enable", "Period"};
}

void TestGlobalSettingDialog::globalTabHasAName()
{
    QFETCH(Fixture::Catalogue, catalogue);
    QFETCH(QStringList, texts);
    m_fixture.reset();
    m_fixture = std::make_unique<Fixture>(catalogue);
    const GlobalSettingDialog dialog(nullptr);
    const auto *const setting = qobject_cast<QGroupBox *>(child<QSpinBox>(dialog, "planeId")->parentWidget());
    QVERIFY(setting != nullptr);
    const QList<QLabel *> labels = setting->findChildren<QLabel *>();
    QCOMPARE(labels.size(), 2);
    QCOMPARE((QStringList{dialog.windowTitle(), child<QTabWidget>(dialog, "tabWidget")->tabText(0), setting->title(),
                          labels[0]->text(), labels[1]->text(), child<QCheckBox>(dialog, "checkBox")->text(),
                          child<QGroupBox>(dialog, "groupBox_samping")->title()}),
             texts);
}

void TestGlobalSettingDialog::globalTabHasItsControls()
{
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    const auto *const page = child<QWidget>(dialog, "tab_Global");
    QCOMPARE(page->findChildren<SwitchButton *>().size(), 1);

    const auto *const planeId = child<QSpinBox>(dialog, "planeId");
    QCOMPARE(planeId->size(), QSize(100, 30));
    QCOMPARE(planeId->minimum(), 0);
    QCOMPARE(planeId->maximum(), 99);
    const auto *const enableId = child<SwitchButton>(dialog, "switchButton_enableID");
    QCOMPARE(enableId->size(), QSize(100, 30));
    const auto *const dateTime = child<QDateTimeEdit>(dialog, "dateTimeEdit");
    const auto *const enable = child<QCheckBox>(dialog, "checkBox");
    // From top to bottom: filter, plane id, start time with its check box.
    QVERIFY(inWindow(enableId).bottom() < inWindow(planeId).top());
    QVERIFY(inWindow(planeId).bottom() < inWindow(dateTime).top());
    QVERIFY(inWindow(dateTime).right() < inWindow(enable).left());

    const auto *const group = child<QGroupBox>(dialog, "groupBox_samping");
    const QList<QLabel *> labels = group->findChildren<QLabel *>();
    const QList<QLineEdit *> edits = group->findChildren<QLineEdit *>();
    QCOMPARE(labels.size(), 7);
    QCOMPARE(edits.size(), 7);
    for (int i = 0; i < 7; ++i) {
        QCOMPARE(labels[i]->text(), QLatin1String(kPeriods[i].label));
        QCOMPARE(labels[i]->buddy(), edits[i]);
        QCOMPARE(edits[i]->objectName(), QLatin1String(kPeriods[i].object));
        QVERIFY(edits[i]->validator() == nullptr);
        QCOMPARE(edits[i]->maxLength(), 32767);
        QVERIFY(inWindow(labels[i]).right() < inWindow(edits[i]).left());
        if (i > 0)
            QVERIFY(inWindow(edits[i - 1]).bottom() < inWindow(edits[i]).top());
    }
}

void TestGlobalSettingDialog::everyTabHasItsRows()
{
    QCOMPARE(kRowCount, 143);
    const GlobalSettingDialog dialog(nullptr);
    QCOMPARE(dialog.findChildren<SwitchButton *>().size(), 144);
    int row = 0;
    for (const Tab &tab : kTabs) {
        const auto *const page = child<QWidget>(dialog, tab.object);
        const QList<SwitchButton *> switches = page->findChildren<SwitchButton *>();
        QCOMPARE(switches.size(), tab.rows);
        QCOMPARE(page->findChildren<QLabel *>().size(), tab.rows);
        QCOMPARE(channelGroup(tab.code)->count, tab.rows);
        QSet<QWidget *> columns;
        for (const SwitchButton *const button : switches) {
            QCOMPARE(button->objectName(), QLatin1String(kRows[row].object));
            columns.insert(button->parentWidget());
            ++row;
        }
        QVERIFY(columns.size() <= 3);
    }
    QCOMPARE(row, kRowCount);
}

void TestGlobalSettingDialog::rowHasTheNameOfItsChannel_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < kRowCount; ++row)
        QTest::newRow(kRows[row].object) << row;
}

void TestGlobalSettingDialog::rowHasTheNameOfItsChannel()
{
    QFETCH(int, row);
    const Row &wanted = kRows[row];
    const GlobalSettingDialog dialog(nullptr);
    const auto *const button = child<SwitchButton>(dialog, wanted.object);
    QVERIFY(button != nullptr);
    const QString name = QString::fromUtf8(wanted.channel);

    QCOMPARE(button->property("graphName").type(), QVariant::String);
    QCOMPARE(button->property("graphName").toString(), name);
    QCOMPARE(button->property("functionCode").type(), QVariant::UInt);
    QCOMPARE(button->property("functionCode").toUInt(), uint(wanted.code));
    QCOMPARE(button->property("textOn").toString(), QStringLiteral("Y"));
    QCOMPARE(button->property("textOff").toString(), QStringLiteral("N"));
    QCOMPARE(button->accessibleName(), name);
    QCOMPARE(button->minimumSize(), QSize(100, 30));
    QCOMPARE(button->maximumSize(), QSize(100, 30));

    const int index = indexInTab(row);
    const auto *const label = child<QWidget>(dialog, wanted.tab)->findChildren<QLabel *>().at(index);
    QCOMPARE(label->text(), name);
    QCOMPARE(label->minimumWidth(), 150);
    QCOMPARE(label->maximumWidth(), 150);
    QCOMPARE(label->alignment(), Qt::AlignCenter);
    QCOMPARE(label->parentWidget(), button->parentWidget());
    // The channel has the same index in its group.
    QCOMPARE(channelGroup(wanted.code)->channels[index]->graphName(), name);
}

void TestGlobalSettingDialog::dynamicTextsKeepYesAndNo()
{
    const GlobalSettingDialog dialog(nullptr);
    for (const SwitchButton *const button : dialog.findChildren<SwitchButton *>()) {
        QCOMPARE(button->property("textOn").toString(), QStringLiteral("Y"));
        QCOMPARE(button->property("textOff").toString(), QStringLiteral("N"));
        QCOMPARE(button->textOn(), QStringLiteral("Yes"));
        QCOMPARE(button->textOff(), QStringLiteral("No"));
    }
}

void TestGlobalSettingDialog::labelsAreNotCutOffAndDoNotOverlap_data()
{
    QTest::addColumn<int>("theme");
    QTest::newRow("dark") << int(darkTheme);
    QTest::newRow("light") << int(lightTheme);
    QTest::newRow("without a style sheet") << -1;
}

void TestGlobalSettingDialog::labelsAreNotCutOffAndDoNotOverlap()
{
    QFETCH(int, theme);
    if (theme >= 0)
        AppConfig::getInstance().switchThemeSlot(MyThemes(theme));
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    dialog.resize(1366, 728);
    auto *const tabs = child<QTabWidget>(dialog, "tabWidget");
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QList<QWidget *> widgets;
        for (QLabel *const label : tabs->widget(i)->findChildren<QLabel *>()) {
            // A new label gives the size that the text needs; the size hint of the form's label may omit its margins.
            QLabel free(label->text(), label->parentWidget());
            free.setAlignment(label->alignment());
            free.setFont(label->font());
            free.ensurePolished();
            QVERIFY2(free.sizeHint().width() <= label->width(), qPrintable(label->text()));
            QVERIFY2(free.sizeHint().height() <= label->height(), qPrintable(label->text()));
            widgets.append(label);
        }
        for (SwitchButton *const button : tabs->widget(i)->findChildren<SwitchButton *>()) {
            QCOMPARE(button->size(), QSize(100, 30));
            widgets.append(button);
        }
        for (int a = 0; a < widgets.size(); ++a) {
            for (int b = a + 1; b < widgets.size(); ++b)
                QVERIFY2(!inWindow(widgets[a]).intersects(inWindow(widgets[b])), qPrintable(widgets[a]->objectName()));
        }
    }
}

void TestGlobalSettingDialog::everyRowCanBeReached_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1366 by 768 without frame and task bar") << QSize(1350, 690);
    QTest::newRow("as small as 640 by 480") << QSize(640, 480);
}

void TestGlobalSettingDialog::everyRowCanBeReached()
{
    QFETCH(QSize, size);
    AppConfig::getInstance().switchThemeSlot(darkTheme);
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    dialog.resize(size);
    QCOMPARE(dialog.size(), size);
    QVERIFY(dialog.rect().contains(inWindow(child<QDialogButtonBox>(dialog, "buttonBox"))));

    auto *const tabs = child<QTabWidget>(dialog, "tabWidget");
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QApplication::processEvents();
        auto *const scroll = tabs->widget(i)->findChild<QScrollArea *>();
        QVERIFY(scroll != nullptr);
        QList<QWidget *> wanted;
        for (QWidget *const widget : tabs->widget(i)->findChildren<QWidget *>()) {
            if (qobject_cast<QLabel *>(widget) != nullptr || qobject_cast<SwitchButton *>(widget) != nullptr
                || qobject_cast<QAbstractSpinBox *>(widget) != nullptr || qobject_cast<QCheckBox *>(widget) != nullptr)
                wanted.append(widget);
        }
        QVERIFY(wanted.size() >= 2);
        for (QWidget *const widget : wanted) {
            QVERIFY2(widget->width() >= widget->sizeHint().width(), qPrintable(widget->objectName()));
            scroll->ensureWidgetVisible(widget, 0, 0);
            QVERIFY2(scroll->viewport()->rect().contains(
                         QRect(widget->mapTo(scroll->viewport(), QPoint(0, 0)), widget->size())),
                     qPrintable(widget->objectName()));
        }
    }
}

void TestGlobalSettingDialog::opensInsideASmallScreen()
{
    GlobalSettingDialog dialog(nullptr);
    const QSize available = dialog.screen()->availableGeometry().size();
    dialog.show();
    QVERIFY(dialog.width() <= available.width());
    QVERIFY(dialog.height() <= available.height());
    QVERIFY(dialog.width() == 1376 || dialog.width() >= available.width() - 16);
    QVERIFY(dialog.height() == 754 || dialog.height() >= available.height() - 40);
}

void TestGlobalSettingDialog::switchesHaveUniqueAccessibleNames()
{
    const GlobalSettingDialog dialog(nullptr);
    QSet<QString> names;
    for (const SwitchButton *const button : dialog.findChildren<SwitchButton *>()) {
        QVERIFY(!button->accessibleName().isEmpty());
        names.insert(button->accessibleName());
    }
    QCOMPARE(names.size(), 144);
    QCOMPARE(child<SwitchButton>(dialog, "switchButton_enableID")->accessibleName(), QStringLiteral("启用Id"));
}

void TestGlobalSettingDialog::everyToggleEmitsItsChannel_data()
{
    rowHasTheNameOfItsChannel_data();
}

void TestGlobalSettingDialog::everyToggleEmitsItsChannel()
{
    QFETCH(int, row);
    const GlobalSettingDialog dialog(nullptr);
    QSignalSpy emitted(&dialog, &GlobalSettingDialog::showGraphSignal);
    for (const bool on : {true, false}) {
        QTest::mouseClick(child<SwitchButton>(dialog, kRows[row].object), Qt::LeftButton);
        QCOMPARE(emitted.count(), 1);
        const QList<QVariant> arguments = emitted.takeFirst();
        QCOMPARE(arguments.at(0).toString(), QString::fromUtf8(kRows[row].channel));
        QCOMPARE(arguments.at(1).toBool(), on);
        QCOMPARE(arguments.at(2).value<quint8>(), kRows[row].code);
        QCOMPARE(arguments.at(3).value<quint8>(), quint8(0));
        QCOMPARE(arguments.at(4).value<quint8>(), quint8(0));
    }
}

void TestGlobalSettingDialog::switchesShowTheVisibilityOfTheCurves()
{
    for (int row = 0; row < kRowCount; ++row)
        channel(kRows[row])->setShown(row % 3 == 0);
    const GlobalSettingDialog dialog(nullptr);
    for (int row = 0; row < kRowCount; ++row) {
        const auto *const button = child<SwitchButton>(dialog, kRows[row].object);
        QVERIFY2(button->checked() == (row % 3 == 0), kRows[row].object);
        // The slider is at its end position, 100 - 30, although there was no layout yet.
        QCOMPARE(button->startX(), row % 3 == 0 ? 70 : 0);
    }
}

void TestGlobalSettingDialog::openingBeforeAnyReadShowsTheDefaults()
{
    startDateTime = QDateTime(QDate(2023, 4, 5), QTime(16, 17, 18));
    const GlobalSettingDialog dialog(nullptr);
    for (const SwitchButton *const button : dialog.findChildren<SwitchButton *>())
        QVERIFY2(!button->checked(), qPrintable(button->objectName()));
    for (const Period &period : kPeriods)
        QCOMPARE(child<QLineEdit>(dialog, period.object)->text(), QStringLiteral("200"));
    const auto *const dateTime = child<QDateTimeEdit>(dialog, "dateTimeEdit");
    QCOMPARE(dateTime->dateTime(), startDateTime);
    QCOMPARE(dateTime->text(), QStringLiteral("2023-04-05 16:17:18"));
    QCOMPARE(child<QSpinBox>(dialog, "planeId")->value(), 0);
    QVERIFY(!child<QCheckBox>(dialog, "checkBox")->isChecked());
}

void TestGlobalSettingDialog::openingChangesNothing()
{
    const QDateTime start(QDate(2023, 4, 5), QTime(16, 17, 18, 19));
    startDateTime = start;
    startTimeFromUser = true;
    selectedPlaneEnabled = true;
    selectedPlaneId = 42;
    first(0x03)->setInterval(50);
    first(0x04)->setShown(true);
    const GlobalSettingDialog dialog(nullptr);
    QVERIFY(child<SwitchButton>(dialog, "switchButton_enableID")->checked());
    QCOMPARE(child<QSpinBox>(dialog, "planeId")->value(), 42);
    QCOMPARE(startDateTime, start);
    QVERIFY(startTimeFromUser);
    QVERIFY(selectedPlaneEnabled);
    QCOMPARE(selectedPlaneId, quint8(42));
    QCOMPARE(first(0x03)->interval(), 50);
    QVERIFY(first(0x04)->shown());
}

void TestGlobalSettingDialog::periodsAreTakenFromTheFirstChannels()
{
    for (const Period &period : kPeriods) {
        for (MyGraph *const graph : *channelGroup(period.code))
            graph->setInterval(7);
        first(period.code)->setInterval(1000 + period.code);
    }
    first(0x51)->setInterval(-5);
    const GlobalSettingDialog dialog(nullptr);
    for (const Period &period : kPeriods) {
        const QString wanted = period.code == 0x51 ? QStringLiteral("-5") : QString::number(1000 + period.code);
        QCOMPARE(child<QLineEdit>(dialog, period.object)->text(), wanted);
    }
}

void TestGlobalSettingDialog::periodsAreResetToTheDefaultByARead()
{
    {
        GlobalSettingDialog dialog(nullptr);
        dialog.show();
        for (const Period &period : kPeriods)
            setPeriod(dialog, period.object, QStringLiteral("500"));
        child<QSpinBox>(dialog, "planeId")->setValue(9);
        press(dialog, QDialogButtonBox::Ok);
    }
    Fixture::renewStore();
    const GlobalSettingDialog dialog(nullptr);
    for (const Period &period : kPeriods)
        QCOMPARE(child<QLineEdit>(dialog, period.object)->text(), QStringLiteral("200"));
    QCOMPARE(child<QSpinBox>(dialog, "planeId")->value(), 9);
    QCOMPARE(first(0x52)->planeId(), quint8(9));
}

void TestGlobalSettingDialog::togglingWithoutDataChangesNothingInTheStore()
{
    {
        const GlobalSettingDialog dialog(nullptr);
        auto *const button = child<SwitchButton>(dialog, "switchButton_temporary");
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(button->checked());
        for (const Row &row : kRows)
            QVERIFY(!channel(row)->shown());
    }
    // The next opening shows the real state.
    const GlobalSettingDialog dialog(nullptr);
    QVERIFY(!child<SwitchButton>(dialog, "switchButton_temporary")->checked());
}

void TestGlobalSettingDialog::planeFilterIsSetImmediatelyAndCancelKeepsIt()
{
    selectedPlaneId = 3;
    GlobalSettingDialog dialog(nullptr);
    const QSignalSpy emitted(&dialog, &GlobalSettingDialog::showGraphSignal);
    dialog.show();
    QTest::mouseClick(child<SwitchButton>(dialog, "switchButton_enableID"), Qt::LeftButton);
    QVERIFY(selectedPlaneEnabled);
    child<QSpinBox>(dialog, "planeId")->setValue(8);
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(selectedPlaneEnabled);
    QCOMPARE(selectedPlaneId, quint8(3));
    // The switch belongs to no channel.
    QCOMPARE(emitted.count(), 0);

    GlobalSettingDialog again(nullptr);
    QVERIFY(child<SwitchButton>(again, "switchButton_enableID")->checked());
    QTest::mouseClick(child<SwitchButton>(again, "switchButton_enableID"), Qt::LeftButton);
    QVERIFY(!selectedPlaneEnabled);
}

void TestGlobalSettingDialog::tickingTheBoxCopiesTheCurrentDateTime()
{
    const QDateTime start(QDate(2023, 4, 5), QTime(16, 17, 18));
    const QDateTime edited(QDate(2024, 5, 6), QTime(7, 8, 9));
    const QDateTime later(QDate(2025, 6, 7), QTime(10, 11, 12));
    startDateTime = start;
    const GlobalSettingDialog dialog(nullptr);
    auto *const edit = child<QDateTimeEdit>(dialog, "dateTimeEdit");
    auto *const box = child<QCheckBox>(dialog, "checkBox");

    edit->setDateTime(edited);
    QCOMPARE(startDateTime, start);
    QVERIFY(!startTimeFromUser);
    box->click();
    QCOMPARE(startDateTime, edited);
    QVERIFY(startTimeFromUser);

    edit->setDateTime(later);
    QCOMPARE(startDateTime, edited);
    box->click();
    QCOMPARE(startDateTime, edited);
    QVERIFY(!startTimeFromUser);
    box->click();
    QCOMPARE(startDateTime, later);
    QVERIFY(startTimeFromUser);
}

void TestGlobalSettingDialog::boxOpensUntickedAndTwoClicksDisableTheManualTime()
{
    startTimeFromUser = true;
    const GlobalSettingDialog dialog(nullptr);
    auto *const box = child<QCheckBox>(dialog, "checkBox");
    QVERIFY(!box->isChecked());
    QVERIFY(startTimeFromUser);
    box->click();
    QVERIFY(startTimeFromUser);
    box->click();
    QVERIFY(!startTimeFromUser);
}

void TestGlobalSettingDialog::cancelKeepsTheStartTime()
{
    const QDateTime edited(QDate(2024, 5, 6), QTime(7, 8, 9));
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    child<QDateTimeEdit>(dialog, "dateTimeEdit")->setDateTime(edited);
    child<QCheckBox>(dialog, "checkBox")->click();
    press(dialog, QDialogButtonBox::Cancel);
    QCOMPARE(startDateTime, edited);
    QVERIFY(startTimeFromUser);
}

void TestGlobalSettingDialog::planeIdAboveNinetyNineCannotBeEntered()
{
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    auto *const planeId = child<QSpinBox>(dialog, "planeId");
    planeId->selectAll();
    QTest::keyClicks(planeId, QStringLiteral("255"));
    QCOMPARE(planeId->value(), 25);
    planeId->setValue(99);
    planeId->stepUp();
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(selectedPlaneId, quint8(99));
}

void TestGlobalSettingDialog::okStoresEveryPeriodAndPlaneId()
{
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    child<QSpinBox>(dialog, "planeId")->setValue(17);
    for (const Period &period : kPeriods)
        setPeriod(dialog, period.object, QString::number(300 + period.code));
    // Nothing is stored before OK.
    for (const Row &row : kRows)
        QCOMPARE(channel(row)->interval(), 200);
    QCOMPARE(selectedPlaneId, quint8(0));

    press(dialog, QDialogButtonBox::Ok);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(selectedPlaneId, quint8(17));
    for (const Row &row : kRows) {
        if (row.code == 0x52)
            continue;
        const bool takesControlStatus = row.code == 0x51 || row.code == 0x53;
        QCOMPARE(channel(row)->interval(), 300 + (takesControlStatus ? 0x02 : row.code));
        QCOMPARE(channel(row)->planeId(), quint8(17));
    }
}

void TestGlobalSettingDialog::okDoesNotChangeTheBackupChannel()
{
    backupGraph->setPlaneId(5);
    backupGraph->setInterval(77);
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    child<QSpinBox>(dialog, "planeId")->setValue(17);
    for (const Period &period : kPeriods)
        setPeriod(dialog, period.object, QStringLiteral("500"));
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(backupGraph->planeId(), quint8(5));
    QCOMPARE(backupGraph->interval(), 77);
}

void TestGlobalSettingDialog::periodOfTheDifferencesIsShownButIgnored()
{
    {
        GlobalSettingDialog dialog(nullptr);
        dialog.show();
        setPeriod(dialog, "le_02", QStringLiteral("400"));
        setPeriod(dialog, "le_51", QStringLiteral("1000"));
        press(dialog, QDialogButtonBox::Ok);
    }
    for (const MyGraph *const graph : *channelGroup(0x51))
        QCOMPARE(graph->interval(), 400);
    const GlobalSettingDialog dialog(nullptr);
    QCOMPARE(child<QLineEdit>(dialog, "le_51")->text(), QStringLiteral("400"));
}

void TestGlobalSettingDialog::anyPeriodTextIsAccepted_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("interval");
    QTest::newRow("word") << "abc" << 0;
    QTest::newRow("nothing") << "" << 0;
    QTest::newRow("negative") << "-5" << -5;
    QTest::newRow("zero") << "0" << 0;
    QTest::newRow("beyond 32 bits") << "99999999999" << 0;
    QTest::newRow("largest") << "2147483647" << 2147483647;
    QTest::newRow("one above the largest") << "2147483648" << 0;
    QTest::newRow("exponent") << "1e3" << 0;
    QTest::newRow("fraction") << "200.5" << 0;
    QTest::newRow("hexadecimal") << "0x10" << 0;
    QTest::newRow("grouped") << "1,000" << 0;
    QTest::newRow("two numbers") << "12 34" << 0;
    QTest::newRow("full-width digits") << "２００" << 0;
    QTest::newRow("long") << QString(40000, QLatin1Char('9')) << 0;
}

void TestGlobalSettingDialog::anyPeriodTextIsAccepted()
{
    QFETCH(QString, text);
    QFETCH(int, interval);
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    setPeriod(dialog, "le_02", text);
    setPeriod(dialog, "le_41", text);
    press(dialog, QDialogButtonBox::Ok);
    QVERIFY(!dialog.isVisible());
    for (const Row &row : kRows) {
        const bool isSet = row.code == 0x02 || row.code == 0x51 || row.code == 0x53 || row.code == 0x41;
        QCOMPARE(channel(row)->interval(), isSet ? interval : 200);
    }
    // The next opening shows the stored value.
    const GlobalSettingDialog again(nullptr);
    QCOMPARE(child<QLineEdit>(again, "le_41")->text(), QString::number(interval));
}

void TestGlobalSettingDialog::cancelStoresNeitherPeriodNorPlaneId()
{
    selectedPlaneId = 3;
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    child<QSpinBox>(dialog, "planeId")->setValue(17);
    for (const Period &period : kPeriods)
        setPeriod(dialog, period.object, QStringLiteral("500"));
    press(dialog, QDialogButtonBox::Cancel);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(selectedPlaneId, quint8(3));
    for (const Row &row : kRows) {
        QCOMPARE(channel(row)->interval(), 200);
        QCOMPARE(channel(row)->planeId(), quint8(0));
    }
}

void TestGlobalSettingDialog::everyWayOfClosingEndsExec_data()
{
    QTest::addColumn<int>("action");
    QTest::newRow("OK") << int(QDialogButtonBox::Ok);
    QTest::newRow("Cancel") << int(QDialogButtonBox::Cancel);
    QTest::newRow("close") << 0;
    QTest::newRow("Escape") << -1;
}

void TestGlobalSettingDialog::everyWayOfClosingEndsExec()
{
    QFETCH(int, action);
    GlobalSettingDialog dialog(nullptr);
    QTimer::singleShot(0, &dialog, [&dialog, action] {
        if (action > 0)
            press(dialog, QDialogButtonBox::StandardButton(action));
        else if (action == 0)
            dialog.close();
        else
            QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    dialog.exec();
    QVERIFY(!dialog.isVisible());
}

void TestGlobalSettingDialog::closingIsAcceptedAndStoresNothing()
{
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    child<QSpinBox>(dialog, "planeId")->setValue(17);
    const QSignalSpy finished(&dialog, &QDialog::finished);
    QCloseEvent event;
    event.ignore();
    QApplication::sendEvent(&dialog, &event);
    QVERIFY(event.isAccepted());
    QVERIFY(dialog.close());
    QVERIFY(!dialog.isVisible());
    QCOMPARE(selectedPlaneId, quint8(0));
    QCOMPARE(finished.count(), 0);
}

void TestGlobalSettingDialog::stateChangeSignalIsNeverEmitted()
{
    GlobalSettingDialog dialog(nullptr);
    const QSignalSpy sent(&dialog, &GlobalSettingDialog::checkStateChangedSignal);
    dialog.show();
    for (SwitchButton *const button : dialog.findChildren<SwitchButton *>())
        QTest::mouseClick(button, Qt::LeftButton);
    child<QCheckBox>(dialog, "checkBox")->click();
    press(dialog, QDialogButtonBox::Ok);
    QCOMPARE(sent.count(), 0);
}

QTEST_MAIN(TestGlobalSettingDialog)
#include "TestGlobalSettingDialog.moc"
