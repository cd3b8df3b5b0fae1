#include "FrameWriter.h"

#include "DemoMath.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

// A field by its channel name, found at compile time. An unknown name does not compile.
#define FIELD(code, name) frame::layoutOf(code).rows[std::integral_constant<int, frame::rowOf(code, name)>::value]

namespace demo
{

namespace
{

constexpr double kMetresPerDegree = 111318.84530186653;
constexpr double kHomeAltitude = 112.0;

struct Mode {
    int main;
    int sub;
    int stage;
};

Mode modeOf(Phase phase)
{
    switch (phase) {
    case Phase::Debugging:
        return {4, 65, 0};
    case Phase::Ready:
        return {5, 66, 1};
    case Phase::TakeOff:
        return {2, 17, 2};
    case Phase::Route:
        return {2, 27, 3};
    case Phase::Orbit:
        return {2, 21, 4};
    case Phase::Standby:
        return {2, 35, 5};
    case Phase::Attack:
        return {2, 26, 6};
    }
    return {0, 0, 0};
}

bool airborne(const FlightState &state)
{
    return state.phase != Phase::Debugging && state.phase != Phase::Ready;
}

// The device state word: a set bit says that the device works or that the state holds.
std::uint16_t deviceState(const FlightState &state)
{
    const bool flying = airborne(state);
    // The parentheses keep clang-format from taking "<" and ">" for a template's.
    const std::array bits{
        true, // gyroscope
        state.phase != Phase::Debugging, // armed
        true, // compass
        true, // barometer
        (state.time > 2.0), // airspeed meter
        state.fixed, // positioning
        true, // remote control
        (std::fmod(state.time, 317.0) < 315.0), // data link, with short gaps
        (state.progress < 0.93), // voltage
        flying, // outside the tube
        (state.upSpeed < -3.5), // losing height
        !flying, // throttle locked
        (std::fabs(state.roll) < 45.0), // posture
        (state.fixed && state.satellites > 8), // inertial navigation
        (state.engineSpeed > 1500.0), // power
        (state.time > 4.0), // payload
    };
    unsigned word = 0;
    for (std::size_t i = 0; i < bits.size(); ++i)
        word |= bits[i] ? 1U << i : 0U;
    return static_cast<std::uint16_t>(word);
}

double metresBetween(Place a, Place b)
{
    return length(b.east - a.east, b.north - a.north);
}

} // namespace

FrameBytes::FrameBytes(std::uint8_t code, std::uint8_t planeId, std::uint16_t counter)
    : m_size(frame::reach(frame::layoutOf(code)))
{
    m_bytes[0] = static_cast<char>(frame::kHeader1);
    m_bytes[1] = static_cast<char>(frame::kHeader2);
    m_bytes[frame::kPlaneIdPosition] = static_cast<char>(planeId);
    m_bytes[frame::kFunctionCodePosition] = static_cast<char>(code);
    // The downlink does not use these two bytes. A frame counter here makes every frame different.
    m_bytes[4] = static_cast<char>(counter >> 8U);
    m_bytes[5] = static_cast<char>(counter & 0xFFU);
}

void FrameBytes::put(const frame::FieldRow &field, double value)
{
    const unsigned bits = 8U * static_cast<unsigned>(field.width);
    const auto span = static_cast<double>(std::uint64_t{1} << bits);
    const double lowest = field.isSigned ? -0.5 * span : 0.0;
    const double raw = std::clamp(std::floor(value * field.divisor + 0.5), lowest, lowest + span - 1.0);
    auto word = static_cast<std::uint64_t>(static_cast<std::int64_t>(raw));
    const std::size_t first = field.offset - 1U;
    for (int byte = field.width - 1; byte >= 0; --byte) {
        m_bytes[first + static_cast<std::size_t>(byte)] = static_cast<char>(word & 0xFFU);
        word >>= 8U;
    }
}

FrameWriter::FrameWriter(std::uint8_t planeId, std::uint64_t seed)
    : m_random(seed)
    , m_planeId(planeId)
    , m_homeLongitude(113.9 + 0.0001 * m_random.below(300))
    , m_homeLatitude(33.98 + 0.0001 * m_random.below(300))
    , m_metresPerLongitude(kMetresPerDegree * cosine(m_homeLatitude))
    , m_startSecond(8 * 3600 + m_random.below(2 * 3600))
{
}

FrameBytes FrameWriter::begin(std::uint8_t code)
{
    return {code, m_planeId, m_counter++};
}

double FrameWriter::noisy(double value, double deviation)
{
    return value + m_random.bell(deviation);
}

double FrameWriter::longitude(Place place) const
{
    return m_homeLongitude + place.east / m_metresPerLongitude;
}

double FrameWriter::latitude(Place place) const
{
    return m_homeLatitude + place.north / kMetresPerDegree;
}

FrameBytes FrameWriter::heartBeat(const FlightState &state)
{
    using frame::kHeartBeat;
    FrameBytes bytes = begin(kHeartBeat);
    bytes.put(FIELD(kHeartBeat, "HBS_AircraftType"), 3);
    bytes.put(FIELD(kHeartBeat, "HBS_GeoState"), state.fixed ? 1 : 0);
    if (state.fixed) {
        bytes.put(FIELD(kHeartBeat, "HBS_Lng"), m_homeLongitude);
        bytes.put(FIELD(kHeartBeat, "HBS_Lat"), m_homeLatitude);
    }
    bytes.put(FIELD(kHeartBeat, "HBS_Version"), 2.105);
    return bytes;
}

void FrameWriter::putClock(FrameBytes &bytes, const FlightState &state) const
{
    using frame::kControlStatus;
    if (state.fixed) {
        const int second = m_startSecond + static_cast<int>(std::floor(state.time + 1e-6));
        bytes.put(FIELD(kControlStatus, "FSS_Year"), 23);
        bytes.put(FIELD(kControlStatus, "FSS_Month"), 7);
        bytes.put(FIELD(kControlStatus, "FSS_Date"), 18 + second / 86400 % 14);
        bytes.put(FIELD(kControlStatus, "FSS_Hours"), second / 3600 % 24);
        bytes.put(FIELD(kControlStatus, "FSS_Minutes"), second / 60 % 60);
        bytes.put(FIELD(kControlStatus, "FSS_Seconds"), second % 60);
        return;
    }
    // Without a position fix the clock has no time. All ones are no valid month.
    bytes.put(FIELD(kControlStatus, "FSS_Year"), 0xFF);
    bytes.put(FIELD(kControlStatus, "FSS_Month"), 0xFF);
    bytes.put(FIELD(kControlStatus, "FSS_Date"), 0xFF);
    bytes.put(FIELD(kControlStatus, "FSS_Hours"), 0xFF);
    bytes.put(FIELD(kControlStatus, "FSS_Minutes"), 0xFF);
    bytes.put(FIELD(kControlStatus, "FSS_Seconds"), 0xFF);
}

FrameBytes FrameWriter::controlStatus(const FlightState &state)
{
    using frame::kControlStatus;
    const Mode mode = modeOf(state.phase);
    const double used = state.progress;
    m_temperature += (24.0 + (airborne(state) ? 21.0 : 12.0) - m_temperature) / 1500.0;
    m_current += (320.0 + 3.4 * state.throttle + 2.2 * std::fabs(state.rollRate) - m_current) * 0.12;
    const double sag = 0.35 * m_current;

    FrameBytes bytes = begin(kControlStatus);
    bytes.put(FIELD(kControlStatus, "FSS_DeviceState"), deviceState(state));
    bytes.put(FIELD(kControlStatus, "FSS_ControlLoadFactor"), noisy(airborne(state) ? 43.0 : 31.0, 1.2));
    bytes.put(FIELD(kControlStatus, "FSS_MainBatteryVoltage"),
              noisy(25150.0 - 2300.0 * used - 500.0 * used * used * used - sag, 12.0));
    bytes.put(FIELD(kControlStatus, "FSS_ADCBatteryVoltage1"), noisy(5020.0 - 25.0 * used, 4.0));
    bytes.put(FIELD(kControlStatus, "FSS_ADCBatteryVoltage2"), noisy(12060.0 - 90.0 * used - 0.05 * sag, 8.0));
    bytes.put(FIELD(kControlStatus, "FSS_Temperature"), noisy(m_temperature, 0.04));
    bytes.put(FIELD(kControlStatus, "FSS_PowerUptime"), std::floor(state.time + 6.0));
    bytes.put(FIELD(kControlStatus, "FSS_FlyDuration"), std::floor(state.sinceLaunch));
    bytes.put(FIELD(kControlStatus, "FSS_TotalVoyage"), std::floor(state.flown / 1000.0));
    bytes.put(FIELD(kControlStatus, "FSS_ControlSource"), airborne(state) ? 2 : 1);
    bytes.put(FIELD(kControlStatus, "FSS_FlightMode"), mode.main);
    bytes.put(FIELD(kControlStatus, "FSS_SubFlightMode"), mode.sub);
    bytes.put(FIELD(kControlStatus, "FSS_SwitchState"), airborne(state) ? 0x13 : 0x03);
    bytes.put(FIELD(kControlStatus, "FSS_ThrottleOutputRate"), state.throttle);
    bytes.put(FIELD(kControlStatus, "FSS_TargetLaps"), state.phase == Phase::Orbit ? 3 : 0);
    bytes.put(FIELD(kControlStatus, "FSS_NumLaps"),
              state.phase == Phase::Orbit ? std::floor(std::max(0.0, state.laps)) : 0.0);
    const Place home;
    bytes.put(FIELD(kControlStatus, "FSS_DistanceFromTargetPoint"),
              airborne(state) ? metresBetween(state.place, state.targetPlace) : 0.0);
    const Place returnPoint{120.0, -260.0};
    bytes.put(FIELD(kControlStatus, "FSS_DistanceFromReturnPoint"),
              state.fixed ? metresBetween(state.place, returnPoint) : 0.0);
    bytes.put(FIELD(kControlStatus, "FSS_DistanceFromHome"), metresBetween(state.place, home));
    bytes.put(FIELD(kControlStatus, "FSS_YawDistance"), state.offTrack);

    putClock(bytes, state);
    bytes.put(FIELD(kControlStatus, "FSS_FlightStage"), mode.stage);
    bytes.put(FIELD(kControlStatus, "FSS_YawFromHome"), bearing(state.place.east, state.place.north));
    bytes.put(FIELD(kControlStatus, "FSS_YawHeight"), state.height - state.targetHeight);
    bytes.put(FIELD(kControlStatus, "FSS_OilVolume"), 100.0 - 68.0 * used);
    bytes.put(FIELD(kControlStatus, "FSS_CylinderTemperature1"), noisy(state.cylinderTemperature, 0.3));
    bytes.put(FIELD(kControlStatus, "FSS_CylinderTemperature2"), noisy(1.04 * state.cylinderTemperature - 2.0, 0.3));
    bytes.put(FIELD(kControlStatus, "FSS_MainBatteryCurrent"), noisy(m_current, 4.0));
    bytes.put(FIELD(kControlStatus, "FSS_MainBatteryLevel"), 100.0 - 74.0 * used);
    const bool turning = state.engineSpeed > 100.0;
    bytes.put(FIELD(kControlStatus, "FSS_RotateSpeed1"), turning ? noisy(state.engineSpeed, 18.0) : 0.0);
    bytes.put(FIELD(kControlStatus, "FSS_RotateSpeed2"), turning ? noisy(0.995 * state.engineSpeed, 18.0) : 0.0);
    return bytes;
}

FrameBytes FrameWriter::attitude(const FlightState &state)
{
    using frame::kAttitude;
    const bool flying = airborne(state);
    // The position error of the receiver drifts slowly, so the track stays smooth.
    m_gpsDrift.east += m_random.bell(0.05) - 0.01 * m_gpsDrift.east;
    m_gpsDrift.north += m_random.bell(0.05) - 0.01 * m_gpsDrift.north;
    const Place measured{state.place.east + m_gpsDrift.east, state.place.north + m_gpsDrift.north};
    const double groundSpeed = length(state.eastSpeed, state.northSpeed);

    FrameBytes bytes = begin(kAttitude);
    bytes.put(FIELD(kAttitude, "PGS_Roll"), noisy(state.roll, 0.05));
    bytes.put(FIELD(kAttitude, "PGS_Pitch"), noisy(state.pitch, 0.04));
    // Rounding up to 360.00 would make a jump of a full turn.
    bytes.put(FIELD(kAttitude, "PGS_Yaw"), std::min(359.99, wrap360(noisy(state.yaw, 0.05))));
    bytes.put(FIELD(kAttitude, "PGS_GPS_Precise"), state.fixed ? noisy(state.precision, 0.01) : state.precision);
    bytes.put(FIELD(kAttitude, "PGS_GPS_State"), state.fixed ? 3 : 0);
    bytes.put(FIELD(kAttitude, "PGS_GPS_SatelliteCount"), state.satellites);
    if (state.fixed) {
        bytes.put(FIELD(kAttitude, "PGS_GPS_Lng"), longitude(measured));
        bytes.put(FIELD(kAttitude, "PGS_GPS_Lat"), latitude(measured));
        bytes.put(FIELD(kAttitude, "PGS_GPS_Alt"), noisy(kHomeAltitude + state.height, 0.12));
    }
    bytes.put(FIELD(kAttitude, "PGS_GPS_AirPressure_Alt"),
              noisy(kHomeAltitude + 1.8 + 1.006 * state.height + 4.0 * state.progress, 0.08));
    bytes.put(FIELD(kAttitude, "PGS_GPS_Relative_Height"), noisy(state.height, 0.06));
    bytes.put(FIELD(kAttitude, "PGS_EastSpeed"), flying ? noisy(state.eastSpeed, 0.04) : 0.0);
    bytes.put(FIELD(kAttitude, "PGS_NorthSpeed"), flying ? noisy(state.northSpeed, 0.04) : 0.0);
    bytes.put(FIELD(kAttitude, "PGS_UpSkySpeed"), flying ? noisy(state.upSpeed, 0.04) : 0.0);
    bytes.put(FIELD(kAttitude, "PGS_GroundSpeed"), flying ? std::max(0.0, noisy(groundSpeed, 0.04)) : 0.0);
    // At rest the pitot tube still measures a little wind.
    const double breath = flying ? 0.0 : std::fabs(m_random.bell(0.5));
    bytes.put(FIELD(kAttitude, "PGS_IndicateAirSpeed"), std::max(0.0, noisy(state.indicatedAirspeed + breath, 0.07)));
    bytes.put(FIELD(kAttitude, "PGS_RealAirSpeed"), std::max(0.0, noisy(state.trueAirspeed + breath, 0.07)));
    bytes.put(FIELD(kAttitude, "PGS_AssitHeight"), std::max(0.0, noisy(state.height + 0.4, 0.2)));
    return bytes;
}

FrameBytes FrameWriter::sensor(const FlightState &state)
{
    using frame::kSensor;
    const bool flying = airborne(state);
    const double shake = state.engineSpeed > 100.0 ? 0.09 + 0.00002 * state.engineSpeed : 0.015;

    FrameBytes bytes = begin(kSensor);
    bytes.put(FIELD(kSensor, "SS_ACC_X"), noisy(state.forwardForce, shake));
    bytes.put(FIELD(kSensor, "SS_ACC_Y"), noisy(state.rightForce, shake));
    bytes.put(FIELD(kSensor, "SS_ACC_Z"), noisy(state.downForce, 1.5 * shake));
    bytes.put(FIELD(kSensor, "SS_AngleSpeed_X"), noisy(state.rollRate, 0.12));
    bytes.put(FIELD(kSensor, "SS_AngleSpeed_Y"), noisy(state.pitchRate, 0.12));
    bytes.put(FIELD(kSensor, "SS_AngleSpeed_Z"), noisy(state.yawRate, 0.12));

    // Sixteen remote control channels: four centred sticks (throttle low), then switches.
    const std::array<double, 16> remote{1500,
                                        1500,
                                        flying ? 1500.0 : 1100.0,
                                        1500,
                                        flying ? 1900.0 : 1100.0,
                                        1500,
                                        state.phase == Phase::Attack ? 1900.0 : 1100.0,
                                        1100,
                                        1500 + 6.0 * state.lookYaw / 4.0,
                                        1500,
                                        1500,
                                        1500,
                                        1500,
                                        1500,
                                        1500,
                                        1500};
    const frame::FieldRow *field = &FIELD(kSensor, "SS_RC1");
    for (double pulse : remote)
        bytes.put(*field++, std::clamp(noisy(pulse, 0.8), 1000.0, 2000.0));

    // Servos: ailerons left and right, elevator, rudder, throttle, parachute, payload pan and tilt, two spare.
    const double aileron = flying ? 9.0 * (state.targetRoll - state.roll) - 1.5 * state.rollRate : 0.0;
    const double elevator = flying ? 12.0 * (state.targetPitch - state.pitch) - 2.0 * state.pitchRate : 0.0;
    const std::array<double, 10> out{1500 + aileron,
                                     1500 - aileron,
                                     1490 + elevator,
                                     1500 + 4.0 * state.yawRate,
                                     1000 + 10.0 * state.throttle,
                                     1100,
                                     1500 + 2.5 * state.lookYaw,
                                     1500 + 5.0 * state.lookPitch,
                                     1500,
                                     1500};
    field = &FIELD(kSensor, "SS_OUT1");
    for (double pulse : out)
        bytes.put(*field++, std::clamp(noisy(pulse, 1.5), 1000.0, 2000.0));

    bytes.put(FIELD(kSensor, "SS_MAG_CALIB_P"), 100);
    bytes.put(FIELD(kSensor, "SS_MAG_CALIB_Q"), 96);
    return bytes;
}

FrameBytes FrameWriter::target(const FlightState &state)
{
    using frame::kTarget;
    FrameBytes bytes = begin(kTarget);
    bytes.put(FIELD(kTarget, "FTP_TargetPoint_Group"), state.phase == Phase::Attack ? 3 : 1);
    bytes.put(FIELD(kTarget, "FTP_TargetPoint_ID"), state.targetId % 256);
    if (airborne(state)) {
        bytes.put(FIELD(kTarget, "FTP_TargetPoint_Lng"), longitude(state.targetPlace));
        bytes.put(FIELD(kTarget, "FTP_TargetPoint_Lat"), latitude(state.targetPlace));
    }
    bytes.put(FIELD(kTarget, "FTP_TargetPoint_Height"), state.targetHeight);
    bytes.put(FIELD(kTarget, "FTP_TargetSpeed"), state.targetSpeed);
    bytes.put(FIELD(kTarget, "FTP_TargetRoll"), state.targetRoll);
    bytes.put(FIELD(kTarget, "FTP_TargetPitch"), state.targetPitch);
    bytes.put(FIELD(kTarget, "FTP_TargetYaw"), std::min(359.99, state.targetYaw));
    bytes.put(FIELD(kTarget, "FTP_TargetVerticalSpeed"), state.targetUpSpeed);
    bytes.put(FIELD(kTarget, "FTP_TargetRadius"), state.targetRadius);
    bytes.put(FIELD(kTarget, "FTP_HoverMode"), state.targetRadius > 0.0 ? 1 : (state.targetRadius < 0.0 ? -1 : 0));
    bytes.put(FIELD(kTarget, "FTP_LifeMode"), state.targetUpSpeed > 0.8 ? 1 : (state.targetUpSpeed < -0.8 ? 2 : 0));
    return bytes;
}

FrameBytes FrameWriter::payload(const FlightState &state)
{
    using frame::kPayload;
    const bool looks = airborne(state);
    FrameBytes bytes = begin(kPayload);
    bytes.put(FIELD(kPayload, "PI_PitchAngle"), noisy(state.lookPitch, 0.05));
    bytes.put(FIELD(kPayload, "PI_YawAngle"), noisy(state.lookYaw, 0.05));
    bytes.put(FIELD(kPayload, "PI_StateReport"), looks ? (state.payloadTracks ? 2 : 1) : 0);
    bytes.put(FIELD(kPayload, "PI_FocalLen"), state.payloadTracks ? 18.0 : 6.5);
    bytes.put(FIELD(kPayload, "PI_TargetSurfaceLen"), 4.8);
    bytes.put(FIELD(kPayload, "PI_TargetSurfaceWidth"), 3.6);
    if (looks) {
        const double miss = state.payloadTracks ? 2.5 : 14.0;
        bytes.put(FIELD(kPayload, "PI_Origin_X"), noisy(0.0, 0.02));
        bytes.put(FIELD(kPayload, "PI_Origin_Y"), noisy(0.0, 0.02));
        bytes.put(FIELD(kPayload, "PI_Target_X"), noisy(1.5 * state.yawRate, miss));
        bytes.put(FIELD(kPayload, "PI_Target_Y"), noisy(1.5 * state.pitchRate, miss));
        bytes.put(FIELD(kPayload, "PI_Lock_Lng"), longitude(state.lookPlace));
        bytes.put(FIELD(kPayload, "PI_Lock_Lat"), latitude(state.lookPlace));
        bytes.put(FIELD(kPayload, "PI_Lock_Distance"),
                  length(metresBetween(state.place, state.lookPlace), state.height));
        bytes.put(FIELD(kPayload, "PI_Lock_Yaw"),
                  bearing(state.lookPlace.east - state.place.east, state.lookPlace.north - state.place.north));
    }
    return bytes;
}

FrameBytes FrameWriter::backup(const FlightState &state)
{
    FrameBytes bytes = begin(frame::kBackup);
    bytes.put(FIELD(frame::kBackup, "BU_SpeedAngle"),
              arcTangent(state.upSpeed, length(state.eastSpeed, state.northSpeed)));
    return bytes;
}

} // namespace demo
