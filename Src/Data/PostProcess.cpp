#include "PostProcess.h"

#include "ChannelStore.h"
#include "Derivations.h"
#include "Logging.h"

#include <QCoreApplication>
#include <utility>

namespace
{

ostravel::LocalFrame localFrame()
{
    return {originLat, originLng, longitudeScale};
}

} // namespace

namespace postprocess
{

void calStartTime()
{
    const ostravel::ClockReading clock = ostravel::readClock(channelSeries(), sampleInterval);
    if (!clock.start.isNull())
        startDateTime = clock.start;
    else if (clock.sample >= 0)
        logToBoth(warn, "the clock of sample {} is no valid date and time, the start time stays", clock.sample);
}

void calOrigin()
{
    const std::optional<ostravel::LocalFrame> origin = ostravel::findOrigin(channelSeries());
    if (!origin.has_value())
        return;
    originLng = origin->longitude;
    originLat = origin->latitude;
    longitudeScale = origin->scale;
}

float localX(double lng)
{
    return localFrame().x(lng);
}

float localY(double lat)
{
    return localFrame().y(lat);
}

void calTrack()
{
    ostravel::Track track = ostravel::makeTrack(channelSeries(), localFrame());
    trackX = std::move(track.x);
    trackY = std::move(track.y);
    trackZ = std::move(track.z);
}

void calAttackTrack()
{
    ostravel::Track track = ostravel::makeAttackTrack(channelSeries(), localFrame());
    attackTrackX = std::move(track.x);
    attackTrackY = std::move(track.y);
    attackTrackZ = std::move(track.z);
}

void calFactors()
{
    logToBoth(info, "start cal factors");
    const int n = ostravel::beginDifferences(channelSeries());
    for (int i = 0; i < n; ++i) {
        ostravel::subtractTargets(channelSeries(), i);
        QCoreApplication::processEvents();
    }
}

void calSpeedAngle()
{
    ostravel::appendSpeedAngles(channelSeries());
}

void dataProcess()
{
    logToBoth(info, "start process data");
    if (ostravel::fitTargets(channelSeries()))
        logToBoth(info, "process data finished");
}

} // namespace postprocess
