#include "FlightSimulator.h"

#include "DemoMath.h"

#include <algorithm>
#include <cmath>

namespace demo
{

namespace
{

constexpr double kGravity = 9.80665;
constexpr double kDegrees = 57.29577951308232; // of a radian
constexpr double kSampleSeconds = 1.0 / kSamplesPerSecond;
// Several steps per sample keep the simulated response of the control surfaces smooth.
constexpr int kStepsPerSample = 4;
constexpr double kRampPitch = 12.0;
constexpr double kCatapultSeconds = 1.2;
constexpr double kCatapultPush = 19.0;
constexpr double kSteepestRoll = 32.0;
constexpr double kRollCommandRate = 28.0;
constexpr double kPitchCommandRate = 9.0;
constexpr double kCruiseAngleOfAttack = 2.6;
constexpr double kSteadySink = 10.0;
constexpr double kAirTemperature = 26.0;

double approach(double value, double goal, double most)
{
    return value + std::clamp(goal - value, -most, most);
}

double distanceTo(Place from, Place to)
{
    return length(to.east - from.east, to.north - from.north);
}

double bearingTo(Place from, Place to)
{
    return bearing(to.east - from.east, to.north - from.north);
}

Place moved(Place from, double bearingDegrees, double metres)
{
    return {from.east + metres * sine(bearingDegrees), from.north + metres * cosine(bearingDegrees)};
}

// Indicated airspeed is below true airspeed because the air is thinner at height.
double indicatedShare(double height)
{
    return 1.0 - 4.8e-5 * (height + 112.0);
}

} // namespace

FlightSimulator::FlightSimulator(int samples, std::uint64_t seed)
    : m_random(seed)
    , m_end(std::max(samples, kSamplesPerMinute) * kSampleSeconds)
    , m_launch(std::floor(std::clamp(0.19 * m_end, 11.0, 45.0)))
    , m_fix(std::ceil(0.4 * m_launch))
    , m_cruise(m_launch + std::clamp(0.08 * m_end, 4.0, 20.0))
    , m_attack(m_end - std::clamp(0.08 * m_end, std::min(45.0, m_end / 3.0), 180.0))
    , m_standby(m_attack - std::clamp(0.03 * m_end, 4.0, 45.0))
    , m_cycle((m_standby - m_cruise) / std::max(1.0, std::floor((m_standby - m_cruise) / 840.0 + 0.5)))
    , m_launchYaw(m_random.uniform(0.0, 360.0))
{
    const double windBearing = m_launchYaw + 180.0 + m_random.uniform(-35.0, 35.0);
    m_wind = moved({}, windBearing, m_random.uniform(2.5, 5.0));
    m_state.yaw = m_launchYaw;
    m_state.targetYaw = m_launchYaw;
    m_state.pitch = m_pitch = kRampPitch;
    m_state.targetPitch = kRampPitch;
    m_state.downForce = -kGravity * cosine(kRampPitch);
    m_state.forwardForce = kGravity * sine(kRampPitch);
    m_state.cylinderTemperature = kAirTemperature;
    planCycle(m_launchYaw + m_random.uniform(-12.0, 12.0));
}

// Way points on a circle around a centre near home. Each cycle has a different circle.
void FlightSimulator::planCycle(double firstBearing)
{
    ++m_cycleNumber;
    const int corners = 6 + m_random.below(3);
    const double turn = side();
    double centreBearing = firstBearing + turn * 75.0;
    double centreDistance = m_random.uniform(1100.0, 1500.0);
    if (m_cycleNumber > 0) {
        centreBearing = m_random.uniform(0.0, 360.0);
        centreDistance = m_random.uniform(400.0, 1600.0);
    }
    const Place centre = moved({}, centreBearing, centreDistance);
    const double start = m_cycleNumber == 0 ? firstBearing - turn * 40.0 : firstBearing;
    const double reach = m_random.uniform(2100.0, 2900.0);
    double height = m_random.uniform(300.0, 420.0);

    m_route.clear();
    m_next = 0;
    for (int corner = 0; corner < corners; ++corner) {
        const double angle = start + turn * (360.0 * corner / corners + m_random.uniform(-9.0, 9.0));
        const double radius = reach * (corner % 2 == 0 ? 1.0 : m_random.uniform(0.62, 0.9));
        const double speed = std::floor(m_random.uniform(28.0, 35.0));
        m_route.push_back({moved(centre, angle, radius), std::floor(height / 10.0) * 10.0, speed});
        const double change = m_random.uniform(40.0, 110.0);
        height += side() * change;
        height = std::clamp(height, 250.0, 640.0);
    }
    m_legStart = m_state.place;
    ++m_pointCount;
}

void FlightSimulator::beginOrbit()
{
    const double turn = side();
    const double radius = std::floor(m_random.uniform(34.0, 52.0)) * 10.0;
    m_orbitRadius = turn * radius;
    m_orbitCentre = moved(m_state.place, m_state.yaw + turn * 65.0, radius * 1.9);
    m_orbitAngle = bearingTo(m_orbitCentre, m_state.place);
    m_state.laps = 0.0;
    m_state.targetSpeed = 29.0;
    ++m_pointCount;
}

// Chooses the target so that the attack leg ends just before it when the flight time is over.
void FlightSimulator::chooseTarget()
{
    const double straightHome = bearingTo(m_state.place, Place{});
    const double course = m_state.yaw + std::clamp(wrap180(straightHome - m_state.yaw), -110.0, 110.0);
    const double runIn = (m_end - m_standby) * 32.5 - 4.0 * std::min(30.0, m_attack - m_standby);
    m_target = moved(m_state.place, course, runIn);
    m_legStart = m_state.place;
    m_state.targetSpeed = 31.0;
    ++m_pointCount;
}

const FlightState &FlightSimulator::next()
{
    if (m_started) {
        for (int i = 0; i < kStepsPerSample; ++i)
            fly(kSampleSeconds / kStepsPerSample);
        ++m_state.sample;
        m_state.time = m_state.sample * kSampleSeconds;
    }
    m_started = true;
    m_state.progress = std::min(1.0, m_state.time / m_end);
    m_state.sinceLaunch = std::max(0.0, m_state.time - m_launch);
    updatePhase();
    updateSatellites();
    return m_state;
}

void FlightSimulator::updatePhase()
{
    // Sample times are sums of rounded fifths; the tolerance avoids entering a phase one sample late.
    const double now = m_state.time + 1e-6;
    const Phase before = m_state.phase;
    if (now < m_fix)
        m_state.phase = Phase::Debugging;
    else if (now < m_launch)
        m_state.phase = Phase::Ready;
    else if (now < m_cruise)
        m_state.phase = Phase::TakeOff;
    else if (now < m_standby)
        m_state.phase = std::fmod(now - m_cruise, m_cycle) < 0.66 * m_cycle ? Phase::Route : Phase::Orbit;
    else
        m_state.phase = now < m_attack ? Phase::Standby : Phase::Attack;
    if (m_state.phase == before)
        return;

    m_state.targetRadius = 0.0;
    switch (m_state.phase) {
    case Phase::Route:
        if (before == Phase::Orbit)
            planCycle(m_state.yaw);
        break;
    case Phase::Orbit:
        beginOrbit();
        m_state.targetRadius = m_orbitRadius;
        break;
    case Phase::Standby:
        chooseTarget();
        break;
    case Phase::Attack: {
        // The payload found the target near the expected place, not exactly there.
        const double beside = side() * std::min(180.0, 4.0 * (m_end - m_attack));
        m_target = moved(m_target, bearingTo(m_state.place, m_target) + 90.0, beside);
        m_attackHeight = m_state.height;
        m_diveStart = m_end - std::min(0.75 * (m_end - m_attack), std::max(12.0, m_attackHeight / 9.0));
        // A short flight ends at a greater height: the aircraft could not follow a steeper dive.
        m_diveEndHeight
            = std::max(std::min(45.0, 0.4 * m_attackHeight), m_attackHeight - kSteadySink * (m_end - m_diveStart));
        m_speedCommand = m_state.targetSpeed;
        m_legStart = m_state.place;
        break;
    }
    default:
        break;
    }
}

void FlightSimulator::updateSatellites()
{
    const double gust = wander(m_satelliteGust, kSampleSeconds);
    const double risen = std::clamp((m_state.time - 0.1 * m_launch) / (0.85 * m_launch), 0.0, 1.0);
    const double count = risen * 17.0 + (risen < 1.0 ? 0.0 : gust);
    m_state.satellites = static_cast<int>(std::clamp(std::floor(count), 0.0, 20.0));
    m_state.fixed = m_state.time + 1e-6 >= m_fix;
    m_state.precision = m_state.fixed ? 0.55 + 6.0 / (1.0 + m_state.satellites) : 99.99;
}

void FlightSimulator::fly(double step)
{
    m_state.time += step;
    if (m_state.phase == Phase::Debugging || m_state.phase == Phase::Ready) {
        runEngine(step);
        return;
    }
    Command command{m_launchYaw, 0.0};
    switch (m_state.phase) {
    case Phase::Route:
        command = followRoute();
        break;
    case Phase::Orbit:
        command = followOrbit();
        break;
    case Phase::Standby:
    case Phase::Attack:
        command = flyToTarget();
        break;
    default:
        m_state.targetId = m_pointCount;
        m_state.targetPlace = m_route.front().place;
        m_state.targetHeight = m_route.front().height;
        m_state.targetSpeed = 28.0;
        break;
    }
    followCommand(command, step);
    move(step);
    runEngine(step);
    pointPayload(step);
}

FlightSimulator::Command FlightSimulator::followRoute()
{
    const WayPoint *point = &m_route[m_next];
    const WayPoint &after = m_route[(m_next + 1) % m_route.size()];
    const double turn
        = std::fabs(wrap180(bearingTo(point->place, after.place) - bearingTo(m_state.place, point->place)));
    const double lead = m_speed * m_speed / (kGravity * 0.52) * tangent(0.5 * std::min(turn, 120.0)) + 25.0;
    if (distanceTo(m_state.place, point->place) < lead) {
        m_legStart = point->place;
        m_next = (m_next + 1) % m_route.size();
        point = &m_route[m_next];
        ++m_pointCount;
    }
    const double legCourse = bearingTo(m_legStart, point->place);
    const double fromStart = bearingTo(m_legStart, m_state.place);
    m_state.offTrack = distanceTo(m_legStart, m_state.place) * sine(fromStart - legCourse);
    m_state.targetId = m_pointCount;
    m_state.targetPlace = point->place;
    m_state.targetHeight = point->height;
    m_state.targetSpeed = point->speed;
    return {legCourse - std::clamp(0.12 * m_state.offTrack, -40.0, 40.0), 0.0};
}

FlightSimulator::Command FlightSimulator::followOrbit()
{
    const double turn = m_orbitRadius > 0.0 ? 1.0 : -1.0;
    const double radius = std::fabs(m_orbitRadius);
    const double angle = bearingTo(m_orbitCentre, m_state.place);
    const double outside = distanceTo(m_orbitCentre, m_state.place) - radius;
    m_state.laps += turn * wrap180(angle - m_orbitAngle) / 360.0;
    m_orbitAngle = angle;
    m_state.offTrack = outside;
    m_state.targetId = m_pointCount;
    m_state.targetPlace = m_orbitCentre;
    const double groundSpeed = length(m_state.eastSpeed, m_state.northSpeed);
    const double hold = arcTangent(groundSpeed * groundSpeed, kGravity * radius);
    return {angle + turn * (90.0 + std::clamp(0.2 * outside, -50.0, 65.0)),
            turn * hold * std::clamp(1.0 - std::fabs(outside) / 250.0, 0.0, 1.0)};
}

FlightSimulator::Command FlightSimulator::flyToTarget()
{
    m_state.targetId = m_pointCount;
    m_state.targetPlace = m_target;
    const double course = bearingTo(m_state.place, m_target);
    const double rest = distanceTo(m_state.place, m_target);
    m_state.offTrack = distanceTo(m_legStart, m_state.place)
        * sine(bearingTo(m_legStart, m_state.place) - bearingTo(m_legStart, m_target));
    Command command{course, 0.0};
    if (m_state.phase == Phase::Standby)
        return command;

    // The aircraft weaves during a long approach and flies straight in the dive.
    const double untilDive = m_diveStart - m_state.time;
    const double runIn = m_diveStart - m_attack;
    if (untilDive > 0.0 && runIn > 15.0)
        command.course += 28.0 * sine(360.0 * std::floor(runIn / 42.0 + 0.7) * (1.0 - untilDive / runIn));

    const double left = std::max(1.0, m_end - m_state.time);
    const double tailWind = m_wind.east * sine(course) + m_wind.north * cosine(course);
    if (left > 3.0)
        m_speedCommand = approach(m_speedCommand, std::clamp(std::max(0.0, rest - 70.0) / left - tailWind, 26.0, 41.0),
                                  0.6 * kSampleSeconds / kStepsPerSample);
    m_state.targetSpeed = m_speedCommand * indicatedShare(m_state.height);

    // The path bends down during the first fifth of the dive and is straight after that.
    const double part = std::clamp((m_state.time - m_diveStart) / (m_end - m_diveStart), 0.0, 1.0);
    constexpr double kBend = 0.2;
    constexpr double kSlope = 1.0 / (1.0 - 0.5 * kBend);
    const double sunk = part < kBend ? 0.5 * kSlope * part * part / kBend : kSlope * (part - 0.5 * kBend);
    const double drop = m_diveEndHeight - m_attackHeight;
    m_state.targetHeight = m_attackHeight + drop * sunk;
    if (m_state.time > m_diveStart)
        command.upSpeed = drop * kSlope * std::min(1.0, part / kBend) / (m_end - m_diveStart);
    return command;
}

void FlightSimulator::followCommand(const Command &command, double step)
{
    const bool onRail = m_state.time < m_launch + kCatapultSeconds;
    const bool onLaunchCourse = m_state.time < m_launch + 3.0;

    // The heading includes the wind correction angle for the wanted course over ground.
    const double crosswind = m_wind.east * cosine(command.course) - m_wind.north * sine(command.course);
    const double crab = m_speed > 10.0 ? -arcTangent(crosswind, m_speed) : 0.0;
    m_state.targetYaw = wrap360(command.course + crab);
    const double headingError = wrap180(m_state.targetYaw - m_state.yaw);
    const double wantedRoll
        = onLaunchCourse ? 0.0 : std::clamp(1.15 * headingError + command.turnRoll, -kSteepestRoll, kSteepestRoll);
    m_state.targetRoll = approach(m_state.targetRoll, wantedRoll, kRollCommandRate * step);

    const double lowest = m_state.phase == Phase::Attack ? -16.0 : -4.5;
    m_state.targetUpSpeed = std::clamp(0.22 * (m_state.targetHeight - m_state.height) + command.upSpeed, lowest, 5.0);
    const double flightPath = m_speed > 15.0 ? arcTangent(m_state.targetUpSpeed, m_speed) : kRampPitch;
    const double wantedPitch = onRail ? kRampPitch : flightPath + kCruiseAngleOfAttack / cosine(m_roll);
    m_state.targetPitch = approach(m_state.targetPitch, wantedPitch, kPitchCommandRate * step);

    if (onRail)
        return;
    // Response of the control surfaces: well damped, with a small overshoot.
    m_rollRate += (6.2 * (m_state.targetRoll - m_roll) - 3.3 * m_rollRate) * step;
    m_roll += m_rollRate * step;
    m_pitchRate += (5.0 * (m_state.targetPitch - m_pitch) - 3.1 * m_pitchRate) * step;
    m_pitch += m_pitchRate * step;
}

void FlightSimulator::move(double step)
{
    const bool onRail = m_state.time < m_launch + kCatapultSeconds;
    const double share = indicatedShare(m_state.height);
    if (onRail) {
        m_acceleration = kCatapultPush;
        m_climb = (m_speed + m_acceleration * step) * sine(kRampPitch);
    } else {
        const double wanted = 0.32 * (m_state.targetSpeed / share - m_speed) - 0.35 * sine(m_pitch);
        m_acceleration += (std::clamp(wanted, -1.6, 1.8) - m_acceleration) * std::min(1.0, step / 0.5);
        const double flightPath = m_pitch - kCruiseAngleOfAttack / cosine(m_roll);
        m_climb += (m_speed * sine(flightPath) - m_climb) * step / 0.7;
    }
    m_speed = std::max(0.0, m_speed + m_acceleration * step);

    const double calm = onRail ? 0.1 : 1.0;
    const double rollGust = calm * wander(m_rollGust, step);
    const double oldRoll = m_state.roll;
    const double oldPitch = m_state.pitch;
    m_slowRollGust += (rollGust - m_slowRollGust) * std::min(1.0, step / 0.3);
    m_state.roll = m_roll + m_slowRollGust;
    m_state.pitch = m_pitch + calm * wander(m_pitchGust, step);
    const double turnRate = onRail ? 0.0 : tangent(m_roll) * kGravity / std::max(m_speed, 15.0) * kDegrees;
    const double yawGust = onRail ? 0.0 : 0.4 * wander(m_yawGust, step);
    m_state.yaw = wrap360(m_state.yaw + (turnRate + yawGust) * step);

    const double upSpeed = m_climb + calm * wander(m_upGust, step);
    const double level = std::sqrt(std::max(0.0, m_speed * m_speed - m_climb * m_climb));
    const double drift = onRail ? 0.0 : 1.0;
    m_state.eastSpeed = level * sine(m_state.yaw) + drift * m_wind.east;
    m_state.northSpeed = level * cosine(m_state.yaw) + drift * m_wind.north;
    m_state.upSpeed = upSpeed;
    m_state.place.east += m_state.eastSpeed * step;
    m_state.place.north += m_state.northSpeed * step;
    m_state.height = std::max(0.0, m_state.height + upSpeed * step);
    m_state.flown += length(m_state.eastSpeed, m_state.northSpeed) * step;
    m_state.trueAirspeed = std::max(0.0, m_speed + calm * wander(m_speedGust, step));
    m_state.indicatedAirspeed = m_state.trueAirspeed * indicatedShare(m_state.height);

    // Rates over one step, low-pass filtered as in a real gyro.
    const double soften = std::min(1.0, step / 0.15);
    m_state.rollRate += ((m_state.roll - oldRoll) / step - m_state.rollRate) * soften;
    m_state.pitchRate += ((m_state.pitch - oldPitch) / step + turnRate * sine(m_roll) - m_state.pitchRate) * soften;
    m_state.yawRate += (turnRate * cosine(m_roll) + yawGust - m_state.yawRate) * soften;
    m_state.forwardForce = m_acceleration + kGravity * sine(m_state.pitch);
    m_state.rightForce = 0.12 * (m_state.roll - m_roll);
    m_state.downForce = -kGravity * cosine(m_state.pitch) / cosine(m_roll) - m_speed * m_pitchRate / kDegrees;
}

void FlightSimulator::runEngine(double step)
{
    const double untilLaunch = m_launch - m_state.time;
    const double warmUp = 0.3 * m_launch;
    double wanted = 0.0;
    if (untilLaunch <= 0.0)
        wanted = 46.0 + 1.4 * (m_speed - 30.0) + 11.0 * m_acceleration + 5.5 * m_climb;
    else if (untilLaunch < 0.1 * m_launch)
        wanted = 85.0;
    else if (untilLaunch < warmUp)
        wanted = 18.0;
    wanted = std::clamp(wanted, untilLaunch < warmUp ? 8.0 : 0.0, 100.0);
    if (untilLaunch <= 0.0 && m_state.time < m_launch + 4.0)
        wanted = 100.0;
    m_state.throttle += (wanted - m_state.throttle) * std::min(1.0, step / 0.6);

    const bool running = untilLaunch < warmUp;
    const double speed = running ? 1900.0 + 52.0 * m_state.throttle : 0.0;
    m_state.engineSpeed += (speed - m_state.engineSpeed) * std::min(1.0, step / 0.5);
    const double heat = running ? 96.0 + 1.15 * m_state.throttle : kAirTemperature;
    const double cooling = running ? 0.4 * m_state.indicatedAirspeed : 0.0;
    m_state.cylinderTemperature += (heat - cooling - m_state.cylinderTemperature) * step / 45.0;
}

void FlightSimulator::pointPayload(double step)
{
    m_state.payloadTracks = true;
    if (m_state.phase == Phase::Orbit) {
        m_state.lookPlace = m_orbitCentre;
    } else if (m_state.phase == Phase::Standby || m_state.phase == Phase::Attack) {
        m_state.lookPlace = m_target;
    } else {
        m_state.payloadTracks = false;
        m_state.lookPlace
            = moved(m_state.place, m_state.yaw + 32.0 * sine(m_state.time * 14.0), 20.0 + 1.5 * m_state.height);
    }
    const double away = distanceTo(m_state.place, m_state.lookPlace);
    const double yaw = wrap180(bearingTo(m_state.place, m_state.lookPlace) - m_state.yaw);
    const double pitch = -arcTangent(m_state.height, std::max(1.0, away));
    const double follow = std::min(1.0, step / 0.35);
    m_state.lookPitch += (pitch - m_state.lookPitch) * follow;
    m_state.lookYaw = wrap180(m_state.lookYaw + wrap180(yaw - m_state.lookYaw) * follow);
}

// Randomly 1 (right) or -1 (left).
double FlightSimulator::side()
{
    return m_random.below(2) == 0 ? 1.0 : -1.0;
}

double FlightSimulator::wander(Gust &gust, double step)
{
    const double share = std::min(1.0, step / gust.seconds);
    gust.value += m_random.bell(gust.deviation * std::sqrt(2.0 * share)) - gust.value * share;
    return gust.value;
}

} // namespace demo
