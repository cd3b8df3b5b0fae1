#pragma once

#include "ChannelStore.h"
#include "Fixture.h"

#include <QString>
#include <QVector>

/** The expected name and channels of one exported sheet or text file. */
struct ExpectedGroup {
    QString name;
    MyGraph **channels;
    int count;
    bool textOnly;
};

/** All groups in output order. Valid until clearData(). */
inline QVector<ExpectedGroup> expectedGroups()
{
    return {{"0x01-HeartBeat", heartBeatGraphs, 5, false},
            {"0x02-ControlSystemStatus", controlStatusGraphs, 37, false},
            {"0x03-AttitudeAndPositionInfo", attitudeGraphs, 18, false},
            {"0x04-SensorValue", sensorGraphs, 34, false},
            {"0x05-FlightTargetValue", targetGraphs, 13, false},
            {"0x41-PayloadInfo", payloadGraphs, 14, false},
            {"0x51-Difference", differenceGraphs, 5, false},
            {"0x52-Backup", equipmentGraphs, 1, true},
            {"0x53-EquipmentStatus", equipmentGraphs, 16, false}};
}

/** Fills each channel with the given number of samples. The values differ between channels. */
inline void fillStore(int samples)
{
    int number = 0;
    for (const ChannelGroup &group : channelGroups()) {
        for (MyGraph *channel : group) {
            ++number;
            QVector<double> series(samples);
            for (int i = 0; i < samples; ++i)
                series[i] = (i % 2 ? -1.0 : 1.0) * (number * 1000.0 + i) / 7.0;
            channel->setYvalue(series);
        }
    }
    dataRead = true;
}
