#pragma once

#include "FrameRows.h"

#include <array>
#include <cstdint>

namespace ostravel::frame
{

/** One channel of a triad. */
struct TriadMember {
    std::uint8_t code; ///< function code
    int row; ///< from 0, in the table of the code
    const char *text; ///< English name; the translation of the program's catalogue is the channel's label
};

/** An actual value, the commanded value that it should follow, and the difference of the two. */
struct Triad {
    TriadMember actual;
    TriadMember target;
    TriadMember difference;
};

/** The channel of this name. A name that the code's table does not have does not compile in a constant. */
constexpr TriadMember triadMember(std::uint8_t code, const char *name, const char *text)
{
    return {code, rowOf(code, name), text};
}

// clang-format off
inline constexpr std::array kTriads {
    Triad {triadMember(kAttitude,   "PGS_Roll",                "Roll"),
           triadMember(kTarget,     "FTP_TargetRoll",          "TargetRoll"),
           triadMember(kDifference, "DF_RollDiff",             "RollDiff")},
    Triad {triadMember(kAttitude,   "PGS_Pitch",               "Pitch"),
           triadMember(kTarget,     "FTP_TargetPitch",         "TargetPitch"),
           triadMember(kDifference, "DF_PitchDiff",            "PitchDiff")},
    Triad {triadMember(kAttitude,   "PGS_Yaw",                 "Yaw"),
           triadMember(kTarget,     "FTP_TargetYaw",           "TargetYaw"),
           triadMember(kDifference, "DF_YawDiff",              "YawDiff")},
    Triad {triadMember(kAttitude,   "PGS_IndicateAirSpeed",    "IndicatedAirspeed"),
           triadMember(kTarget,     "FTP_TargetSpeed",         "TargetSpeed"),
           triadMember(kDifference, "DF_SpeedDiff",            "SpeedDiff")},
    Triad {triadMember(kAttitude,   "PGS_GPS_Relative_Height", "RelativeHeight"),
           triadMember(kTarget,     "FTP_TargetPoint_Height",  "TargetHeight"),
           triadMember(kDifference, "DF_HeightDiff",           "HeightDiff")},
};
// clang-format on

} // namespace ostravel::frame
