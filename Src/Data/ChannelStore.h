#pragma once

#include "MyGraph.h"
#include "SeriesRefs.h"

#include <QColor>
#include <QDateTime>
#include <QString>
#include <array>
#include <vector>

/**
 * @file
 * The telemetry of the current flight: one channel for each row of the field tables, and the values of the whole
 * flight. Only one flight is in memory at a time.
 *
 * The time of a sample is startDateTime in whole seconds plus index * interval / 1000.
 * Written on the main thread only, without a lock.
 */

/** The channels by function code, in the row order of the tables. Valid between initData and clearData. */
///@{
extern MyGraph *heartBeatGraphs[ostravel::frame::kHeartBeatRows.size()];
extern MyGraph *controlStatusGraphs[ostravel::frame::kControlStatusRows.size()];
extern MyGraph *attitudeGraphs[ostravel::frame::kAttitudeRows.size()];
extern MyGraph *sensorGraphs[ostravel::frame::kSensorRows.size()];
extern MyGraph *targetGraphs[ostravel::frame::kTargetRows.size()];
extern MyGraph *payloadGraphs[ostravel::frame::kPayloadRows.size()];
extern MyGraph *differenceGraphs[ostravel::frame::kDifferenceRows.size()];
extern MyGraph *backupGraph;
extern MyGraph *equipmentGraphs[ostravel::frame::kEquipmentRows.size()];
///@}

/** Frames of other planes than selectedPlaneId are dropped by the decoder. */
///@{
extern bool selectedPlaneEnabled;
extern quint8 selectedPlaneId;
///@}
/** Whether the user has set startDateTime. A read then does not change it. */
extern bool startTimeFromUser;
/** Time of sample 0 of every channel. */
extern QDateTime startDateTime;
/** Interval of a new channel, in milliseconds. */
extern int sampleInterval;
/** Whether a read has finished and the channels may be shown. */
extern bool dataRead;

/** The local track frame: its origin in degrees, and the scale factor of longitude differences. */
///@{
extern float originLat;
extern float originLng;
extern double longitudeScale;
///@}

/** The whole track and its last leg: metres east, metres north, metres up. */
///@{
extern std::vector<double> trackX, trackY, trackZ;
extern std::vector<double> attackTrackX, attackTrackY, attackTrackZ;
///@}

/** Pen colour of the empty placeholder curve and of the selection rectangle. */
extern QColor defaultColor;
/** Pen colour of the channels that open on the second canvas. */
extern QColor targetColor;

/** The channels of one function code. */
struct ChannelGroup {
    /** Function code. */
    quint8 code;
    /** One of the arrays above. */
    MyGraph **channels;
    /** Number of channels. */
    int count;

    /** For range-based for loops over the channels. */
    ///@{
    MyGraph **begin() const { return channels; }
    MyGraph **end() const { return channels + count; }
    ///@}
    /** Number of samples of the first channel. */
    int length() const { return channels[0]->yvalue().size(); }
};

/** All nine groups, in the order in which channels are created and deleted. */
const std::array<ChannelGroup, 9> &channelGroups();

/** The group of a function code; null for an unknown code. */
const ChannelGroup *channelGroup(quint8 functionCode);

/** The samples of all channels, for the core's decoder and derivations. Valid between initData and clearData. */
const ostravel::SeriesRefs &channelSeries();

/** Creates all channels. Overwrites the arrays without deleting old channels: call clearData() first. */
void initData();

/** Deletes all channels. The arrays hold stale pointers until initData runs. */
void clearData();

/** Creates a channel for a row (from 0) of a function code's table; null for an unknown code. The caller owns it. */
MyGraph *createGraph(quint16 code, int row);

/** The channel with this label, or null. */
MyGraph *findGraph(const QString &graphName);

/**
 * The channel with this label in the group of a function code, or null. 0x10 means 0x53.
 *
 * An unknown code writes a line to the debug output.
 */
MyGraph *findGraphByCode(const QString &graphName, quint8 functionCode);
