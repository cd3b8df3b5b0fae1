#include "PostProcess.h"

#include "ChannelStore.h"
#include "FrameTable.h"
#include "Geodesy.h"
#include "Logging.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

namespace
{

using Samples = QVector<double>;

/** Metres of one unit of latitude in a Location. */
constexpr double kMetresPerUnit = 0.011131884530186653;
constexpr double kDegreesPerRadian = 57.29577951308232;

const Samples &heartBeat(int row)
{
    return std::as_const(*heartBeatGraphs[row]).yvalue();
}

const Samples &status(int row)
{
    return std::as_const(*controlStatusGraphs[row]).yvalue();
}

const Samples &attitude(int row)
{
    return std::as_const(*attitudeGraphs[row]).yvalue();
}

const Samples &target(int row)
{
    return std::as_const(*targetGraphs[row]).yvalue();
}

// Rows by the names of their channels.
constexpr int kHomeLng = frame::rowOf(frame::kHeartBeat, "HBS_Lng");
constexpr int kHomeLat = frame::rowOf(frame::kHeartBeat, "HBS_Lat");
constexpr int kYear = frame::rowOf(frame::kControlStatus, "FSS_Year");
constexpr int kMonth = frame::rowOf(frame::kControlStatus, "FSS_Month");
constexpr int kDate = frame::rowOf(frame::kControlStatus, "FSS_Date");
constexpr int kHours = frame::rowOf(frame::kControlStatus, "FSS_Hours");
constexpr int kMinutes = frame::rowOf(frame::kControlStatus, "FSS_Minutes");
constexpr int kSeconds = frame::rowOf(frame::kControlStatus, "FSS_Seconds");
constexpr int kFlightMode = frame::rowOf(frame::kControlStatus, "FSS_FlightMode");
constexpr int kSubFlightMode = frame::rowOf(frame::kControlStatus, "FSS_SubFlightMode");
constexpr int kRoll = frame::rowOf(frame::kAttitude, "PGS_Roll");
constexpr int kPitch = frame::rowOf(frame::kAttitude, "PGS_Pitch");
constexpr int kYaw = frame::rowOf(frame::kAttitude, "PGS_Yaw");
constexpr int kSatellites = frame::rowOf(frame::kAttitude, "PGS_GPS_SatelliteCount");
constexpr int kLng = frame::rowOf(frame::kAttitude, "PGS_GPS_Lng");
constexpr int kLat = frame::rowOf(frame::kAttitude, "PGS_GPS_Lat");
constexpr int kHeight = frame::rowOf(frame::kAttitude, "PGS_GPS_Relative_Height");
constexpr int kUpSpeed = frame::rowOf(frame::kAttitude, "PGS_UpSkySpeed");
constexpr int kGroundSpeed = frame::rowOf(frame::kAttitude, "PGS_GroundSpeed");
constexpr int kAirSpeed = frame::rowOf(frame::kAttitude, "PGS_IndicateAirSpeed");
constexpr int kTargetGroup = frame::rowOf(frame::kTarget, "FTP_TargetPoint_Group");
constexpr int kTargetHeight = frame::rowOf(frame::kTarget, "FTP_TargetPoint_Height");
constexpr int kTargetSpeed = frame::rowOf(frame::kTarget, "FTP_TargetSpeed");
constexpr int kTargetRoll = frame::rowOf(frame::kTarget, "FTP_TargetRoll");
constexpr int kTargetPitch = frame::rowOf(frame::kTarget, "FTP_TargetPitch");
constexpr int kTargetYaw = frame::rowOf(frame::kTarget, "FTP_TargetYaw");

/** A difference channel with the two that it is made from. */
struct Deviation {
    int difference;
    int actual;
    int target;
};

constexpr std::array kDeviations {
    Deviation {frame::rowOf(frame::kDifference, "DF_PitchDiff"), kPitch, kTargetPitch},
    Deviation {frame::rowOf(frame::kDifference, "DF_RollDiff"), kRoll, kTargetRoll},
    Deviation {frame::rowOf(frame::kDifference, "DF_YawDiff"), kYaw, kTargetYaw},
    Deviation {frame::rowOf(frame::kDifference, "DF_SpeedDiff"), kAirSpeed, kTargetSpeed},
    Deviation {frame::rowOf(frame::kDifference, "DF_HeightDiff"), kHeight, kTargetHeight},
};

/** Points in the local frame, each corrected from the corrected one before it. */
class Track
{
public:
    Track(std::vector<double> &x, std::vector<double> &y, std::vector<double> &z, double sidewaysLimit)
        : m_x(x)
        , m_y(y)
        , m_z(z)
        , m_sidewaysLimit(sidewaysLimit)
    {
    }

