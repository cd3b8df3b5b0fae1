#include "Derivations.h"

#include "Triads.h"

#include <algorithm>
#include <cmath>

namespace ostravel
{

namespace
{

// Row numbers of the channels used here.
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
constexpr int kSatellites = frame::rowOf(frame::kAttitude, "PGS_GPS_SatelliteCount");
constexpr int kLng = frame::rowOf(frame::kAttitude, "PGS_GPS_Lng");
constexpr int kLat = frame::rowOf(frame::kAttitude, "PGS_GPS_Lat");
constexpr int kHeight = frame::rowOf(frame::kAttitude, "PGS_GPS_Relative_Height");
constexpr int kUpSpeed = frame::rowOf(frame::kAttitude, "PGS_UpSkySpeed");
constexpr int kGroundSpeed = frame::rowOf(frame::kAttitude, "PGS_GroundSpeed");
constexpr int kTargetGroup = frame::rowOf(frame::kTarget, "FTP_TargetPoint_Group");

const Series &heartBeat(const SeriesRefs &series, int row)
{
    return *series.group<frame::kHeartBeat>()[row];
}

const Series &status(const SeriesRefs &series, int row)
{
    return *series.group<frame::kControlStatus>()[row];
}

const Series &attitude(const SeriesRefs &series, int row)
{
    return *series.group<frame::kAttitude>()[row];
}

const Series &target(const SeriesRefs &series, int row)
{
    return *series.group<frame::kTarget>()[row];
}

Series &difference(const SeriesRefs &series, int row)
{
    return *series.group<frame::kDifference>()[row];
}

/** Whether the clock fields of a sample are in range and its month equals that of the sample in the middle. */
bool isTrusted(const SeriesRefs &series, int i, double middleMonth)
{
    return !(status(series, kMonth).at(i) > 12.0 || status(series, kDate).at(i) > 31.0
             || status(series, kHours).at(i) > 24.0 || status(series, kMinutes).at(i) > 60.0
             || status(series, kSeconds).at(i) > 60.0)
        && status(series, kMonth).at(i) == middleMonth;
}

/** Replaces outliers in the last point by the previous (already corrected) point. */
void correctLast(Track &track, double sidewaysLimit)
{
    constexpr double kHeightStep = 100.0;
    constexpr double kHeightLimit = 1000.0;
    const std::size_t j = track.x.size() - 1;
    if (j == 0) {
        track.z[0] = track.z[0] > kHeightLimit ? kHeightLimit : track.z[0];
        return;
    }
    if (std::abs(track.x[j] - track.x[j - 1]) > sidewaysLimit)
        track.x[j] = track.x[j - 1];
    if (std::abs(track.y[j] - track.y[j - 1]) > sidewaysLimit)
        track.y[j] = track.y[j - 1];
    if (std::abs(track.z[j] - track.z[j - 1]) > kHeightStep || std::abs(track.z[j]) > kHeightLimit)
        track.z[j] = track.z[j - 1];
}

/** The points of the attitude samples in [from, to). */
Track trackBetween(const SeriesRefs &series, const LocalFrame &frame, int from, int to, double sidewaysLimit)
{
    const Series &lng = attitude(series, kLng);
    const Series &lat = attitude(series, kLat);
    const Series &height = attitude(series, kHeight);
    Track track;
    const auto count = static_cast<std::size_t>(std::max(to - from, 0));
    track.x.reserve(count);
    track.y.reserve(count);
    track.z.reserve(count);
    for (int i = from; i < to; ++i) {
        track.x.push_back(static_cast<double>(frame.x(lng.at(i))));
        track.y.push_back(static_cast<double>(frame.y(lat.at(i))));
        track.z.push_back(height.at(i));
        correctLast(track, sidewaysLimit);
    }
    return track;
}

Series doubled(const Series &samples)
{
    Series result;
    result.reserve(2 * samples.size());
    for (const double sample : samples)
        result << sample << sample;
    return result;
}

} // namespace

ClockReading readClock(const SeriesRefs &series, int intervalMs)
{
    ClockReading reading;
    const int n = status(series, kYear).size();
    if (n < 1)
        return reading;
    const double middleMonth = status(series, kMonth).at(n / 2);
    int i = 0;
    while (i < n && !isTrusted(series, i, middleMonth))
        ++i;
    if (i == n)
        return reading;

    constexpr int kYearOfClock = 2023; // the year of the aircraft's clock is not used
    constexpr qint64 kDayMs = 24 * 60 * 60 * 1000;
    reading.sample = i;
    const QTime time(static_cast<int>(status(series, kHours).at(i)), static_cast<int>(status(series, kMinutes).at(i)),
                     static_cast<int>(status(series, kSeconds).at(i)), 0);
    const QDate date(kYearOfClock, static_cast<int>(status(series, kMonth).at(i)),
                     static_cast<int>(status(series, kDate).at(i)));
    // isTrusted() accepts 24 hours, 60 seconds, month 0 and 31 February, which are no valid date or time. The start
    // time then stays null, as when no sample is trusted: an invalid start time would make all time keys invalid.
    if (!time.isValid() || !date.isValid())
        return reading;
    // QTime wraps at midnight, so whole days can be dropped. The remainder fits the int that addMSecs() takes.
    const auto back = static_cast<int>(qint64{i} * intervalMs % kDayMs);
    reading.start = QDateTime(date, time.addMSecs(-back));
    return reading;
}

std::optional<LocalFrame> findOrigin(const SeriesRefs &series)
{
    constexpr int kFromEnd = 10;
    const Series &lng = heartBeat(series, kHomeLng);
    const Series &lat = heartBeat(series, kHomeLat);
    const int k = lat.size() - kFromEnd;
    if (k < 0 || lng.size() <= k)
        return std::nullopt;
    return LocalFrame::at(static_cast<float>(lat.at(k)), static_cast<float>(lng.at(k)));
}

Track makeTrack(const SeriesRefs &series, const LocalFrame &frame)
{
    constexpr double kSatelliteThreshold = 10.0;
    constexpr double kSidewaysLimit = 1000.0;
    const Series &satellites = attitude(series, kSatellites);
    const auto fix
        = std::find_if(satellites.begin(), satellites.end(), [](double count) { return count > kSatelliteThreshold; });
    const int start = fix != satellites.end() ? static_cast<int>(fix - satellites.begin()) : 0;
    return trackBetween(series, frame, start, attitude(series, kLng).size(), kSidewaysLimit);
}

Track makeAttackTrack(const SeriesRefs &series, const LocalFrame &frame)
{
    constexpr double kAttackMode = 26.0;
    constexpr double kSidewaysLimit = 10000.0;
    const int n = std::min(attitude(series, kLng).size(), status(series, kFlightMode).size());
    const Series &mode = status(series, kSubFlightMode);
    int start = n;
    // Sample n exists only when the position series is shorter than the mode series.
    while (start > 0 && !(start < mode.size() && mode.at(start) == kAttackMode && mode.at(start - 1) != kAttackMode))
        --start;
    // Empty when the leg starts after the last position.
    return trackBetween(series, frame, start, n, kSidewaysLimit);
}

int beginDifferences(const SeriesRefs &series)
{
    for (const frame::Triad &triad : frame::kTriads) {
        Series &samples = difference(series, triad.difference.row);
        const Series &actual = attitude(series, triad.actual.row);
        if (!samples.isSharedWith(actual))
            samples = actual;
    }
    return std::min(target(series, kTargetGroup).size(), attitude(series, kRoll).size());
}

void subtractTargets(const SeriesRefs &series, int sample)
{
    for (const frame::Triad &triad : frame::kTriads) {
        difference(series, triad.difference.row)[sample]
            = attitude(series, triad.actual.row).at(sample) - target(series, triad.target.row).at(sample);
    }
}

void makeDifferences(const SeriesRefs &series)
{
    const int n = beginDifferences(series);
    for (int i = 0; i < n; ++i)
        subtractTargets(series, i);
}

void appendSpeedAngles(const SeriesRefs &series)
{
    constexpr double kDegreesPerRadian = 57.29577951308232;
    const Series &groundSpeed = attitude(series, kGroundSpeed);
    const Series &upSpeed = attitude(series, kUpSpeed);
    Series &angles = **series.group<frame::kBackup>();
    angles.reserve(angles.size() + groundSpeed.size());
    double angle = 0.0;
    for (int i = 0; i < groundSpeed.size(); ++i) {
        const double speed = groundSpeed.at(i);
        if (speed != 0.0)
            angle = std::atan(upSpeed.at(i) / speed) * kDegreesPerRadian;
        angles.append(angle);
    }
}

bool fitTargets(const SeriesRefs &series)
{
    constexpr int kMaxMissing = 9;
    constexpr int kMaxMissingAfterDoubling = 10;
    const int targets = series.length<frame::kTarget>();
    const int attitudes = series.length<frame::kAttitude>();
    if (targets == attitudes)
        return false;

    const bool fewMissing = targets < attitudes && targets + kMaxMissing >= attitudes;
    const bool tooFew = attitudes > 2 * targets && 2 * targets + kMaxMissingAfterDoubling < attitudes;
    const bool keepSamples = fewMissing || targets > attitudes;
    if (!keepSamples && tooFew)
        return true;
    for (int row = 0; row < frame::layoutOf(frame::kTarget).rowCount; ++row) {
        Series &samples = series.at(frame::kTarget, row);
        if (!keepSamples)
            samples = doubled(samples);
        samples.resize(attitudes); // fills with 0.0
    }
    return true;
}

} // namespace ostravel
