#include "ExportGroups.h"

#include "ChannelStore.h"
#include "FrameTable.h"

#include <array>

namespace
{

struct Row {
    const char *name; // never translated: it names files and sheets
    std::uint8_t code; // whose channels
    std::size_t count;
    bool textOnly;
};

// clang-format off
constexpr std::array kRows {
    Row {"0x01-HeartBeat",               frame::kHeartBeat,     frame::kHeartBeatRows.size(),     false},
    Row {"0x02-ControlSystemStatus",     frame::kControlStatus, frame::kControlStatusRows.size(), false},
    Row {"0x03-AttitudeAndPositionInfo", frame::kAttitude,      frame::kAttitudeRows.size(),      false},
    Row {"0x04-SensorValue",             frame::kSensor,        frame::kSensorRows.size(),        false},
    Row {"0x05-FlightTargetValue",       frame::kTarget,        frame::kTargetRows.size(),        false},
    Row {"0x41-PayloadInfo",             frame::kPayload,       frame::kPayloadRows.size(),       false},
    Row {"0x51-Difference",              frame::kDifference,    frame::kDifferenceRows.size(),    false},
    // Readers of this file expect the first equipment channel in it, and not the backup channel.
    Row {"0x52-Backup",                  frame::kEquipment,     1,                                true},
    Row {"0x53-EquipmentStatus",         frame::kEquipment,     frame::kEquipmentRows.size(),     false},
};
// clang-format on

} // namespace

ExportGroup exportGroup(const QString &name, MyGraph *const *channels, int count)
{
    ExportGroup group;
    group.name = name;
    group.labels.reserve(count);
    group.samples.reserve(count);
    for (int i = 0; i < count; ++i) {
        const MyGraph *const channel = channels[i];
        group.labels.append(channel->graphName());
        group.samples.append(channel->yvalue());
    }
    return group;
}

QVector<ExportGroup> exportGroups()
{
    QVector<ExportGroup> groups;
    groups.reserve(static_cast<int>(kRows.size()));
    for (const Row &row : kRows) {
        ExportGroup group
            = exportGroup(QLatin1String(row.name), channelGroup(row.code)->channels, static_cast<int>(row.count));
        group.textOnly = row.textOnly;
        groups.append(std::move(group));
    }
    return groups;
}