    /** Takes the samples of the attitude channels from one index up to, and not including, another. */
    void take(int from, int to)
    {
        const auto count = static_cast<std::size_t>(to - from);
        m_x.reserve(count);
        m_y.reserve(count);
        m_z.reserve(count);
        for (int i = from; i < to; ++i) {
            m_x.push_back(static_cast<double>(postprocess::localX(attitude(kLng).at(i))));
            m_y.push_back(static_cast<double>(postprocess::localY(attitude(kLat).at(i))));
            m_z.push_back(attitude(kHeight).at(i));
            correctLast();
        }
    }

private:
    static constexpr double kHeightStep = 100.0;
    static constexpr double kHeightLimit = 1000.0;

    void correctLast()
    {
        const std::size_t j = m_x.size() - 1;
        if (j == 0) {
            m_z[0] = m_z[0] > kHeightLimit ? kHeightLimit : m_z[0];
            return;
        }
        if (std::abs(m_x[j] - m_x[j - 1]) > m_sidewaysLimit)
            m_x[j] = m_x[j - 1];
        if (std::abs(m_y[j] - m_y[j - 1]) > m_sidewaysLimit)
            m_y[j] = m_y[j - 1];
        if (std::abs(m_z[j] - m_z[j - 1]) > kHeightStep || std::abs(m_z[j]) > kHeightLimit)
            m_z[j] = m_z[j - 1];
    }

    std::vector<double> &m_x;
    std::vector<double> &m_y;
    std::vector<double> &m_z;
    double m_sidewaysLimit;
};

/** The clock of a sample could be a clock, and the month is that of the middle of the log. */
bool clockAccepted(int i, double middleMonth)
{
    return !(status(kMonth).at(i) > 12.0 || status(kDate).at(i) > 31.0 || status(kHours).at(i) > 24.0
             || status(kMinutes).at(i) > 60.0 || status(kSeconds).at(i) > 60.0)
        && status(kMonth).at(i) == middleMonth;
}

Samples doubled(const Samples &samples)
{
    Samples result;
    result.reserve(2 * samples.size());
    for (const double sample : samples)
        result << sample << sample;
    return result;
}

void setLength(Samples &samples, int length)
{
    samples.resize(length); // QVector fills with 0.0
}

} // namespace

