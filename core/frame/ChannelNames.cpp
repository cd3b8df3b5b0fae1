#include "ChannelNames.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string_view>
#include <utility>

namespace ostravel::frame
{

namespace
{

struct GroupName {
    std::uint8_t code;
    const char *name;
};

struct Unit {
    std::string_view name; // of the channel
    const char *unit;
};

// clang-format off
constexpr std::array kGroupNames {
    GroupName {kHeartBeat,     "heartbeat"},
    GroupName {kControlStatus, "control"},
    GroupName {kAttitude,      "attitude"},
    GroupName {kSensor,        "sensor"},
    GroupName {kTarget,        "target"},
    GroupName {kPayload,       "payload"},
    GroupName {kDifference,    "difference"},
    GroupName {kBackup,        "backup"},
    GroupName {kEquipment,     "equipment"},
};

/** The channels whose unit is settled; all others are numbers as the recorder counts them. */
constexpr std::array kUnits {
    Unit {"HBS_Lng",                     "deg"},
    Unit {"HBS_Lat",                     "deg"},
    Unit {"FSS_ControlLoadFactor",       "%"},
    Unit {"FSS_Temperature",             "degC"},
    Unit {"FSS_ThrottleOutputRate",      "%"},
    Unit {"FSS_TargetLaps",              "laps"},
    Unit {"FSS_NumLaps",                 "laps"},
    Unit {"FSS_DistanceFromTargetPoint", "m"},
    Unit {"FSS_DistanceFromReturnPoint", "m"},
    Unit {"FSS_DistanceFromHome",        "m"},
    Unit {"FSS_YawDistance",             "m"},
    Unit {"FSS_YawFromHome",             "deg"},
    Unit {"FSS_YawHeight",               "m"},
    Unit {"FSS_CylinderTemperature1",    "degC"},
    Unit {"FSS_CylinderTemperature2",    "degC"},
    Unit {"PGS_Roll",                    "deg"},
    Unit {"PGS_Pitch",                   "deg"},
    Unit {"PGS_Yaw",                     "deg"},
    Unit {"PGS_GPS_SatelliteCount",      "satellites"},
    Unit {"PGS_GPS_Lng",                 "deg"},
    Unit {"PGS_GPS_Lat",                 "deg"},
    Unit {"PGS_GPS_Alt",                 "m"},
    Unit {"PGS_GPS_AirPressure_Alt",     "m"},
    Unit {"PGS_GPS_Relative_Height",     "m"},
    Unit {"PGS_EastSpeed",               "m/s"},
    Unit {"PGS_NorthSpeed",              "m/s"},
    Unit {"PGS_UpSkySpeed",              "m/s"},
    Unit {"PGS_GroundSpeed",             "m/s"},
    Unit {"PGS_IndicateAirSpeed",        "m/s"},
    Unit {"PGS_RealAirSpeed",            "m/s"},
    Unit {"PGS_AssitHeight",             "m"},
    Unit {"FTP_TargetPoint_Lng",         "deg"},
    Unit {"FTP_TargetPoint_Lat",         "deg"},
    Unit {"FTP_TargetPoint_Height",      "m"},
    Unit {"FTP_TargetSpeed",             "m/s"},
    Unit {"FTP_TargetRoll",              "deg"},
    Unit {"FTP_TargetPitch",             "deg"},
    Unit {"FTP_TargetYaw",               "deg"},
    Unit {"FTP_TargetVerticalSpeed",     "m/s"},
    Unit {"FTP_TargetRadius",            "m"},
    Unit {"PI_PitchAngle",               "deg"},
    Unit {"PI_YawAngle",                 "deg"},
    Unit {"PI_Lock_Lng",                 "deg"},
    Unit {"PI_Lock_Lat",                 "deg"},
    Unit {"PI_Lock_Distance",            "m"},
    Unit {"PI_Lock_Yaw",                 "deg"},
    Unit {"DF_PitchDiff",                "deg"},
    Unit {"DF_RollDiff",                 "deg"},
    Unit {"DF_YawDiff",                  "deg"},
    Unit {"DF_SpeedDiff",                "m/s"},
    Unit {"DF_HeightDiff",               "m"},
    Unit {"BU_SpeedAngle",               "deg"},
};
// clang-format on

constexpr bool isChannel(std::string_view name)
{
    for (const Layout &layout : kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row) {
            if (layout.rows[row].name == name)
                return true;
        }
    }
    return false;
}

constexpr bool unitsAreOfChannels()
{
    for (const Unit &unit : kUnits) { // NOLINT(readability-use-anyofallof): std::all_of is not constexpr in C++17
        if (!isChannel(unit.name))
            return false;
    }
    return true;
}

static_assert(unitsAreOfChannels());
static_assert(kGroupNames.size() == kLayouts.size());

/** Insertions, deletions and replacements that make one text of another. */
int distanceBetween(const QString &a, const QString &b)
{
    QVector<int> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const QChar character : a) {
        int diagonal = row[0]++;
        for (int j = 0; j < b.size(); ++j) {
            const int replaced = diagonal + (character == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.last();
}

} // namespace

QVector<ChannelId> allChannels()
{
    QVector<ChannelId> channels;
    channels.reserve(rowCount());
    for (const Layout &layout : kLayouts) {
        for (int row = 0; row < layout.rowCount; ++row)
            channels.append({layout.code, row});
    }
    return channels;
}

const FieldRow &rowOfChannel(const ChannelId &channel)
{
    return layoutOf(channel.code).rows[channel.row];
}

QString labelOf(const ChannelId &channel)
{
    const std::u16string_view label = rowOfChannel(channel).label;
    return QString::fromUtf16(label.data(), static_cast<int>(label.size()));
}

const char *groupName(std::uint8_t code)
{
    for (const GroupName &group : kGroupNames) {
        if (group.code == code)
            return group.name;
    }
    return "";
}

QString codeText(std::uint8_t code)
{
    return QStringLiteral("0x%1").arg(code, 2, 16, QLatin1Char('0'));
}

std::optional<std::uint8_t> findGroup(const QString &text)
{
    for (const GroupName &group : kGroupNames) {
        if (text == QLatin1String(group.name) || text.compare(codeText(group.code), Qt::CaseInsensitive) == 0)
            return group.code;
    }
    return std::nullopt;
}

std::optional<ChannelId> findChannel(const QString &text)
{
    for (const ChannelId &channel : allChannels()) {
        if (text == QLatin1String(rowOfChannel(channel).name) || text == labelOf(channel))
            return channel;
    }
    return std::nullopt;
}

QStringList channelsLike(const QString &text)
{
    constexpr int kMaxNames = 3;
    const QString wanted = text.toCaseFolded();
    if (wanted.isEmpty())
        return {};
    QVector<std::pair<int, QString>> near;
    for (const ChannelId &channel : allChannels()) {
        for (const QString &name : {QString::fromLatin1(rowOfChannel(channel).name), labelOf(channel)}) {
            const QString candidate = name.toCaseFolded();
            const int distance = candidate.contains(wanted) ? 0 : distanceBetween(wanted, candidate);
            if (distance <= std::max(1, wanted.size() / 3))
                near.append({distance, name});
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    QStringList names;
    for (const auto &name : std::as_const(near).mid(0, kMaxNames))
        names.append(name.second);
    return names;
}

const char *unitOf(const ChannelId &channel)
{
    const std::string_view name = rowOfChannel(channel).name;
    for (const Unit &unit : kUnits) {
        if (unit.name == name)
            return unit.unit;
    }
    return "";
}

} // namespace ostravel::frame
