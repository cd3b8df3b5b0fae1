#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/** The expected content of one row of a field table. */
struct ExpectedField {
    int code;
    int number; // from 1
    int byte; // from 1
    int width;
    bool isSigned;
    double divisor;
    QString name;
    QString label;
};

/**
 * The downlink frames, written independently of the program's tables. A field is "type /divisor name label".
 * The first field starts at byte 7 and each other field directly after the previous one. "@byte" after the type
 * marks an exception. Row order is channel order.
 */
inline QVector<ExpectedField> expectedFields()
{
    struct Table {
        int code;
        const char *text;
    };
    // clang-format off
    static const Table tables[] = {
    {0x01, R"(
        u8 /1 HBS_AircraftType 飞行器类型
        u8 /1 HBS_GeoState 地面定位状态
        i32 /10000000 HBS_Lng 原点经度
        i32 /10000000 HBS_Lat 原点纬度
        u16 /1000 HBS_Version 通信协议版本
)"},
    {0x02, R"(
        u16 /1 FSS_DeviceState 飞控状态
        u8 /1 FSS_ControlLoadFactor 飞控负载率
        u16 /1 FSS_MainBatteryVoltage 主电池电压
        u16 /1 FSS_ADCBatteryVoltage1 ADC电压1
        u16 /1 FSS_ADCBatteryVoltage2 ADC电压2
        i16 /100 FSS_Temperature 机载设备温度
        u32 /1 FSS_PowerUptime 飞控上电时间
        u32 /1 FSS_FlyDuration 飞行时间
        i16 /1 FSS_TotalVoyage 总航程
        u8 /1 FSS_ControlSource 控制来源
        u8 /1 FSS_FlightMode 主飞行模式
        u8 /1 FSS_SubFlightMode 子飞行模式
        u8 /1 FSS_SwitchState 开关状态
        u8 /1 FSS_Reserved1 保留字
        u8 /1 FSS_ThrottleOutputRate 油门输出百分比
        u8 /1 FSS_TargetLaps 目标圈数
        u8 /1 FSS_NumLaps 已飞圈数
        u16 /1 FSS_DistanceFromTargetPoint 与目标航点距离
        u16 /1 FSS_DistanceFromReturnPoint 离归航点距离
        u16 /1 FSS_DistanceFromHome 离家距离
        i16 /1 FSS_YawDistance 偏航距
        u8 /1 FSS_Year 年
        u8 /1 FSS_Month 月
        u8 /1 FSS_Date 日
        u8 /1 FSS_Hours 时
        u8 /1 FSS_Minutes 分
        u8 /1 FSS_Seconds 秒
        u8 /1 FSS_FlightStage 飞行阶段
        u16 /10 FSS_YawFromHome 离家方位(度)
        i16 /10 FSS_YawHeight 偏航高度
        u8 /1 FSS_OilVolume 油量
        i16 /10 FSS_CylinderTemperature1 缸温1
        i16 /10 FSS_CylinderTemperature2 缸温2
        u16 /1 FSS_MainBatteryCurrent 主电池电流
        u16 /1 FSS_MainBatteryLevel 主电池电量
        u16 /1 FSS_RotateSpeed1 转速1
        u16 /1 FSS_RotateSpeed2 转速2
)"},
    {0x03, R"(
        i16 /100 PGS_Roll 横滚
        i16 /100 PGS_Pitch 俯仰
        u16 /100 PGS_Yaw 航向
        u16 /100 PGS_GPS_Precise GPS定位精度
        u8 /1 PGS_GPS_State GPS定位状态
        u8 /1 PGS_GPS_SatelliteCount GPS星数
        i32 /10000000 PGS_GPS_Lng 经度(Longitude)
        i32 /10000000 PGS_GPS_Lat 纬度(Latitude)
        i32 /100 PGS_GPS_Alt 海拔高度(Altitude)
        i32 /100 PGS_GPS_AirPressure_Alt 气压高度
        i32 /100 PGS_GPS_Relative_Height 相对高度
        i16 /100 PGS_EastSpeed 东向速度
        i16 /100 PGS_NorthSpeed 北向速度
        i16 /100 PGS_UpSkySpeed 天向速度
        i16 /100 PGS_GroundSpeed 地速
        i16 /100 PGS_IndicateAirSpeed 指示空速
        i16 /100 PGS_RealAirSpeed 真空速
        u16 /10 PGS_AssitHeight 辅助高度
)"},
    {0x04, R"(
        i16 /1000 SS_ACC_X 加计X（acc_x）
        i16 /1000 SS_ACC_Y 加计Y（acc_y）
        i16 /1000 SS_ACC_Z 加计Z（acc_z）
        i32 /100 SS_AngleSpeed_X 角速度X（g_x）
        i32 /100 SS_AngleSpeed_Y 角速度Y（g_y）
        i32 /100 SS_AngleSpeed_Z 角速度Z（g_z）
        u16 /1 SS_RC1 RC1
        u16 /1 SS_RC2 RC2
        u16 /1 SS_RC3 RC3
        u16 /1 SS_RC4 RC4
        u16 /1 SS_RC5 RC5
        u16 /1 SS_RC6 RC6
        u16 /1 SS_RC7 RC7
        u16 /1 SS_RC8 RC8
        u16 /1 SS_RC9 RC9
        u16 /1 SS_RC10 RC10
        u16 /1 SS_RC11 RC11
        u16 /1 SS_RC12 RC12
        u16 /1 SS_RC13 RC13
        u16 /1 SS_RC14 RC14
        u16 /1 SS_RC15 RC15
        u16 /1 SS_RC16 RC16
        u16 /1 SS_OUT1 OUT1
        u16 /1 SS_OUT2 OUT2
        u16 /1 SS_OUT3 OUT3
        u16 /1 SS_OUT4 OUT4
        u16 /1 SS_OUT5 OUT5
        u16 /1 SS_OUT6 OUT6
        u16 /1 SS_OUT7 OUT7
        u16 /1 SS_OUT8 OUT8
        u16 /1 SS_OUT9 OUT9
        u16 /1 SS_OUT10 OUT10
        u8 /1 SS_MAG_CALIB_P 磁校准进度
        u8 /1 SS_MAG_CALIB_Q 磁校准质量
)"},
    {0x05, R"(
        u8 /1 FTP_TargetPoint_Group 目标航点级别
        u8 /1 FTP_TargetPoint_ID 目标航点ID
        i32 /10000000 FTP_TargetPoint_Lng 目标经度
        i32 /10000000 FTP_TargetPoint_Lat 目标纬度
        i32 /100 FTP_TargetPoint_Height 目标高度
        i16 /100 FTP_TargetSpeed 目标速度
        i16 /100 FTP_TargetRoll 目标横滚
        i16 /100 FTP_TargetPitch 目标俯仰
        u16 /100 FTP_TargetYaw 目标航向
        i16 /100 FTP_TargetVerticalSpeed 目标垂直速度
        i16 /1 FTP_TargetRadius 目标半径
        i8 /1 FTP_HoverMode 盘旋模式
        u8 /1 FTP_LifeMode 升降模式
)"},
    {0x41, R"(
        i16 /10 PI_PitchAngle 光轴俯仰角
        i16 /10 PI_YawAngle 光轴方位角
        u8 /1 PI_StateReport 状态信息反馈
        u8 /10 PI_FocalLen 焦距
        i16 /1000 PI_TargetSurfaceLen 等效靶面长度
        i16 /1000 PI_TargetSurfaceWidth 等效靶面宽度
        i16 /100 PI_Origin_X 图像中心点X轴坐标
        i16 /100 PI_Origin_Y 图像中心点Y轴坐标
        i16 /1 PI_Target_X 目标脱靶量X轴坐标
        i16 /1 PI_Target_Y 目标脱靶量Y轴坐标
        i32 /10000000 PI_Lock_Lng 锁定经度
        i32 /10000000 PI_Lock_Lat 锁定纬度
        u16 /1 PI_Lock_Distance 锁定距离
        u16 /100 PI_Lock_Yaw 锁定方位
)"},
    {0x51, R"(
        i16@7 /1 DF_PitchDiff 俯仰差值
        i16@9 /1 DF_RollDiff 横滚差值
        i16@11 /1 DF_YawDiff 航向差值
        i16@12 /1 DF_SpeedDiff 速度差值
        i16@13 /1 DF_HeightDiff 高度差值
)"},
    {0x52, R"(
        i16@11 /1 BU_SpeedAngle 速度角度
)"},
    {0x53, R"(
        u8@1 /1 DS_Top 陀螺
        u8@2 /1 DS_Unprotected 解保
        u8@3 /1 DS_MagneticCompass 磁罗盘
        u8@4 /1 DS_Barometer 气压计
        u8@5 /1 DS_AirspeedMeter 空速计
        u8@6 /1 DS_GPS 定位
        u8@7 /1 DS_SBUS SBUS
        u8@8 /1 DS_DataLink 链路
        u8@9 /1 DS_Voltage 电压
        u8@10 /1 DS_OutsideTube 筒外
        u8@11 /1 DS_HighDrop 掉高
        u8@12 /1 DS_ThrottleLocked 锁定（油门）
        u8@13 /1 DS_Posture 姿态
        u8@14 /1 DS_InertialNav 惯导
        u8@15 /1 DS_Power 动力
        u8@16 /1 DS_Payload 载荷
)"},
    };
    // clang-format on
    QVector<ExpectedField> result;
    for (const Table &table : tables) {
        int next = 7;
        int number = 0;
        for (const QString &line : QString::fromUtf8(table.text).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList words = line.simplified().split(QLatin1Char(' '));
            if (words.size() != 4)
                qFatal("bad row %s", qPrintable(line));
            const QStringList type = words[0].mid(1).split(QLatin1Char('@'));
            const int width = type[0].toInt() / 8;
            const int byte = type.size() > 1 ? type[1].toInt() : next;
            next = byte + width;
            result.append({table.code, ++number, byte, width, words[0].startsWith(QLatin1Char('i')),
                           words[1].mid(1).toDouble(), words[2], words[3]});
        }
    }
    return result;
}