namespace postprocess
{

void calStartTime()
{
    const int n = status(kYear).size();
    if (n < 1)
        return;
    const double middleMonth = status(kMonth).at(n / 2);
    int i = 0;
    while (i < n && !clockAccepted(i, middleMonth))
        ++i;
    if (i == n)
        return;

    constexpr int kYearOfClock = 2023; // the aircraft's own year is not trusted
    constexpr qint64 kDayMs = 24 * 60 * 60 * 1000;
    const QTime time(static_cast<int>(status(kHours).at(i)), static_cast<int>(status(kMinutes).at(i)),
                     static_cast<int>(status(kSeconds).at(i)), 0);
    const QDate date(kYearOfClock, static_cast<int>(status(kMonth).at(i)), static_cast<int>(status(kDate).at(i)));
    if (!time.isValid() || !date.isValid()) {
        // 24 hours, 60 seconds, month 0 and 31 February pass the test above and make no date and time. The start time
        // then keeps its value, as it does when no sample is accepted: without a valid one, no curve has a place on the
        // axis.
        logToBoth(warn, "the clock of sample {} is no valid date and time, the start time stays", i);
        return;
    }
    // Whole days wrap away, so the rest fits the int of addMSecs however long the log is.
    const auto back = static_cast<int>(qint64 {i} * sampleInterval % kDayMs);
    startDateTime = QDateTime(date, time.addMSecs(-back));
}

void calOrigin()
{
    constexpr int kFromEnd = 10;
    const int k = heartBeat(kHomeLat).size() - kFromEnd;
    if (k < 0 || heartBeat(kHomeLng).size() <= k)
        return;
    originLng = static_cast<float>(heartBeat(kHomeLng).at(k));
    originLat = static_cast<float>(heartBeat(kHomeLat).at(k));
    longitudeScale = static_cast<double>(
        longitude_scale({truncatedToLocationUnit(static_cast<double>(originLat) * kLocationUnitsPerDegree),
                         truncatedToLocationUnit(static_cast<double>(originLng) * kLocationUnitsPerDegree)}));
}

float localX(double lng)
{
    return static_cast<float>((lng - static_cast<double>(originLng)) * kLocationUnitsPerDegree * kMetresPerUnit
                              * longitudeScale);
}

float localY(double lat)
{
    return static_cast<float>((lat - static_cast<double>(originLat)) * kLocationUnitsPerDegree * kMetresPerUnit);
}

void calTrack()
{
    constexpr double kEnoughSatellites = 10.0;
    constexpr double kSidewaysLimit = 1000.0;
    trackX.clear();
    trackY.clear();
    trackZ.clear();
    const int n = attitude(kLng).size();
    if (n < 1)
        return;
    const Samples &satellites = attitude(kSatellites);
    const auto fix = std::find_if(satellites.begin(), satellites.end(),
                                  [](double count) { return count > kEnoughSatellites; });
    const int start = fix != satellites.end() ? static_cast<int>(fix - satellites.begin()) : 0;
    Track(trackX, trackY, trackZ, kSidewaysLimit).take(start, n);
}

void calAttackTrack()
{
    constexpr double kAttackMode = 26.0;
    constexpr double kSidewaysLimit = 10000.0;
    attackTrackX.clear();
    attackTrackY.clear();
    attackTrackZ.clear();
    const int n = std::min(attitude(kLng).size(), status(kFlightMode).size());
    if (n < 1)
        return;
    const Samples &mode = status(kSubFlightMode);
    int start = n;
    // Sample n exists only when the positions are the shorter series.
    while (start > 0
           && !(start < mode.size() && mode.at(start) == kAttackMode && mode.at(start - 1) != kAttackMode))
        --start;
    if (start == n)
        return; // a leg that starts behind the last position has no point
    Track(attackTrackX, attackTrackY, attackTrackZ, kSidewaysLimit).take(start, n);
}

void calFactors()
{
    logToBoth(info, "start cal factors");
    const int n = std::min(target(kTargetGroup).size(), attitude(kRoll).size());
    for (const Deviation &deviation : kDeviations) {
        Samples &samples = differenceGraphs[deviation.difference]->yvalue();
        if (!samples.isSharedWith(attitude(deviation.actual)))
            samples = attitude(deviation.actual);
    }
    for (int i = 0; i < n; ++i) {
        for (const Deviation &deviation : kDeviations) {
            differenceGraphs[deviation.difference]->yvalue()[i]
                = attitude(deviation.actual).at(i) - target(deviation.target).at(i);
        }
        QCoreApplication::processEvents();
    }
}

void calSpeedAngle()
{
    const int n = attitude(kGroundSpeed).size();
    Samples &angles = backupGraph->yvalue();
    angles.reserve(angles.size() + n);
    double angle = 0.0;
    for (int i = 0; i < n; ++i) {
        const double speed = attitude(kGroundSpeed).at(i);
        if (speed != 0.0)
            angle = std::atan(attitude(kUpSpeed).at(i) / speed) * kDegreesPerRadian;
        angles.append(angle);
    }
}

void dataProcess()
{
    logToBoth(info, "start process data");
    constexpr int kFewMissing = 9;
    constexpr int kFewBehindTwice = 10;
    const int targets = target(0).size();
    const int attitudes = attitude(0).size();
    if (targets == attitudes)
        return;

    const bool fewMissing = targets < attitudes && targets + kFewMissing >= attitudes;
    const bool tooFew = attitudes > 2 * targets && 2 * targets + kFewBehindTwice < attitudes;
    if (fewMissing || targets > attitudes) {
        for (MyGraph *const graph : targetGraphs)
            setLength(graph->yvalue(), attitudes);
    } else if (!tooFew) {
        for (MyGraph *const graph : targetGraphs) {
            graph->setYvalue(doubled(graph->yvalue()));
            setLength(graph->yvalue(), attitudes);
        }
    }
    logToBoth(info, "process data finished");
}

} // namespace postprocess
