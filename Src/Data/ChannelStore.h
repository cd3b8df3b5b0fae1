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
 * The program's one body of telemetry: a channel for each row of the field tables, and what belongs to the flight as a
 * whole. There is one flight in memory at a time.
 *
 * A sample is known by its index; its time is startDateTime in whole seconds plus index * interval / 1000.
 * All of it is written on the main thread only, with no lock.
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
/** The user has set startDateTime, so a log does not. */
extern bool startTimeFromUser;
/** Time of sample 0 of every channel. */
extern QDateTime startDateTime;
/** Interval of a new channel, in milliseconds. */
extern int sampleInterval;
/** A decode has finished and the store may be shown. */
extern bool dataRead;

/** The local track frame: its origin in degrees, and the factor that shortens a difference of longitude. */
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

/** Pen of the empty placeholder curve and of the selection rectangle. */
extern QColor defaultColor;
/** Pen of the channels that open on the second canvas. */
extern QColor targetColor;

/** The channels of one function code. */
struct ChannelGroup {
    /** Function code. */
    quint8 code;
    /** One of the arrays above. */
    MyGraph **channels;
    /** Channels in it. */
    int count;

    /** For a loop over the channels. */
    ///@{
    MyGraph **begin() const { return channels; }
    MyGraph **end() const { return channels + count; }
    ///@}
    /** Samples held by the first channel. */
    int length() const { return channels[0]->yvalue().size(); }
};

/** All nine groups, in the order in which channels are made and deleted. */
const std::array<ChannelGroup, 9> &channelGroups();

/** The group of a function code, or null. */
const ChannelGroup *channelGroup(quint8 functionCode);

/** The samples of all channels, for the core's decoder and derivations. Valid between initData and clearData. */
const ostravel::SeriesRefs &channelSeries();

/** Makes all channels anew. Does not look at what the arrays held: call clearData before. */
void initData();

/** Deletes all channels. The arrays hold stale pointers until initData runs. */
void clearData();

/** A new channel for a row (from 0) of a function code's table; null when there is none. The caller owns it. */
MyGraph *createGraph(quint16 code, int row);

/** The channel with this label, or null. */
MyGraph *findGraph(const QString &graphName);

/**
 * The channel with this label in the group of a function code, or null. 0x10 means 0x53.
 *
 * A code outside the nine leaves a line in the debug output.
 */
MyGraph *findGraphByCode(const QString &graphName, quint8 functionCode);
