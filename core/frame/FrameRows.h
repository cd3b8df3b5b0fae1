#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/**
 * The downlink frame of the aircraft and the tables of its fields.
 *
 * A frame consists of two header bytes, the plane id, the function code, two unused bytes, and the fields of the
 * function code, big-endian. It has no length field and no checksum.
 */
namespace ostravel::frame
{

/** The first two bytes of a frame. */
///@{
inline constexpr std::uint8_t kHeader1 = 0xAA;
inline constexpr std::uint8_t kHeader2 = 0xEC;
///@}
/** Positions of header bytes, counted from 0. */
///@{
inline constexpr int kPlaneIdPosition = 2;
inline constexpr int kFunctionCodePosition = 3;
///@}
/** Minimum length of a frame: header, plane id and function code. */
inline constexpr int kMinBytes = 4;
/** Position of the device state word, whose bits are the equipment channels. */
inline constexpr int kDeviceStatePosition = 6;

/**
 * The function codes.
 *
 * Frames of 0x51 and 0x53 are ignored: the difference channels are computed after a read, and the equipment channels
 * are the bits of the device state in each 0x02 frame. Frames of 0x52 are decoded; the angles computed after a read
 * are appended to their samples.
 */
///@{
inline constexpr std::uint8_t kHeartBeat = 0x01;
inline constexpr std::uint8_t kControlStatus = 0x02;
inline constexpr std::uint8_t kAttitude = 0x03;
inline constexpr std::uint8_t kSensor = 0x04;
inline constexpr std::uint8_t kTarget = 0x05;
inline constexpr std::uint8_t kPayload = 0x41;
inline constexpr std::uint8_t kDifference = 0x51;
inline constexpr std::uint8_t kBackup = 0x52;
inline constexpr std::uint8_t kEquipment = 0x53;
///@}

/** One row of a field table. */
struct FieldRow {
    std::uint8_t index; ///< row number in its table, from 1
    std::uint16_t offset; ///< byte number of the field in the frame, counted from 1
    std::int8_t width; ///< bytes
    double divisor; ///< value = raw / divisor
    bool isSigned; ///< two's complement
    const char *name; ///< channel name in code and logs
    std::u16string_view label; ///< displayed name, and the key of the channel at run time
};

// clang-format off
/** The rows of each function code, in the order of the channels in the store. */
///@{
inline constexpr std::array kHeartBeatRows {
    FieldRow {  1,   7, 1,        1, false, "HBS_AircraftType", u"飞行器类型"},
    FieldRow {  2,   8, 1,        1, false, "HBS_GeoState",     u"地面定位状态"},
    FieldRow {  3,   9, 4, 10000000, true,  "HBS_Lng",          u"原点经度"},
    FieldRow {  4,  13, 4, 10000000, true,  "HBS_Lat",          u"原点纬度"},
    FieldRow {  5,  17, 2,     1000, false, "HBS_Version",      u"通信协议版本"},
};

inline constexpr std::array kControlStatusRows {
    FieldRow {  1,   7, 2,        1, false, "FSS_DeviceState",             u"飞控状态"},
    FieldRow {  2,   9, 1,        1, false, "FSS_ControlLoadFactor",       u"飞控负载率"},
    FieldRow {  3,  10, 2,        1, false, "FSS_MainBatteryVoltage",      u"主电池电压"},
    FieldRow {  4,  12, 2,        1, false, "FSS_ADCBatteryVoltage1",      u"ADC电压1"},
    FieldRow {  5,  14, 2,        1, false, "FSS_ADCBatteryVoltage2",      u"ADC电压2"},
    FieldRow {  6,  16, 2,      100, true,  "FSS_Temperature",             u"机载设备温度"},
    FieldRow {  7,  18, 4,        1, false, "FSS_PowerUptime",             u"飞控上电时间"},
    FieldRow {  8,  22, 4,        1, false, "FSS_FlyDuration",             u"飞行时间"},
    FieldRow {  9,  26, 2,        1, true,  "FSS_TotalVoyage",             u"总航程"},
    FieldRow { 10,  28, 1,        1, false, "FSS_ControlSource",           u"控制来源"},
    FieldRow { 11,  29, 1,        1, false, "FSS_FlightMode",              u"主飞行模式"},
    FieldRow { 12,  30, 1,        1, false, "FSS_SubFlightMode",           u"子飞行模式"},
    FieldRow { 13,  31, 1,        1, false, "FSS_SwitchState",             u"开关状态"},
    FieldRow { 14,  32, 1,        1, false, "FSS_Reserved1",               u"保留字"},
    FieldRow { 15,  33, 1,        1, false, "FSS_ThrottleOutputRate",      u"油门输出百分比"},
    FieldRow { 16,  34, 1,        1, false, "FSS_TargetLaps",              u"目标圈数"},
    FieldRow { 17,  35, 1,        1, false, "FSS_NumLaps",                 u"已飞圈数"},
    FieldRow { 18,  36, 2,        1, false, "FSS_DistanceFromTargetPoint", u"与目标航点距离"},
    FieldRow { 19,  38, 2,        1, false, "FSS_DistanceFromReturnPoint", u"离归航点距离"},
    FieldRow { 20,  40, 2,        1, false, "FSS_DistanceFromHome",        u"离家距离"},
    FieldRow { 21,  42, 2,        1, true,  "FSS_YawDistance",             u"偏航距"},
    FieldRow { 22,  44, 1,        1, false, "FSS_Year",                    u"年"},
    FieldRow { 23,  45, 1,        1, false, "FSS_Month",                   u"月"},
    FieldRow { 24,  46, 1,        1, false, "FSS_Date",                    u"日"},
    FieldRow { 25,  47, 1,        1, false, "FSS_Hours",                   u"时"},
    FieldRow { 26,  48, 1,        1, false, "FSS_Minutes",                 u"分"},
    FieldRow { 27,  49, 1,        1, false, "FSS_Seconds",                 u"秒"},
    FieldRow { 28,  50, 1,        1, false, "FSS_FlightStage",             u"飞行阶段"},
    FieldRow { 29,  51, 2,       10, false, "FSS_YawFromHome",             u"离家方位(度)"},
    FieldRow { 30,  53, 2,       10, true,  "FSS_YawHeight",               u"偏航高度"},
    FieldRow { 31,  55, 1,        1, false, "FSS_OilVolume",               u"油量"},
    FieldRow { 32,  56, 2,       10, true,  "FSS_CylinderTemperature1",    u"缸温1"},
    FieldRow { 33,  58, 2,       10, true,  "FSS_CylinderTemperature2",    u"缸温2"},
    FieldRow { 34,  60, 2,        1, false, "FSS_MainBatteryCurrent",      u"主电池电流"},
    FieldRow { 35,  62, 2,        1, false, "FSS_MainBatteryLevel",        u"主电池电量"},
    FieldRow { 36,  64, 2,        1, false, "FSS_RotateSpeed1",            u"转速1"},
    FieldRow { 37,  66, 2,        1, false, "FSS_RotateSpeed2",            u"转速2"},
};

inline constexpr std::array kAttitudeRows {
    FieldRow {  1,   7, 2,      100, true,  "PGS_Roll",                u"横滚"},
    FieldRow {  2,   9, 2,      100, true,  "PGS_Pitch",               u"俯仰"},
    FieldRow {  3,  11, 2,      100, false, "PGS_Yaw",                 u"航向"},
    FieldRow {  4,  13, 2,      100, false, "PGS_GPS_Precise",         u"GPS定位精度"},
    FieldRow {  5,  15, 1,        1, false, "PGS_GPS_State",           u"GPS定位状态"},
    FieldRow {  6,  16, 1,        1, false, "PGS_GPS_SatelliteCount",  u"GPS星数"},
    FieldRow {  7,  17, 4, 10000000, true,  "PGS_GPS_Lng",             u"经度(Longitude)"},
    FieldRow {  8,  21, 4, 10000000, true,  "PGS_GPS_Lat",             u"纬度(Latitude)"},
    FieldRow {  9,  25, 4,      100, true,  "PGS_GPS_Alt",             u"海拔高度(Altitude)"},
    FieldRow { 10,  29, 4,      100, true,  "PGS_GPS_AirPressure_Alt", u"气压高度"},
    FieldRow { 11,  33, 4,      100, true,  "PGS_GPS_Relative_Height", u"相对高度"},
    FieldRow { 12,  37, 2,      100, true,  "PGS_EastSpeed",           u"东向速度"},
    FieldRow { 13,  39, 2,      100, true,  "PGS_NorthSpeed",          u"北向速度"},
    FieldRow { 14,  41, 2,      100, true,  "PGS_UpSkySpeed",          u"天向速度"},
    FieldRow { 15,  43, 2,      100, true,  "PGS_GroundSpeed",         u"地速"},
    FieldRow { 16,  45, 2,      100, true,  "PGS_IndicateAirSpeed",    u"指示空速"},
    FieldRow { 17,  47, 2,      100, true,  "PGS_RealAirSpeed",        u"真空速"},
    FieldRow { 18,  49, 2,       10, false, "PGS_AssitHeight",         u"辅助高度"},
};

inline constexpr std::array kSensorRows {
    FieldRow {  1,   7, 2,     1000, true,  "SS_ACC_X",        u"加计X（acc_x）"},
    FieldRow {  2,   9, 2,     1000, true,  "SS_ACC_Y",        u"加计Y（acc_y）"},
    FieldRow {  3,  11, 2,     1000, true,  "SS_ACC_Z",        u"加计Z（acc_z）"},
    FieldRow {  4,  13, 4,      100, true,  "SS_AngleSpeed_X", u"角速度X（g_x）"},
    FieldRow {  5,  17, 4,      100, true,  "SS_AngleSpeed_Y", u"角速度Y（g_y）"},
    FieldRow {  6,  21, 4,      100, true,  "SS_AngleSpeed_Z", u"角速度Z（g_z）"},
    FieldRow {  7,  25, 2,        1, false, "SS_RC1",          u"RC1"},
    FieldRow {  8,  27, 2,        1, false, "SS_RC2",          u"RC2"},
    FieldRow {  9,  29, 2,        1, false, "SS_RC3",          u"RC3"},
    FieldRow { 10,  31, 2,        1, false, "SS_RC4",          u"RC4"},
    FieldRow { 11,  33, 2,        1, false, "SS_RC5",          u"RC5"},
    FieldRow { 12,  35, 2,        1, false, "SS_RC6",          u"RC6"},
    FieldRow { 13,  37, 2,        1, false, "SS_RC7",          u"RC7"},
    FieldRow { 14,  39, 2,        1, false, "SS_RC8",          u"RC8"},
    FieldRow { 15,  41, 2,        1, false, "SS_RC9",          u"RC9"},
    FieldRow { 16,  43, 2,        1, false, "SS_RC10",         u"RC10"},
    FieldRow { 17,  45, 2,        1, false, "SS_RC11",         u"RC11"},
    FieldRow { 18,  47, 2,        1, false, "SS_RC12",         u"RC12"},
    FieldRow { 19,  49, 2,        1, false, "SS_RC13",         u"RC13"},
    FieldRow { 20,  51, 2,        1, false, "SS_RC14",         u"RC14"},
    FieldRow { 21,  53, 2,        1, false, "SS_RC15",         u"RC15"},
    FieldRow { 22,  55, 2,        1, false, "SS_RC16",         u"RC16"},
    FieldRow { 23,  57, 2,        1, false, "SS_OUT1",         u"OUT1"},
    FieldRow { 24,  59, 2,        1, false, "SS_OUT2",         u"OUT2"},
    FieldRow { 25,  61, 2,        1, false, "SS_OUT3",         u"OUT3"},
    FieldRow { 26,  63, 2,        1, false, "SS_OUT4",         u"OUT4"},
    FieldRow { 27,  65, 2,        1, false, "SS_OUT5",         u"OUT5"},
    FieldRow { 28,  67, 2,        1, false, "SS_OUT6",         u"OUT6"},
    FieldRow { 29,  69, 2,        1, false, "SS_OUT7",         u"OUT7"},
    FieldRow { 30,  71, 2,        1, false, "SS_OUT8",         u"OUT8"},
    FieldRow { 31,  73, 2,        1, false, "SS_OUT9",         u"OUT9"},
    FieldRow { 32,  75, 2,        1, false, "SS_OUT10",        u"OUT10"},
    FieldRow { 33,  77, 1,        1, false, "SS_MAG_CALIB_P",  u"磁校准进度"},
    FieldRow { 34,  78, 1,        1, false, "SS_MAG_CALIB_Q",  u"磁校准质量"},
};

inline constexpr std::array kTargetRows {
    FieldRow {  1,   7, 1,        1, false, "FTP_TargetPoint_Group",   u"目标航点级别"},
    FieldRow {  2,   8, 1,        1, false, "FTP_TargetPoint_ID",      u"目标航点ID"},
    FieldRow {  3,   9, 4, 10000000, true,  "FTP_TargetPoint_Lng",     u"目标经度"},
    FieldRow {  4,  13, 4, 10000000, true,  "FTP_TargetPoint_Lat",     u"目标纬度"},
    FieldRow {  5,  17, 4,      100, true,  "FTP_TargetPoint_Height",  u"目标高度"},
    FieldRow {  6,  21, 2,      100, true,  "FTP_TargetSpeed",         u"目标速度"},
    FieldRow {  7,  23, 2,      100, true,  "FTP_TargetRoll",          u"目标横滚"},
    FieldRow {  8,  25, 2,      100, true,  "FTP_TargetPitch",         u"目标俯仰"},
    FieldRow {  9,  27, 2,      100, false, "FTP_TargetYaw",           u"目标航向"},
    FieldRow { 10,  29, 2,      100, true,  "FTP_TargetVerticalSpeed", u"目标垂直速度"},
    FieldRow { 11,  31, 2,        1, true,  "FTP_TargetRadius",        u"目标半径"},
    FieldRow { 12,  33, 1,        1, true,  "FTP_HoverMode",           u"盘旋模式"},
    FieldRow { 13,  34, 1,        1, false, "FTP_LifeMode",            u"升降模式"},
};

inline constexpr std::array kPayloadRows {
    FieldRow {  1,   7, 2,       10, true,  "PI_PitchAngle",         u"光轴俯仰角"},
    FieldRow {  2,   9, 2,       10, true,  "PI_YawAngle",           u"光轴方位角"},
    FieldRow {  3,  11, 1,        1, false, "PI_StateReport",        u"状态信息反馈"},
    FieldRow {  4,  12, 1,       10, false, "PI_FocalLen",           u"焦距"},
    FieldRow {  5,  13, 2,     1000, true,  "PI_TargetSurfaceLen",   u"等效靶面长度"},
    FieldRow {  6,  15, 2,     1000, true,  "PI_TargetSurfaceWidth", u"等效靶面宽度"},
    FieldRow {  7,  17, 2,      100, true,  "PI_Origin_X",           u"图像中心点X轴坐标"},
    FieldRow {  8,  19, 2,      100, true,  "PI_Origin_Y",           u"图像中心点Y轴坐标"},
    FieldRow {  9,  21, 2,        1, true,  "PI_Target_X",           u"目标脱靶量X轴坐标"},
    FieldRow { 10,  23, 2,        1, true,  "PI_Target_Y",           u"目标脱靶量Y轴坐标"},
    FieldRow { 11,  25, 4, 10000000, true,  "PI_Lock_Lng",           u"锁定经度"},
    FieldRow { 12,  29, 4, 10000000, true,  "PI_Lock_Lat",           u"锁定纬度"},
    FieldRow { 13,  33, 2,        1, false, "PI_Lock_Distance",      u"锁定距离"},
    FieldRow { 14,  35, 2,      100, false, "PI_Lock_Yaw",           u"锁定方位"},
};

inline constexpr std::array kDifferenceRows {
    FieldRow {  1,   7, 2,        1, true,  "DF_PitchDiff",  u"俯仰差值"},
    FieldRow {  2,   9, 2,        1, true,  "DF_RollDiff",   u"横滚差值"},
    FieldRow {  3,  11, 2,        1, true,  "DF_YawDiff",    u"航向差值"},
    FieldRow {  4,  12, 2,        1, true,  "DF_SpeedDiff",  u"速度差值"},
    FieldRow {  5,  13, 2,        1, true,  "DF_HeightDiff", u"高度差值"},
};

inline constexpr std::array kBackupRows {
    FieldRow {  1,  11, 2,        1, true,  "BU_SpeedAngle", u"速度角度"},
};

inline constexpr std::array kEquipmentRows {
    FieldRow {  1,   1, 1,        1, false, "DS_Top",             u"陀螺"},
    FieldRow {  2,   2, 1,        1, false, "DS_Unprotected",     u"解保"},
    FieldRow {  3,   3, 1,        1, false, "DS_MagneticCompass", u"磁罗盘"},
    FieldRow {  4,   4, 1,        1, false, "DS_Barometer",       u"气压计"},
    FieldRow {  5,   5, 1,        1, false, "DS_AirspeedMeter",   u"空速计"},
    FieldRow {  6,   6, 1,        1, false, "DS_GPS",             u"定位"},
    FieldRow {  7,   7, 1,        1, false, "DS_SBUS",            u"SBUS"},
    FieldRow {  8,   8, 1,        1, false, "DS_DataLink",        u"链路"},
    FieldRow {  9,   9, 1,        1, false, "DS_Voltage",         u"电压"},
    FieldRow { 10,  10, 1,        1, false, "DS_OutsideTube",     u"筒外"},
    FieldRow { 11,  11, 1,        1, false, "DS_HighDrop",        u"掉高"},
    FieldRow { 12,  12, 1,        1, false, "DS_ThrottleLocked",  u"锁定（油门）"},
    FieldRow { 13,  13, 1,        1, false, "DS_Posture",         u"姿态"},
    FieldRow { 14,  14, 1,        1, false, "DS_InertialNav",     u"惯导"},
    FieldRow { 15,  15, 1,        1, false, "DS_Power",           u"动力"},
    FieldRow { 16,  16, 1,        1, false, "DS_Payload",         u"载荷"},
};
///@}
// clang-format on

/** A function code with its field table. */
struct Layout {
    std::uint8_t code; ///< function code
    const char *name; ///< code and description
    const FieldRow *rows; ///< its field table
    int rowCount; ///< rows of the table
    int gate; ///< the fields are read only from frames longer than this, in bytes
    int size; ///< a byte count; unused
};

/** Gate of a code without a minimum length, and of the codes that are never decoded. */
inline constexpr int kNoGate = -1;

// clang-format off
/**
 * All function codes, in the order of the store.
 *
 * The gates are fixed numbers of the downlink and not derived from the rows: for four codes the last field ends one
 * byte after the shortest frame that passes.
 */
inline constexpr std::array kLayouts {
    Layout {kHeartBeat,     "0x01-HeartBeat",               kHeartBeatRows.data(),     int(kHeartBeatRows.size()),     16,      18},
    Layout {kControlStatus, "0x02-ControlSystemStatus",     kControlStatusRows.data(), int(kControlStatusRows.size()), 65,      0},
    Layout {kAttitude,      "0x03-AttitudeAndPositionInfo", kAttitudeRows.data(),      int(kAttitudeRows.size()),      48,      0},
    Layout {kSensor,        "0x04-SensorValue",             kSensorRows.data(),        int(kSensorRows.size()),        77,      0},
    Layout {kTarget,        "0x05-FlightTargetValue",       kTargetRows.data(),        int(kTargetRows.size()),        33,      0},
    Layout {kPayload,       "0x41-PayloadInfo",             kPayloadRows.data(),       int(kPayloadRows.size()),       34,      0},
    Layout {kDifference,    "0x51-Difference",              kDifferenceRows.data(),    int(kDifferenceRows.size()),    kNoGate, 0},
    Layout {kBackup,        "0x52-Backup",                  kBackupRows.data(),        int(kBackupRows.size()),        kNoGate, 0},
    Layout {kEquipment,     "0x53-EquipmentStatus",         kEquipmentRows.data(),     int(kEquipmentRows.size()),     kNoGate, 0},
};
// clang-format on

/** The layout of one of the codes above. In a constant expression, any other code is a compile error. */
constexpr const Layout &layoutOf(std::uint8_t code)
{
    for (const Layout &layout : kLayouts) {
        if (layout.code == code)
            return layout;
    }
    throw "no such function code";
}

/** Number of the last byte that a table uses, counted from 1. */
constexpr int reach(const Layout &layout)
{
    int last = 0;
    for (int row = 0; row < layout.rowCount; ++row)
        last = std::max(last, layout.rows[row].offset + layout.rows[row].width - 1);
    return last;
}

/** Number of the last byte that any table uses, counted from 1. */
constexpr int reach()
{
    int last = 0;
    for (const Layout &layout : kLayouts)
        last = std::max(last, reach(layout));
    return last;
}

/**
 * Index (from 0) of a channel in its table, and in the store's array of its function code.
 *
 * Meant for constant expressions, where an unknown name is a compile error.
 */
constexpr int rowOf(std::uint8_t code, std::string_view name)
{
    const Layout &layout = layoutOf(code);
    for (int row = 0; row < layout.rowCount; ++row) {
        if (layout.rows[row].name == name)
            return row;
    }
    throw "no such channel";
}

/** Number of rows of all tables, that is, of channels. */
constexpr int rowCount()
{
    int count = 0;
    for (const Layout &layout : kLayouts)
        count += layout.rowCount;
    return count;
}

/** Characters that a recorder writes for one frame of each decoded code, including line ends. */
constexpr int roundCharacters()
{
    int characters = 0;
    for (const Layout &layout : kLayouts) {
        if (layout.gate != kNoGate)
            characters += 2 * reach(layout) + 1;
    }
    return characters;
}

/** Number of decoded codes: of the frames that roundCharacters() counts. */
constexpr int roundFrames()
{
    int frames = 0;
    for (const Layout &layout : kLayouts) {
        if (layout.gate != kNoGate)
            ++frames;
    }
    return frames;
}

/** Index of a code's first row among the rows of all tables, in the order of kLayouts. */
constexpr int firstRowOf(std::uint8_t code)
{
    int first = 0;
    for (const Layout &layout : kLayouts) {
        if (layout.code == code)
            return first;
        first += layout.rowCount;
    }
    throw "no such function code";
}

} // namespace ostravel::frame
