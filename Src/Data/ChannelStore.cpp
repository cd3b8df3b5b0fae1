#include "ChannelStore.h"

#include "FrameTable.h"
#include "LocalFrame.h"
#include "Logging.h"

#include <algorithm>
#include <iterator>

MyGraph *heartBeatGraphs[frame::kHeartBeatRows.size()]{};
MyGraph *controlStatusGraphs[frame::kControlStatusRows.size()]{};
MyGraph *attitudeGraphs[frame::kAttitudeRows.size()]{};
MyGraph *sensorGraphs[frame::kSensorRows.size()]{};
MyGraph *targetGraphs[frame::kTargetRows.size()]{};
MyGraph *payloadGraphs[frame::kPayloadRows.size()]{};
MyGraph *differenceGraphs[frame::kDifferenceRows.size()]{};
MyGraph *backupGraph = nullptr;
MyGraph *equipmentGraphs[frame::kEquipmentRows.size()]{};

bool selectedPlaneEnabled = false;
quint8 selectedPlaneId = 0;
bool startTimeFromUser = false;
QDateTime startDateTime = QDateTime::currentDateTime();
int sampleInterval = 200;
bool dataRead = false;

float originLat = ostravel::LocalFrame::kInitialLatitude;
float originLng = ostravel::LocalFrame::kInitialLongitude;
double longitudeScale = ostravel::LocalFrame::initial().scale;

std::vector<double> trackX, trackY, trackZ;
std::vector<double> attackTrackX, attackTrackY, attackTrackZ;

QColor defaultColor(Qt::black);
QColor targetColor(Qt::red);

namespace
{

/** Alternative code of the equipment group in findGraphByCode(). */
constexpr quint8 kEquipmentAlias = 0x10;

template <std::size_t Count>
constexpr ChannelGroup groupOf(quint8 code, MyGraph *(&channels)[Count])
{
    return {code, channels, static_cast<int>(Count)};
}

constexpr std::array kGroups{
    groupOf(frame::kHeartBeat, heartBeatGraphs),   groupOf(frame::kControlStatus, controlStatusGraphs),
    groupOf(frame::kAttitude, attitudeGraphs),     groupOf(frame::kSensor, sensorGraphs),
    groupOf(frame::kTarget, targetGraphs),         groupOf(frame::kPayload, payloadGraphs),
    groupOf(frame::kDifference, differenceGraphs), groupOf(frame::kEquipment, equipmentGraphs),
    ChannelGroup{frame::kBackup, &backupGraph, 1},
};

/** Filled by initData(), so that decoding a line needs no lookup. */
ostravel::SeriesRefs seriesOfChannels;

MyGraph *findInGroup(const ChannelGroup &group, const QString &graphName)
{
    MyGraph **const found = std::find_if(group.begin(), group.end(), [&graphName](const MyGraph *graph) {
        return graph && graph->graphName() == graphName;
    });
    return found != group.end() ? *found : nullptr;
}

} // namespace

const std::array<ChannelGroup, 9> &channelGroups()
{
    return kGroups;
}

const ChannelGroup *channelGroup(quint8 functionCode)
{
    // NOLINTNEXTLINE(readability-qualified-auto): the iterator is a pointer only in some standard libraries
    const auto found = std::find_if(kGroups.begin(), kGroups.end(),
                                    [functionCode](const ChannelGroup &group) { return group.code == functionCode; });
    return found != kGroups.end() ? &*found : nullptr;
}

const ostravel::SeriesRefs &channelSeries()
{
    return seriesOfChannels;
}

void initData()
{
    logToBoth(info, "init global data");
    for (const ChannelGroup &group : kGroups) {
        for (int row = 0; row < group.count; ++row) {
            group.channels[row] = createGraph(group.code, row);
            seriesOfChannels.set(group.code, row, group.channels[row]->yvalue());
        }
    }
}

void clearData()
{
    logToBoth(info, "clear data;");
    for (const ChannelGroup &group : kGroups) {
        for (const MyGraph *graph : group)
            delete graph;
    }
}

MyGraph *createGraph(quint16 code, int row)
{
    const FrameField *const field = findFrameField(code, row);
    if (!field)
        return nullptr;
    return new MyGraph(field->label, selectedPlaneId, static_cast<quint8>(code));
}

MyGraph *findGraph(const QString &graphName)
{
    for (const ChannelGroup &group : kGroups) {
        if (MyGraph *const graph = findInGroup(group, graphName))
            return graph;
    }
    return nullptr;
}

MyGraph *findGraphByCode(const QString &graphName, quint8 functionCode)
{
    const ChannelGroup *const group = channelGroup(functionCode == kEquipmentAlias ? frame::kEquipment : functionCode);
    if (!group) {
        qInfo("%s", "功能码错误");
        return nullptr;
    }
    return findInGroup(*group, graphName);
}
