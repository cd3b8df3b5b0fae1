#pragma once

#include "DemoRandom.h"

#include <cstdint>
#include <vector>

namespace demo
{

/** Samples per second, for every function code. */
inline constexpr int kSamplesPerSecond = 5;
inline constexpr int kSamplesPerMinute = 60 * kSamplesPerSecond;

enum class Phase { Debugging, Ready, TakeOff, Route, Orbit, Standby, Attack };

/** A place on the ground in metres east and north of the launch site. */
struct Place {
    double east = 0.0;
    double north = 0.0;
};

/**
 * The state of the aircraft at one sample, in metres, metres per second, degrees, degrees per second and seconds.
 *
 * Right roll, raised nose and clockwise yaw are positive; body axes are forward, right, down.
 */
struct FlightState {
    int sample = 0;
    Phase phase = Phase::Debugging;
    double time = 0.0;
    double sinceLaunch = 0.0; // 0 until then
    double progress = 0.0; // of the whole flight, 0 to 1

    bool fixed = false;
    int satellites = 0;
    double precision = 99.99;

    Place place;
    double height = 0.0;
    double roll = 0.0;
    double pitch = 0.0;
    double yaw = 0.0;
    double eastSpeed = 0.0;
    double northSpeed = 0.0;
    double upSpeed = 0.0;
    double trueAirspeed = 0.0;
    double indicatedAirspeed = 0.0;
    double rollRate = 0.0;
    double pitchRate = 0.0;
    double yawRate = 0.0;
    double forwardForce = 0.0; // what an accelerometer feels, m/s2
    double rightForce = 0.0;
    double downForce = 0.0;

    double targetRoll = 0.0;
    double targetPitch = 0.0;
    double targetYaw = 0.0;
    double targetSpeed = 0.0;
    double targetHeight = 0.0;
    double targetUpSpeed = 0.0;
    double targetRadius = 0.0; // of an orbit, negative when anticlockwise, 0 elsewhere
    int targetId = 0;
    Place targetPlace;
    double offTrack = 0.0; // to the right of the leg
    double laps = 0.0; // of the present orbit

    double throttle = 0.0; // percent
    double engineSpeed = 0.0;
    double cylinderTemperature = 0.0;
    double flown = 0.0; // way over ground

    bool payloadTracks = false;
    Place lookPlace;
    double lookPitch = 0.0;
    double lookYaw = 0.0; // from the nose, -180 to 180
};

/**
 * One flight of a small catapult-launched aircraft, from power-on to shortly before it reaches its target.
 *
 * Mission and weather come from the seed. Commands are steps and ramps as an autopilot gives them; the aircraft follows
 * with the lag of its surfaces and engine, and with turbulence on top. Not a model of any real aircraft.
 */
class FlightSimulator
{
public:
    /**
     * @param samples length of the flight; phases stretch with it. Below one minute the mission is that of a minute,
     *                and the caller stops before its end.
     */
    FlightSimulator(int samples, std::uint64_t seed);

    /** The state at the next sample, starting with sample 0. O(1). */
    const FlightState &next();

private:
    struct WayPoint {
        Place place;
        double height = 0.0;
        double speed = 0.0;
    };
    // A slowly wandering disturbance.
    struct Gust {
        double deviation;
        double seconds;
        double value = 0.0;
    };
    struct Command {
        double course = 0.0; // over ground
        double turnRoll = 0.0; // roll that holds the turn itself
        double upSpeed = 0.0; // of the height command
    };

    void planCycle(double firstBearing);
    void beginOrbit();
    void chooseTarget();
    void updatePhase();
    void updateSatellites();
    Command followRoute();
    Command followOrbit();
    Command flyToTarget();
    void fly(double step);
    void followCommand(const Command &command, double step);
    void move(double step);
    void runEngine(double step);
    void pointPayload(double step);
    double side();
    double wander(Gust &gust, double step);

    // Two draws never stand in one expression: their order would be the compiler's choice.
    DemoRandom m_random;
    FlightState m_state;
    bool m_started = false;

    // The timetable in seconds.
    double m_end;
    double m_launch;
    double m_fix; // a whole second, so that the clock's seconds and the samples agree where the clock is set
    double m_cruise;
    double m_attack;
    double m_standby;
    double m_cycle; // one round of way points and the orbit behind it

    double m_launchYaw;
    Place m_wind;
    std::vector<WayPoint> m_route;
    std::size_t m_next = 0;
    Place m_legStart;
    int m_cycleNumber = -1;
    int m_pointCount = 0;
    Place m_orbitCentre;
    double m_orbitRadius = 400.0;
    double m_orbitAngle = 0.0;
    Place m_target;
    double m_attackHeight = 0.0;
    double m_diveStart = 0.0;
    double m_diveEndHeight = 0.0;

    double m_roll = 0.0; // without turbulence
    double m_pitch = 0.0;
    double m_rollRate = 0.0;
    double m_pitchRate = 0.0;
    double m_climb = 0.0;
    double m_speed = 0.0;
    double m_acceleration = 0.0;
    double m_speedCommand = 0.0;
    double m_slowRollGust = 0.0;
    Gust m_rollGust{0.55, 1.4};
    Gust m_pitchGust{0.28, 1.6};
    Gust m_yawGust{0.35, 2.5};
    Gust m_upGust{0.35, 3.0};
    Gust m_speedGust{0.28, 2.5};
    Gust m_satelliteGust{1.1, 40.0};
};

} // namespace demo
