#include "ChannelInfo.h"

#include "FrameRows.h"

#include <QByteArray>
#include <QString>
#include <array>
#include <string_view>
#include <vector>

namespace
{

using namespace std::string_view_literals;
using ostravel::frame::FieldRow;
using ostravel::frame::Layout;

/** The name of a group, for people and for scripts. */
const char *groupName(std::uint8_t code)
{
    switch (code) {
    case ostravel::frame::kHeartBeat:
        return "heartbeat";
    case ostravel::frame::kControlStatus:
        return "control";
    case ostravel::frame::kAttitude:
        return "attitude";
    case ostravel::frame::kSensor:
        return "sensor";
    case ostravel::frame::kTarget:
        return "target";
    case ostravel::frame::kPayload:
        return "payload";
    case ostravel::frame::kDifference:
        return "difference";
    case ostravel::frame::kBackup:
        return "backup";
    default:
        return "equipment";
    }
}

/** A unit with the channels that have it. */
struct UnitNames {
    const char *unit;
    std::vector<std::string_view> names;
};

const char *unitOf(std::string_view name)
{
    static const std::array kUnits{
        UnitNames{"°",
                  {"HBS_Lng"sv, "HBS_Lat"sv, "FSS_YawFromHome"sv, "PGS_Roll"sv, "PGS_Pitch"sv, "PGS_Yaw"sv,
                   "PGS_GPS_Lng"sv, "PGS_GPS_Lat"sv, "FTP_TargetPoint_Lng"sv, "FTP_TargetPoint_Lat"sv,
                   "FTP_TargetRoll"sv, "FTP_TargetPitch"sv, "FTP_TargetYaw"sv, "PI_PitchAngle"sv, "PI_YawAngle"sv,
                   "PI_Lock_Lng"sv, "PI_Lock_Lat"sv, "PI_Lock_Yaw"sv, "DF_PitchDiff"sv, "DF_RollDiff"sv,
                   "DF_YawDiff"sv, "BU_SpeedAngle"sv}},
        UnitNames{"m",
                  {"FSS_DistanceFromTargetPoint"sv, "FSS_DistanceFromReturnPoint"sv, "FSS_DistanceFromHome"sv,
                   "FSS_YawDistance"sv, "FSS_YawHeight"sv, "PGS_GPS_Alt"sv, "PGS_GPS_AirPressure_Alt"sv,
                   "PGS_GPS_Relative_Height"sv, "PGS_AssitHeight"sv, "FTP_TargetPoint_Height"sv, "FTP_TargetRadius"sv,
                   "PI_Lock_Distance"sv, "DF_HeightDiff"sv}},
        UnitNames{"m/s",
                  {"PGS_EastSpeed"sv, "PGS_NorthSpeed"sv, "PGS_UpSkySpeed"sv, "PGS_GroundSpeed"sv,
                   "PGS_IndicateAirSpeed"sv, "PGS_RealAirSpeed"sv, "FTP_TargetSpeed"sv, "FTP_TargetVerticalSpeed"sv,
                   "DF_SpeedDiff"sv}},
        UnitNames{"°C", {"FSS_Temperature"sv, "FSS_CylinderTemperature1"sv, "FSS_CylinderTemperature2"sv}},
        UnitNames{"%", {"FSS_ControlLoadFactor"sv, "FSS_ThrottleOutputRate"sv}},
    };
    for (const UnitNames &unit : kUnits) {
        for (const std::string_view each : unit.names) {
            if (each == name)
                return unit.unit;
        }
    }
    return "";
}

/** All channels, with the texts that their descriptions point to. */
class Channels
{
public:
    Channels()
    {
        m_labels.reserve(static_cast<std::size_t>(channelCount()));
        for (const Layout &layout : ostravel::frame::kLayouts) {
            for (int row = 0; row < layout.rowCount; ++row) {
                const FieldRow &field = layout.rows[row];
                m_labels.push_back(
                    QString::fromUtf16(field.label.data(), static_cast<int>(field.label.size())).toUtf8());
                m_infos.push_back({field.name, m_labels.back().constData(), unitOf(field.name), groupName(layout.code),
                                   layout.code, row});
            }
        }
    }

    const ostravel_channel_info &at(int channel) const { return m_infos[static_cast<std::size_t>(channel)]; }

private:
    std::vector<QByteArray> m_labels;
    std::vector<ostravel_channel_info> m_infos;
};

} // namespace

int channelCount()
{
    return ostravel::frame::rowCount();
}

const ostravel_channel_info &channelInfo(int channel)
{
    static const Channels channels;
    return channels.at(channel);
}
